#include <filesystem>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "unit/fc/FcWorld.h"

namespace {
using Ids = std::vector<int>;
using Texts = std::vector<std::string>;
using Answer = std::pair<std::string, int>;
constexpr char TAG[] = "FC_RM";
constexpr char NODE_NAME[] = "20:00:02:00:5e:00:00:a1";

class FcChanges : public ::testing::Test {
protected:
    void SetUp() override {
        world.clock.setAutoAdvance(true);
        FcWorld::gatherNames();
    }
    void rebuildIn(HBA_PORTSTATE state) {
        world.setState(state);
        manager.cacheBuild();
    }
    int debugLines(const std::string &text) const { return world.log.count("DEBUG", TAG, text); }

    FcWorld world;
    FCResourceManager &manager = world.manager;
};

// -- What is compared ---------------------------------------------------------------------------

const HBA_PORTSTATE STATES[] = {HBA_PORTSTATE_ONLINE,   HBA_PORTSTATE_OFFLINE,
                                HBA_PORTSTATE_BYPASSED, HBA_PORTSTATE_DIAGNOSTICS,
                                HBA_PORTSTATE_LINKDOWN, HBA_PORTSTATE_ERROR,
                                HBA_PORTSTATE_LOOPBACK, HBA_PORTSTATE_UNKNOWN};
struct FormerCase {
    const char *name;
    HBA_PORTSTATE former;
    const char *word;
    int due[8]; ///< by STATES
};
void PrintTo(const FormerCase &row, std::ostream *os) {
    *os << row.name;
}
const FormerCase FORMER_CASES[] = {
    {"Online", HBA_PORTSTATE_ONLINE, "Online", {0, 385, 0, 0, 386, 388, 0, 0}},
    {"Offline", HBA_PORTSTATE_OFFLINE, "Offline", {384, 0, 0, 0, 386, 388, 0, 0}},
    {"Bypassed", HBA_PORTSTATE_BYPASSED, "Bypassed", {384, 0, 0, 0, 386, 388, 0, 0}},
    {"Diagnostics", HBA_PORTSTATE_DIAGNOSTICS, "Diagnostic mode", {384, 0, 0, 0, 386, 388, 0, 0}},
    {"Linkdown", HBA_PORTSTATE_LINKDOWN, "Linkdown", {384, 385, 0, 0, 0, 0, 0, 0}},
    {"Error", HBA_PORTSTATE_ERROR, "Error", {384, 385, 0, 0, 0, 0, 0, 0}},
    {"Loopback", HBA_PORTSTATE_LOOPBACK, "Loopback", {384, 0, 0, 0, 386, 388, 0, 0}},
    {"Unknown", HBA_PORTSTATE_UNKNOWN, "Unknown", {384, 385, 0, 0, 386, 388, 0, 0}},
};
class FcFormer : public ::testing::TestWithParam<FormerCase> {};
TEST_P(FcFormer, DecidesWhichEventIsDue) {
    FcWorld world;
    world.setState(GetParam().former);
    for (int rebuild = 0; rebuild < 2; ++rebuild) world.manager.cacheBuild();
    for (std::size_t i = 0; i < std::size(STATES); ++i) {
        const ORB_RESOURCE_STATE state = FCResourceManager::getState(static_cast<int>(STATES[i]));
        const int due = GetParam().due[i];
        EXPECT_EQ(
            world.manager.compareStatus(NODE_NAME, FCResourceManager::getHealth(state), state),
            Answer(due != 0 ? GetParam().word : "", due))
            << "to " << STATES[i];
    }
}
TEST_P(FcFormer, DecidesWhatARebuildRaises) {
    FcWorld world;
    world.clock.setAutoAdvance(true);
    FcWorld::sendFirstInventory();
    for (std::size_t i = 0; i < std::size(STATES); ++i) {
        world.setState(HBA_PORTSTATE_UNKNOWN);
        world.manager.cacheBuild();
        world.setState(GetParam().former);
        world.manager.cacheBuild(); // what this raises is the first row of the events
        const std::size_t before = world.events().size();
        world.setState(STATES[i]);
        world.manager.cacheBuild();
        const Ids all = world.eventIds();
        EXPECT_EQ(Ids(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
                  GetParam().due[i] != 0 ? Ids{GetParam().due[i]} : Ids{})
            << "to " << STATES[i];
    }
}
INSTANTIATE_TEST_SUITE_P(States, FcFormer, ::testing::ValuesIn(FORMER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(FcChanges, NothingIsDueWithoutAFormerList) {
    EXPECT_EQ(manager.compareStatus(NODE_NAME, ORB_HEALTH_OK, ORB_STATE_ONLINE), Answer("", 0));
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_EQ(manager.compareStatus(NODE_NAME, ORB_HEALTH_OK, ORB_STATE_ONLINE), Answer("", 0))
        << "the list of the first rebuild is not yet the former one";
}
TEST_F(FcChanges, NothingIsDueForAnotherAdapter) {
    for (int rebuild = 0; rebuild < 2; ++rebuild) rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_EQ(manager.compareStatus("20:00:02:00:5e:00:00:A1", ORB_HEALTH_OK, ORB_STATE_ONLINE),
              Answer("", 0));
}
TEST_F(FcChanges, FirstOfTwoOfOneNameIsCompared) {
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE})});
    std::vector<FAKE_HBA_ADAPTER> twins{FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE}),
                                        FcWorld::adapter(0xA1, {HBA_PORTSTATE_LINKDOWN})};
    twins[1].name += "-twin";
    world.hba.setAdapters(twins);
    for (int rebuild = 0; rebuild < 2; ++rebuild) manager.cacheBuild();
    EXPECT_EQ(manager.compareStatus(NODE_NAME, ORB_HEALTH_OK, ORB_STATE_ONLINE), Answer("", 0));
    EXPECT_EQ(manager.compareStatus(NODE_NAME, ORB_HEALTH_CRITICAL, ORB_STATE_LINKDOWN),
              Answer("Online", 386));
}

// -- Events -------------------------------------------------------------------------------------

struct EventCase {
    const char *name;
    HBA_PORTSTATE before, after;
    int id;
    bool isService;
    const char *info;
};
void PrintTo(const EventCase &row, std::ostream *os) {
    *os << row.name;
}
const EventCase EVENT_CASES[] = {
    {"BackOnline", HBA_PORTSTATE_LINKDOWN, HBA_PORTSTATE_ONLINE, 384, false, ""},
    {"Offline", HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_OFFLINE, 385, false,
     "The Fibre Channel device port has gone offline. Refer to /var/log/messages for further "
     "details."},
    {"LinkDown", HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_LINKDOWN, 386, true,
     "Fibre channel device port has changed to a state of link down. Check the FC cabling to this "
     "port."},
    {"Failed", HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_ERROR, 388, true,
     "The Fibre Channel device port has failed. Refer to /var/log/messages for further details."},
};
class FcEvent : public ::testing::TestWithParam<EventCase> {};
TEST_P(FcEvent, TellsOfTheAdapter) {
    FcWorld world;
    world.clock.setAutoAdvance(true);
    FcWorld::gatherNames();
    FcWorld::sendFirstInventory();
    world.setState(GetParam().before);
    world.manager.cacheBuild();
    world.setState(GetParam().after);
    world.manager.cacheBuild();
    world.manager.cacheBuild();
    const std::vector<Json::Value> events = world.events();
    ASSERT_EQ(events.size(), 1u) << "once";
    EXPECT_EQ(events[0]["ID"], Json::Value(GetParam().id));
    EXPECT_EQ(events[0]["Source"], Json::Value("ORB"));
    EXPECT_EQ(events[0]["PhysicalLocation"], Json::Value(FcWorld::LOCATION));
    const Json::Value data = events[0]["VariableData"];
    EXPECT_EQ(data["Type"], Json::Value("FibreChannelDevice"));
    EXPECT_EQ(data["EventInfo"], Json::Value(GetParam().info));
    Json::Value adapter = world.objects().at(0);
    adapter.removeMember("Status");
    EXPECT_EQ(data["Data"], adapter);
    EXPECT_EQ(data.size(), 3u);
}
TEST_P(FcEvent, CarriesWhatIsNotSent) {
    FcWorld world;
    world.setState(GetParam().after);
    world.manager.cacheBuild();
    const orbFCDeviceInfo info = world.manager.getFCInventory().at(0);
    const orbEvent event = FCResourceManager::eventOf(GetParam().id, info);
    EXPECT_EQ(event.getEventID(), GetParam().id);
    EXPECT_EQ(event.getisServiceEvent(), GetParam().isService);
    EXPECT_EQ(FCResourceManager::isServiceEvent(GetParam().id), GetParam().isService);
    EXPECT_EQ(event.getModuleName(), "FCHBA");
    EXPECT_EQ(event.getPartNum(), "000000-001");
    EXPECT_EQ(event.getEventTime(), "2026-01-03 08:04:09");
    EXPECT_EQ(event.getSource(), "ORB");
    EXPECT_EQ(event.getPhyLoc(), info.getorbFCOemPhyLoc().getFCPhysicalLocation());
    EXPECT_EQ(event.getVariableData(), FCResourceManager::getVariableData(info, GetParam().id));
}
INSTANTIATE_TEST_SUITE_P(Ids, FcEvent, ::testing::ValuesIn(EVENT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(FcDescriptions, OtherEventsHaveNoneAndAskForNobody) {
    EXPECT_EQ(FCResourceManager::getDescription(0), "Injected Event");
    EXPECT_FALSE(FCResourceManager::isServiceEvent(0));
    for (const int other : {383, 384, 387, 389, 390, 1, -1}) {
        EXPECT_EQ(FCResourceManager::getDescription(other), "") << other;
        EXPECT_FALSE(FCResourceManager::isServiceEvent(other)) << other;
    }
}

TEST_F(FcChanges, FirstRebuildRaisesNothing) {
    FcWorld::sendFirstInventory();
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_EQ(world.eventIds(), Ids());
}
TEST_F(FcChanges, LinkDownAndBack) {
    FcWorld::sendFirstInventory();
    for (const HBA_PORTSTATE state : {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_LINKDOWN,
                                      HBA_PORTSTATE_LINKDOWN, HBA_PORTSTATE_ONLINE})
        rebuildIn(state);
    EXPECT_EQ(world.eventIds(), (Ids{386, 384}));
}
TEST_F(FcChanges, EventsBeforeTheFirstInventoryAreDropped) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_EQ(world.eventIds(), Ids());
}
TEST_F(FcChanges, NewAdapterRaisesNothing) {
    FcWorld::sendFirstInventory();
    rebuildIn(HBA_PORTSTATE_ONLINE);
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(0xA2, {HBA_PORTSTATE_LINKDOWN})});
    manager.cacheBuild();
    EXPECT_EQ(world.eventIds(), Ids());
}
TEST_F(FcChanges, AdaptersThatComeBackAreComparedWithTheLastThatWereSeen) {
    FcWorld::sendFirstInventory();
    rebuildIn(HBA_PORTSTATE_ONLINE);
    world.hba.setAdapters({});
    for (int rebuild = 0; rebuild < 3; ++rebuild) manager.cacheBuild();
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_EQ(world.eventIds(), Ids{386});
}
TEST_F(FcChanges, AdapterThatStopsTellingRaisesNothingAndNeitherDoesItsReturn) {
    FcWorld::sendFirstInventory();
    rebuildIn(HBA_PORTSTATE_ONLINE);
    FAKE_HBA_ADAPTER silent = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE});
    silent.readable = false;
    world.hba.setAdapters({silent});
    manager.cacheBuild();
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_EQ(world.eventIds(), Ids()) << "its name was not known in between";
}

TEST_F(FcChanges, TestEventIsAboutAMadeUpAdapter) {
    FcWorld::sendFirstInventory();
    for (const int id : {384, 386, 12})
        FCResourceManager().generateTestEvent(id, "FEDCBA9876543210");
    EXPECT_EQ(world.eventIds(), (Ids{384, 386, 12}));
    for (const Json::Value &event : world.events()) {
        EXPECT_EQ(event["Source"], Json::Value("ORB-CLI"));
        EXPECT_EQ(event["PhysicalLocation"], Json::Value("FEDCBA9876543210"));
        EXPECT_EQ(compact_json(event["VariableData"]),
                  R"-({"Data":{"FirmwareVersion":"8.05.61 (d0d5)",)-"
                  R"("Manufacturer":"Not Available",)"
                  R"("Model":"Vantor Fabric 900Q 16Gb 2P FC HBA",)"
                  R"("Oem":{"Description":"","PhysicalLocation":"FEDCBA9876543210"},)"
                  R"("PartNumber":"Z9Z99Z","RomVersion":"3.54","SerialNumber":"ZZ00000A0Z",)"
                  R"("WWNN":"50:00:00:00:00:a1:77:b1","WWPN":"50:00:00:00:00:a1:77:b0"},)"
                  R"("EventInfo":"Injected Event","Type":"FibreChannelDevice"})");
    }
    EXPECT_TRUE(world.hba.takeCalls().empty());
}

// -- The poll -----------------------------------------------------------------------------------

TEST_F(FcChanges, PollSeesNoChangeAndClosesNothing) {
    world.hba.setAdapters({FcWorld::adapter(1, {HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(2, {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    (void)world.hba.takeCalls();
    EXPECT_FALSE(manager.waitOnPortState(0));
    EXPECT_EQ(
        world.hba.takeCalls(),
        (Texts{"load", "count", "name 0", "name 1", "open com.example-FC900X-1", "attributes 1",
               "port 1 0", "open com.example-FC900X-2", "attributes 2", "port 2 0", "port 2 1"}));
    EXPECT_EQ(debugLines("Inside waitOnPortState"), 1);
    EXPECT_EQ(world.libraries.opened(FcWorld::LIBRARY), 2);
}
TEST_F(FcChanges, PollEndsAtTheFirstChange) {
    world.hba.setAdapters(
        {FcWorld::adapter(1, {HBA_PORTSTATE_ONLINE}), FcWorld::adapter(2, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    (void)world.hba.takeCalls();
    world.hba.setAdapters({FcWorld::adapter(1, {HBA_PORTSTATE_LINKDOWN}),
                           FcWorld::adapter(2, {HBA_PORTSTATE_ONLINE})});
    EXPECT_TRUE(manager.waitOnPortState(0));
    EXPECT_EQ(world.hba.takeCalls(),
              (Texts{"load", "count", "name 0", "name 1", "open com.example-FC900X-1",
                     "attributes 1", "port 1 0"}));
}
TEST_F(FcChanges, PollLooksAtStatesAndNotAtHealth) {
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    world.setState(HBA_PORTSTATE_ERROR);
    EXPECT_TRUE(manager.waitOnPortState(0));
}
TEST_F(FcChanges, PollComparesEachAdapterWithTheLastOne) {
    world.hba.setAdapters({FcWorld::adapter(1, {HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(2, {HBA_PORTSTATE_LINKDOWN})});
    manager.cacheBuild();
    (void)world.hba.takeCalls();
    EXPECT_TRUE(manager.waitOnPortState(0)) << "nothing has changed, but they differ";
    EXPECT_EQ(world.hba.takeCalls().back(), "port 1 0") << "the first one is another than the last";
    manager.cacheBuild();
    EXPECT_TRUE(manager.waitOnPortState(0)) << "for good";
}
TEST_F(FcChanges, PollComparesWithTheLatestRebuild) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    rebuildIn(HBA_PORTSTATE_LINKDOWN);
    EXPECT_FALSE(manager.waitOnPortState(0));
    world.setState(HBA_PORTSTATE_ONLINE);
    EXPECT_TRUE(manager.waitOnPortState(0));
}
TEST_F(FcChanges, PollComparesWithARebuildThatStillFoundAnAdapter) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    world.hba.setAdapters({});
    manager.cacheBuild();
    world.setState(HBA_PORTSTATE_LINKDOWN);
    EXPECT_TRUE(manager.waitOnPortState(0));
}
TEST_F(FcChanges, PollBeforeAnyRebuildHasNothingToCompare) {
    EXPECT_FALSE(manager.waitOnPortState(0));
    EXPECT_EQ(world.hba.takeCalls().back(), "port 1 0") << "it asks all the same";
}
TEST_F(FcChanges, PollPassesOverWhatCantBeOpened) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    FAKE_HBA_ADAPTER closed = FcWorld::adapter(0xA1, {HBA_PORTSTATE_LINKDOWN});
    closed.opens = false;
    world.hba.setAdapters({closed});
    EXPECT_FALSE(manager.waitOnPortState(0));
    EXPECT_EQ(debugLines("openAdapter() for FcaEntry 0 Failed!"), 1);
}
TEST_F(FcChanges, PollTakesASilentFirstAdapterForUnknown) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    FAKE_HBA_ADAPTER silent = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE});
    silent.readable = false;
    world.hba.setAdapters({silent});
    EXPECT_TRUE(manager.waitOnPortState(0));
    EXPECT_EQ(debugLines("getFcHbaData() for FcaEntry 0 Failed!"), 1);
}
TEST_F(FcChanges, PollTakesALaterSilentAdapterForTheOneBeforeIt) {
    world.hba.setAdapters(
        {FcWorld::adapter(1, {HBA_PORTSTATE_ONLINE}), FcWorld::adapter(2, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    std::vector<FAKE_HBA_ADAPTER> two{FcWorld::adapter(1, {HBA_PORTSTATE_ONLINE}),
                                      FcWorld::adapter(2, {HBA_PORTSTATE_LINKDOWN})};
    two[1].readable = false;
    world.hba.setAdapters(two);
    EXPECT_FALSE(manager.waitOnPortState(0));
    EXPECT_EQ(debugLines("getFcHbaData() for FcaEntry 1 Failed!"), 1);
}
TEST_F(FcChanges, PollWithoutAListOfLibrariesForgetsTheAdapters) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    std::filesystem::remove(world.root.path() + FcWorld::CONF);
    EXPECT_FALSE(manager.waitOnPortState(0));
    EXPECT_EQ(world.log.count("WARNING", TAG, "Could not load FC HBA vendor library"), 1);
    EXPECT_TRUE(manager.getFCInventory().empty());
    EXPECT_EQ(manager.init(), 0) << "no count of adapters";
    EXPECT_EQ(world.words(), "Online OK") << "the document keeps them";
}
TEST_F(FcChanges, PollCountsAnew) {
    rebuildIn(HBA_PORTSTATE_ONLINE);
    world.hba.setAdapters({});
    EXPECT_FALSE(manager.waitOnPortState(0));
    EXPECT_EQ(debugLines("0 FC instances found!!"), 1);
    EXPECT_TRUE(manager.isRunning());
}
TEST_F(FcChanges, SilentAdapterOfARebuildIsUnknownToThePoll) {
    FAKE_HBA_ADAPTER silent;
    silent.readable = false;
    world.hba.setAdapters({silent});
    manager.cacheBuild();
    EXPECT_FALSE(manager.waitOnPortState(0));
    world.setState(HBA_PORTSTATE_ONLINE);
    EXPECT_TRUE(manager.waitOnPortState(0));
}
} // namespace
