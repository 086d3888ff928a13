#include "VmTest.h"
#include "vendor/location_code.h"

namespace {
constexpr int REFRESH_SECONDS = 10;
// The kernel's class folders keep their times, so that what comes is seen at the next refresh.
constexpr VmRmc::SECONDS CHANGE_IS_TOLD{45};

Json::Value controllers_of(const RMC_DOCUMENT &inventory) {
    return inventory.value["HostDataCollection"]["StorageControllers"];
}
} // namespace

/// Storage controllers of the machine's kernel: an emulated SAS adapter of the daemon's table, and
/// hosts that are not.
class StorageTest : public VmTest {
protected:
    void TearDown() override {
        if (daemon) daemon->makeSure();
        VmTest::TearDown();
    }
};

TEST_F(StorageTest, AdapterOfTheTableIsToldLeavesAndComesBack) {
    VmMachine &machine = take(VmWorld::get().machine(slottedShape()));
    const std::string device = std::string("/sys/bus/pci/devices/") + SAS_ADDRESS;
    machine.ask("modprobe virtio_scsi && modprobe mptsas");
    ASSERT_TRUE(machine.waitFor("ls -d " + device + "/host*", VmMachine::SECONDS(30)));
    ASSERT_NE(machine.ask("ls /sys/class/scsi_host | wc -l"), "1") << "virtio's is there too";
    ASSERT_EQ(
        machine.ask("readlink $(ls -d " + device + "/host*/scsi_host/host*)/device").substr(0, 13),
        "../../../host");

    daemon->makeSure();
    rmc.forget();
    Json::Value members = VmDaemon::talkative();
    members["EnableResources"].append("StorageControllers");
    members["CacheRefreshInSeconds"]["StorageControllers"] = REFRESH_SECONDS;
    members["InventoryQueryIntervalInSeconds"] = 1;
    daemon->start(members);
    ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
    const Json::Value list = controllers_of(rmc.inventories().front());
    ASSERT_EQ(list.size(), 1u) << list;
    const Json::Value &adapter = list[0];
    EXPECT_EQ(adapter["Model"], "SAS1068 SAS Host Bus Adapter");
    EXPECT_EQ(adapter["PartNumber"], "");
    EXPECT_EQ(adapter["Protocol"], "SAS/SATA");
    EXPECT_EQ(adapter["Status"]["State"], "Running");
    EXPECT_EQ(adapter["Status"]["Health"], "OK");
    EXPECT_EQ(adapter["Oem"]["Description"], std::string("PCI ") + SAS_ADDRESS + " " + SAS_PLACE);
    EXPECT_EQ(readable_location(adapter["Oem"]["PhysicalLocation"].asString()),
              "rack 1, unit 1, partition 0, slot 11");
    ASSERT_TRUE(daemon->awaitLog(DELIVERED, 0)) << daemon->toldSince(0);

    machine.ask("echo 1 >" + device + "/remove");
    ASSERT_TRUE(rmc.awaitEvents(1, CHANGE_IS_TOLD)) << daemon->toldSince(0);
    EXPECT_EQ(rmc.eventIds(), std::vector<int>{398});
    ASSERT_TRUE(daemon->awaitLog("removal processing started.", 0)) << daemon->toldSince(0);
    machine.ask("echo 1 >/sys/bus/pci/rescan");
    ASSERT_TRUE(machine.waitFor("ls -d " + device + "/host*", VmMachine::SECONDS(30)));
    ASSERT_TRUE(rmc.awaitEvents(2, CHANGE_IS_TOLD)) << daemon->toldSince(0);
    EXPECT_EQ(rmc.eventIds(), (std::vector<int>{398, 397}));
    for (const RMC_DOCUMENT &each : rmc.events()) {
        EXPECT_EQ(each.value["PhysicalLocation"], adapter["Oem"]["PhysicalLocation"]);
        EXPECT_EQ(each.value["VariableData"]["Type"], "Controller");
        EXPECT_EQ(each.value["VariableData"]["Data"]["Model"], adapter["Model"]);
    }
    EXPECT_EQ(daemon->stop(), 0);
}
