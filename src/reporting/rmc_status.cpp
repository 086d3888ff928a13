#include "reporting/rmc_status.h"

#include <algorithm>
#include <iterator>

#include "core/format_text.h"

namespace {
struct STATUS_TEXT {
    unsigned char status;
    const char *text;
};

constexpr unsigned char LENGTH_EXCEEDED = 8;

// What stands in the brackets of a refused transfer's text.
constexpr STATUS_TEXT TRANSFER_REASONS[] = {
    {1, "Input data is not complete"},
    {3, "Error in index"},
    {4, "Cli entries full"},
    {5, "Provided command not supported"},
    {6, "Memory could not be allocated"},
    {LENGTH_EXCEEDED, "Request command length exceeded"},
};

constexpr STATUS_TEXT EXCHANGE_REASONS[] = {
    {7, "Request ioctl failure"},
    {8, "Response ioctl failure"},
    {0xAA, "The pointer to the stdout or stderr is NULL."},
    {0xDD, "Command time out."},
    {0xEE, "The size of stdout or stderr is not enough."},
};

template <std::size_t N>
const char *find_text(const STATUS_TEXT (&table)[N], unsigned char status) {
    const auto *row = std::find_if(std::begin(table), std::end(table),
                                   [status](const STATUS_TEXT &r) { return r.status == status; });
    return row == std::end(table) ? nullptr : row->text;
}
} // namespace

std::string rmc_transfer_status_text(unsigned char transferStatus, unsigned char exitStatus,
                                     std::size_t argumentBytes) {
    if (transferStatus == 0) return {};
    const char *reason = find_text(TRANSFER_REASONS, transferStatus);
    if (reason == nullptr) return "RMC Cli Command Execution failed";
    std::string text = format_text("Transfer Status is 0x%x[%s] and Cmd Exit Status is 0x%x",
                                   unsigned{transferStatus}, reason, unsigned{exitStatus});
    if (transferStatus == LENGTH_EXCEEDED) text += format_text(". Payload size:%zu", argumentBytes);
    return text;
}

std::string rmc_exchange_failure_text(unsigned char transferStatus, unsigned char exitStatus) {
    for (const unsigned char status : {transferStatus, exitStatus})
        if (const char *reason = find_text(EXCHANGE_REASONS, status)) return reason;
    return "Error occurred while executing RMC_CLI_Exec";
}

RMC_CLI_OUTCOME rmc_cli_outcome(int execResult, unsigned char transferStatus,
                                unsigned char exitStatus, std::size_t argumentBytes) {
    if (execResult == 0) return {1, rmc_exchange_failure_text(transferStatus, exitStatus)};
    if (transferStatus == 0) return {0, {}};
    return {1, rmc_transfer_status_text(transferStatus, exitStatus, argumentBytes)};
}
