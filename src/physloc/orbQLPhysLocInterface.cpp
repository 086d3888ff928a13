#include "physloc/orbQLPhysLocInterface.h"

#include "core/Logger.h"
#include "core/orbMutexLocker.h"

constinit std::mutex orbQLPhysLocInterface::interfaceLock;
constinit orbQLPhysLocInterface *orbQLPhysLocInterface::instance = nullptr;

namespace {
constexpr std::size_t RACK_AT = 4, UNIT_AT = 5, PARTITION_AT = 8, SLOT_AT = 11;
constexpr std::size_t ELEMENT_OFFSETS[] = {RACK_AT, UNIT_AT, PARTITION_AT, SLOT_AT};

constexpr ORB_ENCODER_PLATFORM PLATFORM{
    .library = "libgeoenc02.so",
    .tag = QLPL_INTF,
    .elementOffsets = ELEMENT_OFFSETS,
    .slotElement = 3,
    .onBoardNetworkAdapter = 59,
    .externalDrive = 69,
    .chassisDriveSlot = 56,
    .firstBay = 1,
    .lastBay = 10,
    .chassisStorageBackplane = 64,
    .numbersBoxes = true,
};
} // namespace

orbQLPhysLocInterface::orbQLPhysLocInterface() : orbPhysLocEncoder(PLATFORM, interfaceLock) {}

orbQLPhysLocInterface *orbQLPhysLocInterface::getInstance() {
    const orbMutexLocker<std::mutex> lock(interfaceLock);
    if (instance == nullptr) instance = new orbQLPhysLocInterface;
    return instance;
}

orbQLPhysLocInterface *__orbQLPhysLocInterface__getInstance() {
    return orbQLPhysLocInterface::getInstance();
}
