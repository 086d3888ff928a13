#pragma once

#include <pthread.h>

/// A thread's handle that knows whether its thread was started, so that joining one that never ran
/// or was joined before is an error number and nothing worse. Its destructor does nothing: a thread
/// that is still running at the end of the process stays with the process. Not synchronised; the
/// thread that creates is the one that joins, or hands over with a lock.
class orbThread {
public:
    /// @param calledName  static text; what a person calls the thread when it keeps a stop waiting
    constexpr explicit orbThread(const char *calledName) : name(calledName) {}

    /// Starts `entry` with `arg`. @return 0 or the error number
    int create(void *(*entry)(void *), void *arg);
    /// Waits for the thread's end. @return 0, ESRCH where no thread was started, or the error
    /// number
    int join();
    bool isStarted() const { return started; }

private:
    const char *name;
    pthread_t handle = 0;
    bool started = false;
};
