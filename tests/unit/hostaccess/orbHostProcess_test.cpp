#include "hostaccess/orbHostProcess.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

namespace {
struct AtEnd {
    ~AtEnd() {
        if (armed) std::abort();
    }
    bool armed = false;
} atEnd;
} // namespace

TEST(HostProcess, StandardOutputIsWrittenAsItIs) {
    ::testing::internal::CaptureStdout();
    IorbHostProcess::get().writeStandardOutput(std::string_view("a%s\0b\n", 6));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), std::string("a%s\0b\n", 6));
}

TEST(HostProcessDeathTest, ExitFlushesStandardOutputAndDestroysNoStatic) {
    const auto end = [] {
        atEnd.armed = true;
        ::dup2(STDERR_FILENO, STDOUT_FILENO);
        std::setvbuf(stdout, nullptr, _IOFBF, 4096);
        std::fputs("flushed before the end", stdout);
        IorbHostProcess::get().exitNow(7);
    };
    EXPECT_EXIT(end(), ::testing::ExitedWithCode(7), "flushed before the end");
}
TEST(HostProcessDeathTest, NegativeStatusIsCutToAByte) {
    EXPECT_EXIT(IorbHostProcess::get().exitNow(-10), ::testing::ExitedWithCode(246), "");
    EXPECT_EXIT(IorbHostProcess::get().exitNow(-11), ::testing::ExitedWithCode(245), "");
}
TEST(HostProcessDeathTest, SignalKillsThoughItIsHandledAndBlocked) {
    const auto end = [] {
        std::signal(SIGUSR1, SIG_IGN);
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, nullptr);
        IorbHostProcess::get().raiseDefault(SIGUSR1);
    };
    EXPECT_EXIT(end(), ::testing::KilledBySignal(SIGUSR1), "");
}
