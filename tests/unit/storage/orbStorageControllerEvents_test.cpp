#include <gtest/gtest.h>

#include "unit/storage/ControllerWorld.h"

namespace {
constexpr std::uint32_t CONTROLLER_BIT = STORAGE_VENDOR_REPORTS_CONTROLLER;
constexpr std::uint32_t DISKS_BIT = STORAGE_VENDOR_REPORTS_DISKS;

/// A controller with four ports and two drives, all well, found when the daemon started. Events can
/// leave.
class ControllerCycle : public ::testing::Test {
protected:
    ControllerCycle() {
        for (const int host : {0, 1, 2, 3}) world.addHost(host, "running");
        controller->addHostPorts({0, 1, 2, 3});
        controller->foundOnFirstDiscoveryPass = true;
        controller->physicalDrives = {
            make_disk("S1", ORB_STATE_RUNNING, ORB_HEALTH_OK),
            make_disk("S2", ORB_STATE_RUNNING, ORB_HEALTH_OK, "00000000000000D2")};
        rebuild();
        ControllerWorld::sendFirstInventory();
    }
    void rebuild() {
        orbStorageControllerInfo info;
        std::vector<orbDiskInfo> disks;
        EXPECT_EQ(controller->discoverInventory(info), 0);
        EXPECT_EQ(controller->discoverPhysicalDiskInventory(disks), 0);
    }
    void setDrive(const std::string &serial, ORB_RESOURCE_STATE state, ORB_RESOURCE_HEALTH health) {
        controller->diskStatus = [=](orbDiskInfo &disk) {
            if (disk.getSerialNumber() != serial) return;
            disk.setState(state);
            disk.setHealth(health);
        };
    }
    int portLines() const {
        return world.log.countHolding("INFO", "STOR_CTLR", "Detected port status change.");
    }

    ControllerWorld world;
    const orbReference<OpenController> controller =
        orbReference<OpenController>::adopt(new OpenController);
};

// -- Polls ----------------------------------------------------------------------------------------

TEST_F(ControllerCycle, PollTouchesNothingWhileEventsAreOff) {
    world.setState(0, "offline");
    setDrive("S1", ORB_STATE_FAILED, ORB_HEALTH_CRITICAL);
    controller->poll();
    controller->enableEvents();
    controller->disableEvents();
    controller->poll();
    EXPECT_EQ(controller->looks, 0);
    EXPECT_EQ(portLines(), 0);
    EXPECT_EQ(controller->getInventory().getState(), ORB_STATE_RUNNING);
    EXPECT_TRUE(world.ids().empty());
}

TEST_F(ControllerCycle, PollOfAHealthyControllerSaysNothing) {
    controller->enableEvents();
    controller->poll();
    EXPECT_EQ(controller->looks, 2);
    EXPECT_EQ(portLines(), 0);
    EXPECT_EQ(world.invalidations(), 0);
    EXPECT_TRUE(world.ids().empty());
}

TEST_F(ControllerCycle, PollTellsOfPortsThatGoAndReturn) {
    controller->enableEvents();
    world.setState(1, "offline");
    controller->poll(); // one of four: a warning, which is no event
    EXPECT_EQ(world.info("/sys/class/scsi_host/host1: Detected port status change. [Offline, "
                         "Running, Critical, OK]"),
              1);
    EXPECT_EQ(controller->getInventory().getState(), ORB_STATE_DEGRADED);
    EXPECT_EQ(controller->getInventory().getHealth(), ORB_HEALTH_WARNING);
    EXPECT_EQ(controller->lastControllerInventory.getHealth(), ORB_HEALTH_WARNING);
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(world.invalidations(), 0);

    world.setState(2, "offline");
    world.setState(3, "eh-offline");
    controller->poll();
    EXPECT_EQ(controller->getInventory().getHealth(), ORB_HEALTH_CRITICAL);
    EXPECT_EQ(world.ids(), (std::vector<int>{398}));
    EXPECT_EQ(world.invalidations(), 1);
    EXPECT_EQ(portLines(), 3);
    controller->poll();
    EXPECT_EQ(portLines(), 3);
    EXPECT_EQ(world.ids().size(), 1u);

    for (const int host : {1, 2, 3}) world.setState(host, "running");
    controller->poll();
    EXPECT_EQ(world.ids(), (std::vector<int>{398, 397}));
    EXPECT_EQ(world.invalidations(), 2);
    EXPECT_EQ(world.events()[1]["VariableData"]["EventInfo"],
              Json::Value("The storage controller port(s) are now online."));
}

TEST_F(ControllerCycle, PollLeavesToTheVendorWhatTheVendorReports) {
    controller->eventFlags = STORAGE_EVENTS_ENABLED | CONTROLLER_BIT;
    world.setState(0, "offline");
    setDrive("S1", ORB_STATE_FAILED, ORB_HEALTH_CRITICAL);
    controller->poll();
    EXPECT_EQ(portLines(), 0);
    EXPECT_EQ(world.ids(), (std::vector<int>{538}));

    controller->eventFlags = STORAGE_EVENTS_ENABLED | DISKS_BIT;
    controller->poll();
    EXPECT_EQ(controller->looks, 2);
    EXPECT_EQ(portLines(), 1);
}

TEST_F(ControllerCycle, PollTellsOfDrivesAndRemembersThem) {
    controller->enableEvents();
    setDrive("S2", ORB_STATE_PREDICTIVE_FAILURE, ORB_HEALTH_WARNING);
    controller->poll();
    controller->poll();
    EXPECT_EQ(world.ids(), (std::vector<int>{539}));
    EXPECT_EQ(world.invalidations(), 1);
    EXPECT_EQ(world.events()[0]["PhysicalLocation"], Json::Value("00000000000000D2"));
    EXPECT_EQ(controller->lastPhysicalDrives[1].getState(), ORB_STATE_PREDICTIVE_FAILURE);
    EXPECT_EQ(controller->lastPhysicalDrives[1].getHealth(), ORB_HEALTH_WARNING);
}

TEST_F(ControllerCycle, PollRemembersADriveWithoutAnEventToo) {
    controller->enableEvents();
    setDrive("S1", ORB_STATE_RUNNING, ORB_HEALTH_WARNING); // health alone is no event
    controller->poll();
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(world.invalidations(), 0);
    EXPECT_EQ(controller->lastPhysicalDrives[0].getHealth(), ORB_HEALTH_WARNING);
}

TEST_F(ControllerCycle, PollTakesOtherHealthInTheSameStateAsAChangeOfAPort) {
    controller->enableEvents();
    orbStorageControllerPortInfo port = controller->lastControllerInventory.getControllerPort(2);
    port.setHealth(ORB_HEALTH_WARNING);
    controller->lastControllerInventory.setControllerPort(2, port);
    controller->poll();
    EXPECT_EQ(world.info("/sys/class/scsi_host/host2: Detected port status change. [Running, "
                         "Running, OK, Warning]"),
              1);
    controller->poll();
    EXPECT_EQ(portLines(), 1);
}

TEST_F(ControllerCycle, ListsOfDifferentLengthAreWalkedToTheShorterOnesEnd) {
    controller->enableEvents();
    controller->lastPhysicalDrives.pop_back();
    setDrive("S2", ORB_STATE_FAILED, ORB_HEALTH_CRITICAL);
    controller->poll();
    EXPECT_EQ(controller->looks, 1);
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(controller->lastPhysicalDrives.size(), 1u);

    controller->lastControllerInventory.deleteControllerPort(3);
    world.setState(3, "offline");
    controller->poll();
    EXPECT_EQ(portLines(), 0);
    controller->physicalDrives.clear(); // and the other way round
    controller->controllerInventory.clearControllerPortList();
    controller->poll();
    EXPECT_EQ(portLines(), 0);
    EXPECT_EQ(controller->lastPhysicalDrives.size(), 1u);
}

TEST_F(ControllerCycle, RemovedControllerIsNotPolled) {
    controller->enableEvents();
    controller->removed = true;
    world.setState(0, "offline");
    controller->poll();
    EXPECT_EQ(controller->looks, 0);
    EXPECT_EQ(portLines(), 0);
}

// -- Events on and off ----------------------------------------------------------------------------

TEST_F(ControllerCycle, EventsAreSwitchedByTheirBitAlone) {
    controller->eventFlags = CONTROLLER_BIT | DISKS_BIT;
    EXPECT_TRUE(controller->enableEvents());
    EXPECT_EQ(controller->eventFlags, 7u);
    EXPECT_TRUE(controller->disableEvents());
    EXPECT_EQ(controller->eventFlags, 3u);
    EXPECT_TRUE(controller->getNewDevice());
}

TEST_F(ControllerCycle, ControllerOfTheFirstPassIsNotAnnounced) {
    controller->enableEvents();
    EXPECT_TRUE(world.ids().empty());
    EXPECT_EQ(controller->lastControllerInventory.getState(), ORB_STATE_RUNNING);
}

TEST_F(ControllerCycle, ControllerThatWasAddedLaterIsAnnouncedWithItsDrives) {
    controller->foundOnFirstDiscoveryPass = false;
    controller->lastPhysicalDrives.pop_back(); // what has no partner is left alone
    EXPECT_TRUE(controller->enableEvents());
    EXPECT_EQ(world.ids(), (std::vector<int>{397, 540}));
    EXPECT_EQ(world.info("0000:3b:00.0: Detected controller status change. [CurrState=Running, "
                         "PrevState=Offline, CurrHealth=OK, PrevHealth=Critical]"),
              1);
    EXPECT_EQ(world.info("0000:3b:00.0: 00000000000000D1 - Detected disk status change. "
                         "[CurrState=Running, PrevState=Offline, CurrHealth=OK, "
                         "PrevHealth=Critical]"),
              1);
    EXPECT_EQ(controller->lastControllerInventory.getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(controller->lastPhysicalDrives[0].getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(world.invalidations(), 0);

    controller->setNewDevice(false);
    controller->enableEvents();
    EXPECT_EQ(world.ids().size(), 2u);
}

TEST_F(ControllerCycle, NewcomerIsAnnouncedWhoeverReportsItsChanges) {
    controller->foundOnFirstDiscoveryPass = false;
    controller->eventFlags = CONTROLLER_BIT | DISKS_BIT;
    EXPECT_TRUE(controller->enableEvents());
    EXPECT_EQ(world.ids(), (std::vector<int>{397, 540, 540}));
}

TEST_F(ControllerCycle, CriticalNewcomerEqualsTheForcedStatusAndIsNotAnnounced) {
    for (const int host : {0, 1, 2, 3}) world.setState(host, "offline");
    rebuild();
    controller->foundOnFirstDiscoveryPass = false;
    controller->enableEvents();
    EXPECT_EQ(world.ids(), (std::vector<int>{540, 540})); // its drives are
}

TEST_F(ControllerCycle, DrivesAreAnnouncedWithTheirControllerOnly) {
    controller->lastPhysicalDrives[0].setState(ORB_STATE_FAILED);
    controller->enableEvents();
    EXPECT_EQ(controller->lastPhysicalDrives[0].getState(), ORB_STATE_FAILED);
    EXPECT_TRUE(world.ids().empty());
}

// -- Removal --------------------------------------------------------------------------------------

TEST_F(ControllerCycle, RemovalTellsOfTheControllerAndEachDriveThatIsThere) {
    controller->enableEvents();
    controller->physicalDrives.push_back(
        make_disk("S3", ORB_STATE_OFFLINE, ORB_HEALTH_CRITICAL, "00000000000000D3"));
    controller->physicalDrives[2].setDeviceMissing(true);
    controller->lastPhysicalDrives = controller->physicalDrives;
    controller->processDeviceRemoval();
    EXPECT_TRUE(controller->isRemoved());
    EXPECT_EQ(world.debug("Controller @ [0000:3b:00.0] removal processing started."), 1);
    EXPECT_EQ(world.ids(), (std::vector<int>{398, 538, 538}));
    const std::vector<Json::Value> events = world.events();
    EXPECT_EQ(events[0]["VariableData"]["EventInfo"],
              Json::Value("At least 3 of 4 ports of the storage controller have gone offline or "
                          "will be removed from the system, or have been in recovery state for >= "
                          "60 seconds."));
    EXPECT_EQ(events[1]["VariableData"]["EventInfo"],
              Json::Value("Unable to determine the transport protocol of the disk drive."));
    EXPECT_EQ(events[2]["PhysicalLocation"], Json::Value("00000000000000D2"));

    orbStorageControllerInfo now = controller->getInventory();
    EXPECT_EQ(now.getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(now.getControllerPort(3).getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(now.getControllerPort(3).getHealth(), ORB_HEALTH_CRITICAL);
    EXPECT_EQ(controller->lastControllerInventory.getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(controller->lastPhysicalDrives[0].getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(controller->physicalDrives[2].getEventInfoString(), "");

    EXPECT_FALSE(controller->enableEvents());
    EXPECT_FALSE(controller->disableEvents());
    controller->processDeviceRemoval(); // nothing is left to tell
    EXPECT_EQ(world.ids().size(), 3u);
}

TEST_F(ControllerCycle, RemovalChangesNoReference) {
    EXPECT_EQ(controller->getReferenceCount(), 1);
    controller->processDeviceRemoval();
    EXPECT_EQ(controller->getReferenceCount(), 1);
}

struct RemovalCase {
    const char *name;
    std::uint32_t flags;
    std::vector<int> ids;
};
const RemovalCase REMOVAL_CASES[] = {
    {"EventsOff", 0, {}},
    {"EventsOffAndVendorReports", 3, {}},
    {"VendorReportsController", 5, {538, 538}},
    {"VendorReportsDrives", 6, {398}},
    {"VendorReportsBoth", 7, {}},
    {"PollReports", 4, {398, 538, 538}},
};
void PrintTo(const RemovalCase &row, std::ostream *os) {
    *os << row.name;
}
class ControllerRemoval : public ControllerCycle,
                          public ::testing::WithParamInterface<RemovalCase> {};
TEST_P(ControllerRemoval, IsToldWhereThePollReports) {
    controller->eventFlags = GetParam().flags;
    controller->processDeviceRemoval();
    EXPECT_EQ(world.ids(), GetParam().ids);
    EXPECT_EQ(controller->physicalDrives[0].getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(controller->lastPhysicalDrives[1].getHealth(), ORB_HEALTH_CRITICAL);
}
INSTANTIATE_TEST_SUITE_P(Flags, ControllerRemoval, ::testing::ValuesIn(REMOVAL_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(ControllerCycle, RemovalWithoutPortsComputesAHealthyController) {
    controller->eventFlags = STORAGE_EVENTS_ENABLED | CONTROLLER_BIT | DISKS_BIT;
    controller->controllerInventory.clearControllerPortList();
    controller->lastPhysicalDrives.clear(); // a class that fills the present list alone
    controller->processDeviceRemoval();
    EXPECT_EQ(controller->getInventory().getState(), ORB_STATE_RUNNING);
    EXPECT_EQ(controller->getInventory().getHealth(), ORB_HEALTH_OK);
    EXPECT_EQ(controller->physicalDrives[0].getState(), ORB_STATE_RUNNING);
    EXPECT_TRUE(world.ids().empty());
}

// -- Return ---------------------------------------------------------------------------------------

TEST_F(ControllerCycle, NewObjectInTheSamePlaceTakesOverWhatTheFormerKnew) {
    controller->enableEvents();
    controller->logicalDisks.resize(1);
    controller->deviceNameMap["a"] = "b";
    controller->processDeviceRemoval();
    const std::size_t told = world.ids().size();

    const auto next = orbReference<OpenController>::adopt(new OpenController);
    next->processDeviceAddition(controller.get());
    EXPECT_FALSE(next->isRemoved());
    EXPECT_EQ(next->getInventory().getState(), ORB_STATE_OFFLINE);
    EXPECT_EQ(next->getInventory().getControllerPortListSize(), 4u);
    EXPECT_EQ(next->getInventory().getEventInfoString(),
              controller->getInventory().getEventInfoString());
    EXPECT_EQ(next->lastControllerInventory.getHealth(), ORB_HEALTH_CRITICAL);
    EXPECT_EQ(next->physicalDrives.size(), 2u);
    EXPECT_EQ(next->lastPhysicalDrives.size(), 2u);
    EXPECT_EQ(next->eventFlags, STORAGE_EVENTS_ENABLED);
    EXPECT_TRUE(next->logicalDisks.empty());
    EXPECT_TRUE(next->deviceNameMap.empty());
    EXPECT_EQ(next->lastControllerEventCritical, -1);
    EXPECT_TRUE(next->newDevice);
    EXPECT_FALSE(next->foundOnFirstDiscoveryPass);
    EXPECT_EQ(next->getPortListSize(), 0u);

    // The return is told by the rebuild, and again when events are switched on.
    next->addHostPorts({0, 1, 2, 3});
    orbStorageControllerInfo info;
    next->discoverInventory(info);
    next->enableEvents();
    std::vector<int> later = world.ids();
    later.erase(later.begin(), later.begin() + static_cast<std::ptrdiff_t>(told));
    EXPECT_EQ(later, (std::vector<int>{397, 397}));
    EXPECT_EQ(controller->getInventory().getState(), ORB_STATE_OFFLINE); // it keeps its own
}

TEST_F(ControllerCycle, WithoutAFormerObjectNothingIsTakenOver) {
    controller->processDeviceAddition(nullptr);
    EXPECT_EQ(controller->physicalDrives.size(), 2u);

    class Stranger final : public IorbStorageController {
        int discoverInventory(orbStorageControllerInfo &) override { return 0; }
        int discoverPhysicalDiskInventory(std::vector<orbDiskInfo> &) override { return 0; }
        int discoverLogicalDiskInventory(std::vector<orbLogicalDiskInfo> &) override { return 0; }
        int discoverStorageEnclosureInventory(std::vector<orbStorageEnclosureInfo> &) override {
            return 0;
        }
        bool isMatchingController(unsigned, unsigned, char *, char *) override { return true; }
        bool enableEvents() override { return true; }
        bool isEventsEnabled() override { return true; }
        bool disableEvents() override { return true; }
        void poll() override {}
        void processDeviceRemoval() override {}
        void processDeviceAddition(IorbStorageController *) override {}
    } stranger;
    controller->processDeviceAddition(&stranger);
    EXPECT_EQ(controller->physicalDrives.size(), 2u);
    EXPECT_EQ(controller->getInventory().getControllerPortListSize(), 4u);
}

// -- Volumes that vanish --------------------------------------------------------------------------

class ControllerVolumes : public ::testing::Test {
protected:
    static orbLogicalDiskInfo volume(const std::string &name, bool missing = false,
                                     bool deleted = false) {
        orbLogicalDiskInfo disk;
        disk.setDurableName(name);
        disk.setLogicalDiskID("7");
        disk.setDeviceMissing(missing);
        disk.setDeletedEventReceived(deleted);
        return disk;
    }
    std::vector<std::string> synchronize() {
        controller->controllerInventory.setSerialNumber("SP1");
        controller->synchronizeLogicalDiskInventory();
        std::vector<std::string> names;
        for (orbLogicalDiskInfo &disk : controller->logicalDisks)
            names.push_back(disk.getDurableName() + (disk.getDeviceMissing() ? " missing" : ""));
        return names;
    }
    int said(const std::string &text) const {
        return log.count("DEBUG", "STOR_CTLR", "Controller [SN SP1]: " + text);
    }

    TemporaryRoot root;
    LogFile log{root};
    const orbReference<OpenController> controller =
        orbReference<OpenController>::adopt(new OpenController);
};

TEST_F(ControllerVolumes, VolumeThatIsStillThereIsLeftAlone) {
    controller->logicalDisks = {volume("A")};
    controller->lastLogicalDisks = {volume("A", true)};
    EXPECT_EQ(synchronize(), (std::vector<std::string>{"A"}));
    EXPECT_EQ(said("Inside synchronizeLogicalDiskInventory"), 1);
    EXPECT_EQ(said("Looking for LD [A] in latest inventory."), 1);
    EXPECT_EQ(said("Found LD [A] in latest inventory."), 1);
}

TEST_F(ControllerVolumes, VolumeThatVanishedWithoutAWordStaysAsMissing) {
    controller->logicalDisks = {volume("A")};
    controller->lastLogicalDisks = {volume("A"), volume("B")};
    EXPECT_EQ(synchronize(), (std::vector<std::string>{"A", "B missing"}));
    EXPECT_TRUE(controller->lastLogicalDisks[1].getDeviceMissing());
    EXPECT_EQ(said("Added placeholder for LD [B] in latest inventory."), 1);

    // And so in the cycles after it.
    controller->lastLogicalDisks = controller->logicalDisks;
    controller->logicalDisks = {volume("A")};
    EXPECT_EQ(synchronize(), (std::vector<std::string>{"A", "B missing"}));
    EXPECT_EQ(said("Re-added missing LD [B] to latest inventory."), 1);
    EXPECT_EQ(said("Added placeholder for LD [B] in latest inventory."), 1);
}

TEST_F(ControllerVolumes, TwoRecordsOfOneNameLeaveOnePlaceholder) {
    controller->lastLogicalDisks = {volume("B"), volume("B")};
    EXPECT_EQ(synchronize(), (std::vector<std::string>{"B missing"}));
    EXPECT_EQ(said("Found LD [B] in latest inventory."), 1); // the placeholder of the first
    EXPECT_FALSE(controller->lastLogicalDisks[1].getDeviceMissing());
}

TEST_F(ControllerVolumes, VolumeThatWasDeletedIsDropped) {
    controller->lastLogicalDisks = {volume("B", false, true), volume("C", true, true)};
    EXPECT_TRUE(synchronize().empty());
    EXPECT_EQ(said("Omitting LD [B] that has received deleted-event. (Device not missing)"), 1);
    EXPECT_EQ(said("Omitting LD [C] that has received deleted-event. (Device missing)"), 1);
    EXPECT_FALSE(controller->lastLogicalDisks[0].getDeviceMissing());
}

TEST_F(ControllerVolumes, VolumeWithoutANameIsSkipped) {
    controller->logicalDisks = {volume("")};
    controller->lastLogicalDisks = {volume("")};
    EXPECT_EQ(synchronize(), (std::vector<std::string>{""}));
    EXPECT_EQ(said("Found a logical disk with empty durable name. [LogicalDiskID = 7]"), 1);
    EXPECT_EQ(log.countHolding("DEBUG", "STOR_CTLR", "Looking for LD"), 0);
}
} // namespace
