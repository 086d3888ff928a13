#pragma once

#include <string>

/// What the command line asks for.
struct ORB_DAEMON_OPTIONS {
    enum MODE { BACKGROUND, FOREGROUND, PRINT_INVENTORY, CHECK_CONFIG, VERSION, HELP };

    MODE mode = BACKGROUND;
    bool compact = false;   ///< the inventory on one line
    std::string configFile; ///< of CHECK_CONFIG; empty: the daemon's own
    long stopTimeoutS = 180;
    bool genericStorage = true; ///< manage the host bus adapters of the product table
};

/// The longest time that a stop may last in all; also the largest --stop-timeout.
constexpr long STOP_TOTAL_S = 15 * 60;

/// Reads the command line.
/// @param fault  takes what is wrong with it, as "what: why"
/// @return false where it can't be followed; `out` is then not to be used
bool parse_options(int argc, char **argv, ORB_DAEMON_OPTIONS &out, std::string &fault);

extern const char DAEMON_HELP[]; ///< the answer to --help
