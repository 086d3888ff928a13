#pragma once

#include <string>

#include <json/json.h>

/// One object of StorageControllers for a person: "0000:51:00.0: Running, OK, rack 1, unit 1, ...".
std::string controller_text(const Json::Value &controller);

/// The controllers as rows, PCI address first, place last; empty without any. Rows beyond a
/// screenful are counted.
std::string controller_table(const Json::Value &list);
