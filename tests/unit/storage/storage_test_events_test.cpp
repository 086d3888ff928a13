#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "storage/SASResourceManager.h"
#include "unit/storage/SasWorld.h"

namespace {
Json::Value parsed(const char *text) {
    Json::Value value;
    EXPECT_TRUE(parse_json(text, value)) << text;
    return value;
}

struct FamilyCase {
    const char *name;
    const char *family;
    const char *sataDescription;
    const char *raidDescription;
};
void PrintTo(const FamilyCase &row, std::ostream *os) {
    *os << row.name;
}
const FamilyCase FAMILIES[] = {
    {"First", "PLATFORM-ID-A01", "PCI 0000:00:17.0 r001u01p0i00", "PCI 0000:24:00.0 r001u01p0i03"},
    {"SecondB01", "PLATFORM-ID-B01", "PCI 0000:00:17.0 r001i01s00", "PCI 0000:24:00.0 r001i01s03"},
    {"SecondB02", "PLATFORM-ID-B02", "PCI 0000:00:17.0 r001i01s00", "PCI 0000:24:00.0 r001i01s03"},
    {"Unknown", "PLATFORM-ID-C01", "", ""},
    {"OtherLetters", "platform-id-a01", "", ""},
    {"None", "", "", ""},
};

class SasTestEvent : public ::testing::TestWithParam<FamilyCase> {
protected:
    SasTestEvent() : world(GetParam().family) {
        world.clock.setAutoAdvance(true);
        SasWorld::sendFirstInventory();
    }
    /// The one event that a request made.
    Json::Value raise(int id) {
        const bool critical = raised % 2 == 1;
        const std::string now = orbUtils::getTime();
        SASResourceManager().generateTestEvent(id, SasWorld::LOCATION, critical);
        const orbEvent event = world.raised.all().back();
        EXPECT_EQ(event.getisServiceEvent(), critical) << id;
        EXPECT_EQ(event.getModuleName(), "SASHBA") << id;
        EXPECT_EQ(event.getPartNum(), "NotAvailable") << id;
        EXPECT_EQ(event.getEventTime(), now) << id;
        const std::vector<Json::Value> all = world.events();
        EXPECT_EQ(all.size(), ++raised) << id;
        return all.empty() ? Json::Value() : all.back();
    }
    void expectEnvelope(const Json::Value &event, int id) {
        EXPECT_EQ(event["ID"], id);
        EXPECT_EQ(event["Source"], "ORB-CLI");
        EXPECT_EQ(event["PhysicalLocation"], SasWorld::LOCATION);
    }

    SasWorld world;
    std::size_t raised = 0;
};

TEST_P(SasTestEvent, OfASataController) {
    for (const int id : {397, 398}) {
        const Json::Value event = raise(id);
        expectEnvelope(event, id);
        Json::Value expected = parsed(R"({
            "Type": "Controller", "EventInfo": "Injected Event", "Data": {
                "Model": "Intel C600/X79 series chipset SATA RAID Controller",
                "SerialNumber": "", "PartNumber": "", "FirmwareVersion": "5.0.0.1139",
                "Protocol": "SAS/SATA", "Manufacturer": "Intel Corporation",
                "Oem": {"PhysicalLocation": "0123456789ABCDEF"}}})");
        expected["Data"]["Oem"]["Description"] = GetParam().sataDescription;
        EXPECT_EQ(event["VariableData"], expected);
    }
}
TEST_P(SasTestEvent, OfADrive) {
    for (const int id : {538, 539, 540}) {
        const Json::Value event = raise(id);
        expectEnvelope(event, id);
        EXPECT_EQ(event["VariableData"], parsed(R"({
            "Type": "Drive", "EventInfo": "Injected Event", "Data": {
                "SerialNumber": "9XG3EKS5", "PartNumber": "", "Model": "ST91000640NS",
                "CapacityBytes": 1000204886016, "Protocol": "SAS/SATA", "Manufacturer": "Vantor",
                "MediaType": "HDD", "Revision": "SN03",
                "Oem": {"Slot": "2", "PhysicalLocation": "0123456789ABCDEF"}}})"));
    }
}
TEST_P(SasTestEvent, OfAVolume) {
    for (const int id : {681, 683}) {
        const Json::Value event = raise(id);
        expectEnvelope(event, id);
        EXPECT_EQ(event["VariableData"], parsed(R"({
            "Type": "Volume", "EventInfo": "Injected Event", "Data": {
                "DurableName": "600605B00C70BA40220AE7772BABEEB3", "VolumeType": "RAID1",
                "CapacityBytes": 999653638144, "Drives": ["9XG3EKS5"],
                "Oem": {"DeviceName": "/dev/sde"}}})"));
    }
}
TEST_P(SasTestEvent, OfARaidController) {
    for (const int id : {1179, 1180, 1181, 1182, 1183}) {
        const Json::Value event = raise(id);
        expectEnvelope(event, id);
        Json::Value expected = parsed(R"({
            "Type": "Controller", "EventInfo": "Injected Event", "Data": {
                "Model": "Adaptec SmartRAID 3154-24i Controller", "SerialNumber": "9A48G300DD7",
                "PartNumber": "", "FirmwareVersion": "1.98-0", "Protocol": "SAS/SATA",
                "Manufacturer": "", "Oem": {"PhysicalLocation": "0123456789ABCDEF"}}})");
        expected["Data"]["Oem"]["Description"] = GetParam().raidDescription;
        EXPECT_EQ(event["VariableData"], expected);
    }
}
TEST_P(SasTestEvent, OfAnIdThatNoUnitRaises) {
    for (const int id : {0, -1, 396, 399, 537, 541, 682, 684, 1178, 1184}) {
        const Json::Value event = raise(id);
        expectEnvelope(event, id);
        EXPECT_FALSE(event.isMember("VariableData")) << id;
    }
}
INSTANTIATE_TEST_SUITE_P(Families, SasTestEvent, ::testing::ValuesIn(FAMILIES),
                         [](const auto &row) { return std::string(row.param.name); });

class SasInjection : public ::testing::Test {
protected:
    SasInjection() { world.clock.setAutoAdvance(true); }
    SasWorld world;
};
TEST_F(SasInjection, UnknownPlaceIsSentAndAnEmptyOneIsNot) {
    SasWorld::sendFirstInventory();
    world.manager.generateTestEvent(538, "FFFFFFFFFFFFFFFF", false);
    world.manager.generateTestEvent(538, "", false);
    ASSERT_EQ(world.events().size(), 2u);
    EXPECT_EQ(world.events()[0]["PhysicalLocation"], "FFFFFFFFFFFFFFFF");
    EXPECT_FALSE(world.events()[1].isMember("PhysicalLocation"));
    EXPECT_EQ(world.events()[1]["VariableData"]["Data"]["Oem"]["PhysicalLocation"], "");
}
TEST_F(SasInjection, BeforeTheFirstInventoryIsDropped) {
    world.manager.generateTestEvent(397, SasWorld::LOCATION, true);
    EXPECT_TRUE(world.events().empty());
}
TEST_F(SasInjection, TouchesNeitherControllersNorTheCache) {
    world.factory.add("C");
    world.manager.cacheBuild();
    SasWorld::sendFirstInventory();
    (void)world.calls.take();
    const std::vector<Json::Value> before = world.objects(1);
    world.manager.generateTestEvent(397, SasWorld::LOCATION, true);
    EXPECT_TRUE(world.calls.take().empty());
    EXPECT_EQ(world.objects(1), before);
    EXPECT_EQ(world.log.count("DEBUG", "SAS_RM", "Invalidating inventory cache."), 0);
}
} // namespace
