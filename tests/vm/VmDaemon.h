#pragma once

#include <chrono>
#include <string>

#include <json/json.h>

#include "VmMachine.h"

/// The installed daemon in the machine: its configuration, its start as the service unit starts it,
/// its end, its log. What goes wrong is thrown as VmFailure. One thread.
class VmDaemon {
public:
    using SECONDS = std::chrono::seconds;
    static constexpr const char *CONFIG = "/etc/config/vantor/orb/orb.conf";
    static constexpr const char *LOG = "/var/log/orb/orb.log"; ///< both channels
    static constexpr const char *SYSLOG = "/var/log/messages";
    static constexpr const char *PID_FILE = "/run/orbd.pid";
    static constexpr const char *RUN_STATE = "/var/tmp/vantorORBStartup.txt";
    static constexpr SECONDS START_LIMIT{15}, STOP_LIMIT{60}, LOG_LIMIT{20};

    explicit VmDaemon(VmMachine &where) : machine(where) {}

    /// Both logs in one file, everything told, the door bell asked each second.
    static Json::Value talkative();

    void configureAsInstalled(); ///< every member back to what the installation says

    /// Starts it with a configuration: the installed one with these members replaced. Waits until
    /// it holds its pid file.
    void start(const Json::Value &members = talkative());
    bool isRunning();
    bool runsWith(const Json::Value &members); ///< it runs, and was started with these
    std::string pid();
    int stop();      ///< in order; waits. @return its exit status
    void kill();     ///< by SIGKILL; waits
    void makeSure(); ///< that it doesn't run, however it ends, and that it has no past

    std::string printed();   ///< on either output since its start
    Json::Value runState();  ///< the run-state file as an object of numbers
    std::int64_t bootTime(); ///< seconds since 1970, as the daemon reckons it

    /// How far the log is now; lines behind it are new.
    std::size_t mark(const std::string &log = LOG);
    std::string since(std::size_t mark, const std::string &log = LOG);
    /// The same for a reader: without the lines of door bell polls that bring nothing, and not more
    /// than the last hundred.
    std::string toldSince(std::size_t mark);
    bool logHolds(const std::string &text); ///< of this run, by now
    /// Waits for a text behind a mark. @return false: time is over
    bool awaitLog(const std::string &text, std::size_t mark, SECONDS limit = LOG_LIMIT,
                  const std::string &log = LOG);

    /// Waits until that many door bell polls had an answer behind a mark. @return false: time is
    /// over
    bool awaitPolls(unsigned count, std::size_t mark, SECONDS limit = LOG_LIMIT);

private:
    VmMachine &machine;
};
