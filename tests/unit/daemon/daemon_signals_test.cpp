#include "daemon/daemon_signals.h"

#include <signal.h>
#include <unistd.h>

#include <cerrno>

#include <gtest/gtest.h>

#include "daemon/daemon_time.h"

namespace {
TEST(DaemonSignals, TellsWhatCameAndTakesIt) {
    block_signals();
    EXPECT_EQ(wait_for_signal(0), ORB_WAKE_TIMEOUT);
    ::kill(::getpid(), SIGTERM);
    EXPECT_EQ(wait_for_signal(0), ORB_WAKE_STOP);
    ::kill(::getpid(), SIGINT);
    EXPECT_EQ(wait_for_signal(1000), ORB_WAKE_STOP);
    ::kill(::getpid(), SIGHUP);
    EXPECT_EQ(wait_for_signal(1000), ORB_WAKE_HANGUP);
    EXPECT_EQ(wait_for_signal(1), ORB_WAKE_TIMEOUT);
}

TEST(DaemonSignals, CheckOfTheLogsComesBeforeAStop) {
    block_signals();
    ::kill(::getpid(), SIGTERM);
    ::kill(::getpid(), SIGHUP);
    EXPECT_EQ(wait_for_signal(0), ORB_WAKE_HANGUP);
    EXPECT_EQ(wait_for_signal(0), ORB_WAKE_STOP);
}

TEST(DaemonSignals, EverythingButFaultsIsBlocked) {
    block_signals();
    sigset_t blocked;
    ASSERT_EQ(::pthread_sigmask(SIG_BLOCK, nullptr, &blocked), 0);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGUSR1, SIGALRM, SIGCHLD, SIGTSTP})
        EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT})
        EXPECT_EQ(sigismember(&blocked, signal), 0) << signal;
}

TEST(DaemonSignals, WriteToAClosedPipeIsAnError) {
    block_signals();
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    ::close(ends[0]);
    EXPECT_EQ(::write(ends[1], "x", 1), -1);
    EXPECT_EQ(errno, EPIPE);
    ::close(ends[1]);
    struct sigaction action = {};
    ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &action), 0);
    EXPECT_EQ(action.sa_handler, SIG_IGN);
}

TEST(DaemonTime, WaitsAreShorterWhereItRunsFaster) {
    EXPECT_EQ(daemon_wait_ms(60000), 60000);
    EXPECT_EQ(daemon_wait_ms(0), 1);
    set_daemon_speed(20);
    EXPECT_EQ(daemon_wait_ms(60000), 3000);
    EXPECT_EQ(daemon_wait_ms(21), 2) << "never too early";
    EXPECT_EQ(daemon_wait_ms(1), 1);
}

TEST(DaemonTime, NeverGoesBack) {
    std::int64_t last = daemon_time_ms();
    for (int i = 0; i < 1000; ++i) {
        const std::int64_t now = daemon_time_ms();
        ASSERT_GE(now, last);
        last = now;
    }
}
} // namespace
