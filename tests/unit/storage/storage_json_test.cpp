#include "storage/storage_json.h"

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbStorageControllerInfo.h"
#include "unit/storage/SasWorld.h"

namespace {
Json::Value parsed(const char *text) {
    Json::Value value;
    EXPECT_TRUE(parse_json(text, value)) << text;
    return value;
}

/// A value as whoever receives its text has it.
Json::Value reread(const Json::Value &value) {
    return parsed(compact_json(value).c_str());
}

TEST(StorageJson, Controller) {
    orbStorageControllerInfo controller;
    controller.setModel("M");
    controller.setSerialNumber("S");
    controller.setPartNumber("P");
    controller.setFirmwareVersion("F");
    controller.setProtocol("SAS/SATA");
    controller.setManufacturer("Vantor");
    controller.setState(ORB_STATE_RUNNING);
    controller.setHealth(ORB_HEALTH_OK);
    controller.setEventState(ORB_STATE_OFFLINE);
    controller.setEventHealth(ORB_HEALTH_CRITICAL);
    controller.setDescription("PCI 0000:24:00.0 r001u01p0i03");
    controller.setPhysicalLocation("0123456789ABCDEF");
    controller.setEventInfoString("not of the inventory");
    controller.setChipsetID(1);
    EXPECT_EQ(storage_controller_object(controller), parsed(R"({
        "Model": "M", "SerialNumber": "S", "PartNumber": "P", "FirmwareVersion": "F",
        "Protocol": "SAS/SATA", "Manufacturer": "Vantor",
        "Status": {"State": "Running", "Health": "OK"},
        "Oem": {"Description": "PCI 0000:24:00.0 r001u01p0i03",
                "PhysicalLocation": "0123456789ABCDEF"}})"));
}
TEST(StorageJson, ControllerOfWhichNothingIsKnown) {
    orbStorageControllerInfo controller;
    EXPECT_EQ(storage_controller_object(controller), parsed(R"({
        "Model": "", "SerialNumber": "", "PartNumber": "", "FirmwareVersion": "", "Protocol": "",
        "Manufacturer": "", "Status": {"State": "Unknown", "Health": "Unknown"},
        "Oem": {"Description": "", "PhysicalLocation": ""}})"));
}

TEST(StorageJson, Drive) {
    orbDiskInfo drive;
    drive.setSerialNumber("S");
    drive.setPartNumber("P");
    drive.setModel("M");
    drive.setCapacityBytes(UINT64_MAX);
    drive.setProtocol("SATA");
    drive.setMediaType("SSD");
    drive.setRevision("R");
    drive.setManufacturer("Vantor");
    drive.setState(ORB_STATE_PREDICTIVE_FAILURE);
    drive.setHealth(ORB_HEALTH_WARNING);
    drive.setSlot("7");
    drive.setPhysicalLocation("0123456789ABCDEF");
    drive.setOSDeviceName("/dev/sg3");
    const Json::Value object = drive_object(drive);
    EXPECT_EQ(object, parsed(R"({
        "SerialNumber": "S", "PartNumber": "P", "Model": "M",
        "CapacityBytes": 18446744073709551615, "Protocol": "SATA", "MediaType": "SSD",
        "Revision": "R", "Manufacturer": "Vantor",
        "Status": {"State": "Predictive failure", "Health": "Warning"},
        "Oem": {"Slot": "7", "PhysicalLocation": "0123456789ABCDEF"}})"));
    EXPECT_EQ(object["CapacityBytes"].type(), Json::uintValue);
}
TEST(StorageJson, DriveOfWhichNothingIsKnown) {
    orbDiskInfo drive;
    const Json::Value object = drive_object(drive);
    EXPECT_EQ(object["Oem"], parsed(R"({"Slot": "-1", "PhysicalLocation": ""})"));
    EXPECT_EQ(object["CapacityBytes"], Json::Value(Json::UInt64{0}));
    EXPECT_EQ(object.size(), 10u);
}

TEST(StorageJson, Volume) {
    orbLogicalDiskInfo volume;
    volume.setDurableName("N");
    volume.setRAIDLevel("RAID1");
    volume.setCapacityBytes(999653638144);
    volume.addPhysicalDisk("A");
    volume.addPhysicalDisk("B");
    volume.setState(ORB_STATE_DEGRADED);
    volume.setHealth(ORB_HEALTH_CRITICAL);
    volume.setDeviceName("/dev/sde");
    volume.setDescription("not of the inventory");
    const Json::Value object = volume_object(volume);
    EXPECT_EQ(object["CapacityBytes"].type(), Json::uintValue);
    EXPECT_EQ(reread(object), parsed(R"({
        "DurableName": "N", "VolumeType": "RAID1", "CapacityBytes": 999653638144,
        "Drives": ["A", "B"], "Status": {"State": "Degraded", "Health": "Critical"},
        "Oem": {"DeviceName": "/dev/sde"}})"));
}
TEST(StorageJson, VolumeWithoutMembersHasNoDrives) {
    orbLogicalDiskInfo volume;
    EXPECT_EQ(reread(volume_object(volume)), parsed(R"({
        "DurableName": "", "VolumeType": "", "CapacityBytes": 0,
        "Status": {"State": "Unknown", "Health": "Unknown"}, "Oem": {"DeviceName": ""}})"));
}

// -- What a build makes of the records, and logs ------------------------------------------------

class StorageDocument : public ::testing::Test {
protected:
    StorageDocument() {
        FakeStorageController &controller = world.factory.add("C");
        controller.drives = {SasWorld::drive("D0"), SasWorld::drive("100% %s%n")};
        controller.volumes = {SasWorld::volume("V0")};
        orbStorageEnclosureInfo enclosure;
        enclosure.setSerialNumber("E0");
        enclosure.setBox(3);
        controller.enclosures = {enclosure};
        world.manager.cacheBuild();
    }
    SasWorld world;
};
TEST_F(StorageDocument, EachObjectIsLoggedWithItsIndex) {
    const struct {
        int type;
        const char *text;
    } KINDS[] = {{1, "Printing controller instance "},
                 {2, "Printing disk instance "},
                 {3, "Printing logical disk instance "},
                 {4, "Printing storage enclosure instance "}};
    for (const auto &kind : KINDS) {
        const std::vector<Json::Value> objects = world.objects(kind.type);
        ASSERT_FALSE(objects.empty());
        for (std::size_t i = 0; i < objects.size(); ++i)
            EXPECT_EQ(
                world.log.count("DEBUG", "SAS_RM",
                                kind.text + std::to_string(i) + ":    " + compact_json(objects[i])),
                1)
                << kind.text << i;
    }
    EXPECT_EQ(world.objects(2)[1]["SerialNumber"], "100% %s%n");
}
TEST_F(StorageDocument, EnclosureIsItsRecordsOwnView) {
    const Json::Value object = world.objects(4).at(0);
    EXPECT_EQ(object["SerialNumber"], "E0");
    EXPECT_EQ(object["Oem"]["Box"], 3);
    EXPECT_EQ(object["Status"]["State"], "Unknown");
}
} // namespace
