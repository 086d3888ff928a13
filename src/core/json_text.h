#pragma once

#include <istream>
#include <string>

#include <json/json.h>

/// Parses one JSON text with jsoncpp's default settings. Nothing throws: a text that can't be read,
/// nesting deeper than the parser allows included, gives false and a null root.
/// @param error  takes the parser's message where it is not null
bool parse_json(std::istream &in, Json::Value &root, std::string *error = nullptr);
bool parse_json(const std::string &text, Json::Value &root, std::string *error = nullptr);

/// The value as text without line breaks and without a newline at its end.
std::string compact_json(const Json::Value &value);
