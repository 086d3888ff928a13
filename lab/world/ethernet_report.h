#pragma once

#include <string>

#include <json/json.h>

/// One object of EthernetDevices for a person: "vmnic0: Running, OK, rack 1, unit 1, ...".
std::string adapter_text(const Json::Value &adapter);

/// The adapters as rows, name first, place last; empty without any. Rows beyond a screenful are
/// counted.
std::string adapter_table(const Json::Value &list);
