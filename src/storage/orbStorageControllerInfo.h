#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "storage/orbStatusInfo.h"
#include "storage/orbStorageControllerPortInfo.h"

/// Where a controller sits.
class orbIOControllerPhyLoc : public virtual orbInventoryBase {
public:
    Json::Value getVariableData() override;  ///< {"PhysicalLocation", "Description"}
    Json::Value getInventoryData() override; ///< null

    /// Sixteen digits, the code of the controller's slot.
    virtual std::string getPhysicalLocation() const { return physicalLocation; }
    virtual void setPhysicalLocation(std::string code) { physicalLocation = std::move(code); }
    /// "PCI ", the PCI address and, where a GeoID is known, a blank and the GeoID.
    virtual std::string getDescription() const { return description; }
    virtual void setDescription(std::string text) { description = std::move(text); }

private:
    std::string physicalLocation;
    std::string description;
};

/// One storage controller with its ports.
class orbStorageControllerInfo : public virtual orbInventoryBase,
                                 public orbStatusInfo,
                                 public orbIOControllerPhyLoc {
public:
    /// {"Type": "Controller", "Data", "EventInfo"}. "Data": "Model", "SerialNumber", "PartNumber",
    /// "FirmwareVersion", "Protocol", "Manufacturer", "Oem": {"PhysicalLocation", "Description"}.
    Json::Value getVariableData() override;
    Json::Value getInventoryData() override; ///< null

    virtual std::string getModel() const { return model; }
    virtual void setModel(std::string text) { model = std::move(text); }
    virtual std::string getSerialNumber() const { return serialNumber; }
    virtual void setSerialNumber(std::string text) { serialNumber = std::move(text); }
    virtual std::string getPartNumber() const { return partNumber; }
    virtual void setPartNumber(std::string text) { partNumber = std::move(text); }
    virtual std::string getFirmwareVersion() const { return firmwareVersion; }
    virtual void setFirmwareVersion(std::string text) { firmwareVersion = std::move(text); }
    virtual std::string getManufacturer() const { return manufacturer; }
    virtual void setManufacturer(std::string name) { manufacturer = std::move(name); }
    virtual std::string getProtocol() const { return protocol; } ///< such as "SAS/SATA"
    virtual void setProtocol(std::string text) { protocol = std::move(text); }
    /// PCI device id in the upper, PCI vendor id in the lower 16 bits.
    virtual std::uint32_t getChipsetID() { return chipsetID; }
    virtual void setChipsetID(std::uint32_t id) { chipsetID = id; }
    /// PCI subsystem device id in the upper, subsystem vendor id in the lower 16 bits.
    virtual std::uint32_t getBoardID() { return boardID; }
    virtual void setBoardID(std::uint32_t id) { boardID = id; }

    /// The ports, in the order of their discovery. An index is below getControllerPortListSize(),
    /// which is the caller's to see to.
    virtual std::vector<orbStorageControllerPortInfo> getControllerPortVector(); ///< a copy
    virtual orbStorageControllerPortInfo getControllerPort(std::size_t index);   ///< a copy
    virtual void setControllerPort(std::size_t index, orbStorageControllerPortInfo port);
    virtual void addControllerPort(orbStorageControllerPortInfo port); ///< at the end
    virtual void clearControllerPortList();
    virtual std::size_t getControllerPortListSize();
    virtual void deleteControllerPort(std::size_t index); ///< later ones move up

    /// Text of the next event about it.
    virtual std::string getEventInfoString() const { return eventInfoString; }
    virtual void setEventInfoString(std::string text) { eventInfoString = std::move(text); }

private:
    std::string model;
    std::string serialNumber;
    std::string partNumber;
    std::string firmwareVersion;
    std::string manufacturer;
    std::string protocol;
    std::uint32_t chipsetID = 0;
    std::uint32_t boardID = 0;
    std::vector<orbStorageControllerPortInfo> controllerPorts;
    std::string eventInfoString;
};
