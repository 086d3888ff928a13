#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "network/nic_details.h"

/// Any bytes as the lines that name a firmware version: a version is one line of the text, and
/// without a colon there is none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    std::string version = "untouched";
    const bool found = read_firmware_version(text, version);
    if (found != (text.find(':') != std::string_view::npos)) std::abort();
    if (!found) {
        if (version != "untouched") std::abort();
        return 0;
    }
    if (version.find('\n') != std::string::npos) std::abort();
    if (text.find(version) == std::string_view::npos) std::abort();
    return 0;
}
