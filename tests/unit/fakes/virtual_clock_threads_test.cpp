#include <thread>

#include <gtest/gtest.h>

#include "fakes/VirtualClock.h"

namespace {
struct Waiting {
    std::mutex mutex;
    std::condition_variable cond;
    bool flag = false;
};
} // namespace

TEST(VirtualClock, StandsStillUntilAdvanced) {
    VirtualClock clock;
    EXPECT_EQ(IorbHostClock::get().now(), VirtualClock::START);
    clock.advance(7);
    EXPECT_EQ(IorbHostClock::get().now(), VirtualClock::START + 7);
}

TEST(VirtualClock, SleepEndsAtItsTimeAndNoSooner) {
    VirtualClock clock;
    std::atomic<bool> awake{false};
    std::thread sleeper([&] {
        IorbHostClock::get().sleepMs(20'000);
        awake = true;
    });
    ASSERT_TRUE(clock.waitForParked(1));
    clock.advance(19);
    EXPECT_TRUE(clock.waitForParked(1));
    EXPECT_FALSE(awake);
    clock.advance(1);
    EXPECT_TRUE(clock.waitForParked(0));
    sleeper.join();
    EXPECT_TRUE(awake);
    EXPECT_EQ(clock.sleptMs(), 20'000);
}

TEST(VirtualClock, WaitEndsAtDeadlineOrByItsPredicate) {
    VirtualClock clock;
    for (const bool byFlag : {false, true}) {
        Waiting shared;
        std::atomic<int> result{-1};
        std::thread waiter([&] {
            std::unique_lock<std::mutex> lock(shared.mutex);
            std::timespec now{};
            clock.realTime(&now);
            result =
                wait_until(shared.cond, lock, deadline_after(now, 10), [&] { return shared.flag; });
        });
        ASSERT_TRUE(clock.waitForParked(1));
        shared.cond.notify_all(); // nobody asked for it: ends nothing
        if (byFlag) {
            {
                const std::lock_guard<std::mutex> lock(shared.mutex);
                shared.flag = true;
            }
            shared.cond.notify_all();
        } else {
            clock.advance(10);
        }
        waiter.join();
        EXPECT_EQ(result, byFlag ? 1 : 0);
    }
}

TEST(VirtualClock, AutoAdvanceSleepsInNoTime) {
    VirtualClock clock;
    clock.setAutoAdvance(true);
    IorbHostClock::get().sleepMs(3000);
    EXPECT_EQ(clock.now(), VirtualClock::START + 3);
}
