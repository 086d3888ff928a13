#include "reporting/orbIdleResourceManager.h"

#include "reporting/orbJsonAggregator.h"

void orbIdleResourceManager::cacheBuild() {
    cacheReady = true;
    if (cachePushPending) {
        orbJsonAggregator::getInstance().sendInventory(true);
        cachePushPending = false;
    }
}

void orbIdleResourceManager::stopResourceManagerJob() {
    ORB_IDLE_STATE &own = state();
    const std::lock_guard<std::mutex> lock(own.cmutex);
    own.stop = true;
    own.cond.notify_all();
}

int orbIdleResourceManager::init() {
    cacheBuild();
    return startInventory();
}

int orbIdleResourceManager::startInventory() {
    ORB_IDLE_STATE &own = state();
    std::unique_lock<std::mutex> lock(own.cmutex);
    own.cond.wait(lock, [&own] { return own.stop; });
    return 0;
}

int orbIdleResourceManager::getInventoryJsonObject(std::vector<Json::Value> &objects) {
    objects.clear();
    return 0;
}

bool orbIdleResourceManager::isRunning() {
    return cacheReady;
}

bool orbIdleResourceManager::isInventoryReady(int iteration) {
    return checkInventoryReady(iteration);
}
