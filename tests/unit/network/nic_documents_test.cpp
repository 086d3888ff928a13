#include <string>

#include <gtest/gtest.h>

#include "support/json_schema.h"
#include "unit/network/NicWorld.h"

namespace {
/// What the manager makes of every kind of link, as the controller receives it.
class NicDocuments : public ::testing::Test {
protected:
    void SetUp() override { world.clock.setAutoAdvance(true); }
    Json::Value build(const std::string &link, const std::string &cable) {
        NIC_ON_HOST nic;
        nic.link = link;
        nic.cable = cable;
        NIC_ON_HOST other;
        other.name = "vusb0";
        other.address = "Pseudo";
        other.link = link;
        world.setNics({nic, other});
        world.manager.cacheBuild();
        Json::Value document;
        for (const Json::Value &object : world.objects())
            document["HostDataCollection"]["EthernetDevices"].append(object);
        return document;
    }
    Json::Value testEvent() {
        NicWorld::sendFirstInventory();
        world.manager.generateTestEvent(680, "FFFFFFFFFFFFFFFF");
        return world.events().empty() ? Json::Value() : world.events().back();
    }

    NicWorld world;
};

TEST_F(NicDocuments, InventoryObeysItsSchema) {
    const char *const CABLE = "   Cable Type: DA\n";
    for (const char *link : {"Up", "Down", "Unknown", "Testing"})
        for (const char *cable : {CABLE, ""})
            EXPECT_EQ(schema_faults("inventory", build(link, cable)), "") << link << cable;
}
TEST_F(NicDocuments, InventorySchemaRefusesWhatTheManagerNeverSends) {
    Json::Value document = build("Up", "");
    Json::Value &adapter = document["HostDataCollection"]["EthernetDevices"][0];
    const Json::Value good = adapter;
    adapter["Status"]["State"] = "Online";
    EXPECT_NE(schema_faults("inventory", document), "");
    adapter = good;
    adapter["Oem"]["PhysicalLocation"] = "fffffffffffffffF";
    EXPECT_NE(schema_faults("inventory", document), "");
    adapter = good;
    adapter["SpeedMbps"] = -1;
    EXPECT_NE(schema_faults("inventory", document), "");
    adapter = good;
    adapter.removeMember("Status");
    EXPECT_NE(schema_faults("inventory", document), "");
}

TEST_F(NicDocuments, EventsObeyTheirSchema) {
    EXPECT_EQ(schema_faults("event", testEvent()), "");
    (void)build("Down", "");
    (void)build("Up", "");
    ASSERT_EQ(world.events().size(), 3u) << "the injected one, and one for each interface";
    for (const Json::Value &event : world.events()) EXPECT_EQ(schema_faults("event", event), "");
}
TEST_F(NicDocuments, EventSchemaRefusesOtherData) {
    Json::Value event = testEvent();
    const Json::Value good = event;
    event["VariableData"]["Data"]["Status"]["State"] = "Running";
    EXPECT_NE(schema_faults("event", event), "") << "an event's adapter has no status";
    event = good;
    event["VariableData"].removeMember("EventInfo");
    EXPECT_NE(schema_faults("event", event), "");
    event["VariableData"]["Type"] = "SomethingElse";
    EXPECT_EQ(schema_faults("event", event), "") << "other kinds have their own data";
}
} // namespace
