#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "storage/orbStatusInfo.h"

/// What the host calls a volume.
class orbLogicalDiskOEMInfo : public virtual orbInventoryBase {
public:
    Json::Value getVariableData() override;  ///< {"DeviceName"}
    Json::Value getInventoryData() override; ///< null

    virtual std::string getDeviceName() const { return deviceName; } ///< such as "/dev/sde"
    virtual void setDeviceName(std::string path) { deviceName = std::move(path); }

private:
    std::string deviceName;
};

/// How a volume's consistency checks go. Has no view: only as a part of a volume it is an object.
class orbLogicalDiskConsistencyCheckState : public virtual orbInventoryBase {
public:
    virtual std::int32_t getLastCCResult() { return lastCCResult; } ///< of the last check
    virtual void setLastCCResult(std::int32_t result) { lastCCResult = result; }
    /// The running pass has reported an error.
    virtual bool getErrorInCurrentPass() { return errorInCurrentPass; }
    virtual void setErrorInCurrentPass(bool error) { errorInCurrentPass = error; }
    virtual std::string getCCEventMessage() const { return CCEventMessage; } ///< gathered so far
    virtual void setCCEventMessage(std::string text) { CCEventMessage = std::move(text); }

private:
    std::int32_t lastCCResult = 0;
    bool errorInCurrentPass = false;
    std::string CCEventMessage;
};

/// One volume.
class orbLogicalDiskInfo : public virtual orbInventoryBase,
                           public orbStatusInfo,
                           public orbLogicalDiskOEMInfo,
                           public orbLogicalDiskConsistencyCheckState {
public:
    /// {"Type": "Volume", "Data", "EventInfo"}. "Data": "DurableName", "VolumeType" (the RAID
    /// level), "CapacityBytes" (unsigned), "Drives" (array of texts; absent where there is none),
    /// "Oem": {"DeviceName"}.
    Json::Value getVariableData() override;
    Json::Value getInventoryData() override; ///< null

    virtual std::string getDurableName() const { return durableName; } ///< the volume's identity
    virtual void setDurableName(std::string name) { durableName = std::move(name); }
    virtual std::string getRAIDLevel() const { return RAIDLevel; } ///< such as "RAID1"
    virtual void setRAIDLevel(std::string text) { RAIDLevel = std::move(text); }
    virtual std::uint64_t getCapacityBytes() { return capacityBytes; }
    virtual void setCapacityBytes(std::uint64_t bytes) { capacityBytes = bytes; }

    /// The member drives. An index is below getPhysicalDiskListSize(), which is the caller's to see
    /// to.
    virtual std::vector<std::string> getPhysicalDiskVector();     ///< a copy
    virtual std::string getPhysicalDisk(std::size_t index) const; ///< a copy
    virtual void setPhysicalDisk(std::size_t index, std::string name);
    virtual void addPhysicalDisk(std::string name); ///< at the end
    virtual void clearPhysicalDiskList();
    virtual std::size_t getPhysicalDiskListSize();
    virtual void deletePhysicalDisk(std::size_t index); ///< later ones move up

    virtual std::string getDescription() const { return description; }
    virtual void setDescription(std::string text) { description = std::move(text); }
    virtual std::string getLogicalDiskID() const { return logicalDiskID; }
    virtual void setLogicalDiskID(std::string id) { logicalDiskID = std::move(id); }
    /// Text of the next event about it.
    virtual std::string getEventInfoString() const { return eventInfoString; }
    virtual void setEventInfoString(std::string text) { eventInfoString = std::move(text); }
    /// The volume is no longer discovered; the record keeps its place.
    virtual bool getDeviceMissing() { return deviceMissing; }
    virtual void setDeviceMissing(bool missing) { deviceMissing = missing; }
    /// The controller has told that the volume was deleted.
    virtual bool getDeletedEventReceived() { return deletedEventReceived; }
    virtual void setDeletedEventReceived(bool received) { deletedEventReceived = received; }

private:
    std::string durableName;
    std::string RAIDLevel;
    std::uint64_t capacityBytes = 0;
    std::vector<std::string> physicalDisks;
    std::string description;
    std::string logicalDiskID;
    std::string eventInfoString;
    bool deviceMissing = false;
    bool deletedEventReceived = false;
};
