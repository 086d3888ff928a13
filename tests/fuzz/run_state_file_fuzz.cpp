#include "core/run_state_file.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

/// Any bytes as a run-state file: a copy keeps the count of lines, replaces what it says, and what
/// was replaced is found again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string content(reinterpret_cast<const char *>(data), size);
    const std::string key = "last_start";
    constexpr std::int64_t VALUE = 1767427449;

    std::istringstream read(content);
    const bool found = read_run_state_value(read, key).has_value();
    if (found && content.find(key) == std::string::npos) std::abort();

    std::istringstream in(content);
    std::ostringstream out;
    copy_run_state(in, out, key, VALUE);
    const std::string copy = out.str();
    const bool cut = !content.empty() && content.back() != '\n';
    if (std::count(copy.begin(), copy.end(), '\n') !=
        std::count(content.begin(), content.end(), '\n') + (cut ? 1 : 0))
        std::abort();
    if (content.find(key) != std::string::npos) {
        std::istringstream again(copy);
        if (read_run_state_value(again, key) != VALUE) std::abort();
    }

    std::istringstream same(content);
    std::ostringstream kept;
    copy_run_state(same, kept, key, std::nullopt);
    if (kept.str() != (cut ? content + '\n' : content)) std::abort();
    return 0;
}
