#pragma once

#include <atomic>
#include <mutex>

#include "physloc/orbPhysLocInterface.h"

/// Picks what tells locations on this machine, once, on the first call.
class orbPhysLocFactory {
public:
    /// The encoder of the machine's family, or the mock where there is none or it can't be loaded.
    /// Never null, never freed, the same object for ever. Any thread; early callers wait for the
    /// first one, so that nobody gets an encoder that isn't ready.
    static orbPhysLocInterface *getPhysLocInterface();

private:
    static orbPhysLocInterface *choose(); ///< caller holds factoryLock

    static std::atomic<orbPhysLocInterface *> pllInterface; // set once, under factoryLock
    static std::mutex factoryLock; // outside the implementations' and the family's locks
};
