#include "vendor/location_code.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace {
constexpr std::size_t DIGITS = 16;
constexpr std::uint8_t MARKS[] = {0x02, 0x03}; // first byte of a code, by generation
constexpr std::uint8_t TWO_DIGITS = 99, ONE_DIGIT = 9;

struct KIND {
    int generation;
    std::uint8_t type;
    const char *name, *extra; // `extra` names the last field; null: this kind has none
};
constexpr KIND KINDS[] = {
    {1, 3, "I/O slot", nullptr},
    {1, 56, "drive bay of the chassis", "bay"},
    {1, 59, "network port on board", "port"},
    {1, 64, "storage backplane of the chassis", "box"},
    {1, 69, "external drive", nullptr},
    {2, 3, "I/O slot", nullptr},
    {2, 45, "drive bay of the chassis", "bay"},
    {2, 48, "network port on board", "port"},
    {2, 53, "storage backplane of the chassis", nullptr},
    {2, 61, "external drive", nullptr},
};

const KIND *kind_of(const PHYSICAL_LOCATION &location) {
    for (const KIND &each : KINDS)
        if (each.generation == location.generation && each.type == location.type) return &each;
    return nullptr;
}

using CODE = std::array<std::uint8_t, 8>; // most significant byte first

/// Catches wrong digits and digits that changed places, nearly always.
std::uint8_t check_of(const CODE &code) {
    unsigned sum = 0;
    for (std::size_t i = 0; i + 1 < code.size(); ++i) sum += static_cast<unsigned>(i + 1) * code[i];
    return static_cast<std::uint8_t>(sum % 251);
}

bool is_unknown(const std::string &code) {
    return code.size() == DIGITS && code.find_first_not_of("Ff") == std::string::npos;
}

__attribute__((format(printf, 1, 2))) std::string text_of(const char *format, ...) {
    char text[128];
    std::va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    return text;
}
} // namespace

int encode_location(const PHYSICAL_LOCATION &location, std::uint64_t *code) {
    const KIND *kind = kind_of(location);
    if (kind == nullptr) return LOCATION_UNKNOWN_TYPE;
    const bool isFirst = location.generation == 1;
    if (location.unit > TWO_DIGITS || location.slot > TWO_DIGITS ||
        location.partition > (isFirst ? ONE_DIGIT : 0) ||
        (kind->extra == nullptr && location.extra != 0))
        return LOCATION_OUT_OF_RANGE;
    CODE bytes{MARKS[isFirst ? 0 : 1], kind->type,    location.rack,  location.unit,
               location.partition,     location.slot, location.extra, 0};
    bytes.back() = check_of(bytes);
    std::uint64_t value = 0;
    for (const std::uint8_t byte : bytes) value = value << 8 | byte;
    *code = value;
    return 0;
}

bool decode_location(const std::string &text, PHYSICAL_LOCATION &location, std::string &error) {
    if (text.size() != DIGITS) {
        error =
            text_of("must have %zu hexadecimal digits, not %zu characters", DIGITS, text.size());
        return false;
    }
    if (is_unknown(text)) {
        error = "is the code of an unknown location";
        return false;
    }
    CODE bytes{};
    for (std::size_t i = 0; i < DIGITS; ++i) {
        const char c = text[i];
        unsigned digit = 0;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned>(c - '0');
        } else if (c >= 'A' && c <= 'F') {
            digit = static_cast<unsigned>(c - 'A' + 10);
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned>(c - 'a' + 10);
        } else {
            error = text_of("character %zu is no hexadecimal digit", i + 1);
            return false;
        }
        bytes[i / 2] = static_cast<std::uint8_t>(unsigned{bytes[i / 2]} << 4 | digit);
    }
    PHYSICAL_LOCATION read;
    if (bytes[0] == MARKS[1]) {
        read.generation = 2;
    } else if (bytes[0] != MARKS[0]) {
        error = text_of("begins with %02X; codes of the lab begin with 02 or 03", bytes[0]);
        return false;
    }
    if (bytes.back() != check_of(bytes)) {
        error = text_of("ends with %02X, but its other digits ask for %02X", bytes.back(),
                        check_of(bytes));
        return false;
    }
    read.type = bytes[1];
    read.rack = bytes[2];
    read.unit = bytes[3];
    read.partition = bytes[4];
    read.slot = bytes[5];
    read.extra = bytes[6];
    std::uint64_t again = 0;
    switch (encode_location(read, &again)) {
    case LOCATION_UNKNOWN_TYPE:
        error = text_of("names the unknown kind of unit %u", unsigned{bytes[1]});
        return false;
    case LOCATION_OUT_OF_RANGE:
        error = "names a place that no unit can have";
        return false;
    default:
        location = read;
        return true;
    }
}

std::string location_kind(const PHYSICAL_LOCATION &location) {
    const KIND *kind = kind_of(location);
    return kind != nullptr ? kind->name : "unknown";
}

std::string location_place(const PHYSICAL_LOCATION &location) {
    const KIND *kind = kind_of(location);
    std::string text = text_of("rack %u, ", unsigned{location.rack});
    if (location.generation == 1) {
        text += text_of("unit %u, partition %u, ", unsigned{location.unit},
                        unsigned{location.partition});
    } else {
        text += text_of("I/O element %u, ", unsigned{location.unit});
    }
    text += location.slot == 0 ? "on board" : text_of("slot %u", unsigned{location.slot});
    if (kind != nullptr && kind->extra != nullptr)
        text += text_of(", %s %u", kind->extra, unsigned{location.extra});
    return text;
}

std::string location_geo_id(const PHYSICAL_LOCATION &location) {
    const unsigned rack = location.rack, unit = location.unit, slot = location.slot;
    if (location.generation != 1) return text_of("r%03ui%02us%02u", rack, unit, slot);
    return text_of("r%03uu%02up%ui%02u", rack, unit, unsigned{location.partition}, slot);
}

std::string readable_location(const std::string &code) {
    if (is_unknown(code)) return "location unknown";
    PHYSICAL_LOCATION location;
    std::string error;
    return decode_location(code, location, error) ? location_place(location) : code;
}
