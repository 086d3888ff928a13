#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <numeric>
#include <span>

#include "linuxhost/smbios_image.h"

/// First byte: the entry point's length; then the entry point, the rest is the table. An image
/// holds right sums and whole structures that its reader's walk crosses to the last byte.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size == 0) return 0;
    const std::span<const std::uint8_t> input(data + 1, size - 1);
    const std::size_t entryLength = data[0] < input.size() ? data[0] : input.size();
    const ORB_SMBIOS_IMAGE image =
        pack_smbios_image(input.first(entryLength), input.subspan(entryLength));
    if (image.bytes.empty() == image.error.empty()) std::abort();
    if (image.bytes.empty()) return 0;

    const std::span<const std::uint8_t> bytes(image.bytes);
    if (bytes.size() > SMBIOS_IMAGE_LIMIT) std::abort();
    const auto sum = [](std::span<const std::uint8_t> part) {
        return std::accumulate(part.begin(), part.end(), 0u) & 0xFF;
    };
    if (sum(bytes.first(SMBIOS_ENTRY_SIZE)) != 0 || sum(bytes.subspan(0x10, 0x0F)) != 0)
        std::abort();
    std::size_t at = SMBIOS_ENTRY_SIZE, count = 0;
    for (; at < bytes.size(); ++count) {
        if (bytes[at] == 127) std::abort();
        at += bytes[at + 1];
        while (at + 1 < bytes.size() && (bytes[at] != 0 || bytes[at + 1] != 0)) ++at;
        at += 2;
    }
    if (at != bytes.size() || count != image.structures) std::abort();
    return 0;
}
