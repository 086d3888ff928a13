#include "fakes/VirtualClock.h"

#include <chrono>

VirtualClock::VirtualClock(std::time_t start) : nowMs(std::int64_t{start} * 1000) {
    outer = replace(this);
}

VirtualClock::~VirtualClock() {
    replace(outer);
}

void VirtualClock::advanceMs(std::int64_t durationMs) {
    std::vector<Waiter> due;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        nowMs += durationMs;
        for (Waiter &waiter : waiters) {
            if (waiter.due || waiter.deadlineMs > nowMs) continue;
            waiter.due = true;
            --parked;
            if (waiter.cond != nullptr) due.push_back(waiter);
        }
        moved.notify_all();
        parkedChanged.notify_all();
    }
    notify(due);
}

void VirtualClock::wakeForNothing() {
    std::vector<Waiter> due;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        for (Waiter &waiter : waiters) {
            if (waiter.due || waiter.cond == nullptr) continue;
            waiter.due = true;
            --parked;
            due.push_back(waiter);
        }
        parkedChanged.notify_all();
    }
    notify(due);
}

void VirtualClock::notify(const std::vector<Waiter> &due) {
    // A waiter holds its mutex from its entry until it really waits, so taking the mutex here makes
    // sure that the notification finds it waiting.
    for (const Waiter &waiter : due) {
        { const std::lock_guard<std::mutex> entered(*waiter.mutex); }
        waiter.cond->notify_all();
    }
}

bool VirtualClock::waitForParked(int count) {
    std::unique_lock<std::mutex> lock(mutex);
    return parkedChanged.wait_for(lock, std::chrono::seconds(10), [&] { return parked == count; });
}

void VirtualClock::failRealTime(int errorNumber) {
    const std::lock_guard<std::mutex> lock(mutex);
    realTimeError = errorNumber;
}

void VirtualClock::setAutoAdvance(bool on) {
    const std::lock_guard<std::mutex> lock(mutex);
    autoAdvance = on;
}

std::int64_t VirtualClock::sleptMs() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return sleptSumMs;
}

std::list<VirtualClock::Waiter>::iterator VirtualClock::park(const Waiter &waiter) {
    ++parked;
    parkedChanged.notify_all();
    return waiters.insert(waiters.end(), waiter);
}

std::time_t VirtualClock::now() {
    const std::lock_guard<std::mutex> lock(mutex);
    return nowMs / 1000;
}

ORB_SYSCALL_RESULT VirtualClock::realTime(std::timespec *out) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (realTimeError != 0) return {-1, realTimeError};
    *out = {nowMs / 1000, nowMs % 1000 * 1'000'000};
    return {0, 0};
}

bool VirtualClock::localTime(std::time_t second, std::tm *out) {
    return ::gmtime_r(&second, out) != nullptr;
}

void VirtualClock::sleepMs(std::int64_t durationMs) {
    std::unique_lock<std::mutex> lock(mutex);
    sleptSumMs += durationMs;
    if (autoAdvance) {
        nowMs += durationMs;
        return;
    }
    if (durationMs <= 0) return;
    const auto self = park({nullptr, nullptr, nowMs + durationMs, false});
    moved.wait(lock, [&] { return self->due; });
    waiters.erase(self);
}

std::cv_status VirtualClock::waitUntil(std::condition_variable &cond,
                                       std::unique_lock<std::mutex> &callers,
                                       const std::timespec &deadline) {
    const std::int64_t deadlineMs = deadline.tv_sec * 1000 + deadline.tv_nsec / 1'000'000;
    std::list<Waiter>::iterator self;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (nowMs >= deadlineMs) return std::cv_status::timeout;
        if (autoAdvance) {
            nowMs = deadlineMs;
            return std::cv_status::timeout;
        }
        self = park({&cond, callers.mutex(), deadlineMs, false});
    }
    cond.wait(callers);
    const std::lock_guard<std::mutex> lock(mutex);
    if (!self->due) {
        --parked;
        parkedChanged.notify_all();
    }
    waiters.erase(self);
    return nowMs >= deadlineMs ? std::cv_status::timeout : std::cv_status::no_timeout;
}
