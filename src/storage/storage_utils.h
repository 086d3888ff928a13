#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>

/// Small helpers of the storage room. Pure; any thread.

struct FREE_TEXT {
    void operator()(char *text) const { std::free(text); }
};
/// A text from malloc(), given back at the end of the scope.
using HEAP_TEXT = std::unique_ptr<char, FREE_TEXT>;

/// The next "/" of a path behind which a PCI address may stand: four hexadecimal digits and a ":"
/// follow it. Null where there is none, or for null.
const char *strstr_pcilocation(const char *path);

/// The last PCI address of a path, "0000:65:00.0": at most 12 characters behind the last such "/",
/// fewer where the path ends before. "" where there is none.
std::string last_pci_location(const char *path);

/// Overwrites trailing white space by NULs. @return the first character that isn't white space,
/// the text's end where there is none; null for null
char *trim_surrounding_whitespace(char *text);

/// A text of an ATA device: two characters to the word, the first one in the upper byte.
/// @param dst    takes 2 * wordCount bytes, without a NUL behind them
/// @param words  of the device; those beyond its end read as 0
void get_ata_string(char *dst, std::span<const std::uint16_t> words, std::size_t firstWord,
                    std::size_t wordCount);

/// Greatest common divisor, never negative but for one result that a signed number has no room
/// for; 0 and a number give that number.
std::int64_t compute_gcd(std::int64_t a, std::int64_t b);

/// A whole text as a number, in base 8 behind "0", 16 behind "0x", else 10, with leading white
/// space and a sign. Tested in this order:
/// @return 0 with `out` written, else `out` is left alone: -1 below, -2 above 64 bits, -3 no text
///         or no `out` or refused by the library, -4 below, -5 above 32 bits, -6 empty, -7
///         characters are left over
int string_to_int(const char *text, std::int32_t *out);
