#include "VmTest.h"

namespace {
constexpr VmDaemon::SECONDS BOOT_LOGIC{40}; // it begins 20 seconds after the daemon's start
} // namespace

class BootTest : public VmTest {
protected:
    /// The machine with a daemon whose boot report is through.
    VmMachine &settled() {
        VmMachine &machine = reporting();
        Json::Value state = daemon->runState();
        // A start within the second of the stop before it has nothing to tell, whatever comes then.
        if (state["last_start"] == state["last_stop"]) {
            daemon->makeSure();
            reporting();
            state = daemon->runState();
        }
        if (state["last_start"] != state["current_start"])
            throw VmFailure("the run-state file was not brought up to date");
        return machine;
    }
    /// The daemon's start behind a reboot: two events, before the inventory, each once.
    void expectReport(VmMachine &machine, const std::string &first, const std::string &logged) {
        const std::int64_t boot = daemon->bootTime();
        daemon->start();
        ASSERT_TRUE(rmc.awaitEvents(2, BOOT_LOGIC)) << daemon->toldSince(0);
        ASSERT_TRUE(rmc.awaitInventories(1, NEXT_INVENTORY)) << daemon->toldSince(0);
        freshInventory();
        EXPECT_EQ(rmc.order(), (std::vector<std::string>{first, "356", "inventory", "inventory"}));
        EXPECT_TRUE(daemon->awaitLog(logged, 0));
        // An attempt to send, even one of nothing, would have let any event through.
        EXPECT_FALSE(daemon->logHolds("No inventory information found!"));
        for (const RMC_DOCUMENT &event : rmc.events()) {
            EXPECT_EQ(event.value["HostName"], "orb-vm-01");
            EXPECT_EQ(event.value["OSVersion"], "12.4.2");
            EXPECT_EQ(event.value["OSType"], 104);
            EXPECT_EQ(event.value["Source"], "ORB");
            EXPECT_EQ(event.value["IPv4Addresses"][0]["Address"], "192.0.2.17");
            EXPECT_FALSE(event.value.isMember("PhysicalLocation"));
            EXPECT_FALSE(event.value.isMember("VariableData"));
        }
        const Json::Value state = daemon->runState();
        EXPECT_EQ(state["last_start"], state["current_start"]);
        EXPECT_LE(boot, state["current_start"].asInt64());
        EXPECT_EQ(machine.run("test -e /var/tmp/vantorORBStartuptmp.txt").status, 1);
    }
};

TEST_F(BootTest, CleanStopAndStartTellNothing) {
    VmMachine &machine = settled();
    const std::size_t mark = daemon->mark();
    EXPECT_EQ(daemon->stop(), 0);
    EXPECT_NE(daemon->since(mark).find("ORB Exiting Gracefully!"), std::string::npos);
    EXPECT_FALSE(daemon->isRunning());
    const Json::Value stopped = daemon->runState();
    EXPECT_EQ(stopped["current_start"], 0);
    EXPECT_GT(stopped["last_stop"].asInt64(), stopped["last_start"].asInt64());
    ASSERT_TRUE(machine.waitFor("[ $(date +%s) -gt " + stopped["last_stop"].asString() + " ]",
                                VmDaemon::SECONDS(5)));

    daemon->start();
    ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
    EXPECT_TRUE(daemon->logHolds("ORB crashed in current boot so do nothing in point 2"));
    EXPECT_TRUE(rmc.eventIds().empty());
    EXPECT_LE(daemon->bootTime(), daemon->runState()["last_stop"].asInt64())
        << machine.ask("uptime");
}

TEST_F(BootTest, KillAndStartTellNothing) {
    settled();
    const Json::Value before = daemon->runState();
    daemon->kill();
    EXPECT_EQ(daemon->runState(), before) << "a killed daemon has written";

    daemon->start();
    ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
    EXPECT_TRUE(daemon->logHolds("ORB crashed in current boot so do nothing in point 3"));
    EXPECT_TRUE(rmc.eventIds().empty());
    const Json::Value after = daemon->runState();
    EXPECT_GT(after["current_start"].asInt64(), before["current_start"].asInt64());
    EXPECT_EQ(after["last_start"], after["current_start"]);
    EXPECT_EQ(after["last_stop"], before["last_stop"]);
}

TEST_F(BootTest, RebootInOrderGives359And356BeforeTheInventory) {
    VmMachine &machine = settled();
    machine.reboot(); // its last steps stop the service
    take(machine);
    EXPECT_EQ(daemon->runState()["current_start"], 0);
    rmc.forget();
    expectReport(machine, "359", "In gen OS boot logic.Last shutdown was graceful.");
}

TEST_F(BootTest, ResetGives360And356BeforeTheInventory) {
    VmMachine &machine = settled();
    machine.ask("sync"); // what the disk has not taken yet is lost with the machine
    const Json::Value before = daemon->runState();
    machine.reset();
    EXPECT_EQ(daemon->runState(), before);
    rmc.forget();
    expectReport(machine, "360", "In gen OS boot logic.Last shutdown was not-graceful.");
}
