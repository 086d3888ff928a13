#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "core/status_words.h"

/// What stands in a text that nobody has told.
constexpr char FC_NOT_AVAILABLE[] = "Not Available";

/// State and health of an adapter. A value of two bytes.
class orbFCDeviceStatusInfo {
public:
    void setFCDeviceState(ORB_RESOURCE_STATE value) { state = value; }
    ORB_RESOURCE_STATE getFCDeviceState() const { return state; }
    void setFCDeviceHealth(ORB_RESOURCE_HEALTH value) { health = value; }
    ORB_RESOURCE_HEALTH getFCDeviceHealth() const { return health; }

private:
    ORB_RESOURCE_STATE state = ORB_STATE_UNKNOWN;
    ORB_RESOURCE_HEALTH health = ORB_HEALTH_UNKNOWN;
};

/// Where an adapter sits. A value.
class orbFCDevicePhyLoc {
public:
    void setFCPhysicalLocation(std::string code) { location = std::move(code); }
    const std::string &getFCPhysicalLocation() const { return location; } ///< sixteen digits

private:
    std::string location = FC_NOT_AVAILABLE;
};

/// One Fibre Channel adapter as the vendor's library last told of it. A value; texts of the library
/// are its bytes, unchanged.
class orbFCDeviceInfo {
public:
    static constexpr std::size_t NAME_LIMIT = 131; ///< bytes of a name that are kept

    std::int32_t portCount = 0;    ///< stays 0: an adapter is one entry whatever its ports
    std::int32_t adapterIndex = 0; ///< in the list of all libraries' adapters
    std::uint32_t handle = 0;      ///< of the adapter while it is open
    std::string adapterName;       ///< the library's, its first NAME_LIMIT bytes

    void setorbFCSlot(std::string text) { slot = std::move(text); }
    const std::string &getorbFCSlot() const { return slot; } ///< nobody tells it so far
    void setorbFCModel(std::string text) { model = std::move(text); }
    const std::string &getorbFCModel() const { return model; } ///< the model's description
    void setorbFCSerialNumber(std::string text) { serialNumber = std::move(text); }
    const std::string &getorbFCSerialNumber() const { return serialNumber; }
    void setorbFCPartNumber(std::string text) { partNumber = std::move(text); }
    const std::string &getorbFCPartNumber() const { return partNumber; } ///< "" for others' cards
    void setorbFCFirmwareVersion(std::string text) { firmwareVersion = std::move(text); }
    const std::string &getorbFCFirmwareVersion() const { return firmwareVersion; }
    void setorbFCRomVersion(std::string text) { romVersion = std::move(text); }
    const std::string &getorbFCRomVersion() const { return romVersion; }
    void setorbFCWWPN(std::string text) { wwpn = std::move(text); }
    /// Of the last port that could be read.
    const std::string &getorbFCWWPN() const { return wwpn; }
    void setorbFCWWNN(std::string text) { wwnn = std::move(text); }
    const std::string &getorbFCWWNN() const { return wwnn; } ///< the key between two rebuilds
    void setorbFCDescription(std::string text) { description = std::move(text); }
    /// "PCI ", address, blank, GeoID or nothing; empty where the host doesn't know the adapter.
    const std::string &getorbFCDescription() const { return description; }
    void setorbFCManufacturer(std::string text) { manufacturer = std::move(text); }
    const std::string &getorbFCManufacturer() const { return manufacturer; } ///< "" where unknown
    void setorbFCStatus(orbFCDeviceStatusInfo value) { status = value; }
    orbFCDeviceStatusInfo getorbFCStatus() const { return status; }
    void setorbOemPhyLoc(orbFCDevicePhyLoc value) { physicalLocation = std::move(value); }
    const orbFCDevicePhyLoc &getorbFCOemPhyLoc() const { return physicalLocation; }

private:
    std::string slot = FC_NOT_AVAILABLE;
    std::string model = FC_NOT_AVAILABLE;
    std::string serialNumber = FC_NOT_AVAILABLE;
    std::string partNumber = FC_NOT_AVAILABLE;
    std::string firmwareVersion = FC_NOT_AVAILABLE;
    std::string romVersion = FC_NOT_AVAILABLE;
    std::string wwpn = FC_NOT_AVAILABLE;
    std::string wwnn = FC_NOT_AVAILABLE;
    std::string description;
    std::string manufacturer = FC_NOT_AVAILABLE;
    orbFCDeviceStatusInfo status;
    orbFCDevicePhyLoc physicalLocation;
};
