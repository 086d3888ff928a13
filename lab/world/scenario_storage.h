#pragma once

#include <string>

#include <json/json.h>

#include "world/Scenario.h"

constexpr const char STORAGE_LINKS[] = "long, short or folder";
constexpr const char STORAGE_STATES[] =
    "created, running, cancel, deleted, recovery, cancel/recovery, deleted/recovery, quiesce, "
    "offline, transport-offline, blocked, created-blocked, online, optimal or unreadable";

bool is_storage_link(const std::string &text); ///< one of STORAGE_LINKS

/// Whether it is one of STORAGE_STATES: the words of a SCSI host, those of its devices, two that
/// sound well and are none of a port's, and "unreadable" for a port whose state is no file.
bool is_storage_state(const std::string &text);

/// Reads a scenario's storage controllers.
/// @param place  of the object in the file @param error  takes "place: what is wrong", once
void read_scenario_storage(const Json::Value &value, const std::string &place,
                           SCENARIO_STORAGE &storage, std::string &error);
