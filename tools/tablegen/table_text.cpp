#include "tools/tablegen/table_text.h"

#include <algorithm>
#include <cstdint>

namespace {
/// Length of the UTF-8 character at the start of a text that isn't empty, 0 where there is none.
std::size_t utf8_length(std::string_view text) {
    const auto byte = [text](std::size_t at) { return static_cast<std::uint8_t>(text[at]); };
    const std::uint8_t first = byte(0);
    const std::size_t length = first < 0x80                    ? 1
                               : first >= 0xC2 && first < 0xE0 ? 2
                               : first >= 0xE0 && first < 0xF0 ? 3
                               : first >= 0xF0 && first < 0xF5 ? 4
                                                               : 0;
    if (length == 0 || text.size() < length) return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;
    // What could be written shorter, the halves of surrogate pairs, and what lies beyond U+10FFFF.
    if ((first == 0xE0 && byte(1) < 0xA0) || (first == 0xED && byte(1) > 0x9F) ||
        (first == 0xF0 && byte(1) < 0x90) || (first == 0xF4 && byte(1) > 0x8F))
        return 0;
    return length;
}
} // namespace

bool TableLines::next(std::string_view &line) {
    if (rest.empty()) return false;
    const std::size_t end = rest.find('\n');
    line = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    ++count;
    return true;
}

bool is_plain_text(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = utf8_length(text);
        const auto first = static_cast<std::uint8_t>(text.front());
        if (length == 0 || first < 0x20 || first == 0x7F) return false;
        // U+0080 to U+009F are control characters too.
        if (first == 0xC2 && static_cast<std::uint8_t>(text[1]) < 0xA0) return false;
        text.remove_prefix(length);
    }
    return true;
}

bool is_hexadecimal(std::string_view text, std::size_t digits) {
    return text.size() == digits && std::all_of(text.begin(), text.end(), [](char character) {
               return (character >= '0' && character <= '9') ||
                      (character >= 'a' && character <= 'f');
           });
}

std::string string_literal(std::string_view text) {
    std::string literal = "\"";
    for (const char character : text) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte >= 0x20 && byte < 0x7F) {
            // Behind a "?" another one could be read as the start of a trigraph.
            if (character == '"' || character == '\\' ||
                (character == '?' && literal.back() == '?'))
                literal += '\\';
            literal += character;
        } else {
            // Always three octal digits, so that a digit of the text can't join in.
            literal += '\\';
            for (const unsigned shift : {6U, 3U, 0U})
                literal += static_cast<char>('0' + (byte >> shift & 7U));
        }
    }
    return literal + '"';
}
