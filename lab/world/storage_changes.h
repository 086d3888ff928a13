#pragma once

#include <string>

#include "world/Scenario.h"
#include "world/lab_command.h"

/// Does what a command asks of the server's storage controllers. A host that comes is a new one, so
/// it is running. Of a reset it does the first half, the going; the second is "add".
/// @return false where nothing of that name is there
bool change_storage(SCENARIO_STORAGE &storage, const LAB_COMMAND &command, std::string &error);

/// The controller of a name or a PCI address; null where there is none.
SCENARIO_STORAGE_CONTROLLER *find_controller(SCENARIO_STORAGE &storage, const std::string &subject);
