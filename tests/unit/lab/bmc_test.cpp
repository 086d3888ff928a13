#include "bmc/Bmc.h"

#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/BmcMachine.h"

namespace {
using Bytes = std::vector<std::uint8_t>;
constexpr std::int64_t MS = 1'000'000, SECOND = 1000 * MS;

Bytes joined(Bytes first, const Bytes &second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

/// The first message of a transfer of an argument that needs two.
Bytes first_message() {
    Bytes message{0, 0, 0x14};
    const std::string name = "WriteInventory";
    message.insert(message.end(), name.begin(), name.end());
    message.resize(23, 0);
    message.insert(message.end(), {80, 0, 0, 0});
    message.resize(60, 'x');
    return message;
}

struct CommandCase {
    const char *name;
    std::uint8_t netfn, cmd;
    Bytes data;
    std::uint8_t completionCode;
    Bytes answer;
};
const Bytes GUID{0x4F, 0x52, 0x42, 0x4C, 0x41, 0x42, 0x42, 0x83,
                 0x10, 0x40, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01};
const Bytes CHANNEL{0x0F, 0x0C, 0x05, 0x00, 0xF2, 0x1B, 0x00, 0xFF, 0xFF};
const CommandCase COMMANDS[] = {
    {"DeviceId", 0x06, 0x01, {}, 0, {0x20, 0x01, 0x01, 0x00, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    {"BtCapabilities", 0x06, 0x36, {}, 0, {1, 63, 63, 5, 3}},
    {"Enables", 0x06, 0x2F, {}, 0, {0x08}},
    {"EnablesWithData", 0x06, 0x2F, {0}, 0xC7, {}},
    {"SetEnablesWithoutData", 0x06, 0x2E, {}, 0xC7, {}},
    {"SetEnablesWithTwoBytes", 0x06, 0x2E, {1, 1}, 0xC7, {}},
    {"ClearFlags", 0x06, 0x30, {0xFF}, 0, {}},
    {"ClearFlagsWithoutData", 0x06, 0x30, {}, 0xC7, {}},
    {"Flags", 0x06, 0x31, {}, 0, {0}},
    {"NoMessage", 0x06, 0x33, {}, 0x80, {}},
    {"NoEvent", 0x06, 0x35, {}, 0x80, {}},
    {"DeviceGuid", 0x06, 0x08, {}, 0, GUID},
    {"SystemGuid", 0x06, 0x37, {}, 0, GUID},
    {"SystemChannel", 0x06, 0x42, {0x0F}, 0, CHANNEL},
    {"PresentChannel", 0x06, 0x42, {0x0E}, 0, CHANNEL},
    {"UpperBitsOfChannel", 0x06, 0x42, {0xFF}, 0, CHANNEL},
    {"NoOtherChannel", 0x06, 0x42, {0x00}, 0xCC, {}},
    {"NoChannelToldAtAll", 0x06, 0x42, {}, 0xC7, {}},
    {"ColdReset", 0x06, 0x02, {}, 0xC1, {}},
    {"SetWatchdog", 0x06, 0x24, {0x44, 0x01, 0x00, 0x10, 0x64, 0x00}, 0, {}},
    {"SetWatchdogTooShort", 0x06, 0x24, {0, 0, 0, 0, 0}, 0xC7, {}},
    {"WatchdogNeverSet", 0x06, 0x25, {}, 0, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"StartWatchdogNeverSet", 0x06, 0x22, {}, 0x80, {}},
    {"UnknownApp", 0x06, 0x77, {}, 0xC1, {}},
    {"OtherNetfn", 0x2C, 0x00, {0}, 0xC1, {}},
    {"FlagsOfOtherNetfn", 0x0A, 0x31, {}, 0xC1, {}},
    {"Partition", 0x34, 0x08, {}, 0, {1, 0, 0, 0, 0, 0, 0, 0}},
    {"DoorBell", 0x3A, 0x81, {}, 0, {0}},
};
void PrintTo(const CommandCase &row, std::ostream *os) {
    *os << row.name;
}

class BmcTest : public ::testing::Test {
protected:
    Bytes ask(const Bytes &bytes, std::int64_t nowNs = SECOND) {
        bmc.take(bytes, nowNs);
        return bmc.takeOutput();
    }
    void behave(bool silent, std::int64_t delayMs) {
        RMC_BEHAVIOUR behaviour;
        behaviour.silent = silent;
        behaviour.delayMs = delayMs;
        rmc.behave(behaviour);
    }
    const Bytes doorBell = bmc_request(9, 0x3A, 0x81);
    const Bytes doorBellAnswer = bmc_answer(9, 0x3A, 0x81, 0, {0});
    Rmc rmc;
    Bmc bmc{rmc};
};
} // namespace

class BmcCommands : public ::testing::TestWithParam<CommandCase> {};
TEST_P(BmcCommands, AreAnswered) {
    Rmc rmc;
    Bmc bmc(rmc);
    const CommandCase &row = GetParam();
    bmc.take(bmc_request(0x42, row.netfn, row.cmd, row.data), SECOND);
    EXPECT_EQ(bmc.takeOutput(),
              bmc_answer(0x42, row.netfn, row.cmd, row.completionCode, row.answer));
    EXPECT_TRUE(rmc.takeViolations().empty());
    EXPECT_FALSE(bmc.dueNs());
}
INSTANTIATE_TEST_SUITE_P(Driver, BmcCommands, ::testing::ValuesIn(COMMANDS),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(BmcTest, EnablesAreRememberedAndTurnInterruptsOnAndOff) {
    EXPECT_EQ(ask(bmc_request(1, 0x06, 0x2E, {0x0B})),
              joined({0x05, 0xA1}, bmc_answer(1, 0x06, 0x2E, 0)));
    EXPECT_EQ(ask(bmc_request(2, 0x06, 0x2F)), bmc_answer(2, 0x06, 0x2F, 0, {0x0B}));
    EXPECT_EQ(ask(bmc_request(3, 0x06, 0x2E, {0x0A})),
              joined({0x06, 0xA1}, bmc_answer(3, 0x06, 0x2E, 0)));
    EXPECT_EQ(bmc.globalEnables(), 0x0A);
}

TEST_F(BmcTest, WatchdogKeepsItsSettingsAndRunsFromItsStartToTheNextSetting) {
    ask(bmc_request(1, 0x06, 0x24, {0x04, 0x01, 0x02, 0x10, 0x64, 0x05}));
    const Bytes stopped{0x04, 0x01, 0x02, 0x00, 0x64, 0x05, 0x64, 0x05};
    EXPECT_EQ(ask(bmc_request(2, 0x06, 0x25)), bmc_answer(2, 0x06, 0x25, 0, stopped));
    EXPECT_EQ(ask(bmc_request(3, 0x06, 0x22)), bmc_answer(3, 0x06, 0x22, 0));
    const Bytes running{0x44, 0x01, 0x02, 0x00, 0x64, 0x05, 0x64, 0x05};
    EXPECT_EQ(ask(bmc_request(4, 0x06, 0x25)), bmc_answer(4, 0x06, 0x25, 0, running));
    ask(bmc_request(5, 0x06, 0x24, {0x44, 0x01, 0x02, 0x10, 0x64, 0x05}));
    EXPECT_EQ(ask(bmc_request(6, 0x06, 0x25)), bmc_answer(6, 0x06, 0x25, 0, running));
    ask(bmc_request(7, 0x06, 0x24, {0x04, 0x01, 0x02, 0x10, 0x64, 0x05}));
    EXPECT_EQ(ask(bmc_request(8, 0x06, 0x25)), bmc_answer(8, 0x06, 0x25, 0, stopped));
}

TEST_F(BmcTest, ResetStopsTheWatchdog) {
    ask(bmc_request(1, 0x06, 0x24, {0x04, 0x01, 0x02, 0x00, 0x64, 0x05}));
    ask(bmc_request(2, 0x06, 0x22));
    ask({0x04, 0xA1});
    EXPECT_FALSE(bmc.dueNs());
    EXPECT_EQ(ask(bmc_request(3, 0x06, 0x25)),
              bmc_answer(3, 0x06, 0x25, 0, {0x04, 0x01, 0x02, 0x00, 0x64, 0x05, 0x64, 0x05}));
}

TEST_F(BmcTest, LostLinkKeepsWhatTheDriverHasSetUp) {
    bmc.connect();
    EXPECT_TRUE(bmc.takeOutput().empty());
    ask(bmc_request(1, 0x06, 0x2E, {0x09}));
    bmc.connect();
    EXPECT_EQ(bmc.takeOutput(), (Bytes{0x05, 0xA1}));
    EXPECT_EQ(bmc.globalEnables(), 0x09);
}

TEST_F(BmcTest, ResetForgetsEnablesAndTransfer) {
    ask(bmc_request(1, 0x06, 0x2E, {0x09}));
    ask(bmc_request(2, 0x3A, 0x80, first_message()));
    ASSERT_TRUE(rmc.wire().isTransferOpen());
    EXPECT_EQ(ask({0x04, 0xA1}), (Bytes{0x06, 0xA1}));
    EXPECT_EQ(bmc.globalEnables(), 0x08);
    EXPECT_FALSE(rmc.wire().isTransferOpen());
    EXPECT_TRUE(rmc.takeViolations().empty());
}

TEST_F(BmcTest, NewConnectionForgetsTheOpenTransferAndHalfAMessage) {
    ask(bmc_request(2, 0x3A, 0x80, first_message()));
    ask({0x01, 0x18});
    bmc.connect();
    EXPECT_FALSE(rmc.wire().isTransferOpen());
    EXPECT_EQ(ask(bmc_request(3, 0x3A, 0x80, first_message())),
              bmc_answer(3, 0x3A, 0x80, 0, {0, 2, 0, 0}));
    EXPECT_TRUE(rmc.takeViolations().empty());
}

TEST_F(BmcTest, NewConnectionGetsNothingThatWasForTheFormer) {
    bmc.take(doorBell, SECOND);
    bmc.connect();
    EXPECT_TRUE(bmc.takeOutput().empty());
    behave(false, 200);
    ask(doorBell);
    bmc.connect();
    EXPECT_FALSE(bmc.dueNs());
    bmc.sendDue(2 * SECOND);
    EXPECT_TRUE(bmc.takeOutput().empty());
    EXPECT_EQ(bmc.statistics().givenUp, 1u);
}

TEST_F(BmcTest, ResetForgetsTheAnswerThatIsStillToCome) {
    behave(false, 200);
    ask(doorBell);
    EXPECT_EQ(ask({0x04, 0xA1}), (Bytes{0x06, 0xA1}));
    EXPECT_FALSE(bmc.dueNs());
    bmc.sendDue(2 * SECOND);
    EXPECT_TRUE(bmc.takeOutput().empty());
    EXPECT_EQ(bmc.statistics().givenUp, 1u);
}

TEST_F(BmcTest, VersionAndCapabilitiesAreTakenInSilence) {
    EXPECT_TRUE(ask({0xFF, 0x01, 0xA1, 0x08, 0x3F, 0xA1}).empty());
    EXPECT_TRUE(rmc.takeViolations().empty());
}

TEST_F(BmcTest, UnknownControlVersionAndLunAreToldToTheRmc) {
    ask({0x55, 0xA1, 0xFF, 0x02, 0xA1, 0x11, 0xA0});
    EXPECT_EQ(rmc.takeViolations(), (std::vector<std::string>{
                                        "controller's wire: a message of 1 bytes, not 4 or more",
                                        "controller's wire: unknown control 0x55",
                                        "controller's wire: a version other than 1",
                                    }));
    EXPECT_EQ(bmc.statistics().brokenRules, 3u);
    EXPECT_EQ(ask(bmc_request(1, 0x3A, 0x81, {}, 2)), bmc_answer(1, 0x3A, 0x81, 0xC2, {}, 2));
    EXPECT_EQ(rmc.takeViolations(), std::vector<std::string>{"address: lun 2"});
    EXPECT_EQ(ask(bmc_request(2, 0x06, 0x2F, {}, 3)), bmc_answer(2, 0x06, 0x2F, 0xC2, {}, 3));
    EXPECT_TRUE(rmc.takeViolations().empty());
}

TEST_F(BmcTest, DelayIsKept) {
    behave(false, 200);
    EXPECT_TRUE(ask(doorBell).empty());
    EXPECT_EQ(bmc.dueNs(), SECOND + 200 * MS);
    bmc.sendDue(SECOND + 200 * MS - 1);
    EXPECT_TRUE(bmc.takeOutput().empty());
    bmc.sendDue(SECOND + 200 * MS);
    EXPECT_EQ(bmc.takeOutput(), doorBellAnswer);
    EXPECT_FALSE(bmc.dueNs());
    EXPECT_EQ(bmc.statistics().givenUp, 0u);
}

TEST_F(BmcTest, WithheldAnswerGoesOutWhenTheRmcBehavesAgain) {
    behave(true, 0);
    EXPECT_TRUE(ask(doorBell).empty());
    EXPECT_FALSE(bmc.dueNs());
    bmc.sendDue(2 * SECOND);
    EXPECT_TRUE(bmc.takeOutput().empty());
    rmc.behave({});
    bmc.sendDue(3 * SECOND);
    EXPECT_EQ(bmc.takeOutput(), doorBellAnswer);
}

TEST_F(BmcTest, NextRequestShowsThatTheFormerIsGivenUp) {
    behave(true, 0);
    ask(bmc_request(1, 0x3A, 0x80, first_message()));
    ASSERT_TRUE(rmc.wire().isTransferOpen());
    rmc.behave({});
    EXPECT_EQ(ask(bmc_request(2, 0x3A, 0x80, first_message()), 5 * SECOND),
              bmc_answer(2, 0x3A, 0x80, 0, {0, 2, 0, 0}));
    EXPECT_EQ(bmc.statistics().givenUp, 1u);
    EXPECT_TRUE(rmc.takeViolations().empty());
}

TEST_F(BmcTest, AnswerWithinTheInterfacesPatienceCounts) {
    behave(true, 0);
    ask(bmc_request(1, 0x3A, 0x80, first_message()));
    rmc.behave({});
    bmc.sendDue(5 * SECOND - 1);
    EXPECT_EQ(bmc.takeOutput(), bmc_answer(1, 0x3A, 0x80, 0, {0, 1, 0, 0}));
    EXPECT_TRUE(rmc.wire().isTransferOpen());
    EXPECT_EQ(bmc.statistics().givenUp, 0u);
}

TEST_F(BmcTest, AnswerBehindTheInterfacesPatienceEndsTheTransfer) {
    behave(true, 0);
    ask(bmc_request(1, 0x3A, 0x80, first_message()));
    rmc.behave({});
    bmc.sendDue(5 * SECOND);
    EXPECT_EQ(bmc.takeOutput(), bmc_answer(1, 0x3A, 0x80, 0, {0, 1, 0, 0}));
    EXPECT_FALSE(rmc.wire().isTransferOpen());
    EXPECT_EQ(bmc.statistics().givenUp, 1u);
}

TEST_F(BmcTest, DriverIsAnsweredWhileTheRmcIsSilent) {
    behave(true, 0);
    EXPECT_EQ(ask(bmc_request(1, 0x06, 0x31)), bmc_answer(1, 0x06, 0x31, 0, {0}));
}

TEST_F(BmcTest, StatisticsTellDriverAndRmcApart) {
    bmc.connect();
    ask(bmc_request(1, 0x06, 0x2F));
    ask(bmc_request(2, 0x06, 0x31));
    ask(doorBell);
    ask(bmc_request(3, 0x3A, 0x80, first_message()), 7 * SECOND);
    ask(bmc_request(4, 0x3A, 0x80, first_message()), 8 * SECOND);
    const BMC_STATISTICS counts = bmc.statistics();
    EXPECT_EQ(counts.connections, 1u);
    EXPECT_EQ(counts.requests, 5u);
    EXPECT_EQ(counts.byDriver, 2u);
    EXPECT_EQ(counts.toRmc, 3u);
    EXPECT_EQ(counts.transferMessages, 2u);
    EXPECT_EQ(counts.firstTransferNs, 7 * SECOND);
    EXPECT_EQ(counts.lastTransferNs, 8 * SECOND);
    bmc.resetStatistics();
    EXPECT_EQ(bmc.statistics().requests, 0u);
    EXPECT_EQ(bmc.statistics().firstTransferNs, 0);
}

TEST_F(BmcTest, ObserverSeesWhatTheRmcSees) {
    std::vector<std::string> meanings;
    bmc.observer = [&](const BMC_REQUEST &request, const RMC_REPLY &reply) {
        EXPECT_EQ(request.sequence, 9);
        EXPECT_EQ(reply.answer.data, Bytes{0});
        meanings.push_back(rmc.wire().lastMeaning());
    };
    ask(doorBell);
    ask(bmc_request(1, 0x06, 0x31));
    EXPECT_EQ(meanings, std::vector<std::string>{"door bell: nothing"});
}

TEST_F(BmcTest, WatchdogThatIsNotFedActsOnTheMachine) {
    const struct {
        std::uint8_t action;
        Bytes output;
    } rows[] = {
        {0, {}}, {1, {0x06, 0xA1, 0x04, 0xA1}}, {2, {0x03, 0xA1}}, {3, {0x06, 0xA1, 0x04, 0xA1}}};
    for (const auto &row : rows) {
        ask(bmc_request(1, 0x06, 0x24, {4, row.action, 0, 0x10, 100, 0}));
        EXPECT_FALSE(bmc.dueNs());
        ask(bmc_request(2, 0x06, 0x22), SECOND);
        EXPECT_EQ(bmc.dueNs(), 11 * SECOND);
        ask(bmc_request(3, 0x06, 0x22), 5 * SECOND);
        bmc.sendDue(15 * SECOND - 1);
        EXPECT_TRUE(bmc.takeOutput().empty());
        bmc.sendDue(15 * SECOND);
        EXPECT_EQ(bmc.takeOutput(), row.output) << int{row.action};
        EXPECT_FALSE(bmc.dueNs());
        EXPECT_EQ(ask(bmc_request(4, 0x06, 0x25)),
                  bmc_answer(4, 0x06, 0x25, 0, {4, row.action, 0, 0x10, 100, 0, 100, 0}));
    }
}

TEST_F(BmcTest, NewConnectionIsNotResetForTheFormersSake) {
    ask(bmc_request(1, 0x06, 0x24, {4, 1, 0, 0, 100, 0}));
    ask(bmc_request(2, 0x06, 0x22));
    bmc.connect();
    bmc.sendDue(60 * SECOND);
    EXPECT_TRUE(bmc.takeOutput().empty());
}

TEST_F(BmcTest, EarlierOfAnswerAndWatchdogIsDue) {
    ask(bmc_request(1, 0x06, 0x24, {4, 0, 0, 0, 10, 0}));
    ask(bmc_request(2, 0x06, 0x22));
    behave(false, 500);
    ask(doorBell);
    EXPECT_EQ(bmc.dueNs(), SECOND + 500 * MS);
    behave(false, 5000);
    ask(doorBell);
    EXPECT_EQ(bmc.dueNs(), 2 * SECOND);
}
