#include <cstdio>
#include <sstream>

#include "VmTest.h"
#include "vendor/location_code.h"

namespace {
constexpr const char *REFRESH = "NIC_RM: Refreshing Ethernet cache",
                     *POLL = "NIC_RM: Polling for interface link state change.",
                     *CHANGE = "NIC_RM: Found a status change",
                     *REBUILT = "NIC_RM: Exiting CacheBuild";
constexpr int WAKE_UP_SECONDS = 10, LATE_SECONDS = 5, DAY_SECONDS = 86400;

// A wake-up polls when its wait began in the second in which the rebuild ended. Where the second
// changed between the two no other poll follows, since these cases refresh once in an hour.
constexpr int TRIES = 4;

std::vector<std::string> lines_with(const std::string &text, const std::string &log) {
    std::vector<std::string> found;
    std::istringstream all(log);
    for (std::string line; std::getline(all, line);)
        if (line.find(text) != std::string::npos) found.push_back(line);
    return found;
}

/// Of a log line's time; -1 where it has none.
int second_of_day(const std::string &line) {
    int hour = 0, minute = 0, second = 0;
    if (std::sscanf(line.c_str(), "%*s %*d %d:%d:%d", &hour, &minute, &second) != 3) return -1;
    return (hour * 60 + minute) * 60 + second;
}

std::string status_of(const RMC_DOCUMENT &inventory) {
    const Json::Value &adapters = inventory.value["HostDataCollection"]["EthernetDevices"];
    if (adapters.size() != 1) return "no single adapter";
    const Json::Value &status = adapters[0]["Status"];
    return status["State"].asString() + "/" + status["Health"].asString();
}
} // namespace

/// The adapter's cable is pulled and put in again, and nothing but the daemon's looks at the link
/// can tell.
class LinkTest : public VmTest {
protected:
    void TearDown() override {
        usual().setLink(true);
        daemon->makeSure();
        VmTest::TearDown();
    }

    /// A daemon for adapters alone, whose first inventory waits for nothing else, and which
    /// refreshes what it knows of them once in an hour; started with that link, it has looked at
    /// them once.
    void start(bool up, int inventoryQuerySeconds) {
        VmMachine &machine = usual();
        machine.setLink(up);
        daemon->makeSure();
        rmc.forget();
        Json::Value members = VmDaemon::talkative();
        members["EnableResources"].append("EthernetDevices");
        members["CacheRefreshInSeconds"]["EthernetDevices"] = 3600;
        members["InventoryQueryIntervalInSeconds"] = inventoryQuerySeconds;
        daemon->start(members);
        if (!daemon->awaitLog(REBUILT, 0))
            throw VmFailure("no adapters are looked for:\n" + daemon->toldSince(0));
    }

    /// Waits for the poll that sees the link's change, and for the end of the rebuild that follows.
    /// @param mark  of the log, from before the change @return false: no poll saw it
    bool pollSees(std::size_t mark) {
        return daemon->awaitLog(CHANGE, mark, VmDaemon::SECONDS(WAKE_UP_SECONDS + LATE_SECONDS)) &&
               daemon->awaitLog(REBUILT, mark);
    }

    /// Rings the door bell until an inventory tells that of the adapter: one that was under way may
    /// come first.
    bool awaitStatus(const std::string &status) {
        for (int i = 0; i < TRIES; ++i) {
            freshInventory();
            if (status_of(rmc.inventories().back()) == status) return true;
        }
        return false;
    }

    /// What came, in order: the adapter's status in inventories, each once where several told the
    /// same, and events' numbers.
    std::vector<std::string> story() {
        const std::vector<RMC_DOCUMENT> inventories = rmc.inventories();
        std::vector<std::string> told;
        std::size_t next = 0;
        for (const std::string &each : rmc.order()) {
            if (each != "inventory") {
                told.push_back(each);
                continue;
            }
            const std::string status =
                next < inventories.size() ? status_of(inventories[next++]) : std::string();
            if (told.empty() || told.back() != status) told.push_back(status);
        }
        return told;
    }

    /// That many rebuilds behind the first, each from a poll, each poll ten seconds behind the
    /// rebuild before.
    void expectRebuildsByPolls(std::size_t rebuilds) {
        const std::string log = daemon->since(0);
        EXPECT_EQ(lines_with(REFRESH, log).size(), 1u);
        EXPECT_EQ(lines_with(CHANGE, log).size(), rebuilds);
        const auto looks = lines_with(POLL, log), ends = lines_with(REBUILT, log);
        ASSERT_EQ(ends.size(), rebuilds + 1);
        ASSERT_GE(looks.size(), rebuilds);
        ASSERT_LE(looks.size(), ends.size()) << "one for each rebuild, at most";
        for (std::size_t i = 0; i < looks.size(); ++i) {
            const int from = second_of_day(ends[i]), to = second_of_day(looks[i]);
            ASSERT_GE(from, 0) << ends[i];
            ASSERT_GE(to, 0) << looks[i];
            const int apart = (to - from + DAY_SECONDS) % DAY_SECONDS;
            // The log's seconds come from a clock that may be a tick behind that of the waits.
            EXPECT_GE(apart, WAKE_UP_SECONDS - 1) << ends[i] << "\n" << looks[i];
            EXPECT_LE(apart, WAKE_UP_SECONDS + LATE_SECONDS) << ends[i] << "\n" << looks[i];
        }
    }
};

TEST_F(LinkTest, APollSeesItGoAndComeAndItsReturnIsToldOnce) {
    VmMachine &machine = usual();
    bool seen = false;
    for (int i = 0; i < TRIES && !seen; ++i) {
        start(true, 1);
        ASSERT_TRUE(daemon->awaitLog(DELIVERED, 0, FIRST_INVENTORY)) << daemon->toldSince(0);
        std::size_t mark = daemon->mark();
        machine.setLink(false);
        if (!pollSees(mark) || !awaitStatus("Down/Unknown")) continue;
        mark = daemon->mark();
        machine.setLink(true);
        seen = pollSees(mark);
    }
    ASSERT_TRUE(seen) << daemon->toldSince(0);
    ASSERT_TRUE(rmc.awaitEvents(1, NEXT_INVENTORY)) << daemon->toldSince(0);
    ASSERT_TRUE(awaitStatus("Running/OK")) << daemon->toldSince(0);

    expectRebuildsByPolls(2);
    EXPECT_TRUE(daemon->logHolds("NIC_RM: State change noticed from Unknown to OK"));
    EXPECT_EQ(story(),
              (std::vector<std::string>{"Running/OK", "Down/Unknown", "680", "Running/OK"}))
        << "nothing is told of a link that goes";

    const Json::Value event = rmc.events().front().value;
    const Json::Value now =
        rmc.inventories().back().value["HostDataCollection"]["EthernetDevices"][0];
    EXPECT_EQ(event["PhysicalLocation"], now["Oem"]["PhysicalLocation"]);
    EXPECT_EQ(readable_location(event["PhysicalLocation"].asString()),
              "rack 1, unit 1, partition 0, on board, port 0");
    EXPECT_EQ(event["Source"], "ORB");
    EXPECT_EQ(event["VariableData"]["Type"], "EthernetDevice");
    EXPECT_EQ(event["VariableData"]["EventInfo"], "");
    Json::Value data = now;
    data.removeMember("Status");
    EXPECT_EQ(event["VariableData"]["Data"], data);
}

TEST_F(LinkTest, AReturnBeforeTheFirstInventoryIsNoEvent) {
    VmMachine &machine = usual();
    bool seen = false;
    for (int i = 0; i < TRIES && !seen; ++i) {
        // The first inventory is thus due well behind the poll.
        start(false, 2 * WAKE_UP_SECONDS);
        const std::size_t mark = daemon->mark();
        machine.setLink(true);
        seen = pollSees(mark);
    }
    ASSERT_TRUE(seen) << daemon->toldSince(0);
    EXPECT_TRUE(daemon->logHolds("Curr Intf name eth0 Current health  OK Prev intrf name eth0 "
                                 "Prev health Unknown"));
    ASSERT_FALSE(daemon->logHolds("printing final Json String")) << daemon->toldSince(0);
    ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
    freshInventory();
    expectRebuildsByPolls(1);
    EXPECT_EQ(story(), std::vector<std::string>{"Running/OK"});
}
