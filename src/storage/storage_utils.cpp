#include "storage/storage_utils.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numeric>

namespace {
constexpr std::size_t PCI_ADDRESS_LENGTH = 12;

bool is_hexadecimal_digit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
bool is_white_space(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Whether "/0000:" or the like stands here. No byte behind the text's end is looked at.
bool begins_pci_location(const char *text) {
    for (std::size_t i = 1; i <= 4; ++i)
        if (!is_hexadecimal_digit(text[i])) return false;
    return text[5] == ':';
}

std::uint64_t magnitude(std::int64_t number) {
    const auto bits = static_cast<std::uint64_t>(number);
    return number < 0 ? 0 - bits : bits;
}
} // namespace

const char *strstr_pcilocation(const char *path) {
    if (path == nullptr) return nullptr;
    for (const char *slash = std::strchr(path, '/'); slash != nullptr;
         slash = std::strchr(slash + 1, '/'))
        if (begins_pci_location(slash)) return slash;
    return nullptr;
}

std::string last_pci_location(const char *path) {
    const char *last = nullptr;
    for (const char *hit = strstr_pcilocation(path); hit != nullptr;
         hit = strstr_pcilocation(hit + 1))
        last = hit + 1;
    if (last == nullptr) return {};
    return {last, ::strnlen(last, PCI_ADDRESS_LENGTH)};
}

char *trim_surrounding_whitespace(char *text) {
    if (text == nullptr) return nullptr;
    for (std::size_t length = std::strlen(text); length > 0 && is_white_space(text[length - 1]);
         --length)
        text[length - 1] = '\0';
    while (is_white_space(*text)) ++text;
    return text;
}

void get_ata_string(char *dst, std::span<const std::uint16_t> words, std::size_t firstWord,
                    std::size_t wordCount) {
    for (std::size_t i = 0; i < wordCount; ++i) {
        const bool isThere = firstWord < words.size() && i < words.size() - firstWord;
        const unsigned word = isThere ? words[firstWord + i] : 0;
        dst[2 * i] = static_cast<char>(word >> 8);
        dst[2 * i + 1] = static_cast<char>(word & 0xFF);
    }
}

std::int64_t compute_gcd(std::int64_t a, std::int64_t b) {
    return static_cast<std::int64_t>(std::gcd(magnitude(a), magnitude(b)));
}

int string_to_int(const char *text, std::int32_t *out) {
    if (text == nullptr || out == nullptr) return -3;
    errno = 0;
    char *end = nullptr;
    const long number = std::strtol(text, &end, 0);
    if (errno == ERANGE && number == std::numeric_limits<long>::min()) return -1;
    if (errno == ERANGE && number == std::numeric_limits<long>::max()) return -2;
    if (errno == EINVAL) return -3;
    if (number < std::numeric_limits<std::int32_t>::min()) return -4;
    if (number > std::numeric_limits<std::int32_t>::max()) return -5;
    if (*text == '\0') return -6;
    if (*end != '\0') return -7;
    *out = static_cast<std::int32_t>(number);
    return 0;
}
