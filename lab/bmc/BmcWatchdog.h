#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "rmc/RmcDecoder.h"

/// A controller's watchdog timer, IPMI 2.0 section 27, without its interrupt before the time is
/// over. Pure: times are the caller's monotonic clock. One thread.
class BmcWatchdog {
public:
    enum class Action { NOTHING, RESET, POWER_DOWN, POWER_CYCLE };

    RMC_ANSWER set(std::span<const std::uint8_t> request, std::int64_t nowNs); ///< 6 bytes
    RMC_ANSWER restart(std::int64_t nowNs); ///< "Reset Watchdog Timer": counts down anew
    RMC_ANSWER get(std::int64_t nowNs) const;

    void stop() { deadlineNs.reset(); } ///< as the machine's reset does
    std::optional<std::int64_t> dueNs() const { return deadlineNs; } ///< where it runs
    /// @return what is to be done to the machine where the time is over; asked once, then stopped
    Action expire(std::int64_t nowNs);

private:
    std::uint8_t use = 0, actions = 0, pretimeoutSeconds = 0, expired = 0;
    std::uint16_t countdown = 0; // in steps of 100 ms
    bool isSet = false;
    std::optional<std::int64_t> deadlineNs;
};
