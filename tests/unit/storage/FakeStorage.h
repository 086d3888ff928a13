#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "storage/IorbStorageControllerFactory.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbRegistryManager.h"
#include "storage/orbStorageControllerInfo.h"
#include "storage/orbStorageEnclosureInfo.h"

/// What is called, in the order of the calls. Any thread.
class CallList {
public:
    void add(const std::string &call) {
        const std::lock_guard<std::mutex> lock(mutex);
        calls.push_back(call);
    }
    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(calls, {});
    }

private:
    std::mutex mutex;
    std::vector<std::string> calls; // guarded by mutex
};

/// A controller with the inventory that a test gives it. What a test sets in it is set before the
/// manager's thread runs; what counts is atomic.
class FakeStorageController final : public IorbStorageController {
public:
    FakeStorageController(std::string calledName, CallList &list)
        : name(std::move(calledName)), calls(list) {
        info.setModel("Model of " + name);
        info.setSerialNumber("SN-" + name);
        info.setDescription("PCI 0000:24:00.0 " + name);
        ++alive;
    }
    ~FakeStorageController() override { --alive; }

    static inline std::atomic<int> alive{0}; ///< objects that exist

    orbStorageControllerInfo info;
    std::vector<orbDiskInfo> drives;
    std::vector<orbLogicalDiskInfo> volumes;
    std::vector<orbStorageEnclosureInfo> enclosures;
    int inventoryResult = 0, drivesResult = 0, volumesResult = 0, enclosuresResult = 0;
    std::function<void()> onDiscover, onPoll; ///< done first, on the thread that calls
    std::atomic<bool> eventsEnabled{true};

    int discoverInventory(orbStorageControllerInfo &out) override {
        calls.add(name + " inventory");
        if (onDiscover) onDiscover();
        out = info;
        return inventoryResult;
    }
    int discoverPhysicalDiskInventory(std::vector<orbDiskInfo> &out) override {
        return give("drives", drives, out, drivesResult);
    }
    int discoverLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &out) override {
        return give("volumes", volumes, out, volumesResult);
    }
    int discoverStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &out) override {
        return give("enclosures", enclosures, out, enclosuresResult);
    }
    bool isMatchingController(unsigned, unsigned, char *, char *) override { return false; }
    bool enableEvents() override {
        calls.add(name + " enableEvents");
        return true;
    }
    bool isEventsEnabled() override {
        calls.add(name + " isEventsEnabled");
        return eventsEnabled;
    }
    bool disableEvents() override { return true; }
    void poll() override {
        calls.add(name + " poll");
        if (onPoll) onPoll();
    }
    void processDeviceRemoval() override {}
    void processDeviceAddition(IorbStorageController *) override {}

private:
    template <typename Record>
    int give(const char *what, const std::vector<Record> &from, std::vector<Record> &out,
             int result) {
        calls.add(name + " " + what);
        out.insert(out.end(), from.begin(), from.end());
        return result;
    }

    const std::string name;
    CallList &calls;
};

/// A factory with the controllers that a test gives it; the list's references are its own until its
/// shutdown. Registered from its construction to the end of the process.
class FakeStorageFactory final : public IorbStorageControllerFactory {
public:
    FakeStorageFactory(std::string calledName, CallList &list)
        : name(std::move(calledName)), calls(list) {
        const orbRegistryManager<IorbStorageControllerFactory *> entry(this);
    }
    ~FakeStorageFactory() override { dropAll(); }
    FakeStorageFactory(const FakeStorageFactory &) = delete;
    FakeStorageFactory &operator=(const FakeStorageFactory &) = delete;

    FakeStorageController &add(const std::string &controllerName) {
        controllers.push_back(new FakeStorageController(controllerName, calls));
        return *controllers.back();
    }

    void dropAll() { ///< gives the list's references back; the manager's thread or none
        for (FakeStorageController *controller : std::exchange(controllers, {}))
            controller->releaseReference();
    }

    MODELS models;
    int discoverResult = 0;
    std::function<void()> onShutdown, onGetControllers; ///< done on the thread that calls

    int discoverControllers(std::vector<IorbStorageController *> &out) override {
        calls.add(name + " discover");
        if (discoverResult >= 0) hand(out);
        return discoverResult;
    }
    void getControllers(unsigned char familyMask,
                        std::vector<IorbStorageController *> &out) override {
        calls.add(name + " getControllers " + std::to_string(familyMask));
        if (onGetControllers) onGetControllers();
        hand(out);
    }
    void shutdownFactory() override {
        calls.add(name + " shutdown");
        if (onShutdown) onShutdown();
    }
    void poll() override { calls.add(name + " poll"); }
    void deleteControllers(unsigned char) override {}
    const MODELS &getSupportedControllerModels() override { return models; }

private:
    void hand(std::vector<IorbStorageController *> &out) {
        out.assign(controllers.begin(), controllers.end());
        for (IorbStorageController *controller : out) (void)controller->acquireReference();
    }

    const std::string name;
    CallList &calls;
    std::vector<FakeStorageController *> controllers; // set before the manager's thread runs
};
