#include "linuxhost/pci_decode.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

/// Any bytes as the kernel's text on a function, as its registers and as an address. The text is
/// taken whole or not at all, and what is taken stays within its line and its width.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    ORB_PCI_FUNCTION function;
    function.driver = "before";
    function.vendor = 4242;
    if (!decode_pci_uevent(text, function) &&
        (function.driver != "before" || function.vendor != 4242 || function.classCode != 0))
        std::abort();
    if (function.driver.find('\n') != std::string::npos) std::abort();

    ORB_PCI_FUNCTION registers;
    decode_pci_registers(text, registers);
    if (size < PCI_REGISTERS_SIZE && registers.interruptLine != 0xFF) std::abort();
    if (registers.headerType > 0x7F) std::abort();
    if (registers.secondaryBus != 0 && registers.headerType == 0) std::abort();

    ORB_PCI_ADDRESS address{1, 2, 3, 4};
    const ORB_PCI_ADDRESS before = address;
    const bool read = parse_pci_address(text, address);
    if (!read && !(address == before)) std::abort();
    if (read && (address.device > 0x1F || address.function > 7)) std::abort();
    static_cast<void>(pci_attribute_number(text)); // no input is beyond it
    return 0;
}
