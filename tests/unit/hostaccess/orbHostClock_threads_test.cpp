#include <thread>

#include <gtest/gtest.h>

#include "hostaccess/orbHostClock.h"

TEST(HostClockThreads, NotificationEndsAWaitWithoutLimit) {
    std::condition_variable cond;
    std::mutex mutex;
    bool wanted = false;
    bool found = false;
    std::thread waiter([&] {
        std::unique_lock<std::mutex> lock(mutex);
        found = wait_until(cond, lock, deadline_after({0, 0}, INT64_MAX), [&] { return wanted; });
    });
    {
        const std::lock_guard<std::mutex> lock(mutex);
        wanted = true;
    }
    cond.notify_all();
    waiter.join();
    EXPECT_TRUE(found);
}
