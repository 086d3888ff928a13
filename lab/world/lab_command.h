#pragma once

#include <cstdint>
#include <string>

#include "rmc/Rmc.h"

/// One thing that a person or a timeline asks of the running lab.
struct LAB_COMMAND {
    enum class Kind {
        NOTHING, ///< an empty line or a comment
        HELP,
        DOOR_BELL,
        GENERIC_DOOR_BELL,
        RMC,
        RESTART_DAEMON,
        CRASH_DAEMON,
        REBOOT_HOST,
        CRASH_HOST,
        NIC,
        FC,
        HBA,
        STORAGE,
        SET,
        SHOW,
        QUIT,
    };
    Kind kind = Kind::NOTHING;
    RMC_BEHAVIOUR behaviour; ///< of RMC
    /// Of SET: what, and to what. Of NIC: which, and Up, Down, Unknown, remove or add. SHOW: what.
    /// Of FC: which, and a state, remove or add. Of HBA: a library or "all", and works or fails.
    /// Of STORAGE: which, and a state, remove, add or reset.
    std::string subject, value;
    /// Of FC and STORAGE: the port's place, of STORAGE also its name, empty for each. Of HBA: the
    /// call.
    std::string detail;
    double downSeconds = 0; ///< of the host's ends and of a reset
};

/// Reads one line. @param error  takes what is wrong with it, on failure
bool parse_lab_command(const std::string &line, LAB_COMMAND &command, std::string &error);

bool is_esxtop_mode(const std::string &text); ///< works, fails, empty, garbled

/// Whether it is about the simulated server or its daemon, not about the RMC alone.
bool is_about_server(const LAB_COMMAND &command);

/// A few lines, for a person. @param withServer  false: the RMC is alone
std::string lab_command_help(bool withServer);
