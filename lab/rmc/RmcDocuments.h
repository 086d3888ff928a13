#pragma once

#include <memory>
#include <string>
#include <vector>

#include <json/json.h>

#include "rmc/RmcDecoder.h"

/// What the RMC holds a received document against: the schemas of the inventory document and of the
/// event. One thread.
class RmcDocuments {
public:
    RmcDocuments();
    ~RmcDocuments();

    /// Reads `inventory.schema.json` and `event.schema.json`.
    /// @param error  takes "file: why" on failure
    bool load(const std::string &schemaFolder, std::string &error);

    /// Parses and checks a command's argument.
    /// @param document    the parsed text; null where it could not be parsed
    /// @param violations  takes a line for each thing that is wrong
    void check(const RMC_COMMAND &command, Json::Value &document,
               std::vector<std::string> &violations) const;

private:
    struct SCHEMAS;
    std::unique_ptr<SCHEMAS> schemas;
};
