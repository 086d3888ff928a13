#include "pci_ids.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <optional>

#include "plain_text.h"

namespace {
/// A hexadecimal number of just so many digits, followed by a blank.
std::optional<std::uint32_t> take_number(std::string_view line, std::size_t digits) {
    if (line.size() <= digits || line[digits] != ' ') return std::nullopt;
    std::uint32_t number = 0;
    const auto read = std::from_chars(line.data(), line.data() + digits, number, 16);
    if (read.ec != std::errc() || read.ptr != line.data() + digits) return std::nullopt;
    return number;
}
} // namespace

void PCI_NAMES::wantIn(Names &names, std::uint32_t number) {
    if (names.try_emplace(number).second) ++missing;
}

void PCI_NAMES::want(std::uint16_t vendor, std::uint16_t device) {
    wantIn(vendors, vendor);
    wantIn(devices, static_cast<std::uint32_t>(vendor) << 16 | device);
}

void PCI_NAMES::want(std::uint16_t vendor, std::uint16_t device, std::uint16_t classCode) {
    want(vendor, device);
    wantIn(baseClasses, classCode >> 8);
    wantIn(subClasses, classCode);
}

/// Stores a line's name where its number is wanted. The first line of a number counts.
void PCI_NAMES::store(Names &names, std::uint32_t number, std::string_view name) {
    const auto wanted = names.find(number);
    if (wanted == names.end() || !wanted->second.empty()) return;
    wanted->second = one_line(name);
    if (!wanted->second.empty()) --missing;
}

void PCI_NAMES::readLine(std::string_view line) {
    if (line.empty() || line[0] == '#') return;
    if (line[0] == '\t') {
        // Two tabs are sub-systems and programming interfaces.
        if (section == SECTION::SKIPPED || line.starts_with("\t\t")) return;
        const std::size_t digits = section == SECTION::VENDOR ? 4 : 2;
        const std::string_view rest = line.substr(1);
        const auto number = take_number(rest, digits);
        if (!number) return;
        if (section == SECTION::VENDOR)
            store(devices, above << 16 | *number, rest.substr(digits));
        else
            store(subClasses, above << 8 | *number, rest.substr(digits));
    } else if (const auto vendor = take_number(line, 4)) {
        above = *vendor;
        section = vendors.contains(above) ? SECTION::VENDOR : SECTION::SKIPPED;
        store(vendors, above, line.substr(4));
    } else if (line.starts_with("C ") && take_number(line.substr(2), 2)) {
        above = *take_number(line.substr(2), 2);
        section = SECTION::CLASS;
        store(baseClasses, above, line.substr(4));
    } else {
        section = SECTION::SKIPPED;
    }
}

void PCI_NAMES::read(std::string_view idsText) {
    while (!idsText.empty()) {
        const void *newline = std::memchr(idsText.data(), '\n', idsText.size());
        const std::size_t end =
            newline == nullptr
                ? idsText.size()
                : static_cast<std::size_t>(static_cast<const char *>(newline) - idsText.data());
        readLine(idsText.substr(0, end));
        idsText.remove_prefix(end == idsText.size() ? end : end + 1);
    }
}

std::string PCI_NAMES::numbered(const char *what, unsigned number) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%s %04x", what, number);
    return text.data();
}

std::string PCI_NAMES::vendorName(std::uint16_t vendor) const {
    const auto found = vendors.find(vendor);
    if (found != vendors.end() && !found->second.empty()) return found->second;
    return numbered("Vendor", vendor);
}

std::string PCI_NAMES::deviceName(std::uint16_t vendor, std::uint16_t device) const {
    const auto found = devices.find(static_cast<std::uint32_t>(vendor) << 16 | device);
    if (found != devices.end() && !found->second.empty()) return found->second;
    return numbered("Device", device);
}

std::string PCI_NAMES::className(std::uint16_t classCode) const {
    const auto sub = subClasses.find(classCode);
    if (sub != subClasses.end() && !sub->second.empty()) return sub->second;
    const auto base = baseClasses.find(classCode >> 8);
    if (base == baseClasses.end() || base->second.empty()) return numbered("Class", classCode);
    std::array<char, 16> number{};
    std::snprintf(number.data(), number.size(), " [%04x]", static_cast<unsigned>(classCode));
    return base->second + number.data();
}
