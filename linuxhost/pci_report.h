#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pci_ids.h"

/// Where a PCI function is.
struct ORB_PCI_ADDRESS {
    std::uint32_t segment = 0;
    std::uint8_t bus = 0;
    std::uint8_t device = 0;
    std::uint8_t function = 0;
    bool operator==(const ORB_PCI_ADDRESS &) const = default;
};

/// Reads "0000:24:00.0"; false, `out` untouched, for anything else.
bool parse_pci_address(std::string_view text, ORB_PCI_ADDRESS &out);

constexpr std::uint32_t PCI_NO_SLOT = 4294967295u;

/// One PCI function as the machine tells it.
struct ORB_PCI_FUNCTION {
    ORB_PCI_ADDRESS address;
    bool hasParent = false;
    ORB_PCI_ADDRESS parent; ///< the bridge above, where hasParent
    std::string kernelName; ///< network interface, SCSI host or NVMe controller; may be empty
    std::string driver;     ///< empty: none is bound
    std::uint16_t vendor = 0, device = 0, subVendor = 0, subDevice = 0, classCode = 0;
    std::uint8_t programmingInterface = 0, revision = 0;
    std::int32_t irq = 0;
    std::uint16_t command = 0;         ///< configuration register 04h
    std::uint8_t headerType = 0;       ///< configuration register 0Eh, without the top bit
    std::uint8_t secondaryBus = 0;     ///< of a bridge, else 0
    std::uint8_t interruptLine = 0xFF; ///< configuration register 3Ch
    std::uint8_t interruptPin = 0;     ///< configuration register 3Dh
    std::string slotName;              ///< of the physical slot, empty: none
    std::string label;                 ///< the firmware's name for the place, empty: none
    std::string iommuGroup;            ///< empty: none
    std::string resetMethods;          ///< the kernel's words, empty: none
};

/// The list, a block for each function, an empty line between blocks. @param names  already read
std::string format_pci_list(const std::vector<ORB_PCI_FUNCTION> &functions, const PCI_NAMES &names);

/// The number that a slot's name begins with, PCI_NO_SLOT where it is none.
std::uint32_t physical_slot_number(std::string_view slotName);
