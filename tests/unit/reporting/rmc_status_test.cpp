#include "reporting/rmc_status.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace {
const std::map<int, std::string> TRANSFER_TEXTS = {
    {0, ""},
    {1, "Transfer Status is 0x1[Input data is not complete] and Cmd Exit Status is 0xab"},
    {3, "Transfer Status is 0x3[Error in index] and Cmd Exit Status is 0xab"},
    {4, "Transfer Status is 0x4[Cli entries full] and Cmd Exit Status is 0xab"},
    {5, "Transfer Status is 0x5[Provided command not supported] and Cmd Exit Status is 0xab"},
    {6, "Transfer Status is 0x6[Memory could not be allocated] and Cmd Exit Status is 0xab"},
    {8, "Transfer Status is 0x8[Request command length exceeded] and Cmd Exit Status is 0xab. "
        "Payload size:1048576"},
};
const std::map<int, std::string> EXCHANGE_TEXTS = {
    {7, "Request ioctl failure"},
    {8, "Response ioctl failure"},
    {0xAA, "The pointer to the stdout or stderr is NULL."},
    {0xDD, "Command time out."},
    {0xEE, "The size of stdout or stderr is not enough."},
};
constexpr char OTHER_TRANSFER[] = "RMC Cli Command Execution failed";
constexpr char OTHER_EXCHANGE[] = "Error occurred while executing RMC_CLI_Exec";

std::string text_of(const std::map<int, std::string> &table, int status, const char *other) {
    const auto row = table.find(status);
    return row == table.end() ? other : row->second;
}
} // namespace

TEST(RmcStatus, EveryTransferStatusHasItsText) {
    for (int status = 0; status <= 255; ++status)
        EXPECT_EQ(rmc_transfer_status_text(static_cast<unsigned char>(status), 0xAB, 1048576),
                  text_of(TRANSFER_TEXTS, status, OTHER_TRANSFER));
}

TEST(RmcStatus, ExitStatusPrintsUnsigned) {
    EXPECT_EQ(rmc_transfer_status_text(3, 0, 0),
              "Transfer Status is 0x3[Error in index] and Cmd Exit Status is 0x0");
    EXPECT_EQ(rmc_transfer_status_text(3, 0xFF, 0),
              "Transfer Status is 0x3[Error in index] and Cmd Exit Status is 0xff");
}

TEST(RmcStatus, EveryStatusOfAFailedExchangeHasItsText) {
    for (int status = 0; status <= 255; ++status) {
        const auto byte = static_cast<unsigned char>(status);
        const std::string text = text_of(EXCHANGE_TEXTS, status, OTHER_EXCHANGE);
        EXPECT_EQ(rmc_exchange_failure_text(byte, 0), text);
        EXPECT_EQ(rmc_exchange_failure_text(0, byte), text);
    }
    EXPECT_EQ(rmc_exchange_failure_text(7, 0xDD), "Request ioctl failure");
    EXPECT_EQ(rmc_exchange_failure_text(2, 0xDD), "Command time out.");
}

TEST(RmcStatus, FailedExchangeIsAFailureWhateverTheStatus) {
    for (int status = 0; status <= 255; ++status) {
        const auto byte = static_cast<unsigned char>(status);
        const RMC_CLI_OUTCOME outcome = rmc_cli_outcome(0, byte, 0, 10);
        EXPECT_EQ(outcome.result, 1);
        EXPECT_EQ(outcome.text, rmc_exchange_failure_text(byte, 0));
    }
}

TEST(RmcStatus, NoMemoryAndInvalidArgumentsReportSuccess) {
    for (const int rc : {-1, 1}) {
        const RMC_CLI_OUTCOME outcome = rmc_cli_outcome(rc, 0, 0, 10);
        EXPECT_EQ(outcome.result, 0);
        EXPECT_EQ(outcome.text, "");
    }
}

TEST(RmcStatus, AnyOtherTransferStatusIsAFailure) {
    for (int status = 1; status <= 255; ++status) {
        const auto byte = static_cast<unsigned char>(status);
        const RMC_CLI_OUTCOME outcome = rmc_cli_outcome(1, byte, 0xAB, 1048576);
        EXPECT_EQ(outcome.result, 1);
        EXPECT_EQ(outcome.text, text_of(TRANSFER_TEXTS, status, OTHER_TRANSFER));
    }
}
