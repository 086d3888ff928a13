#include "reporting/orbEventHandler.h"

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "reporting/orbJsonAggregator.h"

namespace {
struct World {
    explicit World(FakeRmc::Responder answers = {})
        : log(root, R"("EnableResources": ["None"])"), rmc(std::move(answers)) {
        clock.setAutoAdvance(true);
        commands.onPopen("localcli system version get | grep -i Version:", "   Version: 8.0.2\n");
    }
    /// The first inventory with nothing in it, which opens the gate.
    void openGate() { orbJsonAggregator().createInventoryJsonString(); }

    TemporaryRoot root;
    LogFile log;
    VirtualClock clock;
    ScriptedCommands commands;
    FakeIdentity identity;
    FakeProcess process;
    FakeRmc rmc;
};

orbEvent event_of(int id, const std::string &source = "ORB") {
    return {id, "FFFFFFFFFFFFFFFF", "FCHBA", true, "2026-01-03 08:04:09", "P-17", source};
}

Json::Value delivered(const FakeRmc &rmc, std::size_t index) {
    Json::Value object;
    EXPECT_TRUE(parse_json(rmc.transfers().at(index).second, object));
    return object;
}
} // namespace

TEST(EventDelivery, EventBeforeTheFirstInventoryIsDroppedWithoutATrace) {
    World world;
    orbEventHandler().generateEvent(event_of(384));
    EXPECT_EQ(world.process.created(), 0);
    EXPECT_EQ(world.rmc.opens(), 0);
    EXPECT_TRUE(world.log.lines().empty());
    world.openGate();
    EXPECT_EQ(world.rmc.sent().size(), 0u); // dropped, not kept
    orbEventHandler().generateEvent(event_of(384));
    EXPECT_EQ(world.rmc.transfers().size(), 1u);
}

TEST(EventDelivery, HostsFiveIdsPassBeforeTheFirstInventory) {
    World world;
    std::vector<int> passed;
    for (int id = -1; id <= 1300; ++id) {
        const std::size_t before = world.rmc.transfers().size();
        orbEventHandler().generateEvent(event_of(id));
        if (world.rmc.transfers().size() > before) passed.push_back(id);
    }
    EXPECT_EQ(passed, (std::vector<int>{356, 359, 360, 434, 435}));
}

TEST(EventDelivery, CarriesTheHostsFacts) {
    World world;
    world.openGate();
    orbEventHandler().generateEvent(event_of(384));
    ASSERT_EQ(world.rmc.transfers().size(), 1u);
    EXPECT_EQ(world.rmc.transfers()[0].first, "MPEventGen");
    const Json::Value object = delivered(world.rmc, 0);
    EXPECT_EQ(object["HostName"], Json::Value("orb-host-01"));
    EXPECT_EQ(object["OSVersion"], Json::Value("8.0.2"));
    EXPECT_EQ(object["OSType"], Json::Value(104));
    EXPECT_EQ(object["IPv4Addresses"][0]["Address"], Json::Value("192.0.2.17"));
    EXPECT_EQ(object["ID"], Json::Value(384));
    EXPECT_EQ(object["Source"], Json::Value("ORB"));
    EXPECT_LOGGED(world.log, "INFO", "EVT_HANDLER", world.rmc.transfers()[0].second);
    EXPECT_LOGGED(world.log, "DEBUG", "EVT_HANDLER", "SUCCESS in delivering event to RMC");
}

TEST(EventDelivery, HostWithoutAddressSendsTheLoopbacks) {
    World world;
    world.identity.addresses = {{"lo", "127.0.0.1"}};
    orbEventHandler().generateEvent(event_of(356));
    EXPECT_EQ(delivered(world.rmc, 0)["IPv4Addresses"][0]["Address"], Json::Value("127.0.0.1"));
}

TEST(EventDelivery, CallerWaitsForTheEndOfTheDelivery) {
    World world;
    orbEventHandler().generateEvent(event_of(356));
    EXPECT_EQ(world.rmc.transfers().size(), 1u);
    EXPECT_EQ(world.clock.sleptMs(), 500);
    EXPECT_EQ(world.rmc.stillOpen(), 0);
    EXPECT_EQ(world.process.joined(), std::vector<std::string>{"event delivery"});
}

TEST(EventDelivery, ThreadThatCannotBeMadeDropsTheEvent) {
    World world;
    world.process.failCreation(0, EAGAIN);
    orbEventHandler().generateEvent(event_of(356));
    EXPECT_TRUE(world.process.joined().empty());
    EXPECT_EQ(world.rmc.opens(), 0);
    EXPECT_LOGGED(world.log, "ERROR", "EVT_HANDLER", "Unable to spawn a thread to handle event.");
}

TEST(EventDelivery, FailedDeliveryIsForgotten) {
    World world([](const FakeRmc::Sent &, std::size_t) { return FakeRmc::transferAnswer(4); });
    orbEventHandler().generateEvent(event_of(356));
    EXPECT_EQ(world.rmc.sent().size(), 1u);
    EXPECT_LOGGED(world.log, "ERROR", "EVT_HANDLER", "FAILURE in logging event to RMC");
}

TEST(EventDelivery, ProducersNeverMixTheirMessages) {
    World world;
    world.openGate();
    std::vector<std::thread> producers;
    for (int producer = 0; producer < 4; ++producer)
        producers.emplace_back([producer] {
            for (int i = 0; i < 5; ++i)
                orbEventHandler().generateEvent(event_of(1000 * producer + i, "ORB"));
        });
    for (std::thread &one : producers) one.join();
    ASSERT_EQ(world.rmc.transfers().size(), 20u);
    int last[4] = {-1, -1, -1, -1};
    for (std::size_t i = 0; i < 20; ++i) {
        const int id = delivered(world.rmc, i)["ID"].asInt();
        EXPECT_EQ(id % 1000, last[id / 1000] + 1); // events of one producer stay in order
        last[id / 1000] = id % 1000;
    }
}
