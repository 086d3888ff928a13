#pragma once

#include <chrono>
#include <string>

/// What a command in the machine came to.
struct VM_OUTPUT {
    int status = -1;  ///< as a shell tells it; 137 where it was killed at its limit
    std::string text; ///< of both outputs, at most 16 MiB
};

/// The host's end of the command channel; tests/vm/guest/usr/sbin/orb-agent is the other one. One
/// command at a time. One thread.
class VmAgent {
public:
    using SECONDS = std::chrono::seconds;
    /// What the machine may take beyond a command's own limit, to start it and to hand its output
    /// over.
    static constexpr SECONDS GRACE{20};

    VmAgent() = default;
    ~VmAgent() { use(-1); }
    VmAgent(const VmAgent &) = delete;
    VmAgent &operator=(const VmAgent &) = delete;

    void use(int descriptor); ///< a stream socket, the agent's from now on; -1: none

    /// Waits until a boot other than the last one says that it is ready. What was under way is
    /// lost.
    /// @param error  takes why not, on failure
    bool awaitBoot(std::chrono::milliseconds limit, std::string &error);
    /// Runs a shell text. @param limit  then it is killed in the machine
    bool run(const std::string &command, SECONDS limit, VM_OUTPUT &output, std::string &error);
    /// Sends a shell text whose answer may never come, since it ends this boot.
    bool post(const std::string &command, std::string &error);

private:
    using DEADLINE = std::chrono::steady_clock::time_point;
    bool send(const std::string &command, SECONDS limit, std::string &error);
    bool fill(DEADLINE deadline, std::string &error); // more bytes into `pending`
    bool takeLine(DEADLINE deadline, std::string &line, std::string &error);

    int fd = -1;
    std::string pending;
    std::string boot; // the kernel's name of it
    unsigned number = 0;
};
