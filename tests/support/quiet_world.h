#pragma once

#include <cstdlib>
#include <string>

#include "core/Logger.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostSyslog.h"

/// A host without files, where time stands still, shell lines do nothing and the system log is
/// dropped: for fuzz targets and benchmarks of what lies above. Built-in settings are in force.
/// Make one before anything logs and keep it to the end of the process; what is derived from it may
/// answer more. Any thread: nothing in it changes.
class QuietWorld : public IorbHostFiles,
                   public IorbHostClock,
                   public IorbHostCommands,
                   public IorbHostSyslog {
public:
    QuietWorld() {
        IorbHostFiles::replace(this);
        IorbHostClock::replace(this);
        IorbHostCommands::replace(this);
        IorbHostSyslog::replace(this);
        CPlusPlusLogging::log_after_main_began();
    }
    QuietWorld(const QuietWorld &) = delete;
    QuietWorld &operator=(const QuietWorld &) = delete;

    std::string map(const std::string &hostPath) override { return "/nonexistent" + hostPath; }

    std::time_t now() override { return 1767427449; }
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override {
        *out = {now(), 0};
        return {0, 0};
    }
    bool localTime(std::time_t second, std::tm *out) override {
        return ::gmtime_r(&second, out) != nullptr;
    }
    void sleepMs(std::int64_t) override {}
    std::cv_status waitUntil(std::condition_variable &, std::unique_lock<std::mutex> &,
                             const std::timespec &) override {
        return std::cv_status::timeout;
    }

    ORB_COMMAND_RESULT system(const std::string &) override { return {0, 0}; }
    std::FILE *popen(const std::string &, int *err) override {
        *err = 2; // no such program
        return nullptr;
    }
    int pclose(std::FILE *) override { std::abort(); } // nothing was started

    void write(const char *, int, int, const char *) override {}
};
