#include "life/LabTime.h"

#include <condition_variable>
#include <mutex>

#include <gtest/gtest.h>

#include "life/ScaledClock.h"

namespace {
constexpr std::int64_t NS = 1'000'000'000;
const LabTime TWENTY(1000 * NS, 5000 * NS, 20);
} // namespace

TEST(LabTime, RunsFasterFromItsOrigin) {
    EXPECT_EQ(TWENTY.labNsAt(1000 * NS), 5000 * NS);
    EXPECT_EQ(TWENTY.labNsAt(1001 * NS), 5020 * NS);
    EXPECT_EQ(TWENTY.labNsAt(999 * NS), 5000 * NS) << "never before its origin";
}

TEST(LabTime, StaysWithinWhatItCanSay) {
    const LabTime fast(0, 1'700'000'000 * NS, 1e6);
    EXPECT_GT(fast.labNsAt(INT64_MAX), 9'100'000'000'000'000'000);
}

TEST(LabTime, WaitsAreShorterInReality) {
    EXPECT_EQ(TWENTY.realWaitNs(20 * NS), NS);
    EXPECT_EQ(TWENTY.realWaitNs(21), 2) << "rounded up";
    EXPECT_EQ(TWENTY.realWaitNs(1), 1);
    EXPECT_EQ(TWENTY.realWaitNs(0), 0);
    EXPECT_EQ(TWENTY.realWaitNs(-5), 0);
    EXPECT_EQ(TWENTY.realWaitNs(INT64_MAX), 3600 * NS);
}

TEST(LabTime, BeginsWithTheHostsTime) {
    const LabTime time = LabTime::startingNow(1);
    EXPECT_NEAR(static_cast<double>(time.nowNs()) / 1e9, static_cast<double>(std::time(nullptr)),
                2);
}

TEST(ScaledClock, TellsOneTimeInAllForms) {
    ScaledClock clock(LabTime(monotonic_ns(), 1'767'427'449 * NS, 0.1));
    timespec now{};
    EXPECT_EQ(clock.realTime(&now).rc, 0);
    EXPECT_EQ(now.tv_sec, 1'767'427'449);
    EXPECT_EQ(clock.now(), 1'767'427'449);
    std::tm parts{};
    EXPECT_TRUE(clock.localTime(1'767'427'449, &parts));
    EXPECT_EQ(parts.tm_year, 126);
}

TEST(ScaledClock, WaitEndsAtItsDeadline) {
    // An hour of this clock lasts 4 milliseconds.
    ScaledClock clock(LabTime::startingNow(1e6));
    std::mutex mutex;
    std::condition_variable cond;
    std::unique_lock<std::mutex> lock(mutex);
    timespec deadline{};
    clock.realTime(&deadline);
    deadline.tv_sec += 3600;
    while (clock.waitUntil(cond, lock, deadline) == std::cv_status::no_timeout) {
    }
    EXPECT_GE(clock.now(), deadline.tv_sec);
}

TEST(ScaledClock, DeadlineThatIsOverIsNotWaitedFor) {
    ScaledClock clock(LabTime::startingNow(0.1));
    std::mutex mutex;
    std::condition_variable cond;
    std::unique_lock<std::mutex> lock(mutex);
    EXPECT_EQ(clock.waitUntil(cond, lock, {1, 0}), std::cv_status::timeout);
}

TEST(ScaledClock, SleepLastsItsTime) {
    ScaledClock clock(LabTime::startingNow(1e6));
    const std::time_t before = clock.now();
    clock.sleepMs(3'600'000);
    EXPECT_GE(clock.now(), before + 3600);
    clock.sleepMs(-1);
}
