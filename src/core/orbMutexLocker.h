#pragma once

/// Scoped lock over `std::mutex` or `std::recursive_mutex`. A lock that fails throws
/// `std::system_error`.
template <typename Mutex> class orbMutexLocker {
public:
    explicit orbMutexLocker(Mutex &lockable) : mutex(&lockable) {
        mutex->lock();
        owns = true;
    }
    ~orbMutexLocker() {
        if (owns) mutex->unlock();
    }
    orbMutexLocker(const orbMutexLocker &) = delete;
    orbMutexLocker &operator=(const orbMutexLocker &) = delete;

private:
    Mutex *mutex;
    bool owns = false;
};
