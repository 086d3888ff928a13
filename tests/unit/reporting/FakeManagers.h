#pragma once

#include <map>
#include <mutex>
#include <vector>

#include "core/orbFactory.h"
#include "core/orbResourceManager.h"
#include "reporting/orbJsonAggregator.h"

/// A manager with objects given by the test.
class FakeManager final : public orbResourceManager {
public:
    std::vector<Json::Value> objects;               // of getInventoryJsonObject()
    std::map<int, std::vector<Json::Value>> byKind; // of getInventoryJsonObject2()
    int rc = 0;                                     // of getInventoryJsonObject()

    void setReady() { cacheReady = true; }
    bool pushIsPending() const { return cachePushPending; }
    /// The end of a first build, as every manager does it.
    void finishBuild() {
        cacheReady = true;
        if (cachePushPending) {
            orbJsonAggregator::getInstance().sendInventory(true);
            cachePushPending = false;
        }
    }
    /// The iterations that isInventoryReady() was asked with.
    std::vector<int> asked() const {
        const std::lock_guard<std::mutex> lock(mutex);
        return iterations;
    }
    int collected() const { return collections; }

    void cacheBuild() override {}
    void stopResourceManagerJob() override {}
    int init() override { return 0; }
    int startInventory() override { return 0; }
    int getInventoryJsonObject(std::vector<Json::Value> &out) override {
        ++collections;
        out = objects;
        return rc;
    }
    int getInventoryJsonObject2(int kind, std::vector<Json::Value> &out) override {
        if (const auto found = byKind.find(kind); found != byKind.end()) out = found->second;
        return rc;
    }
    bool isRunning() override { return true; }
    bool isInventoryReady(int iteration) override {
        {
            const std::lock_guard<std::mutex> lock(mutex);
            iterations.push_back(iteration);
        }
        return checkInventoryReady(iteration);
    }

private:
    mutable std::mutex mutex;
    std::vector<int> iterations; // guarded by mutex
    std::atomic<int> collections{0};
};

/// Four such managers in the places of the daemon's own, until the process ends.
struct FakeManagers {
    FakeManager fc, host, storage, nic;

    FakeManagers() {
        FCClassObj = &fc;
        HostClassObj = &host;
        SASClassObj = &storage;
        NICClassObj = &nic;
    }
    void setReady() {
        for (FakeManager *one : {&fc, &host, &storage, &nic}) one->setReady();
    }
};

/// {"Name": name}, long enough that no document of it fits one message.
inline Json::Value unit(const std::string &name) {
    Json::Value object;
    object["Name"] = name;
    object["Note"] = std::string(60, '.');
    return object;
}
