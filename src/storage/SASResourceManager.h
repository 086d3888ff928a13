#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <json/json.h>

#include "core/orbResourceManager.h"

class IorbStorageController;
class orbDiskInfo;
class orbInventoryBase;
class orbLogicalDiskInfo;
class orbStorageControllerInfo;
class orbStorageEnclosureInfo;

/// Keeps the lists of the host's storage controllers, drives, volumes and enclosures: rebuilds them
/// on a timer or on request, and polls the controllers every ten seconds.
///
/// Threads: init() is the manager's thread, with all that rebuilds and polls; the aggregator's and
///          control server's call the rest. The static calls come from any thread, from within a
///          rebuild or a poll too.
/// Locks:   cache_lock, held through a rebuild, readers only try it; within it a factory's, then a
///          controller's, then rm_cmutex, and prevInventoryLock. rm_cmutex guards the flags of the
///          wait and is never held while another lock is taken.
///
/// All that the object shares is in statics; further, short-lived objects raise test events.
class SASResourceManager final : public orbResourceManager {
public:
    SASResourceManager();
    ~SASResourceManager() override;
    SASResourceManager(const SASResourceManager &) = delete;
    SASResourceManager &operator=(const SASResourceManager &) = delete;

    static SASResourceManager &getInstance();

    void cacheBuild() override;
    /// Asks the manager's thread to end and waits until it has shut the factories down, which a
    /// rebuild that runs delays. For good: the loop can't be started again.
    void stopResourceManagerJob() override;
    /// @return what startInventory() returns
    int init() override;
    /// @return 0: stopped, or the clock can't be read
    int startInventory() override;
    int getInventoryJsonObject(std::vector<Json::Value> &objects) override; ///< 0, left alone
    /// @param type  0 or 1 controllers, 2 drives, 3 volumes, 4 enclosures; others leave `objects`
    ///              alone
    int getInventoryJsonObject2(int type, std::vector<Json::Value> &objects) override;
    /// True with an empty inventory too; false where a controller reports no events.
    bool isRunning() override;
    bool isInventoryReady(int type) override;

    /// Has every registered factory let its controllers go, their events ended. The thread that
    /// rebuilds, when it does so no more.
    static void shutdownFactories();

    /// Has the cache rebuilt, at once or right after what the manager's thread is doing.
    static void invalidateInventoryCache();
    /// Has the next rebuild end with a push to the rack management controller. Wakes nobody.
    static void sendInventorytToRMCOnCacheBuild();
    /// Whether a registered factory claims a model for itself. Ids as device above vendor.
    static bool isControllerModelSupported(std::uint32_t chipset, std::uint32_t board);
    /// Raises an event about a record and waits until it is delivered.
    /// @param location  physical location of the unit
    static void generateEvent(int id, std::string location, bool critical,
                              orbInventoryBase &record);
    static void generateEvent(int id, bool critical, orbInventoryBase &record); ///< without a place

    /// Raises an event about a made-up unit at a place, with "ORB-CLI" as its source. An id that no
    /// unit of storage raises goes out without data.
    void generateTestEvent(int id, std::string location, bool critical);

private:
    static constexpr std::size_t KINDS = 4; // controllers, drives, volumes, enclosures
    using JSON_LISTS = std::array<std::vector<Json::Value>, KINDS>;

    bool waitForWork(std::unique_lock<std::mutex> &lock, std::int64_t refreshS, std::int64_t tickS,
                     bool &build, bool &poll);
    void backupInventory();
    int getInventory();
    void gatherController(IorbStorageController &controller);
    void gatherSteps(IorbStorageController &controller, orbStorageControllerInfo &info);
    void createJsonStringUsingJsonCpp();
    void pollDevices();
    void processResourceManagerStop();
    static void endHandshake();
    void fetchPrevInventoryOfType(int type, std::vector<Json::Value> &objects);

    static std::mutex rm_cmutex;
    static std::condition_variable rm_cond; // with rm_cmutex
    static bool stopSAS;                    // guarded by rm_cmutex; set once
    static bool refreshCache;               // guarded by rm_cmutex: a rebuild is due
    static bool sendInventoryToRMC;         // guarded by rm_cmutex: the next rebuild pushes

    static std::mutex rmstop_cmutex;
    static std::condition_variable rmstop_cond; // with rmstop_cmutex
    static bool condSignal;                     // guarded by rmstop_cmutex: the loop has ended

    static std::recursive_mutex cache_lock;
    static std::recursive_mutex prevInventoryLock;
    static std::atomic<bool> _cacheBuildInProgress;   // whoever rebuilds writes
    static std::atomic<std::int64_t> lastRefreshTime; // s since the epoch, end of the last rebuild
    static std::atomic<std::int64_t> lastPollTime;    // so of the last poll
    static std::atomic<bool> inited;                  // nobody sets it

    std::vector<orbStorageControllerInfo> controllerInventory; // guarded by cache_lock, so are
    std::vector<orbDiskInfo> physicalDrives;                   // the three that follow
    std::vector<orbLogicalDiskInfo> logicalDisks;
    std::vector<orbStorageEnclosureInfo> storageEnclosures;
    std::atomic<std::size_t> controllerCount{0}; // of controllerInventory; any thread reads
    JSON_LISTS currentJson;                      // guarded by cache_lock
    JSON_LISTS previousJson;                     // guarded by prevInventoryLock
};
