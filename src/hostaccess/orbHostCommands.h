#pragma once

#include <cstdio>
#include <string>

struct ORB_COMMAND_RESULT {
    int status; ///< as system(3) gives it: a wait status, -1 where no shell could be started
    int err;    ///< errno right after the call; 0 where the call left none
};

/// Shell lines. Commands inherit the caller's blocked signals.
class IorbHostCommands {
public:
    virtual ~IorbHostCommands() = default;
    /// Runs a line and waits for its end.
    virtual ORB_COMMAND_RESULT system(const std::string &line) = 0;
    /// Starts a line whose standard output can be read from the result.
    /// @param err  takes errno of a failed start, 0 otherwise
    /// @return null where the line could not be started; else to be ended with pclose()
    virtual std::FILE *popen(const std::string &line, int *err) = 0;
    /// Waits for the line's end. @return its wait status, -1 on failure
    virtual int pclose(std::FILE *stream) = 0;

    static IorbHostCommands &get(); ///< the host's own, or those put in by replace()
    static IorbHostCommands *
    replace(IorbHostCommands *next); ///< gives the former; null: the host's
};
