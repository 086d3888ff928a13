#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "storage/orbStatusInfo.h"

/// One port of a controller: a SCSI host. Ports are told through their controller's status and
/// have no view of their own.
class orbStorageControllerPortInfo : public virtual orbInventoryBase, public orbStatusInfo {
public:
    Json::Value getVariableData() override;  ///< null
    Json::Value getInventoryData() override; ///< null

    /// Path of the SCSI host, such as "/sys/class/scsi_host/host4".
    virtual std::string getOSInstanceName() const { return OSInstanceName; }
    virtual void setOSInstanceName(std::string path) { OSInstanceName = std::move(path); }
    virtual std::string getDriverName() const { return driverName; } ///< the host's proc_name
    virtual void setDriverName(std::string name) { driverName = std::move(name); }
    /// Second since the epoch in which the port was first seen in recovery; 0: it is in none.
    virtual std::int64_t getLastRecoveryTimestamp() const { return lastRecoveryTimestamp; }
    virtual void setLastRecoveryTimestamp(std::int64_t second) { lastRecoveryTimestamp = second; }
    /// N of the component "ataN" of the port's path; -1: there is none.
    virtual std::int32_t getATADeviceNumber() { return ATADeviceNumber; }
    virtual void setATADeviceNumber(std::int32_t number) { ATADeviceNumber = number; }

private:
    std::string OSInstanceName;
    std::string driverName;
    std::int64_t lastRecoveryTimestamp = 0;
    std::int32_t ATADeviceNumber = -1;
};
