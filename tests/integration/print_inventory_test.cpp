#include <signal.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <map>
#include <mutex>

#include <gtest/gtest.h>
#include <json/json.h>

#include "core/json_text.h"
#include "integration/DaemonRun.h"

namespace fs = std::filesystem;

namespace {
/// Every file of the root but what the harness itself notes, with its content.
std::map<std::string, std::string> snapshot(const DaemonRun &host) {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(host.root.path())) {
        const std::string name = entry.path().string().substr(host.root.path().size());
        if (name == "/stdout" || name == "/stderr" || name == "/calls" || name == "/syslog")
            continue;
        files[name] = entry.is_symlink()        ? "link " + fs::read_symlink(entry).string()
                      : entry.is_regular_file() ? host.root.read(name)
                                                : "";
    }
    return files;
}

TEST(PrintInventory, PrintsTheDocument) {
    DaemonRun host;
    ASSERT_EQ(host.run({"--print-inventory"}), 0) << host.errors();
    Json::Value document;
    ASSERT_TRUE(parse_json(host.output(), document)) << host.output();
    const Json::Value &oem = document["HostDataCollection"]["Oem"];
    ASSERT_TRUE(oem.isObject()) << host.output();
    EXPECT_NE(compact_json(oem).find("orb-host-01"), std::string::npos);
    EXPECT_NE(compact_json(oem).find("1023"), std::string::npos) << "memory by esxtop";
    const std::string text = host.output();
    EXPECT_GT(std::count(text.begin(), text.end(), '\n'), 5) << "indented";
    EXPECT_EQ(host.errors(), "");
}

TEST(PrintInventory, CompactIsOneLineOfTheSame) {
    DaemonRun host;
    ASSERT_EQ(host.run({"--print-inventory", "--compact"}), 0);
    const std::string text = host.output();
    EXPECT_EQ(text.find('\n'), text.size() - 1);
    Json::Value document;
    EXPECT_TRUE(parse_json(text, document));
    EXPECT_TRUE(document["HostDataCollection"].isMember("Oem"));
}

TEST(PrintInventory, OnlyEnabledManagersAreBuilt) {
    DaemonRun host;
    host.configure(R"("EnableResources": ["EthernetDevices"])");
    ASSERT_EQ(host.run({"--print-inventory", "--compact"}), 0);
    EXPECT_EQ(host.output(), "{\"HostDataCollection\":{}}\n");
    EXPECT_EQ(host.root.read("/calls").find("esxtop"), std::string::npos);
}

TEST(PrintInventory, AsksForTheNamesOfFibreChannelAdaptersWhereTheyCount) {
    constexpr char LINE[] = "localcli storage san fc list | grep -e 'Adapter: ' -e 'Node Name:'>> ";
    DaemonRun host;
    host.configure(R"("EnableResources": ["EthernetDevices"])");
    ASSERT_EQ(host.run({"--print-inventory"}), 0);
    EXPECT_EQ(host.root.read("/calls").find(LINE), std::string::npos);
    host.configure(R"("EnableResources": ["FibreChannelDevices"])");
    ASSERT_EQ(host.run({"--print-inventory"}), 0);
    EXPECT_NE(host.root.read("/calls").find(LINE), std::string::npos);
}

TEST(PrintInventory, LeavesTheHostUntouched) {
    DaemonRun host;
    host.root.write("/opt/vantor/orb/data/orb-mem.txt", "left by a killed run\n");
    host.root.write("/opt/vantor/orb/data/orb_hwlist.txt", "of a running daemon\n");
    host.root.write(DaemonRun::LOG, "a line\n");
    host.root.write(DaemonRun::RUN_STATE, "current_start 5\nlast_start 4\nlast_stop 3\n");
    host.afterwards = [&] { EXPECT_EQ(host.rmc.opens(), 0) << "nothing is sent"; };
    const auto before = snapshot(host);
    ASSERT_EQ(host.run({"--print-inventory"}), 0) << host.errors();
    EXPECT_EQ(snapshot(host), before);
    EXPECT_FALSE(host.root.exists("/syslog"));
    EXPECT_NE(host.root.read("/calls").find("/tmp/orb-inventory-"), std::string::npos)
        << "the commands worked in the private folder";
}

TEST(PrintInventory, SilentWithTheLogInSyslog) {
    DaemonRun host;
    host.configure(R"("ORBLogLocation": "syslog", "DebugLogLocation": "syslog")");
    ASSERT_EQ(host.run({"--print-inventory"}), 0);
    EXPECT_FALSE(host.root.exists("/syslog"));
}

TEST(PrintInventory, RunsBesideTheDaemon) {
    DaemonRun host;
    const pid_t daemon = host.start({"--foreground"});
    ASSERT_TRUE(host.awaitState("READY=1"));
    EXPECT_EQ(host.run({"--print-inventory"}), 0) << host.errors();
    EXPECT_TRUE(host.root.exists(DaemonRun::PCI_LIST)) << "the daemon's own list stays";
    EXPECT_FALSE(host.hasState());
    ::kill(daemon, SIGTERM);
    EXPECT_EQ(DaemonRun::end(daemon), 0);
}

TEST(PrintInventory, SignalLeavesNoPrivateFolder) {
    DaemonRun host;
    const Sign running;
    host.commands.onEsxtop = [&] {
        running.give();
        std::mutex mutex;
        std::unique_lock<std::mutex> lock(mutex);
        std::condition_variable never;
        never.wait(lock, [] { return false; });
    };
    const auto before = snapshot(host);
    const pid_t printing = host.start({"--print-inventory"});
    ASSERT_TRUE(running.await());
    EXPECT_NE(snapshot(host), before) << "the private folder is there";
    ::kill(printing, SIGTERM);
    EXPECT_EQ(DaemonRun::end(printing), 1);
    EXPECT_EQ(snapshot(host), before);
    EXPECT_EQ(host.output(), "");
}

TEST(PrintInventory, ConfigurationThatEndsTheDaemonEndsIt) {
    DaemonRun host;
    host.configure(R"("HealthMonitorFlags": "99999999999999999999")");
    const auto before = snapshot(host);
    EXPECT_EQ(host.run({"--print-inventory"}), 1);
    EXPECT_TRUE(host.errors().starts_with("orbd: " + host.root.map(DaemonRun::CONFIG) + ": "))
        << host.errors();
    EXPECT_EQ(snapshot(host), before);
}

TEST(PrintInventory, NoPlaceForThePrivateFolder) {
    DaemonRun host;
    fs::remove_all(host.root.map("/tmp"));
    EXPECT_EQ(host.run({"--print-inventory"}), 1);
    EXPECT_TRUE(host.errors().starts_with("orbd: print the inventory: ")) << host.errors();
}

TEST(PrintInventory, MissingEsxtopSettingsAreNoObstacle) {
    DaemonRun host;
    fs::remove(host.root.map("/opt/vantor/orb/data/esxtopconf"));
    EXPECT_EQ(host.run({"--print-inventory"}), 0) << host.errors();
}
} // namespace
