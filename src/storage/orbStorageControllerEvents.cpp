#include "storage/orbStorageController.h"

#include <algorithm>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "storage/SASResourceManager.h"

using Lock = orbMutexLocker<std::recursive_mutex>;

namespace {
/// Makes whatever comes next a change.
void forget_status(orbStatusInfo &record) {
    record.setState(ORB_STATE_OFFLINE);
    record.setHealth(ORB_HEALTH_CRITICAL);
}
} // namespace

bool orbStorageController::enableEvents() {
    if (isRemoved()) return false;
    const Lock lock(mutex);
    eventFlags |= STORAGE_EVENTS_ENABLED;
    if (!newDevice || foundOnFirstDiscoveryPass) return true;

    forget_status(lastControllerInventory);
    (void)generateEventOnStatusChange(); // it is announced, or there is nothing to announce
    lastControllerInventory = controllerInventory;
    const std::size_t disks = std::min(physicalDrives.size(), lastPhysicalDrives.size());
    for (std::size_t index = 0; index < disks; ++index) {
        forget_status(lastPhysicalDrives[index]);
        (void)generateEventOnStatusChange(physicalDrives[index], lastPhysicalDrives[index]);
        lastPhysicalDrives[index] = physicalDrives[index];
    }
    return true;
}

bool orbStorageController::disableEvents() {
    if (isRemoved()) return false;
    const Lock lock(mutex);
    eventFlags &= ~STORAGE_EVENTS_ENABLED;
    return true;
}

void orbStorageController::poll() {
    if (isRemoved()) return;
    const Lock lock(mutex);
    if ((eventFlags & STORAGE_EVENTS_ENABLED) == 0) return;
    if ((eventFlags & STORAGE_VENDOR_REPORTS_CONTROLLER) == 0) pollPortsLocked();
    if ((eventFlags & STORAGE_VENDOR_REPORTS_DISKS) == 0) pollDisksLocked();
}

void orbStorageController::pollPortsLocked() {
    bool changed = false;
    const std::size_t ports = std::min(controllerInventory.getControllerPortListSize(),
                                       lastControllerInventory.getControllerPortListSize());
    for (std::size_t index = 0; index < ports; ++index) {
        orbStorageControllerPortInfo port = controllerInventory.getControllerPort(index);
        orbStorageControllerPortInfo last = lastControllerInventory.getControllerPort(index);
        discoverControllerPortStatus(port);
        if (port.getState() == last.getState() && port.getHealth() == last.getHealth()) continue;
        ORB_LOG_INFO(STOR_CTLR,
                     format_text("%s: Detected port status change. [%s, %s, %s, %s]",
                                 port.getOSInstanceName().c_str(), state_text(port.getState()),
                                 state_text(last.getState()), health_text(port.getHealth()),
                                 health_text(last.getHealth())));
        controllerInventory.setControllerPort(index, port);
        changed = true;
    }
    if (!changed) return;
    (void)computeControllerStatus(); // its result is always 0
    if (generateEventOnStatusChange()) SASResourceManager::invalidateInventoryCache();
    lastControllerInventory = controllerInventory;
}

void orbStorageController::pollDisksLocked() {
    const std::size_t disks = std::min(physicalDrives.size(), lastPhysicalDrives.size());
    for (std::size_t index = 0; index < disks; ++index) {
        orbDiskInfo &disk = physicalDrives[index], &last = lastPhysicalDrives[index];
        (void)discoverPhysicalDiskStatus(disk); // the record holds the result
        if (generateEventOnStatusChange(disk, last)) SASResourceManager::invalidateInventoryCache();
        last = disk;
    }
}
