#pragma once

#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <mutex>

#include "hostaccess/orbSeam.h"

/// Time, sleeps and timed waits. Deadlines and "now" come from one source: the real-time clock, a
/// test's standing clock, or the lab's scaled one.
class IorbHostClock {
public:
    virtual ~IorbHostClock() = default;
    virtual std::time_t now() = 0; ///< the present second since the epoch; cannot fail
    /// The real-time clock with its fraction. @return rc 0, or -1 with errno
    virtual ORB_SYSCALL_RESULT realTime(std::timespec *out) = 0;
    /// The local calendar time of a second. @return false where it can't be told
    virtual bool localTime(std::time_t second, std::tm *out) = 0;
    virtual void sleepMs(std::int64_t durationMs) = 0;
    /// One wait on a condition with `lock` held: ends by a notification, spuriously, or at the
    /// deadline. Callers use wait_until() below, which waits for a predicate.
    virtual std::cv_status waitUntil(std::condition_variable &cond,
                                     std::unique_lock<std::mutex> &lock,
                                     const std::timespec &deadline) = 0;

    static IorbHostClock &get(); ///< the host's own, or the one put in by replace()
    static IorbHostClock *replace(IorbHostClock *next); ///< gives the former; null: the host's
};

/// Waits with `lock` held until `wanted()` holds or the deadline of the real-time clock is there.
/// A spurious wake-up ends nothing. @return the last answer of `wanted()`
template <typename Predicate>
bool wait_until(std::condition_variable &cond, std::unique_lock<std::mutex> &lock,
                const std::timespec &deadline, Predicate wanted) {
    while (!wanted()) {
        if (IorbHostClock::get().waitUntil(cond, lock, deadline) == std::cv_status::timeout)
            return wanted();
    }
    return true;
}

/// `from` plus whole seconds, kept within what a deadline can hold (about the year 2262), so that
/// the largest interval that a configuration can give is practically "never".
std::timespec deadline_after(const std::timespec &from, std::int64_t seconds);

/// The present second by the clock that deadlines come from, so that a deadline and an earlier
/// moment can be compared to the second; by IorbHostClock::now() where that clock can't be read.
std::int64_t present_second();
