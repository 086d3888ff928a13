#include "daemon/command_path.h"

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
std::string path() {
    const char *const text = std::getenv("PATH");
    return text == nullptr ? "" : text;
}

TEST(CommandPath, OwnCommandsComeLast) {
    TemporaryRoot root;
    root.makeDirectory("/orb/libexec");
    ::setenv("PATH", "/bin:/usr/bin", 1);
    append_commands_to_path(root.map("/orb/bin/orbd"));
    EXPECT_EQ(path(), "/bin:/usr/bin:" + root.map("/orb/libexec"));
}

TEST(CommandPath, WithoutAPathTheUsualFoldersComeFirst) {
    TemporaryRoot root;
    root.makeDirectory("/orb/libexec");
    for (const bool empty : {true, false}) {
        if (empty)
            ::setenv("PATH", "", 1);
        else
            ::unsetenv("PATH");
        append_commands_to_path(root.map("/orb/bin/orbd"));
        EXPECT_EQ(path(), "/usr/sbin:/usr/bin:/sbin:/bin:" + root.map("/orb/libexec"));
    }
}

TEST(CommandPath, UnchangedWithoutThem) {
    const TemporaryRoot root;
    ::setenv("PATH", "/bin", 1);
    append_commands_to_path(root.path() + "/orb/bin/orbd");
    append_commands_to_path("");
    append_commands_to_path("orbd");
    EXPECT_EQ(path(), "/bin");
}

TEST(CommandPath, OwnProgramIsThisTest) {
    EXPECT_TRUE(own_program().starts_with(ORB_BINARY_DIR)) << own_program();
}
} // namespace
