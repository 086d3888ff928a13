#include <cstdlib>

#include "VmTest.h"

namespace {
constexpr const char *FAILED_POLL = "An error occurred in checking RMC request via IPMI";
constexpr const char *POLL_BEGINS = "DB service thread up.";
constexpr VmDaemon::SECONDS DRIVER_LIMIT{40};
} // namespace

class NodeTest : public VmTest {
protected:
    /// Seconds from the begin to the end of the first failed poll behind a mark.
    int failedPollTook(std::size_t mark) {
        const std::string log = daemon->since(mark);
        const std::size_t end = log.find(FAILED_POLL), begin = log.rfind(POLL_BEGINS, end);
        if (end == std::string::npos || begin == std::string::npos)
            throw VmFailure("the log tells of no failed poll:\n" + log);
        return (secondOfLine(log, end) - secondOfLine(log, begin) + 60) % 60;
    }

private:
    static int secondOfLine(const std::string &log, std::size_t within) {
        const std::size_t line = log.rfind('\n', within) + 1; // the log's begin for its first line
        return std::atoi(log.c_str() + log.find(" [", line) - 2);
    }
};

/// While it lives the driver's module lies elsewhere.
class HiddenModule {
public:
    explicit HiddenModule(VmMachine &where)
        : machine(where), file(machine.ask("find /lib/modules -name 'ipmi_devintf.ko*' | grep .")) {
        machine.ask("mv " + file + " /run/hidden.module");
    }
    ~HiddenModule() {
        try {
            bringBack();
        } catch (const VmFailure &) {
            VmWorld::get().end(); // the next machine has it again
        }
    }
    HiddenModule(const HiddenModule &) = delete;
    HiddenModule &operator=(const HiddenModule &) = delete;
    void bringBack() {
        machine.ask("[ ! -e /run/hidden.module ] || mv /run/hidden.module " + file);
    }

private:
    VmMachine &machine;
    std::string file;
};

TEST_F(NodeTest, WhatIsGoneIsMadeAgain) {
    VmMachine &machine = reporting();
    machine.ask("rm /dev/ipmi0");
    const std::size_t mark = daemon->mark();
    ASSERT_TRUE(machine.waitFor("[ -c /dev/ipmi0 ]", DRIVER_LIMIT));
    EXPECT_EQ(machine.ask("stat -c %a /dev/ipmi0"), "600");
    EXPECT_EQ(machine.ask("printf '%d:%d' 0x$(stat -c %t /dev/ipmi0) 0x$(stat -c %T /dev/ipmi0)"),
              machine.ask("awk '$2 == \"ipmidev\" { print $1 \":0\" }' /proc/devices"));
    EXPECT_TRUE(daemon->awaitLog("Return buffer from door bell: ", mark));
    freshInventory();
}

TEST_F(NodeTest, MissingDriverFailsAPollAfterSixSecondsUntilItIsBack) {
    VmMachine &machine = reporting();
    const std::size_t mark = daemon->mark();
    HiddenModule hidden(machine);
    ASSERT_TRUE(machine.waitFor("rmmod ipmi_devintf", VmDaemon::SECONDS(20)))
        << machine.ask("lsmod");
    machine.ask("rm -f /dev/ipmi0"); // one that somebody made outlives the driver
    ASSERT_TRUE(daemon->awaitLog(FAILED_POLL, mark, DRIVER_LIMIT)) << daemon->toldSince(mark);
    EXPECT_NE(machine.run("ls /dev/ipmi0").status, 0) << "made of no number";
    EXPECT_GE(failedPollTook(mark), 6) << daemon->since(mark);
    EXPECT_LE(failedPollTook(mark), 12) << daemon->since(mark);

    hidden.bringBack();
    freshInventory();
}
