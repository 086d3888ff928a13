#include "storage/port_status.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
constexpr std::int64_t NOW = 1'700'000'000;

// -- A port ---------------------------------------------------------------------------------------

struct PortCase {
    const char *name;
    std::string text;
    std::int64_t since;
    ORB_RESOURCE_STATE state;
    ORB_RESOURCE_HEALTH health;
    std::int64_t sinceAfter;
    ORB_RECOVERY_NEWS news;
};
const PortCase PORT_CASES[] = {
    {"Created", "Created", 7, ORB_STATE_CREATED, ORB_HEALTH_OK, 0, ORB_RECOVERY_NO_NEWS},
    {"Running", "Running", 7, ORB_STATE_RUNNING, ORB_HEALTH_OK, 0, ORB_RECOVERY_NO_NEWS},
    {"AsTheKernelWritesIt", "running", 0, ORB_STATE_RUNNING, ORB_HEALTH_OK, 0,
     ORB_RECOVERY_NO_NEWS},
    {"RecoveryBegins", "recovery", 0, ORB_STATE_RUNNING, ORB_HEALTH_OK, NOW, ORB_RECOVERY_BEGAN},
    {"RecoveryGoesOnForHours", "Recovery", NOW - 36000, ORB_STATE_RUNNING, ORB_HEALTH_OK,
     NOW - 36000, ORB_RECOVERY_NO_NEWS},
    {"RecoveryThisVerySecond", "Recovery", NOW, ORB_STATE_RUNNING, ORB_HEALTH_OK, NOW,
     ORB_RECOVERY_NO_NEWS},
    {"ClockBackBy59Seconds", "Recovery", NOW + 59, ORB_STATE_RUNNING, ORB_HEALTH_OK, NOW + 59,
     ORB_RECOVERY_NO_NEWS},
    {"ClockBackBy60Seconds", "Recovery", NOW + 60, ORB_STATE_RECOVERY, ORB_HEALTH_WARNING, NOW + 60,
     ORB_RECOVERY_LONG},
    {"ClockBackByAnEpoch", "Recovery", std::numeric_limits<std::int64_t>::max(), ORB_STATE_RECOVERY,
     ORB_HEALTH_WARNING, std::numeric_limits<std::int64_t>::max(), ORB_RECOVERY_LONG},
    {"OtherWordStartsAnew", "Offline", NOW - 5, ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL, 0,
     ORB_RECOVERY_NO_NEWS},
    {"OnlineIsCritical", "Online", 0, ORB_STATE_ONLINE, ORB_HEALTH_CRITICAL, 0,
     ORB_RECOVERY_NO_NEWS},
    {"OptimalIsCritical", "Optimal", 0, ORB_STATE_OPTIMAL, ORB_HEALTH_CRITICAL, 0,
     ORB_RECOVERY_NO_NEWS},
    {"NoSuchWord", "sleeping", 5, ORB_STATE_UNKNOWN, ORB_HEALTH_CRITICAL, 0, ORB_RECOVERY_NO_NEWS},
    {"NearlyAWord", "Running ", 0, ORB_STATE_UNKNOWN, ORB_HEALTH_CRITICAL, 0, ORB_RECOVERY_NO_NEWS},
    {"Empty", "", 0, ORB_STATE_UNKNOWN, ORB_HEALTH_CRITICAL, 0, ORB_RECOVERY_NO_NEWS},
};
void PrintTo(const PortCase &row, std::ostream *os) {
    *os << row.name;
}
class JudgePort : public ::testing::TestWithParam<PortCase> {};
TEST_P(JudgePort, GivesStateHealthAndStamp) {
    const PortCase &row = GetParam();
    const ORB_PORT_STATUS status = judge_port(row.text.c_str(), row.since, NOW);
    EXPECT_EQ(status.state, row.state);
    EXPECT_EQ(status.health, row.health);
    EXPECT_EQ(status.recoverySince, row.sinceAfter);
    EXPECT_EQ(status.news, row.news);
}
INSTANTIATE_TEST_SUITE_P(Texts, JudgePort, ::testing::ValuesIn(PORT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(JudgePortWords, EveryWordInAnyLettersIsItsState) {
    for (int row = 0; row < 25; ++row) {
        const auto state = static_cast<ORB_RESOURCE_STATE>(row);
        if (state == ORB_STATE_RECOVERY) continue;
        std::string lower = state_text(state), upper = lower;
        const auto change = [](std::string &text, int (*how)(int)) {
            for (char &letter : text)
                letter = static_cast<char>(how(static_cast<unsigned char>(letter)));
        };
        change(lower, std::tolower);
        change(upper, std::toupper);
        const bool well = state == ORB_STATE_CREATED || state == ORB_STATE_RUNNING;
        for (const std::string &text : {lower, upper, std::string(state_text(state))}) {
            const ORB_PORT_STATUS status = judge_port(text.c_str(), NOW - 1, NOW);
            EXPECT_EQ(status.state, state) << text;
            EXPECT_EQ(status.health, well ? ORB_HEALTH_OK : ORB_HEALTH_CRITICAL) << text;
            EXPECT_EQ(status.recoverySince, 0) << text;
            EXPECT_EQ(status.news, ORB_RECOVERY_NO_NEWS) << text;
        }
    }
}

// -- A controller ---------------------------------------------------------------------------------

constexpr ORB_RESOURCE_STATE CONDITIONS[] = {ORB_STATE_RUNNING, ORB_STATE_RECOVERY,
                                             ORB_STATE_OFFLINE, ORB_STATE_FAILED};

/// By how many ports are down, which the judge itself doesn't ask first.
ORB_CONTROLLER_STATUS reckon(const std::vector<ORB_RESOURCE_STATE> &ports) {
    const auto count = [&ports](ORB_RESOURCE_STATE state) {
        return std::count(ports.begin(), ports.end(), state);
    };
    const auto all = static_cast<std::ptrdiff_t>(ports.size());
    const auto recovering = count(ORB_STATE_RECOVERY), offline = count(ORB_STATE_OFFLINE);
    const auto down = offline + count(ORB_STATE_FAILED);
    if (down == all) {
        const bool onlyOffline = offline == all;
        return {onlyOffline ? ORB_STATE_OFFLINE : ORB_STATE_FAILED, ORB_HEALTH_CRITICAL,
                STORAGE_EVENT_INFO_OUT_OF_USE};
    }
    if (down == all - 1 && down > 0)
        return {ORB_STATE_DEGRADED, ORB_HEALTH_CRITICAL, STORAGE_EVENT_INFO_OUT_OF_USE};
    if (down > 0) return {ORB_STATE_DEGRADED, ORB_HEALTH_WARNING, STORAGE_EVENT_INFO_SOME_DOWN};
    if (recovering == 0) return {ORB_STATE_RUNNING, ORB_HEALTH_OK, STORAGE_EVENT_INFO_ALL_ONLINE};
    if (recovering >= all - 1)
        return {ORB_STATE_RECOVERING, ORB_HEALTH_CRITICAL, STORAGE_EVENT_INFO_OUT_OF_USE};
    return {ORB_STATE_RECOVERING, ORB_HEALTH_WARNING, STORAGE_EVENT_INFO_SOME_DOWN};
}

class JudgeController : public ::testing::TestWithParam<int> {};
TEST_P(JudgeController, EveryMixIsAsReckoned) {
    const auto ports = static_cast<std::size_t>(GetParam());
    std::size_t mixes = 1;
    for (std::size_t port = 0; port < ports; ++port) mixes *= std::size(CONDITIONS);
    for (std::size_t mix = 0; mix < mixes; ++mix) {
        std::vector<ORB_RESOURCE_STATE> states;
        ORB_PORT_COUNTS counts;
        std::string name;
        for (std::size_t port = 0, rest = mix; port < ports; ++port, rest /= 4) {
            states.push_back(CONDITIONS[rest % 4]);
            counts.add(states.back());
            name += std::string(state_text(states.back())) + " ";
        }
        ASSERT_EQ(counts.all(), static_cast<std::int64_t>(ports));
        const ORB_CONTROLLER_STATUS status = judge_controller(counts), expected = reckon(states);
        EXPECT_STREQ(state_text(status.state), state_text(expected.state)) << name;
        EXPECT_STREQ(health_text(status.health), health_text(expected.health)) << name;
        EXPECT_EQ(status.info, expected.info) << name;
        EXPECT_NE(status.state, ORB_STATE_UNKNOWN) << name; // every mix has a row
    }
}
INSTANTIATE_TEST_SUITE_P(Ports, JudgeController, ::testing::Values(1, 2, 3, 4),
                         [](const auto &row) { return std::to_string(row.param); });

struct MixCase {
    const char *name;
    ORB_PORT_COUNTS ports; // online, recovering, offline, failed
    ORB_RESOURCE_STATE state;
    ORB_RESOURCE_HEALTH health;
    STORAGE_EVENT_INFO_TYPE info;
};
constexpr STORAGE_EVENT_INFO_TYPE ONLINE = STORAGE_EVENT_INFO_ALL_ONLINE,
                                  SOME = STORAGE_EVENT_INFO_SOME_DOWN,
                                  OUT = STORAGE_EVENT_INFO_OUT_OF_USE;
const MixCase MIX_CASES[] = {
    {"NoPorts", {0, 0, 0, 0}, ORB_STATE_RUNNING, ORB_HEALTH_OK, ONLINE},
    {"OneOnline", {1, 0, 0, 0}, ORB_STATE_RUNNING, ORB_HEALTH_OK, ONLINE},
    {"OneRecovering", {0, 1, 0, 0}, ORB_STATE_RECOVERING, ORB_HEALTH_CRITICAL, OUT},
    {"OneOffline", {0, 0, 1, 0}, ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL, OUT},
    {"OneFailed", {0, 0, 0, 1}, ORB_STATE_FAILED, ORB_HEALTH_CRITICAL, OUT},
    {"TwoWithOneOffline", {1, 0, 1, 0}, ORB_STATE_DEGRADED, ORB_HEALTH_CRITICAL, OUT},
    {"TwoWithOneRecovering", {1, 1, 0, 0}, ORB_STATE_RECOVERING, ORB_HEALTH_CRITICAL, OUT},
    {"ThreeWithOneRecovering", {2, 1, 0, 0}, ORB_STATE_RECOVERING, ORB_HEALTH_WARNING, SOME},
    {"ThreeWithTwoRecovering", {1, 2, 0, 0}, ORB_STATE_RECOVERING, ORB_HEALTH_CRITICAL, OUT},
    {"FourWithOneOffline", {3, 0, 1, 0}, ORB_STATE_DEGRADED, ORB_HEALTH_WARNING, SOME},
    {"FourWithThreeDown", {1, 0, 1, 2}, ORB_STATE_DEGRADED, ORB_HEALTH_CRITICAL, OUT},
    {"OneDownAndTheRestRecovering", {0, 3, 0, 1}, ORB_STATE_DEGRADED, ORB_HEALTH_WARNING, SOME},
    {"AllFailed", {0, 0, 0, 4}, ORB_STATE_FAILED, ORB_HEALTH_CRITICAL, OUT},
    {"AllOffline", {0, 0, 4, 0}, ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL, OUT},
    {"AllDownInBothWays", {0, 0, 3, 1}, ORB_STATE_FAILED, ORB_HEALTH_CRITICAL, OUT},
};
void PrintTo(const MixCase &row, std::ostream *os) {
    *os << row.name;
}
class ControllerMix : public ::testing::TestWithParam<MixCase> {};
TEST_P(ControllerMix, GivesStateHealthAndText) {
    const ORB_CONTROLLER_STATUS status = judge_controller(GetParam().ports);
    EXPECT_EQ(status.state, GetParam().state);
    EXPECT_EQ(status.health, GetParam().health);
    EXPECT_EQ(status.info, GetParam().info);
}
INSTANTIATE_TEST_SUITE_P(Mixes, ControllerMix, ::testing::ValuesIn(MIX_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(PortCounts, EveryStateBelongsToOneCondition) {
    for (int row = 0; row < 25; ++row) {
        const auto state = static_cast<ORB_RESOURCE_STATE>(row);
        ORB_PORT_COUNTS counts;
        counts.add(state);
        EXPECT_EQ(counts.all(), 1) << row;
        EXPECT_EQ(counts.online, state == ORB_STATE_CREATED || state == ORB_STATE_RUNNING) << row;
        EXPECT_EQ(counts.recovering, state == ORB_STATE_RECOVERY) << row;
        EXPECT_EQ(counts.offline, state == ORB_STATE_OFFLINE) << row;
    }
}

// -- Numbers in paths -----------------------------------------------------------------------------

struct NumberCase {
    const char *name;
    std::string text;
    std::optional<int> number;
};
void PrintTo(const NumberCase &row, std::ostream *os) {
    *os << row.name;
}

const NumberCase HOST_CASES[] = {
    {"Host", "/sys/class/scsi_host/host12", 12},
    {"FolderAloneIsNone", "/sys/class/scsi_host/", std::nullopt},
    {"NoNumber", "/sys/class/scsi_host/hostess", std::nullopt},
    {"OnlyTheFirstHit", "/sys/hostess/host3", std::nullopt},
    {"TextBehindTheNumber", "/host7/device", 7},
    {"WithinTheBuffer", std::string(43, 'x') + "/host1", 1},
    {"OneDigitOfTwoWithinTheBuffer", std::string(43, 'x') + "/host12", 1},
    {"NumberBeyondTheBuffer", std::string(44, 'x') + "/host12", std::nullopt},
    {"UpperBitsAreLost", "/host4294967297", 1},
    {"Negative", "/host-1", -1},
    {"Empty", "", std::nullopt},
};
class HostNumber : public ::testing::TestWithParam<NumberCase> {};
TEST_P(HostNumber, StandsBehindTheFirstHost) {
    EXPECT_EQ(port_host_number(GetParam().text), GetParam().number);
}
INSTANTIATE_TEST_SUITE_P(Paths, HostNumber, ::testing::ValuesIn(HOST_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

const NumberCase ATA_CASES[] = {
    {"Ata", "../../devices/pci0000:00/0000:00:17.0/ata3/host2/scsi_host/host2", 3},
    {"NoAta", "../../devices/pci0000:00/0000:00:17.0/host2/scsi_host/host2", std::nullopt},
    {"NoNumber", "../../devices/atas/ata/host2", std::nullopt},
    {"OnlyTheFirstHit", "/ata/ata5", std::nullopt},
    {"FarBehind", std::string(2000, 'x') + "/ata17/host2", 17},
    {"Empty", "", std::nullopt},
};
class AtaNumber : public ::testing::TestWithParam<NumberCase> {};
TEST_P(AtaNumber, StandsBehindTheFirstAta) {
    EXPECT_EQ(port_ata_number(GetParam().text), GetParam().number);
}
INSTANTIATE_TEST_SUITE_P(Links, AtaNumber, ::testing::ValuesIn(ATA_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
