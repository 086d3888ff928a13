#include "pci_report.h"

#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <string_view>

#include "plain_text.h"

namespace {
/// One line of a block; the texts among the arguments are short.
[[gnu::format(printf, 2, 3)]] void add_numbers(std::string &text, const char *format, ...) {
    std::array<char, 160> line{};
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    text += line.data();
}

void add_text(std::string &text, std::string_view label, std::string_view value) {
    text += "   ";
    text += label;
    text += ": ";
    text += value;
    text += '\n';
}

/// Drivers that hold a device for a guest or for a program instead of the kernel.
std::string_view owner_by_driver(std::string_view driver) {
    for (const std::string_view passing : {"vfio-pci", "pci-stub", "xen-pciback"})
        if (driver == passing) return "VM Passthru";
    return "VMkernel";
}

std::string_view reset_method(std::string_view methods) {
    const std::string_view first = methods.substr(0, methods.find_first_of(" \n"));
    if (first.empty()) return "None";
    if (first == "flr" || first == "af_flr") return "Function reset";
    if (first == "pm") return "Power state reset";
    if (first == "bus" || first == "slot" || first == "cxl_bus") return "Bridge reset";
    return "Device specific reset";
}

std::string dotted_address(const ORB_PCI_ADDRESS &address) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "PCI %u:%u:%u:%u", address.segment,
                  unsigned{address.bus}, unsigned{address.device}, unsigned{address.function});
    return text.data();
}

void add_block(std::string &text, const ORB_PCI_FUNCTION &function, const PCI_NAMES &names,
               bool aloneInGroup) {
    const ORB_PCI_ADDRESS &at = function.address;
    const unsigned bus = at.bus, device = at.device, number = at.function;
    std::array<char, 32> address{};
    std::snprintf(address.data(), address.size(), "%04x:%02x:%02x.%x", at.segment, bus, device,
                  number);
    const std::uint32_t slot = physical_slot_number(function.slotName);
    const std::string_view description =
        function.label.empty() && slot == PCI_NO_SLOT ? function.slotName : function.label;
    const std::string_view current = owner_by_driver(function.driver);

    text += address.data();
    text += ":\n";
    add_text(text, "Address", address.data());
    add_numbers(text, "   Segment: 0x%04x\n   Bus: 0x%02x\n   Slot: 0x%02x\n   Function: 0x%x\n",
                at.segment, bus, device, number);
    add_text(text, "VMkernel Name", one_line(function.kernelName));
    add_text(text, "Vendor Name", names.vendorName(function.vendor));
    add_text(text, "Device Name", names.deviceName(function.vendor, function.device));
    add_text(text, "Configured Owner", current); // Linux keeps no other choice over a restart
    add_text(text, "Current Owner", current);
    add_numbers(text, "   Vendor ID: 0x%04x\n   Device ID: 0x%04x\n", unsigned{function.vendor},
                unsigned{function.device});
    add_numbers(text, "   SubVendor ID: 0x%04x\n   SubDevice ID: 0x%04x\n   Device Class: 0x%04x\n",
                unsigned{function.subVendor}, unsigned{function.subDevice},
                unsigned{function.classCode});
    add_text(text, "Device Class Name", names.className(function.classCode));
    add_numbers(text, "   Programming Interface: 0x%02x\n   Revision ID: 0x%02x\n",
                unsigned{function.programmingInterface}, unsigned{function.revision});
    add_numbers(text, "   Interrupt Line: 0x%02x\n   IRQ: %d\n   Interrupt Vector: 0x00\n",
                unsigned{function.interruptLine}, function.irq);
    add_numbers(text, "   PCI Pin: 0x%02x\n   Spawned Bus: 0x%02x\n   Flags: 0x%04x\n",
                unsigned{function.interruptPin}, unsigned{function.secondaryBus},
                unsigned{function.command});
    add_text(text, "Module ID", "-1"); // Linux doesn't number its modules
    add_text(text, "Module Name", function.driver.empty() ? "None" : one_line(function.driver));
    add_text(text, "Chassis", "0");
    add_numbers(text, "   Physical Slot: %u\n", slot);
    add_text(text, "Slot Description", one_line(description));
    if (slot != PCI_NO_SLOT)
        add_numbers(text, "   Device Layer Bus Address: s%08x.%02x\n", slot, number);
    const bool passable = function.headerType == 0 && !function.iommuGroup.empty();
    add_text(text, "Passthru Capable", passable ? "true" : "false");
    add_text(text, "Parent Device", function.hasParent ? dotted_address(function.parent) : "");
    add_text(text, "Dependent Device", dotted_address(at));
    add_text(text, "Reset Method", reset_method(function.resetMethods));
    add_text(text, "FPT Sharable", aloneInGroup ? "true" : "false");
}
} // namespace

bool parse_pci_address(std::string_view text, ORB_PCI_ADDRESS &out) {
    std::array<std::uint32_t, 4> numbers{};
    constexpr std::array<std::uint32_t, 4> LIMITS{0xFFFFFFFF, 0xFF, 0x1F, 7};
    constexpr std::string_view ENDS = "::.";
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        const auto read = std::from_chars(text.data(), text.data() + text.size(), numbers[i], 16);
        if (read.ec != std::errc() || numbers[i] > LIMITS[i]) return false;
        text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
        if (i == ENDS.size()) break;
        if (text.empty() || text.front() != ENDS[i]) return false;
        text.remove_prefix(1);
    }
    if (!text.empty()) return false;
    out = {numbers[0], static_cast<std::uint8_t>(numbers[1]), static_cast<std::uint8_t>(numbers[2]),
           static_cast<std::uint8_t>(numbers[3])};
    return true;
}

std::uint32_t physical_slot_number(std::string_view slotName) {
    unsigned long long number = 0;
    if (!leading_number(slotName, number) || number >= PCI_NO_SLOT) return PCI_NO_SLOT;
    return static_cast<std::uint32_t>(number);
}

std::string format_pci_list(const std::vector<ORB_PCI_FUNCTION> &functions,
                            const PCI_NAMES &names) {
    std::map<std::string_view, int> groupSizes;
    for (const ORB_PCI_FUNCTION &function : functions)
        if (!function.iommuGroup.empty()) ++groupSizes[function.iommuGroup];

    std::string text;
    text.reserve(functions.size() * 1024);
    for (const ORB_PCI_FUNCTION &function : functions) {
        if (!text.empty()) text += '\n';
        const auto group = groupSizes.find(function.iommuGroup);
        add_block(text, function, names, group == groupSizes.end() || group->second == 1);
    }
    return text;
}
