#pragma once

#include <cstddef>
#include <string>

#include <json/json.h>

/// Text from outside for a terminal: control characters become ".".
std::string printable(const std::string &text);

/// The inventory as a person reads it: the host, a count for each kind of unit, the adapters.
std::string summary_text(const Json::Value &document);

/// One event on one line: time, number, part of the daemon, meaning, host, place.
std::string event_line(const Json::Value &event);

/// What has come in all: "1 inventory, 2 events received".
std::string received_text(std::size_t inventories, std::size_t events);

/// A member by a path such as "Oem.HostOSInfo.IPv4Addresses.0.Address"; null where there is none.
Json::Value member_at(const Json::Value &root, const std::string &path);
