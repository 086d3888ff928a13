#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

#include <json/json.h>

#include "core/orbThread.h"

/// Joins the inventories of all enabled managers into one document and sends it to the rack
/// management controller: first when every manager is ready or nine looks are over, then at an
/// interval and on request.
///
/// Threads: startInventoryPushThread() is the aggregator's thread, with an object of its own; the
///          entry program's thread starts and stops; any thread calls sendInventory(true).
/// Locks:   cmutex, never held while a document is collected or delivered.
class orbJsonAggregator {
public:
    orbJsonAggregator();

    static orbJsonAggregator &getInstance();

    /// @param request  false creates the thread (the entry program's one call); true asks for a
    /// send
    void sendInventory(bool request);
    void stoporbJsonAggregator(); ///< asks the thread to end and joins it
    bool isInventorySent();       ///< whether the first send was tried; opens the gate for events
    bool checkIfInventoryReady(); ///< the readiness loop; `cmutex` held. False ends the thread
    bool aggrThreadSleep(long seconds); ///< `cmutex` held. False where the clock can't be read
    void createInventoryJsonString();   ///< collect and send
    void collectDocument();             ///< the sections of all enabled managers, into document()
    const Json::Value &document() const { return sections; }
    void sendJsonString();      ///< serialise and deliver
    void initializeCachePush(); ///< the thread's main loop

private:
    static orbThread thread; // the entry program's thread alone
    static std::mutex cmutex;
    static std::condition_variable cond;
    static std::mutex mlock;        // reserved
    static bool pushInventory;      // guarded by cmutex: a send is wanted
    static std::uint64_t wakeCount; // guarded by cmutex: counts signals, so that none is imagined
    static std::atomic<bool> stopAggr;                   // stop request
    static std::atomic<bool> firstInventoryPushComplete; // the aggregator's thread sets it once
    static const std::map<int, std::string> orb_RM_to_string; // section key by resource id

    Json::Value sections; // the document under construction
    Json::Value spare;
    Json::Value envelope; // {"HostDataCollection": sections}
};

/// Thread entry. @return null
void *startInventoryPushThread(void *unused);
