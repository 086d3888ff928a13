#include "fc/FCResourceManager.h"

namespace {
ORB_IDLE_STATE idleState;
}

FCResourceManager &FCResourceManager::getInstance() {
    static FCResourceManager instance;
    return instance;
}

ORB_IDLE_STATE &FCResourceManager::state() {
    return idleState;
}
