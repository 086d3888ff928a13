#pragma once

#include <cstddef>
#include <string>

#include <json/json.h>

/// What the reports of an inventory's units have in common.

/// The text at a path of a unit's object, without control characters; "" where there is none.
std::string unit_word(const Json::Value &unit, const char *path);

/// "NAME: STATE, HEALTH, PLACE".
std::string unit_text(const std::string &name, const Json::Value &unit);

/// The units as rows below a head: the first columns as told, then the place, and the model in a
/// line of its own that begins at a column. Empty without units; rows beyond a screenful are
/// counted.
std::string unit_table(const Json::Value &list, const std::string &head,
                       std::string (*columns)(const Json::Value &unit), std::size_t modelColumn);
