#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "network/PhyAdapterInventory.h"

/// Turns a row of the host's interface table into an adapter's record, by shell commands and the
/// location services. A probe that fails leaves its field empty.
///
/// All but the probes of the last group: the network manager's thread, one at a time, since the
/// commands share data files. getFWVersion() leaves a file that get_adapter_status() removes, so
/// that the two run in this order, once each per adapter.
class NICPhysicalAdapter {
public:
    /// @param inventory  all its fields are set
    /// @param row        as read_nic_list() gives it
    /// @return 0
    static int discoverPhyAdapterInventory(PhyAdapterInventory &inventory,
                                           std::vector<std::string> row);

    /// Asks the host for an interface's details. @param version  untouched where none is told
    static void getFWVersion(const std::string &name, std::string &version);
    /// Judges a link by its word and by whether the details name a cable type.
    /// @return 1 up, 2 unknown, 3 down, 4 failed to tell (NIC_LINK_RESULT)
    static int get_adapter_status(const char *linkStatus);
    /// Sub vendor and sub device id by the saved PCI list, with the white space around them; empty
    /// where the list doesn't tell.
    static std::pair<std::string, std::string>
    get_subvendor_subdevice(const std::string &pciAddress);
    /// @param model  untouched where the ids are none, or not in the table
    static void getNICModel(const std::string &subVendor, const std::string &subDevice,
                            std::string &model);
    static std::string getPartNumValue(const std::string &model); ///< "" where none is known
    /// PCI description and physical location of an address.
    static std::pair<std::string, std::string> getOemValues(const std::string &pciAddress);

    // -- Probes of a host with the Linux kernel's interfaces; nobody calls them yet ---------------
    static std::uint32_t getSpeedMbps(const char *name); ///< 0 while there is no link
    static std::string
    getMACAddress(const std::string &name); ///< as "02:00:5E:10:20:30"; "" on failure

    struct ETHTOOL_INFO {
        std::string firmwareVersion, state, health, busInfo; ///< all empty on failure
    };
    /// Judges the link by the interface's name in the place of its link word.
    static ETHTOOL_INFO get_ethtool_info(const char *name);
    /// Product name and serial number by `lspci`, each "" where it isn't told.
    static std::pair<std::string, std::string> get_lspci_info(const std::string &pciAddress);

private:
    using SUB_IDS = std::pair<std::string, std::string>;
    static SUB_IDS subIdsOf(const std::string &pciAddress);

    /// Texts of sub vendor and sub device by PCI address, empty ones too. An address is looked up
    /// once per process: its card's ids don't change while the host runs.
    static std::map<std::string, SUB_IDS> subVendorDevice; // the manager's thread only
};
