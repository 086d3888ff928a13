#pragma once

#include <vector>

#include "storage/orbRemoveLock.h"

class orbDiskInfo;
class orbLogicalDiskInfo;
class orbStorageControllerInfo;
class orbStorageEnclosureInfo;

/// One storage controller, as manager and factories see it. Whoever calls holds a reference.
///
/// The discovering operations run on the manager's thread, the others there or on the thread of a
/// vendor's events.
class IorbStorageController : public orbRemoveLock {
public:
    ~IorbStorageController() override = default;

    /// Each refreshes one kind of inventory from the device and puts it into `out`, which stays as
    /// it is for a kind that the controller doesn't have: callers hand over an empty one. A removed
    /// controller gives what it knew last.
    /// @return 0 or more, negative on failure
    virtual int discoverInventory(orbStorageControllerInfo &out) = 0;
    virtual int discoverPhysicalDiskInventory(std::vector<orbDiskInfo> &out) = 0;
    virtual int discoverLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &out) = 0;
    virtual int discoverStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &out) = 0;

    /// @param chipset      PCI device id << 16 | vendor id
    /// @param board        the same of the subsystem ids
    /// @param pciLocation  "0000:65:00.0"
    /// @param port         path of a SCSI host of it below the class's folder
    virtual bool isMatchingController(unsigned chipset, unsigned board, char *pciLocation,
                                      char *port) = 0;

    virtual bool enableEvents() = 0; ///< false for a removed controller
    virtual bool isEventsEnabled() = 0;
    virtual bool disableEvents() = 0; ///< false for a removed controller
    virtual void poll() = 0;          ///< looks for changes of status and raises their events

    /// Marks the controller as removed and tells of its loss. Changes no reference: the caller
    /// holds one across the call.
    virtual void processDeviceRemoval() = 0;
    /// Takes over what `previous`, the removed controller at the same place, knew; null: nothing.
    virtual void processDeviceAddition(IorbStorageController *previous) = 0;
};
