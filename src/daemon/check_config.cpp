#include "daemon/check_config.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string_view>
#include <vector>

#include "core/config_trace.h"
#include "daemon/daemon_life.h"
#include "daemon/exit_status.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostProcess.h"

namespace {
constexpr std::size_t COLUMNS = 5;
constexpr std::size_t WIDEST_CELL = 48;  // bytes; a longer text of the file is cut
constexpr std::size_t WIDEST_LINE = 160; // bytes, of a reason or the parser's words
constexpr int PARSER_LINES = 6;
using Row = std::array<std::string, COLUMNS>;

/// A text from outside as one harmless cell.
std::string cell(std::string_view text, std::size_t widest = WIDEST_CELL) {
    std::string out;
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (byte >= 0x20 && byte != 0x7F) {
            out += letter;
        } else {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(byte));
            out += escaped;
        }
        if (out.size() > widest) {
            // Not within a letter of several bytes.
            std::size_t end = widest - 3;
            while (end > 0 && (static_cast<unsigned char>(out[end]) & 0xC0) == 0x80) --end;
            return out.substr(0, end) + "...";
        }
    }
    return out;
}

/// Letters of a UTF-8 text, for the width of its column.
std::size_t width(const std::string &text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char letter) {
        return (static_cast<unsigned char>(letter) & 0xC0) != 0x80;
    }));
}

std::string table_text(const std::vector<Row> &rows) {
    std::array<std::size_t, COLUMNS> widths = {};
    for (const Row &row : rows)
        for (std::size_t at = 0; at < COLUMNS; ++at)
            widths[at] = std::max(widths[at], width(row[at]));
    std::string text;
    for (const Row &row : rows) {
        std::string line;
        for (std::size_t at = 0; at < COLUMNS; ++at)
            line += row[at] + std::string(widths[at] - width(row[at]) + 2, ' ');
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

/// What the parser says, which may be long for a file that is no text.
std::string first_lines(const std::string &text) {
    std::istringstream in(text);
    std::string out, line;
    for (int left = PARSER_LINES; left > 0 && std::getline(in, line); --left)
        out += cell(line, WIDEST_LINE) + "\n";
    return out;
}

std::string file_text(const std::string &path, const ORB_CONFIG_TRACE &trace) {
    switch (trace.fileVerdict) {
    case ORB_CONFIG_FILE_USED:
        return path + " is used.\n";
    case ORB_CONFIG_FILE_ENDS_PROCESS:
        return path + " keeps the daemon from starting: it " + cell(trace.fileReason, WIDEST_LINE) +
               ".\n";
    case ORB_CONFIG_FILE_UNPARSABLE:
        return path + " is not used, the built-in defaults are: it is not valid JSON.\n" +
               first_lines(trace.fileReason);
    case ORB_CONFIG_FILE_MISSING:
    case ORB_CONFIG_FILE_TOO_FEW:
        break;
    }
    return path + " is not used, the built-in defaults are: it " +
           cell(trace.fileReason, WIDEST_LINE) + ".\n";
}
} // namespace

int print_config_check(const std::string &file) {
    const std::string path = file.empty() ? IorbHostFiles::get().map(ORB_CONFIG_FILE) : file;
    std::ifstream in(path);
    const ORB_CONFIG_TRACE trace = check_config(in);

    std::vector<Row> rows = {{"KEY", "IN FILE", "USED", "RESULT", "REASON"}};
    for (const ORB_CONFIG_FINDING &finding : trace.findings)
        rows.push_back({cell(finding.key),
                        finding.verdict == ORB_CONFIG_ABSENT ? "-" : cell(finding.textInFile),
                        finding.valueUsed.empty() ? "-" : cell(finding.valueUsed),
                        verdict_text(finding.verdict), cell(finding.reason, WIDEST_LINE)});
    IorbHostProcess::get().writeStandardOutput(file_text(path, trace) + "\n" + table_text(rows));
    return trace.isTakenAsWritten() ? ORB_EXIT_DONE : ORB_EXIT_NOT_AS_WRITTEN;
}
