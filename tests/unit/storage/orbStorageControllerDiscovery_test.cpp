#include <cstdlib>

#include <gtest/gtest.h>

#include "unit/storage/ControllerWorld.h"

namespace {
class ControllerDiscovery : public ::testing::Test {
protected:
    ControllerDiscovery() {
        world.addHost(2, "running");
        world.addHost(5, "running");
        world.set(2, "proc_name", "mpt3sas");
        world.set(2, "firmware_revision", "16.00.10.00");
        world.set(2, "board_tracer", "SP12345678");
        controller->addHostPorts({2, 5});
    }
    orbStorageControllerInfo discover() {
        orbStorageControllerInfo out;
        EXPECT_EQ(controller->discoverInventory(out), 0);
        return out;
    }

    ControllerWorld world;
    const orbReference<OpenController> controller =
        orbReference<OpenController>::adopt(new OpenController);
};

// -- The controller -------------------------------------------------------------------------------

TEST_F(ControllerDiscovery, FillsTheWholeRecord) {
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getChipsetID(), 0x00971000u);
    EXPECT_EQ(found.getBoardID(), 0x30e01000u);
    EXPECT_EQ(found.getModel(), "SAS9300-8i");
    EXPECT_EQ(found.getFirmwareVersion(), "16.00.10.00");
    EXPECT_EQ(found.getSerialNumber(), "SP12345678");
    EXPECT_EQ(found.getManufacturer(), "Intel Corporation");
    EXPECT_EQ(found.getPartNumber(), "VX80003-001");
    EXPECT_EQ(found.getProtocol(), "SAS/SATA");
    EXPECT_EQ(found.getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(found.getHealth(), ORB_HEALTH_OK);
    EXPECT_EQ(found.getEventInfoString(), "The storage controller port(s) are now online.");
    EXPECT_EQ(found.getPhysicalLocation(), ControllerWorld::LOCATION);
    EXPECT_EQ(found.getDescription(), "PCI 0000:3b:00.0 r001u01p0i03");
    ASSERT_EQ(found.getControllerPortListSize(), 2u);
    orbStorageControllerPortInfo first = found.getControllerPort(0);
    EXPECT_EQ(first.getOSInstanceName(), "/sys/class/scsi_host/host2");
    EXPECT_EQ(first.getDriverName(), "mpt3sas");
    EXPECT_EQ(first.getATADeviceNumber(), 3);
    EXPECT_EQ(first.getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(first.getHealth(), ORB_HEALTH_OK);
    EXPECT_EQ(found.getControllerPort(1).getDriverName(), "");
    EXPECT_EQ(found.getControllerPort(1).getATADeviceNumber(), 6);

    EXPECT_EQ(world.debug("Gathering inventory for controller @ 0000:3b:00.0 [0x971000, "
                          "0x30E01000] [0]."),
              1);
    EXPECT_EQ(world.info("0000:3b:00.0: SCSI HOST HBA Firmware: 16.00.10.00"), 1);
    EXPECT_EQ(world.info("0000:3b:00.0: SCSI HOST HBA Board Tracer: SP12345678"), 1);
    EXPECT_EQ(world.debug("pciloc=[0000:3b:00.0] phyloc=[0123456789ABCDEF] Description=[PCI "
                          "0000:3b:00.0 r001u01p0i03]"),
              1);
    EXPECT_EQ(controller->getInventory().getModel(), "SAS9300-8i");
    EXPECT_EQ(controller->lastControllerInventory.getModel(), "SAS9300-8i");
}

TEST_F(ControllerDiscovery, WhatIsNoLongerToldIsEmptyAgain) {
    discover();
    world.unset(2, "firmware_revision");
    world.unset(2, "board_tracer");
    world.setMaker("");
    const orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getFirmwareVersion(), "");
    EXPECT_EQ(found.getSerialNumber(), "");
    EXPECT_EQ(found.getManufacturer(), "");
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR", "SCSI HOST HBA"), 2); // the first time's
}

TEST_F(ControllerDiscovery, FirmwareAndSerialNumberComeFromTheFirstPort) {
    world.set(5, "firmware_revision", "other");
    controller->clearPortList();
    controller->addHostPorts({5, 2});
    const orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getFirmwareVersion(), "other");
    EXPECT_EQ(found.getSerialNumber(), "");
}

TEST_F(ControllerDiscovery, WithoutPortsNothingIsReadAndAllIsWell) {
    controller->clearPortList();
    EXPECT_EQ(controller->discoverFirmwareVersion(), nullptr);
    EXPECT_EQ(controller->discoverSerialNumber(), nullptr);
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getFirmwareVersion(), "");
    EXPECT_EQ(found.getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(found.getHealth(), ORB_HEALTH_OK);
    EXPECT_EQ(found.getControllerPortListSize(), 0u);
}

TEST_F(ControllerDiscovery, TextsBelongToTheCaller) {
    char *const firmware = controller->discoverFirmwareVersion();
    EXPECT_STREQ(firmware, "16.00.10.00");
    std::free(firmware);
    char *const serial = controller->discoverSerialNumber();
    EXPECT_STREQ(serial, "SP12345678");
    std::free(serial);
}

TEST_F(ControllerDiscovery, TextsOfTheOutsideAreNoFormats) {
    world.set(2, "firmware_revision", "%s%n%d");
    EXPECT_EQ(discover().getFirmwareVersion(), "%s%n%d");
    EXPECT_EQ(world.info("0000:3b:00.0: SCSI HOST HBA Firmware: %s%n%d"), 1);
}

TEST(ControllerDiscoveryPlaces, UnknownModelAndPlaceLeaveTextsEmpty) {
    ControllerWorld world;
    const auto controller = orbReference<OpenController>::adopt(
        new OpenController(ControllerWorld::OTHER_ADDRESS, 0x12345678, 0x9abcdef0));
    orbStorageControllerInfo found;
    EXPECT_EQ(controller->discoverInventory(found), 0);
    EXPECT_EQ(found.getModel(), "");
    EXPECT_EQ(found.getPartNumber(), "");
    EXPECT_EQ(found.getManufacturer(), "");
    EXPECT_EQ(found.getDescription(), "PCI 0000:99:00.0");
    EXPECT_EQ(found.getPhysicalLocation(), "FFFFFFFFFFFFFFFF");
}

TEST(ControllerDiscoveryPlaces, AnyBoardOfAChipsetHasAModelAndNoPartNumber) {
    ControllerWorld world;
    const auto controller = orbReference<OpenController>::adopt(
        new OpenController(ControllerWorld::ADDRESS, 0x00971000, 0x00011234));
    orbStorageControllerInfo found;
    EXPECT_EQ(controller->discoverInventory(found), 0);
    EXPECT_EQ(found.getModel(), "SAS3008 SAS-3 Host Bus Adapter");
    EXPECT_EQ(found.getPartNumber(), "");
}

TEST_F(ControllerDiscovery, EachChangeOfFirmwareAsksForAPushAlsoTheFirst) {
    discover();
    EXPECT_EQ(world.pushes(), 1);
    discover();
    EXPECT_EQ(world.pushes(), 1);
    world.set(2, "firmware_revision", "16.00.12.00");
    discover();
    EXPECT_EQ(world.pushes(), 2);
    world.unset(2, "firmware_revision");
    discover();
    EXPECT_EQ(world.pushes(), 3);
    discover();
    EXPECT_EQ(world.pushes(), 3);
    EXPECT_EQ(world.invalidations(), 0);
}

// -- Its ports ------------------------------------------------------------------------------------

TEST_F(ControllerDiscovery, PortWhoseStateCantBeReadIsOffline) {
    world.unset(5, "state");
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getControllerPort(1).getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(found.getControllerPort(1).getHealth(), ORB_HEALTH_CRITICAL);
    EXPECT_EQ(found.getState(), ORB_STATE_DEGRADED);
    EXPECT_EQ(found.getHealth(), ORB_HEALTH_CRITICAL);
    world.root.write(ControllerWorld::port(5) + "/state", ""); // readable, and nothing in it
    found = discover();
    EXPECT_EQ(found.getControllerPort(1).getState(), ORB_STATE_OFFLINE);
}

TEST_F(ControllerDiscovery, UnreadableStateLeavesTheRecoveryStamp) {
    world.unset(5, "state");
    orbStorageControllerPortInfo port;
    port.setOSInstanceName(ControllerWorld::port(5));
    port.setLastRecoveryTimestamp(77);
    controller->discoverControllerPortStatus(port);
    EXPECT_EQ(port.getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(port.getLastRecoveryTimestamp(), 77);
}

TEST_F(ControllerDiscovery, StatesOfAnyLengthAndContentAreJudged) {
    world.set(5, "state", std::string(4096, 'r'));
    EXPECT_EQ(discover().getControllerPort(1).getState(), ORB_STATE_UNKNOWN);
    world.set(5, "state", std::string(100000, '%') + "n");
    EXPECT_EQ(discover().getControllerPort(1).getHealth(), ORB_HEALTH_CRITICAL);
    world.root.write(ControllerWorld::port(5) + "/state", "running\nmore");
    EXPECT_EQ(discover().getControllerPort(1).getState(), ORB_STATE_RUNNING);
    world.root.write(ControllerWorld::port(5) + "/state", std::string("\0running", 8));
    EXPECT_EQ(discover().getControllerPort(1).getState(), ORB_STATE_OFFLINE);
}

TEST_F(ControllerDiscovery, PortThatIsNoLinkOrGoneHasNoAtaNumber) {
    world.root.makeDirectory(ControllerWorld::port(7));
    std::filesystem::create_symlink("../../devices/pci0000:3a/host8",
                                    world.root.map(ControllerWorld::port(8)));
    controller->addHostPorts({7, 8, 9});
    EXPECT_EQ(controller->getATADeviceNumberForControllerPort(2), -1);
    EXPECT_EQ(world.debug("Unable to determine ATA port number for /sys/class/scsi_host/host7. "
                          "readlink failed! (22)"),
              1);
    EXPECT_EQ(controller->getATADeviceNumberForControllerPort(3), -1);
    EXPECT_EQ(world.debug("No ATA device number found for /sys/class/scsi_host/host8 "
                          "(../../devices/pci0000:3a/host8)."),
              1);
    EXPECT_EQ(controller->getATADeviceNumberForControllerPort(4), -1);
    EXPECT_EQ(world.debug("Unable to determine ATA port number for /sys/class/scsi_host/host9. "
                          "readlink failed! (2)"),
              1);
    EXPECT_EQ(controller->getATADeviceNumberForControllerPort(5), -1); // there is no such port
    EXPECT_EQ(controller->getATADeviceNumberForControllerPort(0), 3);
}

TEST_F(ControllerDiscovery, PortsTellTheirHostNumber) {
    EXPECT_EQ(controller->getHostNumberForControllerPort(0), 2);
    EXPECT_EQ(controller->getHostNumberForControllerPort(1), 5);
    EXPECT_EQ(controller->getHostNumberForControllerPort(2), -1);
    controller->addPort("/sys/class/scsi_host/hostess");
    EXPECT_EQ(controller->getHostNumberForControllerPort(2), -1);
}

// -- Recovery stamps ------------------------------------------------------------------------------

class ControllerRecovery : public ControllerDiscovery {
protected:
    std::int64_t stamp() {
        return controller->getInventory().getControllerPort(0).getLastRecoveryTimestamp();
    }
    int began() const {
        return world.debug("Controller port [/sys/class/scsi_host/host2] went into recovery mode.");
    }
    int isLong() const {
        return world.debug("Controller port [/sys/class/scsi_host/host2] in recovery mode for "
                           "atleast 60 seconds.");
    }
};

TEST_F(ControllerRecovery, PortFirstSeenInRecoveryKeepsItsStampAcrossRebuilds) {
    world.setState(2, "recovery");
    const std::int64_t first = world.clock.now();
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getControllerPort(0).getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(stamp(), first);
    world.clock.advance(100);
    discover();
    EXPECT_EQ(stamp(), first);
    EXPECT_EQ(began(), 2); // each rebuild judges without the stamp
    EXPECT_EQ(isLong(), 0);
}

TEST_F(ControllerRecovery, StampsFollowTheNameAndNotThePlaceInTheList) {
    world.setState(2, "recovery");
    const std::int64_t first = world.clock.now();
    discover();
    world.clock.advance(100);
    controller->clearPortList();
    controller->addHostPorts({5, 2});
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getControllerPort(0).getLastRecoveryTimestamp(), 0);
    EXPECT_EQ(found.getControllerPort(1).getLastRecoveryTimestamp(), first);
}

TEST_F(ControllerRecovery, PortThatEntersRecoveryLaterNeverGetsAStamp) {
    discover();
    controller->enableEvents();
    world.setState(2, "recovery");
    discover();
    EXPECT_EQ(stamp(), 0);
    controller->poll(); // the record of the look is dropped: it runs, as before
    EXPECT_EQ(stamp(), 0);
    controller->poll();
    EXPECT_EQ(began(), 3);
    EXPECT_EQ(world.info("0000:3b:00.0: Detected port status change."), 0);
}

TEST_F(ControllerRecovery, RecoveringForHoursIsRunning) {
    world.setState(2, "recovery");
    discover();
    controller->enableEvents();
    for (int hour = 0; hour < 3; ++hour) {
        world.clock.advance(3600);
        controller->poll();
    }
    EXPECT_EQ(controller->getInventory().getControllerPort(0).getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(isLong(), 0);
}

TEST_F(ControllerRecovery, ClockSteppedBackByAMinuteShowsTheRecovery) {
    world.setState(2, "recovery");
    discover();
    controller->enableEvents();
    ControllerWorld::sendFirstInventory();
    const std::int64_t first = stamp();
    world.clock.advance(first - 59 - world.clock.now());
    controller->poll();
    EXPECT_EQ(isLong(), 0);
    world.clock.advance(first - 60 - world.clock.now());
    controller->poll();
    EXPECT_EQ(isLong(), 1);
    EXPECT_EQ(world.info("/sys/class/scsi_host/host2: Detected port status change. [Recovery, "
                         "Running, Warning, OK]"),
              1);
    EXPECT_EQ(controller->getInventory().getControllerPort(0).getState(), ORB_STATE_RECOVERY);
    EXPECT_EQ(stamp(), first);
    // One of two ports: all but one of them.
    EXPECT_EQ(controller->getInventory().getState(), ORB_STATE_RECOVERING);
    EXPECT_EQ(controller->getInventory().getHealth(), ORB_HEALTH_CRITICAL);
    EXPECT_EQ(world.ids(), (std::vector<int>{398}));
    EXPECT_EQ(world.invalidations(), 1);
}

// -- Changes found by a rebuild -------------------------------------------------------------------

TEST_F(ControllerDiscovery, RebuildTellsOfAChangeOnceEventsAreOn) {
    discover();
    ControllerWorld::sendFirstInventory();
    world.setState(5, "offline");
    discover(); // events are still off
    EXPECT_TRUE(world.ids().empty());
    controller->foundOnFirstDiscoveryPass = true;
    controller->enableEvents();
    world.setState(5, "running");
    discover();
    EXPECT_EQ(world.ids(), (std::vector<int>{397}));
    discover();
    EXPECT_EQ(world.ids().size(), 1u);
    EXPECT_EQ(world.invalidations(), 0); // a rebuild is what runs
}

TEST_F(ControllerDiscovery, RebuildComparesWithTheRecordThatWasCurrent) {
    discover();
    ControllerWorld::sendFirstInventory();
    controller->foundOnFirstDiscoveryPass = true;
    controller->enableEvents();
    controller->controllerInventory.setHealth(ORB_HEALTH_CRITICAL); // as a vendor's channel would
    controller->controllerInventory.setFirmwareVersion("former");
    discover();
    EXPECT_EQ(world.ids(), (std::vector<int>{397}));
    EXPECT_EQ(world.pushes(), 2); // the first rebuild's and this one's
}

TEST_F(ControllerDiscovery, RebuildIsSilentWhereTheVendorReports) {
    discover();
    ControllerWorld::sendFirstInventory();
    controller->eventFlags = STORAGE_EVENTS_ENABLED | STORAGE_VENDOR_REPORTS_CONTROLLER;
    world.setState(5, "offline");
    EXPECT_EQ(discover().getHealth(), ORB_HEALTH_CRITICAL);
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR", "Detected controller status"), 0);
}

TEST_F(ControllerDiscovery, FirstStatusOfAllIsNoChange) {
    ControllerWorld::sendFirstInventory();
    controller->eventFlags = STORAGE_EVENTS_ENABLED;
    world.setState(2, "offline");
    world.setState(5, "offline");
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getState(), ORB_STATE_OFFLINE);
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(world.log.countHolding("INFO", "STOR_CTLR", "controller status change"), 0);
}

// -- A removed controller, drives -----------------------------------------------------------------

TEST_F(ControllerDiscovery, RemovedControllerGivesExactlyWhatItKnew) {
    discover();
    controller->processDeviceRemoval();
    controller->physicalDrives = {make_disk("S1", ORB_STATE_RUNNING, ORB_HEALTH_OK),
                                  make_disk("S2", ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL)};
    controller->physicalDrives[1].setDeviceMissing(true);
    world.set(2, "firmware_revision", "new");
    controller->controllerInventory.setModel("current");
    orbStorageControllerInfo found = discover();
    EXPECT_EQ(found.getModel(), "current");
    EXPECT_NE(controller->lastControllerInventory.getModel(), "current");
    EXPECT_EQ(found.getFirmwareVersion(), "16.00.10.00");
    EXPECT_EQ(found.getControllerPort(0).getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(world.debug("Gathering inventory for controller @ 0000:3b:00.0 [0x971000, "
                          "0x30E01000] [1]."),
              1);
    EXPECT_EQ(world.debug("0000:3b:00.0: Return last known inventory for removed controller."), 1);

    std::vector<orbDiskInfo> disks(3);
    EXPECT_EQ(controller->discoverPhysicalDiskInventory(disks), 0);
    ASSERT_EQ(disks.size(), 1u); // placeholders stay inside, here as well
    EXPECT_EQ(disks[0].getSerialNumber(), "S1");
    EXPECT_EQ(world.debug("Gathering disk inventory for controller @ 0000:3b:00.0 [0x971000, "
                          "0x30E01000] [1]."),
              1);
    EXPECT_EQ(world.debug("0000:3b:00.0: Return last known PD inventory for removed controller."),
              1);
}

TEST_F(ControllerDiscovery, DrivesAreGivenWithoutPlaceholdersAndStayInLine) {
    controller->physicalDrives = {make_disk("S1", ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL),
                                  make_disk("S2", ORB_STATE_RUNNING, ORB_HEALTH_OK)};
    controller->physicalDrives[0].setDeviceMissing(true);
    std::vector<orbDiskInfo> disks;
    EXPECT_EQ(controller->discoverPhysicalDiskInventory(disks), 0);
    ASSERT_EQ(disks.size(), 1u);
    EXPECT_EQ(disks[0].getSerialNumber(), "S2");
    EXPECT_EQ(controller->getPhysicalDrivesInventory().size(), 2u);
    EXPECT_EQ(controller->lastPhysicalDrives.size(), 2u);
    EXPECT_EQ(world.debug("Gathering disk inventory for controller @ 0000:3b:00.0 [0x971000, "
                          "0x30E01000] [0]."),
              1);
    EXPECT_EQ(world.log.countHolding("DEBUG", "STOR_CTLR", "PD inventory for removed"), 0);
}
} // namespace
