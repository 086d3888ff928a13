#include "storage/orbLogicalDiskInfo.h"

#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "unit/storage/RecordFields.h"

namespace {
using Volume = orbLogicalDiskInfo;
using Checks = orbLogicalDiskConsistencyCheckState;

template <typename Record> std::vector<RecordField<Record>> oemFields() {
    return {field<Record>("deviceName", &Record::getDeviceName, &Record::setDeviceName, "",
                          "/dev/sde")};
}

TEST(VolumeOem, HasItsField) {
    expectFields(oemFields<orbLogicalDiskOEMInfo>());
    expectConstGetters(oemFields<orbLogicalDiskOEMInfo>());
    expectSlots(oemFields<orbLogicalDiskOEMInfo>(), ROOT_SLOTS);
}

TEST(VolumeOem, ShowsItsDeviceToEventsAlone) {
    orbLogicalDiskOEMInfo info;
    Json::Value expected;
    expected["DeviceName"] = "";
    EXPECT_EQ(info.getVariableData(), expected);
    info.setDeviceName("/dev/sde");
    expected["DeviceName"] = "/dev/sde";
    EXPECT_EQ(info.getVariableData(), expected);
    EXPECT_TRUE(info.getInventoryData().isNull());
}

template <typename Record> std::vector<RecordField<Record>> checkFields() {
    return {
        field<Record>("lastCCResult", &Record::getLastCCResult, &Record::setLastCCResult, 0, -5),
        field<Record>("errorInCurrentPass", &Record::getErrorInCurrentPass,
                      &Record::setErrorInCurrentPass, false, true),
        field<Record>("CCEventMessage", &Record::getCCEventMessage, &Record::setCCEventMessage, "",
                      "Consistency check found 3 errors."),
    };
}

/// What makes an object of it.
class SeenChecks : public Checks {
public:
    Json::Value getVariableData() override { return {}; }
    Json::Value getInventoryData() override { return {}; }
};

// It has no view of its own: only as a part of a volume it is an object.
TEST(VolumeChecks, AreAbstract) {
    EXPECT_TRUE(std::is_abstract_v<Checks>);
    EXPECT_FALSE(std::is_abstract_v<Volume>);
    EXPECT_TRUE((std::is_same_v<decltype(&Checks::getVariableData),
                                Json::Value (orbInventoryBase::*)()>)); // not overridden
    EXPECT_TRUE(
        (std::is_same_v<decltype(&Checks::getInventoryData), Json::Value (orbInventoryBase::*)()>));
}

TEST(VolumeChecks, HaveTheirFields) {
    expectFields(checkFields<SeenChecks>());
    expectConstGetters(checkFields<SeenChecks>());
    expectSlots(checkFields<SeenChecks>(), ROOT_SLOTS);
}

std::vector<RecordField<Volume>> fieldsBeforeDrives() {
    return {
        field<Volume>("durableName", &Volume::getDurableName, &Volume::setDurableName, "",
                      "600605B00C70BA40220AE7772BABEEB3"),
        field<Volume>("RAIDLevel", &Volume::getRAIDLevel, &Volume::setRAIDLevel, "", "RAID1"),
        field<Volume>("capacityBytes", &Volume::getCapacityBytes, &Volume::setCapacityBytes, 0,
                      999653638144),
    };
}
std::vector<RecordField<Volume>> fieldsBehindDrives() {
    return {
        field<Volume>("description", &Volume::getDescription, &Volume::setDescription, "", "boot"),
        field<Volume>("logicalDiskID", &Volume::getLogicalDiskID, &Volume::setLogicalDiskID, "",
                      "1"),
        field<Volume>("eventInfoString", &Volume::getEventInfoString, &Volume::setEventInfoString,
                      "", "A drive was lost."),
        field<Volume>("deviceMissing", &Volume::getDeviceMissing, &Volume::setDeviceMissing, false,
                      true),
        field<Volume>("deletedEventReceived", &Volume::getDeletedEventReceived,
                      &Volume::setDeletedEventReceived, false, true),
    };
}

TEST(VolumeInfo, HasItsFields) {
    const auto own = fieldsBeforeDrives() + fieldsBehindDrives();
    expectFields(status_fields<Volume>() + oemFields<Volume>() + checkFields<Volume>() + own);
    expectConstGetters(own);
}

TEST(VolumeInfo, HasItsDriveListBetweenCapacityAndDescription) {
    constexpr std::size_t list = STATUS_SLOTS + 6;
    expectSlots(fieldsBeforeDrives(), STATUS_SLOTS);
    EXPECT_EQ(slot_of(&Volume::getPhysicalDiskVector), list);
    EXPECT_EQ(slot_of(&Volume::getPhysicalDisk), list + 1);
    EXPECT_EQ(slot_of(&Volume::setPhysicalDisk), list + 2);
    EXPECT_EQ(slot_of(&Volume::addPhysicalDisk), list + 3);
    EXPECT_EQ(slot_of(&Volume::clearPhysicalDiskList), list + 4);
    EXPECT_EQ(slot_of(&Volume::getPhysicalDiskListSize), list + 5);
    EXPECT_EQ(slot_of(&Volume::deletePhysicalDisk), list + 6);
    expectSlots(fieldsBehindDrives(), list + 7);
}

using Names = std::vector<std::string>;

TEST(VolumeInfo, KeepsItsDrivesInOrder) {
    Volume info;
    EXPECT_EQ(info.getPhysicalDiskListSize(), 0u);
    for (const char *name : {"a", "b", "c", "d"}) info.addPhysicalDisk(name);
    EXPECT_EQ(info.getPhysicalDiskListSize(), 4u);
    EXPECT_EQ(info.getPhysicalDiskVector(), (Names{"a", "b", "c", "d"}));

    info.setPhysicalDisk(2, "C");
    EXPECT_EQ(info.getPhysicalDisk(2), "C");
    EXPECT_EQ(info.getPhysicalDisk(3), "d");

    info.deletePhysicalDisk(1);
    EXPECT_EQ(info.getPhysicalDiskVector(), (Names{"a", "C", "d"}));
    info.deletePhysicalDisk(2);
    info.deletePhysicalDisk(0);
    EXPECT_EQ(info.getPhysicalDiskVector(), Names{"C"});

    info.clearPhysicalDiskList();
    EXPECT_EQ(info.getPhysicalDiskVector(), Names{});
}

TEST(VolumeInfo, HandsOutCopiesOfItsDrives) {
    Volume info;
    info.addPhysicalDisk("a");
    info.getPhysicalDiskVector().clear();
    info.getPhysicalDisk(0) += "changed";
    EXPECT_EQ(info.getPhysicalDiskVector(), Names{"a"});
}

TEST(VolumeInfo, CopyHasDrivesOfItsOwn) {
    Volume copy;
    {
        Volume source;
        source.addPhysicalDisk("a");
        source.addPhysicalDisk("b");
        copy = source;
        source.setPhysicalDisk(0, "changed");
        source.deletePhysicalDisk(1);
    }
    EXPECT_EQ(copy.getPhysicalDiskVector(), (Names{"a", "b"}));
    Volume other(copy);
    copy.clearPhysicalDiskList();
    EXPECT_EQ(other.getPhysicalDiskVector(), (Names{"a", "b"}));
}

Json::Value emptyEnvelope() {
    Json::Value view;
    view["Type"] = "Volume";
    view["Data"]["DurableName"] = "";
    view["Data"]["VolumeType"] = "";
    view["Data"]["CapacityBytes"] = Json::UInt64{0};
    view["Data"]["Oem"]["DeviceName"] = "";
    view["EventInfo"] = "";
    return view;
}

TEST(VolumeInfo, EventOfAVolumeWithoutMembersHasNoDrives) {
    Volume info;
    EXPECT_EQ(info.getVariableData(), emptyEnvelope());
    EXPECT_FALSE(info.getVariableData()["Data"].isMember("Drives"));
    info.addPhysicalDisk("a");
    EXPECT_TRUE(info.getVariableData()["Data"].isMember("Drives"));
    info.clearPhysicalDiskList();
    EXPECT_FALSE(info.getVariableData()["Data"].isMember("Drives"));
}

TEST(VolumeInfo, EventHoldsEachValue) {
    Volume info;
    for (const auto &one : oemFields<Volume>() + fieldsBeforeDrives() + fieldsBehindDrives())
        one.change(info);
    info.addPhysicalDisk("9XG3EKS5");
    info.addPhysicalDisk("");
    Json::Value expected;
    expected["Type"] = "Volume";
    expected["Data"]["DurableName"] = "600605B00C70BA40220AE7772BABEEB3";
    expected["Data"]["VolumeType"] = "RAID1";
    expected["Data"]["CapacityBytes"] = Json::UInt64{999653638144};
    expected["Data"]["Drives"].append("9XG3EKS5");
    expected["Data"]["Drives"].append("");
    expected["Data"]["Oem"]["DeviceName"] = "/dev/sde";
    expected["EventInfo"] = "A drive was lost.";
    EXPECT_EQ(info.getVariableData(), expected);
}

TEST(VolumeInfo, CapacityIsUnsignedUpToTheLastBit) {
    Volume info;
    info.setCapacityBytes(std::numeric_limits<std::uint64_t>::max());
    const Json::Value capacity = info.getVariableData()["Data"]["CapacityBytes"];
    EXPECT_EQ(capacity.type(), Json::uintValue);
    EXPECT_EQ(capacity.asUInt64(), std::numeric_limits<std::uint64_t>::max());
}

TEST(VolumeInfo, EventTellsNeitherStatusNorChecks) {
    Volume info;
    for (const auto &one : status_fields<Volume>() + checkFields<Volume>()) one.change(info);
    info.setDescription("boot");
    info.setLogicalDiskID("1");
    info.setDeviceMissing(true);
    info.setDeletedEventReceived(true);
    EXPECT_EQ(info.getVariableData(), emptyEnvelope());
}

TEST(VolumeInfo, HasNoInventoryView) {
    EXPECT_EQ(Volume().getInventoryData().type(), Json::nullValue);
}

TEST(VolumeInfo, IsReachedThroughItsBases) {
    Volume info;
    info.setRAIDLevel("RAID1");
    const Json::Value whole = info.getVariableData();
    EXPECT_EQ(static_cast<orbInventoryBase &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbStatusInfo &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbLogicalDiskOEMInfo &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<Checks &>(info).getVariableData(), whole);
    EXPECT_TRUE(static_cast<Checks &>(info).getInventoryData().isNull());
    EXPECT_TRUE(static_cast<orbStatusInfo &>(info).getInventoryData().isNull());
}

TEST(VolumeInfo, BasesKeepTheirOwnViews) {
    Volume info;
    info.setState(ORB_STATE_OPTIMAL);
    info.setDeviceName("/dev/sde");
    EXPECT_EQ(info.orbStatusInfo::getInventoryData()["State"], "Optimal");
    EXPECT_EQ(info.orbLogicalDiskOEMInfo::getVariableData()["DeviceName"], "/dev/sde");
}

// The compilers warn that the second of two equal bases can't be reached, which is what is meant.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winaccessible-base"
/// A volume that is told in a wider way, by a class that names the OEM part among its own bases
/// too.
class WiderVolume : public orbLogicalDiskOEMInfo, public orbLogicalDiskInfo {
#pragma GCC diagnostic pop
public:
    Json::Value getVariableData() override {
        Json::Value view = orbLogicalDiskInfo::getVariableData();
        view["Type"] = "WiderVolume";
        return view;
    }
    Json::Value getInventoryData() override {
        return "entry";
    }
    std::string getDeviceName() const override {
        return orbLogicalDiskInfo::getDeviceName();
    }
    void setDeviceName(std::string path) override {
        orbLogicalDiskInfo::setDeviceName(std::move(path));
    }
};

// There is one device name, by whatever base it is set or told, and one pair of views.
TEST(VolumeInfo, CanBeWidenedTogetherWithItsOemPart) {
    WiderVolume wider;
    orbLogicalDiskInfo &volume = wider;
    volume.setDeviceName("/dev/sde");
    EXPECT_EQ(wider.getDeviceName(), "/dev/sde");
    wider.setDeviceName("/dev/sdf");
    EXPECT_EQ(volume.getDeviceName(), "/dev/sdf");
    orbLogicalDiskOEMInfo &oem = volume;
    EXPECT_EQ(oem.getDeviceName(), "/dev/sdf");

    orbInventoryBase &root = wider;
    EXPECT_EQ(root.getVariableData()["Type"], "WiderVolume");
    EXPECT_EQ(root.getVariableData()["Data"]["Oem"]["DeviceName"], "/dev/sdf");
    EXPECT_EQ(volume.getInventoryData(), "entry");
    EXPECT_EQ(oem.getInventoryData(), "entry");
}

#ifndef NDEBUG
TEST(VolumeInfoDeathTest, IndexBeyondTheDrivesIsAnError) {
    Volume info;
    info.addPhysicalDisk("a");
    EXPECT_DEATH((void)info.getPhysicalDisk(1), "index < physicalDisks.size");
    EXPECT_DEATH(info.setPhysicalDisk(1, "b"), "index < physicalDisks.size");
    EXPECT_DEATH(info.deletePhysicalDisk(1), "index < physicalDisks.size");
}
#endif
} // namespace
