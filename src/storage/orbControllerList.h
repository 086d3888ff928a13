#pragma once

#include <vector>

#include "storage/IorbStorageController.h"

/// Controllers that a factory handed out, each with a reference that goes back at the end of the
/// scope or by clear(). One thread at a time.
class orbControllerList {
public:
    orbControllerList() = default;
    ~orbControllerList() { clear(); }
    orbControllerList(const orbControllerList &) = delete;
    orbControllerList &operator=(const orbControllerList &) = delete;

    /// Where a factory puts them, after a clear().
    std::vector<IorbStorageController *> &vector() { return held; }

    void clear() {
        for (IorbStorageController *const controller : held) controller->releaseReference();
        held.clear();
    }

    auto begin() const { return held.begin(); }
    auto end() const { return held.end(); }
    bool empty() const { return held.empty(); }

private:
    std::vector<IorbStorageController *> held;
};
