#include "storage/orbStorageController.h"

#include <algorithm>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"

using Lock = orbMutexLocker<std::recursive_mutex>;

void orbStorageController::processDeviceRemoval() {
    ORB_LOG_DEBUG(STOR_CTLR, format_text("Controller @ [%s] removal processing started.",
                                         pciLocation.c_str()));
    const Lock lock(mutex);
    removed = true; // from here on the discoveries give what is known

    for (std::size_t index = 0; index < controllerInventory.getControllerPortListSize(); ++index) {
        orbStorageControllerPortInfo port = controllerInventory.getControllerPort(index);
        port.setState(ORB_STATE_OFFLINE);
        port.setHealth(ORB_HEALTH_CRITICAL);
        controllerInventory.setControllerPort(index, port);
    }
    (void)computeControllerStatus(); // its result is always 0
    if ((eventFlags & (STORAGE_EVENTS_ENABLED | STORAGE_VENDOR_REPORTS_CONTROLLER)) ==
        STORAGE_EVENTS_ENABLED)
        (void)generateEventOnStatusChange(); // the removal itself has the list pushed
    lastControllerInventory = controllerInventory;

    const bool tellOfDisks =
        (eventFlags & (STORAGE_EVENTS_ENABLED | STORAGE_VENDOR_REPORTS_DISKS)) ==
        STORAGE_EVENTS_ENABLED;
    const std::size_t disks = std::min(physicalDrives.size(), lastPhysicalDrives.size());
    for (std::size_t index = 0; index < disks; ++index) {
        orbDiskInfo &disk = physicalDrives[index];
        if (disk.getDeviceMissing()) continue; // its going has been told
        disk.setEventInfoString("Unable to determine the transport protocol of the disk drive.");
        disk.setState(ORB_STATE_OFFLINE);
        disk.setHealth(ORB_HEALTH_CRITICAL);
        if (tellOfDisks) (void)generateEventOnStatusChange(disk, lastPhysicalDrives[index]);
        lastPhysicalDrives[index] = disk;
    }
}

void orbStorageController::processDeviceAddition(IorbStorageController *previous) {
    auto *const other = dynamic_cast<orbStorageController *>(previous);
    if (other == nullptr) return;
    const Lock own(mutex);
    const Lock others(other->mutex);
    controllerInventory = other->controllerInventory;
    physicalDrives = other->physicalDrives;
    lastControllerInventory = other->lastControllerInventory;
    lastPhysicalDrives = other->lastPhysicalDrives;
    eventFlags = other->eventFlags;
}

void orbStorageController::synchronizeLogicalDiskInventory() {
    const Lock lock(mutex);
    const std::string serial = controllerInventory.getSerialNumber();
    const auto log = [&serial](const char *what, const std::string &name, const char *end) {
        ORB_LOG_DEBUG(STOR_CTLR, format_text("Controller [SN %s]: %s%s%s", serial.c_str(), what,
                                             name.c_str(), end));
    };
    log("Inside synchronizeLogicalDiskInventory", "", "");
    for (orbLogicalDiskInfo &last : lastLogicalDisks) {
        const std::string name = last.getDurableName();
        if (name.empty()) {
            log("Found a logical disk with empty durable name. [LogicalDiskID = ",
                last.getLogicalDiskID(), "]");
            continue;
        }
        log("Looking for LD [", name, "] in latest inventory.");
        const bool found = std::any_of(
            logicalDisks.begin(), logicalDisks.end(),
            [&name](const orbLogicalDiskInfo &disk) { return disk.getDurableName() == name; });
        if (found) {
            log("Found LD [", name, "] in latest inventory.");
            continue;
        }
        const bool missing = last.getDeviceMissing();
        if (last.getDeletedEventReceived()) {
            log("Omitting LD [", name,
                missing ? "] that has received deleted-event. (Device missing)"
                        : "] that has received deleted-event. (Device not missing)");
            continue;
        }
        log(missing ? "Re-added missing LD [" : "Added placeholder for LD [", name,
            missing ? "] to latest inventory." : "] in latest inventory.");
        last.setDeviceMissing(true);
        logicalDisks.push_back(last);
    }
}
