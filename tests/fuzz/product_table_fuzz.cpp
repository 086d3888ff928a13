#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "tools/tablegen/product_table.h"

/// Any bytes as a product table. Either there is a fault, whose line exists, and no header; or a
/// header of printable text, with no more rows than the file has lines.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    std::string header;
    const TABLE_FAULT fault = make_product_table(text, "table", header);
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    if (fault.why.empty() == header.empty() || fault.line > lines) std::abort();
    if (!std::all_of(header.begin(), header.end(),
                     [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }))
        std::abort();
    if (fault.why.empty()) {
        const std::string_view rows =
            std::string_view(header).substr(header.find("TABLE[] = {\n") + 12);
        if (static_cast<std::size_t>(std::count(rows.begin(), rows.end(), '\n')) > lines)
            std::abort();
    }
    return 0;
}
