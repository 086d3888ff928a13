#include "physloc/orbPhysLocFactory.h"

#include <string>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "physloc/orbMockPhysLocInterface.h"
#include "physloc/orbQLPhysLocInterface.h"
#include "physloc/orbZRTKPhysLocInterface.h"
#include "physloc/platform_family.h"

constinit std::atomic<orbPhysLocInterface *> orbPhysLocFactory::pllInterface{nullptr};
constinit std::mutex orbPhysLocFactory::factoryLock;

orbPhysLocInterface *orbPhysLocFactory::getPhysLocInterface() {
    if (orbPhysLocInterface *const chosen = pllInterface) return chosen;
    const orbMutexLocker<std::mutex> lock(factoryLock);
    if (pllInterface == nullptr) pllInterface = choose();
    return pllInterface;
}

orbPhysLocInterface *orbPhysLocFactory::choose() {
    const std::string family = orbUtils::getPlatformFamily();
    orbPhysLocInterface *encoder = nullptr;
    switch (platform_generation(family)) {
    case PLATFORM_GENERATION_FIRST:
        encoder = __orbQLPhysLocInterface__getInstance();
        break;
    case PLATFORM_GENERATION_SECOND:
        encoder = __orbZRTKPhysLocInterface__getInstance();
        break;
    case PLATFORM_GENERATION_UNKNOWN:
        ORB_LOG_WARNING(PL_FACT, format_text("Unable to determine platform type [%s]. Physical "
                                             "location will be reported by ORB as "
                                             "FFFFFFFFFFFFFFFF for all FRUs.",
                                             family.c_str()));
        return __orbMockPhysLocInterface__getInstance();
    }
    if (encoder->Initialize() != 0) return encoder;
    ORB_LOG_WARNING(PL_FACT, "Physical location will be reported by ORB as FFFFFFFFFFFFFFFF for "
                             "all FRUs.");
    return __orbMockPhysLocInterface__getInstance();
}
