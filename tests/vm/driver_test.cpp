#include <cstdlib>

#include "VmTest.h"

namespace {
constexpr VmDaemon::SECONDS DRIVER_LIMIT{40};
constexpr const char *POLLED = "Return buffer from door bell: ";
} // namespace

class DriverTest : public VmTest {};

TEST_F(DriverTest, DaemonLoadsTheModulesAndTheDriverIsContent) {
    VmMachine &machine = take(VmWorld::get().freshMachine(usualShape()));
    ASSERT_EQ(machine.ask("lsmod | grep -c ^ipmi_ || true"), "0");
    ASSERT_NE(machine.run("ls /dev/ipmi0").status, 0);

    daemon->start();
    ASSERT_TRUE(daemon->awaitLog(POLLED, 0, DRIVER_LIMIT)) << daemon->toldSince(0);

    const std::string modules = machine.ask("lsmod");
    for (const char *name :
         {"ipmi_msghandler ", "ipmi_si ", "ipmi_devintf ", "ipmi_watchdog ", "ipmi_ssif "})
        EXPECT_NE(modules.find(name), std::string::npos) << name << "\n" << modules;
    EXPECT_EQ(machine.ask("printf '%d' 0x$(stat -c %t /dev/ipmi0)"),
              machine.ask("awk '$2 == \"ipmidev\" { print $1 }' /proc/devices"));
    const std::string kernel = machine.ask("dmesg | grep -i ipmi");
    EXPECT_NE(kernel.find("Using irq 5"), std::string::npos) << kernel;
    EXPECT_NE(kernel.find("IPMI kcs interface initialized"), std::string::npos) << kernel;
    EXPECT_EQ(machine.run("dmesg -r | grep -i ipmi | grep '^<[0-3]>'").text, "");
    EXPECT_GT(std::atoi(machine.ask("awk '/ipmi_si/ { print $2 + $3 }' /proc/interrupts").c_str()),
              0)
        << machine.ask("cat /proc/interrupts");
}
