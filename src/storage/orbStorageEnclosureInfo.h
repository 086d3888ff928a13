#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "storage/orbStatusInfo.h"

/// What an enclosure is to the chassis. A controller class that delivers enclosures sets it.
enum ORB_STORAGE_ENCLOSURE_TYPE : std::uint8_t {
    ORB_ENCLOSURE_UNKNOWN = 0,
    ORB_ENCLOSURE_CHASSIS_INTERNAL = 1,
};

/// Where an enclosure sits and what it consists of.
class orbStorageEnclosureOEMInfo : public virtual orbInventoryBase {
public:
    /// {"Box", "PhysicalLocation"}. While the debug log is on, the object that is sent has
    /// "BayCount" and "SegmentCount" too. Numbers are signed.
    Json::Value getVariableData() override;
    Json::Value getInventoryData() override; ///< the same

    virtual std::int32_t getBayCount() { return bayCount; } ///< drive bays
    virtual void setBayCount(std::int32_t count) { bayCount = count; }
    virtual std::int32_t getBox() { return box; } ///< -1: not known yet
    virtual void setBox(std::int32_t number) { box = number; }
    /// Sixteen digits, the code of the backplane.
    virtual std::string getPhysicalLocation() const { return physicalLocation; }
    virtual void setPhysicalLocation(std::string code) { physicalLocation = std::move(code); }
    /// PCI address of the controller that sees the enclosure.
    virtual std::string getControllerPCILocation() const { return controllerPCILocation; }
    virtual void setControllerPCILocation(std::string address) {
        controllerPCILocation = std::move(address);
    }
    virtual ORB_STORAGE_ENCLOSURE_TYPE getEnclosureType() { return enclosureType; }
    virtual void setEnclosureType(ORB_STORAGE_ENCLOSURE_TYPE value) { enclosureType = value; }
    /// Enclosure devices that were merged into this one.
    virtual std::int32_t getSegmentCount() { return segmentCount; }
    virtual void setSegmentCount(std::int32_t count) { segmentCount = count; }

private:
    std::int32_t bayCount = 0;
    std::int32_t box = -1;
    std::string physicalLocation;
    std::string controllerPCILocation;
    ORB_STORAGE_ENCLOSURE_TYPE enclosureType = ORB_ENCLOSURE_UNKNOWN;
    std::int32_t segmentCount = 0;
};

/// One enclosure of drives.
class orbStorageEnclosureInfo : public virtual orbInventoryBase,
                                public orbStatusInfo,
                                public orbStorageEnclosureOEMInfo {
public:
    /// {"Type": "StorageEnclosure", "Data", "EventInfo": ""}. "Data": "FirmwareVersion", "Model",
    /// "Type", "PartNumber", "SerialNumber", "Oem": the object of orbStorageEnclosureOEMInfo.
    Json::Value getVariableData() override;
    /// The keys of "Data" and "Status": {"State", "Health"}.
    Json::Value getInventoryData() override;

    virtual std::string getFirmwareVersion() const { return firmwareVersion; }
    virtual void setFirmwareVersion(std::string text) { firmwareVersion = std::move(text); }
    virtual std::string getModel() const { return model; }
    virtual void setModel(std::string text) { model = std::move(text); }
    virtual std::string getType() const { return type; }
    virtual void setType(std::string text) { type = std::move(text); }
    virtual std::string getPartNumber() const { return partNumber; }
    virtual void setPartNumber(std::string text) { partNumber = std::move(text); }
    virtual std::string getSerialNumber() const { return serialNumber; }
    virtual void setSerialNumber(std::string text) { serialNumber = std::move(text); }

private:
    std::string firmwareVersion;
    std::string model;
    std::string type;
    std::string partNumber;
    std::string serialNumber;
};
