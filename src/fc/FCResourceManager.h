#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <json/json.h>

#include "core/orbResourceManager.h"
#include "core/status_words.h"
#include "fc/orbFCDeviceInfo.h"
#include "reporting/orbEvent.h"

/// Keeps the list of the host's Fibre Channel adapters, as the vendors' libraries tell of them:
/// rebuilds it on a timer, looks at the ports between two rebuilds, and tells the rack management
/// controller of changes of health.
///
/// Threads: init() is the manager's thread, with all that rebuilds, polls and compares, and the
///          only one that calls vendors' libraries; the aggregator's and control server's call the
///          rest.
/// Locks:   mlock, held through a rebuild, its calls to libraries and the delivery of its events;
///          readers only try it. prevInventoryLock guards the previous copy, cmutex the flags of
///          the wait; neither is held together with another one.
///
/// No previous copy is kept: who reads during a rebuild gets an empty list.
class FCResourceManager final : public orbResourceManager {
public:
    static FCResourceManager &getInstance();

    void cacheBuild() override;
    void stopResourceManagerJob() override;
    /// @return the count of adapters where there are any, else what startInventory() returns
    int init() override;
    int startInventory() override;
    int getInventoryJsonObject(std::vector<Json::Value> &objects) override;
    /// As the contract says; true at once where the last count found no adapter.
    bool isRunning() override;
    bool isInventoryReady(int iteration) override;

    /// A copy of the list; empty during a rebuild. Any thread.
    std::vector<orbFCDeviceInfo> getFCInventory();
    /// Makes the current objects the previous ones. Manager's thread; no rebuild calls it.
    void backupInventory();

    /// Raises an event about a made-up adapter at a place, with "ORB-CLI" as its source. Any
    /// thread, also on an object of its own.
    void generateTestEvent(int id, std::string location);

    // -- Steps of a rebuild and a poll: manager's thread ----------------------------------------
    bool loadLibrary();       ///< reads the list of libraries and loads them; false without a list
    void discoverInstances(); ///< counts the adapters
    /// Opens the adapter of `info.adapterIndex`; its name and handle go into `info`.
    /// @return 0, or 1 where it has no name or can't be opened
    int openAdapter(orbFCDeviceInfo &info);
    void closeAdapter(unsigned int handle); ///< one of openAdapter()
    /// Fills `info` by an open adapter, its place and its maker. The last port that can be read
    /// decides state and port name. @return 0, or 1 with `info` unchanged
    int getFcHbaData(orbFCDeviceInfo &info);
    /// Whether a port's state differs from that of the adapter read last in the last rebuild.
    /// Opens adapters and closes none. The argument has no meaning.
    bool waitOnPortState(int);
    /// What a record means beside the list from before the rebuild.
    /// @return the former state's word and the event that is due, or "" and 0
    std::pair<std::string, int> compareStatus(std::string wwnn, ORB_RESOURCE_HEALTH health,
                                              ORB_RESOURCE_STATE state) const;

    // -- Plain answers: any thread --------------------------------------------------------------
    /// Location and description of a PCI device, "0000:24:00.0"; UNKNOWN_LOCATION and "" for an
    /// address that is empty or "NotAvailable".
    static std::pair<std::string, std::string> getOemValues(std::string busInfo);
    /// Seconds between two rebuilds for a configured interval: itself, 30 where it is below 1.
    static std::int64_t refreshSeconds(std::int64_t configured);
    /// The state for an HBA_PORTSTATE; unknown for a number that is none.
    static ORB_RESOURCE_STATE getState(int portState);
    /// The health in a state; unknown for a state that no port has.
    static ORB_RESOURCE_HEALTH getHealth(ORB_RESOURCE_STATE state);
    /// Part number by the first row whose token the model holds; "" where none fits.
    static void getFcaHostCntlrPartNumber(const std::string &model, std::string &partNumber);
    /// An adapter's object without its "Status".
    static Json::Value jsonInventory(const orbFCDeviceInfo &info);
    /// What an event tells about an adapter.
    static Json::Value getVariableData(const orbFCDeviceInfo &info, int id);
    static std::string getDescription(int id); ///< "" for an event that explains itself
    static bool isServiceEvent(int id);        ///< whether somebody has to come and see
    /// The event that a rebuild raises about an adapter.
    static orbEvent eventOf(int id, const orbFCDeviceInfo &info);

private:
    bool rebuild();
    void addAdapter(int index);
    void createJsonStringUsingJsonCpp();
    bool waitForWork(std::int64_t interval);

    static std::mutex mlock;
    static std::mutex prevInventoryLock;
    static std::mutex cmutex;
    static std::condition_variable cond; // with cmutex

    static std::atomic<int> NumAdapters, NumFcaEntries; // last count; the manager's thread writes
    static std::atomic<bool> _cacheBuildInProgress;     // the manager's thread writes
    static std::atomic<std::int64_t> lastRefreshTime;   // s since the epoch; its thread
    static std::atomic<bool> refreshCache;              // a rebuild is due; its thread
    static std::atomic<bool> checkPortState;            // a poll is due; its thread
    static std::atomic<bool> stopFC;                    // set once, under cmutex

    std::vector<orbFCDeviceInfo> fcList;      // guarded by mlock; the manager's thread writes
    std::atomic<std::size_t> fcCount{0};      // of fcList; any thread reads
    std::vector<orbFCDeviceInfo> prevFcList;  // its thread: the last list that wasn't empty
    std::vector<Json::Value> currentJson;     // guarded by mlock
    std::atomic<std::size_t> currentCount{0}; // of currentJson; any thread reads
    std::vector<Json::Value> previousJson;    // guarded by prevInventoryLock
    /// Of the adapter read last in the last rebuild; its thread.
    std::optional<ORB_RESOURCE_STATE> lastPortState;
};
