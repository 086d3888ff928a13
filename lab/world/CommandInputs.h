#pragma once

#include <poll.h>

#include <string>
#include <vector>

/// The places where commands come in while the lab runs: standard input and a FIFO. One thread.
class CommandInputs {
public:
    CommandInputs() = default;
    ~CommandInputs();
    CommandInputs(const CommandInputs &) = delete;
    CommandInputs &operator=(const CommandInputs &) = delete;

    void useStandardInput();
    /// Opens a FIFO; makes it where it is missing, and then removes it at the end.
    /// @param error  takes "path: why"
    bool useFifo(const std::string &path, std::string &error);

    void addTo(std::vector<pollfd> &wanted) const;
    /// Reads what the poll found. @return finished lines, without their newlines
    std::vector<std::string> read(const std::vector<pollfd> &found);

private:
    struct INPUT {
        int fd;
        std::string partial;
    };
    std::vector<INPUT> inputs;
    int fifo = -1; // among the inputs; closed at the end
    std::string madeFifo;
};
