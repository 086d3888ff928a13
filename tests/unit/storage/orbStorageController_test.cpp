#include "storage/orbStorageController.h"

#include <cstdlib>
#include <new>
#include <type_traits>

#include <gtest/gtest.h>

#include "unit/storage/ControllerWorld.h"
#include "unit/storage/RecordFields.h"

namespace {
bool noMemory = false; // for allocations that may fail
}

/// The allocation that gives null instead of throwing, which a test can make fail.
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    if (noMemory) return nullptr;
    try {
        return ::operator new(size);
    } catch (...) {
        return nullptr;
    }
}

namespace {
// Controllers are made by their classes' claims alone, and never copied.
static_assert(std::is_base_of_v<IorbStorageController, orbStorageController>);
static_assert(!std::is_default_constructible_v<orbStorageController>);
static_assert(!std::is_copy_constructible_v<orbStorageController>);
static_assert(std::has_virtual_destructor_v<orbStorageController>);

using Reference = orbReference<OpenController>;

Reference make() {
    return Reference::adopt(new OpenController);
}

// -- Claims ---------------------------------------------------------------------------------------

class Claim : public ::testing::Test {
protected:
    void TearDown() override {
        if (claimed != nullptr) claimed->releaseReference();
    }
    TemporaryRoot root;
    LogFile log{root};
    std::string address = "0000:3b:00.0";
    orbStorageController *claimed = nullptr;
};

TEST_F(Claim, TakesAModelOfTheTableWithAllThatIsKnown) {
    ASSERT_TRUE(orbStorageController::claimDevice(0x00971000, 0x30e01000, address, true, &claimed));
    ASSERT_NE(claimed, nullptr);
    EXPECT_EQ(claimed->getChipsetID(), 0x00971000u);
    EXPECT_EQ(claimed->getBoardID(), 0x30e01000u);
    EXPECT_EQ(claimed->getPciLocation(), "0000:3b:00.0");
    EXPECT_EQ(claimed->getFamilyFlags(), 8);
    EXPECT_TRUE(claimed->getFoundOnFirstDiscoveryPass());
    EXPECT_TRUE(claimed->getNewDevice());
    EXPECT_FALSE(claimed->isRemoved());
    EXPECT_EQ(claimed->getReferenceCount(), 1);
    EXPECT_EQ(claimed->getPortListSize(), 0u);
    EXPECT_EQ(log.count("DEBUG", "STOR_FACT", "Claimed device [0000:3b:00.0 0x971000 0x30e01000]."),
              1);
}

TEST_F(Claim, AnyBoardOfAChipsetAndAnyFamily) {
    ASSERT_TRUE(
        orbStorageController::claimDevice(0x005d1000, 0x00011000, address, false, &claimed));
    ASSERT_NE(claimed, nullptr);
    EXPECT_EQ(claimed->getFamilyFlags(), 2);
    EXPECT_FALSE(claimed->getFoundOnFirstDiscoveryPass());
}

TEST_F(Claim, ModelThatIsNotInTheTableIsRefused) {
    claimed = reinterpret_cast<orbStorageController *>(&address); // is to be overwritten
    EXPECT_FALSE(
        orbStorageController::claimDevice(0x12345678, 0x30e01000, address, true, &claimed));
    EXPECT_EQ(claimed, nullptr);
    EXPECT_EQ(log.countHolding("DEBUG", "STOR_FACT", "Claimed device"), 0);
}

TEST_F(Claim, WithoutMemoryItIsTakenWithoutAnObject) {
    noMemory = true;
    const bool taken =
        orbStorageController::claimDevice(0x00971000, 0x30e01000, address, true, &claimed);
    noMemory = false;
    EXPECT_TRUE(taken);
    EXPECT_EQ(claimed, nullptr);
    EXPECT_EQ(log.count("ERROR", "STOR_FACT", "Out of memory!"), 1);
    EXPECT_EQ(log.countHolding("DEBUG", "STOR_FACT", "Claimed device"), 0);
}

// -- What it is -----------------------------------------------------------------------------------

TEST(StorageController, MatchesByIdsAndPlaceAlone) {
    const Reference controller = make();
    char place[] = "0000:3b:00.0", other[] = "0000:3b:00.1", host[] = "any";
    EXPECT_TRUE(controller->isMatchingController(0x00971000, 0x30e01000, place, host));
    EXPECT_TRUE(controller->isMatchingController(0x00971000, 0x30e01000, place, nullptr));
    EXPECT_FALSE(controller->isMatchingController(0x00971001, 0x30e01000, place, host));
    EXPECT_FALSE(controller->isMatchingController(0x00971000, 0x30e01001, place, host));
    EXPECT_FALSE(controller->isMatchingController(0x00971000, 0x30e01000, other, host));
    EXPECT_FALSE(controller->isMatchingController(0x00971000, 0x30e01000, nullptr, host));
}

TEST(StorageController, KeepsItsPortsInOrder) {
    const Reference controller = make();
    EXPECT_EQ(controller->getPort(0), "");
    controller->addHostPorts({3, 1, 2});
    EXPECT_EQ(controller->getPortListSize(), 3u);
    EXPECT_EQ(controller->getPort(1), "/sys/class/scsi_host/host1");
    controller->setPort(1, "/sys/class/scsi_host/host9");
    controller->setPort(3, "/sys/class/scsi_host/host10"); // there is no such port
    controller->deletePort(0);
    controller->deletePort(2); // so here
    EXPECT_EQ(
        controller->getPortVector(),
        (std::vector<std::string>{"/sys/class/scsi_host/host9", "/sys/class/scsi_host/host2"}));
    EXPECT_EQ(controller->getPort(2), "");
    controller->clearPortList();
    EXPECT_EQ(controller->getPortListSize(), 0u);
}

TEST(StorageController, NewUntilToldOtherwise) {
    const Reference controller = make();
    EXPECT_TRUE(controller->getNewDevice());
    EXPECT_FALSE(controller->getFoundOnFirstDiscoveryPass());
    controller->setNewDevice(false);
    EXPECT_FALSE(controller->getNewDevice());
}

TEST(StorageController, StartsWithNothing) {
    const Reference controller = Reference::adopt(new OpenController("", 0, 0));
    EXPECT_EQ(controller->getFamilyFlags(), 0);
    EXPECT_EQ(controller->eventFlags, 0u);
    EXPECT_EQ(controller->lastControllerEventCritical, -1);
    EXPECT_EQ(controller->getInventory().getState(), ORB_STATE_UNKNOWN);
    EXPECT_TRUE(controller->getPhysicalDrivesInventory().empty());
    EXPECT_TRUE(controller->getLogicalDiskInventory().empty());
    EXPECT_TRUE(controller->getStorageEnclosureInventory().empty());
}

TEST(StorageController, HooksOfAHostBusAdapter) {
    const Reference controller = make();
    std::vector<orbLogicalDiskInfo> volumes(2);
    std::vector<orbStorageEnclosureInfo> enclosures(3);
    orbDiskInfo disk;
    disk.setState(ORB_STATE_OPTIMAL);
    EXPECT_EQ(controller->discoverLogicalDiskInventory(volumes), 0);
    EXPECT_EQ(volumes.size(), 2u);
    EXPECT_EQ(controller->discoverStorageEnclosureInventory(enclosures), 0);
    EXPECT_EQ(enclosures.size(), 3u);
    EXPECT_TRUE(controller->isEventsEnabled());
    EXPECT_TRUE(controller->validatePhysicalDisk(disk));
    EXPECT_EQ(controller->discoverPhysicalDiskSlotNumber(disk), -1);
    EXPECT_EQ(controller->orbStorageController::discoverPhysicalDiskStatus(disk), 0);
    EXPECT_EQ(disk.getState(), ORB_STATE_OPTIMAL);
    EXPECT_EQ(controller->orbStorageController::getMaxSupportedControllerPorts(), 0u);
    controller->populateDeviceNameMap();
    EXPECT_EQ(controller->getLogicalDeviceName("one"), "");
    controller->deviceNameMap["one"] = "/dev/sda";
    EXPECT_EQ(controller->getLogicalDeviceName("one"), "/dev/sda");
    EXPECT_EQ(controller->getLogicalDeviceName("two"), "");
    EXPECT_EQ(controller->deviceNameMap.size(), 1u); // asking enters nothing
}

TEST(StorageController, GivesCopiesOfWhatItKnows) {
    const Reference controller = make();
    controller->controllerInventory.setModel("A");
    controller->physicalDrives.push_back(make_disk("S1", ORB_STATE_RUNNING, ORB_HEALTH_OK));
    controller->logicalDisks.resize(1);
    controller->storageEnclosures.resize(2);

    orbStorageControllerInfo inventory;
    controller->getInventory(inventory);
    EXPECT_EQ(inventory.getModel(), "A");
    inventory.setModel("B");
    EXPECT_EQ(controller->getInventory().getModel(), "A");

    std::vector<orbDiskInfo> disks(5);
    controller->getPhysicalDrivesInventory(disks);
    ASSERT_EQ(disks.size(), 1u);
    EXPECT_EQ(disks[0].getSerialNumber(), "S1");
    EXPECT_EQ(controller->getPhysicalDrivesInventory().size(), 1u);
    std::vector<orbLogicalDiskInfo> volumes(5);
    controller->getLogicalDiskInventory(volumes);
    EXPECT_EQ(volumes.size(), 1u);
    EXPECT_EQ(controller->getLogicalDiskInventory().size(), 1u);
    std::vector<orbStorageEnclosureInfo> enclosures(5);
    controller->getStorageEnclosureInventory(enclosures);
    EXPECT_EQ(enclosures.size(), 2u);
    EXPECT_EQ(controller->getStorageEnclosureInventory().size(), 2u);
}

// -- The table of virtual operations --------------------------------------------------------------

TEST(StorageController, VirtualOperationsStandInTheirOrder) {
    using C = orbStorageController;
    using Info = orbStorageControllerInfo;
    using Disks = std::vector<orbDiskInfo>;
    using Volumes = std::vector<orbLogicalDiskInfo>;
    using Enclosures = std::vector<orbStorageEnclosureInfo>;
    const std::size_t slots[] = {
        slot_of(&C::discoverInventory),
        slot_of(&C::discoverPhysicalDiskInventory),
        slot_of(&C::discoverLogicalDiskInventory),
        slot_of(&C::discoverStorageEnclosureInventory),
        slot_of(&C::isMatchingController),
        slot_of(&C::enableEvents),
        slot_of(&C::isEventsEnabled),
        slot_of(&C::disableEvents),
        slot_of(&C::poll),
        slot_of(&C::processDeviceRemoval),
        slot_of(&C::processDeviceAddition),
        slot_of(&C::getChipsetID),
        slot_of(&C::getBoardID),
        slot_of(&C::getPciLocation),
        slot_of(&C::getPortVector),
        slot_of(&C::getPort),
        slot_of(&C::setPort),
        slot_of(&C::addPort),
        slot_of(&C::clearPortList),
        slot_of(&C::getPortListSize),
        slot_of(&C::deletePort),
        slot_of(&C::getFamilyFlags),
        slot_of(&C::getNewDevice),
        slot_of(&C::setNewDevice),
        slot_of(&C::getFoundOnFirstDiscoveryPass),
        slot_of(static_cast<void (C::*)(Info &)>(&C::getInventory)),
        slot_of(static_cast<Info (C::*)()>(&C::getInventory)),
        slot_of(static_cast<void (C::*)(Disks &)>(&C::getPhysicalDrivesInventory)),
        slot_of(static_cast<Disks (C::*)()>(&C::getPhysicalDrivesInventory)),
        slot_of(static_cast<void (C::*)(Volumes &)>(&C::getLogicalDiskInventory)),
        slot_of(static_cast<Volumes (C::*)()>(&C::getLogicalDiskInventory)),
        slot_of(static_cast<void (C::*)(Enclosures &)>(&C::getStorageEnclosureInventory)),
        slot_of(static_cast<Enclosures (C::*)()>(&C::getStorageEnclosureInventory)),
        slot_of(&C::getHostNumberForControllerPort),
        slot_of(&C::getATADeviceNumberForControllerPort),
        slot_of(&C::discoverFirmwareVersion),
        slot_of(&C::discoverSerialNumber),
        slot_of(&C::discoverManufacturer),
        slot_of(&C::discoverControllerPortStatus),
        slot_of(&C::discoverPhysicalDiskSlotNumber),
        slot_of(&C::discoverPhysicalDiskStatus),
        slot_of(&C::validatePhysicalDisk),
        slot_of(&C::computeControllerStatus),
        slot_of(&C::formatControllerEventInfoString),
        slot_of(&C::populateDeviceNameMap),
        slot_of(&C::getLogicalDeviceName),
        slot_of(&C::synchronizePhysicalDrivesInventory),
        slot_of(&C::synchronizeLogicalDiskInventory),
        slot_of(&C::getMaxSupportedControllerPorts),
    };
    std::size_t slot = 2; // behind the destructor's two
    for (const std::size_t actual : slots) EXPECT_EQ(actual, slot++);
}
} // namespace
