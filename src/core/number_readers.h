#pragma once

#include <cstdint>
#include <string_view>

/// Numbers in text from outside. Leading white space and a sign are taken, reading stops at the
/// first character that is no digit, a text without digits is 0, and a value beyond the type stays
/// at its limit. Nothing throws; any thread.

/// Base 10, as strtoll reads it.
std::int64_t read_decimal(std::string_view text);

/// Base 16 with or without "0x", as strtoull reads it.
std::uint64_t read_hexadecimal(std::string_view text);

/// The text behind a position, "" where the position lies at or beyond the end.
std::string_view text_behind(std::string_view text, std::size_t position);
