#pragma once

#include <condition_variable>
#include <mutex>

/// A place where another thread waits until the test lets it go on, for good. Any thread.
class Barrier {
public:
    void arrive() {
        std::unique_lock<std::mutex> lock(mutex);
        arrived = true;
        changed.notify_all();
        changed.wait(lock, [this] { return open; });
    }
    void waitForArrival() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return arrived; });
    }
    void letGo() {
        const std::lock_guard<std::mutex> lock(mutex);
        open = true;
        changed.notify_all();
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    bool arrived = false, open = false;
};
