#include <signal.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LabRun.h"
#include "core/json_text.h"
#include "core/number_readers.h"
#include "reporting/rmc_transfer.h"
#include "support/BmcMachine.h"

namespace {
const std::string EVENT =
    R"({"EventTime":"2026-01-03 08:04:09","HostName":"a","ID":356,)"
    R"("IPv4Addresses":[{"Address":"192.0.2.10"}],"OSType":104,"OSVersion":"7.0.3",)"
    R"("Source":"ORB"})";
const std::string INVENTORY =
    R"({"HostDataCollection":{"Oem":{"CollectionInfo":{"CollectionFrequencyMin":1440,)"
    R"("CollectionType":"RemoteSupport","LastCollection":"Jan 3 08:04:09"},"HostOSInfo":{)"
    R"("HostName":"vm-01","IPv4Addresses":[{"Address":"127.0.0.1"}],"OSDescription":"a b c d e",)"
    R"("OSMemorySummary":{"TotalFreeSystemMemoryGiB":1.0,"TotalSystemMemoryGiB":2.0},)"
    R"("OSName":"VMwareESXi","OSType":104,"OSVersion":"7.0.3"}}}})";

/// Waits for the line that tells the port. @return the port
std::uint16_t port_of(LabRun &lab) {
    const std::string before = "controller at 127.0.0.1:";
    EXPECT_TRUE(lab.await(before));
    const std::string rest = lab.out().substr(lab.out().find(before) + before.size());
    return static_cast<std::uint16_t>(read_decimal(rest));
}

/// Sends a CLI command as the daemon does. @return messages
std::size_t transfer(const BmcMachine &machine, const std::string &command,
                     const std::string &argument) {
    orbRmcTransfer cut(command, argument);
    std::uint16_t handle = 0;
    std::uint8_t sequence = 0;
    for (RMC_MESSAGE message{}; !cut.done(); ++sequence) {
        cut.next(handle, message);
        const auto answer =
            machine.ask(bmc_request(sequence, 0x3A, 0x80, {message.begin(), message.end()}));
        // The first transfers of a run have small handles, which no escape changes.
        EXPECT_EQ(answer.size(), 10u);
        if (answer.size() != 10) return 0;
        EXPECT_EQ(answer[3], 0);
        EXPECT_EQ(answer[4], 0);
        handle = answer[5];
    }
    return sequence;
}
} // namespace

TEST(LabBmc, ShowsAndKeepsWhatAMachineSends) {
    LabRun lab;
    lab.start({"--bmc", "0"});
    const BmcMachine machine(port_of(lab));
    const std::size_t messages = transfer(machine, "WriteInventory", INVENTORY);
    ASSERT_TRUE(lab.await("inventory received: " + std::to_string(INVENTORY.size()) + " bytes in " +
                          std::to_string(messages) + " messages"));
    ASSERT_TRUE(lab.await("Host         vm-01"));
    transfer(machine, "MPEventGen", EVENT);
    ASSERT_TRUE(lab.await("event  2026-01-03 08:04:09   356"));
    const std::size_t shownBefore = lab.out().size();
    lab.say("show summary\nshow events\nshow inventory\nquit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_TRUE(machine.isEnded());
    const std::string shown = lab.out().substr(shownBefore);
    for (const char *text : {"Host         vm-01", "2026-01-03 08:04:09   356",
                             R"("HostName" : "vm-01")", "1 inventory, 1 event received"})
        EXPECT_NE(shown.find(text), std::string::npos) << text << " in " << shown;
    EXPECT_EQ(lab.err(), "");

    Json::Value sent, kept;
    ASSERT_TRUE(parse_json(INVENTORY, sent) && parse_json(lab.read("inventory.json"), kept));
    EXPECT_EQ(sent, kept);
    EXPECT_EQ(lab.read("events.jsonl"), EVENT + "\n");
    const auto transcript = lab.lines("transcript.jsonl");
    EXPECT_GT(transcript.size(), messages);
    EXPECT_EQ(transcript[0]["life"].asInt(), 1);
    EXPECT_EQ(transcript[0]["meaning"].asString().find("WriteInventory: first 33 of "), 0u);
    EXPECT_FALSE(std::filesystem::exists(lab.output() + "/root"));
}

TEST(LabBmc, CommandsBendTheAnswersAndRingTheBell) {
    LabRun lab;
    lab.start({"--bmc", "0", "--json", "--commands", lab.folder() + "/fifo"});
    const BmcMachine machine(port_of(lab));
    ASSERT_TRUE(lab.await("machine connected, connection 1"));
    const auto bell = bmc_request(1, 0x3A, 0x81);
    EXPECT_EQ(machine.ask(bell), bmc_answer(1, 0x3A, 0x81, 0, {0}));
    lab.say("door-bell\n");
    ASSERT_TRUE(lab.await("command: door-bell"));
    auto answer =
        bmc_answer(1, 0x3A, 0x81, 0,
                   {'W', 'r', 'i', 't', 'e', 'I', 'n', 'v', 'e', 'n', 't', 'o', 'r', 'y', 0});
    EXPECT_EQ(machine.ask(bell), answer);
    const auto genericBell = bmc_request(1, 0x3A, 0x82);
    lab.say("door-bell generic\n");
    ASSERT_TRUE(lab.await("command: door-bell generic"));
    EXPECT_EQ(machine.ask(bell), bmc_answer(1, 0x3A, 0x81, 0, {0}));
    EXPECT_EQ(machine.ask(genericBell), bmc_answer(1, 0x3A, 0x82, 0, {1}));
    EXPECT_EQ(machine.ask(genericBell), bmc_answer(1, 0x3A, 0x82, 0, {0}));
    std::ofstream(lab.folder() + "/fifo") << "rmc completion 0xC0\n" << std::flush;
    ASSERT_TRUE(lab.await("command: rmc completion 0xC0"));
    EXPECT_EQ(machine.ask(bell), bmc_answer(1, 0x3A, 0x81, 0xC0));
    lab.say("rmc silent\n");
    ASSERT_TRUE(lab.await("command: rmc silent"));
    machine.send(bell);
    machine.send({0x55, 0xA1}); // told behind the bell, so the bell has been taken
    ASSERT_TRUE(lab.await("unknown control 0x55"));
    EXPECT_FALSE(machine.isReadable(0));
    lab.say("rmc normal\n");
    EXPECT_EQ(machine.ask({}), bmc_answer(1, 0x3A, 0x81, 0, {0}));
    lab.say("show violations\n");
    ASSERT_TRUE(lab.await(R"("kind":"note","text":"controller's wire: unknown control 0x55)"));
    lab.say("quit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: message to the RMC: controller's wire: unknown control 0x55\n");
    EXPECT_FALSE(std::filesystem::exists(lab.folder() + "/fifo"));
}

TEST(LabBmc, CommandsForAServerAreRefused) {
    LabRun lab;
    lab.start({"--bmc", "0"});
    port_of(lab);
    for (const char *line : {"restart daemon", "crash host", "set ipmi off"})
        lab.say(std::string(line) + "\n");
    lab.say("colour\nhelp\n");
    ASSERT_TRUE(lab.await("\nquit"));
    ::kill(lab.process(), SIGTERM);
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "orblab: restart daemon: there is no simulated server with --bmc\n"
                         "orblab: crash host: there is no simulated server with --bmc\n"
                         "orblab: set ipmi off: there is no simulated server with --bmc\n"
                         "orblab: colour: unknown command, try help\n");
    EXPECT_EQ(lab.out().find("reboot host"), std::string::npos);
}

TEST(LabBmc, MachineThatComesBackStartsATransferAnew) {
    LabRun lab;
    lab.start({"--bmc", "0"});
    const std::uint16_t port = port_of(lab);
    {
        const BmcMachine machine(port);
        RMC_MESSAGE message{};
        orbRmcTransfer cut("WriteInventory", INVENTORY);
        cut.next(0, message);
        machine.ask(bmc_request(0, 0x3A, 0x80, {message.begin(), message.end()}));
    }
    const BmcMachine machine(port);
    transfer(machine, "WriteInventory", INVENTORY);
    ASSERT_TRUE(lab.await("inventory received"));
    lab.closeInput();
    ::kill(lab.process(), SIGINT);
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.err(), "");
    EXPECT_EQ(lab.lines("transcript.jsonl").back()["life"].asInt(), 2);
}

TEST(LabBmc, PortInUseIsToldAndSpoilsNoFile) {
    LabRun first, second;
    first.start({"--bmc", "0"});
    const std::string port = std::to_string(port_of(first));
    std::filesystem::create_directory(second.output());
    second.write("out/inventory.json", "of the former run");
    second.write("out/events.jsonl", "of the former run");
    EXPECT_EQ(second.run({"--bmc", port}), 1);
    EXPECT_EQ(second.err(), "orblab: 127.0.0.1:" + port + ": Address already in use\n");
    EXPECT_EQ(second.out(), "");
    EXPECT_EQ(second.read("inventory.json"), "of the former run");
    EXPECT_EQ(second.read("events.jsonl"), "of the former run");
}

TEST(LabBmc, QuietRunTellsErrorsOnly) {
    LabRun lab;
    lab.start({"--bmc", "0", "--quiet"});
    lab.say("colour\nquit\n");
    EXPECT_EQ(lab.wait(), 0);
    EXPECT_EQ(lab.out(), "");
    EXPECT_EQ(lab.err(), "orblab: colour: unknown command, try help\n");
}

TEST(LabBmc, LostOutputEndsTheRun) {
    LabRun lab;
    lab.start({"--bmc", "0"});
    const BmcMachine machine(port_of(lab));
    lab.closeOutput();
    lab.say("help\n");
    EXPECT_EQ(lab.wait(), 1);
    EXPECT_EQ(lab.err(), "orblab: standard output: Broken pipe\norblab: output is lost\n");
}
