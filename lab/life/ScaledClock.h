#pragma once

#include "hostaccess/orbHostClock.h"
#include "life/LabTime.h"

/// The clock seam in the lab's time: sleeps and waits last `speed` times shorter in reality. Any
/// thread: nothing in it changes.
class ScaledClock final : public IorbHostClock {
public:
    explicit ScaledClock(const LabTime &labTime) : time(labTime) {}
    std::time_t now() override;
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override;
    bool localTime(std::time_t second, std::tm *out) override;
    void sleepMs(std::int64_t durationMs) override;
    std::cv_status waitUntil(std::condition_variable &cond, std::unique_lock<std::mutex> &lock,
                             const std::timespec &deadline) override;

private:
    const LabTime time;
};
