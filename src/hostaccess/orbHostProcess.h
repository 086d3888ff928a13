#pragma once

#include <pthread.h>

#include <string_view>

/// The process itself: threads, standard output, its end.
class IorbHostProcess {
public:
    virtual ~IorbHostProcess() = default;
    /// Starts a thread with default attributes. @return 0 or the error number; `out` set on 0 only
    virtual int createThread(pthread_t *out, void *(*entry)(void *), void *arg) = 0;
    /// Waits for a thread's end. @param name  what a person calls it @return 0 or the error number
    virtual int joinThread(pthread_t thread, const char *name) = 0;
    /// The calling thread begins to wait for another thread in another way than by joinThread(),
    /// for who watches it; ends nothing and starts nothing. @param name  as there; null: it waits
    /// no more
    virtual void waitingFor(const char * /*name*/) {}
    virtual void writeStandardOutput(std::string_view text) = 0; ///< written and flushed
    /// Ends the process at once, standard output flushed and no static destroyed, because other
    /// threads may still be running. Every end but the return from `main` goes through here.
    [[noreturn]] virtual void exitNow(int status) = 0;
    /// Gives the signal its default action, then raises it.
    virtual void raiseDefault(int signal) = 0;

    static IorbHostProcess &get(); ///< the host's own, or the one put in by replace()
    static IorbHostProcess *replace(IorbHostProcess *next); ///< gives the former; null: the host's
};
