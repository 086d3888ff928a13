#include "VmTest.h"

class NodeTest : public VmTest {};

TEST_F(NodeTest, WhatIsGoneIsMadeAgain) {
    VmMachine &machine = reporting();
    machine.ask("rm /dev/ipmi0");
    const std::size_t mark = daemon->mark();
    ASSERT_TRUE(machine.waitFor("[ -c /dev/ipmi0 ]", VmDaemon::SECONDS(40)));
    EXPECT_EQ(machine.ask("stat -c %a /dev/ipmi0"), "600");
    EXPECT_EQ(machine.ask("printf '%d:%d' 0x$(stat -c %t /dev/ipmi0) 0x$(stat -c %T /dev/ipmi0)"),
              machine.ask("awk '$2 == \"ipmidev\" { print $1 \":0\" }' /proc/devices"));
    EXPECT_TRUE(daemon->awaitLog("Return buffer from door bell: ", mark));
    freshInventory();
}
