#include "world/smbios_table.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace {
using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t ENTRY_BYTES = 0x1F, HEADER_BYTES = 4, TABLE_LIMIT = 65535 - ENTRY_BYTES;
constexpr std::uint8_t VERSION_MAJOR = 2, VERSION_MINOR = 8, POWER_SWITCH = 6;
constexpr std::uint8_t IN_USE = 4, AVAILABLE = 3, SHORT_SLOT = 3, LONG_SLOT = 4, PROVIDES_3V = 4,
                       HAS_PME = 1;

void add16(Bytes &out, std::size_t value) {
    out.push_back(static_cast<std::uint8_t>(value));
    out.push_back(static_cast<std::uint8_t>(value >> 8));
}

/// One structure: formatted part and the strings behind it.
class Structure {
public:
    /// @param told  what the structure says of its length, and is cut or padded to
    Structure(std::uint8_t type, std::uint8_t length, std::uint16_t handle,
              std::optional<std::uint8_t> told = std::nullopt)
        : size(std::max<std::size_t>(told.value_or(length), HEADER_BYTES)) {
        formatted = {type, told.value_or(length)};
        add16(formatted, handle);
    }
    void byte(std::size_t value) { formatted.push_back(static_cast<std::uint8_t>(value)); }
    void word(std::size_t value) { add16(formatted, value); }
    void text(const std::string &value) {
        const std::string kept = value.substr(0, value.find('\0'));
        if (kept.empty()) return byte(0);
        strings.push_back(kept);
        byte(strings.size());
    }
    void address(const std::optional<std::string> &value) {
        std::uint16_t segment = 0xFFFF;
        std::uint8_t bus = 0xFF, deviceFunction = 0xFF;
        if (value) read_pci_address(*value, segment, bus, deviceFunction);
        word(segment);
        byte(bus);
        byte(deviceFunction);
    }
    Bytes bytes() const {
        Bytes all = formatted;
        all.resize(size);
        for (const std::string &each : strings) {
            all.insert(all.end(), each.begin(), each.end());
            all.push_back(0);
        }
        if (strings.empty()) all.push_back(0);
        all.push_back(0);
        return all;
    }

private:
    const std::size_t size;
    Bytes formatted;
    std::vector<std::string> strings;
};

/// The first three fields stand least significant byte first.
void add_uuid(Structure &out, const std::string &text) {
    std::string digits;
    for (const char c : text)
        if (c != '-') digits += c;
    digits.resize(32, '0');
    static constexpr int ORDER[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
    for (const int at : ORDER)
        out.byte(std::stoul("0" + digits.substr(static_cast<std::size_t>(at) * 2, 2), nullptr, 16));
}

Bytes system_information(const SCENARIO_MACHINE &machine) {
    Structure out(1, 0x1B, 0x0100);
    out.text(machine.manufacturer);
    out.text(machine.product);
    out.text(machine.version);
    out.text(machine.serial);
    add_uuid(out, machine.uuid);
    out.byte(POWER_SWITCH);
    out.text(machine.sku);
    out.text(machine.family);
    return out.bytes();
}

Bytes slot(const SCENARIO_DEVICE &device, std::size_t index) {
    Structure out(9, 0x11, static_cast<std::uint16_t>(0x0900 + index), device.length);
    out.text(device.designation);
    out.byte(device.type);
    out.byte(device.width);
    out.byte(device.address ? IN_USE : AVAILABLE);
    out.byte(device.isShort ? SHORT_SLOT : LONG_SLOT);
    out.word(device.id != 0 ? device.id : index + 1);
    out.byte(PROVIDES_3V);
    out.byte(HAS_PME);
    out.address(device.address);
    return out.bytes();
}

Bytes onboard(const SCENARIO_DEVICE &device, std::size_t index) {
    Structure out(41, 0x0B, static_cast<std::uint16_t>(0x2900 + index), device.length);
    out.text(device.designation);
    out.byte(device.type | (device.enabled ? 0x80u : 0u));
    out.byte(device.instance);
    out.address(device.address);
    return out.bytes();
}

std::uint8_t balance(const Bytes &bytes, std::size_t from) {
    const unsigned sum =
        std::accumulate(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(), 0u);
    return static_cast<std::uint8_t>(0x100 - (sum & 0xFF));
}
} // namespace

std::vector<std::uint8_t> smbios_table(const SCENARIO_MACHINE &machine) {
    const Bytes last = Structure(127, 4, 0xFEFE).bytes();
    std::vector<Bytes> structures{system_information(machine)};
    for (std::size_t i = 0; i < machine.slots.size(); ++i)
        structures.push_back(slot(machine.slots[i], i));
    for (std::size_t i = 0; i < machine.onboard.size(); ++i)
        structures.push_back(onboard(machine.onboard[i], i));

    Bytes table;
    std::size_t count = 1, largest = last.size();
    for (const Bytes &each : structures) {
        if (table.size() + each.size() + last.size() > TABLE_LIMIT) break;
        table.insert(table.end(), each.begin(), each.end());
        largest = std::max(largest, each.size());
        ++count;
    }
    table.insert(table.end(), last.begin(), last.end());

    Bytes entry{'_', 'S', 'M', '_', 0, ENTRY_BYTES, VERSION_MAJOR, VERSION_MINOR};
    add16(entry, largest);
    entry.resize(0x10);
    entry.insert(entry.end(), {'_', 'D', 'M', 'I', '_', 0});
    add16(entry, table.size());
    entry.insert(entry.end(), {0x20, 0x00, 0x0F, 0x00});
    add16(entry, count);
    entry.push_back(VERSION_MAJOR << 4 | VERSION_MINOR);
    entry[0x15] = balance(entry, 0x10);
    entry[0x04] = balance(entry, 0);

    entry.insert(entry.end(), table.begin(), table.end());
    if (machine.imageBytes && *machine.imageBytes < entry.size()) entry.resize(*machine.imageBytes);
    return entry;
}
