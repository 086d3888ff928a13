#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <json/json.h>

#include "core/orbResourceManager.h"
#include "host/orbHostOSInfo.h"

/// Describes the host's operating system and tells once per start how its previous run ended.
///
/// Threads: init() is the manager's thread; the aggregator's and control server's call the rest.
/// Locks:   mlock, held through a build, readers only try it; within it prevInventoryLock, a leaf.
///          cmutex guards the flags of the wait and is never held during a build.
class HostResourceManager final : public orbResourceManager {
public:
    static HostResourceManager &getInstance();

    void cacheBuild() override;
    void stopResourceManagerJob() override;
    int init() override;
    int startInventory() override;
    int getInventoryJsonObject(std::vector<Json::Value> &objects) override;
    bool isRunning() override;
    bool isInventoryReady(int iteration) override;

    /// A copy of the inventory; empty while a build is running.
    std::vector<orbHostOSInfo> getHostInventory();
    /// Raises an event of the host's class for a test, with "ORB-CLI" as its source.
    void generateTestEvent(int id);
    /// A key's value in the run-state file, 0 where it is absent.
    std::int64_t readStartupValue(const std::string &key);
    /// IPv4 addresses of all interfaces but "lo".
    std::vector<std::string> getIPAddress();

private:
    void genOSBootLogic();
    void copyCurrentStartToLastStart();
    void backupInventory();
    void populateHostInfo();
    void populateCollectionInfo();
    void createJsonStringUsingJsonCpp();
    std::vector<double> getTotalPhysicalMemory(); ///< total and free in whole GiB, or empty

    static std::mutex cmutex;
    static std::condition_variable cond;
    static std::mutex mlock;
    static std::mutex prevInventoryLock;
    static std::atomic<bool> stopHost;                // set under cmutex, never cleared
    static std::atomic<bool> refreshCache;            // a build is due
    static std::atomic<bool> _cacheBuildInProgress;   // set and cleared under mlock
    static std::atomic<std::int64_t> lastRefreshTime; // seconds; the manager's thread writes
    static std::atomic<bool> getTotalPhysicalMemoryFailureLogged;

    std::vector<orbHostOSInfo> hostInventory;       // guarded by mlock
    std::atomic<std::size_t> hostInventoryCount{0}; // its size, for readers without the lock
    std::vector<Json::Value> currentJson;           // guarded by mlock
    std::vector<Json::Value> previousJson;          // guarded by prevInventoryLock
    Json::Value root;                               // the manager's thread, in a build
    orbCollectionInfo collectionInfo;               // guarded by mlock
};
