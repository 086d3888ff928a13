#pragma once

#include <cstdint>
#include <string>

#include "world/Scenario.h"

/// The part of a simulated server's sysfs tree that is about SCSI hosts: the folders of their PCI
/// devices with ids, those of the hosts with their attributes, the entries of the classes. All
/// links are relative, so the tree reads the same from wherever it is looked at. Errors come as
/// "path: why".
class StorageTree {
public:
    /// @param hostRoot  the folder that stands for the server's "/"; it has a folder "sys"
    explicit StorageTree(std::string hostRoot) : sys(std::move(hostRoot) + "/sys") {}

    /// Makes the tree anew. @param now  seconds since the epoch, the class folder's time
    bool make(const SCENARIO_STORAGE &storage, std::int64_t now, std::string &error) const;
    /// Brings a tree that was made to another state. A reader that walks it meanwhile finds each
    /// file as it was or as it is. The class folder's time changes when a host comes or goes.
    bool change(const SCENARIO_STORAGE &storage, std::int64_t now, std::string &error) const;

private:
    const std::string sys;
};
