#include "storage/orbStorageController.h"

#include <new>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "storage/storage_products.h"

using Lock = orbMutexLocker<std::recursive_mutex>;

orbStorageController::~orbStorageController() = default;

bool orbStorageController::claimDevice(unsigned chipset, unsigned board, std::string &pciLocation,
                                       bool firstPass, orbStorageController **out) {
    *out = nullptr;
    std::uint8_t family = 0;
    if (getStorageControllerModel(chipset, board, STORAGE_FAMILY_ANY, &family) == nullptr)
        return false;
    auto *const controller = new (std::nothrow) orbStorageController;
    if (controller == nullptr) {
        ORB_LOG_ERROR(STOR_FACT, "Out of memory!");
        return true;
    }
    controller->chipsetID = chipset;
    controller->boardID = board;
    controller->familyFlags = family;
    controller->pciLocation = pciLocation;
    controller->foundOnFirstDiscoveryPass = firstPass;
    *out = controller;
    ORB_LOG_DEBUG(STOR_FACT, format_text("Claimed device [%s 0x%x 0x%x].", pciLocation.c_str(),
                                         chipset, board));
    return true;
}

bool orbStorageController::isMatchingController(unsigned chipset, unsigned board, char *location,
                                                char *) {
    return chipset == chipsetID && board == boardID && location != nullptr &&
           pciLocation == location;
}

bool orbStorageController::isEventsEnabled() {
    return true;
}

// -- What it is -----------------------------------------------------------------------------------

unsigned orbStorageController::getChipsetID() {
    return chipsetID;
}
unsigned orbStorageController::getBoardID() {
    return boardID;
}
std::string orbStorageController::getPciLocation() {
    return pciLocation;
}
std::uint8_t orbStorageController::getFamilyFlags() {
    return familyFlags;
}
bool orbStorageController::getFoundOnFirstDiscoveryPass() {
    return foundOnFirstDiscoveryPass;
}

std::vector<std::string> orbStorageController::getPortVector() {
    const Lock lock(mutex);
    return portList;
}

std::string orbStorageController::getPort(std::size_t index) {
    const Lock lock(mutex);
    return index < portList.size() ? portList[index] : std::string();
}

void orbStorageController::setPort(std::size_t index, const std::string &port) {
    const Lock lock(mutex);
    if (index < portList.size()) portList[index] = port;
}

void orbStorageController::addPort(const std::string &port) {
    const Lock lock(mutex);
    portList.push_back(port);
}

void orbStorageController::clearPortList() {
    const Lock lock(mutex);
    portList.clear();
}

std::size_t orbStorageController::getPortListSize() {
    const Lock lock(mutex);
    return portList.size();
}

void orbStorageController::deletePort(std::size_t index) {
    const Lock lock(mutex);
    if (index < portList.size())
        portList.erase(portList.begin() + static_cast<std::ptrdiff_t>(index));
}

bool orbStorageController::getNewDevice() {
    const Lock lock(mutex);
    return newDevice;
}

void orbStorageController::setNewDevice(bool isNew) {
    const Lock lock(mutex);
    newDevice = isNew;
}

// -- Copies of what it knows ----------------------------------------------------------------------

void orbStorageController::getInventory(orbStorageControllerInfo &out) {
    const Lock lock(mutex);
    out = controllerInventory;
}

orbStorageControllerInfo orbStorageController::getInventory() {
    const Lock lock(mutex);
    return controllerInventory;
}

void orbStorageController::getPhysicalDrivesInventory(std::vector<orbDiskInfo> &out) {
    const Lock lock(mutex);
    out = physicalDrives;
}

std::vector<orbDiskInfo> orbStorageController::getPhysicalDrivesInventory() {
    const Lock lock(mutex);
    return physicalDrives;
}

void orbStorageController::getLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &out) {
    const Lock lock(mutex);
    out = logicalDisks;
}

std::vector<orbLogicalDiskInfo> orbStorageController::getLogicalDiskInventory() {
    const Lock lock(mutex);
    return logicalDisks;
}

void orbStorageController::getStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &out) {
    const Lock lock(mutex);
    out = storageEnclosures;
}

std::vector<orbStorageEnclosureInfo> orbStorageController::getStorageEnclosureInventory() {
    const Lock lock(mutex);
    return storageEnclosures;
}

// -- What a host bus adapter leaves to others -----------------------------------------------------

int orbStorageController::discoverLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &) {
    return 0;
}

int orbStorageController::discoverStorageEnclosureInventory(
    std::vector<orbStorageEnclosureInfo> &) {
    return 0;
}

int orbStorageController::discoverPhysicalDiskSlotNumber(orbDiskInfo &) {
    return -1;
}

int orbStorageController::discoverPhysicalDiskStatus(orbDiskInfo &) {
    return 0;
}

bool orbStorageController::validatePhysicalDisk(orbDiskInfo &) {
    return true;
}

void orbStorageController::populateDeviceNameMap() {}

std::string orbStorageController::getLogicalDeviceName(std::string key) {
    const Lock lock(mutex);
    const auto known = deviceNameMap.find(key);
    return known == deviceNameMap.end() ? std::string() : known->second;
}

std::size_t orbStorageController::getMaxSupportedControllerPorts() {
    return 0;
}
