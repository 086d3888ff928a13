#include "VmTest.h"

class DaemonTest : public VmTest {};

TEST_F(DaemonTest, SecondInstanceIsRefused) {
    VmMachine &machine = reporting();
    const std::string pid = daemon->pid();
    for (const char *command : {"orbd --foreground", "orbd"}) {
        const VM_OUTPUT output = machine.run(command);
        EXPECT_EQ(output.status, 1) << command;
        EXPECT_EQ(output.text,
                  "orbd: /run/orbd.pid: orbd is already running with process id " + pid + "\n");
    }
    EXPECT_EQ(daemon->pid(), pid);
    freshInventory();
}
