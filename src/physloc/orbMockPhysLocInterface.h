#pragma once

#include <mutex>

#include "physloc/orbPhysLocInterface.h"

/// Serves machines without an encoder: every place is unknown.
class orbMockPhysLocInterface final : public orbPhysLocInterface {
public:
    static orbMockPhysLocInterface *getInstance(); ///< never freed; any thread

    int Initialize() override;
    void UnInitialize() override;
    std::string getPCIeSlotForIOSlot(const std::string &address) override;
    std::string getPhysLocForIOSlot(const std::string &address) override;
    std::string getPhysLocForNetworkAdapter(const std::string &address) override;
    std::string getPhysLocForChassisDriveSlot(const std::string &address, int bay) override;
    std::string getPhysLocForExternalDrive(const std::string &address) override;
    std::string getPhysLocForChassisStorageBackplane(const std::string &address, int box) override;
    int checkPCIDevicesLocatedInSameChassis(const std::string &first,
                                            const std::string &second) override;
    int checkIfPCICardIsOnBoard(const std::string &address) override;
    std::string getPhysLocLibraryName() override;

private:
    orbMockPhysLocInterface() = default;
    static std::mutex interfaceLock;          // guards the first use of getInstance
    static orbMockPhysLocInterface *instance; // guarded by interfaceLock
};

/// Same as orbMockPhysLocInterface::getInstance().
orbMockPhysLocInterface *__orbMockPhysLocInterface__getInstance();
