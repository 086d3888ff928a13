#include "daemon/orbPidFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
constexpr char PID_FILE[] = "/run/orbd.pid";
const std::string OWN_ID = std::to_string(::getpid()) + "\n";

TEST(PidFile, HoldsTheIdAndGoesWithItsOwner) {
    TemporaryRoot root;
    {
        orbPidFile file;
        std::string why;
        ASSERT_TRUE(file.take(why)) << why;
        EXPECT_EQ(root.read(PID_FILE), OWN_ID);
        EXPECT_EQ(file.getPath(), root.map(PID_FILE));
    }
    EXPECT_FALSE(root.exists(PID_FILE));
}

TEST(PidFile, SecondOneIsRefusedAndTouchesNothing) {
    TemporaryRoot root;
    orbPidFile first;
    std::string why;
    ASSERT_TRUE(first.take(why));
    {
        orbPidFile second;
        EXPECT_FALSE(second.take(why));
        EXPECT_EQ(why, "orbd is already running with process id " + std::to_string(::getpid()));
    }
    EXPECT_EQ(root.read(PID_FILE), OWN_ID);
}

TEST(PidFile, LockWithoutAnIdIsAStart) {
    TemporaryRoot root;
    root.write(PID_FILE, "");
    const int fd = ::open(root.map(PID_FILE).c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(fd, LOCK_EX), 0);
    orbPidFile file;
    std::string why;
    EXPECT_FALSE(file.take(why));
    EXPECT_EQ(why, "another orbd is starting");
    ::close(fd);
    EXPECT_TRUE(file.take(why)) << "nobody holds it any more";
}

TEST(PidFile, LeftOverContentIsReplaced) {
    TemporaryRoot root;
    root.write(PID_FILE, "123456789012345678901234567890 and more\n");
    orbPidFile file;
    std::string why;
    ASSERT_TRUE(file.take(why));
    EXPECT_EQ(root.read(PID_FILE), OWN_ID);
}

TEST(PidFile, LinkIsNotFollowed) {
    TemporaryRoot root;
    root.write("/elsewhere", "precious");
    root.makeDirectory("/run");
    std::filesystem::create_symlink(root.map("/elsewhere"), root.map(PID_FILE));
    orbPidFile file;
    std::string why;
    EXPECT_FALSE(file.take(why));
    EXPECT_NE(why, "");
    EXPECT_EQ(root.read("/elsewhere"), "precious");
}

TEST(PidFile, ForkedChildKeepsWhatItsParentDisowns) {
    TemporaryRoot root;
    orbPidFile file;
    std::string why;
    ASSERT_TRUE(file.take(why));
    int go[2], ready[2];
    ASSERT_EQ(::pipe2(go, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(ready, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        char byte = file.write() ? '1' : '0';
        if (::write(ready[1], &byte, 1) != 1 || ::read(go[0], &byte, 1) != 1) std::_Exit(1);
        file.~orbPidFile();
        std::_Exit(0);
    }
    char byte = 0;
    ASSERT_EQ(::read(ready[0], &byte, 1), 1);
    EXPECT_EQ(byte, '1');
    file.disown();
    EXPECT_EQ(root.read(PID_FILE), std::to_string(child) + "\n");
    orbPidFile other;
    EXPECT_FALSE(other.take(why));
    EXPECT_EQ(why, "orbd is already running with process id " + std::to_string(child));
    ASSERT_EQ(::write(go[1], "!", 1), 1);
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_FALSE(root.exists(PID_FILE));
    EXPECT_TRUE(other.take(why)) << why;
    for (const int fd : {go[0], go[1], ready[0], ready[1]}) ::close(fd);
}
} // namespace
