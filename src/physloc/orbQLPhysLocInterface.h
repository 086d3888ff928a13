#pragma once

#include <mutex>

#include "physloc/orbPhysLocEncoder.h"

/// Locations on machines of the first generation.
class orbQLPhysLocInterface final : public orbPhysLocEncoder {
public:
    static orbQLPhysLocInterface *getInstance(); ///< never freed; any thread

private:
    orbQLPhysLocInterface();
    static std::mutex interfaceLock;        // held by getInstance, Initialize and UnInitialize
    static orbQLPhysLocInterface *instance; // guarded by interfaceLock
};

/// Same as orbQLPhysLocInterface::getInstance().
orbQLPhysLocInterface *__orbQLPhysLocInterface__getInstance();
