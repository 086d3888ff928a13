#pragma once

#include <string>

#include "world/Scenario.h"

/// What stands in place of the PCI address of an adapter that is no device.
constexpr const char NO_PCI_DEVICE[] = "Pseudo";

constexpr const char NIC_LIST_MODES[] =
    "works, fails, empty, headless, cut, short, blank, old, binary, huge or hangs";
constexpr const char ENCODER_MODES[] = "works, refuses, missing or incomplete";

bool is_link_word(const std::string &text);     ///< Up, Down, Unknown
bool is_nic_list_mode(const std::string &text); ///< one of NIC_LIST_MODES
bool is_encoder_mode(const std::string &text);  ///< one of ENCODER_MODES

/// How a host command of the lab goes.
struct COMMAND_ANSWER {
    std::string output;
    int status = 0, delaySeconds = 0; ///< seconds of the lab's time
};

/// localcli network nic list. Pure.
/// @param mode  works; fails: nothing, status 1; empty: nothing; headless: an error text in place
///              of the table; cut: breaks off in the last row; short: a row without driver and
///              description; blank: an empty line at the end; old: nine columns, decimal bus
///              numbers; binary: a row of
///              bytes that are no text; huge: a description of a million characters; hangs: the
///              table after NIC_LIST_DELAY_SECONDS
COMMAND_ANSWER nic_list_answer(const std::vector<SCENARIO_NIC> &nics, const std::string &mode);
/// Twice as long as the daemon waits for its managers before the first inventory.
constexpr int NIC_LIST_DELAY_SECONDS = 180;

/// localcli network nic get -n NAME. Pure. @param mode  that of the list; only old differs
std::string nic_details_text(const SCENARIO_NIC &nic, const std::string &mode);
