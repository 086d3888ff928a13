#pragma once

#include <string>

#include <json/json.h>

#include "world/Scenario.h"

/// Reads a scenario's Fibre Channel libraries and adapters.
/// @param place  of the object in the file @param error  takes "place: what is wrong", once
void read_scenario_fc(const Json::Value &value, const std::string &place, SCENARIO_FC &fc,
                      std::string &error);
