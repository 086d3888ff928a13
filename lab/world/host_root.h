#pragma once

#include <string>

#include "world/Scenario.h"
#include "world/nic_facts.h"

/// The simulated server's files below OUTPUT/root. Errors come as "path: why".
class HostRoot {
public:
    /// @param labSpeed  how many seconds of the lab's time a real one has
    explicit HostRoot(std::string folder, double labSpeed = 1)
        : root(std::move(folder)), speed(labSpeed) {}
    const std::string &path() const { return root; }
    std::string factsFolder() const { return root + "/lab/host"; }
    std::string vendorWorld() const { return factsFolder() + "/vendor.json"; }

    /// Makes the folders, anew unless `keep`. A folder that the lab did not make is never removed.
    bool prepare(bool keep, std::string &error) const;
    /// Writes machine, configuration and what the host commands print.
    bool writeHost(const SCENARIO &scenario, bool keep, std::string &error) const;
    bool writeFacts(const SCENARIO &scenario, std::string &error) const; ///< commands' texts alone
    bool writeIdentity(const SCENARIO_HOST &host, std::int64_t bootTime, bool real,
                       std::string &error) const;
    /// The stamps that an earlier run of the daemon left. @param now  seconds since the epoch
    bool writeRunState(const SCENARIO &scenario, std::int64_t now, std::string &error) const;
    bool setIpmiDevice(bool there, std::string &error) const;
    void forgetVolatileFiles() const; ///< what a boot clears: pipes, pid files, /tmp

private:
    bool writeAnswer(const std::string &name, const COMMAND_ANSWER &answer,
                     std::string &error) const;
    bool clear(std::string &error) const; ///< removes all but the lab's mark
    /// Replaces a file as one step, so that a reader sees the old text or the new one.
    bool write(const std::string &hostPath, const std::string &text, std::string &error) const;
    const std::string root;
    const double speed;
};
