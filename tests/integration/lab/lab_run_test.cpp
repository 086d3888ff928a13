#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "LabRun.h"
#include "core/json_text.h"
#include "core/number_readers.h"

namespace {
const std::string FAST = "100";
/// A scenario of its own on the shipped server, which has to lie beside it.
void write_scenario(const LabRun &lab, const std::string &members) {
    std::filesystem::copy_file(ORB_SCENARIOS "/first-generation.json",
                               lab.folder() + "/first-generation.json");
    lab.write("own.json", "{\"base\":\"first-generation\"," + members + "}");
}

std::vector<Json::Value> records(const LabRun &lab, const std::string &kind) {
    std::vector<Json::Value> found;
    std::istringstream text(lab.out());
    for (std::string line; std::getline(text, line);) {
        Json::Value value;
        EXPECT_TRUE(parse_json(line, value)) << line;
        if (value["kind"].asString() == kind) found.push_back(value);
    }
    return found;
}

std::string bytes_of(const std::string &hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
        bytes += static_cast<char>(read_hexadecimal(hex.substr(i, 2)));
    return bytes;
}

long stamp(const LabRun &lab, const std::string &key) {
    std::istringstream text(lab.read("root/var/tmp/vantorORBStartup.txt"));
    for (std::string name, value; text >> name >> value;)
        if (name == key) return read_decimal(value);
    return -1;
}
} // namespace

TEST(LabRuns, DefaultScenarioLeavesItsFiles) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--once", "--speed", FAST}), 0) << lab.err();
    EXPECT_EQ(lab.err(), "");

    Json::Value inventory;
    ASSERT_TRUE(parse_json(lab.read("inventory.json"), inventory));
    EXPECT_EQ(inventory["HostDataCollection"]["Oem"]["HostOSInfo"]["HostName"].asString(),
              "orb-lab-01");
    const auto events = lab.lines("events.jsonl");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0]["ID"].asInt(), 359);
    EXPECT_EQ(events[1]["ID"].asInt(), 356);
    EXPECT_NE(lab.read("summary.txt").find("Memory       1023 GiB, 961 GiB free"),
              std::string::npos);
    EXPECT_NE(lab.out().find("event  "), std::string::npos);
    EXPECT_NE(lab.out().find("3 inventories, 2 events received"), std::string::npos);
    EXPECT_EQ(lab.out().find("readiness pass"), std::string::npos) << "progress in a pipe";
}

TEST(LabRuns, TranscriptHoldsEveryMessage) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--quiet", "--scenario", "boot-after-crash"}), 0);
    std::string argument;
    std::size_t transfers = 0;
    for (const Json::Value &message : lab.lines("transcript.jsonl")) {
        EXPECT_EQ(message["netfn"].asInt(), 0x3A);
        EXPECT_EQ(message["completion"].asInt(), 0);
        if (message["cmd"].asInt() != 0x80) continue;
        const std::string bytes = bytes_of(message["request"].asString());
        ASSERT_EQ(bytes.size(), 60u);
        if (bytes[2] == 0x14) {
            ++transfers;
            if (bytes.substr(3, 14) == "WriteInventory") argument.clear();
        }
        argument += bytes.substr(bytes[2] == 0x14 ? 27 : 3);
    }
    EXPECT_EQ(transfers, 3u);
    Json::Value document;
    ASSERT_TRUE(parse_json(argument.c_str(), document));
    Json::Value inventory;
    ASSERT_TRUE(parse_json(lab.read("inventory.json"), inventory));
    EXPECT_EQ(document, inventory);
}

TEST(LabRuns, QuietSaysNothing) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--quiet", "--scenario", "small"}), 0);
    EXPECT_EQ(lab.out(), "");
    EXPECT_EQ(lab.err(), "");
}

TEST(LabRuns, JsonTellsEverythingByLine) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--json", "--scenario", "boot-after-crash"}), 0);
    EXPECT_EQ(records(lab, "inventory").size(), 1u);
    const auto events = records(lab, "event");
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0]["event"]["ID"].asInt(), 360);
    EXPECT_EQ(events[1]["event"]["ID"].asInt(), 356);
    const auto result = records(lab, "result");
    ASSERT_EQ(result.size(), 1u);
    EXPECT_TRUE(result[0]["good"].asBool());

    std::string told;
    for (const Json::Value &each : records(lab, "progress")) told += each["text"].asString() + "\n";
    for (const char *text :
         {"daemon started, run 1\n", "manager FibreChannelDevices: started\n",
          "manager HostOSInfo: started\n", "manager StorageControllers: started\n",
          "manager EthernetDevices: started\n", "readiness pass 1\n",
          "readiness pass 1: HostOSInfo not ready\n", "readiness pass 2: HostOSInfo not ready\n",
          "manager HostOSInfo: first cache built\n", "inventory delivered\n",
          "daemon ends in order\n"})
        EXPECT_NE(told.find(text), std::string::npos) << text << "in\n" << told;
}

TEST(LabRuns, OutputPathMayHoldAnyCharacters) {
    LabRun lab("it's a \"$(odd)\" path; & more\\");
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", "very-large"}), 0) << lab.err();
    Json::Value inventory;
    ASSERT_TRUE(parse_json(lab.read("inventory.json"), inventory));
    const Json::Value &host = inventory["HostDataCollection"]["Oem"]["HostOSInfo"];
    EXPECT_EQ(host["OSMemorySummary"]["TotalSystemMemoryGiB"].asDouble(), 49152);
}

TEST(LabRuns, WhatIsMissingIsNamed) {
    LabRun lab;
    write_scenario(lab, R"("limitSeconds":2,"expect":{"inventories":1,"events":[356],)"
                        R"("facts":{"Oem.HostOSInfo.HostName":"other"},"log":["never said"]})");
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", lab.folder() + "/own.json"}), 1);
    EXPECT_EQ(lab.err(), "orblab: events: 0 came, 1 expected\n"
                         "orblab: log: never said: never said\n"
                         "orblab: Oem.HostOSInfo.HostName: is \"orb-lab-01\", expected \"other\"\n"
                         "orblab: own: time limit: 2 seconds are over\n");
}

TEST(LabRuns, FactThatDiffersIsNotAsExpected) {
    LabRun lab;
    write_scenario(lab,
                   R"("expect":{"inventories":1,"facts":{"EthernetDevices.0.Model":"other"}})");
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", lab.folder() + "/own.json"}), 1);
    EXPECT_EQ(lab.err(), "orblab: EthernetDevices.0.Model: is \"Vantor Ethernet 1Gb 2-port 900T "
                         "Adapter\", expected \"other\"\n"
                         "orblab: own: not as expected\n");
}

TEST(LabRuns, FormerRunIsKeptWhereTheNextCannotStart) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--quiet", "--speed", FAST, "--scenario", "boot-after-crash"}), 0);
    const std::string events = lab.read("events.jsonl"), inventory = lab.read("inventory.json");
    const std::string log = lab.read("root/var/log/vantor/orb/orb.log");
    ASSERT_FALSE(events.empty() || inventory.empty() || log.empty());
    lab.write("text", "no FIFO");
    EXPECT_EQ(lab.run({"--once", "--commands", lab.folder() + "/text"}), 1);
    EXPECT_EQ(lab.err(), "orblab: " + lab.folder() + "/text: is no FIFO\n");
    EXPECT_EQ(lab.read("events.jsonl"), events);
    EXPECT_EQ(lab.read("inventory.json"), inventory);
    EXPECT_EQ(lab.read("root/var/log/vantor/orb/orb.log"), log);
}

TEST(LabRuns, EventThatMustNotComeFails) {
    LabRun lab;
    write_scenario(lab, R"("runState":{"lastStartAgo":90000,"lastStopAgo":80000},)"
                        R"("expect":{"events":[360,356]})");
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", lab.folder() + "/own.json"}), 1);
    EXPECT_NE(lab.err().find("orblab: event 1: ID is 359, expected 360\n"), std::string::npos)
        << lab.err();
    EXPECT_NE(lab.err().find("orblab: own: not as expected\n"), std::string::npos);
}

TEST(LabRuns, DaemonThatDoesNotStartIsTold) {
    LabRun lab;
    // A log folder below a file: the daemon ends with the status that tells so.
    write_scenario(lab,
                   R"("config":{"ORBLogLocation":"/opt/vantor/orb/data/esxtopconf/x/orb.log"})");
    EXPECT_EQ(lab.run({"--once", "--speed", FAST, "--scenario", lab.folder() + "/own.json"}), 1);
    EXPECT_NE(lab.err().find("daemon: ended with status 246, not asked to"), std::string::npos)
        << lab.err();
}

TEST(LabRuns, CommandsComeByStandardInput) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("help\n\n# nothing\nnonsense\nset host name orb-lab-77\nset host memory 2048\n");
    ASSERT_TRUE(lab.await("crash host"));
    lab.say("show summary\n");
    ASSERT_TRUE(lab.await("Host         orb-lab-01"));
    lab.say("show violations\nshow events\n");
    ASSERT_TRUE(lab.await("no violations yet"));
    lab.say("crash host 40\n");
    ASSERT_TRUE(lab.await("   360  host"));
    ASSERT_TRUE(lab.await("Host         orb-lab-77"));
    ASSERT_TRUE(lab.await("Memory       2 GiB"));
    lab.say("show inventory\n");
    ASSERT_TRUE(lab.await("\"HostName\" : \"orb-lab-77\""));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: nonsense: unknown command, try help\n");
}

TEST(LabRuns, CommandsComeByFifo) {
    LabRun lab;
    const std::string fifo = lab.folder() + "/fifo";
    lab.start({"--speed", FAST, "--commands", fifo});
    lab.closeInput();
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.write("fifo", "door-bell\n");
    ASSERT_TRUE(lab.await("inventory received"));
    lab.write("fifo", "quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_FALSE(std::filesystem::exists(fifo));
}

TEST(LabRuns, EndOfStandardInputIsNoEnd) {
    LabRun lab;
    lab.start({"--speed", FAST, "--scenario", "door-bell"});
    lab.closeInput();
    ASSERT_TRUE(lab.await("orb-lab-02"));
    ::kill(lab.process(), SIGINT);
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabRuns, TerminationStopsTheDaemonInOrder) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    ::kill(lab.process(), SIGTERM);
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(stamp(lab, "current_start"), 0);
    EXPECT_GE(stamp(lab, "last_stop"), stamp(lab, "last_start"));
    EXPECT_NE(lab.read("root/var/log/vantor/orb/orb.log").find("ORB Exiting Gracefully!"),
              std::string::npos);
}

TEST(LabRuns, ReaderThatGoesAwayEndsTheLab) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.closeOutput();
    lab.say("help\n");
    EXPECT_EQ(lab.wait(), 1);
    EXPECT_EQ(lab.err(), "orblab: standard output: Broken pipe\n"
                         "orblab: first-generation: output is lost\n");
}

TEST(LabRuns, FolderServesOneLabAtATime) {
    LabRun lab, other;
    lab.start({"--speed", FAST, "--scenario", "small"});
    ASSERT_TRUE(lab.await("Inventory\n"));
    const std::string inventory = lab.read("inventory.json");
    EXPECT_EQ(other.run({"--once", "--output", lab.output()}), 1);
    EXPECT_EQ(other.err(), "orblab: " + lab.output() + ": is in use by another orblab\n");
    EXPECT_EQ(lab.read("inventory.json"), inventory);
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_EQ(other.run({"--once", "--quiet", "--speed", FAST, "--scenario", "small", "--output",
                         lab.output()}),
              0)
        << other.err();
}

TEST(LabRuns, EndWhileItStartsLeavesAFolderToGoOnWith) {
    LabRun lab;
    for (int run = 0; run < 5; ++run) {
        std::filesystem::remove_all(lab.output());
        lab.start({"--speed", "1000", "--scenario", "small"});
        while (!std::filesystem::exists(lab.output() + "/root" + "/dev")) std::this_thread::yield();
        ::kill(lab.process(), SIGINT);
        EXPECT_EQ(lab.wait(), 0) << lab.err();
    }
    EXPECT_EQ(lab.run({"--once", "--quiet", "--speed", FAST, "--scenario", "small"}), 0)
        << lab.err();
}

TEST(LabRuns, SilentControllerDoesNotHoldUpTheEnd) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    lab.say("rmc silent\ncrash daemon\n");
    // The new daemon hangs in its first transfer until the wire is cut at the end.
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
}

TEST(LabRuns, KeptFilesTellTheNextRunOfTheLast) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--quiet", "--speed", FAST, "--scenario", "small"}), 0)
        << lab.err();
    const long stop = stamp(lab, "last_stop");
    EXPECT_GT(stop, 0);
    // Up since before that stop: a restart within one boot, no event.
    ASSERT_EQ(lab.run({"--once", "--quiet", "--speed", FAST, "--scenario", "small", "--keep"}), 0)
        << lab.err();
    EXPECT_GT(stamp(lab, "last_stop"), 0);
    EXPECT_EQ(lab.read("events.jsonl"), "");
    const std::string log = lab.read("root/var/log/vantor/orb/orb.log");
    const std::string end = "ORB Exiting Gracefully!";
    ASSERT_NE(log.find(end), std::string::npos);
    EXPECT_NE(log.find(end, log.find(end) + 1), std::string::npos) << "the first run's log is gone";
}

TEST(LabRuns, FilesAreMadeAnewOtherwise) {
    LabRun lab;
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(lab.run({"--once", "--quiet", "--speed", FAST, "--scenario", "small"}), 0);
    const std::string log = lab.read("root/var/log/vantor/orb/orb.log");
    const std::string end = "ORB Exiting Gracefully!";
    EXPECT_EQ(log.find(end, log.find(end) + 1), std::string::npos);
}

TEST(LabRuns, CrashedDaemonLeavesItsStart) {
    LabRun lab;
    lab.start({"--speed", FAST});
    ASSERT_TRUE(lab.await("Inventory\n"));
    const long start = stamp(lab, "current_start");
    EXPECT_GT(start, 0);
    EXPECT_EQ(stamp(lab, "last_stop"), 0);
    lab.say("crash daemon\n");
    lab.say("set host name orb-lab-09\n");
    ASSERT_TRUE(lab.await("Host         orb-lab-09"));
    EXPECT_GT(stamp(lab, "current_start"), start);
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0) << lab.err();
    EXPECT_GT(stamp(lab, "last_start"), 0);
}

TEST(LabRuns, LinuxHostNamesThisMachine) {
    LabRun lab;
    ASSERT_EQ(lab.run({"--once", "--speed", FAST, "--host", "linux"}), 0) << lab.err();
    EXPECT_EQ(lab.err(), "");
    Json::Value inventory;
    ASSERT_TRUE(parse_json(lab.read("inventory.json"), inventory));
    const Json::Value &host = inventory["HostDataCollection"]["Oem"]["HostOSInfo"];
    char name[256] = {};
    ASSERT_EQ(::gethostname(name, sizeof name - 1), 0);
    EXPECT_EQ(host["HostName"].asString(), name);
    EXPECT_NE(host["OSName"].asString(), "");
    EXPECT_NE(host["OSName"].asString(), "VMwareESXi");
    EXPECT_NE(host["OSVersion"].asString(), "");
    EXPECT_GE(host["OSMemorySummary"]["TotalSystemMemoryGiB"].asDouble(), 1);
}
