#include "storage/orbDiskInfo.h"

#include <limits>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "unit/storage/RecordFields.h"

namespace {
using Disk = orbDiskInfo;

template <typename Record> std::vector<RecordField<Record>> locationFields() {
    return {
        field<Record>("slot", &Record::getSlot, &Record::setSlot, "-1", "12"),
        field<Record>("physicalLocation", &Record::getPhysicalLocation,
                      &Record::setPhysicalLocation, "", "FFFFFFFFFFFFFFFF"),
        field<Record>("ATADeviceNumber", &Record::getATADeviceNumber, &Record::setATADeviceNumber,
                      -1, 3),
    };
}

TEST(DiskLocation, HasItsFields) {
    expectFields(locationFields<orbDiskPhyLoc>());
    expectConstGetters(locationFields<orbDiskPhyLoc>());
    expectSlots(locationFields<orbDiskPhyLoc>(), ROOT_SLOTS);
}

TEST(DiskLocation, ShowsSlotAndLocationToEventsAlone) {
    orbDiskPhyLoc location;
    Json::Value expected;
    expected["Slot"] = "-1";
    expected["PhysicalLocation"] = "";
    EXPECT_EQ(location.getVariableData(), expected);
    location.setSlot("12");
    location.setPhysicalLocation("0101FFFF02FFFFFF");
    location.setATADeviceNumber(3);
    expected["Slot"] = "12";
    expected["PhysicalLocation"] = "0101FFFF02FFFFFF";
    EXPECT_EQ(location.getVariableData(), expected);
    EXPECT_TRUE(location.getInventoryData().isNull());
}

std::vector<RecordField<Disk>> ownFields() {
    return {
        field<Disk>("serialNumber", &Disk::getSerialNumber, &Disk::setSerialNumber, "", "9XG3EKS5"),
        field<Disk>("partNumber", &Disk::getPartNumber, &Disk::setPartNumber, "", "VT-200"),
        field<Disk>("model", &Disk::getModel, &Disk::setModel, "", "ST91000640NS"),
        field<Disk>("capacityBytes", &Disk::getCapacityBytes, &Disk::setCapacityBytes, 0,
                    1000204886016),
        field<Disk>("protocol", &Disk::getProtocol, &Disk::setProtocol, "", "SATA"),
        field<Disk>("manufacturer", &Disk::getManufacturer, &Disk::setManufacturer, "", "Vantor"),
        field<Disk>("mediaType", &Disk::getMediaType, &Disk::setMediaType, "", "HDD"),
        field<Disk>("revision", &Disk::getRevision, &Disk::setRevision, "", "SN03"),
        field<Disk>("OSDeviceName", &Disk::getOSDeviceName, &Disk::setOSDeviceName, "", "/dev/sg3"),
        field<Disk>("OSSCSILink", &Disk::getOSSCSILink, &Disk::setOSSCSILink, "", "4:0:0:0"),
        field<Disk>("OSSGHandle", &Disk::getOSSGHandle, &Disk::setOSSGHandle, -1, 9),
        field<Disk>("ATAMajorRevision", &Disk::getATAMajorRevision, &Disk::setATAMajorRevision, 0,
                    0x1FF),
        field<Disk>("eventInfoString", &Disk::getEventInfoString, &Disk::setEventInfoString, "",
                    "Temperature is 70."),
        field<Disk>("ifTempPageSupported", &Disk::getIfTempPageSupported,
                    &Disk::setIfTempPageSupported, true, false),
        field<Disk>("ifSSDWearPageSupported", &Disk::getIfSSDWearPageSupported,
                    &Disk::setIfSSDWearPageSupported, true, false),
        field<Disk>("deviceMissing", &Disk::getDeviceMissing, &Disk::setDeviceMissing, false, true),
    };
}

TEST(DiskInfo, HasItsFields) {
    expectFields(status_fields<Disk>() + locationFields<Disk>() + ownFields());
    expectConstGetters(ownFields());
    expectSlots(ownFields(), STATUS_SLOTS);
}

// Lists of thousands grow without copying texts.
TEST(DiskInfo, MovesInLists) {
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Disk>);
    EXPECT_TRUE(std::is_move_assignable_v<Disk>);
}

Json::Value emptyEnvelope() {
    Json::Value view;
    view["Type"] = "Drive";
    for (const char *key : {"SerialNumber", "PartNumber", "Model", "Protocol", "MediaType",
                            "Revision", "Manufacturer"})
        view["Data"][key] = "";
    view["Data"]["CapacityBytes"] = Json::UInt64{0};
    view["Data"]["Oem"]["Slot"] = "-1";
    view["Data"]["Oem"]["PhysicalLocation"] = "";
    view["EventInfo"] = "";
    return view;
}

TEST(DiskInfo, EventHoldsEveryKeyOfANewRecord) {
    EXPECT_EQ(Disk().getVariableData(), emptyEnvelope());
}

TEST(DiskInfo, EventHoldsEachValue) {
    Disk info;
    for (const auto &one : locationFields<Disk>() + ownFields()) one.change(info);
    Json::Value expected;
    expected["Type"] = "Drive";
    expected["Data"]["SerialNumber"] = "9XG3EKS5";
    expected["Data"]["PartNumber"] = "VT-200";
    expected["Data"]["Model"] = "ST91000640NS";
    expected["Data"]["CapacityBytes"] = Json::UInt64{1000204886016};
    expected["Data"]["Protocol"] = "SATA";
    expected["Data"]["MediaType"] = "HDD";
    expected["Data"]["Revision"] = "SN03";
    expected["Data"]["Manufacturer"] = "Vantor";
    expected["Data"]["Oem"]["Slot"] = "12";
    expected["Data"]["Oem"]["PhysicalLocation"] = "FFFFFFFFFFFFFFFF";
    expected["EventInfo"] = "Temperature is 70.";
    EXPECT_EQ(info.getVariableData(), expected);
}

TEST(DiskInfo, CapacityIsUnsignedUpToTheLastBit) {
    Disk info;
    info.setCapacityBytes(std::numeric_limits<std::uint64_t>::max());
    const Json::Value capacity = info.getVariableData()["Data"]["CapacityBytes"];
    EXPECT_EQ(capacity.type(), Json::uintValue);
    EXPECT_EQ(capacity.asUInt64(), std::numeric_limits<std::uint64_t>::max());
}

TEST(DiskInfo, EventTellsNeitherStatusNorWhatTheHostKnows) {
    Disk info;
    for (const auto &one : status_fields<Disk>()) one.change(info);
    info.setATADeviceNumber(3);
    info.setOSDeviceName("/dev/sg3");
    info.setOSSCSILink("4:0:0:0");
    info.setOSSGHandle(9);
    info.setATAMajorRevision(0x1FF);
    info.setIfTempPageSupported(false);
    info.setIfSSDWearPageSupported(false);
    info.setDeviceMissing(true);
    EXPECT_EQ(info.getVariableData(), emptyEnvelope());
}

// Null, not an empty object: a drive's entry in the inventory is made elsewhere.
TEST(DiskInfo, HasNoInventoryView) {
    EXPECT_EQ(Disk().getInventoryData().type(), Json::nullValue);
}

TEST(DiskInfo, IsReachedThroughItsBases) {
    Disk info;
    info.setModel("ST91000640NS");
    const Json::Value whole = info.getVariableData();
    EXPECT_EQ(static_cast<orbInventoryBase &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbStatusInfo &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbDiskStatusInfo &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbDiskPhyLoc &>(info).getVariableData(), whole);
    EXPECT_TRUE(static_cast<orbStatusInfo &>(info).getInventoryData().isNull());
    EXPECT_TRUE(static_cast<orbInventoryBase &>(info).getInventoryData().isNull());
}

TEST(DiskInfo, BasesKeepTheirOwnViews) {
    Disk info;
    info.setState(ORB_STATE_ONLINE);
    EXPECT_EQ(info.orbDiskStatusInfo::getVariableData()["State"], "Online");
    EXPECT_TRUE(info.orbDiskStatusInfo::getInventoryData().isNull());
    EXPECT_EQ(info.orbStatusInfo::getInventoryData()["State"], "Online");
    EXPECT_EQ(info.orbDiskPhyLoc::getVariableData()["Slot"], "-1");
}
} // namespace
