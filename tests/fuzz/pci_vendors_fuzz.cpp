#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/tablegen/pci_vendors.h"
#include "tools/tablegen/table_text.h"

/// Any bytes as a pci.ids file. Either there is a fault and no header, or a header whose ids rise
/// within their range.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::string header;
    const TABLE_FAULT fault =
        make_pci_vendors({reinterpret_cast<const char *>(data), size}, header);
    if (fault.why.empty() == header.empty()) std::abort();

    std::string last = "0000";
    TableLines lines(header);
    for (std::string_view line; lines.next(line);) {
        if (!line.starts_with("    {\"")) continue;
        const std::string id(line.substr(6, 4));
        if (!is_hexadecimal(id, 4) || id <= last || id > "fffe") std::abort();
        last = id;
    }
    return 0;
}
