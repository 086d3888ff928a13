#include "hostaccess/orbHostLibraries.h"

#include <dlfcn.h>

#include <string>

#include <gtest/gtest.h>

TEST(HostLibraries, LoadFindAndRelease) {
    IorbHostLibraries &libraries = IorbHostLibraries::get();
    void *math = libraries.open("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(math, nullptr);
    const auto root = reinterpret_cast<double (*)(double)>(libraries.symbol(math, "sqrt"));
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root(81.0), 9.0);
    EXPECT_EQ(libraries.symbol(math, "orb_no_such_symbol"), nullptr);
    const char *error = libraries.error();
    ASSERT_NE(error, nullptr);
    EXPECT_NE(std::string(error).find("orb_no_such_symbol"), std::string::npos);
    EXPECT_EQ(libraries.error(), nullptr); // told once
    EXPECT_EQ(libraries.close(math), 0);
}
TEST(HostLibraries, MissingOneComesWithTheLoadersText) {
    EXPECT_EQ(IorbHostLibraries::get().open("liborb-no-such-library.so", RTLD_NOW), nullptr);
    const char *error = IorbHostLibraries::get().error();
    ASSERT_NE(error, nullptr);
    EXPECT_NE(std::string(error).find("liborb-no-such-library.so"), std::string::npos);
}
