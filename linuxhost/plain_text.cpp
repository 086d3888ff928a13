#include "plain_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace {
/// Length of the well-formed UTF-8 character at the start of a text, 0 where there is none.
std::size_t utf8_length(std::string_view text) {
    const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
    for (std::size_t at = 1; at < length; ++at)
        if ((byte(at) & 0xC0) != 0x80) return 0;
    // Over-long forms, surrogates, and what lies beyond U+10FFFF.
    if ((first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F)) return 0;
    if ((first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F)) return 0;
    return length;
}
} // namespace

std::string one_line(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = utf8_length(text);
        const auto first = static_cast<unsigned char>(text.front());
        if (length == 0)
            line += '?';
        else if (first < 0x20 || first == 0x7F)
            line += ' ';
        else
            line += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    const std::size_t from = line.find_first_not_of(' ');
    if (from == std::string::npos) return {};
    return line.substr(from, line.find_last_not_of(' ') - from + 1);
}

bool holds_word(std::string_view text, std::string_view word) {
    const auto same = [](char letter, char wanted) {
        const char lower =
            letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
        return lower == wanted;
    };
    return std::search(text.begin(), text.end(), word.begin(), word.end(), same) != text.end();
}

bool leading_number(std::string_view text, unsigned long long &number) {
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
}
