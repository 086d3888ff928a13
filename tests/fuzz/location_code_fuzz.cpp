#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "vendor/location_code.h"

namespace {
bool same(const PHYSICAL_LOCATION &one, const PHYSICAL_LOCATION &other) {
    return one.generation == other.generation && one.type == other.type && one.rack == other.rack &&
           one.unit == other.unit && one.partition == other.partition && one.slot == other.slot &&
           one.extra == other.extra;
}
std::string digits_of(std::uint64_t code) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llX", static_cast<unsigned long long>(code));
    return text;
}
} // namespace

/// Any text as a location code, and any bytes as a place: what one side takes, the other gives
/// back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    PHYSICAL_LOCATION location;
    std::string error;
    std::uint64_t code = 0;
    if (decode_location(text, location, error)) {
        if (encode_location(location, &code) != 0) std::abort();
        std::string upper = text;
        for (char &c : upper)
            if (c >= 'a') c = static_cast<char>(c - 'a' + 'A');
        if (digits_of(code) != upper) std::abort();
    } else if (error.empty()) {
        std::abort();
    }
    if (readable_location(text).empty() != text.empty()) std::abort();
    if (size < 7) return 0;
    const PHYSICAL_LOCATION place{1 + (data[0] & 1), data[1], data[2], data[3],
                                  data[4],           data[5], data[6]};
    if (encode_location(place, &code) != 0) return 0;
    if (code == ~std::uint64_t{0}) std::abort();
    if (!decode_location(digits_of(code), location, error) || !same(place, location)) std::abort();
    return 0;
}
