#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "storage/storage_utils.h"

/// Two bytes that say where to begin and how far to go, and a device's words: each character comes
/// from its half of its word, what lies behind the words is zero, and nothing else is written.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    if (size < 2) return 0;
    const std::size_t first = data[0], count = data[1];
    std::vector<std::uint16_t> words((size - 2) / 2);
    for (std::size_t i = 0; i < words.size(); ++i)
        words[i] = static_cast<std::uint16_t>(data[2 + 2 * i] | data[3 + 2 * i] << 8);
    std::vector<char> text(2 * count + 1, 'x');
    get_ata_string(text.data(), words, first, count);
    if (text.back() != 'x') std::abort();
    for (std::size_t i = 0; i < 2 * count; ++i) {
        const std::size_t word = first + i / 2;
        const int wanted = word >= words.size() ? 0
                           : i % 2 == 0         ? words[word] >> 8
                                                : words[word] & 0xFF;
        if (static_cast<unsigned char>(text[i]) != wanted) std::abort();
    }
    return 0;
}
