#include "reporting/rmc_transfer.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
/// An argument without two equal neighbourhoods, so that a misplaced byte shows.
std::string argument_of(std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += static_cast<char>('!' + i * 7 % 90);
    return text;
}

std::vector<RMC_MESSAGE> messages_of(const std::string &command, const std::string &argument,
                                     std::uint16_t handle = 0) {
    std::vector<RMC_MESSAGE> messages;
    orbRmcTransfer transfer(command, argument);
    while (!transfer.done()) {
        RMC_MESSAGE message;
        message.fill(0xEE); // what was there before must not show
        transfer.next(messages.empty() ? 0 : handle, message);
        messages.push_back(message);
    }
    return messages;
}

/// The first message of "WriteInventory" without any argument bytes.
RMC_MESSAGE first_message(std::size_t argumentLength) {
    RMC_MESSAGE message{};
    message[2] = 0x14;
    const std::string name = "WriteInventory";
    std::copy(name.begin(), name.end(), message.begin() + 3);
    for (std::size_t i = 0; i < 4; ++i)
        message[23 + i] = static_cast<std::uint8_t>((argumentLength + 1) >> (8 * i));
    return message;
}

/// What has to be sent, laid out a second way: byte by byte over all messages.
std::vector<RMC_MESSAGE> expected_messages(const std::string &argument, std::uint16_t handle) {
    std::string bytes = argument + '\0';
    std::vector<RMC_MESSAGE> messages{first_message(argument.size())};
    std::size_t at = bytes.size() <= 57 ? 3 : 27;
    for (std::size_t i = 0; i < bytes.size(); ++i, ++at) {
        if (at == 60) {
            messages.push_back(
                {static_cast<std::uint8_t>(handle & 0xFF), static_cast<std::uint8_t>(handle >> 8)});
            at = 3;
        }
        messages.back()[at] = static_cast<std::uint8_t>(bytes[i]);
    }
    return messages;
}

class TransferOfLength : public ::testing::TestWithParam<std::uint16_t> {};
} // namespace

TEST_P(TransferOfLength, EveryLengthTo200HasItsBytes) {
    for (std::size_t length = 0; length <= 200; ++length)
        EXPECT_EQ(messages_of("WriteInventory", argument_of(length), GetParam()),
                  expected_messages(argument_of(length), GetParam()))
            << length << " characters";
}

TEST_P(TransferOfLength, LengthsAroundEachFurtherMessage) {
    for (const std::size_t full : {58u, 90u, 147u, 204u, 261u, 33u + 57u * 1000u})
        for (std::size_t length = full - 3; length <= full + 3; ++length)
            EXPECT_EQ(messages_of("WriteInventory", argument_of(length), GetParam()),
                      expected_messages(argument_of(length), GetParam()))
                << length << " characters";
}
INSTANTIATE_TEST_SUITE_P(Handles, TransferOfLength,
                         ::testing::Values(0, 1, 0x00FF, 0x0100, 0x1234, 0xFFFF));

namespace {
struct CountCase {
    std::size_t characters;
    std::size_t messages;
};
const CountCase COUNT_CASES[] = {
    {0, 1},  {1, 1},  {32, 1}, {33, 1}, {34, 1},  {55, 1},  {56, 1},  {57, 2},    {58, 2},
    {88, 2}, {89, 2}, {90, 3}, {91, 3}, {145, 3}, {146, 3}, {147, 4}, {1024, 19},
};
} // namespace

TEST(Transfer, MessageCounts) {
    for (const CountCase &row : COUNT_CASES)
        EXPECT_EQ(messages_of("MPEventGen", argument_of(row.characters)).size(), row.messages)
            << row.characters << " characters";
}

TEST(Transfer, FiftySevenBytesAreOneMessageOverTheName) {
    const std::string argument = argument_of(56);
    const auto messages = messages_of("WriteInventory", argument);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0][2], 0x14);
    EXPECT_TRUE(std::equal(argument.begin(), argument.end(), messages[0].begin() + 3));
    EXPECT_EQ(messages[0][59], 0);
}

TEST(Transfer, FiftyEightBytesAreThirtyThreeAndTwentyFive) {
    const std::string argument = argument_of(57);
    const auto messages = messages_of("WriteInventory", argument, 0x0201);
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_TRUE(std::equal(argument.begin(), argument.begin() + 33, messages[0].begin() + 27));
    EXPECT_STREQ(reinterpret_cast<const char *>(messages[0].data()) + 3, "WriteInventory");
    EXPECT_EQ(messages[0][23], 58);
    EXPECT_EQ(messages[1][0], 0x01);
    EXPECT_EQ(messages[1][1], 0x02);
    EXPECT_EQ(messages[1][2], 0);
    EXPECT_TRUE(std::equal(argument.begin() + 33, argument.end(), messages[1].begin() + 3));
    EXPECT_TRUE(std::all_of(messages[1].begin() + 27, messages[1].end(),
                            [](std::uint8_t byte) { return byte == 0; }));
}

TEST(Transfer, NameAndLengthBehindAShortArgumentStay) {
    const auto messages = messages_of("WriteInventory", "abc");
    ASSERT_EQ(messages.size(), 1u);
    const char *text = reinterpret_cast<const char *>(messages[0].data());
    EXPECT_STREQ(text + 3, "abc");
    EXPECT_STREQ(text + 7, "eInventory");
    EXPECT_EQ(messages[0][23], 4);
}

TEST(Transfer, ArgumentOfTwentyOneBytesReachesIntoTheLength) {
    const auto messages = messages_of("WriteInventory", argument_of(21));
    EXPECT_EQ(messages[0][23], static_cast<std::uint8_t>(argument_of(21)[20]));
    EXPECT_EQ(messages[0][24], 0); // the argument's own zero
}

TEST(Transfer, NameIsCutToNineteenCharacters) {
    const std::string argument = argument_of(100);
    for (const std::string &name :
         {std::string(19, 'n'), std::string(20, 'n'), std::string(300, 'n')}) {
        const auto messages = messages_of(name, argument);
        const char *text = reinterpret_cast<const char *>(messages[0].data());
        EXPECT_EQ(std::string(text + 3), std::string(19, 'n'));
        EXPECT_EQ(messages[0][22], 0);
        EXPECT_EQ(messages[0][23], 101);
    }
}

TEST(Transfer, LengthTakesFourBytes) {
    const std::string argument(0x01020304 - 1, 'x');
    orbRmcTransfer transfer("WriteInventory", argument);
    RMC_MESSAGE message;
    transfer.next(0, message);
    EXPECT_EQ(message[23], 0x04);
    EXPECT_EQ(message[24], 0x03);
    EXPECT_EQ(message[25], 0x02);
    EXPECT_EQ(message[26], 0x01);
}

TEST(Transfer, FirstMessageWithAHandleHasNoNameSize) {
    orbRmcTransfer transfer("MPEventGen", "text");
    RMC_MESSAGE message;
    transfer.next(0x0102, message);
    EXPECT_EQ(message[0], 0x02);
    EXPECT_EQ(message[1], 0x01);
    EXPECT_EQ(message[2], 0);
    EXPECT_TRUE(transfer.done());
}

TEST(RmcResponse, FieldsAreLittleEndian) {
    const std::uint8_t bytes[] = {3, 0x34, 0x12, 0xAA};
    const RMC_RESPONSE response = decode_rmc_response(bytes);
    EXPECT_EQ(response.transferStatus, 3);
    EXPECT_EQ(response.handle, 0x1234);
    EXPECT_EQ(response.exitStatus, 0xAA);
}
