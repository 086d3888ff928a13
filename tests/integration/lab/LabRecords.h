#pragma once

#include <string>
#include <vector>

#include <json/json.h>

#include "LabRun.h"

/// What the lab says of an unknown place.
constexpr const char NOWHERE[] = "FFFFFFFFFFFFFFFF";

/// Waits until the first inventory is through. Before its last message was answered, and not only
/// received, the daemon drops events.
bool await_first(LabRun &lab);

/// The lab's JSON lines of one kind.
std::vector<Json::Value> records(const LabRun &lab, const std::string &kind);
/// The texts of its progress lines, a line each.
std::string progress_of(const LabRun &lab);

/// State and health of an adapter of an inventory: "Running OK".
std::string state_of(const Json::Value &adapter);
/// The word behind the last blank of an adapter's description: the GeoID.
std::string geo_id_of(const Json::Value &adapter);
/// What `orblab --decode-location` makes of a code, as JSON.
Json::Value decoded(const std::string &code);
