#pragma once

#include <cstdint>

/// The lab's time: runs `speed` times as fast as the real one from a common origin. A plain value,
/// copied into each of the daemon's lives, so that time goes on across restarts. Nanoseconds.
class LabTime {
public:
    LabTime() = default;
    /// @param realOrigin   the monotonic clock's reading at the origin
    /// @param labOrigin    the lab's time since the epoch at the origin
    LabTime(std::int64_t realOriginNs, std::int64_t labOriginNs, double speedFactor)
        : realOrigin(realOriginNs), labOrigin(labOriginNs), speed(speedFactor) {}

    static LabTime startingNow(double speedFactor); ///< the lab's time begins at the host's

    std::int64_t labNsAt(std::int64_t realNs) const; ///< kept within what 64 bits can say
    /// How long to wait in reality until the lab's time has moved on by `labNs`: rounded up, at
    /// least 1 where there is anything to wait for, at most an hour.
    std::int64_t realWaitNs(std::int64_t labNs) const;

    std::int64_t nowNs() const;        ///< the lab's time since the epoch
    double sinceOriginSeconds() const; ///< the lab's time since the origin
    double factor() const { return speed; }

private:
    std::int64_t realOrigin = 0, labOrigin = 0;
    double speed = 1;
};

std::int64_t monotonic_ns(); ///< the real monotonic clock
