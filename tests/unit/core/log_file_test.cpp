#include "core/log_file.h"

#include <cerrno>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
class LogFiles : public ::testing::Test {
protected:
    TemporaryRoot root;
    orbLogFile file;
};
} // namespace

TEST_F(LogFiles, AppendWhatIsWritten) {
    root.write("/log", "before\n");
    ASSERT_EQ(file.open(root.map("/log")), 0);
    file.write("one\n");
    file.write("");
    file.write(std::string("two\0three\n", 10));
    EXPECT_EQ(root.read("/log"), std::string("before\none\ntwo\0three\n", 21));
}
TEST_F(LogFiles, TwoWritersOfOneFileFollowEachOther) {
    orbLogFile other;
    ASSERT_EQ(file.open(root.map("/log")), 0);
    ASSERT_EQ(other.open(root.map("/log")), 0);
    file.write("one\n");
    other.write("two\n");
    file.write("three\n");
    EXPECT_EQ(root.read("/log"), "one\ntwo\nthree\n");
}
TEST_F(LogFiles, LinesForAClosedOneAreLost) {
    file.write("lost\n");
    ASSERT_EQ(file.open(root.map("/log")), 0);
    file.write("kept\n");
    file.close();
    file.close();
    file.write("lost\n");
    EXPECT_EQ(root.read("/log"), "kept\n");
}
TEST_F(LogFiles, OpenTellsWhyItFailed) {
    EXPECT_EQ(file.open(root.map("/missing/log")), ENOENT);
    EXPECT_EQ(file.open(root.path()), EISDIR);
    file.write("lost\n");
}
TEST_F(LogFiles, OpenAgainLeavesTheFormerFile) {
    ASSERT_EQ(file.open(root.map("/first")), 0);
    ASSERT_EQ(file.open(root.map("/second")), 0);
    file.write("line\n");
    EXPECT_EQ(root.read("/first"), "");
    EXPECT_EQ(root.read("/second"), "line\n");
}
TEST_F(LogFiles, FullDeviceIsNoMatter) {
    ASSERT_EQ(file.open("/dev/full"), 0);
    file.write("lost\n");
}

TEST_F(LogFiles, CopyReplacesTheOtherFile) {
    const std::string content(1'000'000, 'x');
    root.write("/from", content);
    root.write("/to", std::string(2'000'000, 'y'));
    EXPECT_EQ(copy_file(root.map("/from"), root.map("/to")), 0);
    EXPECT_EQ(root.read("/to"), content);
    EXPECT_EQ(root.read("/from"), content);
}
TEST_F(LogFiles, MissingSourceLeavesTheOtherFileAlone) {
    root.write("/to", "old");
    EXPECT_EQ(copy_file(root.map("/from"), root.map("/to")), ENOENT);
    EXPECT_EQ(root.read("/to"), "old");
}
TEST_F(LogFiles, DirectoryCantBeCopied) {
    root.makeDirectory("/from");
    EXPECT_EQ(copy_file(root.map("/from"), root.map("/to")), EISDIR);
    EXPECT_FALSE(root.exists("/to"));
}
TEST_F(LogFiles, CopyIntoAMissingDirectoryFails) {
    root.write("/from", "text");
    EXPECT_EQ(copy_file(root.map("/from"), root.map("/missing/to")), ENOENT);
}

TEST_F(LogFiles, DirectoriesEndBeforeTheLastComponent) {
    EXPECT_EQ(make_directories_of(root.map("/a/b/c.log")), 0);
    EXPECT_TRUE(root.exists("/a/b"));
    EXPECT_FALSE(root.exists("/a/b/c.log"));
    EXPECT_EQ(make_directories_of(root.map("/a/b/c.log")), 0);
    EXPECT_EQ(make_directories_of(root.map("/a//d/e")), 0);
    EXPECT_TRUE(root.exists("/a/d"));
}
TEST_F(LogFiles, NameWithoutDirectoryNeedsNone) {
    EXPECT_EQ(make_directories_of("name-only"), 0);
    EXPECT_EQ(make_directories_of("/name-only"), 0);
    EXPECT_EQ(make_directories_of(""), 0);
}
TEST_F(LogFiles, FileInTheWayIsNotADirectory) {
    root.write("/a", "");
    EXPECT_EQ(make_directories_of(root.map("/a/log")), 0); // it exists, whatever it is
    EXPECT_EQ(make_directories_of(root.map("/a/b/log")), ENOTDIR);
}

TEST(BaseName, IsWhatFollowsTheLastSeparator) {
    EXPECT_EQ(base_name("/var/log/orb.log", "/"), "orb.log");
    EXPECT_EQ(base_name("orb.log", "/"), "orb.log");
    EXPECT_EQ(base_name("/var/log/", "/"), "");
    EXPECT_EQ(base_name("", "/"), "");
    EXPECT_EQ(base_name("/a\\b", "/"), "a\\b");
    EXPECT_EQ(base_name("/a\\b", "/\\"), "b");
    EXPECT_EQ(base_name("\\a/b", "/\\"), "b");
}
