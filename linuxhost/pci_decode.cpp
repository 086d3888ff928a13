#include "pci_decode.h"

#include <charconv>
#include <cstddef>
#include <optional>
#include <span>

#include "core/byte_order.h"
#include "plain_text.h"

namespace {
constexpr std::uint8_t TYPE_MASK = 0x7F, TYPE_BRIDGE = 1, TYPE_CARDBUS = 2;

struct REGISTERS {
    le_field<2> vendor, device, command, status;
    std::uint8_t revision, classCode[3], cacheLine, latency, headerType, selfTest;
    std::uint8_t resources[9];
    std::uint8_t secondaryBus; // of bridges
    std::uint8_t rest[34];
    std::uint8_t interruptLine, interruptPin, ends[2];
};
static_assert(offsetof(REGISTERS, headerType) == 0x0E && offsetof(REGISTERS, secondaryBus) == 0x19);
static_assert(offsetof(REGISTERS, interruptLine) == 0x3C &&
              sizeof(REGISTERS) == PCI_REGISTERS_SIZE);

/// All of a text as a hexadecimal number.
std::optional<std::uint32_t> hexadecimal_number(std::string_view text) {
    std::uint32_t number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number, 16);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size()) return std::nullopt;
    return number;
}

/// "1AF4:1041" as two numbers of at most 16 bits.
struct ID_PAIR {
    std::uint16_t vendor = 0, device = 0;
};
std::optional<ID_PAIR> id_pair(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return std::nullopt;
    const auto vendor = hexadecimal_number(text.substr(0, colon));
    const auto device = hexadecimal_number(text.substr(colon + 1));
    if (!vendor || !device || *vendor > 0xFFFF || *device > 0xFFFF) return std::nullopt;
    return ID_PAIR{static_cast<std::uint16_t>(*vendor), static_cast<std::uint16_t>(*device)};
}
} // namespace

bool decode_pci_uevent(std::string_view text, ORB_PCI_FUNCTION &function) {
    std::string_view driver;
    std::optional<std::uint32_t> classCode;
    std::optional<ID_PAIR> id, subsystem;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos) continue;
        const std::string_view name = line.substr(0, equals), value = line.substr(equals + 1);
        if (name == "DRIVER")
            driver = value;
        else if (name == "PCI_CLASS")
            classCode = hexadecimal_number(value);
        else if (name == "PCI_ID")
            id = id_pair(value);
        else if (name == "PCI_SUBSYS_ID")
            subsystem = id_pair(value);
    }
    if (!classCode || !id) return false;
    function.driver = one_line(driver);
    function.classCode = static_cast<std::uint16_t>(*classCode >> 8);
    function.programmingInterface = static_cast<std::uint8_t>(*classCode);
    function.vendor = id->vendor;
    function.device = id->device;
    function.subVendor = subsystem ? subsystem->vendor : std::uint16_t{0};
    function.subDevice = subsystem ? subsystem->device : std::uint16_t{0};
    return true;
}

void decode_pci_registers(std::string_view bytes, ORB_PCI_FUNCTION &function) {
    const auto *first = reinterpret_cast<const std::uint8_t *>(bytes.data());
    REGISTERS registers{};
    if (!read_record(std::span(first, bytes.size()), 0, registers)) return;
    function.command = static_cast<std::uint16_t>(registers.command.value());
    function.headerType = registers.headerType & TYPE_MASK;
    if (function.headerType == TYPE_BRIDGE || function.headerType == TYPE_CARDBUS)
        function.secondaryBus = registers.secondaryBus;
    function.interruptLine = registers.interruptLine;
    function.interruptPin = registers.interruptPin;
}

std::uint32_t pci_attribute_number(std::string_view text) {
    if (text.starts_with("0x")) text.remove_prefix(2);
    return hexadecimal_number(text).value_or(0);
}
