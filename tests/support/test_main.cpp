#include <gtest/gtest.h>

#include "core/Logger.h"

int main(int argc, char **argv) {
    CPlusPlusLogging::log_after_main_began();
    ::testing::InitGoogleTest(&argc, argv);
    // A death test's child starts anew, because the parent may already hold threads.
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    return RUN_ALL_TESTS();
}
