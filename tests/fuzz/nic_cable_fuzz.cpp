#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "network/nic_details.h"

/// A link word up to the first NUL, then any bytes as the lines that name a cable type: the link is
/// judged one of four ways, the words "up", "down" and "unknown" always alike, and the words of the
/// status tables are there for it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const std::string_view word = text.substr(0, text.find('\0'));
    const std::string_view lines = text.substr(word.size());

    std::string cableType;
    (void)read_labelled_value(lines, cableType); // without a colon there is no cable type
    const int result = judge_link(cableType, word);
    if (result < 1 || result > 4) std::abort();
    if (judge_link(cableType, "up") != 1 || judge_link(cableType, "UNKNOWN") != 2 ||
        judge_link(cableType, "Down") != 3)
        std::abort();
    const bool hasCable = cableType.find_first_not_of(" \n") != std::string::npos;
    if ((result == 4) && hasCable) std::abort();
    if (*nic_state_word(result) == '\0' || *nic_health_word(result) == '\0') std::abort();
    return 0;
}
