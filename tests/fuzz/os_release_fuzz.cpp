#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "linuxhost/os_release.h"
#include "linuxhost/plain_text.h"
#include "linuxhost/system_version.h"

/// Any bytes as an os-release file, its last line as the kernel's release too. Whatever they say,
/// a search for the product and for the version meets one line each.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string_view kernel = text.substr(text.rfind('\n') + 1);
    const ORB_SYSTEM_VERSION version = choose_system_version(parse_os_release(text), kernel);
    std::istringstream lines(format_system_version(version));
    int products = 0, versions = 0, count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        if (!line.starts_with("   ")) std::abort();
        if (holds_word(line, "product")) ++products;
        if (holds_word(line, "version:")) ++versions;
    }
    if (products != 1 || versions != (version.version.empty() ? 0 : 1)) std::abort();
    if (count > 5) std::abort();
    return 0;
}
