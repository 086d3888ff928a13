#include "bench/vm/bench_table.h"

#include <gtest/gtest.h>

namespace {
using std::chrono::milliseconds;

TEST(BenchRate, CountsTheStepsBetweenFirstAndLast) {
    EXPECT_DOUBLE_EQ(bench_rate(2001, milliseconds(4000)), 500.0);
    EXPECT_DOUBLE_EQ(bench_rate(2, milliseconds(10)), 100.0);
    EXPECT_EQ(bench_rate(1, milliseconds(10)), 0.0);
    EXPECT_EQ(bench_rate(2000, milliseconds(0)), 0.0);
}

TEST(BenchMedian, IsTheMiddleOne) {
    EXPECT_EQ(bench_median({}), 0.0);
    EXPECT_EQ(bench_median({3}), 3.0);
    EXPECT_EQ(bench_median({9, 1, 5}), 5.0);
    EXPECT_EQ(bench_median({4, 1, 9, 2}), 3.0);
}

TEST(BenchTable, ComparesTheFirstWithTheFasterOfTheOthers) {
    EXPECT_EQ(bench_table({{"orb", {240, 160, 200}}, {"slow", {9, 9, 9}}, {"fast", {80, 100, 90}}}),
              "  messages/s          round 1  round 2  round 3   median\n"
              "  orb                   240.0    160.0    200.0    200.0\n"
              "  slow                    9.0      9.0      9.0      9.0\n"
              "  fast                   80.0    100.0     90.0     90.0\n"
              "  ratio to the faster reference, fast: 2.22\n");
}

TEST(BenchTable, WithoutAReferenceThereIsNoRatio) {
    EXPECT_EQ(bench_table({{"orb", {300}}}), "  messages/s          round 1   median\n"
                                             "  orb                   300.0    300.0\n");
    EXPECT_EQ(bench_table({{"orb", {300}}, {"broken", {0}}}),
              "  messages/s          round 1   median\n"
              "  orb                   300.0    300.0\n"
              "  broken                  0.0      0.0\n");
}

TEST(BenchTable, WarnsWhereTheRoundsOfAToolDifferMuch) {
    const std::string warning =
        "  The rounds differ by more than twice: this host was busy, measure again.\n";
    EXPECT_TRUE(bench_table({{"orb", {100, 201}}, {"other", {50, 50}}}).ends_with(warning));
    EXPECT_TRUE(bench_table({{"orb", {100, 100}}, {"other", {50, 101}}}).ends_with(warning));
    EXPECT_EQ(bench_table({{"orb", {100, 200}}, {"other", {50, 100}}}).find(warning),
              std::string::npos);
}
} // namespace
