#pragma once

#include <map>
#include <mutex>
#include <string>

#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostSyslog.h"

/// A private folder in which the daemon's data files, log files and log links lie while the object
/// exists; everything else is where it is for the daemon. The system log is silent.
class orbPrivateHost final : public IorbHostFiles {
public:
    orbPrivateHost();
    ~orbPrivateHost() override;
    orbPrivateHost(const orbPrivateHost &) = delete;
    orbPrivateHost &operator=(const orbPrivateHost &) = delete;

    /// Makes the folder, with a copy of what the host commands need from the data folder.
    /// @param fault  takes the reason of a failure
    bool make(std::string &fault);
    /// Also keeps this log file in the folder. Call before other threads run.
    void keepLog(const std::string &hostPath, const std::string &name);
    /// Removes the folder and what is in it; any thread. Later files can't be made in it.
    void remove();

    std::string map(const std::string &hostPath) override;
    const std::string &path() const { return folder; }

private:
    class Silence final : public IorbHostSyslog {
    public:
        Silence() : inner(replace(this)) {}
        ~Silence() override { replace(inner); }
        void write(const char *, int, int, const char *) override {}

    private:
        IorbHostSyslog *inner;
    };

    IorbHostFiles *inner;
    Silence silence;
    std::mutex mutex; // one removal at a time
    std::string folder;
    std::map<std::string, std::string> moved; // host path, and its place; set before threads run
};
