#pragma once

#include <cstdint>
#include <initializer_list>
#include <numeric>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// Tables of DSP0134 for tests.
using SmbiosBytes = std::vector<std::uint8_t>;

/// A structure: type, formatted part behind the header, strings.
inline SmbiosBytes smbios_structure(std::uint8_t type, SmbiosBytes formatted,
                                    std::initializer_list<std::string_view> strings = {}) {
    SmbiosBytes bytes{type, static_cast<std::uint8_t>(formatted.size() + 4), type, 0};
    bytes.insert(bytes.end(), formatted.begin(), formatted.end());
    for (const std::string_view text : strings) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    }
    if (strings.size() == 0) bytes.push_back(0);
    bytes.push_back(0);
    return bytes;
}

/// Type 1 with a family.
inline SmbiosBytes smbios_system(std::string_view family) {
    SmbiosBytes formatted(23, 0);
    formatted[0] = 1;
    formatted[1] = 2;
    formatted[22] = 3;
    return smbios_structure(1, formatted, {"Vantor", "Example Server", family});
}

/// Type 9 at an address.
inline SmbiosBytes smbios_slot(std::string_view designation, std::uint8_t bus, std::uint8_t devFn) {
    return smbios_structure(9, {1, 0xa5, 0x0d, 4, 4, 3, 0, 4, 1, 0, 0, bus, devFn}, {designation});
}

/// Type 41 at an address.
inline SmbiosBytes smbios_onboard(std::string_view designation, std::uint8_t bus,
                                  std::uint8_t devFn) {
    return smbios_structure(41, {1, 0x85, 1, 0, 0, bus, devFn}, {designation});
}

inline SmbiosBytes smbios_end() {
    return smbios_structure(127, {});
}

inline SmbiosBytes smbios_join(std::initializer_list<SmbiosBytes> parts) {
    SmbiosBytes all;
    for (const SmbiosBytes &part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline std::uint8_t smbios_sum(std::span<const std::uint8_t> bytes) {
    return static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0u));
}

/// A 64-bit entry point, as machines with UEFI offer it.
inline SmbiosBytes smbios_entry_64(std::uint32_t tableLimit) {
    SmbiosBytes entry{'_', 'S', 'M', '3', '_', 0, 0x18, 3, 4, 0, 1, 0};
    for (int shift = 0; shift < 32; shift += 8)
        entry.push_back(static_cast<std::uint8_t>(tableLimit >> shift));
    entry.resize(0x18, 0);
    entry[5] = static_cast<std::uint8_t>(-smbios_sum(entry));
    return entry;
}

/// A 32-bit entry point.
inline SmbiosBytes smbios_entry_32(std::uint16_t tableLength) {
    SmbiosBytes entry(0x1F, 0);
    const std::string_view anchor = "_SM_", inner = "_DMI_";
    std::copy(anchor.begin(), anchor.end(), entry.begin());
    std::copy(inner.begin(), inner.end(), entry.begin() + 0x10);
    entry[5] = 0x1F;
    entry[6] = 2;
    entry[7] = 8;
    entry[0x16] = static_cast<std::uint8_t>(tableLength);
    entry[0x17] = static_cast<std::uint8_t>(tableLength >> 8);
    entry[0x1A] = 0x0F; // an address in low memory
    entry[0x1E] = 0x28;
    entry[0x15] = static_cast<std::uint8_t>(-smbios_sum(std::span(entry).subspan(0x10)));
    entry[4] = static_cast<std::uint8_t>(-smbios_sum(entry));
    return entry;
}

inline std::string smbios_text(const SmbiosBytes &bytes) {
    return {bytes.begin(), bytes.end()};
}
