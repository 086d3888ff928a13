#pragma once

#include <cstdint>
#include <ctime>

#include "hostaccess/orbHostClock.h"

/// A clock that runs many times as fast as the real one, for whole runs of the daemon in which
/// nothing depends on the moment. Calendar time is UTC. Any thread: nothing in it changes.
class FastClock final : public IorbHostClock {
public:
    /// 2026-01-03 08:04:09 UTC, a Saturday
    static constexpr std::time_t START = 1767427449;

    explicit FastClock(double timesReal);
    ~FastClock() override { replace(outer); }
    FastClock(const FastClock &) = delete;
    FastClock &operator=(const FastClock &) = delete;

    std::time_t now() override;
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override;
    bool localTime(std::time_t second, std::tm *out) override;
    void sleepMs(std::int64_t durationMs) override;
    std::cv_status waitUntil(std::condition_variable &cond, std::unique_lock<std::mutex> &lock,
                             const std::timespec &deadline) override;

private:
    double passedS() const; // on this clock, since it was made

    const double speed;
    const double beginS; // steady real time
    IorbHostClock *outer;
};
