#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "storage/storage_utils.h"

/// Any text as a link or path of a SCSI host: what is found stands behind a "/" of it, and nothing
/// of the kind follows the last one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const char *const path = text.c_str();
    const char *last = nullptr;
    for (const char *hit = strstr_pcilocation(path); hit != nullptr;
         hit = strstr_pcilocation(hit + 1)) {
        if (hit < path || *hit != '/' || std::strlen(hit) < 6 || hit[5] != ':') std::abort();
        if (std::string_view(hit + 1, 4).find_first_not_of("0123456789abcdefABCDEF") !=
            std::string_view::npos)
            std::abort();
        last = hit + 1;
    }
    const std::string location = last_pci_location(path);
    if ((last == nullptr) != location.empty() || location.size() > 12) std::abort();
    if (last != nullptr) {
        if (std::strncmp(last, location.c_str(), location.size()) != 0) std::abort();
        if (location.size() < 12 && location.size() != std::strlen(last)) std::abort();
    }

    // Trimming gives a part of the same text that begins and ends with no white space.
    std::string spaced = path;
    const char *const trimmed = trim_surrounding_whitespace(spaced.data());
    if (trimmed < spaced.data() || trimmed > spaced.data() + spaced.size()) std::abort();
    const std::string_view rest = trimmed;
    constexpr const char *SPACE = " \t\n\v\f\r";
    if (!rest.empty() &&
        (std::strchr(SPACE, rest.front()) != nullptr || std::strchr(SPACE, rest.back()) != nullptr))
        std::abort();
    if (std::strstr(path, trimmed) == nullptr) std::abort();
    return 0;
}
