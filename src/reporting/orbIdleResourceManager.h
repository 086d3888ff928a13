#pragma once

#include <condition_variable>
#include <mutex>

#include "core/orbResourceManager.h"

/// A manager whose machine has no unit of its kind: it is ready with an empty inventory and waits
/// for its stop. What its class statics would be, a derived class gives as one ORB_IDLE_STATE.
struct ORB_IDLE_STATE {
    std::mutex cmutex;
    std::condition_variable cond;
    bool stop = false; // guarded by cmutex
};

class orbIdleResourceManager : public orbResourceManager {
public:
    void cacheBuild() override;
    void stopResourceManagerJob() override;
    int init() override;
    int startInventory() override;
    int getInventoryJsonObject(std::vector<Json::Value> &objects) override;
    bool isRunning() override;
    bool isInventoryReady(int iteration) override;

protected:
    virtual ORB_IDLE_STATE &state() = 0;
};
