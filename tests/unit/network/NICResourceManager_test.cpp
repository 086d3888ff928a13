#include "network/NICResourceManager.h"

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/format_text.h"
#include "core/json_text.h"
#include "unit/network/NicWorld.h"

namespace {
using Texts = std::vector<std::string>;
constexpr char TAG[] = "NIC_RM";
constexpr char LIST_FAILURE[] = "Error occurred in gathering network interface information.";

class NicManager : public ::testing::Test {
protected:
    void SetUp() override { world.clock.setAutoAdvance(true); }
    static std::vector<NIC_ON_HOST> nics(int count) {
        std::vector<NIC_ON_HOST> all;
        for (int i = 0; i < count; ++i) {
            NIC_ON_HOST nic;
            nic.name = "vmnic" + std::to_string(i);
            nic.address = format_text("0001:%02x:00.0", static_cast<unsigned>(i)); // in no slot
            all.push_back(nic);
        }
        return all;
    }
    void setLink(const std::string &word) {
        NIC_ON_HOST nic;
        nic.link = word;
        world.setNics({nic});
    }
    int debugLines(const std::string &text) const { return world.log.count("DEBUG", TAG, text); }

    NicWorld world;
    NICResourceManager &manager = world.manager;
};

// -- A rebuild ----------------------------------------------------------------------------------

TEST_F(NicManager, RebuildDescribesTheAdapter) {
    manager.cacheBuild();
    const std::string text =
        R"({"FirmwareVersion":"1.63.0:0x800009fa","MACAddress":"02:00:5e:10:20:30",)"
        R"("Manufacturer":"Undefined","Model":"Vantor Ethernet 10Gb 2-port 900X Adapter",)"
        R"("Oem":{"Description":"PCI 0000:c3:00.0 r001u01p0i00","DeviceName":"vmnic0",)"
        R"("PhysicalLocation":"0123456789ABCDEF"},"PartNumber":"VX90102-001","SerialNumber":"",)"
        R"("SpeedMbps":1000,"Status":{"Health":"OK","State":"Running"}})";
    ASSERT_EQ(world.objects().size(), 1u);
    EXPECT_EQ(compact_json(world.objects()[0]), text);
    EXPECT_EQ(debugLines("Printing Ethernet Instance 0:    " + text), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
    EXPECT_EQ(debugLines("Building NIC Cache"), 1);
    EXPECT_EQ(debugLines("Exiting CacheBuild"), 1);
}

TEST_F(NicManager, RowsKeepTheirOrder) {
    std::vector<NIC_ON_HOST> three = nics(3);
    std::swap(three[0], three[2]);
    world.setNics(three);
    manager.cacheBuild();
    ASSERT_EQ(world.objects().size(), 3u);
    EXPECT_EQ(world.objects()[0]["Oem"]["DeviceName"], Json::Value("vmnic2"));
    EXPECT_EQ(world.objects()[2]["Oem"]["DeviceName"], Json::Value("vmnic0"));
}

TEST_F(NicManager, RebuildOf64AdaptersRunsNoMoreLinesThanItMust) {
    world.setNics(nics(64));
    manager.cacheBuild();
    EXPECT_EQ(world.commands.calls().size(), 1u + 64 * 4) << "list; details, two looks, sub-ids";
    manager.cacheBuild();
    EXPECT_EQ(world.commands.calls().size(), 1u + 64 * 4 + 1 + 64 * 3) << "sub-ids are known";
    EXPECT_EQ(world.commands.calls().front(), NicWorld::listLine());
}

TEST_F(NicManager, RebuildOf64CardsInSlotsLooksUpTheirMakersEachTime) {
    const std::vector<NIC_ON_HOST> cards = nics(64);
    std::vector<LocationWorld::Place> slots;
    for (std::uint8_t i = 0; i < 64; ++i) // slot 0 would be the board
        slots.push_back({format_text("PCI r001u01p0i%02u", i + 1u), 1, i, 0});
    world.boot("PLATFORM-ID-A01", slots);
    world.setNics(cards);
    manager.cacheBuild();
    EXPECT_EQ(world.commands.calls().size(), 1u + 64 * 5);
    manager.cacheBuild();
    EXPECT_EQ(world.commands.calls().size(), 1u + 64 * 5 + 1 + 64 * 4) << "sub-ids are known";
    EXPECT_EQ(world.objects()[63]["Manufacturer"], Json::Value("Intel Corporation"));
}

TEST_F(NicManager, FirstRebuildMakesItReady) {
    EXPECT_FALSE(manager.isInventoryReady(0));
    EXPECT_EQ(world.log.count("INFO", TAG, "NIC resource status 0"), 1);
    manager.cacheBuild();
    EXPECT_TRUE(manager.isInventoryReady(0));
    EXPECT_EQ(world.log.count("INFO", TAG, "NIC resource status 1"), 1);
}
TEST_F(NicManager, FailedRebuildMakesItReadyToo) {
    world.commands.onSystem(NicWorld::listLine(), {256, 0});
    manager.cacheBuild();
    EXPECT_TRUE(manager.isInventoryReady(0));
    EXPECT_TRUE(world.objects().empty());
}
TEST_F(NicManager, LastLookArmsAPush) {
    for (int iteration = 0; iteration < 8; ++iteration) (void)manager.isInventoryReady(iteration);
    EXPECT_FALSE(manager.isInventoryReady(8));
    manager.cacheBuild();
    EXPECT_EQ(debugLines("NICRM requesting cache push"), 1);
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "Dropping inventory send request"), 1);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("NICRM requesting cache push"), 1) << "once";
}
TEST_F(NicManager, NoPushWithoutALastLook) {
    (void)manager.isInventoryReady(7);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("NICRM requesting cache push"), 0);
}

TEST_F(NicManager, OtherInventoriesAreLeftAlone) {
    std::vector<Json::Value> objects{Json::Value("kept")};
    Json::Value object("kept");
    EXPECT_EQ(manager.getInventoryJsonObject2(1, objects), 0);
    EXPECT_EQ(manager.getFileServiceJsonObject(objects), 0);
    EXPECT_EQ(manager.getTelemetryJsonObject(object), 0);
    EXPECT_EQ(objects, std::vector<Json::Value>{Json::Value("kept")});
}

TEST(NicInterval, BelowOneIsThirty) {
    for (const std::int64_t low : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{INT64_MIN}})
        EXPECT_EQ(NICResourceManager::refreshSeconds(low), 30);
    for (const std::int64_t given : {std::int64_t{1}, std::int64_t{30}, std::int64_t{INT64_MAX}})
        EXPECT_EQ(NICResourceManager::refreshSeconds(given), given);
}

// -- The interface table ------------------------------------------------------------------------

TEST_F(NicManager, ListThatFailsIsLoggedAndLeavesNoFile) {
    world.commands.onSystem(NicWorld::listLine(), {256, 0}, [this] { world.append("rest"); });
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("ERROR", TAG, LIST_FAILURE), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
}
TEST_F(NicManager, ListWithoutAFileIsToldOnStandardOutput) {
    world.commands.onSystem(NicWorld::listLine(), {0, 0});
    manager.cacheBuild();
    EXPECT_EQ(world.process.output(), std::string(LIST_FAILURE) + "\n");
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, ""), 0);
}
TEST_F(NicManager, EmptyListIsNoFailure) {
    world.answerListWith("");
    manager.cacheBuild();
    EXPECT_EQ(debugLines("No NIC found!"), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, ""), 0);
}
TEST_F(NicManager, HostWithoutAdapters) {
    world.answerListWith(NicWorld::HEADS);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("No NIC found!"), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
}
TEST_F(NicManager, FirstLineWithoutNameStaysAndFailsEveryLaterRun) {
    world.answerListWith("Connection refused\n");
    manager.cacheBuild();
    EXPECT_EQ(debugLines("Unable to find NIC information."), 1);
    EXPECT_EQ(world.root.read(NicWorld::LIST_FILE), "Connection refused\n");
    EXPECT_TRUE(world.objects().empty());
}
TEST(NicManagerPoisoned, FileLeftByAnEarlierRunFailsAGoodList) {
    NicWorld world;
    world.root.write(NicWorld::LIST_FILE, "Connection refused\n");
    world.manager.cacheBuild();
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Unable to find NIC information."), 1);
    EXPECT_EQ(world.root.read(NicWorld::LIST_FILE), "Connection refused\n" + world.table());
    EXPECT_FALSE(world.manager.checkLinkState());
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE)) << "the link poll mends it";
}
TEST_F(NicManager, RowOfNineWordsFailsTheWholeList) {
    world.answerListWith(world.table() + "vmnic1 0000:c3:00.1 Up Down 0 Half mac 1500 Intel\n");
    manager.cacheBuild();
    EXPECT_EQ(debugLines("An error occurred while trying to fetch NIC information"), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
    EXPECT_TRUE(world.objects().empty());
}
TEST_F(NicManager, EmptyLineFailsTheWholeList) {
    world.answerListWith(world.table() + "\n");
    manager.cacheBuild();
    EXPECT_EQ(debugLines("An error occurred while trying to fetch NIC information"), 1);
    EXPECT_TRUE(world.objects().empty());
}
TEST_F(NicManager, FailedRebuildKeepsTheLastGoodObjects) {
    manager.cacheBuild();
    world.commands.onSystem(NicWorld::listLine(), {256, 0});
    manager.cacheBuild();
    EXPECT_EQ(world.objects().size(), 1u);
    EXPECT_EQ(world.words(), "Running OK");
}

// -- Events -------------------------------------------------------------------------------------

TEST_F(NicManager, AdapterThatIsWellAgainRaises680Once) {
    manager.cacheBuild();
    setLink("Down");
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Down Unknown");
    EXPECT_EQ(debugLines("State change noticed from Unknown to OK"), 1);
    NicWorld::sendFirstInventory();
    setLink("Up");
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Running OK");
    manager.cacheBuild();

    const std::vector<Json::Value> events = world.events();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0]["ID"], Json::Value(680));
    EXPECT_EQ(events[0]["Source"], Json::Value("ORB"));
    EXPECT_EQ(events[0]["PhysicalLocation"], Json::Value(NicWorld::LOCATION));
    const Json::Value data = events[0]["VariableData"];
    EXPECT_EQ(data["Type"], Json::Value("EthernetDevice"));
    EXPECT_EQ(data["EventInfo"], Json::Value(""));
    EXPECT_EQ(data["Data"]["Oem"]["DeviceName"], Json::Value("vmnic0"));
    EXPECT_FALSE(data["Data"].isMember("Status"));
    EXPECT_EQ(data.size(), 3u);
}

TEST_F(NicManager, FirstRebuildRaisesNothing) {
    NicWorld::sendFirstInventory();
    manager.cacheBuild();
    EXPECT_TRUE(world.events().empty());
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Entry compare"), 0);
}

struct ChangeCase {
    const char *name, *before, *after;
    int events;
    const char *noticed; ///< "" for nothing
};
void PrintTo(const ChangeCase &row, std::ostream *os) {
    *os << row.name;
}
const ChangeCase CHANGE_CASES[] = {
    {"StaysUp", "Up", "Up", 0, ""},
    {"StaysDown", "Down", "Down", 0, ""},
    {"GoesDown", "Up", "Down", 0, "State change noticed from Unknown to OK"},
    {"ComesUp", "Down", "Up", 1, ""},
    {"Fails", "Up", "Unknown", 0, ""},
    {"IsMended", "Unknown", "Up", 1, ""},
    {"FailedToDown", "Unknown", "Down", 0, "State change noticed from Unknown to Critical"},
    {"DownToFailed", "Down", "Unknown", 0, ""},
};
class NicChange : public ::testing::TestWithParam<ChangeCase> {};
TEST_P(NicChange, RaisesWhatIsDue) {
    NicWorld world;
    world.clock.setAutoAdvance(true);
    NIC_ON_HOST nic;
    nic.link = GetParam().before;
    world.setNics({nic});
    world.manager.cacheBuild();
    NicWorld::sendFirstInventory();
    nic.link = GetParam().after;
    world.setNics({nic});
    world.manager.cacheBuild();
    EXPECT_EQ(world.events().size(), static_cast<std::size_t>(GetParam().events));
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "State change noticed"),
              *GetParam().noticed == '\0' ? 0 : 1);
    if (*GetParam().noticed != '\0') {
        EXPECT_LOGGED(world.log, "DEBUG", TAG, GetParam().noticed);
    }
}
INSTANTIATE_TEST_SUITE_P(Links, NicChange, ::testing::ValuesIn(CHANGE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(NicManager, NewAndLostAdaptersRaiseNothing) {
    NicWorld::sendFirstInventory();
    world.setNics(nics(1));
    manager.cacheBuild();
    world.setNics(nics(2));
    manager.cacheBuild();
    world.setNics(nics(1));
    manager.cacheBuild();
    EXPECT_TRUE(world.events().empty());
    EXPECT_EQ(debugLines("Entry compare size of current inventory 2, size of prev inventory 1"), 1);
    EXPECT_EQ(debugLines("Entry compare size of current inventory 1, size of prev inventory 2"), 1);
}

TEST_F(NicManager, ComparisonStopsAtTheFirstOfItsName) {
    NicWorld::sendFirstInventory();
    std::vector<NIC_ON_HOST> twins(2); // one name, the first up, the second down
    twins[1].link = "Down";
    world.setNics(twins);
    manager.cacheBuild();
    setLink("Up");
    manager.cacheBuild();
    EXPECT_TRUE(world.events().empty()) << "compared with the first, which was up";
    EXPECT_EQ(debugLines("Curr Intf name vmnic0 Current health  OK Prev intrf name vmnic0 Prev "
                         "health OK"),
              1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Prev health Unknown"), 0);
}

TEST_F(NicManager, ComparisonWalksToTheName) {
    world.setNics(nics(2));
    manager.cacheBuild();
    manager.cacheBuild();
    EXPECT_EQ(debugLines("Curr Intf name vmnic1 Current health  OK Prev intrf name vmnic0 Prev "
                         "health OK"),
              1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Curr Intf name "), 3);
}

TEST_F(NicManager, EventsBeforeTheFirstInventoryAreDropped) {
    setLink("Down");
    manager.cacheBuild();
    setLink("Up");
    manager.cacheBuild();
    EXPECT_TRUE(world.events().empty());
}

struct FamilyCase {
    const char *name, *family, *description;
};
void PrintTo(const FamilyCase &row, std::ostream *os) {
    *os << row.name;
}
const FamilyCase FAMILY_CASES[] = {
    {"FirstGeneration", "PLATFORM-ID-A01", "PCI 0000:c3:00.0 r001u01p0i00"},
    {"SecondGeneration", "PLATFORM-ID-B01", "PCI 0000:c3:00.0 r001i01s00"},
    {"SecondGenerationToo", "PLATFORM-ID-B02", "PCI 0000:c3:00.0 r001i01s00"},
    {"Unknown", "Example", ""},
};
class NicTestEvent : public ::testing::TestWithParam<FamilyCase> {};
TEST_P(NicTestEvent, IsAboutAMadeUpAdapter) {
    NicWorld world(GetParam().family);
    world.clock.setAutoAdvance(true);
    NicWorld::sendFirstInventory();
    for (const int id : {678, 680, 12}) world.manager.generateTestEvent(id, "FEDCBA9876543210");
    const std::vector<Json::Value> events = world.events();
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0]["ID"], Json::Value(678));
    EXPECT_EQ(events[1]["ID"], Json::Value(680));
    EXPECT_EQ(events[2]["ID"], Json::Value(12));
    for (const Json::Value &event : events) {
        EXPECT_EQ(event["Source"], Json::Value("ORB-CLI"));
        EXPECT_EQ(event["PhysicalLocation"], Json::Value("FEDCBA9876543210"));
        EXPECT_EQ(compact_json(event["VariableData"]),
                  R"({"Data":{"FirmwareVersion":"3.2d 0x80000b5c 0.0.0",)"
                  R"("MACAddress":"02:00:00:17:A1:64","Manufacturer":"Intel Corporation",)"
                  R"("Model":"Vantor Ethernet 1Gb 2-port 900T Adapter","Oem":{"Description":")" +
                      std::string(GetParam().description) +
                      R"(","DeviceName":"/sys/class/net/eth0",)"
                      R"("PhysicalLocation":"FEDCBA9876543210"},"PartNumber":"",)"
                      R"("SerialNumber":"","SpeedMbps":1000},"EventInfo":"Injected Event",)"
                      R"("Type":"EthernetDevice"})");
    }
}
INSTANTIATE_TEST_SUITE_P(Families, NicTestEvent, ::testing::ValuesIn(FAMILY_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(NicDescriptions, ByEvent) {
    EXPECT_EQ(NICResourceManager::getDescription(0), "Injected Event");
    EXPECT_EQ(NICResourceManager::getDescription(678),
              "Errors detected on NIC, use 'ip' command for status. Refer to syslog for further "
              "details.");
    for (const int other : {680, 1, -1, 679, 708})
        EXPECT_EQ(NICResourceManager::getDescription(other), "");
}
TEST(NicDescriptions, RecordWithoutDeviceNameHasNoData) {
    PhyAdapterInventory adapter;
    EXPECT_TRUE(NICResourceManager::getVariableData(adapter, 680).isNull());
    adapter.setDeviceName("vmnic0");
    adapter.setSpeed(-5);
    const Json::Value data = NICResourceManager::getVariableData(adapter, 678);
    EXPECT_EQ(data["Data"]["SpeedMbps"], Json::Value(-5));
    EXPECT_EQ(data["EventInfo"].asString().substr(0, 6), "Errors");
}

// -- The link poll ------------------------------------------------------------------------------

TEST_F(NicManager, PollSeesNoChange) {
    manager.cacheBuild();
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(debugLines("Getting list of interfaces"), 1);
    EXPECT_EQ(debugLines("No status change"), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
}

struct PollCase {
    const char *name, *table;
    bool changed;
};
void PrintTo(const PollCase &row, std::ostream *os) {
    *os << row.name;
}
const PollCase POLL_CASES[] = {
    {"LinkIsDown", "\n\nvmnic0 Down\n", true},
    {"OtherLettersAreAChange", "\n\nvmnic0 up\n", true},
    {"FirstDifferenceOfMany", "\n\nvmnic0 Down\nvmnic0 Up\n", true},
    {"LaterDifference", "\n\nvmnic0 Up\nvmnic0 Down\n", true},
    {"HeadsDoNotCount", "vmnic0 Down\nvmnic0 Down\n", false},
    {"UnknownInterface", "\n\nvmnic1 Down\n", false},
    {"InterfaceIsGone", "\n\n", false},
    {"OddLinesArePassedOver", "\n\nvmnic0\nvmnic0 Down now\n\n", false},
    {"NothingAtAll", "", false},
};
class NicPoll : public ::testing::TestWithParam<PollCase> {};
TEST_P(NicPoll, ComparesWithTheInventory) {
    NicWorld world;
    world.manager.cacheBuild();
    world.answerPollWith(GetParam().table);
    EXPECT_EQ(world.manager.checkLinkState(), GetParam().changed);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Found a status change"), GetParam().changed ? 1 : 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "No status change"), GetParam().changed ? 0 : 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
}
INSTANTIATE_TEST_SUITE_P(Tables, NicPoll, ::testing::ValuesIn(POLL_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(NicManager, PollComparesWithEveryRecordOfTheName) {
    std::vector<NIC_ON_HOST> twins(2);
    twins[1].link = "Down";
    world.setNics(twins);
    manager.cacheBuild();
    world.answerPollWith("\n\nvmnic0 Up\n");
    EXPECT_TRUE(manager.checkLinkState()) << "with the second, which is down";
}

TEST_F(NicManager, PollOfAnEmptyInventory) {
    world.answerPollWith("\n\nvmnic0 Down\n");
    EXPECT_FALSE(manager.checkLinkState()) << "nothing was built yet";
}
TEST_F(NicManager, PollThatFailsIsNoChange) {
    world.commands.onSystem(NicWorld::pollLine(), {256, 0}, [this] { world.append("rest"); });
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(world.log.count("ERROR", TAG,
                              "Error occurred in checking link state information : Success"),
              1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
}
TEST_F(NicManager, PollWithoutAShell) {
    world.commands.onSystem(NicWorld::pollLine(), {-1, ENOMEM});
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(world.log.count("ERROR", TAG,
                              "Error occurred in checking link state information : Cannot "
                              "allocate memory"),
              1);
}
TEST_F(NicManager, PollWithoutAFile) {
    world.commands.onSystem(NicWorld::pollLine(), {0, 0});
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(world.log.count("ERROR", TAG,
                              "Error occurred in checking link state information : No such file "
                              "or directory"),
              1);
}

// -- Readers ------------------------------------------------------------------------------------

TEST_F(NicManager, HealthOfAnInterface) {
    EXPECT_TRUE(manager.getHealthOfIntf("vmnic0").empty());
    manager.cacheBuild();
    EXPECT_EQ(manager.getHealthOfIntf("vmnic0"), (Texts{"Running", "OK"}));
    EXPECT_TRUE(manager.getHealthOfIntf("vmnic1").empty());
    EXPECT_TRUE(manager.getHealthOfIntf(nullptr).empty());
}
TEST_F(NicManager, WordsOfAnInterfaceCanBeChanged) {
    manager.cacheBuild();
    manager.updateStateAndHealth("vmnic0", "Down", "Unknown");
    EXPECT_EQ(manager.getHealthOfIntf("vmnic0"), (Texts{"Down", "Unknown"}));
    EXPECT_EQ(world.words(), "Down Unknown");
    manager.updateStateAndHealth("vmnic1", "Failed", "Critical");
    manager.updateStateAndHealth(nullptr, "Failed", "Critical");
    EXPECT_EQ(world.words(), "Down Unknown");
    EXPECT_EQ(world.objects().size(), 1u);
}

TEST_F(NicManager, RunsOnceThereIsAnInventory) {
    manager.cacheBuild();
    EXPECT_TRUE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 0);
}
TEST_F(NicManager, WithoutAnInventoryItDoesNotRun) {
    EXPECT_FALSE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 15000);
    for (int retry = 0; retry < 3; ++retry)
        EXPECT_EQ(
            world.log.count("WARNING", TAG,
                            "_cacheBuildInProgress = 0,NICInventory.size() =0, retryCount = " +
                                std::to_string(retry)),
            1);
}

// -- The list that comes back empty -------------------------------------------------------------

TEST_F(NicManager, EmptyListBehindAGoodOneKeepsObjectsAndLock) {
    manager.cacheBuild();
    world.answerListWith(NicWorld::HEADS);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("Entry compare size of current inventory 0, size of prev inventory 1"), 1);
    EXPECT_EQ(world.builds(), 2);
    std::vector<Json::Value> objects;
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 1) << "readers find the lock taken";
    EXPECT_EQ(objects.size(), 1u);
    EXPECT_FALSE(manager.isRunning());
    EXPECT_EQ(world.log.count("WARNING", TAG,
                              "_cacheBuildInProgress = 1,NICInventory.size() =1, retryCount = 2"),
              1);
    EXPECT_TRUE(manager.isInventoryReady(0));
}
TEST_F(NicManager, SecondEmptyListOfAHostWithoutAdaptersKeepsTheLock) {
    world.answerListWith(NicWorld::HEADS);
    manager.cacheBuild();
    std::vector<Json::Value> objects;
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 0);
    manager.cacheBuild();
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 1);
    EXPECT_TRUE(objects.empty());
}
TEST_F(NicManager, StoppedManagerDoesNotWaitForTheLock) {
    world.answerListWith(NicWorld::HEADS);
    manager.cacheBuild();
    manager.cacheBuild();
    manager.stopResourceManagerJob();
    EXPECT_EQ(world.log.count("INFO", TAG, "Resource manager stop called."), 1);
    EXPECT_EQ(world.log.count("INFO", TAG, "Signalled for stop."), 1);
    manager.cacheBuild();
    EXPECT_EQ(world.builds(), 2);
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
    EXPECT_TRUE(manager.getHealthOfIntf("vmnic0").empty());
    manager.updateStateAndHealth("vmnic0", "Down", "Unknown");
}
TEST_F(NicManager, StopLeavesARebuildThatNeedNotWaitAlone) {
    manager.stopResourceManagerJob();
    manager.cacheBuild();
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.objects().size(), 1u);
}
} // namespace
