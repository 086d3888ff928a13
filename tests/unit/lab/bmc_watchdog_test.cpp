#include "bmc/BmcWatchdog.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
using Bytes = std::vector<std::uint8_t>;
constexpr std::int64_t SECOND = 1'000'000'000;

struct SetCase {
    const char *name;
    Bytes request;
    std::uint8_t completionCode;
    Bytes reading; // afterwards; a refusal changes nothing
};
const Bytes UNTOUCHED(8, 0);
const SetCase SETS[] = {
    {"Plain", {0x04, 0x01, 0x00, 0x00, 0x2C, 0x01}, 0, {4, 1, 0, 0, 0x2C, 1, 0x2C, 1}},
    {"DoNotLog", {0x84, 0x00, 0x05, 0x3E, 0x0A, 0x00}, 0, {0x84, 0, 5, 0, 10, 0, 10, 0}},
    {"KeepRunningOfOneThatRests", {0x44, 0, 0, 0, 10, 0}, 0, {4, 0, 0, 0, 10, 0, 10, 0}},
    {"Longest", {0x01, 0x03, 0, 0, 0xFF, 0xFF}, 0, {1, 3, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}},
    {"NoUse", {0x00, 0, 0, 0, 10, 0}, 0xCC, UNTOUCHED},
    {"UnknownUse", {0x06, 0, 0, 0, 10, 0}, 0xCC, UNTOUCHED},
    {"UnknownAction", {0x04, 0x04, 0, 0, 10, 0}, 0xCC, UNTOUCHED},
    {"InterruptBefore", {0x04, 0x20, 1, 0, 10, 0}, 0xCC, UNTOUCHED},
    {"Short", {0x04, 0, 0, 0, 10}, 0xCC, UNTOUCHED},
};
void PrintTo(const SetCase &row, std::ostream *os) {
    *os << row.name;
}
} // namespace

class BmcWatchdogSets : public ::testing::TestWithParam<SetCase> {};
TEST_P(BmcWatchdogSets, AreReadBack) {
    BmcWatchdog watchdog;
    EXPECT_EQ(watchdog.set(GetParam().request, SECOND).completionCode, GetParam().completionCode);
    EXPECT_EQ(watchdog.get(SECOND).data, GetParam().reading);
    EXPECT_FALSE(watchdog.dueNs());
}
INSTANTIATE_TEST_SUITE_P(Watchdog, BmcWatchdogSets, ::testing::ValuesIn(SETS),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(BmcWatchdog, RunsOnlyOnceSetAndRestarted) {
    BmcWatchdog watchdog;
    EXPECT_EQ(watchdog.restart(0).completionCode, 0x80);
    watchdog.set(Bytes{4, 1, 0, 0, 50, 0}, 0);
    EXPECT_EQ(watchdog.expire(100 * SECOND), BmcWatchdog::Action::NOTHING);
    EXPECT_EQ(watchdog.restart(SECOND).completionCode, 0);
    EXPECT_EQ(watchdog.dueNs(), 6 * SECOND);
    // Half a step counts as one that is still to come.
    EXPECT_EQ(watchdog.get(SECOND * 7 / 2 + SECOND / 20).data,
              (Bytes{0x44, 1, 0, 0, 50, 0, 25, 0}));
}

TEST(BmcWatchdog, ExpiresOnceAndRemembersItsUse) {
    BmcWatchdog watchdog;
    watchdog.set(Bytes{5, 2, 0, 0, 50, 0}, 0);
    watchdog.restart(0);
    EXPECT_EQ(watchdog.expire(5 * SECOND - 1), BmcWatchdog::Action::NOTHING);
    EXPECT_EQ(watchdog.expire(5 * SECOND), BmcWatchdog::Action::POWER_DOWN);
    EXPECT_EQ(watchdog.expire(6 * SECOND), BmcWatchdog::Action::NOTHING);
    EXPECT_EQ(watchdog.get(0).data[3], 0x20);
    watchdog.set(Bytes{1, 3, 0, 0, 0, 0}, 0);
    watchdog.restart(0);
    EXPECT_EQ(watchdog.expire(0), BmcWatchdog::Action::POWER_CYCLE);
    EXPECT_EQ(watchdog.get(0).data[3], 0x22);
    watchdog.set(Bytes{1, 3, 0, 0x20, 0, 0}, 0);
    EXPECT_EQ(watchdog.get(0).data[3], 0x02);
}

TEST(BmcWatchdog, SettingStopsItUnlessItIsToRunOn) {
    BmcWatchdog watchdog;
    watchdog.set(Bytes{4, 1, 0, 0, 50, 0}, 0);
    watchdog.restart(0);
    watchdog.set(Bytes{0x44, 1, 0, 0, 100, 0}, SECOND);
    EXPECT_EQ(watchdog.dueNs(), 11 * SECOND);
    watchdog.set(Bytes{4, 1, 0, 0, 50, 0}, SECOND);
    EXPECT_FALSE(watchdog.dueNs());
}
