#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/TemporaryRoot.h"
#include "world/CommandInputs.h"
#include "world/DaemonLog.h"
#include "world/Expectations.h"
#include "world/LabOutputs.h"
#include "world/LabSignals.h"
#include "world/OutputFolder.h"
#include "world/ReceivedSoFar.h"
#include "world/host_root.h"
#include "world/lab_options.h"
#include "world/lab_places.h"
#include "world/summary.h"

namespace {
std::string below(const std::string &path) {
    return IorbHostFiles::get().map(path);
}

Json::Value parsed(const std::string &text) {
    Json::Value value;
    EXPECT_TRUE(parse_json(text, value)) << text;
    return value;
}

const char DOCUMENT[] =
    R"({"HostDataCollection":{"Drives":[{"a":1},{"a":2}],"Oem":{"CollectionInfo":)"
    R"({"CollectionFrequencyMin":1440},"HostOSInfo":{"HostName":"h\u001b[31m","OSName":"VMwareESXi",)"
    R"("OSVersion":"7.0.3","OSDescription":"a b c d e","IPv4Addresses":[{"Address":"192.0.2.1"},)"
    R"({"Address":"192.0.2.2"}],"OSMemorySummary":{"TotalSystemMemoryGiB":1023.0,)"
    R"("TotalFreeSystemMemoryGiB":961.0}}}}})";
} // namespace

TEST(Summary, TellsHostAndCounts) {
    EXPECT_EQ(summary_text(parsed(DOCUMENT)), "Inventory\n"
                                              "  Host         h.[31m\n"
                                              "  OS           VMwareESXi 7.0.3\n"
                                              "  Kernel       a b c d e\n"
                                              "  Memory       1023 GiB, 961 GiB free\n"
                                              "  Addresses    192.0.2.1, 192.0.2.2\n"
                                              "  Next         at the latest in 1440 minutes\n"
                                              "\n"
                                              "  Unit                   Count\n"
                                              "  Host                       1\n"
                                              "  FibreChannelDevices        0\n"
                                              "  StorageControllers         0\n"
                                              "  Drives                     2\n"
                                              "  Volumes                    0\n"
                                              "  StorageEnclosures          0\n"
                                              "  EthernetDevices            0\n");
}

TEST(Summary, AnyDocumentWillDo) {
    for (const char *text : {"null", "[]", "3", "\"x\"", R"({"HostDataCollection":3})",
                             R"({"HostDataCollection":{"Oem":{"HostOSInfo":{"HostName":[],)"
                             R"("IPv4Addresses":{"a":1},"OSMemorySummary":7}}}})"})
        EXPECT_NE(summary_text(parsed("[" + std::string(text) + "]")[0]).find("Unit"),
                  std::string::npos)
            << text;
}

TEST(Summary, EventLine) {
    Json::Value event = parsed(R"({"ID":359,"EventTime":"2026-01-03 08:04:09","HostName":"h",)"
                               R"("Source":"ORB"})");
    EXPECT_EQ(event_line(event), "2026-01-03 08:04:09   359  host     the host's last run ended in "
                                 "order            h");
    event["PhysicalLocation"] = "00FF";
    event["Source"] = "ORB-CLI";
    event["ID"] = 99999;
    EXPECT_EQ(event_line(event).substr(19, 17), "  99999  other   ");
    EXPECT_TRUE(event_line(event).ends_with("h  at 00FF  from ORB-CLI"));
    for (const char *text : {"null", "[]", "3", R"({"ID":"x","HostName":{}})"})
        EXPECT_NE(event_line(parsed("[" + std::string(text) + "]")[0]).find("  -1  "),
                  std::string::npos);
}

TEST(MemberAt, FollowsObjectsAndArrays) {
    const Json::Value root = parsed(R"({"a":{"b":[1,{"c":2}]}})");
    EXPECT_EQ(member_at(root, "a.b.1.c").asInt(), 2);
    for (const char *path : {"x", "a.b.2", "a.b.-1", "a.b.c", "a.b.0.c", "a.b."})
        EXPECT_TRUE(member_at(root, path).isNull() || std::string(path) == "a.b.") << path;
}

TEST(DaemonProgress, TellsWhatIsNew) {
    DaemonProgress progress;
    const auto said = [&](const std::string &line) { return progress.read(line).value_or("-"); };
    EXPECT_EQ(said("Jan 3 08:04:09 [DEBUG] 120 JOB_MGR: Creating thread for HostOSInfo"),
              "manager HostOSInfo: started");
    EXPECT_EQ(said("Jan 3 08:04:09 [DEBUG] 120 JOB_MGR: Resource manager EthernetDevices [3] is "
                   "disabled."),
              "manager EthernetDevices [3] is disabled.");
    EXPECT_EQ(said("x Aggregator thread sleeping for 10 sec iteration no. 2"), "readiness pass 2");
    // The log of the passes may be ahead of the log of their findings.
    EXPECT_EQ(said("x RM 1 not ready with inventory"), "readiness pass 1: HostOSInfo not ready");
    EXPECT_EQ(said("x RM 3 not ready with inventory"),
              "readiness pass 1: EthernetDevices not ready");
    EXPECT_EQ(said("x RM 1 not ready with inventory"), "readiness pass 2: HostOSInfo not ready");
    EXPECT_EQ(said("Jan 3 08:04:09 [DEBUG] 099 HOST_RM: Exiting CacheBuild"),
              "manager HostOSInfo: first cache built");
    EXPECT_EQ(said("Jan 3 08:04:09 [DEBUG] 099 HOST_RM: Exiting CacheBuild"), "-");
    EXPECT_EQ(said("x Success in delivering inventory string to RMC!"), "inventory delivered");
    EXPECT_EQ(said("x An Error occurred in delivering inventory string to RMC!"),
              "inventory not delivered");
    EXPECT_EQ(said("x FAILURE in logging event to RMC"), "event not delivered");
    EXPECT_EQ(said("x Transfer Status is 0x3[Error in index]"), "RMC refused: 0x3[Error in index]");
    EXPECT_EQ(said("x ORB Exiting Gracefully!"), "daemon ends in order");
    for (const char *line : {"", "RM ", ": Exiting CacheBuild", "not ready with inventory", "a: b"})
        EXPECT_NE(said(line).size(), 0u);
}

TEST(LogTail, GivesFinishedLinesOnce) {
    TemporaryRoot root;
    LogTail tail(below("/log"));
    EXPECT_TRUE(tail.newLines().empty());
    root.write("/log", "one\ntw");
    EXPECT_EQ(tail.newLines(), std::vector<std::string>{"one"});
    std::ofstream(below("/log"), std::ios::app) << "o\n" << std::string(100'000, 'x') << "\nlast\n";
    const auto lines = tail.newLines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "two");
    EXPECT_EQ(lines[1].size(), 65536u);
    EXPECT_EQ(lines[2], "last");
    EXPECT_TRUE(tail.newLines().empty());
}

TEST(LogTail, BeginsAnewWithAnotherFile) {
    TemporaryRoot root;
    LogTail tail(below("/log"));
    root.write("/log", "a long first line\n");
    tail.newLines();
    root.write("/other", "new\n");
    std::filesystem::rename(below("/other"), below("/log"));
    EXPECT_EQ(tail.newLines(), std::vector<std::string>{"new"});
}

TEST(Expectations, CompleteWhenAllHasCome) {
    SCENARIO_EXPECTATION wanted;
    wanted.events = {parsed(R"({"ID":359,"Source":"ORB"})"), parsed(R"({"ID":356})")};
    wanted.facts = {{"Drives.1.a", 2},
                    {"Oem.HostOSInfo.OSMemorySummary.TotalSystemMemoryGiB", 1023}};
    wanted.log = {"needle"};
    Expectations expectations(wanted);
    EXPECT_FALSE(expectations.isComplete());
    expectations.event(parsed(R"({"ID":359,"Source":"ORB","More":1})"));
    expectations.inventory(parsed(DOCUMENT));
    expectations.logLine("hay needle hay");
    EXPECT_FALSE(expectations.isComplete());
    EXPECT_EQ(expectations.faults(), std::vector<std::string>{"events: 1 came, 2 expected"});
    expectations.event(parsed(R"({"ID":356})"));
    EXPECT_TRUE(expectations.isComplete());
    EXPECT_TRUE(expectations.faults().empty());
    expectations.event(parsed(R"({"ID":1})"));
    EXPECT_TRUE(expectations.hasFailed());
    EXPECT_EQ(expectations.faults(), std::vector<std::string>{"event not expected: {\"ID\":1}"});
}

TEST(Expectations, NameWhatDiffers) {
    SCENARIO_EXPECTATION wanted;
    wanted.inventories = 2;
    wanted.facts = {{"Drives.0.a", 7}, {"Volumes", Json::arrayValue}};
    Expectations expectations(wanted);
    expectations.inventory(parsed(DOCUMENT));
    const std::vector<std::string> faults{"inventories: 1 came, 2 expected",
                                          "Drives.0.a: is 1, expected 7",
                                          "Volumes: is null, expected []"};
    EXPECT_EQ(expectations.faults(), faults);
}

TEST(HostRoot, MakesTheServersFiles) {
    TemporaryRoot root;
    const HostRoot host(below("/out/root"));
    std::string error;
    ASSERT_TRUE(host.prepare(false, error)) << error;
    SCENARIO scenario;
    scenario.config = Json::Value(Json::objectValue);
    scenario.lastStartAgo = 100;
    scenario.lastStopAgo = 40;
    ASSERT_TRUE(host.writeHost(scenario, false, error)) << error;
    ASSERT_TRUE(host.writeRunState(scenario, 1000, error)) << error;
    EXPECT_EQ(root.read("/out/root/var/tmp/vantorORBStartup.txt"),
              "last_start 900\nlast_stop 960\ncurrent_start 0\n");
    EXPECT_EQ(root.read("/out/root/vmfs/devices/char/mem/smbios").substr(0, 4), "_SM_");
    EXPECT_TRUE(root.exists("/out/root/dev/ipmi0"));
    EXPECT_TRUE(root.exists("/out/root/etc/config/vantor/orb/orb.conf"));
    ASSERT_TRUE(host.setIpmiDevice(false, error));
    EXPECT_FALSE(root.exists("/out/root/dev/ipmi0"));

    root.write("/out/root/tmp/a", "");
    root.write("/out/root/var/run/b", "");
    root.write("/out/root/var/tmp/c", "");
    host.forgetVolatileFiles();
    EXPECT_FALSE(root.exists("/out/root/tmp/a") || root.exists("/out/root/var/run/b"));
    EXPECT_TRUE(root.exists("/out/root/var/tmp/c"));

    ASSERT_TRUE(host.prepare(true, error));
    EXPECT_TRUE(root.exists("/out/root/var/tmp/c")) << "kept";
    ASSERT_TRUE(host.prepare(false, error));
    EXPECT_FALSE(root.exists("/out/root/var/tmp/c")) << "made anew";
}

TEST(HostRoot, MarkOutlivesTheClearing) {
    TemporaryRoot root;
    std::string error;
    const HostRoot host(below("/out/root"));
    ASSERT_TRUE(host.prepare(false, error)) << error;
    root.write("/out/root/lab/host/esxtop", "old");
    root.write("/out/root/var/tmp/vantorORBStartup.txt", "old");
    const std::string mark = below("/out/root/lab/made-by-orblab");
    std::filesystem::create_hard_link(mark, below("/out/mark"));
    ASSERT_TRUE(host.prepare(false, error)) << error;
    EXPECT_TRUE(std::filesystem::equivalent(mark, below("/out/mark")))
        << "cut off in between, the folder could not be taken over";
    EXPECT_FALSE(root.exists("/out/root/lab/host/esxtop"));
    EXPECT_FALSE(root.exists("/out/root/var/tmp/vantorORBStartup.txt"));
    EXPECT_TRUE(root.exists("/out/root/lab/host"));
}

TEST(HostRoot, EsxtopConfigurationIsTheInstalledOne) {
    TemporaryRoot root;
    const HostRoot host(below("/root"));
    std::string error;
    ASSERT_TRUE(host.prepare(false, error) && host.writeHost({}, false, error)) << error;
    std::ifstream installed(ORB_SOURCE_DIR "/packaging/esxtopconf");
    const std::string text{std::istreambuf_iterator<char>(installed), {}};
    EXPECT_EQ(root.read(std::string("/root") + "/opt/vantor/orb/data/esxtopconf"), text);
}

TEST(LabPlaces, BuildTreeInstallationAndOwnData) {
    TemporaryRoot root;
    EXPECT_EQ(find_lab_places_beside("/build/lab/orblab", "").scenarios,
              ORB_SOURCE_DIR "/lab/scenarios");
    root.makeDirectory("/opt/vantor/orb/share/scenarios");
    const std::string prefix = below("/opt/vantor/orb");
    LAB_PLACES places = find_lab_places_beside(prefix + "/bin/orblab", "");
    EXPECT_EQ(places.scenarios, prefix + "/share/scenarios");
    EXPECT_EQ(places.schemas, prefix + "/share/schemas");
    EXPECT_EQ(places.commands, prefix + "/lib/lab/commands");
    EXPECT_EQ(places.vendor, prefix + "/lib/lab");
    EXPECT_EQ(places.libexec, prefix + "/libexec");
    places = find_lab_places_beside(prefix + "/bin/orblab", "/data");
    EXPECT_EQ(places.scenarios, "/data/scenarios");
    EXPECT_EQ(places.schemas, "/data/schemas");
    EXPECT_EQ(places.libexec, prefix + "/libexec");
}

TEST(ReceivedText, OneIsNoPlural) {
    EXPECT_EQ(received_text(1, 1), "1 inventory, 1 event received");
    EXPECT_EQ(received_text(0, 2), "0 inventories, 2 events received");
    EXPECT_EQ(received_text(3, 0), "3 inventories, 0 events received");
}

TEST(LabOptions, Defaults) {
    char name[] = "orblab";
    char *arguments[] = {name, nullptr};
    LAB_OPTIONS options;
    std::string error;
    ASSERT_TRUE(parse_lab_options(1, arguments, options, error));
    EXPECT_EQ(options.scenario, "first-generation");
    EXPECT_EQ(options.output, "lab-out");
    EXPECT_EQ(options.speed, 20);
    EXPECT_FALSE(options.once || options.keep || options.quiet || options.json ||
                 options.linuxHost);
}

TEST(LabOptions, All) {
    std::string words[] = {"orblab", "--scenario", "x",       "--host", "linux",      "--speed=0.5",
                           "--once", "--output",   "o",       "--keep", "--commands", "f",
                           "--data", "d",          "--quiet", "--json"};
    std::vector<char *> arguments;
    for (std::string &word : words) arguments.push_back(word.data());
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    LAB_OPTIONS options;
    std::string error;
    ASSERT_TRUE(parse_lab_options(count, arguments.data(), options, error)) << error;
    EXPECT_EQ(options.scenario + options.output + options.commands + options.data, "xofd");
    EXPECT_EQ(options.speed, 0.5);
    EXPECT_TRUE(options.once && options.keep && options.quiet && options.json && options.linuxHost);
}

TEST(LabOptions, BmcPort) {
    for (const auto &[text, port] : std::map<std::string, int>{{"0", 0},
                                                               {"1", 1},
                                                               {"65535", 65535},
                                                               {"65536", -1},
                                                               {"-1", -1},
                                                               {"", -1},
                                                               {" 1", -1},
                                                               {"1x", -1},
                                                               {"+1", -1},
                                                               {"0x10", -1}}) {
        std::string words[] = {"orblab", "--bmc", text};
        char *arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
        LAB_OPTIONS options;
        std::string error;
        EXPECT_EQ(parse_lab_options(3, arguments, options, error), port >= 0) << text;
        if (port >= 0) {
            EXPECT_EQ(options.bmcPort, port);
        } else {
            EXPECT_EQ(error, "--bmc " + text + ": must be a port from 0 to 65535");
        }
    }
}

TEST(LabOptions, BmcRefusesWhatIsAboutTheServer) {
    for (const std::string word : {"--scenario=small", "--list-scenarios", "--host=linux",
                                   "--speed=20", "--once", "--keep"}) {
        for (const bool first : {true, false}) {
            std::string words[] = {"orblab", first ? word : "--bmc=0", first ? "--bmc=0" : word};
            char *arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
            LAB_OPTIONS options;
            std::string error;
            EXPECT_FALSE(parse_lab_options(3, arguments, options, error)) << word;
            EXPECT_EQ(error, "--bmc: has no simulated server, so " +
                                 word.substr(0, word.find('=')) + " means nothing with it");
        }
    }
}

TEST(ReceivedSoFar, ShowsWhatCameLast) {
    ReceivedSoFar received;
    for (const char *subject : {"inventory", "summary", "events", "violations"})
        EXPECT_EQ(received.shown(subject), std::string("no ") + subject + " yet");
    received.inventory(R"({"a":1})");
    received.inventory(DOCUMENT);
    EXPECT_EQ(parsed(received.shown("inventory")), parsed(DOCUMENT));
    EXPECT_EQ(received.shown("summary"), summary_text(parsed(DOCUMENT)));
    for (int i = 0; i < 1002; ++i) {
        received.violation("rule " + std::to_string(i));
        received.event("{\"ID\":" + std::to_string(i) + "}");
    }
    const std::string violations = received.shown("violations");
    EXPECT_EQ(violations.find("rule 2\n"), 0u);
    EXPECT_TRUE(violations.ends_with("rule 1001\n"));
    const std::string events = received.shown("events");
    EXPECT_EQ(std::count(events.begin(), events.end(), '\n'), 1000);
    EXPECT_NE(events.find(" 1001 "), std::string::npos);
}

TEST(OutputFolder, ServesOneAtATime) {
    TemporaryRoot root;
    std::string error;
    {
        OutputFolder first, second;
        ASSERT_TRUE(first.take(below("/deep/out"), error)) << error;
        EXPECT_FALSE(second.take(below("/deep/out"), error));
        EXPECT_EQ(error, below("/deep/out") + ": is in use by another orblab");
    }
    OutputFolder third;
    EXPECT_TRUE(third.take(below("/deep/out"), error)) << error;
}

TEST(LabSignals, TellWhatAsksToEndAndGiveTheMaskBack) {
    sigset_t before, after;
    ::sigprocmask(SIG_BLOCK, nullptr, &before);
    {
        LabSignals signals;
        std::string error;
        ASSERT_TRUE(signals.take(error)) << error;
        EXPECT_FALSE(signals.isAskedToEnd());
        ::raise(SIGCHLD);
        ::raise(SIGPIPE);
        EXPECT_FALSE(signals.isAskedToEnd());
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
            ::raise(signal);
            EXPECT_TRUE(signals.isAskedToEnd()) << signal;
        }
        EXPECT_FALSE(signals.isAskedToEnd());
    }
    ::sigprocmask(SIG_BLOCK, nullptr, &after);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE, SIGTTIN})
        EXPECT_EQ(sigismember(&before, signal), sigismember(&after, signal)) << signal;
}

TEST(CommandInputs, FifoGivesLines) {
    TemporaryRoot root;
    std::string error;
    {
        CommandInputs inputs;
        ASSERT_TRUE(inputs.useFifo(below("/fifo"), error)) << error;
        std::ofstream(below("/fifo")) << "one\ntwo\nhal" << std::flush;
        std::vector<pollfd> wanted;
        inputs.addTo(wanted);
        ASSERT_EQ(wanted.size(), 1u);
        ASSERT_EQ(::poll(wanted.data(), 1, 0), 1);
        EXPECT_EQ(inputs.read(wanted), (std::vector<std::string>{"one", "two"}));
        std::ofstream(below("/fifo")) << "f\n" << std::flush;
        ASSERT_EQ(::poll(wanted.data(), 1, 0), 1);
        EXPECT_EQ(inputs.read(wanted), std::vector<std::string>{"half"});
    }
    EXPECT_FALSE(root.exists("/fifo")) << "goes with who made it";
}

TEST(LabOutputs, FilesHoldWhatCame) {
    TemporaryRoot root;
    root.makeDirectory("/out");
    LabOutputs outputs({.quiet = true});
    std::string error;
    ASSERT_TRUE(outputs.open(below("/out"), error)) << error;
    outputs.inventory(1, {DOCUMENT, parsed(DOCUMENT)}, 3);
    outputs.event(2, {R"({"ID":1})", parsed(R"({"ID":1})")});
    const std::uint8_t request[] = {0x0A, 0xFF};
    RMC_REPLY reply;
    reply.answer = {0xC0, {1}};
    reply.delayMs = 5;
    reply.withheld = true;
    outputs.message(1.5, 2, 0x3A, 0x80, request, reply, "meaning");
    EXPECT_EQ(parsed(root.read("/out/inventory.json")), parsed(DOCUMENT));
    EXPECT_EQ(root.read("/out/summary.txt"), summary_text(parsed(DOCUMENT)));
    EXPECT_EQ(root.read("/out/events.jsonl"), "{\"ID\":1}\n");
    EXPECT_EQ(root.read("/out/transcript.jsonl"),
              R"({"at":1.5,"cmd":128,"completion":192,"delayMs":5,"life":2,"meaning":"meaning",)"
              R"("netfn":58,"request":"0aff","response":"01","withheld":true})"
              "\n");
    LabOutputs next({});
    ASSERT_TRUE(next.open(below("/out"), error)) << error;
    EXPECT_FALSE(root.exists("/out/inventory.json"));
    EXPECT_FALSE(LabOutputs({}).open("/nowhere", error));
    EXPECT_EQ(error, "/nowhere: can't be written");
}

TEST(LabOutputs, EachJsonLineTellsItsKindAndTime) {
    TemporaryRoot root;
    root.makeDirectory("/out");
    LabOutputs outputs({.json = true});
    std::string error;
    ASSERT_TRUE(outputs.open(below("/out"), error)) << error;
    ::testing::internal::CaptureStdout();
    outputs.progress(1, "p");
    outputs.note(2, "n");
    outputs.event(3, {R"({"ID":1})", parsed(R"({"ID":1})")});
    outputs.result(4, true, "r");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(),
              "{\"at\":1.0,\"kind\":\"progress\",\"text\":\"p\"}\n"
              "{\"at\":2.0,\"kind\":\"note\",\"text\":\"n\"}\n"
              "{\"at\":3.0,\"event\":{\"ID\":1},\"kind\":\"event\"}\n"
              "{\"at\":4.0,\"good\":true,\"kind\":\"result\",\"text\":\"r\"}\n");
}

TEST(LabOutputs, FileThatCannotBeReplacedIsALoss) {
    TemporaryRoot root;
    root.write("/out/inventory.json/file", "in the way");
    LabOutputs outputs({.quiet = true});
    std::string error;
    ASSERT_TRUE(outputs.open(below("/out"), error)) << error;
    EXPECT_FALSE(outputs.hasFailed());
    ::testing::internal::CaptureStderr();
    outputs.inventory(1, {DOCUMENT, parsed(DOCUMENT)}, 3);
    outputs.inventory(2, {DOCUMENT, parsed(DOCUMENT)}, 3);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "orblab: " + below("/out/inventory.json") + ": Is a directory\n");
    EXPECT_TRUE(outputs.hasFailed());
    EXPECT_FALSE(root.exists("/out/inventory.json.new"));
    EXPECT_EQ(root.read("/out/summary.txt"), summary_text(parsed(DOCUMENT)));
}
