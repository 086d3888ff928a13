#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

/// A child process in a process group of its own. It ends with its owner, also when that is killed.
/// One thread, the same from start() to the end.
class VmProcess {
public:
    VmProcess() = default;
    ~VmProcess() { kill(); }
    VmProcess(const VmProcess &) = delete;
    VmProcess &operator=(const VmProcess &) = delete;

    /// @param command  the program, looked up in PATH, and its arguments
    /// @param output   file that takes what it writes to either output, begun anew
    /// @param kept     descriptors that it inherits under their numbers
    /// @param error    takes "what: why" on failure; a program that can't be executed ends with 127
    bool start(const std::vector<std::string> &command, const std::string &output,
               const std::vector<int> &kept, std::string &error);
    bool isRunning() { return child > 0 && !wait(std::chrono::milliseconds(0)); }
    /// @return the exit status, minus the signal that ended it, nothing while it runs on
    std::optional<int> wait(std::chrono::milliseconds limit);
    void kill(); ///< the whole group, at once, and waits for the end

private:
    pid_t child = -1;
    int handle = -1; // becomes readable at the child's end
    std::optional<int> status;
};
