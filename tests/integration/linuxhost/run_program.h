#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

struct PROGRAM_RESULT {
    int status = -1; ///< exit status, -1 after a signal
    std::string text;
};

/// From now on shell lines of this process find the built host commands first and, where a root is
/// given, see the machine below it.
inline void use_host_commands(const std::string &root) {
    static const std::string outer = [] {
        const char *path = std::getenv("PATH");
        return std::string(path == nullptr ? "/usr/bin:/bin" : path);
    }();
    ::setenv("PATH", (ORB_LINUXHOST_DIR ":" + outer).c_str(), 1);
    ::setenv("ORB_ROOT", root.c_str(), 1);
    ::setenv("LC_ALL", "C", 1);
}

/// Runs a shell line with the built host commands first in the search path and, where given, on the
/// machine below a root. @return what it printed on standard output
inline PROGRAM_RESULT run_line(const std::string &line, const std::string &root = "") {
    use_host_commands(root);
    PROGRAM_RESULT result;
    std::FILE *output = ::popen(line.c_str(), "re");
    if (output == nullptr) {
        ADD_FAILURE() << line;
        return result;
    }
    char piece[4096];
    for (std::size_t got; (got = std::fread(piece, 1, sizeof piece, output)) > 0;)
        result.text.append(piece, got);
    const int status = ::pclose(output);
    if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
    return result;
}
