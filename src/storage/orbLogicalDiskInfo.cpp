#include "storage/orbLogicalDiskInfo.h"

#include <cassert>

Json::Value orbLogicalDiskOEMInfo::getVariableData() {
    Json::Value object(Json::objectValue);
    object["DeviceName"] = deviceName;
    return object;
}

Json::Value orbLogicalDiskOEMInfo::getInventoryData() {
    return {};
}

Json::Value orbLogicalDiskInfo::getVariableData() {
    Json::Value object(Json::objectValue);
    object["Type"] = "Volume";
    Json::Value &data = object["Data"];
    data["DurableName"] = durableName;
    data["VolumeType"] = RAIDLevel;
    data["CapacityBytes"] = Json::UInt64{capacityBytes};
    for (const std::string &drive : physicalDisks) data["Drives"].append(drive);
    data["Oem"] = orbLogicalDiskOEMInfo::getVariableData();
    object["EventInfo"] = eventInfoString;
    return object;
}

Json::Value orbLogicalDiskInfo::getInventoryData() {
    return {};
}

std::vector<std::string> orbLogicalDiskInfo::getPhysicalDiskVector() {
    return physicalDisks;
}

std::string orbLogicalDiskInfo::getPhysicalDisk(std::size_t index) const {
    assert(index < physicalDisks.size());
    return physicalDisks[index];
}

void orbLogicalDiskInfo::setPhysicalDisk(std::size_t index, std::string name) {
    assert(index < physicalDisks.size());
    physicalDisks[index] = std::move(name);
}

void orbLogicalDiskInfo::addPhysicalDisk(std::string name) {
    physicalDisks.push_back(std::move(name));
}

void orbLogicalDiskInfo::clearPhysicalDiskList() {
    physicalDisks.clear();
}

std::size_t orbLogicalDiskInfo::getPhysicalDiskListSize() {
    return physicalDisks.size();
}

void orbLogicalDiskInfo::deletePhysicalDisk(std::size_t index) {
    assert(index < physicalDisks.size());
    physicalDisks.erase(physicalDisks.begin() + static_cast<std::ptrdiff_t>(index));
}
