#pragma once

#include <condition_variable>
#include <mutex>

/// A lock that belongs to no thread: whoever takes it may keep it for good, and may then wait for
/// it like anybody else, which no `std::mutex` allows. For `std::unique_lock` and its kin.
/// Any thread. Locks: the inner mutex, a leaf.
class orbKeptLock {
public:
    void lock(); ///< waits until it is free
    bool try_lock();
    void unlock();
    /// Waits until it is free, or until cancelWaits() was called. A free lock is taken either way.
    /// @return whether it was taken
    bool lockUnlessCancelled();
    void cancelWaits(); ///< ends the waits of lockUnlessCancelled(), present and future ones

private:
    std::mutex inner;                // guards all below
    std::condition_variable changed; // waits in lock() and lockUnlessCancelled()
    bool held = false;
    bool cancelled = false;
};
