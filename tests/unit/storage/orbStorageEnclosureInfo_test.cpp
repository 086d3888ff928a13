#include "storage/orbStorageEnclosureInfo.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "unit/storage/RecordFields.h"

namespace {
using Oem = orbStorageEnclosureOEMInfo;
using Enclosure = orbStorageEnclosureInfo;

template <typename Record> std::vector<RecordField<Record>> oemFields() {
    return {
        field<Record>("bayCount", &Record::getBayCount, &Record::setBayCount, 0, 24),
        field<Record>("box", &Record::getBox, &Record::setBox, -1, 2),
        field<Record>("physicalLocation", &Record::getPhysicalLocation,
                      &Record::setPhysicalLocation, "", "0101FFFF02FFFFFF"),
        field<Record>("controllerPCILocation", &Record::getControllerPCILocation,
                      &Record::setControllerPCILocation, "", "0000:24:00.0"),
        field<Record>("enclosureType", &Record::getEnclosureType, &Record::setEnclosureType,
                      ORB_ENCLOSURE_UNKNOWN, ORB_ENCLOSURE_CHASSIS_INTERNAL),
        field<Record>("segmentCount", &Record::getSegmentCount, &Record::setSegmentCount, 0, 3),
    };
}
std::vector<RecordField<Enclosure>> ownFields() {
    return {
        field<Enclosure>("firmwareVersion", &Enclosure::getFirmwareVersion,
                         &Enclosure::setFirmwareVersion, "", "0309"),
        field<Enclosure>("model", &Enclosure::getModel, &Enclosure::setModel, "", "BP24"),
        field<Enclosure>("type", &Enclosure::getType, &Enclosure::setType, "", "SES"),
        field<Enclosure>("partNumber", &Enclosure::getPartNumber, &Enclosure::setPartNumber, "",
                         "VT-300"),
        field<Enclosure>("serialNumber", &Enclosure::getSerialNumber, &Enclosure::setSerialNumber,
                         "", "E1"),
    };
}

TEST(EnclosureOem, HasItsFields) {
    expectFields(oemFields<Oem>());
    expectConstGetters(oemFields<Oem>());
    expectSlots(oemFields<Oem>(), ROOT_SLOTS);
}

TEST(EnclosureOem, TypeIsOneByteAndInternalIsOne) {
    EXPECT_EQ(sizeof(ORB_STORAGE_ENCLOSURE_TYPE), 1u);
    EXPECT_EQ(static_cast<unsigned>(ORB_ENCLOSURE_CHASSIS_INTERNAL), 1u);
}

TEST(EnclosureInfo, HasItsFields) {
    expectFields(status_fields<Enclosure>() + oemFields<Enclosure>() + ownFields());
    expectConstGetters(ownFields());
    expectSlots(ownFields(), STATUS_SLOTS);
}

/// A host whose debug log is off or on.
struct LogWorld {
    explicit LogWorld(bool debug)
        : log(root, debug ? R"("EnableDebugLog": "true")" : R"("EnableDebugLog": "false")") {}
    TemporaryRoot root;
    LogFile log;
};

Enclosure filled() {
    Enclosure info;
    for (const auto &one : status_fields<Enclosure>() + oemFields<Enclosure>() + ownFields())
        one.change(info);
    return info;
}
Json::Value filledOem(bool debug) {
    Json::Value oem;
    oem["Box"] = 2;
    oem["PhysicalLocation"] = "0101FFFF02FFFFFF";
    if (debug) {
        oem["BayCount"] = 24;
        oem["SegmentCount"] = 3;
    }
    return oem;
}
Json::Value filledData(bool debug) {
    Json::Value data;
    data["FirmwareVersion"] = "0309";
    data["Model"] = "BP24";
    data["Type"] = "SES";
    data["PartNumber"] = "VT-300";
    data["SerialNumber"] = "E1";
    data["Oem"] = filledOem(debug);
    return data;
}

class EnclosureViews : public ::testing::TestWithParam<bool> {
protected:
    const bool debug = GetParam();
    const LogWorld world{debug};
};
INSTANTIATE_TEST_SUITE_P(DebugLog, EnclosureViews, ::testing::Bool(),
                         [](const auto &row) { return row.param ? "On" : "Off"; });

TEST_P(EnclosureViews, OemIsTheSameInBoth) {
    Oem info;
    for (const auto &one : oemFields<Oem>()) one.change(info);
    EXPECT_EQ(info.getVariableData(), filledOem(debug));
    EXPECT_EQ(info.getInventoryData(), filledOem(debug));
}

// The debug log's setting changes what is sent.
TEST_P(EnclosureViews, CountsAreSentWithTheDebugLogAlone) {
    Enclosure info;
    for (const Json::Value &oem :
         {info.getVariableData()["Data"]["Oem"], info.getInventoryData()["Oem"]}) {
        EXPECT_EQ(oem.isMember("BayCount"), debug);
        EXPECT_EQ(oem.isMember("SegmentCount"), debug);
        EXPECT_EQ(oem["Box"], -1);
        EXPECT_EQ(oem["PhysicalLocation"], "");
    }
}

TEST_P(EnclosureViews, EventHoldsEachValueAndNoText) {
    Enclosure info = filled();
    Json::Value expected;
    expected["Type"] = "StorageEnclosure";
    expected["Data"] = filledData(debug);
    expected["EventInfo"] = "";
    EXPECT_EQ(info.getVariableData(), expected);
}

TEST_P(EnclosureViews, InventoryHoldsTheStatusToo) {
    Enclosure info = filled();
    Json::Value expected = filledData(debug);
    expected["Status"]["State"] = "Running";
    expected["Status"]["Health"] = "OK";
    EXPECT_EQ(info.getInventoryData(), expected);
}

TEST_P(EnclosureViews, NewRecordShowsEveryKey) {
    Enclosure info;
    const Json::Value view = info.getInventoryData();
    for (const char *key : {"FirmwareVersion", "Model", "Type", "PartNumber", "SerialNumber"})
        EXPECT_EQ(view[key], "") << key;
    EXPECT_EQ(view["Status"]["State"], "Unknown");
    EXPECT_EQ(view["Status"]["Health"], "Unknown");
    EXPECT_EQ(view.size(), 7u);
    EXPECT_EQ(info.getVariableData()["Data"].size(), 6u);
    EXPECT_EQ(info.getVariableData().size(), 3u);
}

TEST_P(EnclosureViews, AreReachedThroughTheBases) {
    Enclosure info = filled();
    const Json::Value event = info.getVariableData(), entry = info.getInventoryData();
    EXPECT_EQ(static_cast<orbInventoryBase &>(info).getVariableData(), event);
    EXPECT_EQ(static_cast<orbStatusInfo &>(info).getVariableData(), event);
    EXPECT_EQ(static_cast<Oem &>(info).getVariableData(), event);
    EXPECT_EQ(static_cast<orbInventoryBase &>(info).getInventoryData(), entry);
    EXPECT_EQ(static_cast<orbStatusInfo &>(info).getInventoryData(), entry);
    EXPECT_EQ(static_cast<Oem &>(info).getInventoryData(), entry);
}

// A main log that takes everything is not a debug log.
TEST(EnclosureOem, CountsDependOnTheDebugLogAlone) {
    LogWorld world(false);
    CPlusPlusLogging::Logger::getInstance()->updateLogLevel(CPlusPlusLogging::LOG_LEVEL_DEBUG);
    Oem info;
    EXPECT_FALSE(info.getVariableData().isMember("BayCount"));
    EXPECT_FALSE(info.getInventoryData().isMember("SegmentCount"));
}
} // namespace
