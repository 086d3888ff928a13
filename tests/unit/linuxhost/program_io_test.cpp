#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "linuxhost/program_io.h"

namespace {
TEST(ReadFile, GivesTheTextUpToTheLimit) {
    TemporaryRoot root;
    root.write("/a", std::string(200000, 'x') + "y");
    std::string text = "old";
    EXPECT_EQ(read_file(root.path() + "/a", 1u << 20, text), 0);
    EXPECT_EQ(text.size(), 200001u);
    EXPECT_EQ(read_file(root.path() + "/a", 100, text), 0);
    EXPECT_EQ(text, std::string(100, 'x'));
}

TEST(ReadFile, FailuresCarryErrno) {
    TemporaryRoot root;
    std::string text = "old";
    EXPECT_EQ(read_file(root.path() + "/none", 100, text), ENOENT);
    EXPECT_EQ(text, "");
    EXPECT_EQ(read_file(root.path(), 100, text), EISDIR);
}

TEST(ReadFile, APipeWithoutWriterIsEmpty) {
    TemporaryRoot root;
    ASSERT_EQ(::mkfifo((root.path() + "/pipe").c_str(), 0600), 0);
    std::string text;
    EXPECT_EQ(read_file(root.path() + "/pipe", 100, text), 0);
    EXPECT_EQ(text, "");
}

TEST(ReplaceFile, MakesFoldersAndAPrivateFile) {
    TemporaryRoot root;
    const std::string path = root.path() + "/a/b/c";
    EXPECT_EQ(replace_file(path, "one"), 0);
    EXPECT_EQ(replace_file(path, "second"), 0);
    EXPECT_EQ(root.read("/a/b/c"), "second");
    struct stat there {};
    ASSERT_EQ(::stat(path.c_str(), &there), 0);
    EXPECT_EQ(there.st_mode & 07777, 0600u);
    const auto count = std::distance(std::filesystem::directory_iterator(root.path() + "/a/b"),
                                     std::filesystem::directory_iterator());
    EXPECT_EQ(count, 1) << "no temporary file stays";
}

TEST(ReplaceFile, FailuresCarryErrnoAndLeaveTheOldFile) {
    TemporaryRoot root;
    root.write("/file", "old");
    EXPECT_EQ(replace_file(root.path() + "/file/below", "new"), ENOTDIR);
    EXPECT_EQ(root.read("/file"), "old");
    root.makeDirectory("/folder");
    EXPECT_EQ(replace_file(root.path() + "/folder", "new"), EISDIR);
    EXPECT_EQ(replace_file("/dev/full", "new"), ENOSPC) << "a device is written to as it is";
}

TEST(WriteAll, WritesEverythingOrTellsWhy) {
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    EXPECT_EQ(write_all(ends[1], "text"), 0);
    char got[8]{};
    EXPECT_EQ(::read(ends[0], got, sizeof got), 4);
    EXPECT_STREQ(got, "text");
    EXPECT_EQ(write_all(ends[0], "text"), EBADF);
    EXPECT_EQ(write_all(ends[0], ""), 0);
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(WriteAll, AReaderThatWentAwayIsAFailure) {
    EXPECT_TRUE(prepare_standard_streams());
    int ends[2];
    ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
    ::close(ends[0]);
    EXPECT_EQ(write_all(ends[1], "text"), EPIPE);
    ::close(ends[1]);
}

TEST(Root, LosesSlashesAtItsEnd) {
    ASSERT_EQ(::setenv("ORB_ROOT", "/a/b//", 1), 0);
    EXPECT_EQ(root_from_environment(), "/a/b");
    ASSERT_EQ(::setenv("ORB_ROOT", "/", 1), 0);
    EXPECT_EQ(root_from_environment(), "");
    ASSERT_EQ(::unsetenv("ORB_ROOT"), 0);
    EXPECT_EQ(root_from_environment(), "");
}
} // namespace
