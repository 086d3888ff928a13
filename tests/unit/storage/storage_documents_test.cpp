#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/json_schema.h"
#include "unit/storage/SasWorld.h"

namespace {
struct SECTION {
    int type;
    const char *key;
};
constexpr SECTION SECTIONS[] = {
    {1, "StorageControllers"}, {2, "Drives"}, {3, "Volumes"}, {4, "StorageEnclosures"}};

/// What the manager makes of its records, as the management controller receives it.
class StorageDocuments : public ::testing::Test {
protected:
    StorageDocuments() {
        world.clock.setAutoAdvance(true);
        controller.info.setPhysicalLocation(SasWorld::LOCATION);
        orbDiskInfo bare = SasWorld::drive("");
        bare.setCapacityBytes(UINT64_MAX);
        controller.drives = {SasWorld::drive("D1"), bare};
        orbLogicalDiskInfo full = SasWorld::volume("V1");
        full.addPhysicalDisk("D1");
        controller.volumes = {full, orbLogicalDiskInfo()};
        controller.enclosures.resize(1);
        SasWorld::sendFirstInventory();
    }
    Json::Value build() {
        world.manager.cacheBuild();
        Json::Value document;
        for (const SECTION &section : SECTIONS)
            for (const Json::Value &object : world.objects(section.type))
                document["HostDataCollection"][section.key].append(object);
        return document;
    }
    Json::Value lastEvent() {
        return world.events().empty() ? Json::Value() : world.events().back();
    }

    SasWorld world;
    FakeStorageController &controller = world.factory.add("C");
};

TEST_F(StorageDocuments, InventoryObeysItsSchemaWhateverTheStatus) {
    for (int state = 0; state < 25; ++state) {
        for (int health = 0; health < 4; ++health) {
            const auto set = [&](orbStatusInfo &record) {
                record.setState(static_cast<ORB_RESOURCE_STATE>(state));
                record.setHealth(static_cast<ORB_RESOURCE_HEALTH>(health));
            };
            set(controller.info);
            set(controller.drives[0]);
            set(controller.volumes[0]);
            set(controller.enclosures[0]);
            const Json::Value document = build();
            for (const SECTION &section : SECTIONS)
                ASSERT_GE(document["HostDataCollection"][section.key].size(), 1u) << section.key;
            ASSERT_EQ(schema_faults("inventory", document), "") << state << " " << health;
        }
    }
}

struct RefusalCase {
    const char *name;
    const char *section;
    std::function<void(Json::Value &entry)> change;
};
void PrintTo(const RefusalCase &row, std::ostream *os) {
    *os << row.name;
}
const RefusalCase REFUSALS[] = {
    {"ControllerState", "StorageControllers",
     [](Json::Value &entry) { entry["Status"]["State"] = "Well"; }},
    {"ControllerHealth", "StorageControllers",
     [](Json::Value &entry) { entry["Status"]["Health"] = "Fine"; }},
    {"ControllerDescription", "StorageControllers",
     [](Json::Value &entry) { entry["Oem"]["Description"] = "0000:24:00.0"; }},
    {"ControllerWithoutModel", "StorageControllers",
     [](Json::Value &entry) { entry.removeMember("Model"); }},
    {"ControllerWithAnEventsText", "StorageControllers",
     [](Json::Value &entry) { entry["EventInfo"] = ""; }},
    {"DrivePlace", "Drives",
     [](Json::Value &entry) { entry["Oem"]["PhysicalLocation"] = "0123456789abcdef"; }},
    {"DriveSlotAsNumber", "Drives", [](Json::Value &entry) { entry["Oem"]["Slot"] = 2; }},
    {"DriveCapacity", "Drives", [](Json::Value &entry) { entry["CapacityBytes"] = -1; }},
    {"DriveWithoutStatus", "Drives", [](Json::Value &entry) { entry.removeMember("Status"); }},
    {"VolumeWithAnEmptyList", "Volumes",
     [](Json::Value &entry) { entry["Drives"] = Json::Value(Json::arrayValue); }},
    {"VolumeMember", "Volumes", [](Json::Value &entry) { entry["Drives"][0] = 1; }},
    {"VolumeWithoutCapacity", "Volumes",
     [](Json::Value &entry) { entry.removeMember("CapacityBytes"); }},
    {"EnclosureBox", "StorageEnclosures", [](Json::Value &entry) { entry["Oem"]["Box"] = -2; }},
    {"EnclosureWithoutType", "StorageEnclosures",
     [](Json::Value &entry) { entry.removeMember("Type"); }},
};
class StorageRefusals : public StorageDocuments,
                        public ::testing::WithParamInterface<RefusalCase> {};
TEST_P(StorageRefusals, SchemaRefusesWhatTheManagerNeverSends) {
    Json::Value document = build();
    GetParam().change(document["HostDataCollection"][GetParam().section][0]);
    EXPECT_NE(schema_faults("inventory", document), "");
}
INSTANTIATE_TEST_SUITE_P(Entries, StorageRefusals, ::testing::ValuesIn(REFUSALS),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(StorageDocuments, EventsOfRecordsObeyTheirSchema) {
    orbInventoryBase *const records[] = {&controller.info,       &controller.drives[0],
                                         &controller.drives[1],  &controller.volumes[0],
                                         &controller.volumes[1], &controller.enclosures[0]};
    for (orbInventoryBase *record : records) {
        SASResourceManager::generateEvent(397, SasWorld::LOCATION, true, *record);
        EXPECT_EQ(schema_faults("event", lastEvent()), "");
        Json::Value event = lastEvent();
        event["VariableData"]["Data"]["Status"]["State"] = "Running";
        EXPECT_NE(schema_faults("event", event), "") << "an event's unit has no status";
        event = lastEvent();
        event["VariableData"].removeMember("EventInfo");
        EXPECT_NE(schema_faults("event", event), "");
        event = lastEvent();
        event["VariableData"]["Data"].removeMember("Oem");
        EXPECT_NE(schema_faults("event", event), "");
    }
    EXPECT_EQ(world.events().size(), std::size(records));
}

TEST_F(StorageDocuments, TestEventsObeyTheirSchema) {
    for (const int id : {397, 538, 681, 1179, 1}) {
        world.manager.generateTestEvent(id, "FFFFFFFFFFFFFFFF", false);
        EXPECT_EQ(schema_faults("event", lastEvent()), "") << id;
        EXPECT_EQ(lastEvent()["ID"], id);
    }
}
} // namespace
