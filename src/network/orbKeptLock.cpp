#include "network/orbKeptLock.h"

void orbKeptLock::lock() {
    std::unique_lock<std::mutex> guard(inner);
    changed.wait(guard, [this] { return !held; });
    held = true;
}

bool orbKeptLock::try_lock() {
    const std::lock_guard<std::mutex> guard(inner);
    if (held) return false;
    held = true;
    return true;
}

void orbKeptLock::unlock() {
    const std::lock_guard<std::mutex> guard(inner);
    held = false;
    changed.notify_one();
}

bool orbKeptLock::lockUnlessCancelled() {
    std::unique_lock<std::mutex> guard(inner);
    changed.wait(guard, [this] { return !held || cancelled; });
    if (held) return false;
    held = true;
    return true;
}

void orbKeptLock::cancelWaits() {
    const std::lock_guard<std::mutex> guard(inner);
    cancelled = true;
    changed.notify_all();
}
