#include "storage/orbStorageEnclosureInfo.h"

#include "core/Logger.h"

Json::Value orbStorageEnclosureOEMInfo::getVariableData() {
    using namespace CPlusPlusLogging;
    Json::Value object(Json::objectValue);
    object["Box"] = box;
    object["PhysicalLocation"] = physicalLocation;
    // The debug log's setting changes what the controller is sent, not the log alone: whoever looks
    // for a wrongly merged enclosure finds its parts in the document.
    if (Logger::getInstance()->getDebugLoglevel() == LOG_LEVEL_DEBUG) {
        object["BayCount"] = bayCount;
        object["SegmentCount"] = segmentCount;
    }
    return object;
}

Json::Value orbStorageEnclosureOEMInfo::getInventoryData() {
    return orbStorageEnclosureOEMInfo::getVariableData();
}

Json::Value orbStorageEnclosureInfo::getVariableData() {
    Json::Value object(Json::objectValue);
    object["Type"] = "StorageEnclosure";
    Json::Value &data = object["Data"];
    data["FirmwareVersion"] = firmwareVersion;
    data["Model"] = model;
    data["Type"] = type;
    data["PartNumber"] = partNumber;
    data["SerialNumber"] = serialNumber;
    data["Oem"] = orbStorageEnclosureOEMInfo::getVariableData();
    object["EventInfo"] = "";
    return object;
}

Json::Value orbStorageEnclosureInfo::getInventoryData() {
    Json::Value object(Json::objectValue);
    object["FirmwareVersion"] = firmwareVersion;
    object["Model"] = model;
    object["Type"] = type;
    object["PartNumber"] = partNumber;
    object["SerialNumber"] = serialNumber;
    object["Status"] = orbStatusInfo::getInventoryData();
    object["Oem"] = orbStorageEnclosureOEMInfo::getInventoryData();
    return object;
}
