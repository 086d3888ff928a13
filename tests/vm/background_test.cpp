#include "VmTest.h"

namespace {
constexpr VmRmc::SECONDS FIRST_POLL{30}; // the door bell is read every 10 seconds
} // namespace

class BackgroundTest : public VmTest {};

TEST_F(BackgroundTest, ServesAsInstalledWithoutAServiceManager) {
    VmMachine &machine = usual();
    daemon->makeSure();
    daemon->configureAsInstalled();
    const VM_OUTPUT check = machine.run("orbd --check-config");
    EXPECT_EQ(check.status, 0) << check.text;
    const std::size_t mark = daemon->mark(VmDaemon::SYSLOG);

    machine.ask("orbd");
    const std::string pid = daemon->pid();
    EXPECT_EQ(machine.ask("readlink /proc/" + pid + "/exe"), "/opt/vantor/orb/bin/orbd");
    EXPECT_EQ(machine.ask("awk '/^PPid/ { print $2 }' /proc/" + pid + "/status"), "1");
    EXPECT_TRUE(rmc.awaitPoll(FIRST_POLL)) << "no thread asks the RMC";
    const std::string log = daemon->since(mark, VmDaemon::SYSLOG);
    EXPECT_EQ(log.find(" orb: [DEBUG]"), std::string::npos) << log;
    EXPECT_EQ(log.find(" orb: [INFO]"), std::string::npos) << log;

    machine.ask("kill -KILL " + pid);
    EXPECT_TRUE(machine.waitFor("! kill -0 " + pid, VmDaemon::START_LIMIT));
}
