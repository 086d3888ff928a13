#include "storage/orbStorageController.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostFiles.h"
#include "physloc/orbPhysLocFactory.h"
#include "platform/PCIeManufacturerResolver.h"
#include "storage/SASResourceManager.h"
#include "storage/scsi_hosts.h"
#include "storage/storage_products.h"

using Lock = orbMutexLocker<std::recursive_mutex>;

namespace {
constexpr char NO_GEO_ID[] = "NotAvailable";

std::string text_or_empty(const char *text) {
    return text != nullptr ? std::string(text) : std::string();
}
} // namespace

int orbStorageController::discoverInventory(orbStorageControllerInfo &out) {
    const Lock lock(mutex);
    ORB_LOG_DEBUG(STOR_CTLR,
                  format_text("Gathering inventory for controller @ %s [0x%X, 0x%X] [%d].",
                              pciLocation.c_str(), chipsetID, boardID, isRemoved()));
    if (isRemoved()) {
        ORB_LOG_DEBUG(STOR_CTLR,
                      format_text("%s: Return last known inventory for removed controller.",
                                  pciLocation.c_str()));
        out = controllerInventory;
        return 0;
    }
    lastControllerInventory = controllerInventory;

    controllerInventory.setChipsetID(chipsetID);
    controllerInventory.setBoardID(boardID);
    controllerInventory.setModel(
        text_or_empty(getStorageControllerModel(chipsetID, boardID, STORAGE_FAMILY_ANY, nullptr)));
    controllerInventory.setFirmwareVersion(
        text_or_empty(HEAP_TEXT(discoverFirmwareVersion()).get()));
    controllerInventory.setSerialNumber(text_or_empty(HEAP_TEXT(discoverSerialNumber()).get()));
    std::string manufacturer;
    discoverManufacturer(manufacturer);
    controllerInventory.setManufacturer(manufacturer);
    controllerInventory.setPartNumber(getHBAPartNumber(chipsetID, boardID, nullptr));
    controllerInventory.setProtocol("SAS/SATA");

    discoverPortsLocked();
    (void)computeControllerStatus(); // its result is always 0
    discoverPlaceLocked();

    if ((eventFlags & (STORAGE_EVENTS_ENABLED | STORAGE_VENDOR_REPORTS_CONTROLLER)) ==
        STORAGE_EVENTS_ENABLED)
        (void)generateEventOnStatusChange(); // a rebuild that runs needs no other
    if (controllerInventory.getFirmwareVersion() != lastControllerInventory.getFirmwareVersion())
        SASResourceManager::sendInventorytToRMCOnCacheBuild();

    lastControllerInventory = controllerInventory;
    out = controllerInventory;
    return 0;
}

void orbStorageController::discoverPortsLocked() {
    const std::vector<orbStorageControllerPortInfo> former =
        controllerInventory.getControllerPortVector();
    controllerInventory.clearControllerPortList();
    for (std::size_t index = 0; index < portList.size(); ++index) {
        const std::string path = portList[index];
        orbStorageControllerPortInfo port;
        port.setOSInstanceName(path);
        if (const HEAP_TEXT driver = read_host_attribute(path, "proc_name"))
            port.setDriverName(driver.get());
        discoverControllerPortStatus(port);
        port.setATADeviceNumber(getATADeviceNumberForControllerPort(index));
        // The former record's stamp comes after the judgement and in place of the new one, also
        // where it is 0: only a port that was first seen in recovery keeps a stamp.
        const auto same =
            std::find_if(former.begin(), former.end(), [&path](const auto &candidate) {
                return candidate.getOSInstanceName() == path;
            });
        if (same != former.end()) port.setLastRecoveryTimestamp(same->getLastRecoveryTimestamp());
        controllerInventory.addControllerPort(port);
    }
}

void orbStorageController::discoverPlaceLocked() {
    controllerInventory.setPhysicalLocation(
        orbPhysLocFactory::getPhysLocInterface()->getPhysLocForIOSlot(pciLocation));
    std::string description = "PCI " + pciLocation;
    const std::string geoId = orbUtils::getGeoIDStr(pciLocation);
    if (!geoId.empty() && geoId != NO_GEO_ID) description += " " + geoId;
    controllerInventory.setDescription(description);
    ORB_LOG_DEBUG(STOR_CTLR,
                  format_text("pciloc=[%s] phyloc=[%s] Description=[%s]", pciLocation.c_str(),
                              controllerInventory.getPhysicalLocation().c_str(),
                              description.c_str()));
}

char *orbStorageController::discoverFirmwareVersion() {
    const Lock lock(mutex);
    if (portList.empty()) return nullptr;
    HEAP_TEXT text = read_host_attribute(getPort(0), "firmware_revision");
    if (text)
        ORB_LOG_INFO(STOR_CTLR, format_text("%s: SCSI HOST HBA Firmware: %s", pciLocation.c_str(),
                                            text.get()));
    return text.release();
}

char *orbStorageController::discoverSerialNumber() {
    const Lock lock(mutex);
    if (portList.empty()) return nullptr;
    HEAP_TEXT text = read_host_attribute(getPort(0), "board_tracer");
    if (text)
        ORB_LOG_INFO(STOR_CTLR, format_text("%s: SCSI HOST HBA Board Tracer: %s",
                                            pciLocation.c_str(), text.get()));
    return text.release();
}

void orbStorageController::discoverManufacturer(std::string &out) {
    std::string subVendor; // the resolver finds it by itself
    PCIeManufacturerResolver::fetchManufacturer(getPciLocation(), subVendor, out);
}

int orbStorageController::getHostNumberForControllerPort(std::size_t index) {
    return port_host_number(getPort(index)).value_or(-1);
}

int orbStorageController::getATADeviceNumberForControllerPort(std::size_t index) {
    const Lock lock(mutex);
    const std::string port = getPort(index);
    char link[PATH_MAX];
    const ssize_t length = ::readlink(IorbHostFiles::get().map(port).c_str(), link, sizeof link);
    if (length < 0) {
        const int err = errno;
        ORB_LOG_DEBUG(
            STOR_CTLR,
            format_text("Unable to determine ATA port number for %s. readlink failed! (%d)",
                        port.c_str(), err));
        return -1;
    }
    const std::string target(link, static_cast<std::size_t>(length));
    const std::optional<int> number = port_ata_number(target);
    if (!number)
        ORB_LOG_DEBUG(STOR_CTLR, format_text("No ATA device number found for %s (%s).",
                                             port.c_str(), target.c_str()));
    return number.value_or(-1);
}

int orbStorageController::discoverPhysicalDiskInventory(std::vector<orbDiskInfo> &out) {
    const Lock lock(mutex);
    ORB_LOG_DEBUG(STOR_CTLR,
                  format_text("Gathering disk inventory for controller @ %s [0x%X, 0x%X] [%d].",
                              pciLocation.c_str(), chipsetID, boardID, isRemoved()));
    if (isRemoved())
        ORB_LOG_DEBUG(STOR_CTLR,
                      format_text("%s: Return last known PD inventory for removed controller.",
                                  pciLocation.c_str()));
    else
        synchronizePhysicalDrivesInventory();
    out = physicalDrives;
    std::erase_if(out, [](orbDiskInfo &disk) { return disk.getDeviceMissing(); });
    return 0;
}

void orbStorageController::synchronizePhysicalDrivesInventory() {
    const Lock lock(mutex);
    lastPhysicalDrives = physicalDrives;
}
