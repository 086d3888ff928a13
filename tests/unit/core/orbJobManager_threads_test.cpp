#include "core/orbJobManager.h"

#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbFactory.h"
#include "core/orbModuleTags.h"
#include "core/orbResourceManager.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "reporting/orbServer.h"

namespace {
using Texts = std::vector<std::string>;
constexpr char FILE_PATH[] = "/var/tmp/vantorORBStartup.txt";

/// What happened, in order, from all threads.
class Journal {
public:
    void add(const std::string &what) {
        const std::lock_guard<std::mutex> lock(mutex);
        entries.push_back(what);
    }
    Texts all() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return entries;
    }
    bool has(const std::string &what) const {
        const Texts seen = all();
        return std::find(seen.begin(), seen.end(), what) != seen.end();
    }
    Texts beginningWith(const std::string &start) const {
        Texts kept = all();
        std::erase_if(kept, [&](const std::string &entry) { return !entry.starts_with(start); });
        return kept;
    }

private:
    mutable std::mutex mutex;
    Texts entries; // guarded by mutex
};

/// A manager that runs until its stop and writes down what it is asked.
class RecordingManager final : public orbResourceManager {
public:
    RecordingManager(std::string calledName, Journal &writtenTo, TemporaryRoot &hostRoot)
        : name(std::move(calledName)), journal(writtenTo), root(hostRoot) {}

    void cacheBuild() override {}
    void stopResourceManagerJob() override {
        journal.add("stop " + name);
        const std::lock_guard<std::mutex> lock(mutex);
        stopped = true;
        cond.notify_all();
    }
    int init() override {
        journal.add("init " + name);
        std::unique_lock<std::mutex> lock(mutex);
        cond.wait(lock, [this] { return stopped; });
        const bool recorded = root.read(FILE_PATH).find("last_stop 0") == std::string::npos;
        journal.add("end " + name + (recorded ? " after the record" : ""));
        return 0;
    }
    int startInventory() override { return 0; }
    int getInventoryJsonObject(std::vector<Json::Value> &) override { return 0; }
    bool isRunning() override { return true; }
    bool isInventoryReady(int) override { return true; }

private:
    const std::string name;
    Journal &journal;
    TemporaryRoot &root;
    std::mutex mutex;
    std::condition_variable cond;
    bool stopped = false; // guarded by mutex
};

class JobThreads : public ::testing::Test {
protected:
    JobThreads() {
        root.makeDirectory("/var/tmp");
        FCClassObj = &fc;
        HostClassObj = &host;
        SASClassObj = &storage;
        NICClassObj = &nic;
    }
    void configure(const std::string &more) { log = std::make_unique<LogFile>(root, more); }
    int start() { return orbJobManager::getInstance().startResourceManagers(); }
    void stop() { orbJobManager::getInstance().stopResourceManagers(); }
    std::vector<std::int32_t> results() {
        return {std::begin(orbJobManager::retval), std::end(orbJobManager::retval)};
    }
    /// Texts of the main log, in order.
    Texts mainLog() {
        Texts texts;
        for (const LogFile::Line &line : log->lines())
            if (line.level != "DEBUG") texts.push_back(line.text);
        return texts;
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    FakeIdentity identity;
    FakeProcess process;
    Journal journal;
    RecordingManager fc{"fc", journal, root}, host{"host", journal, root},
        storage{"storage", journal, root}, nic{"nic", journal, root};
    std::unique_ptr<LogFile> log;
};
} // namespace

TEST_F(JobThreads, AllEnabledRunAndStopInOrder) {
    configure(R"("EnableResources": ["All"])");
    EXPECT_EQ(start(), 1);
    EXPECT_EQ(results(), (std::vector<std::int32_t>{0, 0, 0, 0, -1, -1, -1}));
    EXPECT_EQ(process.created(), 4);
    clock.advance(60);
    stop();

    EXPECT_EQ(journal.beginningWith("stop"),
              (Texts{"stop host", "stop storage", "stop nic", "stop fc"}));
    EXPECT_EQ(process.joined(), (Texts{"HostOSInfo", "StorageControllers", "EthernetDevices",
                                       "FibreChannelDevices"}));
    for (const char *name : {"fc", "host", "storage", "nic"}) {
        EXPECT_TRUE(journal.has(std::string("init ") + name));
        EXPECT_TRUE(journal.has(std::string("end ") + name)) << "the record comes after the joins";
    }
    for (const char *name :
         {"FibreChannelDevices", "HostOSInfo", "StorageControllers", "EthernetDevices"})
        EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, std::string("Creating thread for ") + name);
    EXPECT_EQ(mainLog(), (Texts{"Successful in creating a file", "stopping all the RM",
                                "ORB Exiting Gracefully!"}));
    EXPECT_LOGGED(*log, "INFO", JOB_MGR, "stopping all the RM");
    EXPECT_LOGGED(*log, "INFO", JOB_MGR, "ORB Exiting Gracefully!");
    EXPECT_EQ(root.read(FILE_PATH), "last_start " + std::to_string(VirtualClock::START) +
                                        "\nlast_stop " + std::to_string(VirtualClock::START + 60) +
                                        "\ncurrent_start 0\n");
}

namespace {
/// A process that notes at each join what the run-state file and the log say by then. Any thread.
class WatchingProcess final : public IorbHostProcess {
public:
    WatchingProcess(TemporaryRoot &hostRoot, LogFile &daemonLog)
        : root(hostRoot), log(daemonLog), outer(replace(this)) {}
    ~WatchingProcess() override { replace(outer); }
    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override {
        return outer->createThread(out, entry, arg);
    }
    int joinThread(pthread_t thread, const char *name) override {
        const int rc = outer->joinThread(thread, name);
        const std::lock_guard<std::mutex> lock(mutex);
        records.push_back(root.read(FILE_PATH));
        farewells += log.count("INFO", JOB_MGR, "ORB Exiting Gracefully!");
        return rc;
    }
    void writeStandardOutput(std::string_view text) override { outer->writeStandardOutput(text); }
    [[noreturn]] void exitNow(int status) override { throw ProcessExit{status}; }
    void raiseDefault(int signal) override { outer->raiseDefault(signal); }

    // Guarded by the mutex; the test's once the threads are joined.
    Texts records;
    int farewells = 0;

private:
    std::mutex mutex;
    TemporaryRoot &root;
    LogFile &log;
    IorbHostProcess *outer;
};
} // namespace

TEST_F(JobThreads, RecordAndFarewellComeAfterTheLastJoin) {
    configure(R"("EnableResources": ["All"])");
    EXPECT_EQ(start(), 1);
    WatchingProcess watching(root, *log);
    const std::string atStart = root.read(FILE_PATH);
    stop();
    EXPECT_EQ(watching.records, Texts(4, atStart));
    EXPECT_EQ(watching.farewells, 0);
    EXPECT_EQ(log->count("INFO", JOB_MGR, "ORB Exiting Gracefully!"), 1);
    EXPECT_NE(root.read(FILE_PATH), atStart);
}

TEST_F(JobThreads, StartWritesTheRecordFirst) {
    configure(R"("EnableResources": ["All"])");
    process.failCreation(0, EAGAIN);
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(root.read(FILE_PATH), "current_start " + std::to_string(VirtualClock::START) +
                                        "\nlast_start 0\nlast_stop 0\n");
}

TEST_F(JobThreads, OnlyTheHostEnabledStillCreatesFourThreads) {
    configure(R"("EnableResources": ["HostOSInfo"])");
    EXPECT_EQ(start(), 1);
    EXPECT_EQ(process.created(), 4);
    stop();
    EXPECT_EQ(journal.beginningWith("init"), Texts{"init host"});
    EXPECT_EQ(journal.beginningWith("stop"), Texts{"stop host"}) << "no disabled manager is asked";
    EXPECT_EQ(journal.beginningWith("end"), Texts{"end host"});
    EXPECT_EQ(process.joined(), (Texts{"HostOSInfo", "StorageControllers", "EthernetDevices",
                                       "FibreChannelDevices"}));
    EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, "Resource manager FibreChannelDevices [0] is disabled.");
    EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, "Creating thread for HostOSInfo");
    EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, "Resource manager StorageControllers [2] is disabled.");
    EXPECT_LOGGED(*log, "DEBUG", JOB_MGR, "Resource manager EthernetDevices [3] is disabled.");
}

namespace {
struct FailureCase {
    const char *name;
    int creation; ///< that fails; all before it succeed
    std::vector<std::int32_t> results;
    Texts stops, joins;
};
const FailureCase FAILURE_CASES[] = {
    {"FibreChannel", 0, {EAGAIN, -1, -1, -1, -1, -1, -1}, {}, {}},
    {"Host", 1, {0, EAGAIN, -1, -1, -1, -1, -1}, {"stop fc"}, {"FibreChannelDevices"}},
    {"Storage",
     2,
     {0, 0, EAGAIN, -1, -1, -1, -1},
     {"stop host", "stop fc"},
     {"HostOSInfo", "FibreChannelDevices"}},
    {"Ethernet",
     3,
     {0, 0, 0, EAGAIN, -1, -1, -1},
     {"stop host", "stop storage", "stop fc"},
     {"HostOSInfo", "StorageControllers", "FibreChannelDevices"}},
};
void PrintTo(const FailureCase &row, std::ostream *os) {
    *os << row.name;
}
class CreationFailure : public JobThreads, public ::testing::WithParamInterface<FailureCase> {};
} // namespace

TEST_P(CreationFailure, EndsTheStartAndLeavesTheOthersRunning) {
    const FailureCase &row = GetParam();
    configure(R"("EnableResources": ["All"])");
    process.failCreation(row.creation, EAGAIN);
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(results(), row.results);
    EXPECT_EQ(process.created(), row.creation);
    EXPECT_EQ(log->count("ERROR", JOB_MGR, "Error:unable to create thread"), 1);
    EXPECT_TRUE(journal.beginningWith("end").empty()) << "those created keep running";
    stop();
    EXPECT_EQ(journal.beginningWith("stop"), row.stops) << "only they are asked to stop";
    EXPECT_EQ(process.joined(), row.joins);
}
INSTANTIATE_TEST_SUITE_P(Threads, CreationFailure, ::testing::ValuesIn(FAILURE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(JobThreads, ResultsAreThoseOfTheLastStart) {
    configure(R"("EnableResources": ["HostOSInfo"])");
    EXPECT_EQ(start(), 1);
    stop();
    process.failCreation(0, EAGAIN);
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(results(), (std::vector<std::int32_t>{EAGAIN, -1, -1, -1, -1, -1, -1}));
}

// -- Fault injection at the start ---------------------------------------------------------------

namespace {
/// A process whose raised signal leaves the caller as an exception, so that nothing after it runs.
class RaisingProcess final : public IorbHostProcess {
public:
    struct Raised {
        int signal;
    };
    RaisingProcess() : outer(replace(this)) {}
    ~RaisingProcess() override { replace(outer); }
    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override {
        return outer->createThread(out, entry, arg);
    }
    int joinThread(pthread_t thread, const char *name) override {
        return outer->joinThread(thread, name);
    }
    void writeStandardOutput(std::string_view text) override { outer->writeStandardOutput(text); }
    [[noreturn]] void exitNow(int status) override { throw ProcessExit{status}; }
    void raiseDefault(int signal) override { throw Raised{signal}; }

private:
    IorbHostProcess *outer;
};
} // namespace

TEST_F(JobThreads, SimulatedSegvComesRightAfterTheFirstThread) {
    configure(R"("EnableResources": ["All"], "SimulateUnhandledException": "11")");
    {
        RaisingProcess raising;
        EXPECT_THROW(start(), RaisingProcess::Raised);
    }
    EXPECT_EQ(process.created(), 1);
    EXPECT_EQ(results(), (std::vector<std::int32_t>{0, -1, -1, -1, -1, -1, -1}));
    stop();
    EXPECT_EQ(process.joined(), Texts{"FibreChannelDevices"});
}

TEST_F(JobThreads, SimulatedExceptionComesRightAfterTheFirstThread) {
    configure(R"("EnableResources": ["All"], "SimulateUnhandledException": "6")");
    EXPECT_THROW(start(), std::invalid_argument);
    EXPECT_EQ(process.created(), 1);
    EXPECT_EQ(results(), (std::vector<std::int32_t>{0, -1, -1, -1, -1, -1, -1}));
    stop();
    EXPECT_EQ(process.joined(), Texts{"FibreChannelDevices"});
}

TEST_F(JobThreads, StopWithoutAStartJoinsNobody) {
    configure(R"("EnableResources": ["All"])");
    stop();
    EXPECT_TRUE(journal.all().empty());
    EXPECT_TRUE(process.joined().empty());
    EXPECT_LOGGED(*log, "INFO", JOB_MGR, "ORB Exiting Gracefully!");
}

TEST_F(JobThreads, SecondStopJoinsNobodyAgain) {
    configure(R"("EnableResources": ["HostOSInfo"])");
    EXPECT_EQ(start(), 1);
    stop();
    const std::size_t joins = process.joined().size();
    stop();
    EXPECT_EQ(process.joined().size(), joins);
}

namespace {
class ThrowingManager final : public orbResourceManager {
public:
    void cacheBuild() override {}
    void stopResourceManagerJob() override {}
    int init() override { throw std::runtime_error("left init"); }
    int startInventory() override { return 0; }
    int getInventoryJsonObject(std::vector<Json::Value> &) override { return 0; }
    bool isRunning() override { return true; }
    bool isInventoryReady(int) override { return true; }
};
} // namespace

using JobThreadsDeathTest = JobThreads;

TEST_F(JobThreadsDeathTest, ExceptionOutOfAManagerEndsTheProcess) {
    configure(R"("EnableResources": ["HostOSInfo"])");
    ThrowingManager throwing;
    HostClassObj = &throwing;
    EXPECT_EXIT(
        {
            start();
            stop();
        },
        ::testing::KilledBySignal(SIGABRT), "left init");
}

TEST_F(JobThreads, ControlServerStartsAndStops) {
    configure("");
    EXPECT_EQ(orbJobManager::getInstance().startORBServer(), 1);
    EXPECT_TRUE(ORBServer::thread.isStarted());
    orbJobManager::getInstance().stopORBServer();
    EXPECT_FALSE(ORBServer::thread.isStarted());
}
