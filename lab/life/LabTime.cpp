#include "life/LabTime.h"

#include <time.h>

#include <algorithm>
#include <cmath>

namespace {
constexpr std::int64_t NS = 1'000'000'000;
constexpr double LAST_NS = 9.2e18; // below what 64 bits hold
constexpr std::int64_t LONGEST_WAIT_NS = 3600 * NS;

std::int64_t reading(clockid_t clock) {
    timespec now{};
    ::clock_gettime(clock, &now);
    return now.tv_sec * NS + now.tv_nsec;
}
} // namespace

std::int64_t monotonic_ns() {
    return reading(CLOCK_MONOTONIC);
}

LabTime LabTime::startingNow(double speedFactor) {
    return {monotonic_ns(), reading(CLOCK_REALTIME), speedFactor};
}

std::int64_t LabTime::labNsAt(std::int64_t realNs) const {
    const double passed = static_cast<double>(realNs - realOrigin) * speed;
    const double room = LAST_NS - static_cast<double>(labOrigin);
    return labOrigin + static_cast<std::int64_t>(std::clamp(passed, 0.0, room));
}

std::int64_t LabTime::realWaitNs(std::int64_t labNs) const {
    if (labNs <= 0) return 0;
    const double wait = std::ceil(static_cast<double>(labNs) / speed);
    if (wait >= static_cast<double>(LONGEST_WAIT_NS)) return LONGEST_WAIT_NS;
    return std::max<std::int64_t>(static_cast<std::int64_t>(wait), 1);
}

std::int64_t LabTime::nowNs() const {
    return labNsAt(monotonic_ns());
}

double LabTime::sinceOriginSeconds() const {
    return static_cast<double>(nowNs() - labOrigin) / static_cast<double>(NS);
}
