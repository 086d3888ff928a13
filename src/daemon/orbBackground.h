#pragma once

#include <sys/types.h>

#include <optional>
#include <string_view>

#include "hostaccess/orbHostProcess.h"

/// The daemon's way into the background. The process that the user started stays until the daemon
/// is ready or has failed, and ends with its status, so that a start that fails is seen. What the
/// start has to say still reaches the user's standard error.
///
/// In force as process seam while it exists, over the one that was before: an end of the process
/// before it was ready is reported too. Made and used by the main thread before other threads run.
class orbBackground final : public IorbHostProcess {
public:
    orbBackground();
    ~orbBackground() override;
    orbBackground(const orbBackground &) = delete;
    orbBackground &operator=(const orbBackground &) = delete;

    /// Forks the daemon, in a session of its own, with "/" as working directory.
    /// @return nothing in the daemon's process; in the caller's the status to end with
    std::optional<int> enter();
    /// The daemon runs: ends the caller's wait, lets go of its terminal.
    void ready();
    /// The daemon ends with this status before it was ready.
    void failed(int status) { report(status); }

    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override {
        return inner->createThread(out, entry, arg);
    }
    int joinThread(pthread_t thread, const char *name) override {
        return inner->joinThread(thread, name);
    }
    void waitingFor(const char *name) override { inner->waitingFor(name); }
    void writeStandardOutput(std::string_view text) override { inner->writeStandardOutput(text); }
    [[noreturn]] void exitNow(int status) override;
    void raiseDefault(int signal) override { inner->raiseDefault(signal); }

private:
    void report(int status);

    IorbHostProcess *inner;
    int reportFd = -1; // in the daemon: takes the status, until it was reported
};
