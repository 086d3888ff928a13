#include "network/NICResourceManager.h"

namespace {
ORB_IDLE_STATE idleState;
}

NICResourceManager &NICResourceManager::getInstance() {
    static NICResourceManager instance;
    return instance;
}

ORB_IDLE_STATE &NICResourceManager::state() {
    return idleState;
}
