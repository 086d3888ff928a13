#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "host/esxtop_memory.h"

/// Any bytes as esxtop's output: without a head or without a second line there is no value, and
/// what stands behind a whole output without further lines changes nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::istringstream in(text);
    const ORB_ESXTOP_MEMORY memory = read_esxtop_memory(in);

    const bool hasLines = text.find('\n') != std::string::npos;
    if (memory.totalMBytes != 0 && (!hasLines || text.find("Machine MBytes") == std::string::npos))
        std::abort();
    if (memory.freeMBytes != 0 &&
        (!hasLines || text.find("\\Memory\\Free MBytes") == std::string::npos))
        std::abort();

    std::istringstream again(text + ",\nend,");
    const ORB_ESXTOP_MEMORY same = read_esxtop_memory(again);
    if (same.totalMBytes != memory.totalMBytes || same.freeMBytes != memory.freeMBytes)
        std::abort();
    return 0;
}
