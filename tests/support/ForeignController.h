#pragma once

#include <string>
#include <utility>
#include <vector>

#include "storage/IorbStorageController.h"

/// A controller that is no orbStorageController: it has neither ports nor a family.
class ForeignController final : public IorbStorageController {
public:
    explicit ForeignController(std::string place) : location(std::move(place)) {}

    int discoverInventory(orbStorageControllerInfo &) override { return 0; }
    int discoverPhysicalDiskInventory(std::vector<orbDiskInfo> &) override { return 0; }
    int discoverLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &) override { return 0; }
    int discoverStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &) override {
        return 0;
    }
    bool isMatchingController(unsigned, unsigned, char *pciLocation, char *) override {
        return location == pciLocation;
    }
    bool enableEvents() override { return true; }
    bool isEventsEnabled() override { return true; }
    bool disableEvents() override { return true; }
    void poll() override {}
    void processDeviceRemoval() override { removed = true; }
    void processDeviceAddition(IorbStorageController *) override {}

private:
    std::string location;
};
