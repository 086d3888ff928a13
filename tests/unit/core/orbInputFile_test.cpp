#include "core/orbInputFile.h"

#include <fcntl.h>

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
TEST(InputFile, GivesWhatTheFileHolds) {
    TemporaryRoot root;
    root.write("/data", std::string("one\ntwo\0three", 13));
    orbInputFile file(root.map("/data"));
    EXPECT_TRUE(file.isOpen());
    std::string line, rest;
    ASSERT_TRUE(std::getline(file.stream(), line));
    ASSERT_TRUE(std::getline(file.stream(), rest));
    EXPECT_EQ(line, "one");
    EXPECT_EQ(rest, std::string("two\0three", 9));
    EXPECT_FALSE(std::getline(file.stream(), line));
}

TEST(InputFile, MissingFileIsNotOpenAndGivesNothing) {
    TemporaryRoot root;
    orbInputFile file(root.map("/missing"));
    EXPECT_FALSE(file.isOpen());
    std::string line;
    EXPECT_FALSE(std::getline(file.stream(), line));
}

TEST(InputFile, IsNotInheritedByCommands) {
    TemporaryRoot root;
    root.write("/data", "x");
    const std::string path = root.map("/data");
    const orbInputFile file(path);
    int found = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone; // the iterator's own descriptor
        if (std::filesystem::read_symlink(entry.path(), gone) != path) continue;
        ++found;
        const int fd = std::stoi(entry.path().filename().string());
        EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    }
    EXPECT_EQ(found, 1);
}
} // namespace
