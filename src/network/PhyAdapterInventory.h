#pragma once

#include <cstdint>
#include <string>
#include <utility>

/// One network adapter as the last rebuild saw it. A value; all texts start empty.
class PhyAdapterInventory {
public:
    struct PhysicalAdapterStruct {
        std::string nicModel; ///< marketing name by the PCI sub-ids, "" for a card not in the table
        std::string serialNumber;   ///< "" on every host so far: no command tells it
        std::string partNumber;     ///< "" where the model names no known part
        std::string firmVersion;    ///< as the driver tells it
        std::string deviceName;     ///< the interface's name
        std::string macAddress;     ///< as the host prints it
        std::int32_t speedMbps = 0; ///< 0 while the link is down
        std::string pciDescription; ///< "PCI ", address, blank, GeoID or nothing
        std::string phyLocation;    ///< sixteen digits
        std::string state, health;  ///< words of the status tables
        std::string linkStatus;     ///< the host's word; the link poll compares it
        std::string intfName;       ///< the key by which two rebuilds are compared
        std::string manufacturer;   ///< "" where nobody could tell
    };

    void setNICModel(std::string text) { adapter.nicModel = std::move(text); }
    const std::string &getNICModel() const { return adapter.nicModel; }
    void setSerialNumber(std::string text) { adapter.serialNumber = std::move(text); }
    const std::string &getSerialNumber() const { return adapter.serialNumber; }
    void setPartNumber(std::string text) { adapter.partNumber = std::move(text); }
    const std::string &getPartNumber() const { return adapter.partNumber; }
    void setFirmVersion(std::string text) { adapter.firmVersion = std::move(text); }
    const std::string &getFirmVersion() const { return adapter.firmVersion; }
    void setDeviceName(std::string text) { adapter.deviceName = std::move(text); }
    const std::string &getDeviceName() const { return adapter.deviceName; }
    void setMACAddress(std::string text) { adapter.macAddress = std::move(text); }
    const std::string &getMACAddress() const { return adapter.macAddress; }
    void setSpeed(std::int32_t mbps) { adapter.speedMbps = mbps; }
    std::int32_t getSpeed() const { return adapter.speedMbps; }
    void setPCIDescription(std::string text) { adapter.pciDescription = std::move(text); }
    const std::string &getPCIDescription() const { return adapter.pciDescription; }
    void setPhyLocation(std::string text) { adapter.phyLocation = std::move(text); }
    const std::string &getPhyLocation() const { return adapter.phyLocation; }
    void setState(std::string word) { adapter.state = std::move(word); }
    const std::string &getState() const { return adapter.state; }
    void setHealth(std::string word) { adapter.health = std::move(word); }
    const std::string &getHealth() const { return adapter.health; }
    void setLinkStatus(std::string word) { adapter.linkStatus = std::move(word); }
    const std::string &getLinkStatus() const { return adapter.linkStatus; }
    void setIntfName(std::string name) { adapter.intfName = std::move(name); }
    const std::string &getIntfName() const { return adapter.intfName; }
    void setManufacturer(std::string name) { adapter.manufacturer = std::move(name); }
    const std::string &getManufacturer() const { return adapter.manufacturer; }

private:
    PhysicalAdapterStruct adapter;
};
