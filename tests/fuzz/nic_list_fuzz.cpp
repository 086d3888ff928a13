#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "network/nic_list.h"

/// Any bytes as the host's table of interfaces: every row is whole, its words come from the text,
/// and a table that was read can be read again from its rows.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    std::vector<std::vector<std::string>> rows;
    const int code = read_nic_list(text, rows);
    if (code > 0 || code < -2) std::abort();
    if (code == -1 && !rows.empty()) std::abort();

    std::string again = "Name\n----\n";
    std::size_t bytes = 0;
    for (const std::vector<std::string> &row : rows) {
        if (row.size() != NIC_FIELDS) std::abort();
        for (const std::string &field : row) {
            if (field.empty()) std::abort();
            again += field + " ";
            bytes += field.size();
        }
        again += "\n";
    }
    if (bytes > size) std::abort();
    std::vector<std::vector<std::string>> same;
    if (read_nic_list(again, same) != 0 || same != rows) std::abort();
    return 0;
}
