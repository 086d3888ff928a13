#include "fakes/LogFile.h"

#include <regex>
#include <sstream>

LogFile::LogFile(TemporaryRoot &hostRoot, const std::string &more) : root(hostRoot) {
    root.makeDirectory("/opt/vantor/orb/log");
    root.makeDirectory("/scratch/log/vantor/orb");
    root.write("/etc/config/vantor/orb/orb.conf",
               std::string(R"({"LoggingLevel": "Info", "EnableDebugLog": "true", )") +
                   R"("ORBLogLocation": ")" + MAIN + R"(", "DebugLogLocation": ")" + DEBUG + '"' +
                   (more.empty() ? "" : ", ") + more + "}");
}

std::vector<LogFile::Line> LogFile::lines() const {
    static const std::regex head(
        R"(^[A-Z][a-z]{2} \d{1,2} \d{2}:\d{2}:\d{2} \[(ERROR|WARNING|INFO|DEBUG)\] *\d{3,4} ([A-Z_]+): )");
    std::vector<Line> found;
    for (const char *path : {MAIN, DEBUG}) {
        std::istringstream text(root.read(path));
        bool first = true;
        for (std::string line; std::getline(text, line);) {
            std::smatch match;
            if (std::regex_search(line, match, head)) {
                found.push_back({match[1], match[2], match.suffix()});
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
