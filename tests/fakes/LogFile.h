#pragma once

#include <string>
#include <vector>

#include "fakes/TemporaryRoot.h"

/// The daemon's log as two files of a temporary root. Make one, with the root, before anything
/// logs. It writes the configuration file; other keys go in by `more`. Any thread may ask while
/// others log, and sees the lines that are written by then.
class LogFile {
public:
    struct Line {
        std::string level; ///< "ERROR", "WARNING", "INFO", "DEBUG"
        std::string module;
        std::string text; ///< may hold newlines
    };

    /// @param more  further members of the configuration, as `"Key": "value", ...`, or ""
    explicit LogFile(TemporaryRoot &hostRoot, const std::string &more = "");

    std::vector<Line> lines() const; ///< of both channels: the main log's, then the debug log's
    /// How many lines have this level, tag and exact text.
    int count(const std::string &level, const std::string &module, const std::string &text) const;
    /// How many lines have this level and tag, and hold the text.
    int countHolding(const std::string &level, const std::string &module,
                     const std::string &part) const;

    static constexpr const char *MAIN = "/var/log/orb/orb.log";
    static constexpr const char *DEBUG = "/var/log/orb/orb-debug.log";

private:
    TemporaryRoot &root;
};

/// Same as log.count(...), for EXPECT lines that read like the log itself.
#define EXPECT_LOGGED(log, level, module, text)                                                    \
    EXPECT_GE((log).count(level, module, text), 1)                                                 \
        << "no such line: " << (level) << " " << (module) << ": " << (text)
#define EXPECT_NOT_LOGGED(log, level, module, text) EXPECT_EQ((log).count(level, module, text), 0)
