#include "fakes/FastClock.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>

namespace {
constexpr double LONGEST_REAL_WAIT_S = 3600;

double steady_s() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}
} // namespace

FastClock::FastClock(double timesReal)
    : speed(timesReal), beginS(steady_s()), outer(replace(this)) {}

double FastClock::passedS() const {
    return (steady_s() - beginS) * speed;
}

std::time_t FastClock::now() {
    return START + static_cast<std::time_t>(passedS());
}

ORB_SYSCALL_RESULT FastClock::realTime(std::timespec *out) {
    const double passed = passedS();
    const double whole = std::floor(passed);
    *out = {START + static_cast<std::time_t>(whole), static_cast<long>((passed - whole) * 1e9)};
    return {0, 0};
}

bool FastClock::localTime(std::time_t second, std::tm *out) {
    return ::gmtime_r(&second, out) != nullptr;
}

void FastClock::sleepMs(std::int64_t durationMs) {
    std::this_thread::sleep_for(
        std::chrono::duration<double>(static_cast<double>(durationMs) / 1000 / speed));
}

std::cv_status FastClock::waitUntil(std::condition_variable &cond,
                                    std::unique_lock<std::mutex> &lock,
                                    const std::timespec &deadline) {
    const double end =
        static_cast<double>(deadline.tv_sec - START) + static_cast<double>(deadline.tv_nsec) / 1e9;
    const double left = (end - passedS()) / speed;
    if (left <= 0) return std::cv_status::timeout;
    cond.wait_for(lock, std::chrono::duration<double>(std::min(left, LONGEST_REAL_WAIT_S)));
    return passedS() >= end ? std::cv_status::timeout : std::cv_status::no_timeout;
}
