#include "VmTest.h"

class BackgroundTest : public VmTest {};

TEST_F(BackgroundTest, GoesToTheBackgroundWithoutAServiceManager) {
    VmMachine &machine = usual();
    daemon->makeSure();
    machine.ask("orbd");
    const std::string pid = daemon->pid();
    EXPECT_EQ(machine.ask("readlink /proc/" + pid + "/exe"), "/opt/vantor/orb/bin/orbd");
    EXPECT_EQ(machine.ask("awk '/^PPid/ { print $2 }' /proc/" + pid + "/status"), "1");
    machine.ask("kill -KILL " + pid);
    EXPECT_TRUE(machine.waitFor("! kill -0 " + pid, VmDaemon::START_LIMIT));
}
