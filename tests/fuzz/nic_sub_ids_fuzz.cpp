#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "network/nic_details.h"
#include "network/nic_models.h"

/// Any bytes as a device's lines of the PCI list, in the pieces in which they are read: the ids are
/// parts of the text, and a model with its part number is found or not.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    constexpr std::size_t PIECE_BYTES = 511;
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    ORB_NIC_SUB_IDS ids;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t end = rest.find('\n');
        const std::size_t line = end == std::string_view::npos ? rest.size() : end + 1;
        const std::string_view piece = rest.substr(0, std::min(line, PIECE_BYTES));
        const ORB_NIC_SUB_IDS before = ids;
        if (!take_sub_id(piece, ids) &&
            (ids.subVendor != before.subVendor || ids.subDevice != before.subDevice))
            std::abort();
        rest.remove_prefix(piece.size());
    }
    for (const std::string &id : {ids.subVendor, ids.subDevice})
        if (text.find(id) == std::string_view::npos || id.size() > PIECE_BYTES) std::abort();

    std::uint32_t vendor = 0, device = 0;
    if (!read_sub_id(ids.subVendor, vendor) || !read_sub_id(ids.subDevice, device)) return 0;
    const std::string_view model = nic_model_of(vendor, device);
    if (!model.empty() && vendor != 0xfff0 && vendor != 0xfff1) std::abort();
    (void)nic_part_number_of(model);
    std::int32_t mbps = -1;
    (void)read_speed(std::string(text), mbps); // a text that is no speed is 0
    if (mbps < 0) std::abort();
    return 0;
}
