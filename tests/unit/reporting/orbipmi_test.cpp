#include "reporting/orbipmi.h"

#include <cerrno>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
bool noMemory = false; // makes the non-throwing operator new fail
}
void *operator new[](std::size_t size, const std::nothrow_t &) noexcept {
    return noMemory ? nullptr : ::operator new[](size);
}

namespace {
using Answer = FakeRmc::Answer;
using Sent = FakeRmc::Sent;

const std::vector<std::string> DRIVER_LINES = {
    "modprobe ipmi_msghandler > /dev/null 2>&1",
    "modprobe ipmi_si > /dev/null 2>&1",
    "modprobe ipmi_devintf > /dev/null 2>&1",
    "modprobe ipmi_watchdog > /dev/null 2>&1",
    "modprobe ipmi_ssif > /dev/null 2>&1",
    "mknod -m 0600 /dev/ipmi0 c `cat /proc/devices | grep ipmidev |cut -d \" \" -f 1` 0 > "
    "/dev/null "
    "2>&1",
};
constexpr char DOOR_BELL_FAILED[] = "An error occurred in checking RMC request via IPMI";

class IpmiTest : public ::testing::Test {
protected:
    IpmiTest() {
        clock.setAutoAdvance(true);
        for (const std::string &line : DRIVER_LINES) commands.onSystem(line, {0, 0});
    }

    TemporaryRoot root;
    LogFile log{root};
    VirtualClock clock;
    ScriptedCommands commands;
};

/// Answers by index; the last one answers all further requests.
FakeRmc::Responder in_order(std::vector<Answer> answers) {
    return [answers = std::move(answers)](const Sent &, std::size_t index) {
        return answers[std::min(index, answers.size() - 1)];
    };
}
} // namespace

// -- Opening ------------------------------------------------------------------------------------

TEST_F(IpmiTest, PresentDeviceIsOpenedOnceAndClosed) {
    FakeRmc rmc;
    {
        ipmi::IPMIUtils ipmi;
        EXPECT_EQ(rmc.stillOpen(), 1);
    }
    EXPECT_EQ(rmc.opens(), 1);
    EXPECT_EQ(rmc.stillOpen(), 0);
    EXPECT_TRUE(commands.calls().empty());
    EXPECT_EQ(clock.sleptMs(), 0);
}

TEST_F(IpmiTest, MissingDeviceIsTriedTwiceInSixSeconds) {
    FakeRmc rmc;
    rmc.failOpen(99);
    {
        ipmi::IPMIUtils ipmi;
        unsigned char none = 0, asked = 4, response[4] = {9, 9, 9, 9};
        EXPECT_EQ(ipmi.execute(6, 1, 0, nullptr, none, response, asked), 0);
        EXPECT_EQ(response[0], 9);
    }
    EXPECT_EQ(rmc.opens(), 2);
    EXPECT_TRUE(rmc.sent().empty());
    EXPECT_EQ(clock.sleptMs(), 6000);
    std::vector<std::string> twice = DRIVER_LINES;
    twice.insert(twice.end(), DRIVER_LINES.begin(), DRIVER_LINES.end());
    EXPECT_EQ(commands.calls(), twice);
}

TEST_F(IpmiTest, DeviceThatComesWithItsDriverIsUsed) {
    FakeRmc rmc;
    rmc.failOpen(1);
    ipmi::IPMIUtils ipmi;
    EXPECT_EQ(rmc.stillOpen(), 1);
    EXPECT_EQ(commands.calls(), DRIVER_LINES);
    EXPECT_EQ(clock.sleptMs(), 3000);
}

// -- One exchange -------------------------------------------------------------------------------

TEST_F(IpmiTest, ExchangeCarriesFieldsAndIgnoresTheLun) {
    FakeRmc rmc(in_order({Answer{{0x00, 1, 2, 3, 4, 5}}}));
    ipmi::IPMIUtils ipmi;
    unsigned char request[] = {0xA1, 0xA2, 0xA3}, length = 2, asked = 4;
    unsigned char response[] = {9, 9, 9, 9, 9};
    EXPECT_EQ(ipmi.execute(0x2E, 0x55, 3, request, length, response, asked), 1);
    ASSERT_EQ(rmc.sent().size(), 1u);
    EXPECT_EQ(rmc.sent()[0].netfn, 0x2E);
    EXPECT_EQ(rmc.sent()[0].cmd, 0x55);
    EXPECT_EQ(rmc.sent()[0].data, (std::vector<std::uint8_t>{0xA1, 0xA2}));
    EXPECT_EQ(std::vector<int>(response, response + 5), (std::vector<int>{1, 2, 3, 4, 9}));
    EXPECT_EQ(length, 2);
    EXPECT_EQ(asked, 4);
}

TEST_F(IpmiTest, RejectedCommandCountsAsSuccess) {
    for (const std::uint8_t code : std::initializer_list<std::uint8_t>{0xC1, 0xFF, 0x01}) {
        FakeRmc rmc(in_order({Answer{{code}}}));
        ipmi::IPMIUtils ipmi;
        unsigned char none = 0, asked = 4, response[] = {9, 9, 9, 9};
        EXPECT_EQ(ipmi.execute(0x3A, 0x80, 0, nullptr, none, response, asked), 1);
        EXPECT_EQ(std::vector<int>(response, response + 4), (std::vector<int>{0, 9, 9, 9}));
    }
}

TEST_F(IpmiTest, AnswerOfNoBytesLeavesTheResponseAlone) {
    FakeRmc rmc(in_order({Answer{{}}}));
    ipmi::IPMIUtils ipmi;
    unsigned char none = 0, asked = 4, response[] = {9, 9, 9, 9};
    EXPECT_EQ(ipmi.execute(0x3A, 0x80, 0, nullptr, none, response, asked), 1);
    EXPECT_EQ(response[0], 9);
}

TEST_F(IpmiTest, LengthThatTheDriverOverstatesIsBounded) {
    Answer answer{std::vector<std::uint8_t>(272, 0x77)};
    answer.claimedLength = 65535;
    FakeRmc rmc(in_order({answer}));
    ipmi::IPMIUtils ipmi;
    unsigned char none = 0, asked = 254, response[256] = {};
    EXPECT_EQ(ipmi.execute(0x3A, 0x81, 0, nullptr, none, response, asked), 1);
    EXPECT_EQ(response[253], 0x77);
    EXPECT_EQ(response[254], 0);
}

TEST_F(IpmiTest, FailedSendNamesItsError) {
    Answer answer;
    answer.sendError = EBUSY;
    FakeRmc rmc(in_order({answer}));
    ipmi::IPMIUtils ipmi;
    unsigned char none = 0, asked = 4, response[4] = {};
    EXPECT_EQ(ipmi.execute(6, 1, 0, nullptr, none, response, asked), 0);
    EXPECT_LOGGED(log, "DEBUG", "IPMI",
                  "Request ioctl failure with error code : " + std::to_string(EBUSY));
}

TEST_F(IpmiTest, FailedWaitGivesZero) {
    for (const long result : {-1L, 0L}) {
        Answer answer{{0, 1, 2, 3, 4}};
        answer.waitResult = result;
        FakeRmc rmc(in_order({answer}));
        ipmi::IPMIUtils ipmi;
        unsigned char none = 0, asked = 4, response[] = {9, 9, 9, 9};
        EXPECT_EQ(ipmi.execute(6, 1, 0, nullptr, none, response, asked), 0);
        EXPECT_EQ(response[0], 9);
    }
}

TEST_F(IpmiTest, FailedReceiveIsLogged) {
    Answer answer{{0, 1, 2, 3, 4}};
    answer.receiveError = EMSGSIZE;
    FakeRmc rmc(in_order({answer}));
    ipmi::IPMIUtils ipmi;
    unsigned char none = 0, asked = 4, response[] = {9, 9, 9, 9};
    EXPECT_EQ(ipmi.execute(6, 1, 0, nullptr, none, response, asked), 0);
    EXPECT_EQ(response[0], 9);
    EXPECT_LOGGED(log, "DEBUG", "IPMI", "Response ioctl failure");
}

// -- A transfer ---------------------------------------------------------------------------------

namespace {
const std::string FOUR_MESSAGES(33 + 57 + 57 + 20, 'a'); // of argument

struct TransferCase {
    const char *name;
    std::vector<Answer> answers;
    int rc;
    std::size_t messages;
    int transferStatus; // what the out-parameters hold afterwards; 0x55 before
    int exitStatus;
    std::int64_t sleptMs;
};
Answer ok(std::uint16_t handle = 0) {
    return FakeRmc::transferAnswer(0, handle);
}
Answer status(std::uint8_t transferStatus, std::uint8_t exitStatus = 0) {
    return FakeRmc::transferAnswer(transferStatus, 0, exitStatus);
}
Answer failed() {
    Answer answer;
    answer.sendError = EIO;
    return answer;
}
const TransferCase TRANSFER_CASES[] = {
    {"AllAccepted", {ok()}, 1, 4, 0x55, 0x55, 500},
    {"OneInEveryAnswer", {status(1, 0xA1)}, 1, 4, 0x55, 0x55, 500},
    {"TwoInEveryAnswer", {status(2, 0xA1)}, 1, 4, 0x55, 0x55, 500},
    {"OneInTheFirst", {status(1), ok()}, 1, 4, 0x55, 0x55, 500},
    {"TwoInTheMiddle", {ok(), status(2), ok()}, 1, 4, 0x55, 0x55, 500},
    {"TwoInTheLastIsNotSeen", {ok(), ok(), ok(), status(2)}, 1, 4, 0x55, 0x55, 500},
    {"ThreeInTheFirst", {status(3, 0xA1)}, 1, 1, 3, 0xA1, 0},
    {"ThreeInTheMiddle", {ok(), status(3, 0xA2), ok()}, 1, 2, 3, 0xA2, 0},
    {"ThreeInTheLast", {ok(), ok(), ok(), status(3, 0xA3)}, 1, 4, 3, 0xA3, 0},
    {"FourInTheFirst", {status(4)}, 1, 1, 4, 0, 0},
    {"FiveInTheMiddle", {ok(), status(5), ok()}, 1, 2, 5, 0, 0},
    {"SixInTheLast", {ok(), ok(), ok(), status(6)}, 1, 4, 6, 0, 0},
    {"SevenInTheFirst", {status(7)}, 1, 1, 7, 0, 0},
    {"EightInTheMiddle", {ok(), ok(), status(8), ok()}, 1, 3, 8, 0, 0},
    {"HighestInTheLast", {ok(), ok(), ok(), status(0xFF, 0xFF)}, 1, 4, 0xFF, 0xFF, 0},
    {"FailedFirstExchange", {failed()}, 0, 1, 0, 0, 0},
    {"FailedMiddleExchangeKeepsTheLastAnswer", {ok(), status(2, 0xDD), failed()}, 0, 3, 2, 0xDD, 0},
    {"FailedLastExchange", {ok(), ok(), status(1, 0xEE), failed()}, 0, 4, 1, 0xEE, 0},
    {"RejectedThroughout", {Answer{{0xC1}}}, 1, 4, 0x55, 0x55, 500},
    {"EmptyAnswers", {Answer{{}}}, 1, 4, 0x55, 0x55, 500},
    {"ShortAnswerKeepsTheExitStatus", {status(0, 0xDD), Answer{{0, 9}}}, 1, 2, 9, 0xDD, 0},
};
void PrintTo(const TransferCase &row, std::ostream *os) {
    *os << row.name;
}
class IpmiTransfer : public IpmiTest, public ::testing::WithParamInterface<TransferCase> {};
} // namespace

TEST_P(IpmiTransfer, EndsAsTheAnswersSay) {
    FakeRmc rmc(in_order(GetParam().answers));
    ipmi::IPMIUtils ipmi;
    unsigned char transferStatus = 0x55, exitStatus = 0x55;
    EXPECT_EQ(
        ipmi.RMC_CLI_Exec("WriteInventory", FOUR_MESSAGES.c_str(), &transferStatus, &exitStatus),
        GetParam().rc);
    EXPECT_EQ(rmc.sent().size(), GetParam().messages);
    EXPECT_EQ(transferStatus, GetParam().transferStatus);
    EXPECT_EQ(exitStatus, GetParam().exitStatus);
    EXPECT_EQ(clock.sleptMs(), GetParam().sleptMs);
    for (const Sent &one : rmc.sent()) {
        EXPECT_EQ(one.netfn, 0x3A);
        EXPECT_EQ(one.cmd, 0x80);
        EXPECT_EQ(one.data.size(), 60u);
    }
}
INSTANTIATE_TEST_SUITE_P(Answers, IpmiTransfer, ::testing::ValuesIn(TRANSFER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(IpmiTest, HandleIsTheOneOfTheLastAnswer) {
    FakeRmc rmc(in_order({ok(0x1234), ok(0), ok(0xFF00), ok(7)}));
    ipmi::IPMIUtils ipmi;
    unsigned char transferStatus = 0, exitStatus = 0;
    EXPECT_EQ(ipmi.RMC_CLI_Exec("MPEventGen", FOUR_MESSAGES.c_str(), &transferStatus, &exitStatus),
              1);
    const std::vector<Sent> sent = rmc.sent();
    ASSERT_EQ(sent.size(), 4u);
    const std::uint8_t handles[4][2] = {{0, 0}, {0x34, 0x12}, {0, 0}, {0x00, 0xFF}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(sent[i].data[0], handles[i][0]);
        EXPECT_EQ(sent[i].data[1], handles[i][1]);
        EXPECT_EQ(sent[i].data[2], i == 0 ? 0x14 : 0);
    }
}

TEST_F(IpmiTest, ShortAnswerKeepsTheHandle) {
    FakeRmc rmc(in_order({ok(0x1234), Answer{{}}, Answer{{0}}, Answer{{0, 0, 0x56}}}));
    ipmi::IPMIUtils ipmi;
    unsigned char transferStatus = 0, exitStatus = 0;
    const std::string argument(33 + 57 * 4, 'b');
    EXPECT_EQ(ipmi.RMC_CLI_Exec("MPEventGen", argument.c_str(), &transferStatus, &exitStatus), 1);
    const std::vector<Sent> sent = rmc.sent();
    ASSERT_EQ(sent.size(), 6u);
    EXPECT_EQ(sent[2].data[0], 0x34);
    EXPECT_EQ(sent[3].data[0], 0x34);
    EXPECT_EQ(sent[4].data[0], 0x56);
    EXPECT_EQ(sent[4].data[1], 0); // the zero behind the last byte received
}

TEST_F(IpmiTest, TransferArrivesWhole) {
    FakeRmc rmc;
    ipmi::IPMIUtils ipmi;
    std::string argument = "{";
    while (argument.size() < 5000) argument += "\"key" + std::to_string(argument.size()) + "\":1,";
    EXPECT_EQ(ipmi.RMC_CLI_Cmd_Execution("WriteInventory", argument), 0);
    ASSERT_EQ(rmc.transfers().size(), 1u);
    EXPECT_EQ(rmc.transfers()[0].first, "WriteInventory");
    EXPECT_EQ(rmc.transfers()[0].second, argument);
}

TEST_F(IpmiTest, MissingTextsOrResultsAreNotSent) {
    FakeRmc rmc;
    ipmi::IPMIUtils ipmi;
    unsigned char one = 0x55, two = 0x55;
    EXPECT_EQ(ipmi.RMC_CLI_Exec(nullptr, "a", &one, &two), 1);
    EXPECT_EQ(ipmi.RMC_CLI_Exec("c", nullptr, &one, &two), 1);
    EXPECT_EQ(ipmi.RMC_CLI_Exec("c", "a", nullptr, &two), 1);
    EXPECT_EQ(ipmi.RMC_CLI_Exec("c", "a", &one, nullptr), 1);
    EXPECT_TRUE(rmc.sent().empty());
    EXPECT_EQ(one, 0x55);
    EXPECT_EQ(two, 0x55);
    EXPECT_EQ(log.count("ERROR", "IPMI", "Provided command / arguments is not valid"), 4);
}

// -- A transfer with its report -----------------------------------------------------------------

TEST_F(IpmiTest, ExecutionOpensADeviceOfItsOwn) {
    FakeRmc rmc;
    ipmi::IPMIUtils ipmi;
    EXPECT_EQ(ipmi.RMC_CLI_Cmd_Execution("MPEventGen", FOUR_MESSAGES), 0);
    EXPECT_EQ(rmc.opens(), 2);
    EXPECT_EQ(rmc.stillOpen(), 1);
    EXPECT_LOGGED(log, "DEBUG", "IPMI",
                  "Command to be executed on RMC : MPEventGen " + FOUR_MESSAGES);
    EXPECT_EQ(log.countHolding("ERROR", "IPMI", ""), 0);
}

TEST_F(IpmiTest, LongArgumentIsLoggedWhole) {
    FakeRmc rmc;
    const std::string argument(20'000, 'z');
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("MPEventGen", argument), 0);
    EXPECT_LOGGED(log, "DEBUG", "IPMI", "Command to be executed on RMC : MPEventGen " + argument);
}

TEST_F(IpmiTest, MissingDeviceCostsTwoRoundsAndFails) {
    FakeRmc rmc;
    rmc.failOpen(99);
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("MPEventGen", "text"), 1);
    EXPECT_EQ(rmc.opens(), 4);
    EXPECT_EQ(clock.sleptMs(), 12'000);
    EXPECT_EQ(commands.calls().size(), 24u);
    EXPECT_LOGGED(log, "ERROR", "IPMI", "Error occurred while executing RMC_CLI_Exec");
}

TEST_F(IpmiTest, RefusedTransferIsReportedAsAnError) {
    for (const std::uint8_t code : std::initializer_list<std::uint8_t>{3, 4, 5, 6, 7, 8, 9, 255}) {
        FakeRmc rmc(in_order({status(code, 0x1F)}));
        EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", FOUR_MESSAGES), 1);
    }
    const std::string tail = " and Cmd Exit Status is 0x1f";
    EXPECT_LOGGED(log, "ERROR", "IPMI", "Transfer Status is 0x3[Error in index]" + tail);
    EXPECT_LOGGED(log, "ERROR", "IPMI", "Transfer Status is 0x4[Cli entries full]" + tail);
    EXPECT_LOGGED(log, "ERROR", "IPMI",
                  "Transfer Status is 0x5[Provided command not supported]" + tail);
    EXPECT_LOGGED(log, "ERROR", "IPMI",
                  "Transfer Status is 0x6[Memory could not be allocated]" + tail);
    EXPECT_LOGGED(log, "ERROR", "IPMI",
                  "Transfer Status is 0x8[Request command length exceeded]" + tail +
                      ". Payload size:167");
    EXPECT_EQ(log.count("ERROR", "IPMI", "RMC Cli Command Execution failed"), 3);
}

TEST_F(IpmiTest, StatusOneAndTwoReportSuccess) {
    for (const std::uint8_t code : std::initializer_list<std::uint8_t>{1, 2}) {
        FakeRmc rmc(in_order({status(code, 0x1F)}));
        EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", FOUR_MESSAGES), 0);
    }
    EXPECT_EQ(log.countHolding("ERROR", "IPMI", ""), 0);
}

TEST_F(IpmiTest, FailedExchangeIsReportedByTheLastAnswer) {
    {
        FakeRmc rmc(in_order({status(0, 0xDD), failed()}));
        EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", FOUR_MESSAGES), 1);
    }
    EXPECT_LOGGED(log, "ERROR", "IPMI", "Command time out.");
}

TEST_F(IpmiTest, ArgumentEndsAtItsFirstZero) {
    FakeRmc rmc;
    const std::string argument = FOUR_MESSAGES + '\0' + "never sent";
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", argument), 0);
    ASSERT_EQ(rmc.sent().size(), 4u);
    EXPECT_EQ(rmc.sent()[0].data[23], FOUR_MESSAGES.size() + 1);
    EXPECT_EQ(rmc.transfers()[0].second, FOUR_MESSAGES);
}

// -- Door bell ----------------------------------------------------------------------------------

namespace {
struct DoorBellCase {
    const char *name;
    std::string text;
    bool wanted;
};
const DoorBellCase DOOR_BELL_CASES[] = {
    {"Empty", "", false},
    {"Alone", "WriteInventory", true},
    {"AtTheEnd", "abc WriteInventory", true},
    {"InTheMiddle", "abcWriteInventoryabc", true},
    {"OtherLetters", "writeinventory", false},
    {"Half", "WriteInvent", false},
    {"BehindAZero", std::string("a\0WriteInventory", 16), false},
    {"AtTheVeryEnd", std::string(240, 'x') + "WriteInventory", true},
    {"CutByTheEnd", std::string(241, 'x') + "WriteInventory", false},
    {"PercentSigns", "%s%n%d WriteInventory", true},
};
void PrintTo(const DoorBellCase &row, std::ostream *os) {
    *os << row.name;
}
class IpmiDoorBell : public IpmiTest, public ::testing::WithParamInterface<DoorBellCase> {};
} // namespace

TEST_P(IpmiDoorBell, TellsWhetherAnInventoryIsWanted) {
    FakeRmc rmc(in_order({FakeRmc::doorBellAnswer(GetParam().text)}));
    ipmi::IPMIUtils ipmi;
    EXPECT_EQ(ipmi.checkIPMIDBRequest(), GetParam().wanted);
    ASSERT_EQ(rmc.sent().size(), 1u);
    EXPECT_EQ(rmc.sent()[0].netfn, 0x3A);
    EXPECT_EQ(rmc.sent()[0].cmd, 0x81);
    EXPECT_TRUE(rmc.sent()[0].data.empty());
    EXPECT_LOGGED(log, "DEBUG", "IPMI", "Checking IPMI door bell request");
    EXPECT_LOGGED(log, "DEBUG", "IPMI",
                  "Return buffer from door bell: " +
                      std::string(GetParam().text.substr(0, 254).c_str()));
    EXPECT_NOT_LOGGED(log, "ERROR", "IPMI", DOOR_BELL_FAILED);
}
INSTANTIATE_TEST_SUITE_P(Texts, IpmiDoorBell, ::testing::ValuesIn(DOOR_BELL_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(IpmiTest, DoorBellOfFullLengthIsStillAText) {
    FakeRmc rmc(in_order({FakeRmc::doorBellAnswer(std::string(271, 'y'))}));
    EXPECT_FALSE(ipmi::IPMIUtils().checkIPMIDBRequest());
    EXPECT_LOGGED(log, "DEBUG", "IPMI", "Return buffer from door bell: " + std::string(254, 'y'));
}

TEST_F(IpmiTest, DoorBellThatCannotBeReadIsAnError) {
    FakeRmc rmc(in_order({failed()}));
    ipmi::IPMIUtils ipmi;
    EXPECT_FALSE(ipmi.checkIPMIDBRequest());
    EXPECT_EQ(log.count("ERROR", "IPMI", DOOR_BELL_FAILED), 1);
    EXPECT_EQ(ipmi.checkIPMIDBGenericRequest(2), 0);
    EXPECT_EQ(log.count("ERROR", "IPMI", DOOR_BELL_FAILED), 2);
    EXPECT_EQ(log.countHolding("DEBUG", "IPMI", "Return buffer"), 0);
}

TEST_F(IpmiTest, GenericDoorBellReadsByItsType) {
    FakeRmc rmc([](const Sent &request, std::size_t) {
        return request.cmd == 0x82 ? Answer{{0, 1}} : FakeRmc::doorBellAnswer("WriteInventory");
    });
    ipmi::IPMIUtils ipmi;
    EXPECT_EQ(ipmi.checkIPMIDBGenericRequest(1), 1);
    EXPECT_EQ(ipmi.checkIPMIDBGenericRequest(2), 1);
    ASSERT_EQ(rmc.sent().size(), 2u);
    EXPECT_EQ(rmc.sent()[0].cmd, 0x81);
    EXPECT_EQ(rmc.sent()[1].cmd, 0x82);
}

TEST_F(IpmiTest, GenericDoorBellWithoutATypeSendsNothing) {
    FakeRmc rmc;
    ipmi::IPMIUtils ipmi;
    for (const int type : {0, 3, -1, 258}) EXPECT_EQ(ipmi.checkIPMIDBGenericRequest(type), 0);
    EXPECT_TRUE(rmc.sent().empty());
    EXPECT_EQ(log.count("ERROR", "IPMI", DOOR_BELL_FAILED), 4);
}

TEST_F(IpmiTest, BufferIsJudgedByType) {
    FakeRmc rmc;
    ipmi::IPMIUtils ipmi;
    unsigned char buffer[255] = {};
    EXPECT_EQ(ipmi.checkIPMIBuffer(1, buffer), 0);
    EXPECT_EQ(ipmi.checkIPMIBuffer(2, buffer), 2);
    buffer[0] = 1;
    EXPECT_EQ(ipmi.checkIPMIBuffer(2, buffer), 1);
    buffer[0] = 2;
    EXPECT_EQ(ipmi.checkIPMIBuffer(2, buffer), 2);
    for (const int type : {0, 3, -1}) EXPECT_EQ(ipmi.checkIPMIBuffer(type, buffer), 0);
}

TEST_F(IpmiTest, BufferIsReadToItsEndAndNoFurther) {
    FakeRmc rmc;
    ipmi::IPMIUtils ipmi;
    std::vector<unsigned char> buffer(254, 'x'); // no zero anywhere
    EXPECT_EQ(ipmi.checkIPMIBuffer(1, buffer.data()), 0);
    const std::string wish = "WriteInventory";
    std::copy(wish.begin(), wish.end(), buffer.end() - 14);
    EXPECT_EQ(ipmi.checkIPMIBuffer(1, buffer.data()), 1);
}

// -- The controller's own records ---------------------------------------------------------------

TEST_F(IpmiTest, DeviceIdIsTheRawResponse) {
    Answer answer{{0}};
    for (std::uint8_t i = 1; i <= 15; ++i) answer.bytes.push_back(i);
    FakeRmc rmc(in_order({answer}));
    ipmi::_GET_DEVICE_ID record{};
    EXPECT_EQ(ipmi::GetDeviceIdInfo(record), 1);
    EXPECT_EQ(record.bytes[0], 1);
    EXPECT_EQ(record.bytes[14], 15);
    EXPECT_EQ(sizeof record, 15u);
    EXPECT_EQ(rmc.sent()[0].netfn, 0x06);
    EXPECT_EQ(rmc.sent()[0].cmd, 0x01);
    EXPECT_TRUE(rmc.sent()[0].data.empty());
}

TEST_F(IpmiTest, CapabilitiesAreTheRawResponse) {
    FakeRmc rmc(in_order({Answer{{0, 1, 2, 3, 4, 5, 6, 7}}}));
    ipmi::_GET_BMC_CAPABILITIES record{};
    EXPECT_EQ(ipmi::GetCapabilities(record), 1);
    EXPECT_EQ(record.bytes[4], 5);
    EXPECT_EQ(sizeof record, 5u);
    EXPECT_EQ(rmc.sent()[0].netfn, 0x06);
    EXPECT_EQ(rmc.sent()[0].cmd, 0x36);
}

TEST_F(IpmiTest, RecordsOfAMissingDeviceFail) {
    FakeRmc rmc;
    rmc.failOpen(99);
    ipmi::_GET_DEVICE_ID id{};
    ipmi::_GET_BMC_CAPABILITIES capabilities{};
    EXPECT_EQ(ipmi::GetDeviceIdInfo(id), 0);
    EXPECT_EQ(ipmi::GetCapabilities(capabilities), 0);
    EXPECT_EQ(ipmi::GetPartitionId(0), 0);
}

TEST_F(IpmiTest, PartitionIsTheFirstBitOfTheFirstByte) {
    for (const std::uint8_t byte : std::initializer_list<std::uint8_t>{0, 1, 2, 3, 0xFE, 0xFF}) {
        FakeRmc rmc(in_order({Answer{{0, byte, 1, 1, 1, 1, 1, 1, 1}}}));
        EXPECT_EQ(ipmi::GetPartitionId(42), byte & 1);
        EXPECT_EQ(rmc.sent()[0].netfn, 0x34);
        EXPECT_EQ(rmc.sent()[0].cmd, 0x08);
        EXPECT_TRUE(rmc.sent()[0].data.empty());
    }
}

TEST_F(IpmiTest, PartitionWithoutMemoryIsZero) {
    FakeRmc rmc(in_order({Answer{{0, 1}}}));
    noMemory = true;
    const int partition = ipmi::GetPartitionId(0);
    noMemory = false;
    EXPECT_EQ(partition, 0);
    EXPECT_TRUE(rmc.sent().empty());
    EXPECT_LOGGED(log, "ERROR", "IPMI", "Unable to malloc enough memory for responseBuffer.");
}
