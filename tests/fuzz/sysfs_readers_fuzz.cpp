#include "core/sysfs_readers.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {
struct NARROW_FORMAT {
    const char *format;
    const char *wideFormat; ///< same base and sign, 64 bits
    std::size_t widthBytes;
};
constexpr NARROW_FORMAT NARROW_FORMATS[] = {
    {"%lx", "%llx", 8}, {"%x", "%llx", 4},   {"%hx", "%llx", 2}, {"%hhx", "%llx", 1},
    {"%u", "%llu", 4},  {"%llu", "%llu", 8}, {"%d", "%ld", 4},   {"%ld", "%ld", 8},
};

/// The eight bytes at `out` after a decode over all ones.
std::uint64_t decoded(const char *text, const char *format) {
    std::uint64_t number = ~std::uint64_t{0};
    if (decode_sysfs_number(text, format, &number) != 0) std::abort();
    return number;
}
} // namespace

/// Any text as a sysfs number: every width gives the low bits of the widest one of its kind, and
/// writes nothing beyond itself.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    for (const NARROW_FORMAT &row : NARROW_FORMATS) {
        const std::uint64_t wide = decoded(text.c_str(), row.wideFormat);
        const std::uint64_t narrow = decoded(text.c_str(), row.format);
        const std::uint64_t mask = row.widthBytes == 8
                                       ? ~std::uint64_t{0}
                                       : (std::uint64_t{1} << (8 * row.widthBytes)) - 1;
        if ((wide & mask) != (narrow & mask)) std::abort();
        if ((narrow | mask) != ~std::uint64_t{0}) std::abort();
    }
    std::uint64_t untouched = 4711;
    if (decode_sysfs_number("1", text.c_str(), &untouched) != 0 && untouched != 4711) std::abort();
    return 0;
}
