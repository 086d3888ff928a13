#include "host/boot_decision.h"

#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {
struct DecisionCase {
    const char *name;
    std::int64_t boot, lastStart, lastStop;
    ORB_BOOT_CASE expected;
};
constexpr std::int64_t LAST = std::numeric_limits<std::int64_t>::max();
const DecisionCase DECISION_CASES[] = {
    {"FirstRun", 500, 0, 0, ORB_BOOT_CASE::FIRST_RUN},
    {"FirstRunWithAStop", 500, 0, 200, ORB_BOOT_CASE::FIRST_RUN},
    {"FirstRunWithoutBoot", 0, 0, 0, ORB_BOOT_CASE::FIRST_RUN},
    {"RestartAfterStop", 50, 100, 200, ORB_BOOT_CASE::RESTARTED},
    {"BootBetweenStartAndStop", 150, 100, 200, ORB_BOOT_CASE::RESTARTED},
    {"BootAtTheStop", 200, 100, 200, ORB_BOOT_CASE::RESTARTED},
    {"BootUnknownAfterStop", 0, 100, 200, ORB_BOOT_CASE::RESTARTED},
    {"BootOneSecondAfterTheStop", 201, 100, 200, ORB_BOOT_CASE::GRACEFUL_SHUTDOWN},
    {"BootLongAfterTheStop", LAST, 100, 200, ORB_BOOT_CASE::GRACEFUL_SHUTDOWN},
    {"StartAtTheStop", 500, 100, 100, ORB_BOOT_CASE::NOTHING_TO_TELL},
    {"StartAtTheStopBefore", 50, 100, 100, ORB_BOOT_CASE::NOTHING_TO_TELL},
    {"CrashInThisBoot", 50, 300, 200, ORB_BOOT_CASE::CRASHED},
    {"BootBetweenStopAndStart", 250, 300, 200, ORB_BOOT_CASE::CRASHED},
    {"BootAtTheStart", 300, 300, 200, ORB_BOOT_CASE::CRASHED},
    {"NeverStoppedInThisBoot", 300, 300, 0, ORB_BOOT_CASE::CRASHED},
    {"BootUnknownAfterCrash", 0, 300, 200, ORB_BOOT_CASE::CRASHED},
    {"BootOneSecondAfterTheStart", 301, 300, 200, ORB_BOOT_CASE::UNGRACEFUL_SHUTDOWN},
    {"NeverStoppedBefore", 400, 300, 0, ORB_BOOT_CASE::UNGRACEFUL_SHUTDOWN},
};
void PrintTo(const DecisionCase &row, std::ostream *os) {
    *os << row.name;
}
class BootDecision : public ::testing::TestWithParam<DecisionCase> {};
TEST_P(BootDecision, FollowsFromThreeTimes) {
    const DecisionCase &row = GetParam();
    EXPECT_EQ(decide_boot_case(row.boot, row.lastStart, row.lastStop), row.expected);
}
INSTANTIATE_TEST_SUITE_P(Times, BootDecision, ::testing::ValuesIn(DECISION_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
