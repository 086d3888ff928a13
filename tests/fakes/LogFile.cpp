#include "fakes/LogFile.h"

#include <cstdio>
#include <sstream>
#include <string_view>

namespace {
/// Takes a line such as "Jan 3 08:04:09 [INFO]   042 JOB_MGR: text" apart; false for any other.
bool read_head(const std::string &line, LogFile::Line &out) {
    char month[4], level[8], module[32];
    int day = 0, hour = 0, minute = 0, second = 0, number = 0, end = -1;
    std::sscanf(line.c_str(), "%3[A-Za-z] %d %d:%d:%d [%7[A-Z]] %d %31[A-Z_]:%n", month, &day,
                &hour, &minute, &second, level, &number, module, &end);
    if (end < 0 || line.compare(static_cast<std::size_t>(end), 1, " ") != 0) return false;
    for (const std::string_view known : {"ERROR", "WARNING", "INFO", "DEBUG"}) {
        if (known != level) continue;
        out = {level, module, line.substr(static_cast<std::size_t>(end) + 1)};
        return true;
    }
    return false;
}
} // namespace

LogFile::LogFile(TemporaryRoot &hostRoot, const std::string &more) : root(hostRoot) {
    root.makeDirectory("/opt/vantor/orb/log");
    root.makeDirectory("/scratch/log/vantor/orb");
    root.write("/etc/config/vantor/orb/orb.conf",
               std::string(R"({"LoggingLevel": "Info", "EnableDebugLog": "true", )") +
                   R"("ORBLogLocation": ")" + MAIN + R"(", "DebugLogLocation": ")" + DEBUG + '"' +
                   (more.empty() ? "" : ", ") + more + "}");
}

std::vector<LogFile::Line> LogFile::lines() const {
    std::vector<Line> found;
    for (const char *path : {MAIN, DEBUG}) {
        std::istringstream text(root.read(path));
        bool first = true;
        Line entry;
        for (std::string line; std::getline(text, line);) {
            if (read_head(line, entry)) {
                found.push_back(entry);
                first = false;
            } else if (!first) {
                found.back().text += '\n' + line; // a message with a newline inside
            }
        }
    }
    return found;
}

int LogFile::count(const std::string &level, const std::string &module,
                   const std::string &text) const {
    int sum = 0;
    for (const Line &line : lines())
        if (line.level == level && line.module == module && line.text == text) ++sum;
    return sum;
}

int LogFile::countHolding(const std::string &level, const std::string &module,
                          const std::string &part) const {
    int sum = 0;
    for (const Line &line : lines())
        if (line.level == level && line.module == module &&
            line.text.find(part) != std::string::npos)
            ++sum;
    return sum;
}
