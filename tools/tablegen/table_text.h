#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Why no table can be made of a file.
struct TABLE_FAULT {
    std::size_t line = 0; ///< from 1; 0: the file as a whole
    std::string why;      ///< empty: there is no fault
};

/// The lines of a text, without their newlines. The last one needs none.
class TableLines {
public:
    explicit TableLines(std::string_view text) : rest(text) {}
    bool next(std::string_view &line);           ///< false at the end
    std::size_t number() const { return count; } ///< of the line that next() gave last

private:
    std::string_view rest;
    std::size_t count = 0;
};

/// Whether a text is well-formed UTF-8 (RFC 3629) without control characters.
bool is_plain_text(std::string_view text);

/// Whether a text is of a length and all lower-case hexadecimal digits.
bool is_hexadecimal(std::string_view text, std::size_t digits);

/// A text as a C++ string literal with its quotes; what is not printable ASCII becomes escapes.
std::string string_literal(std::string_view text);
