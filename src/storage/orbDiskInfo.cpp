#include "storage/orbDiskInfo.h"

Json::Value orbDiskPhyLoc::getVariableData() {
    Json::Value object(Json::objectValue);
    object["Slot"] = slot;
    object["PhysicalLocation"] = physicalLocation;
    return object;
}

Json::Value orbDiskPhyLoc::getInventoryData() {
    return {};
}

Json::Value orbDiskInfo::getVariableData() {
    Json::Value object(Json::objectValue);
    object["Type"] = "Drive";
    Json::Value &data = object["Data"];
    data["SerialNumber"] = serialNumber;
    data["PartNumber"] = partNumber;
    data["Model"] = model;
    data["CapacityBytes"] = Json::UInt64{capacityBytes};
    data["Protocol"] = protocol;
    data["MediaType"] = mediaType;
    data["Revision"] = revision;
    data["Manufacturer"] = manufacturer;
    data["Oem"] = orbDiskPhyLoc::getVariableData();
    object["EventInfo"] = eventInfoString;
    return object;
}

Json::Value orbDiskInfo::getInventoryData() {
    return {};
}
