#include <cstdlib>
#include <regex>

#include "VmTest.h"

namespace {
constexpr const char *BACKUPS = "/scratch/log/vantor/orb/backup_log";
constexpr const char *DEBUG_LOG = "/var/log/orb/debug.log";
constexpr const char *EARLY_INFO =
    "RM 1 not ready with inventory"; // every few seconds until the first cache
constexpr int FULL = 500000000;

/// The last line of a log that ends with a text; empty without one.
std::string last_line(VmMachine &machine, const std::string &log, const std::string &text) {
    return machine.ask("grep -F -- " + shell_word(text) + " " + shell_word(log) + " | tail -n 1");
}
} // namespace

class LogTest : public VmTest {
protected:
    void refuseATransfer(const std::string &log) {
        RMC_BEHAVIOUR refusal;
        refusal.force.transferStatus = 4;
        refusal.times = 1;
        rmc.behave(refusal);
        const std::size_t mark = daemon->mark(log);
        rmc.ring();
        ASSERT_TRUE(daemon->awaitLog("Cli entries full", mark, VmDaemon::LOG_LIMIT, log));
        rmc.behave({});
    }
};

TEST_F(LogTest, LinesAreTheSameInAFileAndInSyslogButForTheDate) {
    VmMachine &machine = reporting();
    refuseATransfer(VmDaemon::LOG);
    static constexpr struct {
        const char *text, *priority;
    } LINES[] = {
        {"Transfer Status is 0x4[Cli entries full] and Cmd Exit Status is 0x0", "user.err"},
        {"*************printing final Json String*******", "user.info"},
        {"Checking IPMI door bell request", "user.debug"},
    };
    std::vector<std::string> fromFile;
    for (const auto &line : LINES) fromFile.push_back(last_line(machine, VmDaemon::LOG, line.text));

    EXPECT_EQ(daemon->stop(), 0);
    machine.ask(std::string(": >") + VmDaemon::SYSLOG);
    Json::Value members = VmDaemon::talkative();
    members["ORBLogLocation"] = members["DebugLogLocation"] = "syslog";
    daemon->start(members);
    ASSERT_TRUE(daemon->awaitLog(DELIVERED, 0, FIRST_INVENTORY, VmDaemon::SYSLOG))
        << machine.ask(std::string("tail -n 50 ") + VmDaemon::SYSLOG);
    refuseATransfer(VmDaemon::SYSLOG);
    EXPECT_NE(machine.run(std::string("ls ") + VmDaemon::LOG).status, 0);

    for (std::size_t i = 0; i < std::size(LINES); ++i) {
        SCOPED_TRACE(LINES[i].text);
        std::smatch file, syslog;
        const std::string there = last_line(machine, VmDaemon::SYSLOG, LINES[i].text);
        ASSERT_TRUE(std::regex_match(
            fromFile[i], file, std::regex("[A-Z][a-z]{2} [0-9]{1,2} [0-9:]{8} (\\[[A-Z]+\\].*)")))
            << fromFile[i];
        ASSERT_TRUE(std::regex_match(there, syslog,
                                     std::regex("[A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} orb-vm-01 "
                                                "([a-z.]+) orb: (\\[[A-Z]+\\].*)")))
            << there;
        EXPECT_EQ(syslog[1], LINES[i].priority);
        EXPECT_EQ(syslog[2], file[1]);
    }
}

TEST_F(LogTest, HangUpPutsAFullLogAside) {
    VmMachine &machine = usual();
    daemon->makeSure();
    machine.ask(std::string("rm -rf ") + BACKUPS);
    Json::Value members = VmDaemon::talkative();
    members["DebugLogLocation"] = DEBUG_LOG;
    members["EnableResources"].append("HostOSInfo"); // the only one to tell of its readiness
    daemon->start(members);
    ASSERT_TRUE(daemon->awaitLog(EARLY_INFO, 0));

    // A hole behind the first lines, and lines again behind it.
    machine.ask("truncate -s " + std::to_string(FULL) + " " + VmDaemon::LOG);
    ASSERT_TRUE(daemon->awaitLog(EARLY_INFO, FULL));
    machine.ask("kill -HUP " + daemon->pid());
    ASSERT_TRUE(machine.waitFor(std::string("[ $(stat -c %s ") + VmDaemon::LOG + ") -lt 1000000 ]",
                                VmDaemon::SECONDS(60)));
    EXPECT_TRUE(daemon->awaitLog("[INFO]", 0)) << "nothing is written to the new log";

    const std::string name = "orb.log" + machine.ask("date '+_%b ' | sed 's/[A-Za-z]/&_/g'");
    EXPECT_EQ(machine.ask(std::string("ls ") + BACKUPS + " | sed 's/$/|/'"), name + "|");
    const std::string backup = shell_word(BACKUPS + ("/" + name));
    EXPECT_GT(std::atoi(machine.ask("stat -c %s " + backup).c_str()), FULL);
    EXPECT_EQ(
        machine.run("head -c 10000 " + backup + " | grep -qF " + shell_word(EARLY_INFO)).status, 0);
    EXPECT_EQ(machine.run("tail -c 50 " + backup + " | grep -qF " + shell_word(EARLY_INFO)).status,
              0);
    EXPECT_EQ(machine.ask("readlink /opt/vantor/orb/log/backup_log"), BACKUPS);
    machine.ask(std::string("rm -rf ") + BACKUPS); // half of the machine's memory
}
