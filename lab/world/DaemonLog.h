#pragma once

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <json/json.h>

/// Follows one log file from its start as it grows.
class LogTail {
public:
    explicit LogTail(std::string file) : path(std::move(file)) {}
    /// The lines that were finished since the last call. A line is cut at 64 KiB.
    std::vector<std::string> newLines();

private:
    const std::string path;
    ino_t inode = 0;
    std::int64_t offset = 0;
    std::string partial;
    bool tooLong = false; // the rest of the line is dropped
};

/// Turns the daemon's log lines into what a person wants to know while waiting. Starts anew with
/// each of the daemon's lives.
class DaemonProgress {
public:
    /// @return a line for a person, none where the log line says nothing new
    std::optional<std::string> read(const std::string &logLine);

private:
    /// The line's object, when it reads otherwise than before. @param keyPath  of its name
    std::optional<std::string> unit(const std::string &line, const char *keyPath, const char *kind,
                                    std::string (*textOf)(const Json::Value &));
    std::optional<std::string> firstCache(const std::string &tag);

    std::map<std::string, std::string> units; // what was last told, by name
    std::vector<std::string> cached;          // module tags whose first cache is there
    std::map<std::string, int> unready;       // passes that found a manager not ready, by its name
};
