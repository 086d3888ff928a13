#include "reporting/orbStopPipe.h"

#include <sys/resource.h>

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/TemporaryRoot.h"

TEST(StopPipeThreads, WaitThatFailsIsTriedAgain) {
    TemporaryRoot root;
    CapturedSyslog syslog;
    root.write("/etc/config/vantor/orb/orb.conf",
               R"({"EnableDebugLog": "true", "DebugLogLocation": "syslog"})");
    CPlusPlusLogging::Logger::loggerInit();
    orbStopPipe pipe;
    ASSERT_TRUE(pipe.open());
    ASSERT_TRUE(pipe.wake());

    // The thread is under way and the log has been used before the limit falls, because the
    // instrumented build needs descriptors of its own when it meets a class for the first time.
    std::atomic<bool> limited{false};
    std::thread waiter([&] {
        while (!limited) std::this_thread::yield();
        pipe.waitForWake();
    });
    ORB_LOG_DEBUG(ORB_SERVER, "before the wait");

    // A process that may have no descriptors may not wait for one either.
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    limited = true;
    while (syslog.count(-1, "select returned -1.") == 0) std::this_thread::yield();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
    waiter.join();

    EXPECT_GE(syslog.count(-1, "value of n = -1"), 1);
    EXPECT_EQ(syslog.count(-1, "value of n = 1"), 1);
    pipe.close();
}
