#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// The command line of the lab.
struct LAB_OPTIONS {
    std::string scenario = "first-generation"; ///< name or file
    std::string output = "lab-out", commands, data;
    std::optional<std::string> location;  ///< a code to decode
    std::optional<std::uint16_t> bmcPort; ///< the RMC alone, on this port; 0: any
    double speed = 20;
    bool once = false, keep = false, quiet = false, json = false;
    bool listScenarios = false, help = false, version = false, linuxHost = false;
};

/// @param error  takes "what: why" @return false on bad usage
bool parse_lab_options(int argc, char **argv, LAB_OPTIONS &options, std::string &error);

extern const char LAB_USAGE[];
