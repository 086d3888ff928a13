#pragma once

#include <string>

#include "world/Scenario.h"
#include "world/lab_command.h"

/// Makes a command of kind FC or HBA true of the adapters and their libraries. Pure.
/// @param error  takes what is wrong, on failure: nothing has changed then
bool change_fc(SCENARIO_FC &fc, const LAB_COMMAND &command, std::string &error);
