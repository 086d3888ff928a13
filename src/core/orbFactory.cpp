#include "core/orbFactory.h"

#include "core/module_names.h"
#include "fc/FCResourceManager.h"
#include "host/HostResourceManager.h"
#include "network/NICResourceManager.h"
#include "storage/SASResourceManager.h"

orbResourceManager *FCClassObj = &FCResourceManager::getInstance();
orbResourceManager *HostClassObj = &HostResourceManager::getInstance();
orbResourceManager *SASClassObj = &SASResourceManager::getInstance();
orbResourceManager *NICClassObj = &NICResourceManager::getInstance();

orbResourceManager *orbFactory::createInstance(int id) {
    switch (id) {
    case ORB_FIBRE_CHANNEL:
        return FCClassObj;
    case ORB_HOST:
        return HostClassObj;
    case ORB_STORAGE:
        return SASClassObj;
    case ORB_ETHERNET:
        return NICClassObj;
    default:
        return nullptr;
    }
}
