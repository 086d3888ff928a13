#include <cerrno>
#include <cstdlib>

#include <gtest/gtest.h>

#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostDevices.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostIdentity.h"
#include "hostaccess/orbHostLibraries.h"
#include "hostaccess/orbHostProcess.h"
#include "hostaccess/orbHostSyslog.h"

namespace {
// Which doors were used. Constant-initialised, like all here, so that it counts from the start.
constinit int calls = 0;
constinit const char *firstDoor = "";

void used(const char *door) {
    if (calls++ == 0) firstDoor = door;
}

struct CountedFiles final : IorbHostFiles {
    std::string map(const std::string &) override {
        used("files");
        return "/nonexistent";
    }
};
struct CountedDevices final : IorbHostDevices {
    static ORB_SYSCALL_RESULT refuse() {
        used("devices");
        return {-1, ENODEV};
    }
    ORB_SYSCALL_RESULT open(const char *, int) override { return refuse(); }
    ORB_SYSCALL_RESULT datagramSocket() override { return refuse(); }
    ORB_SYSCALL_RESULT close(int) override { return refuse(); }
    ORB_SYSCALL_RESULT ioctl(int, unsigned long, void *) override { return refuse(); }
    ORB_SYSCALL_RESULT waitReadable(int) override { return refuse(); }
};
struct CountedCommands final : IorbHostCommands {
    ORB_COMMAND_RESULT system(const std::string &) override {
        used("commands");
        return {-1, EAGAIN};
    }
    std::FILE *popen(const std::string &, int *err) override {
        used("commands");
        *err = EAGAIN;
        return nullptr;
    }
    int pclose(std::FILE *) override { return -1; } // nothing was started
};
struct CountedLibraries final : IorbHostLibraries {
    void *open(const char *, int) override {
        used("libraries");
        return nullptr;
    }
    void *symbol(void *, const char *) override { return nullptr; } // nothing was opened
    int close(void *) override { return -1; }
    char *error() override { return nullptr; }
};
struct CountedClock final : IorbHostClock {
    std::time_t now() override {
        used("clock");
        return 0;
    }
    ORB_SYSCALL_RESULT realTime(std::timespec *) override {
        used("clock");
        return {-1, EINVAL};
    }
    bool localTime(std::time_t, std::tm *) override {
        used("clock");
        return false;
    }
    void sleepMs(std::int64_t) override { used("clock"); }
    std::cv_status waitUntil(std::condition_variable &, std::unique_lock<std::mutex> &,
                             const std::timespec &) override {
        used("clock");
        return std::cv_status::timeout;
    }
};
struct CountedIdentity final : IorbHostIdentity {
    static ORB_SYSCALL_RESULT refuse() {
        used("identity");
        return {-1, EFAULT};
    }
    ORB_SYSCALL_RESULT uname(utsname *) override { return refuse(); }
    ORB_SYSCALL_RESULT sysinfo(struct sysinfo *) override { return refuse(); }
    ORB_SYSCALL_RESULT getifaddrs(ifaddrs **) override { return refuse(); }
    void freeifaddrs(ifaddrs *) override {} // nothing was handed out
};
struct CountedSyslog final : IorbHostSyslog {
    void write(const char *, int, int, const char *) override { used("syslog"); }
};
struct CountedProcess final : IorbHostProcess {
    int createThread(pthread_t *, void *(*)(void *), void *) override {
        used("process");
        return EAGAIN;
    }
    int joinThread(pthread_t, const char *) override { return ESRCH; } // nothing was started
    void writeStandardOutput(std::string_view) override { used("process"); }
    [[noreturn]] void exitNow(int) override { std::abort(); }
    void raiseDefault(int) override { used("process"); }
};

constinit orbImmortal<CountedFiles> files;
constinit orbImmortal<CountedDevices> devices;
constinit orbImmortal<CountedCommands> commands;
constinit orbImmortal<CountedLibraries> libraries;
constinit orbImmortal<CountedClock> clocks;
constinit orbImmortal<CountedIdentity> identity;
constinit orbImmortal<CountedSyslog> syslogs;
constinit orbImmortal<CountedProcess> process;

/// Runs before the static objects of all sources are made: 101 is the earliest that isn't reserved.
__attribute__((constructor(101))) void watch_the_doors() {
    IorbHostFiles::replace(&files.value);
    IorbHostDevices::replace(&devices.value);
    IorbHostCommands::replace(&commands.value);
    IorbHostLibraries::replace(&libraries.value);
    IorbHostClock::replace(&clocks.value);
    IorbHostIdentity::replace(&identity.value);
    IorbHostSyslog::replace(&syslogs.value);
    IorbHostProcess::replace(&process.value);
}

/// The doors' state as `main` finds it; then the host's own are in force again.
struct BEFORE_MAIN {
    int calls;
    const char *firstDoor;
    bool wereWatched;
};
BEFORE_MAIN end_of_watch() {
    const bool wereWatched = IorbHostFiles::replace(nullptr) == &files.value &&
                             IorbHostDevices::replace(nullptr) == &devices.value &&
                             IorbHostCommands::replace(nullptr) == &commands.value &&
                             IorbHostLibraries::replace(nullptr) == &libraries.value &&
                             IorbHostClock::replace(nullptr) == &clocks.value &&
                             IorbHostIdentity::replace(nullptr) == &identity.value &&
                             IorbHostSyslog::replace(nullptr) == &syslogs.value &&
                             IorbHostProcess::replace(nullptr) == &process.value;
    return {calls, firstDoor, wereWatched};
}

/// Each case of the program begins with the host's own doors, as without the watch.
class EndOfWatch final : public ::testing::Environment {
public:
    void SetUp() override { found = end_of_watch(); }
    static BEFORE_MAIN found;
};
BEFORE_MAIN EndOfWatch::found{};
[[maybe_unused]] const ::testing::Environment *const environment =
    ::testing::AddGlobalTestEnvironment(new EndOfWatch());
} // namespace

TEST(BeforeMain, NothingLogsReadsOrLeavesTheProcess) {
    EXPECT_TRUE(EndOfWatch::found.wereWatched);
    EXPECT_EQ(EndOfWatch::found.calls, 0)
        << "first through the door of " << EndOfWatch::found.firstDoor;
}
