#include "storage/orbStorageControllerInfo.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "unit/storage/RecordFields.h"

namespace {
using Port = orbStorageControllerPortInfo;
using Location = orbIOControllerPhyLoc;
using Controller = orbStorageControllerInfo;

template <typename Record> std::vector<RecordField<Record>> locationFields() {
    return {
        field<Record>("physicalLocation", &Record::getPhysicalLocation,
                      &Record::setPhysicalLocation, "", "0101FFFF02FFFFFF"),
        field<Record>("description", &Record::getDescription, &Record::setDescription, "",
                      "PCI 0000:24:00.0 r001u01p0i03"),
    };
}

TEST(ControllerLocation, HasItsFields) {
    expectFields(locationFields<Location>());
    expectConstGetters(locationFields<Location>());
    expectSlots(locationFields<Location>(), ROOT_SLOTS);
}

TEST(ControllerLocation, ShowsBothTextsToEventsAlone) {
    Location location;
    location.setPhysicalLocation("0101FFFF02FFFFFF");
    location.setDescription("PCI 0000:24:00.0");
    Json::Value expected;
    expected["PhysicalLocation"] = "0101FFFF02FFFFFF";
    expected["Description"] = "PCI 0000:24:00.0";
    EXPECT_EQ(location.getVariableData(), expected);
    EXPECT_TRUE(location.getInventoryData().isNull());
}

TEST(ControllerLocation, ShowsEmptyTextsToo) {
    Json::Value expected;
    expected["PhysicalLocation"] = "";
    expected["Description"] = "";
    EXPECT_EQ(Location().getVariableData(), expected);
}

std::vector<RecordField<Controller>> fieldsBeforePorts() {
    return {
        field<Controller>("model", &Controller::getModel, &Controller::setModel, "", "HBA 9400"),
        field<Controller>("serialNumber", &Controller::getSerialNumber,
                          &Controller::setSerialNumber, "", "SP123"),
        field<Controller>("partNumber", &Controller::getPartNumber, &Controller::setPartNumber, "",
                          "VT-100"),
        field<Controller>("firmwareVersion", &Controller::getFirmwareVersion,
                          &Controller::setFirmwareVersion, "", "16.00.10.00"),
        field<Controller>("manufacturer", &Controller::getManufacturer,
                          &Controller::setManufacturer, "", "Intel Corporation"),
        field<Controller>("protocol", &Controller::getProtocol, &Controller::setProtocol, "",
                          "SAS/SATA"),
        field<Controller>("chipsetID", &Controller::getChipsetID, &Controller::setChipsetID, 0,
                          0xFFFE8086u),
        field<Controller>("boardID", &Controller::getBoardID, &Controller::setBoardID, 0,
                          0xFFFFFFFFu),
    };
}
std::vector<RecordField<Controller>> fieldsBehindPorts() {
    return {field<Controller>("eventInfoString", &Controller::getEventInfoString,
                              &Controller::setEventInfoString, "", "Firmware has changed.")};
}

TEST(ControllerInfo, HasItsFields) {
    const auto own = fieldsBeforePorts() + fieldsBehindPorts();
    expectFields(status_fields<Controller>() + locationFields<Controller>() + own);
    expectConstGetters(own);
}

TEST(ControllerInfo, HasItsPortListBetweenBoardAndEventText) {
    constexpr std::size_t list = STATUS_SLOTS + 16;
    expectSlots(fieldsBeforePorts(), STATUS_SLOTS);
    EXPECT_EQ(slot_of(&Controller::getControllerPortVector), list);
    EXPECT_EQ(slot_of(&Controller::getControllerPort), list + 1);
    EXPECT_EQ(slot_of(&Controller::setControllerPort), list + 2);
    EXPECT_EQ(slot_of(&Controller::addControllerPort), list + 3);
    EXPECT_EQ(slot_of(&Controller::clearControllerPortList), list + 4);
    EXPECT_EQ(slot_of(&Controller::getControllerPortListSize), list + 5);
    EXPECT_EQ(slot_of(&Controller::deleteControllerPort), list + 6);
    expectSlots(fieldsBehindPorts(), list + 7);
}

Port portAt(const std::string &path) {
    Port port;
    port.setOSInstanceName(path);
    return port;
}
std::string pathsOf(Controller &info) {
    std::string paths;
    for (const Port &port : info.getControllerPortVector()) paths += port.getOSInstanceName() + ",";
    return paths;
}

TEST(ControllerInfo, KeepsItsPortsInOrder) {
    Controller info;
    EXPECT_EQ(info.getControllerPortListSize(), 0u);
    EXPECT_TRUE(info.getControllerPortVector().empty());
    for (const char *path : {"a", "b", "c", "d"}) info.addControllerPort(portAt(path));
    EXPECT_EQ(info.getControllerPortListSize(), 4u);
    EXPECT_EQ(pathsOf(info), "a,b,c,d,");

    info.setControllerPort(2, portAt("C"));
    EXPECT_EQ(info.getControllerPort(2).getOSInstanceName(), "C");
    EXPECT_EQ(info.getControllerPort(3).getOSInstanceName(), "d");

    info.deleteControllerPort(1);
    EXPECT_EQ(pathsOf(info), "a,C,d,");
    info.deleteControllerPort(2);
    info.deleteControllerPort(0);
    EXPECT_EQ(pathsOf(info), "C,");

    info.clearControllerPortList();
    EXPECT_EQ(info.getControllerPortListSize(), 0u);
}

TEST(ControllerInfo, HandsOutCopiesOfItsPorts) {
    Controller info;
    info.addControllerPort(portAt("a"));
    info.getControllerPort(0).setOSInstanceName("changed");
    std::vector<Port> ports = info.getControllerPortVector();
    ports[0].setOSInstanceName("changed");
    ports.clear();
    EXPECT_EQ(pathsOf(info), "a,");
}

// The last-known copy has to outlive the inventory that it was made of.
TEST(ControllerInfo, CopyHasPortsOfItsOwn) {
    Controller copy;
    {
        Controller source;
        source.addControllerPort(portAt("a"));
        source.addControllerPort(portAt("b"));
        copy = source;
        source.setControllerPort(0, portAt("changed"));
        source.deleteControllerPort(1);
    }
    EXPECT_EQ(pathsOf(copy), "a,b,");
    Controller other(copy);
    copy.clearControllerPortList();
    EXPECT_EQ(pathsOf(other), "a,b,");
}

Json::Value emptyEnvelope() {
    Json::Value view;
    view["Type"] = "Controller";
    for (const char *key :
         {"Model", "SerialNumber", "PartNumber", "FirmwareVersion", "Protocol", "Manufacturer"})
        view["Data"][key] = "";
    view["Data"]["Oem"]["PhysicalLocation"] = "";
    view["Data"]["Oem"]["Description"] = "";
    view["EventInfo"] = "";
    return view;
}

TEST(ControllerInfo, EventHoldsEveryKeyOfANewRecord) {
    EXPECT_EQ(Controller().getVariableData(), emptyEnvelope());
}

TEST(ControllerInfo, EventHoldsEachText) {
    Controller info;
    for (const auto &one : fieldsBeforePorts() + fieldsBehindPorts()) one.change(info);
    for (const auto &one : locationFields<Controller>()) one.change(info);
    Json::Value expected;
    expected["Type"] = "Controller";
    expected["Data"]["Model"] = "HBA 9400";
    expected["Data"]["SerialNumber"] = "SP123";
    expected["Data"]["PartNumber"] = "VT-100";
    expected["Data"]["FirmwareVersion"] = "16.00.10.00";
    expected["Data"]["Protocol"] = "SAS/SATA";
    expected["Data"]["Manufacturer"] = "Intel Corporation";
    expected["Data"]["Oem"]["PhysicalLocation"] = "0101FFFF02FFFFFF";
    expected["Data"]["Oem"]["Description"] = "PCI 0000:24:00.0 r001u01p0i03";
    expected["EventInfo"] = "Firmware has changed.";
    EXPECT_EQ(info.getVariableData(), expected);
}

TEST(ControllerInfo, EventTellsNeitherStatusNorPorts) {
    Controller info;
    for (const auto &one : status_fields<Controller>()) one.change(info);
    info.addControllerPort(portAt("a"));
    info.setChipsetID(1);
    info.setBoardID(1);
    EXPECT_EQ(info.getVariableData(), emptyEnvelope());
}

TEST(ControllerInfo, HasNoInventoryView) {
    EXPECT_TRUE(Controller().getInventoryData().isNull());
}

// A sender has a reference to some base and tells the whole controller.
TEST(ControllerInfo, IsReachedThroughItsBases) {
    Controller info;
    info.setModel("HBA 9400");
    const Json::Value whole = info.getVariableData();
    EXPECT_EQ(static_cast<orbInventoryBase &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbStatusInfo &>(info).getVariableData(), whole);
    EXPECT_EQ(static_cast<orbIOControllerPhyLoc &>(info).getVariableData(), whole);
    EXPECT_TRUE(static_cast<orbStatusInfo &>(info).getInventoryData().isNull());
    EXPECT_TRUE(static_cast<orbInventoryBase &>(info).getInventoryData().isNull());
}

// A base's own view is still there, for whoever asks for it by name.
TEST(ControllerInfo, BasesKeepTheirOwnViews) {
    Controller info;
    info.setState(ORB_STATE_RUNNING);
    info.setHealth(ORB_HEALTH_OK);
    EXPECT_EQ(info.orbStatusInfo::getVariableData()["State"], "Running");
    EXPECT_EQ(info.orbStatusInfo::getInventoryData()["Health"], "OK");
    EXPECT_TRUE(info.orbIOControllerPhyLoc::getVariableData().isMember("Description"));
}

#ifndef NDEBUG
TEST(ControllerInfoDeathTest, IndexBeyondThePortsIsAnError) {
    Controller info;
    info.addControllerPort(portAt("a"));
    EXPECT_DEATH((void)info.getControllerPort(1), "index < controllerPorts.size");
    EXPECT_DEATH(info.setControllerPort(1, portAt("b")), "index < controllerPorts.size");
    EXPECT_DEATH(info.deleteControllerPort(1), "index < controllerPorts.size");
}
#endif
} // namespace
