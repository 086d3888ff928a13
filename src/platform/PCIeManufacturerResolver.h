#pragma once

#include <string>

/// Names the maker of a PCI device: the machine's for what is on the system board, that of the
/// card's subsystem vendor id for a card in a slot. Has no state; any thread. PCI addresses are as
/// "0000:c3:00.1", vendor ids four lower-case hexadecimal digits without a prefix.
class PCIeManufacturerResolver {
public:
    /// @param subVendor     the device's subsystem vendor id where the caller has it; if empty, it
    ///                      takes the id of a card in a slot from the host's device list
    /// @param manufacturer  takes the name, "" where there is none; stays as it is where the
    ///                      device's place is unknown
    static void fetchManufacturer(const std::string &pciAddress, std::string &subVendor,
                                  std::string &manufacturer);
    /// The same for a device whose place is known.
    /// @param place  as orbPhysLocInterface::checkIfPCICardIsOnBoard() gives it
    static void fetchManufacturerAt(int place, const std::string &pciAddress,
                                    std::string &subVendor, std::string &manufacturer);

    /// By the host's device list.
    /// @param subVendor  takes the device's subsystem vendor id without its prefix, "" where the
    ///                   list doesn't tell
    static void fetchManufacturerFromOS(const std::string &pciAddress, std::string &subVendor,
                                        std::string &manufacturer);
    static void fetchManufacturerFromSmbios(std::string &manufacturer); ///< the machine's maker

    /// The subsystem vendor id as the host's device list has it, such as "0x8086"; `subVendor`
    /// stays as it is where the list doesn't tell. Source: a shell line over the list's file.
    static void getSubvendorID(const std::string &pciAddress, std::string &subVendor);
};
