#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "storage/orbRegistryManager.h"
#include "storage/orbStorageController.h"

/// What happened to the controllers of a test, in order. Any thread.
class Journal {
public:
    void add(const std::string &line) {
        const std::lock_guard<std::mutex> lock(mutex);
        lines.push_back(line);
    }
    /// What has come since the last look.
    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> lock(mutex);
        return std::exchange(lines, {});
    }

private:
    std::mutex mutex;
    std::vector<std::string> lines; // guarded by mutex
};

/// A controller that writes down what its factory does with it. The rest is the generic class's.
class RecordedController : public orbStorageController {
public:
    RecordedController(Journal &book, std::string title, std::uint8_t family,
                       std::uint32_t chipset = 0, std::uint32_t board = 0,
                       const std::string &location = {})
        : journal(&book), name(std::move(title)) {
        familyFlags = family;
        chipsetID = chipset;
        boardID = board;
        pciLocation = location;
    }
    ~RecordedController() override { journal->add("end of " + name); }

    bool disableEvents() override {
        journal->add("no more events of " + name);
        return orbStorageController::disableEvents();
    }
    void processDeviceRemoval() override {
        journal->add("removal of " + name + (isRemoved() ? ", removed" : ""));
        if (onRemoval) onRemoval();
        removed = true;
    }
    void processDeviceAddition(IorbStorageController *previous) override {
        auto *const former = dynamic_cast<RecordedController *>(previous);
        journal->add("addition of " + name + (former != nullptr ? " after " + former->name : "") +
                     (getPortListSize() != 0 ? ", with ports" : ""));
    }
    void setFirstPass(bool isFirst) { foundOnFirstDiscoveryPass = isFirst; }

    std::function<void()> onRemoval; ///< set before others see the object

private:
    Journal *journal;

public:
    const std::string name;
};
