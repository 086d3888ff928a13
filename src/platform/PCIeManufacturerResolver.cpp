#include "platform/PCIeManufacturerResolver.h"

#include <cstdio>

#include "core/Logger.h"
#include "core/number_readers.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "physloc/orbPhysLocFactory.h"
#include "physloc/pci_address.h"
#include "platform/hardware_list.h"
#include "platform/orbPCIVendorsMap.h"
#include "platform/platformCheck.h"

namespace {
constexpr int ON_BOARD = 2, IN_SLOT = 3; // answers of checkIfPCICardIsOnBoard()
constexpr std::size_t LINE_BYTES = 512;  // of a look at the list, with the NUL

/// Name by exact id: digits in capitals find nothing.
std::string vendor_name(const std::string &id) {
    const auto vendor = orbPCIVendorsMap.find(id);
    return vendor == orbPCIVendorsMap.end() ? std::string() : vendor->second;
}
} // namespace

void PCIeManufacturerResolver::fetchManufacturer(const std::string &pciAddress,
                                                 std::string &subVendor,
                                                 std::string &manufacturer) {
    const int place = orbPhysLocFactory::getPhysLocInterface()->checkIfPCICardIsOnBoard(pciAddress);
    fetchManufacturerAt(place, pciAddress, subVendor, manufacturer);
}

void PCIeManufacturerResolver::fetchManufacturerAt(int place, const std::string &pciAddress,
                                                   std::string &subVendor,
                                                   std::string &manufacturer) {
    if (place == ON_BOARD) {
        fetchManufacturerFromSmbios(manufacturer);
        if (manufacturer.empty())
            ORB_LOG_DEBUG(MFR, "Unable to fetch manufacturer name for OnBoard cards");
    } else if (place == IN_SLOT) {
        if (subVendor.empty())
            fetchManufacturerFromOS(pciAddress, subVendor, manufacturer);
        else
            manufacturer = vendor_name(subVendor);
        if (manufacturer.empty())
            ORB_LOG_DEBUG(MFR,
                          format_text("Unable to fetch manufacturer name for PCI Subsystem Vendor "
                                      "ID : 0x%04x as there is no mapping vendor information.",
                                      static_cast<unsigned>(read_hexadecimal(subVendor))));
    } else {
        ORB_LOG_DEBUG(MFR, format_text("Unable to fetch manufacturer name for PCI device : %s as "
                                       "it is neither OnBoard nor Add-in device",
                                       pciAddress.c_str()));
    }
}

void PCIeManufacturerResolver::fetchManufacturerFromOS(const std::string &pciAddress,
                                                       std::string &subVendor,
                                                       std::string &manufacturer) {
    std::string listed;
    getSubvendorID(pciAddress, listed);
    const bool hasPrefix = listed.starts_with("0x") || listed.starts_with("0X");
    subVendor = hasPrefix ? listed.substr(2) : listed;
    manufacturer = vendor_name(subVendor);
}

void PCIeManufacturerResolver::fetchManufacturerFromSmbios(std::string &manufacturer) {
    manufacturer = platformCheck::getCardManufacturer();
}

void PCIeManufacturerResolver::getSubvendorID(const std::string &pciAddress,
                                              std::string &subVendor) {
    // Addresses come from the output of a command.
    if (!is_safe_address_word(pciAddress)) return;
    IorbHostCommands &commands = IorbHostCommands::get();
    int err = 0;
    std::FILE *const stream =
        commands.popen("cat " + shell_path(HARDWARE_LIST) + " | awk '/" + pciAddress +
                           ":/,/^$/' | grep -w 'SubVendor ID' | awk '{print $3}'",
                       &err);
    if (stream == nullptr) {
        ORB_LOG_INFO(MFR,
                     format_text("Error(%s) occurred in identifying SubVendor id for %s",
                                 orbUtils::getErrorDescription(err).c_str(), pciAddress.c_str()));
        return;
    }
    // The last line wins, an empty one too.
    char piece[LINE_BYTES];
    while (std::fgets(piece, sizeof piece, stream) != nullptr) {
        std::string line = piece;
        orbUtils::trimLeadingTrailingSpaces(line, subVendor);
    }
    // The status is that of the last filter, which says nothing about the list.
    (void)commands.pclose(stream);
}
