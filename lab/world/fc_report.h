#pragma once

#include <string>

#include <json/json.h>

/// One object of FibreChannelDevices for a person: "20:00:02:00:5e:00:00:a1: Online, OK, rack 1,
/// unit 1, ...".
std::string fc_adapter_text(const Json::Value &adapter);

/// The adapters as rows, node name first, place last; empty without any. Rows beyond a screenful
/// are counted.
std::string fc_adapter_table(const Json::Value &list);
