#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include <gtest/gtest.h>

#include "daemon/daemon_time.h"
#include "daemon/orb_main.h"
#include "integration/DaemonRun.h"

namespace {
/// A daemon that tells when it is ready and is stopped by a signal.
int stop(DaemonRun &host, pid_t daemon, int signal = SIGTERM) {
    EXPECT_TRUE(host.awaitState("READY=1")) << host.errors();
    ::kill(daemon, signal);
    return DaemonRun::end(daemon);
}

long run_state(const DaemonRun &host, const std::string &key) {
    const std::string text = host.root.read(DaemonRun::RUN_STATE);
    const std::size_t at = text.find(key + " ");
    return at == std::string::npos ? -1 : std::atol(text.c_str() + at + key.size());
}

TEST(DaemonLife, StartsInOrder) {
    DaemonRun host;
    EXPECT_EQ(stop(host, host.start({"--foreground"})), 0) << host.errors();
    EXPECT_TRUE(holds_in_order(host.log(), {"SMBIOS", "TEST: command localcli hardware pci list > ",
                                            "TEST: create control server", "TEST: create manager",
                                            "TEST: create manager", "TEST: create manager",
                                            "TEST: create manager", "TEST: create aggregator",
                                            "TEST: create door bell"}));
    EXPECT_EQ(host.errors(), "");
    EXPECT_EQ(host.output(), "");
}

TEST(DaemonLife, StopsInOrder) {
    DaemonRun host;
    EXPECT_EQ(stop(host, host.start({"--foreground"})), 0) << host.errors();
    EXPECT_TRUE(host.awaitState("STOPPING=1"));
    EXPECT_TRUE(holds_in_order(
        host.log(), {"IPMI_DB: Stopping orbIPMIDBService", "TEST: joined door bell",
                     "JSON_AGGR: Stopping orbJsonAggr", "TEST: joined aggregator",
                     "ORB_SERVER: Stopping ORB Server.", "TEST: joined control server",
                     "JOB_MGR: stopping all the RM", "TEST: joined HostOSInfo",
                     "TEST: joined StorageControllers", "TEST: joined EthernetDevices",
                     "TEST: joined FibreChannelDevices", "JOB_MGR: ORB Exiting Gracefully!"}));
    EXPECT_FALSE(host.root.exists(DaemonRun::PCI_LIST));
    EXPECT_FALSE(host.root.exists(DaemonRun::PID_FILE));
}

TEST(DaemonLife, PciListOutlivesTheLastManager) {
    DaemonRun host;
    host.process.onJoined = [&host](std::string_view name) {
        if (name == "FibreChannelDevices" && host.root.exists(DaemonRun::PCI_LIST))
            host.root.write("/list-was-there", "");
    };
    EXPECT_EQ(stop(host, host.start({"--foreground"})), 0) << host.errors();
    EXPECT_TRUE(host.root.exists("/list-was-there"));
    EXPECT_FALSE(host.root.exists(DaemonRun::PCI_LIST));
}

TEST(DaemonLife, CleanStopLeavesItsRecord) {
    DaemonRun host;
    EXPECT_EQ(stop(host, host.start({"--foreground"})), 0);
    EXPECT_EQ(run_state(host, "current_start"), 0);
    EXPECT_GE(run_state(host, "last_start"), FastClock::START);
    EXPECT_GE(run_state(host, "last_stop"), run_state(host, "last_start"));
}

TEST(DaemonLife, StopsInOrderThoughTheListOfAdaptersIsLockedForGood) {
    DaemonRun host; // a host without adapters: its third rebuild waits for what the second kept
    host.configure(R"("CacheRefreshInSeconds": {"EthernetDevices": "1"})");
    const pid_t daemon = host.start({"--foreground"});
    ASSERT_TRUE(host.awaitState("READY=1")) << host.errors();
    const auto begun = [&host] {
        int count = 0;
        const std::string log = host.log();
        constexpr std::string_view LINE = "NIC_RM: Building NIC Cache";
        for (std::size_t at = log.find(LINE); at != std::string::npos; at = log.find(LINE, at + 1))
            ++count;
        return count;
    };
    const std::int64_t until = daemon_time_ms() + 20000;
    while (begun() < 3 && daemon_time_ms() < until) std::this_thread::yield();
    EXPECT_EQ(begun(), 3);
    ::kill(daemon, SIGTERM);
    EXPECT_EQ(DaemonRun::end(daemon), 0) << host.errors();
    EXPECT_EQ(host.errors(), "") << "nothing was ended by force";
    EXPECT_TRUE(host.logHolds("ORB Exiting Gracefully!"));
    EXPECT_GE(run_state(host, "last_stop"), FastClock::START);
    EXPECT_EQ(begun(), 3);
}

TEST(DaemonLife, InterruptStopsLikeTerminate) {
    DaemonRun host;
    EXPECT_EQ(stop(host, host.start({"--foreground"}), SIGINT), 0);
    EXPECT_TRUE(host.logHolds("ORB Exiting Gracefully!"));
}

TEST(DaemonLife, DeliversTheInventoryAndStopsDuringIt) {
    const Sign sent;
    DaemonRun host([&](const FakeRmc::Sent &request, std::size_t) {
        if (request.cmd != 0x80) return FakeRmc::doorBellAnswer("");
        sent.give();
        return FakeRmc::transferAnswer(0);
    });
    host.afterwards = [&] {
        const auto transfers = host.rmc.transfers();
        ASSERT_FALSE(transfers.empty());
        EXPECT_EQ(transfers[0].first, "WriteInventory");
        EXPECT_NE(transfers[0].second.find(R"({"HostDataCollection":)"), std::string::npos);
        EXPECT_EQ(host.rmc.stillOpen(), 0);
    };
    const pid_t daemon = host.start({"--foreground"});
    EXPECT_TRUE(sent.await());
    EXPECT_EQ(stop(host, daemon), 0) << host.errors();
}

TEST(DaemonLife, PidFileHoldsTheIdWhileItRuns) {
    DaemonRun host;
    host.root.write(DaemonRun::PID_FILE, "1234567 of a former life\n");
    const pid_t daemon = host.start({"--foreground"});
    ASSERT_TRUE(host.awaitState("READY=1"));
    EXPECT_EQ(host.root.read(DaemonRun::PID_FILE), std::to_string(daemon) + "\n");
    struct stat state = {};
    ASSERT_EQ(::stat(host.root.map(DaemonRun::PID_FILE).c_str(), &state), 0);
    EXPECT_EQ(state.st_mode & 0777u, 0644u);
    ::kill(daemon, SIGTERM);
    EXPECT_EQ(DaemonRun::end(daemon), 0);
    EXPECT_FALSE(host.root.exists(DaemonRun::PID_FILE));
}

TEST(DaemonLife, SecondInstanceIsRefused) {
    DaemonRun host;
    const pid_t daemon = host.start({"--foreground"});
    ASSERT_TRUE(host.awaitState("READY=1"));
    const long started = run_state(host, "current_start");
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"--foreground"}, std::vector<std::string>{}})
        EXPECT_EQ(host.run(arguments), 1);
    const std::string line = "orbd: " + host.root.map(DaemonRun::PID_FILE) +
                             ": orbd is already running with process id " + std::to_string(daemon) +
                             "\n";
    EXPECT_EQ(host.errors(), line + line);
    EXPECT_EQ(run_state(host, "current_start"), started) << "the run goes on undisturbed";
    EXPECT_EQ(host.root.read(DaemonRun::PID_FILE), std::to_string(daemon) + "\n");
    ::kill(daemon, SIGTERM);
    EXPECT_EQ(DaemonRun::end(daemon), 0);
}

TEST(DaemonLife, KilledDaemonLeavesNoLock) {
    DaemonRun host;
    const pid_t daemon = host.start({"--foreground"});
    ASSERT_TRUE(host.awaitState("READY=1"));
    ::kill(daemon, SIGKILL);
    EXPECT_EQ(DaemonRun::end(daemon), -SIGKILL);
    EXPECT_TRUE(host.root.exists(DaemonRun::PID_FILE));
    EXPECT_EQ(stop(host, host.start({"--foreground"})), 0) << host.errors();
}

/// A log that is due for rotation, with something in the backup directory's place, so that the try
/// shows in the system log and nothing large is copied.
void make_log_due(DaemonRun &host) {
    host.root.write("/scratch/log/vantor/orb/backup_log", "");
    host.root.write(DaemonRun::LOG, "");
    std::filesystem::resize_file(host.root.map(DaemonRun::LOG), 500'000'000);
}

TEST(DaemonLife, HangupChecksTheLogFiles) {
    DaemonRun host;
    make_log_due(host);
    const pid_t daemon = host.start({"--foreground"});
    ASSERT_TRUE(host.awaitState("READY=1"));
    EXPECT_EQ(host.root.read("/syslog").find("Error backing up"), std::string::npos);
    ::kill(daemon, SIGHUP); // comes before SIGTERM, having the smaller number
    ::kill(daemon, SIGTERM);
    EXPECT_EQ(DaemonRun::end(daemon), 0);
    EXPECT_NE(host.root.read("/syslog").find("orb 8 3 Error backing up ORB log file [" +
                                             std::string(DaemonRun::LOG) + "]"),
              std::string::npos);
}

TEST(DaemonLife, EachMinuteChecksTheLogFiles) {
    DaemonRun host;
    const Sign tried;
    host.syslog.onWrite = [&] { tried.give(); };
    make_log_due(host);
    set_daemon_speed(500); // the stop still has nearly two seconds
    const pid_t daemon = host.start({"--foreground", "--stop-timeout", "900"});
    // Both channels share the file, and each minute has its own try.
    for (int tries = 0; tries < 4; ++tries) EXPECT_TRUE(tried.await());
    EXPECT_EQ(stop(host, daemon), 0);
}

TEST(DaemonLife, DoorBellThatHangsEndsTheStopByForce) {
    const Sign polled;
    DaemonRun host([&](const FakeRmc::Sent &request, std::size_t) {
        if (request.cmd != 0x82 && request.cmd != 0x81) return FakeRmc::transferAnswer(0);
        polled.give();
        std::mutex mutex;
        std::unique_lock<std::mutex> lock(mutex);
        std::condition_variable never;
        never.wait(lock, [] { return false; });
        return FakeRmc::doorBellAnswer("");
    });
    set_daemon_speed(10);
    const pid_t daemon = host.start({"--foreground", "--stop-timeout", "7"});
    EXPECT_TRUE(polled.await());
    EXPECT_EQ(stop(host, daemon), 1);
    EXPECT_EQ(host.errors(), "orbd: stop: ended by force after 7 seconds without progress, "
                             "waiting for the thread door bell\n");
    EXPECT_TRUE(host.logHolds("JOB_MGR: Stop ended by force after 7 seconds without progress, "
                              "waiting for the thread door bell."));
    EXPECT_EQ(run_state(host, "last_stop"), 0) << "no stop record";
    EXPECT_GT(run_state(host, "current_start"), 0);
}

struct CreationCase {
    const char *name;
    int from;
    int managers; ///< threads that were there already
};
void PrintTo(const CreationCase &row, std::ostream *os) {
    *os << row.name;
}
class ManagerThreadFails : public ::testing::TestWithParam<CreationCase> {};

TEST_P(ManagerThreadFails, EndsTheStart) {
    DaemonRun host;
    host.process.failFrom = GetParam().from;
    EXPECT_EQ(host.run({"--foreground"}), 1);
    EXPECT_EQ(host.errors(), "orbd: start: a resource manager's thread could not be created\n");
    EXPECT_TRUE(holds_in_order(
        host.log(), {"JOB_MGR: Error:unable to create thread", "JOB_MGR: Start failed: ",
                     "ORB_SERVER: Stopping ORB Server.", "TEST: joined control server"}));
    EXPECT_FALSE(host.logHolds("create aggregator"));
    EXPECT_FALSE(host.logHolds("stopping all the RM"));
    EXPECT_FALSE(host.root.exists(DaemonRun::PCI_LIST));
    EXPECT_GT(run_state(host, "current_start"), 0) << "the run was not clean";
    EXPECT_EQ(run_state(host, "last_stop"), 0);
    EXPECT_FALSE(host.hasState()) << "it never was ready";
}
INSTANTIATE_TEST_SUITE_P(Creations, ManagerThreadFails,
                         ::testing::Values(CreationCase{"First", 1, 0},
                                           CreationCase{"Third", 3, 2}),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(DaemonLife, NumberOutOfRangeEndsTheStart) {
    DaemonRun host;
    host.configure(R"("PushInventoryFrequencyInMinutes": "99999999999999999999")");
    EXPECT_EQ(host.run({"--foreground"}), 1);
    const std::string what =
        host.root.map(DaemonRun::CONFIG) + ": a number is out of range (stol)\n";
    EXPECT_EQ(host.errors(), "orbd: " + what);
    EXPECT_EQ(host.root.read("/syslog"), "orb 8 3 orbd: " + what);
    EXPECT_FALSE(host.root.exists(DaemonRun::RUN_STATE));
    EXPECT_FALSE(host.root.exists("/calls"));
    EXPECT_FALSE(host.root.exists(DaemonRun::PID_FILE));
}

TEST(DaemonLife, ConfigurationThatIsAListEndsTheStart) {
    DaemonRun host;
    host.root.write(DaemonRun::CONFIG, R"(["LoggingLevel", "Info"])");
    EXPECT_EQ(host.run({"--foreground"}), 1);
    EXPECT_TRUE(host.errors().starts_with("orbd: " + host.root.map(DaemonRun::CONFIG) + ": "));
    EXPECT_NE(host.root.read("/syslog").find(host.root.map(DaemonRun::CONFIG)), std::string::npos);
}

TEST(DaemonLife, LogDirectoryThatCannotBeMadeEndsTheStart) {
    DaemonRun host;
    host.root.write("/file", "");
    host.configure(R"("ORBLogLocation": "/file/logs/orb.log")");
    EXPECT_EQ(host.run({"--foreground"}), 246);
    EXPECT_NE(host.root.read("/syslog").find("Failed to create directory path for ORB log file"),
              std::string::npos);
}

TEST(DaemonLife, DebugLogDirectoryThatCannotBeMadeEndsTheStart) {
    DaemonRun host;
    host.root.write("/file", "");
    host.configure(R"("DebugLogLocation": "/file/logs/orb.log")");
    EXPECT_EQ(host.run({"--foreground"}), 245);
    EXPECT_EQ(host.run({}), 245) << "the one who started it in the background hears it too";
}

TEST(DaemonLife, PidFileThatCannotBeMadeEndsTheStart) {
    DaemonRun host;
    host.root.makeDirectory(DaemonRun::PID_FILE);
    EXPECT_EQ(host.run({"--foreground"}), 1);
    EXPECT_EQ(host.errors(), "orbd: " + host.root.map(DaemonRun::PID_FILE) + ": Is a directory\n");
}

TEST(DaemonLife, SimulatedExceptionKills) {
    DaemonRun host;
    host.configure(R"("SimulateUnhandledException": "6")");
    EXPECT_EQ(host.run({"--foreground"}), -SIGABRT);
    EXPECT_TRUE(host.logHolds("JOB_MGR: Simulating unhandled exception SIGABRT. (6)"));
    EXPECT_TRUE(holds_in_order(host.log(), {"create manager"}));
    EXPECT_FALSE(holds_in_order(host.log(), {"create manager", "create manager"}));
}

TEST(DaemonLife, GoesToTheBackground) {
    DaemonRun host;
    // The daemon's parents end; this process adopts it.
    ASSERT_EQ(::prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    EXPECT_EQ(host.run({}), 0) << host.errors();
    EXPECT_TRUE(host.awaitState("READY=1"));
    const pid_t daemon = std::atoi(host.root.read(DaemonRun::PID_FILE).c_str());
    ASSERT_GT(daemon, 0);
    const std::string process = "/proc/" + std::to_string(daemon);
    for (const char *stream : {"/fd/0", "/fd/1", "/fd/2"})
        EXPECT_EQ(std::filesystem::read_symlink(process + stream), "/dev/null") << stream;
    EXPECT_EQ(std::filesystem::read_symlink(process + "/cwd"), "/");
    EXPECT_NE(::getsid(daemon), ::getsid(0));
    EXPECT_NE(::getsid(daemon), daemon) << "a session's leader could get a terminal";
    ::kill(daemon, SIGTERM);
    EXPECT_EQ(DaemonRun::end(daemon), 0);
    EXPECT_GT(run_state(host, "last_stop"), 0);
    EXPECT_FALSE(host.root.exists(DaemonRun::PID_FILE));
}

TEST(DaemonLife, FailedStartInTheBackgroundIsSeen) {
    DaemonRun host;
    host.configure(R"("HealthMonitorFlags": "-99999999999999999999")");
    EXPECT_EQ(host.run({}), 1);
    EXPECT_NE(host.errors().find("a number is out of range"), std::string::npos);
    EXPECT_FALSE(host.root.exists(DaemonRun::PID_FILE));
}

TEST(DaemonLife, DeathInTheBackgroundIsSeen) {
    DaemonRun host;
    host.configure(R"("SimulateUnhandledException": "6")");
    EXPECT_EQ(host.run({}), 1);
    EXPECT_NE(host.errors().find("orbd: start: the daemon ended before it was ready"),
              std::string::npos);
}

TEST(DaemonLife, RunsWithoutStandardStreams) {
    DaemonRun host;
    const pid_t starter = ::fork();
    if (starter == 0) {
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(stream);
        std::string name = "orbd", option = "--foreground";
        char *argv[] = {name.data(), option.data(), nullptr};
        std::_Exit(orb_main(2, argv));
    }
    EXPECT_EQ(stop(host, starter), 0);
    EXPECT_EQ(host.log().find("orbd:"), std::string::npos);
    EXPECT_TRUE(host.logHolds("ORB Exiting Gracefully!"));
}
} // namespace
