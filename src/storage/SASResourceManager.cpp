#include "storage/SASResourceManager.h"

namespace {
ORB_IDLE_STATE idleState;
}

SASResourceManager &SASResourceManager::getInstance() {
    static SASResourceManager instance;
    return instance;
}

ORB_IDLE_STATE &SASResourceManager::state() {
    return idleState;
}
