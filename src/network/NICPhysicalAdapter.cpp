#include "network/NICPhysicalAdapter.h"

#include "core/Logger.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostFiles.h"
#include "network/nic_commands.h"
#include "network/nic_details.h"
#include "network/nic_list.h"
#include "network/nic_models.h"
#include "physloc/orbPhysLocFactory.h"
#include "physloc/pci_address.h"
#include "platform/PCIeManufacturerResolver.h"
#include "platform/hardware_list.h"

std::map<std::string, NICPhysicalAdapter::SUB_IDS> NICPhysicalAdapter::subVendorDevice;

namespace {
constexpr char DETAILS[] = "/opt/vantor/orb/data/orb_nicAddDetails.txt";
constexpr std::size_t PIECE_BYTES = 511;
// More than any host has adapters, and longer than an address is: a list that names
// new ones for ever makes nothing grow for ever.
constexpr std::size_t LONGEST_KEPT = 64;
constexpr std::size_t MOST_ADDRESSES = 4096;

constexpr char NO_GEO_ID[] = "NotAvailable";

std::string pci_description(const std::string &pciAddress, const std::string &geoId) {
    return "PCI " + pciAddress + " " + (geoId == NO_GEO_ID ? std::string() : geoId);
}
} // namespace

int NICPhysicalAdapter::discoverPhyAdapterInventory(PhyAdapterInventory &inventory,
                                                    std::vector<std::string> row) {
    row.resize(NIC_FIELDS);
    const std::string &name = row[NIC_NAME], &pciAddress = row[NIC_PCI_DEVICE];

    std::string location = UNKNOWN_LOCATION;
    const std::string geoId = orbUtils::getGeoIDStr(pciAddress);
    if (geoId != NO_GEO_ID)
        location =
            orbPhysLocFactory::getPhysLocInterface()->getPhysLocForNetworkAdapter(pciAddress);

    std::string version;
    getFWVersion(name, version);

    std::string subVendor, manufacturer; // without a sub vendor the resolver finds it by itself
    PCIeManufacturerResolver::fetchManufacturer(pciAddress, subVendor, manufacturer);

    const SUB_IDS ids = subIdsOf(pciAddress);
    std::string model;
    getNICModel(ids.first, ids.second, model);
    if (model.empty())
        ORB_LOG_DEBUG(NIC_CTRL,
                      format_text("Unable to fetch the Model string for %s", pciAddress.c_str()));

    ORB_LOG_DEBUG(NIC_CTRL, format_text("Getting adapter status for %s", name.c_str()));
    const int status = get_adapter_status(row[NIC_LINK_STATUS].c_str());

    std::int32_t speedMbps = 0;
    if (!read_speed(row[NIC_SPEED], speedMbps))
        ORB_LOG_DEBUG(NIC_CTRL, "Error occurred in identifying the speed");

    inventory.setIntfName(name);
    inventory.setDeviceName(name);
    inventory.setSpeed(speedMbps);
    inventory.setMACAddress(row[NIC_MAC_ADDRESS]);
    inventory.setPCIDescription(pci_description(pciAddress, geoId));
    inventory.setFirmVersion(version);
    inventory.setState(nic_state_word(status));
    inventory.setHealth(nic_health_word(status));
    inventory.setPhyLocation(location);
    inventory.setNICModel(model);
    inventory.setPartNumber(getPartNumValue(model));
    inventory.setSerialNumber("");
    inventory.setManufacturer(manufacturer);
    inventory.setLinkStatus(row[NIC_LINK_STATUS]);
    return 0;
}

void NICPhysicalAdapter::getFWVersion(const std::string &name, std::string &version) {
    constexpr char FAILURE[] = "Error occurred in identifying fw version.";
    // A name with other characters is none of a network interface and would be more than a word to
    // the shell: it has no details.
    if (is_interface_name(name) &&
        !run_command("localcli network nic get -n " + name + " >> " + shell_path(DETAILS))) {
        ORB_LOG_ERROR(NIC_CTRL, FAILURE);
        return;
    }
    const ORB_COMMAND_OUTPUT found =
        read_command("grep \"Firmware Version\" " + shell_path(DETAILS), PIECE_BYTES);
    if (!found.started) {
        ORB_LOG_ERROR(NIC_CTRL, FAILURE);
        return;
    }
    const std::string lines = found.joined();
    if (!lines.empty() && !read_firmware_version(lines, version)) ORB_LOG_ERROR(NIC_CTRL, FAILURE);
}

int NICPhysicalAdapter::get_adapter_status(const char *linkStatus) {
    const ORB_COMMAND_OUTPUT found =
        read_command("grep \"Cable \" " + shell_path(DETAILS), PIECE_BYTES);
    remove_data_file(DETAILS);
    if (!found.started) {
        ORB_LOG_ERROR(NIC_CTRL, "Error occurred in identifying status.");
        return NIC_LINK_NOT_TOLD;
    }
    const std::string lines = found.joined();
    std::string cableType;
    if (!lines.empty()) {
        ORB_LOG_DEBUG(NIC_CTRL, format_text("Cable Type: %s", lines.c_str()));
        if (!read_labelled_value(lines, cableType)) {
            ORB_LOG_ERROR(NIC_CTRL, "Error occurred in identifying status of NIC.");
            return NIC_LINK_NOT_TOLD;
        }
    }
    ORB_LOG_DEBUG(NIC_CTRL, format_text("Cable Type value: %s length %d", cableType.c_str(),
                                        static_cast<int>(cableType.size())));
    return judge_link(cableType, linkStatus != nullptr ? linkStatus : "");
}

NICPhysicalAdapter::SUB_IDS NICPhysicalAdapter::subIdsOf(const std::string &pciAddress) {
    if (const auto known = subVendorDevice.find(pciAddress); known != subVendorDevice.end())
        return known->second;
    SUB_IDS ids = get_subvendor_subdevice(pciAddress);
    if (subVendorDevice.size() < MOST_ADDRESSES && pciAddress.size() <= LONGEST_KEPT)
        subVendorDevice.emplace(pciAddress, ids);
    return ids;
}

std::pair<std::string, std::string>
NICPhysicalAdapter::get_subvendor_subdevice(const std::string &pciAddress) {
    // What is no address would be more than a pattern to the shell. A virtual adapter has none.
    if (!is_safe_address_word(pciAddress)) return {};
    const ORB_COMMAND_OUTPUT found =
        read_command("cat " + shell_path(HARDWARE_LIST) + " | awk '/" + pciAddress +
                         "/,/^$/' | grep -e SubVendor -e SubDevice",
                     PIECE_BYTES);
    if (!found.started) {
        ORB_LOG_INFO(
            NIC_CTRL,
            format_text("Error(%s) occurred in identifying SubVendor and SubDevice id for %s",
                        orbUtils::getErrorDescription(found.err).c_str(), pciAddress.c_str()));
        return {};
    }
    ORB_NIC_SUB_IDS ids;
    for (const std::string &line : found.pieces)
        if (!take_sub_id(line, ids))
            ORB_LOG_WARNING(NIC_CTRL,
                            format_text("Unable to fetch SubVendor and SubDevice id for %s",
                                        pciAddress.c_str()));
    return {ids.subVendor, ids.subDevice};
}

void NICPhysicalAdapter::getNICModel(const std::string &subVendor, const std::string &subDevice,
                                     std::string &model) {
    std::uint32_t vendor = 0, device = 0;
    if (!read_sub_id(subVendor, vendor) || !read_sub_id(subDevice, device)) return;
    if (const std::string_view found = nic_model_of(vendor, device); !found.empty()) model = found;
}

std::string NICPhysicalAdapter::getPartNumValue(const std::string &model) {
    const std::string_view found = nic_part_number_of(model);
    if (found.empty())
        ORB_LOG_DEBUG(NIC_CTRL, "Unable to obtain the PartNumber of Ethernet/Infiniband instance");
    return std::string(found);
}

std::pair<std::string, std::string>
NICPhysicalAdapter::getOemValues(const std::string &pciAddress) {
    return {pci_description(pciAddress, orbUtils::getGeoIDStr(pciAddress)),
            orbPhysLocFactory::getPhysLocInterface()->getPhysLocForNetworkAdapter(pciAddress)};
}
