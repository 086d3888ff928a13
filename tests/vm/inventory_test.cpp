#include <cstdlib>
#include <ctime>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "VmTest.h"

namespace {
/// The daemon's form of a moment, in the machine's time zone, which is UTC.
std::string date_time(std::int64_t second) {
    const std::time_t moment = static_cast<std::time_t>(second);
    std::tm parts{};
    ::gmtime_r(&moment, &parts);
    char month[16], time[16];
    std::strftime(month, sizeof month, "%b ", &parts);
    std::strftime(time, sizeof time, " %H:%M:%S", &parts);
    return month + std::to_string(parts.tm_mday) + time;
}

Json::Value host_section(const RMC_DOCUMENT &document) {
    return document.value["HostDataCollection"]["Oem"];
}
} // namespace

class InventoryTest : public VmTest {};

TEST_F(InventoryTest, FirstOneIsTrueToTheMachine) {
    VmMachine &machine = starting();
    const std::int64_t before = std::atoll(machine.ask("date +%s").c_str());
    ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
    const std::int64_t after = std::atoll(machine.ask("date +%s").c_str());

    const Json::Value host = host_section(rmc.inventories().front());
    const Json::Value &info = host["HostOSInfo"];
    EXPECT_EQ(info["HostName"], "orb-vm-01");
    EXPECT_EQ(info["OSName"], "ExampleLinux");
    EXPECT_EQ(info["OSVersion"], "12.4.2");
    EXPECT_EQ(info["OSDescription"],
              machine.ask("echo $(uname -s) $(uname -n) $(uname -r) $(uname -v) $(uname -m)"));
    EXPECT_EQ(info["OSType"], 104);
    ASSERT_EQ(info["IPv4Addresses"].size(), 1u);
    EXPECT_EQ(info["IPv4Addresses"][0]["Address"], "192.0.2.17");
    const auto gibibytes = [&](const std::string &key) {
        return std::atof(
            machine.ask("awk '/^" + key + ":/ { print int($2 / 1048576) }' /proc/meminfo").c_str());
    };
    ASSERT_GE(gibibytes("MemTotal"), 1) << "too small a machine to tell 0 from unknown";
    EXPECT_EQ(info["OSMemorySummary"]["TotalSystemMemoryGiB"].asDouble(), gibibytes("MemTotal"));
    EXPECT_EQ(info["OSMemorySummary"]["TotalFreeSystemMemoryGiB"].asDouble(),
              gibibytes("MemAvailable"));

    std::set<std::string> moments;
    for (std::int64_t second = before - 1; second <= after; ++second)
        moments.insert(date_time(second));
    EXPECT_TRUE(moments.count(host["CollectionInfo"]["LastCollection"].asString()))
        << host["CollectionInfo"] << date_time(before);
    EXPECT_EQ(host["CollectionInfo"]["CollectionType"], "RemoteSupport");
    EXPECT_EQ(host["CollectionInfo"]["CollectionFrequencyMin"], 1440);

    EXPECT_TRUE(rmc.eventIds().empty()) << "a first run has nothing to tell of a former one";
    ASSERT_TRUE(daemon->awaitLog(DELIVERED, 0));
    const Json::Value state = daemon->runState();
    EXPECT_EQ(state["last_start"], state["current_start"]);
    EXPECT_EQ(state["last_stop"], 0);

    std::istringstream log(daemon->since(0));
    std::vector<std::string> errors;
    for (std::string line; std::getline(log, line);)
        if (line.find("[ERROR]") != std::string::npos) errors.push_back(line);
    ASSERT_EQ(errors.size(), 1u) << daemon->toldSince(0);
    EXPECT_NE(errors[0].find("Error occurred in gathering localcli storage SAN information"),
              std::string::npos)
        << "only adapters that are not there: " << errors[0];
}

TEST_F(InventoryTest, DoorBellBringsAnotherAndOneOnly) {
    VmMachine &machine = reporting();
    const std::size_t mark = daemon->mark();
    const std::string text = freshInventory();
    EXPECT_EQ(host_section(rmc.inventories().back())["HostOSInfo"]["HostName"], "orb-vm-01")
        << text;
    ASSERT_TRUE(daemon->awaitLog(DELIVERED, mark));
    // Later polls bring nothing, and between two of them the device is nobody's.
    ASSERT_TRUE(daemon->awaitPolls(3, daemon->mark()));
    EXPECT_EQ(rmc.inventories().size(), 1u);
    EXPECT_TRUE(machine.waitFor("! ls -l /proc/" + daemon->pid() + "/fd | grep -q /dev/ipmi0",
                                VmDaemon::SECONDS(5)));
    const std::string log = daemon->since(mark);
    for (const char *line : {"IPMI: Return buffer from door bell: WriteInventory\n",
                             "JSON_AGGR: Request to send inventory\n",
                             "IPMI: Command to be executed on RMC : WriteInventory [{]",
                             "JSON_AGGR: Success in delivering inventory string to RMC!\n"})
        EXPECT_TRUE(
            std::regex_search(log, std::regex(std::string(" \\[DEBUG\\] [0-9]{3} ") + line)))
            << line << daemon->toldSince(mark);
}

TEST_F(InventoryTest, PrintedOneIsTheDocumentAndLeavesTheDaemonAlone) {
    VmMachine &machine = reporting();
    const std::string pid = daemon->pid();
    const BMC_STATISTICS before = rmc.server().statistics();
    const std::size_t mark = daemon->mark();
    RMC_COMMAND command{"WriteInventory", machine.ask("orbd --print-inventory --compact")};

    RmcDocuments documents;
    std::string error;
    ASSERT_TRUE(documents.load(std::string(ORB_SOURCE_DIR) + "/schema", error)) << error;
    Json::Value document;
    std::vector<std::string> violations;
    documents.check(command, document, violations);
    EXPECT_TRUE(violations.empty()) << violations.front();
    EXPECT_EQ(document["HostDataCollection"]["Oem"]["HostOSInfo"]["HostName"], "orb-vm-01");
    EXPECT_EQ(rmc.server().statistics().transferMessages, before.transferMessages);
    EXPECT_EQ(daemon->pid(), pid);
    EXPECT_EQ(daemon->since(mark).find("HOST_RM"), std::string::npos) << daemon->toldSince(mark);
}
