#include "os_release.h"

#include <optional>

namespace {
bool is_blank(char letter) {
    return letter == ' ' || letter == '\t' || letter == '\r';
}

bool is_name_letter(char letter) {
    return (letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z') ||
           (letter >= '0' && letter <= '9') || letter == '_';
}

/// The value behind "NAME=": quoted and unquoted stretches may follow each other, an unquoted
/// blank ends it. Only a comment may stand behind it.
std::optional<std::string> unquote(std::string_view text) {
    std::string value;
    char quote = 0;
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const char letter = text[at];
        if (quote == 0 && is_blank(letter)) break;
        if (letter == quote || (quote == 0 && (letter == '"' || letter == '\''))) {
            quote = quote == 0 ? letter : char{0};
        } else if (letter == '\\' && quote != '\'') {
            if (++at == text.size()) return std::nullopt;
            // Within double quotes only these four lose their backslash.
            const bool special =
                std::string_view("\"\\$`").find(text[at]) != std::string_view::npos;
            if (quote == '"' && !special) value += '\\';
            value += text[at];
        } else {
            value += letter;
        }
    }
    if (quote != 0) return std::nullopt;
    while (at < text.size() && is_blank(text[at])) ++at;
    if (at < text.size() && text[at] != '#') return std::nullopt;
    return value;
}
} // namespace

std::map<std::string, std::string, std::less<>> parse_os_release(std::string_view text) {
    std::map<std::string, std::string, std::less<>> values;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);

        while (!line.empty() && is_blank(line.front())) line.remove_prefix(1);
        std::size_t nameEnd = 0;
        while (nameEnd < line.size() && is_name_letter(line[nameEnd])) ++nameEnd;
        if (nameEnd == 0 || nameEnd == line.size() || line[nameEnd] != '=') continue;
        if (auto value = unquote(line.substr(nameEnd + 1)))
            values.insert_or_assign(std::string(line.substr(0, nameEnd)), std::move(*value));
    }
    return values;
}
