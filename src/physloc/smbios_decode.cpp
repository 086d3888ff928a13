#include "physloc/smbios_decode.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "core/format_text.h"

namespace {
constexpr std::string_view ANCHOR = "_SM_";
constexpr std::size_t ANCHOR_STEP = 4;
constexpr std::size_t ENTRY_LENGTH_AT = 5, TABLE_LENGTH_AT = 22; // in the entry point
constexpr std::size_t HEADER_SIZE = 4;                           // type, length, handle

constexpr std::uint8_t SLOT_ADDRESS_LENGTH = 14; // from here on slots have segment, bus, function
constexpr std::uint8_t SYSTEM_NAMES_LENGTH = 8, SYSTEM_UUID_LENGTH = 25, SYSTEM_FAMILY_LENGTH = 27;
constexpr std::uint8_t ONBOARD_TYPE_MASK = 0x7F;

constexpr char NO_STRING[] = "Undefined";

std::uint8_t byte_at(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return offset < bytes.size() ? bytes[offset] : std::uint8_t{0};
}

std::uint16_t word_at(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(byte_at(bytes, offset) | byte_at(bytes, offset + 1) << 8);
}

std::uint32_t double_word_at(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return word_at(bytes, offset) | static_cast<std::uint32_t>(word_at(bytes, offset + 2)) << 16;
}

std::span<const std::uint8_t> behind(std::span<const std::uint8_t> bytes, std::size_t offset) {
    return bytes.subspan(std::min(offset, bytes.size()));
}

template <std::size_t N> void copy_text(char (&field)[N], std::string_view text) {
    const std::size_t size = std::min(text.size(), N - 1);
    std::memcpy(field, text.data(), size);
    field[size] = '\0';
}

template <typename Record> void decode_header(Record &record, SMBIOS_STRUCTURE structure) {
    record.type = byte_at(structure, 0);
    record.length = byte_at(structure, 1);
    record.handle = word_at(structure, 2);
}

/// The string whose number stands at an offset of the structure.
std::string string_at(SMBIOS_STRUCTURE structure, std::size_t offset) {
    return _toString(structure, byte_at(structure, 1), byte_at(structure, offset));
}

std::string uuid_text(SMBIOS_STRUCTURE structure) {
    std::uint32_t first = double_word_at(structure, 8);
    std::uint16_t second = word_at(structure, 12), third = word_at(structure, 14);
    const auto has = [third](unsigned bits) { return (third & bits) == bits; };
    if (third != 0 && !has(0x11D0) && has(0xD011)) {
        first = __builtin_bswap32(first);
        second = __builtin_bswap16(second);
        third = __builtin_bswap16(third);
    }

    const auto at = [structure](std::size_t offset) -> unsigned {
        return byte_at(structure, offset);
    };
    return format_text("%08x-%04x-%04x-%02x%02x-%02x%02x%02x%02x%02x%02x", first,
                       static_cast<unsigned>(second), static_cast<unsigned>(third), at(16), at(17),
                       at(18), at(19), at(20), at(21), at(22), at(23));
}
} // namespace

std::optional<std::span<const std::uint8_t>>
find_smbios_table(std::span<const std::uint8_t> image) {
    for (std::size_t offset = 0; offset < image.size(); offset += ANCHOR_STEP) {
        const auto entry = image.subspan(offset);
        if (entry.size() < ANCHOR.size()) break;
        if (std::memcmp(entry.data(), ANCHOR.data(), ANCHOR.size()) != 0) continue;

        const auto table = behind(entry, byte_at(entry, ENTRY_LENGTH_AT));
        const std::size_t length = word_at(entry, TABLE_LENGTH_AT);
        return table.first(std::min(length, table.size()));
    }
    return std::nullopt;
}

SMBIOS_STRUCTURE orbSmbiosWalk::next() {
    if (rest.size() < HEADER_SIZE) return {};
    const SMBIOS_STRUCTURE structure = rest;

    // A length byte below four is no obstacle: the pair lies ahead of the structure's start and
    // its two bytes are passed, so each step moves on.
    rest = behind(rest, structure[1]);
    const std::uint8_t pair[] = {0, 0};
    const auto found = std::search(rest.begin(), rest.end(), std::begin(pair), std::end(pair));
    rest = found == rest.end() ? rest.last(0)
                               : rest.subspan(static_cast<std::size_t>(found - rest.begin()) + 2);
    return structure;
}

int count_smbios_structures(std::span<const std::uint8_t> table, int type) {
    int count = 0;
    orbSmbiosWalk walk(table);
    for (auto structure = walk.next(); !structure.empty(); structure = walk.next())
        if (structure[0] == type) ++count;
    return count;
}

std::string _toString(SMBIOS_STRUCTURE structure, std::uint8_t length, std::uint8_t number) {
    if (number == 0) return NO_STRING;

    auto rest = behind(structure, length);
    for (;; --number) {
        const auto end = std::find(rest.begin(), rest.end(), std::uint8_t{0});
        if (end == rest.begin() || end == rest.end()) return NO_STRING;
        const auto size = static_cast<std::size_t>(end - rest.begin());
        if (number > 1) {
            rest = rest.subspan(size + 1);
            continue;
        }
        std::string text(rest.begin(), end);
        for (char &character : text)
            if (character < 0x20 || character > 0x7E) character = '.';
        return text;
    }
}

int DmiSystemSlot_Decode(DmiSystemSlot *slots, SMBIOS_STRUCTURE structure, std::size_t index) {
    if (slots == nullptr || structure.empty()) return -1;
    DmiSystemSlot &slot = slots[index];
    decode_header(slot, structure);
    copy_text(slot.designation, string_at(structure, 4));
    slot.slotType = byte_at(structure, 5);
    slot.busDataWidth = byte_at(structure, 6);
    slot.currentUsage = byte_at(structure, 7);
    slot.slotLength = byte_at(structure, 8);
    slot.id = word_at(structure, 9);
    slot.characteristics1 = byte_at(structure, 11);
    slot.characteristics2 = byte_at(structure, 12);
    if (slot.length < SLOT_ADDRESS_LENGTH) return 0;

    // At lengths 14 to 16 bus and function are taken from the bytes behind the formatted part.
    slot.segmentGroupNum = word_at(structure, 13);
    slot.busNum = byte_at(structure, 15);
    slot.devFuncNum = byte_at(structure, 16);
    return 0;
}

int DmiOnboardDevicesEx_decode(DmiOnboardDevicesEx *devices, SMBIOS_STRUCTURE structure,
                               std::size_t index) {
    if (devices == nullptr || structure.empty()) return -1;
    DmiOnboardDevicesEx &device = devices[index];
    decode_header(device, structure);
    copy_text(device.designation, string_at(structure, 4));
    device.deviceType = byte_at(structure, 5) & ONBOARD_TYPE_MASK;
    device.deviceTypeInstance = byte_at(structure, 6);
    device.segmentGroupNum = word_at(structure, 7);
    device.busNum = byte_at(structure, 9);
    device.devFuncNum = byte_at(structure, 10);
    return 0;
}

int DmiSystemInfo_decode(DmiSystemInfo *systems, SMBIOS_STRUCTURE structure, std::size_t index) {
    if (systems == nullptr || structure.empty()) return -1;
    DmiSystemInfo &system = systems[index];
    decode_header(system, structure);
    if (system.length < SYSTEM_NAMES_LENGTH) return 0;
    copy_text(system.manufacturer, string_at(structure, 4));
    copy_text(system.productName, string_at(structure, 5));
    copy_text(system.version, string_at(structure, 6));
    copy_text(system.serialNumber, string_at(structure, 7));
    if (system.length < SYSTEM_UUID_LENGTH) return 0;
    copy_text(system.uuid, uuid_text(structure));
    system.wakeUpType = byte_at(structure, 24);
    if (system.length < SYSTEM_FAMILY_LENGTH) {
        copy_text(system.sku, ".");
        return 0;
    }
    copy_text(system.sku, string_at(structure, 25));
    copy_text(system.family, string_at(structure, 26));
    return 0;
}
