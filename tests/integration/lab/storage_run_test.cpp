#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LabRecords.h"
#include "LabRun.h"
#include "core/json_text.h"

namespace {
const std::string FAST = "50";
const std::string DEBUG_LOG = "root/var/log/vantor/orb/orb-debug.log";
const std::string SAS = "EXSAS00001", RAID = "EXPQI00001";

Json::Value controllers_of(const Json::Value &document) {
    return document["HostDataCollection"]["StorageControllers"];
}
Json::Value latest(const LabRun &lab) {
    Json::Value document;
    EXPECT_TRUE(parse_json(lab.read("inventory.json"), document));
    return controllers_of(document);
}
/// The controller of the latest inventory by its serial number; null where it isn't in there.
Json::Value latest(const LabRun &lab, const std::string &serial) {
    for (const Json::Value &each : latest(lab))
        if (each["SerialNumber"] == serial) return each;
    return {};
}
/// Rings the door bell until an inventory tells that of the controller; "" where it is in none.
bool await_state(LabRun &lab, const std::string &serial, const std::string &state) {
    std::string told;
    std::size_t seen = records(lab, "inventory").size();
    for (int i = 0; i < 20; ++i) {
        const Json::Value controller = latest(lab, serial);
        told = controller.isNull() ? "" : state_of(controller);
        if (told == state) return true;
        lab.say("door-bell\n");
        if (!lab.await("\"kind\":\"inventory\"", ++seen)) return false;
        seen = std::max(seen, records(lab, "inventory").size());
    }
    ADD_FAILURE() << serial << " is \"" << told << "\", expected \"" << state << "\"";
    return false;
}
/// A scenario of its own on a shipped server, its caches built every 30 seconds.
std::string own_scenario(const LabRun &lab, const std::string &base,
                         const std::string &members = "") {
    for (const char *name : {"first-generation", "second-generation-b01", "unknown-platform"})
        std::filesystem::copy_file(std::string(ORB_SCENARIOS "/") + name + ".json",
                                   lab.folder() + "/" + name + ".json");
    lab.write("own.json", "{\"base\":\"" + base +
                              "\",\"config\":{\"CacheRefreshInSeconds\":{\"Global\":\"30\"}}" +
                              members + "}");
    return lab.folder() + "/own.json";
}
std::vector<int> event_ids(const LabRun &lab) {
    std::vector<int> ids;
    for (const Json::Value &event : lab.lines("events.jsonl")) ids.push_back(event["ID"].asInt());
    return ids;
}
using IDS = std::vector<int>;

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
class LabStoragePlatforms : public ::testing::TestWithParam<PlatformCase> {};
TEST_P(LabStoragePlatforms, LocationsReadBackToWhereTheFirmwarePutTheControllers) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", GetParam().scenario}), 0)
        << lab.err();
    const Json::Value list = latest(lab);
    ASSERT_EQ(list.size(), 2u);
    for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
        EXPECT_EQ(state_of(list[i]), "Running OK");
        const std::string code = list[i]["Oem"]["PhysicalLocation"].asString();
        if (GetParam().generation == 0) {
            EXPECT_EQ(code, NOWHERE);
            EXPECT_EQ(list[i]["Oem"]["Description"],
                      i == 0 ? "PCI 0000:51:00.0" : "PCI 0000:61:00.0");
            continue;
        }
        const Json::Value place = decoded(code);
        EXPECT_EQ(place["generation"].asInt(), GetParam().generation);
        EXPECT_EQ(place["unitKind"].asString(), "I/O slot");
        EXPECT_EQ(place["geoId"].asString(), geo_id_of(list[i]));
        EXPECT_EQ(place["slot"].asInt(), i == 0 ? 9 : 10);
        EXPECT_NE(lab.read("summary.txt").find(place["place"].asString()), std::string::npos);
    }
}
INSTANTIATE_TEST_SUITE_P(Families, LabStoragePlatforms, ::testing::ValuesIn(PLATFORMS),
                         [](const auto &row) { return std::string(row.param.name); });

struct StateCase {
    const char *word, *told;
};
constexpr StateCase STATES[] = {
    {"offline", "Offline Critical"},    {"running", "Running OK"},
    {"cancel", "Failed Critical"},      {"created", "Running OK"},
    {"unreadable", "Offline Critical"}, {"recovery", "Running OK"},
    {"blocked", "Failed Critical"},     {"online", "Failed Critical"},
};
class LabStorageServers : public ::testing::TestWithParam<const char *> {};
TEST_P(LabStorageServers, EachStateOfAPortReachesTheInventory) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, GetParam())});
    ASSERT_TRUE(await_first(lab));
    for (const StateCase &each : STATES) {
        lab.say(std::string("storage vmhba2 ") + each.word + "\n");
        ASSERT_TRUE(await_state(lab, RAID, each.told)) << each.word;
        EXPECT_EQ(state_of(latest(lab, SAS)), "Running OK");
    }
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(lab.err(), "");
    const bool isKnown = GetParam() != std::string("unknown-platform");
    // By the health alone, and of a controller whose place is known.
    EXPECT_EQ(event_ids(lab), isKnown ? (IDS{398, 397, 398, 397, 398, 397, 398}) : IDS{});
}
/// Controllers that leave are missed, and come back behind the others.
TEST_P(LabStorageServers, ControllersComeAndGo) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, GetParam())});
    ASSERT_TRUE(await_first(lab));
    lab.say("storage vmhba1 remove\n");
    ASSERT_TRUE(await_state(lab, SAS, ""));
    lab.say("storage vmhba1 add\n");
    ASSERT_TRUE(await_state(lab, SAS, "Running OK"));
    EXPECT_EQ(latest(lab)[1]["SerialNumber"], SAS);
    lab.say("storage vmhba1 0 remove\nstorage vmhba1 1 cancel\n");
    ASSERT_TRUE(await_state(lab, SAS, "Failed Critical")) << "one port is left, and it is not well";
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    const bool isKnown = GetParam() != std::string("unknown-platform");
    EXPECT_EQ(event_ids(lab), isKnown ? (IDS{398, 397, 398}) : IDS{});
}
INSTANTIATE_TEST_SUITE_P(Platforms, LabStorageServers,
                         ::testing::Values("first-generation", "second-generation-b01",
                                           "unknown-platform"),
                         [](const auto &row) {
                             std::string name = row.param;
                             std::erase(name, '-');
                             return name;
                         });
} // namespace

TEST(LabStorage, ControllerThatFailsAndRecoversIsToldInWordsAndPlaces) {
    LabRun lab;
    ASSERT_EQ(
        lab.run({"--once", "--json", "--speed", FAST, "--scenario", "storage-controller-critical"}),
        0)
        << lab.err();
    const std::string told = progress_of(lab), place = ", rack 1, unit 1, partition 0, slot 10\n";
    for (const std::string &text : {std::string("manager StorageControllers: first cache built\n"),
                                    "controller 0000:61:00.0: Running, OK" + place,
                                    std::string("command: storage vmhba2 offline\n")})
        EXPECT_NE(told.find(text), std::string::npos) << text << "in\n" << told;

    const auto events = lab.lines("events.jsonl");
    ASSERT_EQ(events.size(), 2u);
    for (const Json::Value &event : events) {
        EXPECT_EQ(event["VariableData"]["Type"], "Controller");
        EXPECT_EQ(event["VariableData"]["Data"]["SerialNumber"], RAID);
        EXPECT_EQ(decoded(event["PhysicalLocation"].asString())["slot"].asInt(), 10);
    }
}

TEST(LabStorage, ResetTakesAllHostsAndBringsThemBack) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, "first-generation")});
    ASSERT_TRUE(await_first(lab));
    lab.say("storage vmhba1 1 offline\nstorage vmhba1 reset 40\n");
    ASSERT_TRUE(lab.await("\"ID\":398"));
    ASSERT_TRUE(lab.await("command: storage vmhba1 add"));
    ASSERT_TRUE(lab.await("\"ID\":397"));
    ASSERT_TRUE(await_state(lab, SAS, "Running OK")) << "hosts that come are new ones";
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabStorage, RemovalEndsAReset) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, "first-generation")});
    ASSERT_TRUE(await_first(lab));
    lab.say("storage vmhba1 reset 20\nstorage 0000:51:00.0 remove\n");
    ASSERT_TRUE(await_state(lab, SAS, ""));
    for (int i = 0; i < 4; ++i) {
        const std::size_t seen = records(lab, "inventory").size();
        lab.say("door-bell\n");
        ASSERT_TRUE(lab.await("\"kind\":\"inventory\"", seen + 1));
    }
    EXPECT_TRUE(latest(lab, SAS).isNull());
    EXPECT_EQ(progress_of(lab).find("storage vmhba1 add"), std::string::npos);
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabStorage, EachOf32ControllersIsWhereTheFirmwareSays) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", "storage-32-controllers"}), 0)
        << lab.err();
    const Json::Value list = latest(lab);
    ASSERT_EQ(list.size(), 32u);
    for (const Json::Value &each : list)
        EXPECT_EQ(decoded(each["Oem"]["PhysicalLocation"].asString())["geoId"].asString(),
                  geo_id_of(each));
    EXPECT_NE(lab.read("summary.txt").find("  and 8 more\n"), std::string::npos);
}

TEST(LabStorage, EveryKindOfLinkGivesTheSameInventory) {
    std::vector<Json::Value> lists;
    for (const char *scenario :
         {"first-generation", "storage-links-short", "storage-links-folder"}) {
        LabRun lab;
        ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", scenario}), 0) << lab.err();
        lists.push_back(latest(lab));
    }
    EXPECT_EQ(lists[0].size(), 2u);
    EXPECT_EQ(lists[0], lists[1]);
    EXPECT_EQ(lists[0], lists[2]);
}

TEST(LabStorage, CommandsForNobodyAndForThisMachineAreRefused) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("storage vmhba9 offline\nstorage vmhba1 7 offline\nstorage vmhba2 remove\n"
            "storage vmhba2 reset\nhelp\n");
    ASSERT_TRUE(lab.await("show hba"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: storage vmhba9: no such controller\n"
                         "orblab: storage vmhba1: has no such port\n"
                         "orblab: storage vmhba2: is not there\n");
    lab.start({"--speed", FAST, "--host", "linux"});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("storage vmhba1 offline\nquit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: storage vmhba1: this machine's own controllers are in use\n");
}
