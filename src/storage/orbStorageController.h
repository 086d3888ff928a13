#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "storage/IorbStorageController.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbStorageControllerInfo.h"
#include "storage/orbStorageControllerPortInfo.h"
#include "storage/orbStorageEnclosureInfo.h"
#include "storage/port_status.h"

/// Bits of a controller's event flags.
constexpr std::uint32_t STORAGE_VENDOR_REPORTS_CONTROLLER = 1; ///< its own channel, not our poll
constexpr std::uint32_t STORAGE_VENDOR_REPORTS_DISKS = 2;      ///< the same for its drives
constexpr std::uint32_t STORAGE_EVENTS_ENABLED = 4;

/// A storage controller as the storage manager sees it: any host bus adapter whose SCSI hosts the
/// kernel shows, and the base of the classes for particular hardware. Keeps the present inventory
/// and the last known one; what differs between the two becomes events.
///
/// Threads: the storage manager's; for classes behind a vendor's library also that library's. The
///          ids, the PCI location, the family and `foundOnFirstDiscoveryPass` are set before the
///          object is listed and never again, so their getters take no lock.
/// Locks:   `mutex`, recursive, is held by everything that touches an inventory, also while an
///          event about it is delivered. A caller may hold the storage cache's lock and a
///          factory's.
/// Life:    who calls holds a reference. A removed controller goes on answering with what it knew
///          last until the last reference is gone.
class orbStorageController : public IorbStorageController {
public:
    /// Takes a SCSI host's controller whose model the controller table has, whatever its family.
    /// @param chipset      PCI device above vendor id
    /// @param board        subsystem device above vendor id
    /// @param pciLocation  such as "0000:3b:00.0"
    /// @param firstPass    the daemon looks for controllers for the first time
    /// @param out          takes the new object with one reference, null where there is none
    /// @return false where the table has no such model; true with `out` null without memory
    static bool claimDevice(unsigned chipset, unsigned board, std::string &pciLocation,
                            bool firstPass, orbStorageController **out);

    ~orbStorageController() override;
    orbStorageController(const orbStorageController &) = delete;
    orbStorageController &operator=(const orbStorageController &) = delete;

    // -- As a factory and the storage manager use it --------------------------------------------
    /// Rebuilds the inventory of the controller and its ports; a removed one gives its last.
    /// @return 0, negative where a class can't reach its hardware
    int discoverInventory(orbStorageControllerInfo &out) override;
    /// Rebuilds the list of drives. `out` never holds the placeholders of drives that are gone.
    int discoverPhysicalDiskInventory(std::vector<orbDiskInfo> &out) override;
    /// A host bus adapter has neither volumes nor enclosures: 0, `out` as it was.
    int discoverLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &out) override;
    int discoverStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &out) override;
    /// By ids and PCI location; the SCSI host isn't looked at, a controller may have several.
    bool isMatchingController(unsigned chipset, unsigned board, char *location,
                              char *port) override;
    /// Switches events on and announces the status of a controller that was added while the daemon
    /// ran. @return false for a removed one
    bool enableEvents() override;
    bool isEventsEnabled() override; ///< true: a poll reports
    bool disableEvents() override;   ///< false for a removed one
    /// Looks at the ports and drives anew, but for what a vendor's channel reports, and raises
    /// events about changes. Does nothing while events are off.
    void poll() override;
    /// Marks the controller as removed, its ports and drives as offline, and tells of it where the
    /// poll reports. Changes no reference count: the factory releases what its list held.
    void processDeviceRemoval() override;
    /// Takes over what another object knew about the controller in the same place, such as before
    /// a reset. @param previous  its mutex is taken within this one's; null: nothing is done
    void processDeviceAddition(IorbStorageController *previous) override;

    // -- What it is -----------------------------------------------------------------------------
    virtual unsigned getChipsetID();
    virtual unsigned getBoardID();
    virtual std::string getPciLocation();
    /// Ports are SCSI hosts, as paths such as "/sys/class/scsi_host/host3".
    virtual std::vector<std::string> getPortVector();
    virtual std::string getPort(std::size_t index); ///< "" where there is none
    virtual void setPort(std::size_t index, const std::string &port);
    virtual void addPort(const std::string &port);
    virtual void clearPortList();
    virtual std::size_t getPortListSize();
    virtual void deletePort(std::size_t index);
    virtual std::uint8_t getFamilyFlags();
    virtual bool getNewDevice();
    virtual void setNewDevice(bool isNew);
    virtual bool getFoundOnFirstDiscoveryPass();

    // -- Copies of what it knows, without looking anew ------------------------------------------
    virtual void getInventory(orbStorageControllerInfo &out);
    virtual orbStorageControllerInfo getInventory();
    virtual void getPhysicalDrivesInventory(std::vector<orbDiskInfo> &out);
    virtual std::vector<orbDiskInfo> getPhysicalDrivesInventory();
    virtual void getLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &out);
    virtual std::vector<orbLogicalDiskInfo> getLogicalDiskInventory();
    virtual void getStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &out);
    virtual std::vector<orbStorageEnclosureInfo> getStorageEnclosureInventory();

    // -- Steps that a class for particular hardware may replace ---------------------------------
    virtual int getHostNumberForControllerPort(std::size_t index);      ///< -1 where not told
    virtual int getATADeviceNumberForControllerPort(std::size_t index); ///< so too
    /// Text that the caller frees with free(), or null. Source: the first port's attributes
    /// "firmware_revision" and "board_tracer".
    virtual char *discoverFirmwareVersion();
    virtual char *discoverSerialNumber();
    virtual void discoverManufacturer(std::string &out); ///< left alone where not told
    /// State, health and recovery stamp by the attribute "state" of the port's `OSInstanceName`.
    virtual void discoverControllerPortStatus(orbStorageControllerPortInfo &port);
    virtual int discoverPhysicalDiskSlotNumber(orbDiskInfo &disk); ///< 0; -1 where not known
    virtual int discoverPhysicalDiskStatus(orbDiskInfo &disk);     ///< 0
    virtual bool validatePhysicalDisk(orbDiskInfo &disk);          ///< false drops the drive
    /// State, health and event text of the controller by its ports. @return 0
    virtual int computeControllerStatus();
    virtual std::string formatControllerEventInfoString(STORAGE_EVENT_INFO_TYPE type);
    virtual void populateDeviceNameMap();
    virtual std::string getLogicalDeviceName(std::string key); ///< "" for an unknown key
    virtual void synchronizePhysicalDrivesInventory();
    /// Keeps volumes that vanished without a deleted-event in the list, marked as missing.
    virtual void synchronizeLogicalDiskInventory();
    /// How many ports the hardware has, absent ones counted as offline; 0: those that are there.
    virtual std::size_t getMaxSupportedControllerPorts();

protected:
    orbStorageController() = default;

    /// Raises an event where the health of the controller changed in a way that matters. The two
    /// below run with `mutex` held. @return true when an event went out
    bool generateEventOnStatusChange();
    /// The same for a drive, by its state. Empties the event text of one that runs again.
    bool generateEventOnStatusChange(orbDiskInfo &current, orbDiskInfo &previous);

    std::uint32_t chipsetID = 0;            // ids, place, family and the mark of the first pass
    std::uint32_t boardID = 0;              // are set before others see the object
    std::string pciLocation;                // twelve characters
    std::vector<std::string> portList;      // guarded by mutex, as is all the rest
    std::uint8_t familyFlags = 0;           // the controller table's bits
    bool newDevice = true;                  // no further discovery has found it yet
    bool foundOnFirstDiscoveryPass = false; // it was there when the daemon started
    orbStorageControllerInfo controllerInventory;
    std::vector<orbDiskInfo> physicalDrives;
    std::vector<orbLogicalDiskInfo> logicalDisks;
    std::vector<orbStorageEnclosureInfo> storageEnclosures;
    std::map<std::string, std::string> deviceNameMap;
    std::uint32_t eventFlags = 0; // STORAGE_VENDOR_REPORTS_..., STORAGE_EVENTS_ENABLED
    orbStorageControllerInfo lastControllerInventory;
    std::vector<orbDiskInfo> lastPhysicalDrives;
    std::vector<orbLogicalDiskInfo> lastLogicalDisks;
    std::vector<orbStorageEnclosureInfo> lastStorageEnclosures;
    std::recursive_mutex mutex;
    std::int32_t lastControllerEventCritical = -1; // what the last event said; -1: there was none

private:
    void discoverPortsLocked();
    void discoverPlaceLocked();
    void pollPortsLocked();
    void pollDisksLocked();
};
