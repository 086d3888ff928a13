#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <json/json.h>

#include "core/orbResourceManager.h"
#include "network/PhyAdapterInventory.h"
#include "network/orbKeptLock.h"

/// Keeps the list of the host's network adapters: rebuilds it on a timer, looks at the links
/// between two rebuilds, and tells the rack management controller when an adapter is well again.
///
/// Threads: init() is the manager's thread, with all that rebuilds, polls and compares; the
///          aggregator's and control server's call the rest.
/// Locks:   mlock, held through a rebuild and while an event is delivered, readers only try it;
///          within it prevInventoryLock. rm_cmutex guards the flags of the wait and is never held
///          together with either.
///
/// After a second or later rebuild that finds no adapter mlock stays held: there is no further
/// rebuild or poll, readers get the last list, isRunning() is false. The manager's thread then
/// waits for it until the stop.
class NICResourceManager final : public orbResourceManager {
public:
    static NICResourceManager &getInstance();

    void cacheBuild() override;
    void stopResourceManagerJob() override;
    /// @return the count of adapters where there are any, else what startInventory() returns
    int init() override;
    int startInventory() override;
    int getInventoryJsonObject(std::vector<Json::Value> &objects) override;
    bool isRunning() override;
    bool isInventoryReady(int iteration) override;

    /// Whether a link differs from the stored inventory, by the host's table. Manager's thread.
    bool checkLinkState();

    /// Raises an event about a made-up adapter at a place, with "ORB-CLI" as its source.
    void generateTestEvent(int id, std::string location);

    /// State and health of an interface; empty where it is unknown, or at a stop.
    std::vector<std::string> getHealthOfIntf(const char *name);
    /// Changes an interface's words in the inventory and its JSON; nothing where it is unknown.
    void updateStateAndHealth(const char *name, std::string state, std::string health);

    // -- Pure -----------------------------------------------------------------------------------
    /// Seconds between two rebuilds for a configured interval: itself, 30 where it is below 1.
    static std::int64_t refreshSeconds(std::int64_t configured);
    /// An adapter's object without its "Status".
    static Json::Value populateInventory(const PhyAdapterInventory &inventory);
    /// What an event tells about an adapter; null for a record without a device name.
    static Json::Value getVariableData(const PhyAdapterInventory &inventory, int eventId);
    static std::string getDescription(int eventId); ///< "" for an event that explains itself

private:
    using ROWS = std::vector<std::vector<std::string>>;

    void backupInventory();
    int getInventory();
    int getInterfaceDetails(ROWS &rows);
    void createJsonStringUsingJsonCpp();
    void compareStatusAndGenerateEvent();
    void compareLocked(const PhyAdapterInventory &current);
    bool pollLinks();
    void generateEvent(int id, std::string location, bool isServiceEvent,
                       const std::string &interfaceName, const PhyAdapterInventory &inventory);

    static orbKeptLock mlock;
    static std::mutex prevInventoryLock;
    static std::mutex rm_cmutex;
    static std::condition_variable rm_cond; // with rm_cmutex

    static std::vector<PhyAdapterInventory> _NICInfo;     // guarded by mlock
    static std::vector<PhyAdapterInventory> _prevNICInfo; // guarded by prevInventoryLock
    static std::atomic<std::size_t> adapterCount;         // of _NICInfo; any thread reads
    static std::atomic<bool> _cacheBuildInProgress;       // the manager's thread writes
    static std::atomic<std::int64_t> lastRefreshTime;     // s since the epoch; its thread
    static std::atomic<bool> refreshCache;                // a rebuild is due; its thread
    static std::atomic<bool> checkNICState;               // a link poll is due; its thread
    static std::atomic<bool> stopNIC;                     // set once, under rm_cmutex

    std::vector<Json::Value> currentJson;     // guarded by mlock
    std::atomic<std::size_t> currentCount{0}; // of currentJson; any thread reads
    std::vector<Json::Value> previousJson;    // guarded by prevInventoryLock
};
