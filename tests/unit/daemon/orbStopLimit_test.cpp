#include "daemon/orbStopLimit.h"

#include <gtest/gtest.h>

namespace {
constexpr std::int64_t BEGIN = 1'000'000, PATIENCE = 180'000, TOTAL = 900'000;

TEST(StopLimit, EndsAfterItsPatience) {
    const orbStopLimit limit(BEGIN, PATIENCE, TOTAL);
    EXPECT_EQ(limit.deadlineMs(), BEGIN + PATIENCE);
    EXPECT_EQ(limit.judge(BEGIN + PATIENCE - 1), orbStopLimit::GOES_ON);
    EXPECT_EQ(limit.judge(BEGIN + PATIENCE), orbStopLimit::NO_PROGRESS);
}

TEST(StopLimit, ProgressBeginsThePatienceAnew) {
    orbStopLimit limit(BEGIN, PATIENCE, TOTAL);
    limit.progress(BEGIN + 100'000);
    EXPECT_EQ(limit.deadlineMs(), BEGIN + 100'000 + PATIENCE);
    EXPECT_EQ(limit.judge(BEGIN + PATIENCE), orbStopLimit::GOES_ON);
    EXPECT_EQ(limit.judge(BEGIN + 100'000 + PATIENCE), orbStopLimit::NO_PROGRESS);
}

TEST(StopLimit, EarlierProgressTakesNothingAway) {
    orbStopLimit limit(BEGIN, PATIENCE, TOTAL);
    limit.progress(BEGIN - 500);
    EXPECT_EQ(limit.deadlineMs(), BEGIN + PATIENCE);
}

TEST(StopLimit, SteadyProgressEndsAfterTheTimeInAll) {
    orbStopLimit limit(BEGIN, PATIENCE, TOTAL);
    for (std::int64_t at = 0; at < TOTAL; at += 1000) {
        ASSERT_EQ(limit.judge(BEGIN + at), orbStopLimit::GOES_ON) << at;
        limit.progress(BEGIN + at);
    }
    EXPECT_EQ(limit.deadlineMs(), BEGIN + TOTAL);
    EXPECT_EQ(limit.judge(BEGIN + TOTAL), orbStopLimit::TOO_LONG);
}
} // namespace
