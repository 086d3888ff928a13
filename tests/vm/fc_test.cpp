#include <cstring>

#include "VmTest.h"
#include "core/json_text.h"
#include "vendor/HbaCalls.h"
#include "vendor/location_code.h"
#include "world/fc_changes.h"
#include "world/fc_facts.h"

namespace {
constexpr const char *WORLD = "/run/lab/world.json", *COUNTS = "/run/lab/libexamplefabric.so.calls",
                     *POLL = "FC_RM: Inside waitOnPortState", *BUILD = "FC_RM: Building FC Cache";
constexpr int REFRESH_SECONDS = 15; // a poll comes between two builds, where its second allows
// Where it doesn't, the next build is 20 seconds behind the last.
constexpr VmRmc::SECONDS CHANGE_IS_TOLD{45};

std::size_t count_of(const std::string &text, const std::string &all) {
    std::size_t found = 0;
    for (std::size_t at = all.find(text); at != std::string::npos; at = all.find(text, at + 1))
        ++found;
    return found;
}

Json::Value adapters_of(const RMC_DOCUMENT &inventory) {
    return inventory.value["HostDataCollection"]["FibreChannelDevices"];
}
} // namespace

/// Adapters whose vendors' libraries are real shared objects that the dynamic loader of the machine
/// finds by hba.conf. Their state is a file in the machine.
class FcTest : public VmTest {
protected:
    void TearDown() override {
        forget();
        VmTest::TearDown();
    }

    /// Ends the daemon and drops the adapters, with the counts of all daemons so far.
    void forget() {
        daemon->makeSure();
        usual().ask(std::string("rm -f ") + WORLD + " " + COUNTS);
    }

    void tell() {
        Json::Value world;
        world["hba"] = hba_world(fc);
        VmMachine &machine = usual();
        machine.ask("mkdir -p /run/lab");
        machine.write(std::string(WORLD) + ".new", compact_json(world));
        machine.ask(std::string("mv ") + WORLD + ".new " + WORLD);
    }
    void change(const std::string &line) {
        LAB_COMMAND command;
        std::string error;
        ASSERT_TRUE(parse_lab_command(line, command, error)) << error;
        ASSERT_TRUE(change_fc(fc, command, error)) << error;
        tell();
    }

    HBA_CALLS counts() {
        const std::string bytes = usual().run(std::string("cat ") + COUNTS).text;
        HBA_CALLS calls;
        EXPECT_EQ(bytes.size(), sizeof calls);
        if (bytes.size() == sizeof calls) std::memcpy(&calls, bytes.data(), sizeof calls);
        return calls;
    }

    SCENARIO_FC fc;
};

TEST_F(FcTest, AdaptersOfTwoLibrariesAndALinkThatGoesAndComes) {
    VmMachine &machine = usual();
    SCENARIO scenario;
    std::string error;
    ASSERT_TRUE(read_scenario(std::string(ORB_SOURCE_DIR) + "/lab/scenarios/fc-four-adapters.json",
                              scenario, error))
        << error;
    fc = scenario.host.fc;
    forget();
    rmc.forget();
    tell();
    // The kernel has no such adapters, so nobody tells the daemon which devices these are.
    ASSERT_EQ(machine.ask("ls /sys/class/fc_host 2>/dev/null | wc -l"), "0");
    Json::Value members = VmDaemon::talkative();
    members["EnableResources"].append("FibreChannelDevices");
    members["CacheRefreshInSeconds"]["FibreChannelDevices"] = REFRESH_SECONDS;
    members["InventoryQueryIntervalInSeconds"] = 1;
    daemon->start(members);

    ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
    const Json::Value list = adapters_of(rmc.inventories().front());
    std::vector<const SCENARIO_FC_ADAPTER *> expected;
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries)
        for (const SCENARIO_FC_ADAPTER &each : library.adapters) expected.push_back(&each);
    ASSERT_EQ(expected.size(), 4u);
    ASSERT_EQ(list.size(), expected.size()) << list;
    for (Json::ArrayIndex i = 0; i < list.size(); ++i) {
        EXPECT_EQ(list[i]["WWNN"], expected[i]->wwn);
        EXPECT_EQ(list[i]["WWPN"], expected[i]->ports.back().wwn);
        EXPECT_EQ(list[i]["Model"], expected[i]->description);
        EXPECT_EQ(list[i]["SerialNumber"], expected[i]->serial);
        EXPECT_EQ(list[i]["FirmwareVersion"], expected[i]->firmware);
        EXPECT_EQ(list[i]["RomVersion"], expected[i]->rom);
        EXPECT_EQ(list[i]["Oem"]["Description"], "") << "a device that nobody knows";
        EXPECT_EQ(list[i]["Oem"]["PhysicalLocation"], UNKNOWN_LOCATION);
        EXPECT_EQ(list[i]["Status"]["State"], "Online");
        EXPECT_EQ(list[i]["Status"]["Health"], "OK");
    }

    change("fc vmhba3 linkdown");
    ASSERT_TRUE(rmc.awaitEvents(1, CHANGE_IS_TOLD)) << daemon->toldSince(0);
    change("fc vmhba3 online");
    ASSERT_TRUE(rmc.awaitEvents(2, CHANGE_IS_TOLD)) << daemon->toldSince(0);
    EXPECT_EQ(rmc.eventIds(), (std::vector<int>{386, 384}));
    const std::vector<RMC_DOCUMENT> events = rmc.events();
    EXPECT_EQ(events[0].value["VariableData"]["EventInfo"],
              "Fibre channel device port has changed to a state of link down. Check the FC cabling "
              "to this port.");
    EXPECT_EQ(events[1].value["VariableData"]["EventInfo"], "");
    for (const RMC_DOCUMENT &each : events) {
        EXPECT_EQ(each.value["PhysicalLocation"], UNKNOWN_LOCATION);
        EXPECT_EQ(each.value["Source"], "ORB");
        EXPECT_EQ(each.value["VariableData"]["Type"], "FibreChannelDevice");
        EXPECT_EQ(each.value["VariableData"]["Data"]["WWNN"], expected[0]->wwn);
    }

    EXPECT_EQ(daemon->stop(), 0);
    // Each build closes what it opened; a poll never does, and ends at the first difference.
    const std::string log = daemon->since(0);
    const std::size_t builds = count_of(BUILD, log), polls = count_of(POLL, log);
    const HBA_CALLS calls = counts();
    EXPECT_EQ(calls.registrations, builds + polls);
    for (const HBA_ADAPTER_CALLS &each : {calls.adapters[0], calls.adapters[1]}) {
        EXPECT_EQ(each.closed, builds);
        EXPECT_LE(each.opened, builds + polls);
    }
    EXPECT_EQ(calls.adapters[0].opened, builds + polls) << "the first one is always looked at";
}
