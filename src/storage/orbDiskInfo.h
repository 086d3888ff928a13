#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "storage/orbStatusInfo.h"

/// Where a drive sits.
class orbDiskPhyLoc : public virtual orbInventoryBase {
public:
    Json::Value getVariableData() override;  ///< {"Slot", "PhysicalLocation"}
    Json::Value getInventoryData() override; ///< null

    virtual std::string getSlot() { return slot; } ///< a number as text; "-1": not known
    virtual void setSlot(std::string number) { slot = std::move(number); }
    /// Sixteen digits; empty until the drive's discovery.
    virtual std::string getPhysicalLocation() const { return physicalLocation; }
    virtual void setPhysicalLocation(std::string code) { physicalLocation = std::move(code); }
    /// N of the component "ataN" of the drive's path; -1: there is none.
    virtual std::int32_t getATADeviceNumber() { return ATADeviceNumber; }
    virtual void setATADeviceNumber(std::int32_t number) { ATADeviceNumber = number; }

private:
    std::string slot = "-1";
    std::string physicalLocation;
    std::int32_t ATADeviceNumber = -1;
};

/// One drive.
class orbDiskInfo : public virtual orbInventoryBase,
                    public orbDiskStatusInfo,
                    public orbDiskPhyLoc {
public:
    /// {"Type": "Drive", "Data", "EventInfo"}. "Data": "SerialNumber", "PartNumber", "Model",
    /// "CapacityBytes" (unsigned), "Protocol", "MediaType", "Revision", "Manufacturer",
    /// "Oem": {"Slot", "PhysicalLocation"}.
    Json::Value getVariableData() override;
    Json::Value getInventoryData() override; ///< null

    virtual std::string getSerialNumber() const { return serialNumber; }
    virtual void setSerialNumber(std::string text) { serialNumber = std::move(text); }
    virtual std::string getPartNumber() const { return partNumber; } ///< by the model
    virtual void setPartNumber(std::string text) { partNumber = std::move(text); }
    virtual std::string getModel() const { return model; }
    virtual void setModel(std::string text) { model = std::move(text); }
    virtual std::uint64_t getCapacityBytes() { return capacityBytes; }
    virtual void setCapacityBytes(std::uint64_t bytes) { capacityBytes = bytes; }
    virtual std::string getProtocol() const { return protocol; } ///< such as "SATA" or "SAS"
    virtual void setProtocol(std::string text) { protocol = std::move(text); }
    virtual std::string getManufacturer() const { return manufacturer; }
    virtual void setManufacturer(std::string name) { manufacturer = std::move(name); }
    virtual std::string getMediaType() const { return mediaType; } ///< "SSD" or "HDD"
    virtual void setMediaType(std::string text) { mediaType = std::move(text); }
    virtual std::string getRevision() const { return revision; } ///< of the drive's firmware
    virtual void setRevision(std::string text) { revision = std::move(text); }
    /// Path of the SCSI generic device, such as "/dev/sg3".
    virtual std::string getOSDeviceName() const { return OSDeviceName; }
    virtual void setOSDeviceName(std::string path) { OSDeviceName = std::move(path); }
    /// Name of the entry of /sys/class/scsi_device: host, channel, target and unit, "4:0:0:0".
    virtual std::string getOSSCSILink() const { return OSSCSILink; }
    virtual void setOSSCSILink(std::string name) { OSSCSILink = std::move(name); }
    /// Descriptor of the SCSI generic device while it is open, else -1. A record never closes it.
    virtual std::int32_t getOSSGHandle() const { return OSSGHandle; }
    virtual void setOSSGHandle(std::int32_t descriptor) { OSSGHandle = descriptor; }
    /// Word 80 of an ATA drive's IDENTIFY DEVICE data.
    virtual std::int32_t getATAMajorRevision() { return ATAMajorRevision; }
    virtual void setATAMajorRevision(std::int32_t word) { ATAMajorRevision = word; }
    /// Text of the next event about it.
    virtual std::string getEventInfoString() const { return eventInfoString; }
    virtual void setEventInfoString(std::string text) { eventInfoString = std::move(text); }
    /// False once the drive has been found to lack the temperature page.
    virtual bool getIfTempPageSupported() { return ifTempPageSupported; }
    virtual void setIfTempPageSupported(bool supported) { ifTempPageSupported = supported; }
    /// False once the drive has been found to lack the page that tells an SSD's wear.
    virtual bool getIfSSDWearPageSupported() { return ifSSDWearPageSupported; }
    virtual void setIfSSDWearPageSupported(bool supported) { ifSSDWearPageSupported = supported; }
    /// The drive is no longer discovered; the record keeps its place.
    virtual bool getDeviceMissing() { return deviceMissing; }
    virtual void setDeviceMissing(bool missing) { deviceMissing = missing; }

private:
    std::string serialNumber;
    std::string partNumber;
    std::string model;
    std::uint64_t capacityBytes = 0;
    std::string protocol;
    std::string manufacturer;
    std::string mediaType;
    std::string revision;
    std::string OSDeviceName;
    std::string OSSCSILink;
    std::int32_t OSSGHandle = -1;
    std::int32_t ATAMajorRevision = 0;
    std::string eventInfoString;
    bool ifTempPageSupported = true;
    bool ifSSDWearPageSupported = true;
    bool deviceMissing = false;
};
