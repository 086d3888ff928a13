#include <string>

#include <gtest/gtest.h>

#include "support/json_schema.h"
#include "unit/fc/FcWorld.h"

namespace {
/// What the manager makes of adapters, as the controller receives it.
class FcDocuments : public ::testing::Test {
protected:
    void SetUp() override {
        world.clock.setAutoAdvance(true);
        FcWorld::gatherNames();
    }
    Json::Value build(HBA_PORTSTATE state) {
        FAKE_HBA_ADAPTER unknown = FcWorld::adapter(0xA9, {state, state}); // to the host
        FAKE_HBA_ADAPTER silent = FcWorld::adapter(0xA2, {state});
        silent.readable = false;
        FAKE_HBA_ADAPTER odd = FcWorld::adapter(0xA3, {});
        odd.model = odd.description = odd.serial = odd.firmware = odd.rom = "";
        world.hba.setAdapters({FcWorld::adapter(0xA1, {state}), unknown, silent, odd});
        world.manager.cacheBuild();
        Json::Value document;
        for (const Json::Value &object : world.objects())
            document["HostDataCollection"]["FibreChannelDevices"].append(object);
        return document;
    }
    Json::Value testEvent() {
        FcWorld::sendFirstInventory();
        world.manager.generateTestEvent(386, "FFFFFFFFFFFFFFFF");
        return world.events().empty() ? Json::Value() : world.events().back();
    }

    FcWorld world;
};

TEST_F(FcDocuments, InventoryObeysItsSchema) {
    for (HBA_PORTSTATE state = 0; state < 10; ++state)
        EXPECT_EQ(schema_faults("inventory", build(state)), "") << state;
}
TEST_F(FcDocuments, InventorySchemaRefusesWhatTheManagerNeverSends) {
    Json::Value document = build(HBA_PORTSTATE_ONLINE);
    Json::Value &adapter = document["HostDataCollection"]["FibreChannelDevices"][0];
    const Json::Value good = adapter;
    const auto isRefused = [&] {
        const bool refused = !schema_faults("inventory", document).empty();
        adapter = good;
        return refused;
    };
    EXPECT_FALSE(isRefused());
    adapter["Status"]["State"] = "Running";
    EXPECT_TRUE(isRefused());
    adapter["Status"]["Health"] = "Fine";
    EXPECT_TRUE(isRefused());
    adapter["Oem"]["PhysicalLocation"] = "0123456789abcdef";
    EXPECT_TRUE(isRefused());
    adapter["Oem"]["Description"] = "0000:24:00.0";
    EXPECT_TRUE(isRefused());
    adapter["WWNN"] = "20:00:02:00:5E:00:00:A1";
    EXPECT_TRUE(isRefused());
    adapter["WWPN"] = "";
    EXPECT_TRUE(isRefused());
    adapter["Slot"] = "3";
    EXPECT_TRUE(isRefused());
    for (const std::string &key : good.getMemberNames()) {
        adapter.removeMember(key);
        EXPECT_TRUE(isRefused()) << key;
    }
}

TEST_F(FcDocuments, EventsObeyTheirSchema) {
    EXPECT_EQ(schema_faults("event", testEvent()), "");
    for (const HBA_PORTSTATE state :
         {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_OFFLINE, HBA_PORTSTATE_LINKDOWN, HBA_PORTSTATE_ONLINE,
          HBA_PORTSTATE_ERROR, HBA_PORTSTATE_ONLINE})
        (void)build(state);
    EXPECT_EQ(world.events().size(), 1u + 2 * 5) << "of the first two adapters";
    for (const Json::Value &event : world.events()) EXPECT_EQ(schema_faults("event", event), "");
}
TEST_F(FcDocuments, EventSchemaRefusesOtherData) {
    Json::Value event = testEvent();
    const Json::Value good = event;
    event["VariableData"]["Data"]["Status"]["State"] = "Online";
    EXPECT_NE(schema_faults("event", event), "") << "an event's adapter has no status";
    event = good;
    event["VariableData"].removeMember("EventInfo");
    EXPECT_NE(schema_faults("event", event), "");
    event = good;
    event["VariableData"]["Data"].removeMember("WWNN");
    EXPECT_NE(schema_faults("event", event), "");
    event = good;
    event["VariableData"]["Type"] = "EthernetDevice";
    EXPECT_NE(schema_faults("event", event), "") << "a network adapter has other data";
    event["VariableData"]["Type"] = "SomethingElse";
    EXPECT_EQ(schema_faults("event", event), "") << "other kinds have their own data";
}
} // namespace
