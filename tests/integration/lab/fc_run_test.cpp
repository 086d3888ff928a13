#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LabRecords.h"
#include "LabRun.h"
#include "core/json_text.h"
#include "vendor/HbaCalls.h"

namespace {
const std::string FAST = "50";
const std::string DEBUG_LOG = "root/var/log/vantor/orb/orb-debug.log";
const std::string HBA_CONF = "root/etc/config/vantor/orb/hba.conf";
const std::string FABRIC = "root/lab/host/libexamplefabric.so.calls";
const std::string NODE_A1 = "20:00:02:00:5e:00:00:a1", NODE_A2 = "20:00:02:00:5e:00:00:a2";
constexpr std::size_t OPEN_ADAPTER = 5, CLOSE_ADAPTER = 6;

Json::Value adapters_of(const Json::Value &document) {
    return document["HostDataCollection"]["FibreChannelDevices"];
}
/// The adapter of the latest inventory by its node's name; null where it isn't in there.
Json::Value latest(const LabRun &lab, const std::string &node) {
    Json::Value document;
    if (parse_json(lab.read("inventory.json"), document))
        for (const Json::Value &each : adapters_of(document))
            if (each["WWNN"] == node) return each;
    return {};
}
/// Rings the door bell until an inventory tells that of the adapter: one that was collected during
/// a build of the cache has no adapters at all.
bool await_state(LabRun &lab, const std::string &node, const std::string &state) {
    std::size_t seen = records(lab, "inventory").size();
    for (int i = 0; i < 20; ++i) {
        if (state_of(latest(lab, node)) == state) return true;
        lab.say("door-bell\n");
        if (!lab.await("\"kind\":\"inventory\"", ++seen)) return false;
        seen = std::max(seen, records(lab, "inventory").size());
    }
    ADD_FAILURE() << node << " is " << state_of(latest(lab, node)) << ", expected " << state;
    return false;
}
std::size_t count_of(const std::string &text, const std::string &all) {
    std::size_t found = 0;
    for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
        ++found;
    return found;
}
HBA_CALLS calls_of(const LabRun &lab) {
    const auto calls = read_hba_calls(lab.output() + "/" + FABRIC);
    EXPECT_TRUE(calls);
    return calls.value_or(HBA_CALLS{});
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

struct PlatformCase {
    const char *name, *scenario;
    int generation; // 0: nobody knows the places
    std::vector<int> slots;
};
const PlatformCase PLATFORMS[] = {
    {"First", "first-generation", 1, {3, 6}},
    {"SecondFirstId", "second-generation-b01", 2, {3, 6}},
    {"SecondSecondId", "second-generation-b02", 2, {3, 6}},
    {"Unknown", "unknown-platform", 0, {0, 0}},
    {"FourOnFirst", "fc-four-adapters", 1, {3, 6, 7, 8}},
    {"FourOnSecond", "fc-four-adapters-second", 2, {3, 6, 7, 8}},
};
void PrintTo(const PlatformCase &row, std::ostream *os) {
    *os << row.name;
}
class LabFcPlatforms : public ::testing::TestWithParam<PlatformCase> {};
TEST_P(LabFcPlatforms, LocationsReadBackToWhereTheFirmwarePutTheAdapters) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", GetParam().scenario}), 0)
        << lab.err();
    Json::Value document;
    ASSERT_TRUE(parse_json(lab.read("inventory.json"), document));
    const Json::Value list = adapters_of(document);
    ASSERT_EQ(list.size(), GetParam().slots.size());
    for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
        const std::string code = list[i]["Oem"]["PhysicalLocation"].asString();
        EXPECT_EQ(list[i]["Oem"]["Description"].asString().substr(0, 9), "PCI 0000:");
        if (GetParam().generation == 0) {
            EXPECT_EQ(code, NOWHERE);
            EXPECT_EQ(geo_id_of(list[i]), "");
            continue;
        }
        const Json::Value place = decoded(code);
        EXPECT_EQ(place["generation"].asInt(), GetParam().generation);
        EXPECT_EQ(place["unitKind"].asString(), "I/O slot");
        EXPECT_EQ(place["geoId"].asString(), geo_id_of(list[i]));
        EXPECT_EQ(place["slot"].asInt(), GetParam().slots[i]);
        EXPECT_NE(lab.read("summary.txt").find(place["place"].asString()), std::string::npos);
    }
}
INSTANTIATE_TEST_SUITE_P(Families, LabFcPlatforms, ::testing::ValuesIn(PLATFORMS),
                         [](const auto &row) { return std::string(row.param.name); });

struct StateCase {
    const char *word, *told;
};
constexpr StateCase STATES[] = {
    {"linkdown", "Linkdown Critical"}, {"online", "Online OK"},
    {"offline", "Offline Warning"},    {"bypassed", "Bypassed Warning"},
    {"error", "Error Critical"},       {"diagnostics", "Diagnostic mode Warning"},
    {"unknown", "Unknown Unknown"},    {"loopback", "Loopback Warning"},
};
class LabFcServers : public ::testing::TestWithParam<const char *> {};
TEST_P(LabFcServers, EachStateOfAPortReachesTheInventory) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, GetParam())});
    ASSERT_TRUE(await_first(lab));
    for (const StateCase &each : STATES) {
        lab.say(std::string("fc vmhba4 ") + each.word + "\n");
        ASSERT_TRUE(await_state(lab, NODE_A2, each.told)) << each.word;
        EXPECT_EQ(state_of(latest(lab, NODE_A1)), "Online OK");
    }
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(lab.err(), "");
    // By the health alone: a port that was never well again on its way raises nothing more.
    std::vector<int> ids;
    for (const Json::Value &event : lab.lines("events.jsonl")) ids.push_back(event["ID"].asInt());
    EXPECT_EQ(ids, (std::vector<int>{386, 384, 385, 388}));
}
INSTANTIATE_TEST_SUITE_P(Platforms, LabFcServers,
                         ::testing::Values("first-generation", "second-generation-b01",
                                           "unknown-platform"),
                         [](const auto &row) {
                             std::string name = row.param;
                             std::erase(name, '-');
                             return name;
                         });
} // namespace

TEST(LabFc, LinkThatGoesAndComesIsToldInWordsAndPlaces) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--json", "--speed", FAST, "--scenario", "fc-link-down"}), 0)
        << lab.err();
    const std::string told = progress_of(lab), place = ", rack 1, unit 1, partition 0, slot 3\n";
    for (const std::string &text : {std::string("manager FibreChannelDevices: first cache built\n"),
                                    "adapter " + NODE_A1 + ": Online, OK" + place,
                                    std::string("command: fc vmhba3 1 linkdown\n"),
                                    "adapter " + NODE_A1 + ": Linkdown, Critical" + place})
        EXPECT_NE(told.find(text), std::string::npos) << text << "in\n" << told;

    const auto events = lab.lines("events.jsonl");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0]["ID"], 386);
    EXPECT_EQ(events[0]["VariableData"]["EventInfo"],
              "Fibre channel device port has changed to a state of link down. Check the FC cabling "
              "to this port.");
    EXPECT_EQ(events[1]["ID"], 384);
    EXPECT_EQ(events[1]["VariableData"]["EventInfo"], "");
    Json::Value now = latest(lab, NODE_A1);
    now.removeMember("Status");
    for (const Json::Value &event : events) {
        EXPECT_EQ(event["PhysicalLocation"], now["Oem"]["PhysicalLocation"]);
        EXPECT_EQ(event["VariableData"]["Type"], "FibreChannelDevice");
        EXPECT_EQ(event["VariableData"]["Data"], now);
    }
    EXPECT_EQ(decoded(events[0]["PhysicalLocation"].asString())["slot"].asInt(), 3);
}

TEST(LabFc, FirstPortOfTwoDecidesNothing) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, "first-generation")});
    ASSERT_TRUE(await_first(lab));
    lab.say("fc vmhba3 0 linkdown\nfc vmhba4 offline\n");
    ASSERT_TRUE(lab.await("\"ID\":385"));
    EXPECT_EQ(latest(lab, NODE_A1)["WWPN"], "21:01:02:00:5e:00:00:a1");
    ASSERT_TRUE(await_state(lab, NODE_A1, "Online OK"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(lab.lines("events.jsonl").size(), 1u);
}

TEST(LabFc, PollOpensWhatItNeverCloses) {
    LabRun lab;
    lab.start({"--json", "--speed", "20", "--scenario", own_scenario(lab, "first-generation")});
    ASSERT_TRUE(await_first(lab));
    ASSERT_TRUE(lab.awaitIn(DEBUG_LOG, "Inside waitOnPortState"));
    lab.say("show hba\nquit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();

    const std::string log = lab.read(DEBUG_LOG);
    const std::size_t builds = count_of("Building FC Cache", log),
                      polls = count_of("Inside waitOnPortState", log);
    ASSERT_GE(builds, 1u);
    ASSERT_GE(polls, 1u);
    const HBA_CALLS calls = calls_of(lab);
    EXPECT_EQ(calls.registrations, builds + polls) << "loaded anew each time";
    for (const HBA_ADAPTER_CALLS &each : {calls.adapters[0], calls.adapters[1]}) {
        EXPECT_EQ(each.opened, builds + polls);
        EXPECT_EQ(each.closed, builds);
        EXPECT_EQ(each.attributes, builds + polls);
    }
    EXPECT_EQ(calls.handlers[OPEN_ADAPTER], 2 * (builds + polls));
    EXPECT_EQ(calls.handlers[CLOSE_ADAPTER], 2 * builds);
    EXPECT_NE(lab.out().find("vmhba4                       opened "), std::string::npos);
}

TEST(LabFc, AdaptersOfDifferentStateMakeEachPollRebuild) {
    const std::string POLL = "Inside waitOnPortState", BUILD = "Building FC Cache";
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario", own_scenario(lab, "first-generation")});
    ASSERT_TRUE(await_first(lab));
    lab.say("fc vmhba3 offline\n");
    ASSERT_TRUE(lab.await("\"ID\":385"));
    const std::size_t mark = lab.read(DEBUG_LOG).size();
    const auto since = [&] { return lab.read(DEBUG_LOG).substr(mark); };
    while (count_of(POLL, since()) < 3) {
        lab.say("door-bell\n");
        ASSERT_TRUE(lab.await("\"kind\":\"inventory\"", records(lab, "inventory").size() + 1));
    }
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    const std::string log = since();
    for (std::size_t poll = log.find(POLL); poll != std::string::npos;) {
        const std::size_t next = log.find(POLL, poll + 1);
        EXPECT_LT(log.find(BUILD, poll), next) << "a poll that found nothing";
        poll = next;
    }
    EXPECT_EQ(lab.lines("events.jsonl").size(), 1u) << "a state that stays is told once";
}

TEST(LabFc, CallsThatFailForAWhileAreSurvived) {
    // A library that fails in the call, and what the inventory says of its adapters meanwhile.
    constexpr struct {
        const char *call;
        const char *state; // of both adapters; null: what was told last stays
    } CALLS[] = {
        {"GetAdapterPortAttributes", "Unknown Unknown"},
        {"RegisterLibrary", nullptr},
        {"GetVersion", nullptr},
        {"LoadLibrary", nullptr},
        {"GetNumberOfAdapters", nullptr},
        {"GetAdapterName", nullptr},
        {"OpenAdapter", nullptr},
    };
    LabRun lab;
    lab.start(
        {"--json", "--speed", FAST, "--scenario", own_scenario(lab, "second-generation-b01")});
    ASSERT_TRUE(await_first(lab));
    ASSERT_TRUE(await_state(lab, NODE_A1, "Online OK"));
    for (const auto &each : CALLS) {
        const HBA_CALLS before = calls_of(lab);
        lab.say(std::string("hba all ") + each.call + " fails\n");
        if (each.state != nullptr) {
            ASSERT_TRUE(await_state(lab, NODE_A1, each.state)) << each.call;
        } else {
            // Behind two further loads one of them has met the failure from its start.
            while (calls_of(lab).registrations < before.registrations + 2) {
                lab.say("door-bell\n");
                ASSERT_TRUE(
                    lab.await("\"kind\":\"inventory\"", records(lab, "inventory").size() + 1));
            }
        }
        lab.say(std::string("hba all ") + each.call + " works\n");
        ASSERT_TRUE(await_state(lab, NODE_A1, "Online OK")) << each.call;
        ASSERT_TRUE(await_state(lab, NODE_A2, "Online OK")) << each.call;
    }
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(lab.err(), "");
}

TEST(LabFc, AttributesThatFailLeaveARecordOfNothing) {
    LabRun lab;
    lab.start({"--json", "--speed", FAST, "--scenario",
               own_scenario(lab, "first-generation",
                            R"(,"commands":["hba all GetAdapterAttributes fails"])")});
    ASSERT_TRUE(await_first(lab));
    const Json::Value nobody = latest(lab, "Not Available");
    EXPECT_EQ(state_of(nobody), "Unknown Unknown");
    EXPECT_EQ(nobody["Model"], "Not Available");
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabFc, AdapterThatLeavesIsMissedAndThatComesBackIsNoEvent) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--json", "--speed", FAST, "--scenario", "fc-adapter-leaves"}), 0)
        << lab.err();
    bool missed = false;
    for (const Json::Value &each : records(lab, "inventory"))
        missed = missed || adapters_of(each["inventory"]).size() == 1;
    EXPECT_TRUE(missed);
    EXPECT_EQ(lab.read("events.jsonl"), "");
}

TEST(LabFc, CardOfTwoFunctionsIsPlacedByItsLater) {
    LabRun lab;
    Json::Value root;
    const std::string scenario = own_scenario(lab, "first-generation");
    Json::Value base;
    ASSERT_TRUE(parse_json(
        [&] {
            std::ifstream file(lab.folder() + "/first-generation.json");
            return std::string(std::istreambuf_iterator<char>(file), {});
        }(),
        base));
    root["base"] = "first-generation";
    root["host"]["fc"] = base["host"]["fc"];
    Json::Value &port = root["host"]["fc"]["libraries"][0]["adapters"][0]["ports"][1];
    port["name"] = "vmhba33";
    port["address"] = "0000:24:00.1";
    lab.write("own.json", compact_json(root));
    lab.start({"--json", "--speed", FAST, "--scenario", scenario});
    ASSERT_TRUE(await_first(lab));
    const Json::Value card = latest(lab, NODE_A1);
    EXPECT_EQ(card["Oem"]["Description"], "PCI 0000:24:00.1 ");
    EXPECT_EQ(card["Oem"]["PhysicalLocation"], NOWHERE) << "the slot's record is the other one's";
    EXPECT_EQ(geo_id_of(latest(lab, NODE_A2)), "r001u01p0i06");
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabFc, MissingEncoderTakesNoAdapterAway) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", "encoder-missing"}), 0)
        << lab.err();
    EXPECT_EQ(latest(lab, NODE_A1)["Oem"]["PhysicalLocation"], NOWHERE);
    EXPECT_EQ(state_of(latest(lab, NODE_A1)), "Online OK");
}

TEST(LabFc, CommandsForNobodyAndForThisMachineAreRefused) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("fc vmhba9 online\nfc vmhba3 7 online\nhba libnowhere.so OpenAdapter fails\nhelp\n");
    ASSERT_TRUE(lab.await("show hba"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: fc vmhba9: no such adapter\n"
                         "orblab: fc vmhba3: has no such port\n"
                         "orblab: hba libnowhere.so: no such library\n");
    lab.start({"--speed", FAST, "--host", "linux"});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("fc vmhba3 online\nhba all OpenAdapter fails\nquit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: fc vmhba3: this machine's own adapters are in use\n"
                         "orblab: hba all: this machine's own adapters are in use\n");
    EXPECT_FALSE(std::filesystem::exists(lab.output() + "/" + HBA_CONF));
}
