#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/host_texts.h"

/// Any output of the version command: the value holds no white space, and all else that stands
/// behind the first colon.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const auto isBlank = [](unsigned char byte) { return std::isspace(byte) != 0; };
    const std::string value = decode_version_answer(text);
    if (std::any_of(value.begin(), value.end(), isBlank)) std::abort();

    const std::size_t colon = text.find(':');
    const std::string_view behind =
        colon == std::string_view::npos ? std::string_view() : text.substr(colon + 1);
    const auto blanks = std::count_if(behind.begin(), behind.end(), isBlank);
    if (value.size() + static_cast<std::size_t>(blanks) != behind.size()) std::abort();
    return 0;
}
