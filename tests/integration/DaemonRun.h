#pragma once

#include <sys/types.h>

#include <atomic>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeIdentity.h"
#include "fakes/FakeRmc.h"
#include "fakes/FastClock.h"
#include "fakes/TemporaryRoot.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostProcess.h"
#include "hostaccess/orbHostSyslog.h"

/// The host's commands as this host would answer them: `localcli` and `esxtop`, nothing else. Each
/// line is noted in the daemon's log and in "/calls". Any thread.
class HostCommands final : public IorbHostCommands {
public:
    explicit HostCommands(TemporaryRoot &hostRoot) : root(hostRoot), outer(replace(this)) {}
    ~HostCommands() override { replace(outer); }

    /// Called before esxtop answers, on the thread that asks; set before the start.
    std::function<void()> onEsxtop;

    ORB_COMMAND_RESULT system(const std::string &line) override;
    std::FILE *popen(const std::string &line, int *err) override;
    int pclose(std::FILE *stream) override;

private:
    void note(const std::string &line);

    TemporaryRoot &root;
    IorbHostCommands *outer;
};

/// Threads by name in the daemon's log as they are made and joined; creation can fail. Any thread.
class NotedProcess final : public IorbHostProcess {
public:
    NotedProcess() : inner(replace(this)) {}
    ~NotedProcess() override { replace(inner); }

    // Set before the start.
    int failFrom = -1; ///< creations from this one on fail; 0 is the first
    /// Called behind each join, on the thread that joined.
    std::function<void(std::string_view name)> onJoined;

    int createThread(pthread_t *out, void *(*entry)(void *), void *arg) override;
    int joinThread(pthread_t thread, const char *name) override;
    void writeStandardOutput(std::string_view text) override { inner->writeStandardOutput(text); }
    [[noreturn]] void exitNow(int status) override;
    void raiseDefault(int signal) override { inner->raiseDefault(signal); }

private:
    std::atomic<int> creations{0};
    IorbHostProcess *inner;
};

/// The system log as a file "/syslog" of the root, and as signs to whoever waits. Any thread.
class FileSyslog final : public IorbHostSyslog {
public:
    explicit FileSyslog(TemporaryRoot &hostRoot) : root(hostRoot), outer(replace(this)) {}
    ~FileSyslog() override { replace(outer); }

    std::function<void()> onWrite; ///< behind each line, on its thread; set before the start

    void write(const char *ident, int facility, int priority, const char *text) override;

private:
    TemporaryRoot &root;
    IorbHostSyslog *outer;
};

/// A sign from the daemon's process to the test's. Any thread of it may give one.
class Sign {
public:
    Sign();
    ~Sign();
    void give() const;
    bool await() const; ///< false after 20 real seconds

private:
    int ends[2];
};

/// A host below a private root, on which the daemon is started as a child process. The log is one
/// file for both channels, so that the order of all lines can be seen.
class DaemonRun {
public:
    static constexpr const char *LOG = "/var/log/orb/orb.log";
    static constexpr const char *CONFIG = "/etc/config/vantor/orb/orb.conf";
    static constexpr const char *PID_FILE = "/run/orbd.pid";
    static constexpr const char *RUN_STATE = "/var/tmp/vantorORBStartup.txt";
    static constexpr const char *PCI_LIST = "/opt/vantor/orb/data/orb_hwlist.txt";

    explicit DaemonRun(FakeRmc::Responder answers = {});
    ~DaemonRun();

    void configure(const std::string &more); ///< further members, `"Key": "value", ...`
    /// Starts orb_main() with these arguments behind "orbd". What it prints goes to "/stdout" and
    /// "/stderr".
    pid_t start(const std::vector<std::string> &arguments);
    bool awaitState(const std::string &state); ///< the next notification is this one
    bool hasState() const;                     ///< a notification has come
    /// Waits for the end. @return the exit status, or minus the signal
    static int end(pid_t process);
    int run(const std::vector<std::string> &arguments) { return end(start(arguments)); }

    std::string log() const { return root.read(LOG); }
    bool logHolds(const std::string &text) const { return log().find(text) != std::string::npos; }
    std::string errors() const { return root.read("/stderr"); }
    std::string output() const { return root.read("/stdout"); }

    TemporaryRoot root;
    FakeIdentity identity;
    FastClock clock{1000};
    FakeRmc rmc;
    HostCommands commands{root};
    NotedProcess process;
    FileSyslog syslog{root};
    std::function<void()> afterwards; ///< runs in the child behind orb_main()

private:
    [[noreturn]] void live(const std::vector<std::string> &arguments) noexcept;

    int notifications = -1; // socket
};

/// Positions of texts in another text: all there, in this order.
::testing::AssertionResult holds_in_order(const std::string &text,
                                          const std::vector<std::string> &parts);
