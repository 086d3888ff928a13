#include "physloc/orbZRTKPhysLocInterface.h"

#include <limits>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"

constinit std::mutex orbZRTKPhysLocInterface::interfaceLock;
constinit orbZRTKPhysLocInterface *orbZRTKPhysLocInterface::instance = nullptr;

namespace {
constexpr std::size_t RACK_AT = 4, IO_ELEMENT_AT = 5, SLOT_AT = 11;
constexpr std::size_t ELEMENT_OFFSETS[] = {RACK_AT, IO_ELEMENT_AT, SLOT_AT};

constexpr ORB_ENCODER_PLATFORM PLATFORM{
    .library = "libgeoenc03.so",
    .tag = ZRTKPL_INTF,
    .elementOffsets = ELEMENT_OFFSETS,
    .slotElement = 2,
    .onBoardNetworkAdapter = 48,
    .externalDrive = 61,
    .chassisDriveSlot = 45,
    .firstBay = std::numeric_limits<int>::min(), // bays are numbered from 0; lower ones pass too
    .lastBay = 3,
    .chassisStorageBackplane = 53,
    .numbersBoxes = false,
};
} // namespace

orbZRTKPhysLocInterface::orbZRTKPhysLocInterface() : orbPhysLocEncoder(PLATFORM, interfaceLock) {}

orbZRTKPhysLocInterface *orbZRTKPhysLocInterface::getInstance() {
    const orbMutexLocker<std::mutex> lock(interfaceLock);
    if (instance == nullptr) instance = new orbZRTKPhysLocInterface;
    return instance;
}

orbZRTKPhysLocInterface *__orbZRTKPhysLocInterface__getInstance() {
    return orbZRTKPhysLocInterface::getInstance();
}
