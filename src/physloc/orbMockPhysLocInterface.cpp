#include "physloc/orbMockPhysLocInterface.h"

#include "core/orbMutexLocker.h"

constinit std::mutex orbMockPhysLocInterface::interfaceLock;
constinit orbMockPhysLocInterface *orbMockPhysLocInterface::instance = nullptr;

orbMockPhysLocInterface *orbMockPhysLocInterface::getInstance() {
    const orbMutexLocker<std::mutex> lock(interfaceLock);
    if (instance == nullptr) instance = new orbMockPhysLocInterface;
    return instance;
}

orbMockPhysLocInterface *__orbMockPhysLocInterface__getInstance() {
    return orbMockPhysLocInterface::getInstance();
}

int orbMockPhysLocInterface::Initialize() {
    return 1;
}
void orbMockPhysLocInterface::UnInitialize() {}

std::string orbMockPhysLocInterface::getPCIeSlotForIOSlot(const std::string &) {
    return "0";
}
std::string orbMockPhysLocInterface::getPhysLocForIOSlot(const std::string &) {
    return UNKNOWN_LOCATION;
}
std::string orbMockPhysLocInterface::getPhysLocForNetworkAdapter(const std::string &) {
    return UNKNOWN_LOCATION;
}
std::string orbMockPhysLocInterface::getPhysLocForChassisDriveSlot(const std::string &, int) {
    return UNKNOWN_LOCATION;
}
std::string orbMockPhysLocInterface::getPhysLocForExternalDrive(const std::string &) {
    return UNKNOWN_LOCATION;
}
std::string orbMockPhysLocInterface::getPhysLocForChassisStorageBackplane(const std::string &,
                                                                          int) {
    return UNKNOWN_LOCATION;
}
int orbMockPhysLocInterface::checkPCIDevicesLocatedInSameChassis(const std::string &,
                                                                 const std::string &) {
    return -3;
}
int orbMockPhysLocInterface::checkIfPCICardIsOnBoard(const std::string &) {
    return -4;
}
std::string orbMockPhysLocInterface::getPhysLocLibraryName() {
    return "Mock-PL";
}
