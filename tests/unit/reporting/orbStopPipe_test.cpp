#include "reporting/orbStopPipe.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include <gtest/gtest.h>

#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"

TEST(StopPipe, HasNoEndsUntilOpened) {
    orbStopPipe pipe;
    EXPECT_EQ(pipe.readEnd(), -1);
    EXPECT_EQ(pipe.writeEnd(), -1);
}

TEST(StopPipe, BothEndsCloseOnExec) {
    orbStopPipe pipe;
    ASSERT_TRUE(pipe.open());
    for (const int end : {pipe.readEnd(), pipe.writeEnd()})
        EXPECT_NE(::fcntl(end, F_GETFD) & FD_CLOEXEC, 0);
    const int end = pipe.readEnd();
    pipe.close();
    EXPECT_EQ(pipe.readEnd(), -1);
    EXPECT_EQ(pipe.writeEnd(), -1);
    EXPECT_EQ(::fcntl(end, F_GETFD), -1);
}

TEST(StopPipe, WakesByOneByteS) {
    TemporaryRoot root;
    LogFile log(root);
    orbStopPipe pipe;
    ASSERT_TRUE(pipe.open());
    EXPECT_TRUE(pipe.wake());
    pipe.waitForWake();
    char bytes[4] = {};
    EXPECT_EQ(::read(pipe.readEnd(), bytes, sizeof bytes), 1);
    EXPECT_EQ(bytes[0], 'S');
    EXPECT_LOGGED(log, "DEBUG", "ORB_SERVER", "value of n = 1");
    pipe.close();
}

TEST(StopPipe, ThreeFailedWritesAreTheEnd) {
    TemporaryRoot root;
    LogFile log(root);
    ASSERT_NE(std::signal(SIGPIPE, SIG_IGN), SIG_ERR);
    orbStopPipe pipe;
    ASSERT_TRUE(pipe.open());
    ::close(pipe.readEnd());
    EXPECT_FALSE(pipe.wake());
    EXPECT_EQ(log.count("ERROR", "ORB_SERVER",
                        "Unable to write to pipe fd, result: -1, Error: Broken pipe"),
              3);
    EXPECT_EQ(log.count("ERROR", "ORB_SERVER", "Unable to write to pipe fd"), 1);
    ::close(pipe.writeEnd());
}

TEST(StopPipe, WithoutAPipeNothingIsWoken) {
    TemporaryRoot root;
    LogFile log(root);
    orbStopPipe pipe;
    EXPECT_FALSE(pipe.wake());
    EXPECT_EQ(log.count("ERROR", "ORB_SERVER", "Invalid file descriptor"), 1);
}
