#pragma once

#include <cstdint>

/// How the daemon's and the host's last run ended.
enum class ORB_BOOT_CASE {
    FIRST_RUN,           ///< no earlier run is known
    RESTARTED,           ///< same boot, the daemon had been stopped
    GRACEFUL_SHUTDOWN,   ///< the host rebooted after the daemon had been stopped
    NOTHING_TO_TELL,     ///< start and stop in the same second
    CRASHED,             ///< same boot, the daemon hadn't been stopped
    UNGRACEFUL_SHUTDOWN, ///< the host went down without stopping the daemon
};

/// Decides from three times in seconds since the epoch. Equal times count as the same boot. Pure.
/// @param boot       of the host; 0 where unknown, which counts as the same boot
/// @param lastStart  of the daemon's previous run, 0 for none
/// @param lastStop   last clean stop of the daemon, 0 for none
ORB_BOOT_CASE decide_boot_case(std::int64_t boot, std::int64_t lastStart, std::int64_t lastStop);
