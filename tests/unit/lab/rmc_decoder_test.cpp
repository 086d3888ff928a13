#include "rmc/RmcDecoder.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
using Bytes = std::vector<std::uint8_t>;

/// The messages of one transfer, as a sender that is told `handle` makes them.
std::vector<Bytes> messages_of(const std::string &name, const std::string &argument,
                               std::uint16_t handle) {
    std::string rest = argument + '\0';
    Bytes first(60);
    first[2] = 0x14;
    std::copy(name.begin(), name.end(), first.begin() + 3);
    for (std::size_t i = 0; i < 4; ++i)
        first[23 + i] = static_cast<std::uint8_t>(rest.size() >> 8 * i);
    std::copy_n(rest.begin(), 33, first.begin() + 27);
    rest.erase(0, 33);
    std::vector<Bytes> all{first};
    while (!rest.empty()) {
        Bytes next(60);
        next[0] = static_cast<std::uint8_t>(handle);
        next[1] = static_cast<std::uint8_t>(handle >> 8);
        const std::size_t count = std::min<std::size_t>(rest.size(), 57);
        std::copy_n(rest.begin(), count, next.begin() + 3);
        rest.erase(0, count);
        all.push_back(next);
    }
    return all;
}

RMC_ANSWER transfer(RmcDecoder &decoder, const Bytes &message, const RMC_FORCE &force = {}) {
    return decoder.message(0x3A, 0x80, message, force);
}

const std::string TEXT(100, 'x');
} // namespace

TEST(RmcDecoder, PutsATransferTogether) {
    RmcDecoder decoder;
    for (const Bytes &message : messages_of("WriteInventory", TEXT, 1)) {
        const RMC_ANSWER answer = transfer(decoder, message);
        EXPECT_EQ(answer.completionCode, 0);
        EXPECT_EQ(answer.data, (Bytes{0, 1, 0, 0}));
    }
    const std::vector<RMC_COMMAND> commands = decoder.takeCommands();
    ASSERT_EQ(commands.size(), 1u);
    EXPECT_EQ(commands[0].name, "WriteInventory");
    EXPECT_EQ(commands[0].argument, TEXT);
    EXPECT_TRUE(decoder.takeViolations().empty());
    EXPECT_TRUE(decoder.takeCommands().empty());
}

TEST(RmcDecoder, EveryLengthFromTwoMessagesOn) {
    RmcDecoder decoder;
    std::uint16_t handle = 0;
    for (std::size_t length = 57; length < 300; ++length) {
        const std::string text(length, 'a');
        for (const Bytes &message : messages_of("MPEventGen", text, ++handle))
            transfer(decoder, message);
        const std::vector<RMC_COMMAND> commands = decoder.takeCommands();
        ASSERT_EQ(commands.size(), 1u) << length;
        EXPECT_EQ(commands[0].argument, text);
    }
    EXPECT_TRUE(decoder.takeViolations().empty());
}

TEST(RmcDecoder, EachTransferGetsAnotherHandle) {
    RmcDecoder decoder;
    for (std::uint16_t handle = 1; handle < 4; ++handle) {
        const auto messages = messages_of("MPEventGen", TEXT, handle);
        EXPECT_EQ(transfer(decoder, messages[0]).data[1], handle);
        for (std::size_t i = 1; i < messages.size(); ++i) transfer(decoder, messages[i]);
    }
    EXPECT_EQ(decoder.takeCommands().size(), 3u);
}

struct RuleCase {
    const char *name;
    void (*change)(std::vector<Bytes> &); ///< done to three good messages
    std::uint8_t status;                  ///< of the last answer
    const char *violation;                ///< "" for none
};
const RuleCase RULES[] = {
    {"Good", [](auto &) {}, 0, ""},
    {"HandleInFirst", [](auto &all) { all[0][0] = 7; }, 3, "first message: handle 0x0007, not 0"},
    {"NameFieldSize", [](auto &all) { all[0][2] = 0x15; }, 3,
     "first message: name field size 0x15, not 0x14"},
    {"UnknownName", [](auto &all) { all[0][3] = 'w'; }, 3,
     "first message: unknown command \"writeInventory\""},
    {"NameWithoutEnd", [](auto &all) { std::fill_n(all[0].begin() + 3, 20, 'W'); }, 3,
     "first message: name without NUL"},
    {"NameTail", [](auto &all) { all[0][22] = 1; }, 0,
     "first message: name field not zero behind the name"},
    {"LengthOfOneMessage", [](auto &all) { all[0][23] = 57; }, 3,
     "first message: length 57, but up to 57 bytes come in a message without a name"},
    {"LengthZero", [](auto &all) { all[0][23] = 0; }, 3,
     "first message: length 0, but up to 57 bytes come in a message without a name"},
    {"LengthTooSmall", [](auto &all) { all[0][23] = 100; }, 3,
     "following message: argument without NUL at its end"},
    {"LengthTooLarge", [](auto &all) { all[0][23] = 102; }, 3,
     "following message: NUL within the argument"},
    {"WrongHandle", [](auto &all) { all[1][0] = 9; }, 3,
     "following message: handle 0x0009, not 0x0001"},
    {"HighByteOfHandle", [](auto &all) { all[1][1] = 1; }, 3,
     "following message: handle 0x0101, not 0x0001"},
    {"NulInFirst", [](auto &all) { all[0][30] = 0; }, 3, "first message: NUL within the argument"},
    {"NulInNext", [](auto &all) { all[1][30] = 0; }, 3,
     "following message: NUL within the argument"},
    {"NoNulAtEnd", [](auto &all) { all[2][13] = 'x'; }, 3,
     "following message: argument without NUL at its end"},
    {"RestNotZero", [](auto &all) { all[2][59] = 1; }, 0,
     "following message: not zero behind the argument's end"},
    {"TransferAnew", [](auto &all) { all[2] = all[0]; }, 0,
     "transfer: a new one begins with 11 of 101 bytes of WriteInventory open"},
    {"OneTooMany", [](auto &all) { all.push_back(all[2]); }, 3,
     "following message: no transfer is open"},
    {"FollowingFirst", [](auto &all) { all = {all[1]}; }, 3,
     "following message: no transfer is open"},
    {"TooShort", [](auto &all) { all = {Bytes(all[0].begin(), all[0].end() - 1)}; }, 0xFF,
     "transfer: a message of 59 bytes, not 60"},
    {"TooLong",
     [](auto &all) {
         all[0].push_back(0);
         all.resize(1);
     },
     0xFF, "transfer: a message of 61 bytes, not 60"},
    {"Empty", [](auto &all) { all = {Bytes()}; }, 0xFF, "transfer: a message of 0 bytes, not 60"},
};
void PrintTo(const RuleCase &row, std::ostream *os) {
    *os << row.name;
}
class RmcRules : public ::testing::TestWithParam<RuleCase> {};
TEST_P(RmcRules, IsNamedAndAnswered) {
    RmcDecoder decoder;
    auto messages = messages_of("WriteInventory", TEXT, 1);
    ASSERT_EQ(messages.size(), 3u);
    GetParam().change(messages);
    RMC_ANSWER answer;
    for (const Bytes &message : messages) answer = transfer(decoder, message);
    if (GetParam().status == 0xFF) {
        EXPECT_EQ(answer.completionCode, 0xC7);
        EXPECT_TRUE(answer.data.empty());
    } else {
        ASSERT_EQ(answer.data.size(), 4u);
        EXPECT_EQ(answer.data[0], GetParam().status);
    }
    const std::vector<std::string> violations = decoder.takeViolations();
    if (*GetParam().violation == '\0') {
        EXPECT_TRUE(violations.empty());
    } else {
        ASSERT_FALSE(violations.empty());
        EXPECT_EQ(violations[0], GetParam().violation);
    }
}
INSTANTIATE_TEST_SUITE_P(Rules, RmcRules, ::testing::ValuesIn(RULES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(RmcDecoder, UnknownCommandIsNotSupported) {
    RmcDecoder decoder;
    auto messages = messages_of("WriteInventory", TEXT, 1);
    messages[0][3] = 'w';
    EXPECT_EQ(transfer(decoder, messages[0]).data[0], 5);
}

TEST(RmcDecoder, TooLongAnArgumentIsRefusedWithoutReproach) {
    RmcDecoder decoder;
    auto messages = messages_of("WriteInventory", TEXT, 1);
    messages[0][26] = 0x40; // 1 GiB
    EXPECT_EQ(transfer(decoder, messages[0]).data[0], 8);
    EXPECT_TRUE(decoder.takeViolations().empty());
}

TEST(RmcDecoder, ForcedStatusUpToTwoLetsTheTransferGoOn) {
    for (const std::uint8_t status : {std::uint8_t{1}, std::uint8_t{2}}) {
        RmcDecoder decoder;
        RMC_FORCE force;
        force.transferStatus = status;
        for (const Bytes &message : messages_of("WriteInventory", TEXT, 1))
            EXPECT_EQ(transfer(decoder, message, force).data[0], status);
        EXPECT_EQ(decoder.takeCommands().size(), 1u);
        EXPECT_TRUE(decoder.takeViolations().empty());
    }
}

TEST(RmcDecoder, ForcedStatusAboveTwoEndsTheTransfer) {
    RmcDecoder decoder;
    const auto messages = messages_of("WriteInventory", TEXT, 1);
    RMC_FORCE force;
    force.transferStatus = 6;
    force.exitStatus = 9;
    transfer(decoder, messages[0]);
    EXPECT_TRUE(decoder.isTransferOpen());
    EXPECT_EQ(transfer(decoder, messages[1], force).data, (Bytes{6, 1, 0, 9}));
    EXPECT_FALSE(decoder.isTransferOpen());
    // The sender begins anew, which is right.
    for (const Bytes &message : messages_of("WriteInventory", TEXT, 2)) transfer(decoder, message);
    EXPECT_EQ(decoder.takeCommands().size(), 1u);
    EXPECT_TRUE(decoder.takeViolations().empty());
}

TEST(RmcDecoder, CompletionCodeRefusesAndTheRestIsAnsweredWithoutReproach) {
    RmcDecoder decoder;
    const auto messages = messages_of("WriteInventory", TEXT, 0);
    RMC_FORCE force;
    force.completionCode = 0xC0;
    const RMC_ANSWER answer = transfer(decoder, messages[0], force);
    EXPECT_EQ(answer.completionCode, 0xC0);
    EXPECT_TRUE(answer.data.empty());
    EXPECT_EQ(transfer(decoder, messages[1]).data[0], 3);
    EXPECT_TRUE(decoder.takeViolations().empty());
    EXPECT_TRUE(decoder.takeCommands().empty());
}

TEST(RmcDecoder, ForcedHandleMustComeBack) {
    for (const std::uint16_t handle : {std::uint16_t{0}, std::uint16_t{0xFFFF}}) {
        RmcDecoder decoder;
        RMC_FORCE force;
        force.handle = handle;
        for (const Bytes &message : messages_of("WriteInventory", TEXT, handle))
            transfer(decoder, message, force);
        EXPECT_EQ(decoder.takeCommands().size(), 1u);
        EXPECT_TRUE(decoder.takeViolations().empty());
    }
}

/// The sender keeps what a short answer doesn't reach, but one byte behind its end reads 0.
struct ShortCase {
    std::size_t left;     ///< bytes of the second answer
    std::uint16_t handle; ///< that the third message must carry
};
class ShortAnswers : public ::testing::TestWithParam<ShortCase> {};
TEST_P(ShortAnswers, DecideTheNextHandle) {
    RmcDecoder decoder;
    RMC_FORCE first, second;
    first.handle = 0x1234;
    second.handle = 0x5678;
    second.shortTo = GetParam().left;
    const auto messages = messages_of("WriteInventory", TEXT, 0x1234);
    transfer(decoder, messages[0], first);
    transfer(decoder, messages[1], second);
    Bytes last = messages[2];
    last[0] = static_cast<std::uint8_t>(GetParam().handle);
    last[1] = static_cast<std::uint8_t>(GetParam().handle >> 8);
    transfer(decoder, last);
    EXPECT_EQ(decoder.takeCommands().size(), 1u);
    EXPECT_TRUE(decoder.takeViolations().empty());
}
INSTANTIATE_TEST_SUITE_P(Lengths, ShortAnswers,
                         ::testing::Values(ShortCase{0, 0x1234}, ShortCase{1, 0x1200},
                                           ShortCase{2, 0x0078}, ShortCase{3, 0x5678},
                                           ShortCase{4, 0x5678}));

TEST(RmcDecoder, DoorBellIsAnsweredOnce) {
    RmcDecoder decoder;
    EXPECT_EQ(decoder.message(0x3A, 0x81, {}).data, Bytes{0});
    decoder.ringDoorBell();
    const RMC_ANSWER answer = decoder.message(0x3A, 0x81, {});
    EXPECT_EQ(std::string(answer.data.begin(), answer.data.end()),
              std::string("WriteInventory") + '\0');
    EXPECT_EQ(decoder.message(0x3A, 0x81, {}).data, Bytes{0});
    EXPECT_TRUE(decoder.takeViolations().empty());
}

TEST(RmcDecoder, DoorBellReadThatFailsLeavesTheWish) {
    RmcDecoder decoder;
    RMC_FORCE force;
    force.completionCode = 0xC0;
    decoder.ringDoorBell();
    EXPECT_EQ(decoder.message(0x3A, 0x81, {}, force).completionCode, 0xC0);
    EXPECT_TRUE(decoder.isDoorBellRung());
}

TEST(RmcDecoder, GenericDoorBell) {
    RmcDecoder decoder;
    EXPECT_EQ(decoder.message(0x3A, 0x82, {}).data, Bytes{0});
    decoder.ringGenericDoorBell();
    EXPECT_EQ(decoder.message(0x3A, 0x82, {}).data, Bytes{1});
    EXPECT_EQ(decoder.message(0x3A, 0x82, {}).data, Bytes{0});
}

TEST(RmcDecoder, MessagesOfTheEntryProgram) {
    RmcDecoder decoder;
    EXPECT_EQ(decoder.message(0x06, 0x01, {}).data.size(), 15u);
    EXPECT_EQ(decoder.message(0x06, 0x36, {}).data.size(), 5u);
    const RMC_ANSWER partition = decoder.message(0x34, 0x08, {});
    ASSERT_EQ(partition.data.size(), 8u);
    EXPECT_EQ(partition.data[0] & 1, 1);
    EXPECT_TRUE(decoder.takeViolations().empty());
}

TEST(RmcDecoder, RequestBytesWhereNoneBelong) {
    const std::uint8_t one[] = {0};
    RmcDecoder decoder;
    for (const auto &[netfn, cmd] :
         {std::pair{0x3A, 0x81}, {0x3A, 0x82}, {0x06, 0x01}, {0x06, 0x36}, {0x34, 0x08}}) {
        const auto answer =
            decoder.message(static_cast<std::uint8_t>(netfn), static_cast<std::uint8_t>(cmd), one);
        EXPECT_EQ(answer.completionCode, 0xC7);
        EXPECT_EQ(decoder.takeViolations().size(), 1u);
    }
}

TEST(RmcDecoder, UnknownMessage) {
    RmcDecoder decoder;
    EXPECT_EQ(decoder.message(0x3A, 0x83, {}).completionCode, 0xC1);
    EXPECT_EQ(decoder.takeViolations(), std::vector<std::string>{"unknown: netfn 0x3a, cmd 0x83"});
}

TEST(RmcDecoder, SenderThatIsGoneIsForgiven) {
    RmcDecoder decoder;
    const auto messages = messages_of("WriteInventory", TEXT, 2);
    transfer(decoder, messages[0]);
    decoder.forgetTransfer();
    for (const Bytes &message : messages) transfer(decoder, message);
    EXPECT_EQ(decoder.takeCommands().size(), 1u);
    EXPECT_TRUE(decoder.takeViolations().empty());
}

TEST(RmcDecoder, KeepsAThousandViolations) {
    RmcDecoder decoder;
    for (int i = 0; i < 2000; ++i) decoder.message(0, 0, {});
    EXPECT_EQ(decoder.takeViolations().size(), 1000u);
}

TEST(RmcDecoder, SaysWhatAMessageMeant) {
    RmcDecoder decoder;
    const auto messages = messages_of("WriteInventory", TEXT, 1);
    transfer(decoder, messages[0]);
    EXPECT_EQ(decoder.lastMeaning(), "WriteInventory: first 33 of 101 bytes");
    transfer(decoder, messages[1]);
    EXPECT_EQ(decoder.lastMeaning(), "WriteInventory: bytes from 33 of 101");
    transfer(decoder, messages[2]);
    EXPECT_EQ(decoder.lastMeaning(), "WriteInventory: bytes from 90 of 101, complete");
    EXPECT_EQ(decoder.messagesOfTransfer(), 3u);
}
