#include "storage/orbStatusInfo.h"

Json::Value orbStatusInfo::getVariableData() {
    Json::Value object(Json::objectValue);
    object["State"] = state_text(state);
    object["Health"] = health_text(health);
    return object;
}

Json::Value orbStatusInfo::getInventoryData() {
    return orbStatusInfo::getVariableData();
}

Json::Value orbDiskStatusInfo::getVariableData() {
    return orbStatusInfo::getVariableData();
}

Json::Value orbDiskStatusInfo::getInventoryData() {
    return {};
}
