#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LabRecords.h"
#include "LabRun.h"
#include "core/json_text.h"

namespace {
const std::string FAST = "50";
const std::string DEBUG_LOG = "root/var/log/vantor/orb/orb-debug.log";

Json::Value adapters_of(const Json::Value &document) {
    return document["HostDataCollection"]["EthernetDevices"];
}
/// The adapters of each inventory that came, in order.
std::vector<Json::Value> adapter_lists(const LabRun &lab) {
    std::vector<Json::Value> lists;
    for (const Json::Value &each : records(lab, "inventory"))
        lists.push_back(adapters_of(each["inventory"]));
    return lists;
}
/// A scenario of its own on a shipped server, its cache of adapters built every 30 seconds.
std::string own_scenario(const LabRun &lab, const std::string &base, const std::string &members) {
    for (const char *name : {"first-generation", "second-generation-b01"})
        std::filesystem::copy_file(std::string(ORB_SCENARIOS "/") + name + ".json",
                                   lab.folder() + "/" + name + ".json");
    lab.write("own.json", "{\"base\":\"" + base +
                              "\",\"config\":{\"CacheRefreshInSeconds\":{\"Global\":\"60\","
                              "\"EthernetDevices\":\"30\"}}" +
                              members + "}");
    return lab.folder() + "/own.json";
}

struct PlatformCase {
    const char *name, *scenario;
    int generation; // 0: nobody knows the places
};
const PlatformCase PLATFORMS[] = {
    {"First", "first-generation", 1},
    {"SecondFirstId", "second-generation-b01", 2},
    {"SecondSecondId", "second-generation-b02", 2},
    {"Unknown", "unknown-platform", 0},
};
void PrintTo(const PlatformCase &row, std::ostream *os) {
    *os << row.name;
}
class LabPlatforms : public ::testing::TestWithParam<PlatformCase> {};
TEST_P(LabPlatforms, LocationsReadBackToWhereTheFirmwarePutTheAdapters) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", GetParam().scenario}), 0)
        << lab.err();
    Json::Value document;
    ASSERT_TRUE(parse_json(lab.read("inventory.json"), document));
    const Json::Value list = adapters_of(document);
    ASSERT_EQ(list.size(), 3u);
    for (const Json::Value &adapter : list) {
        const std::string code = adapter["Oem"]["PhysicalLocation"].asString();
        if (GetParam().generation == 0) {
            EXPECT_EQ(code, NOWHERE);
            EXPECT_EQ(geo_id_of(adapter), "");
            continue;
        }
        const Json::Value place = decoded(code);
        EXPECT_EQ(place["generation"].asInt(), GetParam().generation);
        EXPECT_EQ(place["geoId"].asString(), geo_id_of(adapter));
        EXPECT_EQ(place["rack"].asInt(), 1);
        EXPECT_EQ(place[GetParam().generation == 1 ? "unit" : "ioElement"].asInt(), 1);
        EXPECT_NE(lab.read("summary.txt").find(place["place"].asString()), std::string::npos);
    }
    if (GetParam().generation == 0) {
        EXPECT_NE(lab.read("summary.txt").find("location unknown"), std::string::npos);
        return;
    }
    // Two ports on the system board, told apart by their functions, and a card in slot 5.
    const auto place = [&](int i) {
        return decoded(list[i]["Oem"]["PhysicalLocation"].asString());
    };
    EXPECT_EQ(place(0)["slot"].asInt(), 0);
    EXPECT_EQ(place(0)["extra"].asInt(), 0);
    EXPECT_EQ(place(1)["slot"].asInt(), 0);
    EXPECT_EQ(place(1)["extra"].asInt(), 1);
    EXPECT_EQ(place(2)["slot"].asInt(), 5);
    EXPECT_EQ(place(2)["unitKind"].asString(), "I/O slot");
}
INSTANTIATE_TEST_SUITE_P(Families, LabPlatforms, ::testing::ValuesIn(PLATFORMS),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace

TEST(LabEthernet, FlappingLinkShowsInEachInventoryAndRaisesOneEvent) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--json", "--speed", FAST, "--scenario", "link-flap"}), 0)
        << lab.err();
    const auto lists = adapter_lists(lab);
    ASSERT_GE(lists.size(), 3u);
    EXPECT_EQ(state_of(lists[0][0]), "Running OK");
    EXPECT_EQ(state_of(lists[1][0]), "Down Unknown");
    EXPECT_EQ(lists[1][0]["SpeedMbps"].asInt(), 0);
    EXPECT_EQ(state_of(lists.back()[0]), "Running OK");
    for (const Json::Value &list : lists) EXPECT_EQ(state_of(list[1]), "Down Unknown");

    std::string told;
    for (const Json::Value &each : records(lab, "progress")) told += each["text"].asString() + "\n";
    for (const char *text :
         {"manager EthernetDevices: first cache built\n",
          "adapter vmnic0: Running, OK, rack 1, unit 1, partition 0, on board, port 0\n",
          "command: nic vmnic0 down\n",
          "adapter vmnic0: Down, Unknown, rack 1, unit 1, partition 0, on board, port 0\n"})
        EXPECT_NE(told.find(text), std::string::npos) << text << "in\n" << told;

    const auto events = lab.lines("events.jsonl");
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0]["ID"].asInt(), 680);
    EXPECT_EQ(events[0]["PhysicalLocation"], lists[0][0]["Oem"]["PhysicalLocation"]);
}

TEST(LabEthernet, LinkPollFindsAChangeBetweenTwoBuilds) {
    LabRun lab;
    lab.start(
        {"--json", "--speed", "20", "--scenario", own_scenario(lab, "second-generation-b01", "")});
    ASSERT_TRUE(await_first(lab));
    // The poll takes place only where the wait before it begins in the second in which the build
    // ended; a busy machine misses some.
    std::size_t events = 0;
    while (events < 5 && lab.read(DEBUG_LOG).find("Found a status change") == std::string::npos) {
        lab.say("nic vmnic2 down\n");
        ASSERT_TRUE(lab.await("adapter vmnic2: Down, Unknown", events + 1));
        lab.say("nic vmnic2 up\n");
        ++events;
        ASSERT_TRUE(lab.await("\"ID\":680", events));
    }
    EXPECT_NE(lab.read(DEBUG_LOG).find("Found a status change"), std::string::npos);
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(lab.lines("events.jsonl").size(), events);
}

TEST(LabEthernet, LinkThatCannotBeToldIsCritical) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--json", "--speed", FAST, "--scenario", "link-unknown"}), 0)
        << lab.err();
    const auto lists = adapter_lists(lab);
    ASSERT_GE(lists.size(), 2u);
    EXPECT_EQ(state_of(lists[0][2]), "Failed Critical");
    EXPECT_EQ(state_of(lists.back()[2]), "Running OK");
}

TEST(LabEthernet, AdapterThatLeavesIsMissedAndThatComesBackIsNoEvent) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--json", "--speed", FAST, "--scenario", "adapter-leaves"}), 0)
        << lab.err();
    const auto lists = adapter_lists(lab);
    ASSERT_GE(lists.size(), 3u);
    EXPECT_EQ(lists[0].size(), 3u);
    EXPECT_EQ(lists[1].size(), 2u);
    EXPECT_EQ(lists.back().size(), 3u);
    EXPECT_EQ(lab.read("events.jsonl"), "");
}

TEST(LabEthernet, EncoderThatRefusesForAWhileIsAskedAgain) {
    LabRun lab;
    lab.start({"--json", "--speed", "20", "--scenario",
               own_scenario(lab, "first-generation", R"(,"encoder":"refuses")")});
    ASSERT_TRUE(lab.await("adapter vmnic0: Running, OK, location unknown"));
    lab.say("set encoder works\n");
    ASSERT_TRUE(lab.await("adapter vmnic0: Running, OK, rack 1, unit 1, partition 0, on board"));
    lab.say("set encoder refuses\n");
    ASSERT_TRUE(lab.await("adapter vmnic0: Running, OK, location unknown", 2));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabEthernet, EncoderThatGoesMissingIsNoticedByTheNextDaemon) {
    LabRun lab;
    lab.start({"--json", "--speed", "20", "--scenario", own_scenario(lab, "first-generation", "")});
    ASSERT_TRUE(lab.await("adapter vmnic2: Running, OK, rack 1, unit 1, partition 0, slot 5"));
    lab.say("set encoder missing\nrestart daemon\n");
    ASSERT_TRUE(lab.await("adapter vmnic2: Running, OK, location unknown"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabEthernet, LockThatStaysHeldDoesNotHoldUpTheEnd) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", "nic-list-fails"});
    // The second build without an adapter leaves the manager's lock held for good.
    ASSERT_TRUE(lab.awaitIn(DEBUG_LOG, "size of current inventory 0, size of prev inventory 0"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_NE(lab.read("root/var/log/vantor/orb/orb.log").find("ORB Exiting Gracefully!"),
              std::string::npos);
}

TEST(LabEthernet, CommandsForAnAdapterThatIsNotThereAreRefused) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("nic vmnic9 down\nnic vmnic0 sideways\nhelp\n");
    ASSERT_TRUE(lab.await("nic NAME remove | add"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: nic vmnic9: no such adapter\n"
                         "orblab: nic: say which and what, such as \"nic vmnic0 down\": up, down, "
                         "unknown, remove, add\n");
}

TEST(LabEthernet, ThisMachinesAdaptersAreLeftAlone) {
    LabRun lab;
    lab.start({"--speed", FAST, "--host", "linux"});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("nic eth0 down\nset nics fails\nquit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: nic eth0: this machine's own adapters are in use\n"
                         "orblab: set nics: this machine's own facts are in use\n");
}

TEST(LabEthernet, ScenarioForSimulatedAdaptersServesForThisMachineToo) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--once", "--quiet", "--speed", FAST, "--host", "linux", "--scenario",
                       "link-unknown"}),
              0)
        << lab.err();
}
