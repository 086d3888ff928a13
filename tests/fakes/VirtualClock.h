#pragma once

#include <condition_variable>
#include <cstdint>
#include <ctime>
#include <list>
#include <mutex>
#include <vector>

#include "hostaccess/orbHostClock.h"

/// A clock that stands still until the test moves it. A timed wait ends when it is notified or when
/// the clock reaches its deadline, a sleep when the clock reaches its end. Calendar time is UTC.
/// Any thread may wait, ask and move it; mutex and condition of a timed wait outlive the call that
/// moves the clock, which wakes them after it has let go of its own lock.
class VirtualClock final : public IorbHostClock {
public:
    /// 2026-01-03 08:04:09 UTC, a Saturday
    static constexpr std::time_t START = 1767427449;

    explicit VirtualClock(std::time_t start = START);
    ~VirtualClock() override;
    VirtualClock(const VirtualClock &) = delete;
    VirtualClock &operator=(const VirtualClock &) = delete;

    /// Moves the clock at once and wakes all whose time has come.
    void advance(std::int64_t seconds) { advanceMs(seconds * 1000); }
    void advanceMs(std::int64_t durationMs);
    /// Waits until `count` threads sleep or wait on this clock. One whose time has come counts no
    /// longer from advance() on, even before it runs. False after 10 real seconds.
    bool waitForParked(int count);
    /// Wakes all timed waits, but no sleeps, though nobody asked for it and no time has passed.
    void wakeForNothing();
    /// From now on realTime() fails with this errno; 0 mends it.
    void failRealTime(int errorNumber);
    /// From now on sleeps and timed waits end at once and move the clock themselves, each by its
    /// own length. Whoever sleeps or waits already goes on until advance().
    void setAutoAdvance(bool on);
    std::int64_t sleptMs() const; ///< sum of all sleeps that were asked for

    std::time_t now() override;
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override;
    bool localTime(std::time_t second, std::tm *out) override;
    void sleepMs(std::int64_t durationMs) override;
    std::cv_status waitUntil(std::condition_variable &cond, std::unique_lock<std::mutex> &lock,
                             const std::timespec &deadline) override;

private:
    struct Waiter {
        std::condition_variable *cond; // null for a sleeper
        std::mutex *mutex;             // the caller's, held when it was entered here
        std::int64_t deadlineMs;
        bool due; // it has been woken; it leaves as soon as it runs
    };

    std::list<Waiter>::iterator park(const Waiter &waiter); // `mutex` held
    static void notify(const std::vector<Waiter> &due);     // `mutex` not held

    mutable std::mutex mutex; // guards all below; never held while a waiter's mutex is taken
    std::condition_variable parkedChanged;
    std::condition_variable moved; // sleepers
    std::int64_t nowMs;
    std::int64_t sleptSumMs = 0;
    int parked = 0; // waiters that aren't due
    int realTimeError = 0;
    bool autoAdvance = false;
    std::list<Waiter> waiters;
    IorbHostClock *outer;
};
