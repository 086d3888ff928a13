#pragma once

#include <string>
#include <string_view>

/// Text from outside as part of one output line: control characters become blanks, bytes that are
/// no UTF-8 become "?", and blanks at both ends go. Pure.
std::string one_line(std::string_view text);

/// Whether a text holds a word, whatever the case of ASCII letters. @param word  in lower case
bool holds_word(std::string_view text, std::string_view word);

/// The decimal number at a text's start; false where there is none or it exceeds 64 bits.
bool leading_number(std::string_view text, unsigned long long &number);
