#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "hostaccess/orbHostProcess.h"

/// What exitNow() of the fake throws, since a test's process has to go on.
struct ProcessExit {
    int status;
};

/// Real threads whose creation can be made to fail, kept standard output, ends as exceptions. Any
/// thread.
class FakeProcess final : public IorbHostProcess {
public:
    FakeProcess() : outer(replace(this)) {}
    ~FakeProcess() override { replace(outer); }
    FakeProcess(const FakeProcess &) = delete;
    FakeProcess &operator=(const FakeProcess &) = delete;

    /// From the creation numbered `from` on (0 is the next), all fail with this error number.
    void failCreation(int from, int errorNumber);
    void failJoin(int errorNumber);          ///< joins are done and then report this; 0 mends it
    std::string output() const;              ///< standard output so far
    std::vector<std::string> joined() const; ///< names of the threads joined, in order
    std::vector<std::string> waits() const;  ///< of waitingFor(), in order; "" for no more
    int created() const;                     ///< threads created
    int raised() const;                      ///< the last signal that was raised, 0 for none

    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override;
    int joinThread(pthread_t thread, const char *name) override;
    void waitingFor(const char *name) override;
    void writeStandardOutput(std::string_view text) override;
    [[noreturn]] void exitNow(int status) override;
    void raiseDefault(int signal) override;

private:
    mutable std::mutex mutex; // guards all below
    int creations = 0;
    int failFrom = -1;
    int failError = 0;
    int joinError = 0;
    int lastSignal = 0;
    std::string written;
    std::vector<std::string> names;
    std::vector<std::string> waitNames;
    IorbHostProcess *outer;
};
