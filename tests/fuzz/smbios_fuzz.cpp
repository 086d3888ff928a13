#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "physloc/smbios_decode.h"

namespace {
void require(bool holds) {
    if (!holds) std::abort();
}

template <std::size_t N> void require_clean(const char (&text)[N]) {
    const auto *end = static_cast<const char *>(std::memchr(text, '\0', N));
    require(end != nullptr);
    require(std::all_of(text, end, [](char c) { return c >= 0x20 && c <= 0x7E; }));
}
} // namespace

/// Any bytes as what the SMBIOS device gives: each step of the walk moves on within the table, and
/// every structure decodes as every type, with texts that are ended and printable.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto table = find_smbios_table({data, size});
    if (!table) return 0;
    require(table->data() >= data && table->size() <= size);

    orbSmbiosWalk walk(*table);
    std::size_t before = table->size() + 1;
    int structures = 0;
    for (auto structure = walk.next(); !structure.empty(); structure = walk.next(), ++structures) {
        require(structure.size() >= 4 && structure.size() < before);
        before = structure.size();

        DmiSystemSlot slot{};
        require(DmiSystemSlot_Decode(&slot, structure, 0) == 0);
        require_clean(slot.designation);
        require(slot.length >= 14 ||
                (slot.segmentGroupNum == 0 && slot.busNum == 0 && slot.devFuncNum == 0));
        DmiOnboardDevicesEx device{};
        require(DmiOnboardDevicesEx_decode(&device, structure, 0) == 0);
        require_clean(device.designation);
        DmiSystemInfo system{};
        require(DmiSystemInfo_decode(&system, structure, 0) == 0);
        require_clean(system.manufacturer);
        require_clean(system.serialNumber);
        require_clean(system.family);
        require(system.length < 25 || std::strlen(system.uuid) == 36);
        require(!_toString(structure, structure[1], structure[0]).empty());
    }

    int counted = 0;
    for (int type = 0; type < 256; ++type) counted += count_smbios_structures(*table, type);
    require(counted == structures);
    return 0;
}
