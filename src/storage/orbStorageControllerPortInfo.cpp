#include "storage/orbStorageControllerPortInfo.h"

Json::Value orbStorageControllerPortInfo::getVariableData() {
    return {};
}

Json::Value orbStorageControllerPortInfo::getInventoryData() {
    return {};
}
