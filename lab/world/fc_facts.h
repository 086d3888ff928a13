#pragma once

#include <string>
#include <vector>

#include <json/json.h>

#include "world/Scenario.h"

/// How the lab's Fibre Channel adapters look from each side. Pure but for the last.
std::string fc_list_text(const SCENARIO_FC &fc);  ///< localcli storage san fc list
std::string hba_conf_text(const SCENARIO_FC &fc); ///< hba.conf; where there is one
/// The devices in the list of PCI devices: an adapter's, and a port's where it has one of its own.
std::vector<SCENARIO_PCI> fc_pci_devices(const SCENARIO_FC &fc);
/// What the vendors' substitutes read: an object by library file.
Json::Value hba_world(const SCENARIO_FC &fc);

/// What was called how often, a line for each library, handler and adapter.
/// @param folder  where the libraries keep their counts
std::string hba_calls_text(const SCENARIO_FC &fc, const std::string &folder);
