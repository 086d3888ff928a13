#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "reporting/rmc_transfer.h"

/// A transfer's messages as the reference tools send them: the very bytes of our own, so that the
/// controller takes and answers each as it does ours. Pure.

/// The name of the transfer.
constexpr std::string_view BENCH_COMMAND = "WriteInventory";
/// What the controller must answer as the transfer's handle: a list is written before it is sent.
constexpr std::uint16_t BENCH_HANDLE = 1;
/// Fewer don't hold an inventory that its schema takes.
constexpr std::size_t BENCH_FEWEST_MESSAGES = 8;

/// An inventory document that fills a number of messages to the last byte.
/// @param messages  at least BENCH_FEWEST_MESSAGES
std::string bench_document(std::size_t messages);

/// @param document  at least 57 characters, so that its first message carries the name
std::vector<RMC_MESSAGE> bench_messages(std::string_view document);

/// The messages as a list for `ipmitool exec`, one line each: "raw 0x3a 0x80 0x00 ...".
std::string ipmitool_list(const std::vector<RMC_MESSAGE> &messages);
/// The messages as a list for `ipmi-raw --file`, one line each: "00 3a 80 00 ...".
std::string freeipmi_list(const std::vector<RMC_MESSAGE> &messages);
