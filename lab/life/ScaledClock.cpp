#include "life/ScaledClock.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {
constexpr std::int64_t NS = 1'000'000'000, LAST_SECOND = INT64_MAX / NS - 1;

std::int64_t as_ns(const std::timespec &moment) {
    return std::clamp<std::int64_t>(moment.tv_sec, 0, LAST_SECOND) * NS + moment.tv_nsec;
}
} // namespace

std::time_t ScaledClock::now() {
    return time.nowNs() / NS;
}

ORB_SYSCALL_RESULT ScaledClock::realTime(std::timespec *out) {
    const std::int64_t now = time.nowNs();
    *out = {now / NS, now % NS};
    return {0, 0};
}

bool ScaledClock::localTime(std::time_t second, std::tm *out) {
    return ::localtime_r(&second, out) != nullptr;
}

void ScaledClock::sleepMs(std::int64_t durationMs) {
    const std::int64_t start = time.nowNs();
    const std::int64_t length =
        std::clamp<std::int64_t>(durationMs, 0, INT64_MAX / 2'000'000) * 1'000'000;
    for (std::int64_t left = length; left > 0; left = length - (time.nowNs() - start))
        std::this_thread::sleep_for(std::chrono::nanoseconds(time.realWaitNs(left)));
}

std::cv_status ScaledClock::waitUntil(std::condition_variable &cond,
                                      std::unique_lock<std::mutex> &lock,
                                      const std::timespec &deadline) {
    const std::int64_t end = as_ns(deadline);
    // The real clock may run ahead of the lab's by a little; only a notification ends a wait early.
    for (std::int64_t left; (left = end - time.nowNs()) > 0;) {
        const auto realEnd =
            std::chrono::system_clock::now() + std::chrono::nanoseconds(time.realWaitNs(left));
        if (cond.wait_until(lock, realEnd) == std::cv_status::no_timeout)
            return time.nowNs() >= end ? std::cv_status::timeout : std::cv_status::no_timeout;
    }
    return std::cv_status::timeout;
}
