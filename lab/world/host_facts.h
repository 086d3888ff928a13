#pragma once

#include <string>

#include "world/Scenario.h"

/// What the simulated server's host commands print. Pure.
std::string system_version_text(const SCENARIO_HOST &host); ///< localcli system version get
std::string pci_list_text(const SCENARIO &scenario);        ///< localcli hardware pci list
/// esxtop's two lines for a mode: "works" in full, "garbled" with a wrong shape, "empty" nothing.
std::string esxtop_text(const SCENARIO_HOST &host, const std::string &mode);
/// What LabIdentity reads. @param real  this machine's identity in place of the scenario's
std::string identity_text(const SCENARIO_HOST &host, std::int64_t bootTime, bool real);
/// The lab's orb.conf: everything to log files, debug lines included, with the scenario's changes.
std::string config_text(const Json::Value &changes);

constexpr const char LAB_LOG_FILE[] = "/var/log/vantor/orb/orb.log",
                     LAB_DEBUG_LOG_FILE[] = "/var/log/vantor/orb/orb-debug.log";
