#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "storage/storage_utils.h"

/// The SCSI hosts of the machine and the PCI cards behind them, as sysfs tells. Each is a host path
/// that is mapped here. No log; any thread.

constexpr char SCSI_HOST_CLASS[] = "/sys/class/scsi_host";
constexpr char SCSI_DEVICE_CLASS[] = "/sys/class/scsi_device";

/// Names of the SCSI hosts in byte order, so that "host10" stands before "host2"; empty where the
/// folder can't be read.
std::vector<std::string> list_scsi_hosts();

/// Text of a file in a SCSI host's folder, as get_sysfs_str() gives it; null where it gives none.
HEAP_TEXT read_host_attribute(const std::string &hostPath, const std::string &name);

/// Ids of a PCI card: the device's half above, the vendor's below. A file that gives no number
/// counts as all ones.
struct ORB_PCI_CARD_IDS {
    std::uint32_t chipsetID = 0;
    std::uint32_t boardID = 0; ///< of the subsystem
};

/// Reads the ids of the card that a SCSI host stands on, or that its parent does.
/// @param hostPath  SCSI_HOST_CLASS, "/" and a name
/// @return false where neither shows the files of a PCI device
bool read_pci_card_ids(const std::string &hostPath, ORB_PCI_CARD_IDS &out);

/// Bytes of a host's link that are looked at.
constexpr std::size_t DEVICE_LINK_SIZE = 255;

/// Text of a host's "device" link, its first DEVICE_LINK_SIZE bytes.
/// @return false where it can't be read as a link
bool read_device_link(const std::string &hostPath, std::string &out);

/// The PCI address that a host's "device" link leads by: the last one of the link's text and, where
/// that has none, as present kernels have it, of the path that the link leads to.
/// @param link  what read_device_link() gave
/// @return "" where there is none
std::string pci_location_of_host(const std::string &hostPath, const std::string &link);
