#pragma once

#include <atomic>
#include <vector>

#include <json/json.h>

/// What the daemon asks of a resource manager. Each of the four is a singleton whose init() runs on
/// a thread of its own; the aggregator's, control server's and door bell's threads call the rest.
///
/// The constructors and destructors touch instance members only: the singletons are made before
/// `main`, and further, short-lived objects are made on a running daemon.
class orbResourceManager {
public:
    virtual ~orbResourceManager() = default;

    /// Rebuilds the inventory under the manager's cache mutex, keeps the former JSON for readers,
    /// sets `cacheReady` and passes a pending push on to the aggregator.
    virtual void cacheBuild() = 0;
    /// Asks the manager's thread to end; does not wait for it.
    virtual void stopResourceManagerJob() = 0;
    /// The manager's thread: one-time work, then startInventory(). Returns at once where the
    /// inventory already holds entries. @return 0, or what the manager says
    virtual int init() = 0;
    /// The refresh loop, until a stop. @return 0, or what the manager says
    virtual int startInventory() = 0;
    /// Replaces `objects` by the current JSON objects. Never waits for a build.
    /// @return 0 current, 1 the objects from before the running build
    virtual int getInventoryJsonObject(std::vector<Json::Value> &objects) = 0;
    /// For a manager of several inventories. @return 0 here, with `objects` left alone
    virtual int getInventoryJsonObject2(int kind, std::vector<Json::Value> &objects);
    virtual int getTelemetryJsonObject(Json::Value &object); ///< 0, `object` left alone
    virtual int getFileServiceJsonObject(std::vector<Json::Value> &objects); ///< the same
    /// Whether no build is running and the inventory isn't empty. Looks three times with a sleep
    /// after each, so that a false answer takes 9 seconds (host, FC) or 15 (NIC, storage).
    virtual bool isRunning() = 0;
    /// Whether a first build is done. The aggregator's last look (`iteration` 8) leaves a wish for
    /// a push behind where it is not. Takes no lock.
    virtual bool isInventoryReady(int iteration) = 0;

protected:
    /// isInventoryReady() for all managers. The wish is set before the flag is read again, and
    /// cacheBuild() sets the flag before it reads the wish, so that one side always sees the other.
    bool checkInventoryReady(int iteration);

    std::atomic<bool> cacheReady{false}; // the manager's thread sets it once, any thread reads it
    std::atomic<bool> cachePushPending{false}; // any thread sets it, the manager's consumes it
};
