#include "core/orbResourceManager.h"

namespace {
constexpr int LAST_READINESS_ITERATION = 8;
}

int orbResourceManager::getInventoryJsonObject2(int, std::vector<Json::Value> &) {
    return 0;
}
int orbResourceManager::getTelemetryJsonObject(Json::Value &) {
    return 0;
}
int orbResourceManager::getFileServiceJsonObject(std::vector<Json::Value> &) {
    return 0;
}

bool orbResourceManager::checkInventoryReady(int iteration) {
    if (iteration == LAST_READINESS_ITERATION && !cacheReady) cachePushPending = true;
    return cacheReady;
}
