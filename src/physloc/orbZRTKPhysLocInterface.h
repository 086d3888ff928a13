#pragma once

#include <mutex>

#include "physloc/orbPhysLocEncoder.h"

/// Locations on machines of the second generation.
class orbZRTKPhysLocInterface final : public orbPhysLocEncoder {
public:
    static orbZRTKPhysLocInterface *getInstance(); ///< never freed; any thread

private:
    orbZRTKPhysLocInterface();
    static std::mutex interfaceLock;          // held by getInstance, Initialize and UnInitialize
    static orbZRTKPhysLocInterface *instance; // guarded by interfaceLock
};

/// Same as orbZRTKPhysLocInterface::getInstance().
orbZRTKPhysLocInterface *__orbZRTKPhysLocInterface__getInstance();
