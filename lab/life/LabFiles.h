#pragma once

#include <mutex>
#include <string>

#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostLibraries.h"
#include "hostaccess/orbHostSyslog.h"

/// The simulated server's files: every path lies below one root, but for those of sysfs where the
/// server is this machine. Any thread.
class LabFiles final : public IorbHostFiles {
public:
    explicit LabFiles(std::string hostRoot, bool useRealSysfs = false)
        : root(std::move(hostRoot)), realSysfs(useRealSysfs) {}
    std::string map(const std::string &hostPath) override {
        return realSysfs && hostPath.starts_with("/sys/") ? hostPath : root + hostPath;
    }

private:
    const std::string root;
    const bool realSysfs;
};

/// The system log as a file, a line per call. Any thread.
class LabSyslog final : public IorbHostSyslog {
public:
    explicit LabSyslog(std::string file) : path(std::move(file)) {}
    void write(const char *ident, int facility, int priority, const char *text) override;

private:
    const std::string path;
    std::mutex lock; // one line at a time
};

/// Vendor libraries by their base name from one folder, the location encoders from one of their
/// own; nothing of the real host is loaded. Any thread; an error text is its own thread's.
class LabLibraries final : public IorbHostLibraries {
public:
    explicit LabLibraries(const std::string &vendorFolder)
        : LabLibraries(vendorFolder, vendorFolder) {}
    LabLibraries(std::string vendorFolder, std::string encoderFolder)
        : folder(std::move(vendorFolder)), encoders(std::move(encoderFolder)) {}
    void *open(const char *name, int flags) override;
    void *symbol(void *library, const char *name) override;
    int close(void *library) override;
    char *error() override;

private:
    const std::string folder, encoders;
};
