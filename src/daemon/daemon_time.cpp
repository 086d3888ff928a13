#include "daemon/daemon_time.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>

namespace {
constinit std::atomic<double> speedFactor{1.0}; // set before other threads run
}

std::int64_t daemon_time_ms() {
    const std::chrono::duration<double, std::milli> real =
        std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::int64_t>(real.count() * speedFactor);
}

std::int64_t daemon_wait_ms(std::int64_t durationMs) {
    const double real = std::ceil(static_cast<double>(durationMs) / speedFactor);
    return std::max<std::int64_t>(1, static_cast<std::int64_t>(real));
}

void set_daemon_speed(double speed) {
    speedFactor = speed;
}
