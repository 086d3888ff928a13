#include "hostaccess/orbHostClock.h"

#include <cerrno>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/VirtualClock.h"

namespace {
constexpr std::int64_t LAST_SECOND = INT64_MAX / 1'000'000'000 - 1;

struct DeadlineCase {
    const char *name;
    std::int64_t from, seconds, deadline;
};
const DeadlineCase DEADLINE_CASES[] = {
    {"SomeSeconds", 1767427449, 10, 1767427459},
    {"None", 1767427449, 0, 1767427449},
    {"LargestInterval", 1767427449, INT64_MAX, LAST_SECOND},
    {"JustTheLast", 0, LAST_SECOND, LAST_SECOND},
    {"OneBeyondTheLast", 1, LAST_SECOND, LAST_SECOND},
    {"IntoThePast", 1767427449, -449, 1767427000},
    {"BeforeTheEpoch", 100, -101, 0},
    {"FarBeforeTheEpoch", -100, INT64_MIN, 0},
};
void PrintTo(const DeadlineCase &row, std::ostream *os) {
    *os << row.name;
}
class Deadline : public ::testing::TestWithParam<DeadlineCase> {};

/// Wakes its waiters at once: as often as told without a reason, then by the deadline.
class RestlessClock final : public IorbHostClock {
public:
    explicit RestlessClock(int wakes) : left(wakes), outer(replace(this)) {}
    ~RestlessClock() override { replace(outer); }
    std::time_t now() override { return 0; }
    ORB_SYSCALL_RESULT realTime(std::timespec *) override { return {-1, EIO}; }
    bool localTime(std::time_t, std::tm *) override { return false; }
    void sleepMs(std::int64_t) override { ADD_FAILURE() << "nobody sleeps here"; }
    std::cv_status waitUntil(std::condition_variable &, std::unique_lock<std::mutex> &lock,
                             const std::timespec &deadline) override {
        EXPECT_TRUE(lock.owns_lock());
        deadlines.push_back(deadline.tv_sec);
        return left-- > 0 ? std::cv_status::no_timeout : std::cv_status::timeout;
    }
    std::vector<std::time_t> deadlines; ///< of each wait

private:
    int left;
    IorbHostClock *outer;
};

struct Waiter {
    std::condition_variable cond;
    std::mutex mutex;
    std::unique_lock<std::mutex> lock{mutex};
};
} // namespace

TEST(HostClock, TellsTheHostsTime) {
    const std::time_t before = std::time(nullptr);
    std::timespec exact{};
    const ORB_SYSCALL_RESULT result = IorbHostClock::get().realTime(&exact);
    const std::time_t now = IorbHostClock::get().now();
    const std::time_t after = std::time(nullptr);
    EXPECT_EQ(result.rc, 0);
    EXPECT_EQ(result.err, 0);
    EXPECT_GE(now, before);
    EXPECT_LE(now, after);
    EXPECT_GE(exact.tv_sec, before - 1); // time() may lag behind by a tick
    EXPECT_LE(exact.tv_sec, after + 1);
    EXPECT_LT(exact.tv_nsec, 1'000'000'000);
}
TEST(HostClock, LocalTimeFollowsTheZone) {
    ::setenv("TZ", "XYZ-2", 1);
    ::tzset();
    std::tm local{};
    EXPECT_TRUE(IorbHostClock::get().localTime(1767427449, &local)); // 08:04:09 UTC
    EXPECT_EQ(local.tm_hour, 10);
    EXPECT_EQ(local.tm_min, 4);
    EXPECT_EQ(local.tm_sec, 9);
    EXPECT_EQ(local.tm_mon, 0);
    EXPECT_EQ(local.tm_mday, 3);
}
TEST(HostClock, YearBeyondTheCalendarIsAFailure) {
    std::tm local{};
    EXPECT_FALSE(IorbHostClock::get().localTime(INT64_MAX, &local));
}
TEST(HostClock, SleepLastsAtLeastItsTime) {
    std::timespec before{};
    std::timespec after{};
    ::clock_gettime(CLOCK_MONOTONIC, &before);
    IorbHostClock::get().sleepMs(2);
    ::clock_gettime(CLOCK_MONOTONIC, &after);
    const std::int64_t tookNs = (after.tv_sec - before.tv_sec) * std::int64_t{1'000'000'000} +
                                (after.tv_nsec - before.tv_nsec);
    EXPECT_GE(tookNs, 2'000'000);
    IorbHostClock::get().sleepMs(0);
}
TEST(HostClock, WaitForAPastDeadlineEndsAtOnce) {
    Waiter waiter;
    for (const std::timespec deadline : {std::timespec{1, 0}, std::timespec{-5, 999'999'999}})
        EXPECT_EQ(IorbHostClock::get().waitUntil(waiter.cond, waiter.lock, deadline),
                  std::cv_status::timeout);
    EXPECT_TRUE(waiter.lock.owns_lock());
}

TEST_P(Deadline, IsKeptWithinTheClock) {
    const auto &row = GetParam();
    const std::timespec deadline = deadline_after({row.from, 123}, row.seconds);
    EXPECT_EQ(deadline.tv_sec, row.deadline);
    EXPECT_EQ(deadline.tv_nsec, 123);
}
INSTANTIATE_TEST_SUITE_P(Sums, Deadline, ::testing::ValuesIn(DEADLINE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(WaitUntil, DoesNotWaitForWhatHoldsAlready) {
    RestlessClock clock(0);
    Waiter waiter;
    EXPECT_TRUE(wait_until(waiter.cond, waiter.lock, {7, 0}, [] { return true; }));
    EXPECT_TRUE(clock.deadlines.empty());
}
TEST(WaitUntil, SpuriousWakesEndNothing) {
    RestlessClock clock(5);
    Waiter waiter;
    EXPECT_FALSE(wait_until(waiter.cond, waiter.lock, {7, 0}, [] { return false; }));
    EXPECT_EQ(clock.deadlines, std::vector<std::time_t>(6, 7)); // always the same deadline
}
TEST(WaitUntil, EndsWhenThePredicateHolds) {
    RestlessClock clock(100);
    Waiter waiter;
    int asked = 0;
    EXPECT_TRUE(wait_until(waiter.cond, waiter.lock, {7, 0}, [&] { return ++asked == 4; }));
    EXPECT_EQ(clock.deadlines.size(), 3u);
}
TEST(WaitUntil, AsksOnceMoreAtTheDeadline) {
    RestlessClock clock(0);
    Waiter waiter;
    int asked = 0;
    EXPECT_TRUE(wait_until(waiter.cond, waiter.lock, {7, 0}, [&] { return ++asked == 2; }));
}

TEST(PresentSecond, IsTheRealTimeClocks) {
    VirtualClock clock(1000);
    clock.advanceMs(999);
    EXPECT_EQ(present_second(), 1000);
    clock.advanceMs(1);
    EXPECT_EQ(present_second(), 1001);
}
TEST(PresentSecond, IsThereWithoutThatClock) {
    VirtualClock clock(1000);
    clock.failRealTime(EPERM);
    EXPECT_EQ(present_second(), 1000);
}
