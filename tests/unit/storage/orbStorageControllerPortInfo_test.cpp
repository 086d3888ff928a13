#include "storage/orbStorageControllerPortInfo.h"

#include <vector>

#include <gtest/gtest.h>

#include "unit/storage/RecordFields.h"

namespace {
using Port = orbStorageControllerPortInfo;

std::vector<RecordField<Port>> portFields() {
    return {
        field<Port>("OSInstanceName", &Port::getOSInstanceName, &Port::setOSInstanceName, "",
                    "/sys/class/scsi_host/host4"),
        field<Port>("driverName", &Port::getDriverName, &Port::setDriverName, "", "ahci"),
        field<Port>("lastRecoveryTimestamp", &Port::getLastRecoveryTimestamp,
                    &Port::setLastRecoveryTimestamp, 0, 99999999999),
        field<Port>("ATADeviceNumber", &Port::getATADeviceNumber, &Port::setATADeviceNumber, -1, 7),
    };
}

TEST(ControllerPort, HasItsFields) {
    expectFields(status_fields<Port>() + portFields());
    expectConstGetters(portFields());
    expectSlots(portFields(), STATUS_SLOTS);
}

// A port is told through its controller's status alone.
TEST(ControllerPort, HasNoView) {
    Port port;
    port.setState(ORB_STATE_ONLINE);
    port.setOSInstanceName("/sys/class/scsi_host/host4");
    EXPECT_TRUE(port.getVariableData().isNull());
    EXPECT_TRUE(port.getInventoryData().isNull());
    EXPECT_TRUE(static_cast<orbInventoryBase &>(port).getVariableData().isNull());
    EXPECT_TRUE(static_cast<orbStatusInfo &>(port).getInventoryData().isNull());
}
} // namespace
