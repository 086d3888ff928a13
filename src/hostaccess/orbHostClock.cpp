#include "hostaccess/orbHostClock.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace {
/// One second short of what the nanoseconds of a 64-bit system_clock can say.
constexpr std::int64_t LAST_SECOND = INT64_MAX / 1'000'000'000 - 1;

class HostClock final : public IorbHostClock {
public:
    std::time_t now() override { return ::time(nullptr); }
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override {
        const int rc = ::clock_gettime(CLOCK_REALTIME, out);
        return {rc, rc < 0 ? errno : 0};
    }
    bool localTime(std::time_t second, std::tm *out) override {
        return ::localtime_r(&second, out) != nullptr;
    }
    void sleepMs(std::int64_t durationMs) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(durationMs));
    }
    std::cv_status waitUntil(std::condition_variable &cond, std::unique_lock<std::mutex> &lock,
                             const std::timespec &deadline) override {
        const auto sinceEpoch =
            std::chrono::seconds(std::clamp<std::int64_t>(deadline.tv_sec, 0, LAST_SECOND)) +
            std::chrono::nanoseconds(deadline.tv_nsec);
        return cond.wait_until(lock, std::chrono::system_clock::time_point(sinceEpoch));
    }
};
constinit orbImmortal<HostClock> host;
constinit orbSeam<IorbHostClock> seam{host.value};
} // namespace

IorbHostClock &IorbHostClock::get() {
    return seam.get();
}
IorbHostClock *IorbHostClock::replace(IorbHostClock *next) {
    return seam.replace(next);
}

std::timespec deadline_after(const std::timespec &from, std::int64_t seconds) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(static_cast<std::int64_t>(from.tv_sec), seconds, &sum))
        sum = seconds > 0 ? LAST_SECOND : 0;
    return {std::clamp<std::int64_t>(sum, 0, LAST_SECOND), from.tv_nsec};
}

std::int64_t present_second() {
    IorbHostClock &clock = IorbHostClock::get();
    std::timespec now{};
    return clock.realTime(&now).rc == 0 ? now.tv_sec : clock.now();
}
