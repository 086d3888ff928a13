#pragma once

#include <signal.h>

#include <string>

/// The signals of a lab that runs: those that ask it to end, and the end of a child, as a
/// descriptor to be polled; those that must not end it are held back. In force from take() to
/// destruction. One thread, which is the process's only one.
class LabSignals {
public:
    LabSignals() = default;
    ~LabSignals();
    LabSignals(const LabSignals &) = delete;
    LabSignals &operator=(const LabSignals &) = delete;

    bool take(std::string &error); ///< @param error  takes "what: why"
    int descriptor() const { return fd; }
    bool isAskedToEnd(); ///< reads all that have come: whether one was SIGINT, SIGTERM or SIGHUP
    const sigset_t &formerMask() const { return former; } ///< for a child

private:
    int fd = -1;
    sigset_t former{};
};
