#include "storage/orbStorageControllerInfo.h"

#include <cassert>

Json::Value orbIOControllerPhyLoc::getVariableData() {
    Json::Value object(Json::objectValue);
    object["PhysicalLocation"] = physicalLocation;
    object["Description"] = description;
    return object;
}

Json::Value orbIOControllerPhyLoc::getInventoryData() {
    return {};
}

Json::Value orbStorageControllerInfo::getVariableData() {
    Json::Value object(Json::objectValue);
    object["Type"] = "Controller";
    Json::Value &data = object["Data"];
    data["Model"] = model;
    data["SerialNumber"] = serialNumber;
    data["PartNumber"] = partNumber;
    data["FirmwareVersion"] = firmwareVersion;
    data["Protocol"] = protocol;
    data["Manufacturer"] = manufacturer;
    data["Oem"] = orbIOControllerPhyLoc::getVariableData();
    object["EventInfo"] = eventInfoString;
    return object;
}

Json::Value orbStorageControllerInfo::getInventoryData() {
    return {};
}

std::vector<orbStorageControllerPortInfo> orbStorageControllerInfo::getControllerPortVector() {
    return controllerPorts;
}

orbStorageControllerPortInfo orbStorageControllerInfo::getControllerPort(std::size_t index) {
    assert(index < controllerPorts.size());
    return controllerPorts[index];
}

void orbStorageControllerInfo::setControllerPort(std::size_t index,
                                                 orbStorageControllerPortInfo port) {
    assert(index < controllerPorts.size());
    controllerPorts[index] = std::move(port);
}

void orbStorageControllerInfo::addControllerPort(orbStorageControllerPortInfo port) {
    controllerPorts.push_back(std::move(port));
}

void orbStorageControllerInfo::clearControllerPortList() {
    controllerPorts.clear();
}

std::size_t orbStorageControllerInfo::getControllerPortListSize() {
    return controllerPorts.size();
}

void orbStorageControllerInfo::deleteControllerPort(std::size_t index) {
    assert(index < controllerPorts.size());
    controllerPorts.erase(controllerPorts.begin() + static_cast<std::ptrdiff_t>(index));
}
