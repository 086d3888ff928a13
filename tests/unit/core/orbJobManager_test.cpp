#include "core/orbJobManager.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "core/module_names.h"
#include "core/orbFactory.h"
#include "core/orbModuleTags.h"
#include "core/orbUtils.h"
#include "core/run_state_file.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FullDisk.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
constexpr char FILE_PATH[] = "/var/tmp/vantorORBStartup.txt";
constexpr char TWIN_PATH[] = "/var/tmp/vantorORBStartuptmp.txt";

class JobManager : public ::testing::Test {
protected:
    JobManager() { root.makeDirectory("/var/tmp"); }

    void start() { orbJobManager::getInstance().orbStartFileOperations(0); }
    void stop() { orbJobManager::getInstance().orbStartFileOperations(1); }
    std::int64_t value(const char *key) {
        std::ifstream in(root.map(FILE_PATH));
        return read_run_state_value(in, key).value_or(-1);
    }
    /// current_start, last_start, last_stop
    std::string times() {
        return std::to_string(value("current_start")) + " " + std::to_string(value("last_start")) +
               " " + std::to_string(value("last_stop"));
    }
    static std::string second(std::int64_t after) {
        return std::to_string(VirtualClock::START + after);
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    FakeIdentity identity;
    LogFile log{root};
};

} // namespace

TEST_F(JobManager, IsOneObject) {
    EXPECT_EQ(&orbJobManager::getInstance(), &orbJobManager::getInstance());
}

TEST_F(JobManager, NothingIsStartedAtFirst) {
    for (int id = 0; id < orbJobManager::RESOURCE_COUNT; ++id) {
        EXPECT_FALSE(orbJobManager::threads[id].isStarted());
        EXPECT_EQ(orbJobManager::retval[id], -1);
    }
    for (orbThread &thread : orbJobManager::TelemetryThreads) EXPECT_FALSE(thread.isStarted());
}

// -- Start record -------------------------------------------------------------------------------

TEST_F(JobManager, FirstStartWritesThreeLines) {
    start();
    EXPECT_EQ(root.read(FILE_PATH), "current_start " + second(0) + "\nlast_start 0\nlast_stop 0\n");
    EXPECT_LOGGED(log, "INFO", JOB_MGR, "Successful in creating a file");
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(JobManager, FirstStartsFileIsForItsOwnerAlone) {
    const mode_t former = ::umask(0);
    start();
    ::umask(former);
    struct stat status = {};
    ASSERT_EQ(::lstat(root.map(FILE_PATH).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFREG | 0600});
}

TEST_F(JobManager, FileThatCannotBeMadeIsLogged) {
    root.makeDirectory(FILE_PATH);
    start();
    EXPECT_LOGGED(log, "ERROR", JOB_MGR, "Error opening the orb startup file");
    EXPECT_NOT_LOGGED(log, "INFO", JOB_MGR, "Successful in creating a file");
    stop(); // nor does the stop record fail its caller
}

TEST_F(JobManager, FirstStartReplacesALinkWithoutFollowingIt) {
    root.write("/etc/secret", "secret\n");
    ASSERT_EQ(::symlink(root.map("/etc/secret").c_str(), root.map(FILE_PATH).c_str()), 0);
    start();
    EXPECT_EQ(root.read("/etc/secret"), "secret\n");
    EXPECT_EQ(value("current_start"), VirtualClock::START);
}

TEST_F(JobManager, FirstStartOnAFullDiskLeavesNoHalfFile) {
    {
        const FullDisk full(10);
        start();
    }
    EXPECT_FALSE(root.exists(FILE_PATH));
    start();
    EXPECT_EQ(times(), second(0) + " 0 0") << "the next one has room and makes it whole";
}

TEST_F(JobManager, LaterStartReplacesCurrentStartOnly) {
    root.write(FILE_PATH, "# kept\nlast_start 5\ncurrent_start 0\nlast_stop 6");
    start();
    EXPECT_EQ(root.read(FILE_PATH),
              "# kept\nlast_start 5\ncurrent_start " + second(0) + "\nlast_stop 6\n");
    EXPECT_NOT_LOGGED(log, "INFO", JOB_MGR, "Successful in creating a file");
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(JobManager, FileWithoutCurrentStartGainsNone) {
    root.write(FILE_PATH, "last_start 5\nlast_stop 6\n");
    start();
    EXPECT_EQ(root.read(FILE_PATH), "last_start 5\nlast_stop 6\n");
}

TEST_F(JobManager, EmptyFileStaysEmpty) {
    root.write(FILE_PATH, "");
    start();
    EXPECT_TRUE(root.exists(FILE_PATH));
    EXPECT_EQ(root.read(FILE_PATH), "");
}

TEST_F(JobManager, StaleTwinStaysAheadOfTheStartRecord) {
    root.write(FILE_PATH, "current_start 1\n");
    root.write(TWIN_PATH, "stale 4\n");
    start();
    EXPECT_EQ(root.read(FILE_PATH), "stale 4\ncurrent_start " + second(0) + "\n");
}

TEST_F(JobManager, FullDiskKeepsTheFormerRecord) {
    root.write(FILE_PATH, "current_start 1\nlast_start 2\nlast_stop 3\n");
    {
        const FullDisk full(10);
        start();
    }
    EXPECT_EQ(root.read(FILE_PATH), "current_start 1\nlast_start 2\nlast_stop 3\n");
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(JobManager, BootTimeIsNowLessTheUptime) {
    identity.uptimeSeconds = 3600;
    start();
    EXPECT_EQ(orbUtils::getSystemCurrentBootTime(), VirtualClock::START - 3600);
}

TEST_F(JobManager, FailedSysinfoIsLoggedAndBootTimeZero) {
    identity.sysinfoError = EIO;
    orbUtils::setSystemCurrentBootTime(4711);
    start();
    EXPECT_LOGGED(log, "WARNING", JOB_MGR,
                  "Unable to fetch system Up Time - -1, 5 : Input/output error");
    EXPECT_EQ(orbUtils::getSystemCurrentBootTime(), 0);
    EXPECT_EQ(value("current_start"), VirtualClock::START) << "the record is written all the same";
}

// -- Stop record --------------------------------------------------------------------------------

TEST_F(JobManager, StopRecordReplacesTheWholeFile) {
    root.write(FILE_PATH, "# foreign\ncurrent_start 1\nlast_start 2\nlast_stop 3\n");
    start();
    clock.advance(500);
    stop();
    EXPECT_EQ(root.read(FILE_PATH),
              "last_start " + second(0) + "\nlast_stop " + second(500) + "\ncurrent_start 0\n");
}

TEST_F(JobManager, AnyOtherModeIsAStop) {
    start();
    for (const int mode : {1, 2, -1}) {
        clock.advance(1);
        orbJobManager::getInstance().orbStartFileOperations(mode);
        EXPECT_EQ(value("last_stop"), clock.now()) << mode;
        EXPECT_EQ(value("current_start"), 0);
    }
}

TEST_F(JobManager, StopRecordMakesAMissingFile) {
    stop();
    EXPECT_EQ(times(), "0 0 " + second(0));
}

TEST_F(JobManager, StopRecordFollowsNoLink) {
    start();
    root.write("/etc/secret", "secret\n");
    ASSERT_EQ(::unlink(root.map(FILE_PATH).c_str()), 0);
    ASSERT_EQ(::symlink(root.map("/etc/secret").c_str(), root.map(FILE_PATH).c_str()), 0);
    stop();
    EXPECT_EQ(root.read("/etc/secret"), "secret\n");
    EXPECT_EQ(times(), "0 " + second(0) + " " + second(0));
}

TEST_F(JobManager, StopRecordAfterAFailedOneIsWritten) {
    start();
    ASSERT_EQ(::unlink(root.map(FILE_PATH).c_str()), 0);
    root.makeDirectory(FILE_PATH);
    stop();
    ASSERT_EQ(::rmdir(root.map(FILE_PATH).c_str()), 0);
    stop();
    EXPECT_EQ(times(), "0 " + second(0) + " " + second(0)) << "the stream is used again";
}

TEST_F(JobManager, StopRecordOnAFullDiskIsWhatFits) {
    start();
    {
        const FullDisk full(15);
        stop();
    }
    EXPECT_EQ(root.read(FILE_PATH), ("last_start " + second(0)).substr(0, 15));
    start(); // adds no line that isn't there
    EXPECT_EQ(value("current_start"), -1);
    clock.advance(100);
    stop();
    EXPECT_EQ(times(), "0 " + second(0) + " " + second(100)) << "with room again";
}

TEST_F(JobManager, LifeOfTheFileThroughStopAndCrash) {
    const auto hostUpdate = [this] { rewrite_run_state("last_start", value("current_start")); };
    start();
    EXPECT_EQ(times(), second(0) + " 0 0") << "first start ever";
    hostUpdate();
    EXPECT_EQ(times(), second(0) + " " + second(0) + " 0") << "after the host's update";
    clock.advance(100);
    stop();
    EXPECT_EQ(times(), "0 " + second(0) + " " + second(100)) << "clean stop";
    clock.advance(100);
    start();
    EXPECT_EQ(times(), second(200) + " " + second(0) + " " + second(100)) << "next start";
    hostUpdate();
    EXPECT_EQ(times(), second(200) + " " + second(200) + " " + second(100)) << "its update";
    clock.advance(100);
    start(); // what comes after a crash
    EXPECT_EQ(times(), second(300) + " " + second(200) + " " + second(100)) << "after a crash";
}

// -- Thread entry and fault injection -----------------------------------------------------------

TEST_F(JobManager, EntryWarnsOfAnUnknownId) {
    for (const int id : {7, 42, 99, 106, -1}) {
        EXPECT_EQ(initializeResourceManager(reinterpret_cast<void *>(std::intptr_t{id})), nullptr);
        EXPECT_EQ(log.count("WARNING", JOB_MGR,
                            "Unable to find module name for Resource Manager [" +
                                std::to_string(id) + "]."),
                  1);
    }
}

TEST_F(JobManager, EntryOfAnIdWithoutManagerSaysDisabled) {
    for (const auto &[id, name] : ORB_MODULE_NAME_MAP) {
        if (id <= ORB_ETHERNET) continue;
        EXPECT_EQ(initializeResourceManager(reinterpret_cast<void *>(std::intptr_t{id})), nullptr);
        EXPECT_LOGGED(log, "DEBUG", JOB_MGR,
                      std::string("Resource manager ") + name + " [" + std::to_string(id) +
                          "] is disabled.");
    }
}

TEST_F(JobManager, NoSimulationByDefault) {
    FakeProcess process;
    simulateUnhandledExceptions();
    EXPECT_EQ(process.raised(), 0);
    EXPECT_EQ(log.countHolding("DEBUG", JOB_MGR, "Simulating"), 0);
}

namespace {
class Simulation : public ::testing::Test {
protected:
    void configure(const std::string &number) {
        log = std::make_unique<LogFile>(root, R"("SimulateUnhandledException": ")" + number + '"');
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    FakeIdentity identity;
    std::unique_ptr<LogFile> log;
};
} // namespace

namespace {
class NoSimulation : public Simulation, public ::testing::WithParamInterface<const char *> {};
} // namespace

TEST_P(NoSimulation, OtherNumbersDoNothing) {
    configure(GetParam());
    FakeProcess process;
    simulateUnhandledExceptions();
    EXPECT_EQ(process.raised(), 0);
    EXPECT_EQ(log->countHolding("DEBUG", JOB_MGR, "Simulating"), 0);
}
INSTANTIATE_TEST_SUITE_P(Numbers, NoSimulation,
                         ::testing::Values("1", "5", "7", "10", "12", "611"));

TEST_F(Simulation, ElevenLogsAndRaisesSegv) {
    configure("11");
    FakeProcess process;
    simulateUnhandledExceptions();
    EXPECT_EQ(process.raised(), SIGSEGV);
    EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, "Simulating unhandled exception SIGSEGV. (11)");
}

TEST_F(Simulation, SixLogsAndThrows) {
    configure("6");
    try {
        simulateUnhandledExceptions();
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::invalid_argument &thrown) {
        EXPECT_STREQ(thrown.what(), "Simulated C++ Exception");
    }
    EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, "Simulating unhandled exception SIGABRT. (6)");
}

using SimulationDeathTest = Simulation;

TEST_F(SimulationDeathTest, ElevenDiesBySegv) {
    configure("11");
    EXPECT_EXIT(simulateUnhandledExceptions(), ::testing::KilledBySignal(SIGSEGV), "");
}

TEST_F(SimulationDeathTest, SixDiesByAbort) {
    configure("6");
    const auto nobodyCatches = []() noexcept { simulateUnhandledExceptions(); };
    EXPECT_EXIT(nobodyCatches(), ::testing::KilledBySignal(SIGABRT), "Simulated C\\+\\+ Exception");
}
