#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "storage/storage_utils.h"

/// Any text as a number: it is taken whole or not at all, and what was taken reads the same again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text = std::string(reinterpret_cast<const char *>(data), size).c_str();
    constexpr std::int32_t UNTOUCHED = 424242;
    std::int32_t number = UNTOUCHED;
    const int code = string_to_int(text.c_str(), &number);
    if (code > 0 || code < -7) std::abort();
    if (code != 0 && number != UNTOUCHED) std::abort();
    if ((code == -6) != text.empty()) std::abort();
    if (code == 0) {
        std::int32_t again = 0;
        if (string_to_int(std::to_string(number).c_str(), &again) != 0 || again != number)
            std::abort();
        if (string_to_int((text + "x").c_str(), &again) != -7 &&
            string_to_int((text + " ").c_str(), &again) != -7)
            std::abort();
    }
    return 0;
}
