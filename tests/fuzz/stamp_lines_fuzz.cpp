#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>

#include "core/host_texts.h"
#include "core/orbUtils.h"

/// Any bytes as the lines of the host's summary log, and as one stamp: a stamp is read or refused
/// by its length alone, and no line makes more than one time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::istringstream in(text);
    const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
    if (decode_stamp_lines(in).size() > static_cast<std::size_t>(lines)) std::abort();

    if (text.empty()) return 0; // the one stamp that is logged
    bool refused = false;
    try {
        (void)orbUtils::toEpoc(text);
    } catch (const std::out_of_range &) {
        refused = true;
    }
    if (refused != (size < 19)) std::abort();
    return 0;
}
