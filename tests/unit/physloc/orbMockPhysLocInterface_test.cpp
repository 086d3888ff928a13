#include "physloc/orbMockPhysLocInterface.h"

#include <gtest/gtest.h>

TEST(MockPhysLoc, EveryPlaceIsUnknown) {
    orbPhysLocInterface &mock = *orbMockPhysLocInterface::getInstance();
    const std::string address = "0000:24:00.0";
    EXPECT_EQ(mock.Initialize(), 1);
    EXPECT_EQ(mock.getPCIeSlotForIOSlot(address), "0");
    EXPECT_EQ(mock.getPhysLocForIOSlot(address), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(mock.getPhysLocForNetworkAdapter(address), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(mock.getPhysLocForChassisDriveSlot(address, 1), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(mock.getPhysLocForExternalDrive(address), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(mock.getPhysLocForChassisStorageBackplane(address, 1), "FFFFFFFFFFFFFFFF");
    EXPECT_EQ(mock.checkPCIDevicesLocatedInSameChassis(address, address), -3);
    EXPECT_EQ(mock.checkIfPCICardIsOnBoard(address), -4);
    EXPECT_EQ(mock.getPhysLocLibraryName(), "Mock-PL");
    mock.UnInitialize();
    EXPECT_EQ(mock.Initialize(), 1);
}

TEST(MockPhysLoc, ThereIsOne) {
    EXPECT_EQ(orbMockPhysLocInterface::getInstance(), orbMockPhysLocInterface::getInstance());
    EXPECT_EQ(__orbMockPhysLocInterface__getInstance(), orbMockPhysLocInterface::getInstance());
}
