#pragma once

#include <string>

#include <json/json.h>

/// Holds a document against a schema of the tree (draft-07).
/// @param schema  "inventory", "event" or "config"
/// @return what is wrong, a line each; "" for a document that the schema accepts
std::string schema_faults(const std::string &schema, const Json::Value &document);
