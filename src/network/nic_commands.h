#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What a shell line printed, cut as fgets() cuts it: at each newline, which stays, and at the
/// length of the buffer.
struct ORB_COMMAND_OUTPUT {
    bool started = false; ///< false: no shell could be started
    int err = 0;          ///< errno of a failed start
    std::vector<std::string> pieces;

    std::string joined() const;
};

/// Runs a line and reads its output to the end, or to 64 KiB; the line's status doesn't count. Any
/// thread. @param pieceBytes  most bytes of a piece, its NUL not counted
ORB_COMMAND_OUTPUT read_command(const std::string &line, std::size_t pieceBytes);

/// Runs a line to its end and drops its output. @return whether it could be started
bool run_command(const std::string &line);

/// Reads a data file of the host, at most 1 MiB of it. @param hostPath  as commands know it
/// @return 0, or errno of the failed open
int read_data_file(const std::string &hostPath, std::string &text);

void remove_data_file(const std::string &hostPath); ///< no matter whether there is one
