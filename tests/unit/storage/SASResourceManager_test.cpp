#include "storage/SASResourceManager.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbFactory.h"
#include "unit/storage/SasWorld.h"

namespace {
constexpr char TAG[] = "SAS_RM";

class Sas : public ::testing::Test {
protected:
    explicit Sas(const std::string &settings = "") : world("PLATFORM-ID-A01", settings) {
        world.clock.setAutoAdvance(true);
    }
    int loggedDebug(const std::string &text) { return world.log.count("DEBUG", TAG, text); }

    SasWorld world;
};

/// A value as whoever receives its text has it.
Json::Value reread(const Json::Value &value) {
    Json::Value read;
    EXPECT_TRUE(parse_json(compact_json(value), read));
    return read;
}

/// A controller with one unit of each kind, named after it.
FakeStorageController &add_full(FakeStorageFactory &factory, const std::string &name) {
    FakeStorageController &controller = factory.add(name);
    controller.drives = {SasWorld::drive("D-" + name)};
    controller.volumes = {SasWorld::volume("V-" + name)};
    orbStorageEnclosureInfo enclosure;
    enclosure.setSerialNumber("E-" + name);
    controller.enclosures = {enclosure};
    return controller;
}

using Texts = std::vector<std::string>;

TEST_F(Sas, IsTheManagerOfStorage) {
    EXPECT_EQ(orbFactory().createInstance(2), &SASResourceManager::getInstance());
    EXPECT_EQ(SASClassObj, &world.manager);
}

// -- A build ------------------------------------------------------------------------------------

TEST_F(Sas, GathersControllersOfAllFactoriesInOrder) {
    FakeStorageFactory second("G", world.calls);
    add_full(second, "C3");
    add_full(world.factory, "C1");
    add_full(world.factory, "C2");
    world.manager.cacheBuild();
    EXPECT_EQ(world.texts(1, "SerialNumber"), (Texts{"SN-C1", "SN-C2", "SN-C3"}));
    EXPECT_EQ(world.texts(0, "SerialNumber"), (Texts{"SN-C1", "SN-C2", "SN-C3"}));
    EXPECT_EQ(world.texts(2, "SerialNumber"), (Texts{"D-C1", "D-C2", "D-C3"}));
    EXPECT_EQ(world.texts(3, "DurableName"), (Texts{"V-C1", "V-C2", "V-C3"}));
    EXPECT_EQ(world.texts(4, "SerialNumber"), (Texts{"E-C1", "E-C2", "E-C3"}));
    EXPECT_EQ(loggedDebug("Building storage cache."), 1);
}

TEST_F(Sas, AsksAControllerStepByStep) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    EXPECT_EQ(world.calls.take(), (Texts{"F discover", "C inventory", "C drives", "C volumes",
                                         "C enclosures", "C enableEvents"}));
}

TEST_F(Sas, BuildReplacesTheFormerInventory) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    world.manager.cacheBuild();
    for (int type = 0; type <= 4; ++type) EXPECT_EQ(world.objects(type).size(), 1u) << type;
}

TEST_F(Sas, FactoryThatFailsIsSkipped) {
    FakeStorageFactory second("G", world.calls);
    add_full(world.factory, "C1");
    add_full(second, "C2");
    world.factory.discoverResult = -3;
    world.manager.cacheBuild();
    EXPECT_EQ(world.texts(1, "SerialNumber"), Texts{"SN-C2"});
    EXPECT_EQ(loggedDebug("discoverControllers() completed with -3."), 1);
    EXPECT_TRUE(world.manager.isInventoryReady(0));
}

TEST_F(Sas, PositiveResultsAreSuccess) {
    FakeStorageController &controller = add_full(world.factory, "C");
    world.factory.discoverResult = 1;
    controller.inventoryResult = controller.drivesResult = 1;
    controller.volumesResult = controller.enclosuresResult = 1;
    world.manager.cacheBuild();
    for (int type = 1; type <= 4; ++type) EXPECT_EQ(world.objects(type).size(), 1u) << type;
}

struct SkipCase {
    const char *name;
    int FakeStorageController::*failing;
    std::size_t kinds; // that the controller still tells of
    Texts calls;
};
void PrintTo(const SkipCase &row, std::ostream *os) {
    *os << row.name;
}
const SkipCase SKIP_CASES[] = {
    {"Inventory", &FakeStorageController::inventoryResult, 0, {"F discover", "C inventory"}},
    {"Drives", &FakeStorageController::drivesResult, 1, {"F discover", "C inventory", "C drives"}},
    {"Volumes",
     &FakeStorageController::volumesResult,
     2,
     {"F discover", "C inventory", "C drives", "C volumes"}},
    {"Enclosures",
     &FakeStorageController::enclosuresResult,
     3,
     {"F discover", "C inventory", "C drives", "C volumes", "C enclosures"}},
};
class SasSkips : public Sas, public ::testing::WithParamInterface<SkipCase> {};
TEST_P(SasSkips, TheStepsBehindAFailedOneAndGoesOnWithTheNextController) {
    add_full(world.factory, "C").*GetParam().failing = -1;
    add_full(world.factory, "N");
    world.manager.cacheBuild();
    for (std::size_t type = 1; type <= 4; ++type)
        EXPECT_EQ(world.objects(static_cast<int>(type)).size(), type <= GetParam().kinds ? 2u : 1u)
            << type;
    const Texts calls = world.calls.take();
    const Texts &expected = GetParam().calls;
    ASSERT_GT(calls.size(), expected.size());
    EXPECT_EQ(Texts(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(expected.size())),
              expected);
    EXPECT_EQ(calls[expected.size()], "N inventory");
    EXPECT_EQ(calls.back(), "N enableEvents");
}
INSTANTIATE_TEST_SUITE_P(Steps, SasSkips, ::testing::ValuesIn(SKIP_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(Sas, ReferencesGoBack) {
    FakeStorageController &controller = add_full(world.factory, "C");
    world.manager.cacheBuild();
    EXPECT_EQ(controller.getReferenceCount(), 1) << "the factory's own";
    EXPECT_TRUE(world.manager.isRunning());
    EXPECT_EQ(controller.getReferenceCount(), 1);
    controller.eventsEnabled = false;
    EXPECT_FALSE(world.manager.isRunning());
    EXPECT_EQ(controller.getReferenceCount(), 1) << "also on the early way out";
}

TEST_F(Sas, ControllerMayGoDuringItsBuild) {
    FakeStorageController &controller = add_full(world.factory, "C");
    controller.onDiscover = [&] {
        EXPECT_EQ(controller.getReferenceCount(), 2);
        world.factory.dropAll();
    };
    world.manager.cacheBuild();
    EXPECT_EQ(world.texts(1, "SerialNumber"), Texts{"SN-C"});
    EXPECT_EQ(FakeStorageController::alive, 0) << "the build was its last holder";
}

TEST_F(Sas, TimesNothingUnlessToldTo) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    EXPECT_EQ(world.log.countHolding("INFO", TAG, "Time taken"), 0);
}

class SasTimed : public Sas {
protected:
    SasTimed() : Sas(R"("LogResourceManagerStatistics": "true")") {
        world.clock.setAutoAdvance(false);
    }
};
TEST_F(SasTimed, TellsHowLongEachControllerTook) {
    FakeStorageController &controller = add_full(world.factory, "C");
    controller.onDiscover = [this] { world.clock.advanceMs(3059); };
    add_full(world.factory, "N");
    world.manager.cacheBuild();
    EXPECT_EQ(world.log.count("INFO", TAG,
                              "Time taken to gather complete inventory from [Model of C, SN SN-C] "
                              "@ [PCI 0000:24:00.0 C]: [3.05] seconds"),
              1);
    EXPECT_EQ(world.log.count("INFO", TAG,
                              "Time taken to gather complete inventory from [Model of N, SN SN-N] "
                              "@ [PCI 0000:24:00.0 N]: [0.00] seconds"),
              1);
}
TEST_F(SasTimed, TellsOfAControllerThatFailedToo) {
    add_full(world.factory, "C").inventoryResult = -1;
    world.manager.cacheBuild();
    EXPECT_EQ(world.log.countHolding("INFO", TAG, "Time taken"), 1);
}

// -- Reading ------------------------------------------------------------------------------------

TEST_F(Sas, PlainReaderGetsNothing) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    std::vector<Json::Value> objects{Json::Value("kept")};
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 0);
    EXPECT_EQ(objects, std::vector<Json::Value>{Json::Value("kept")});
}

TEST_F(Sas, ReaderReplacesWhatWasThere) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    std::vector<Json::Value> objects(3, Json::Value("of a former call"));
    EXPECT_EQ(world.manager.getInventoryJsonObject2(3, objects), 0);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0]["DurableName"], "V-C");
    EXPECT_EQ(loggedDebug("reached getInventoryJsonObject2"), 1);
    EXPECT_EQ(loggedDebug("returning Inventory size: 1"), 1);
}

TEST_F(Sas, UnknownTypeGivesNothing) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    for (const int type : {-1, 5, 100}) {
        std::vector<Json::Value> objects(2, Json::Value("kept"));
        EXPECT_EQ(world.manager.getInventoryJsonObject2(type, objects), 0);
        EXPECT_EQ(objects, std::vector<Json::Value>(2, Json::Value("kept"))) << type;
    }
    EXPECT_EQ(loggedDebug("Unsupported inventory type"), 3);
    EXPECT_EQ(loggedDebug("returning Inventory size: 2"), 3);
}

TEST_F(Sas, OtherInventoriesAreTheBaseClass) {
    std::vector<Json::Value> objects{Json::Value("kept")};
    Json::Value object("kept");
    EXPECT_EQ(world.manager.getFileServiceJsonObject(objects), 0);
    EXPECT_EQ(world.manager.getTelemetryJsonObject(object), 0);
    EXPECT_EQ(objects, std::vector<Json::Value>{Json::Value("kept")});
    EXPECT_EQ(object, Json::Value("kept"));
}

TEST_F(Sas, BuildWithinABuildsThreadSeesTheFormerInventory) {
    // The manager's own thread may hold the lock: the flag speaks first.
    world.factory.add("C").onDiscover = [this] {
        EXPECT_TRUE(world.objects(1).empty());
        EXPECT_FALSE(world.manager.isInventoryReady(0));
    };
    world.manager.cacheBuild();
    EXPECT_EQ(loggedDebug("Cache build is in progress. Returning previously saved inventory."), 1);
}

// -- Readiness and pushes -----------------------------------------------------------------------

TEST_F(Sas, OnlyTheLastLookLeavesAWish) {
    for (int iteration = 0; iteration < 8; ++iteration)
        EXPECT_FALSE(world.manager.isInventoryReady(iteration));
    EXPECT_FALSE(world.manager.isInventoryReady(9));
    world.manager.cacheBuild();
    EXPECT_EQ(world.pushes(), 0);
}
TEST_F(Sas, WishOfTheLastLookIsServedOnce) {
    EXPECT_FALSE(world.manager.isInventoryReady(8));
    world.manager.cacheBuild();
    EXPECT_EQ(world.pushes(), 1);
    EXPECT_TRUE(world.manager.isInventoryReady(8));
    world.manager.cacheBuild();
    EXPECT_EQ(world.pushes(), 1);
}
TEST_F(Sas, BothRequestsMakeOnePush) {
    EXPECT_FALSE(world.manager.isInventoryReady(8));
    SASResourceManager::sendInventorytToRMCOnCacheBuild();
    world.manager.cacheBuild();
    world.manager.cacheBuild();
    EXPECT_EQ(world.pushes(), 1);
}

// -- isRunning ----------------------------------------------------------------------------------

TEST_F(Sas, IsRunningWithoutControllers) {
    EXPECT_TRUE(world.manager.isRunning()) << "before the first build";
    world.manager.cacheBuild();
    EXPECT_TRUE(world.manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 0);
}
TEST_F(Sas, IsRunningAsksEveryControllerOfEveryFactory) {
    FakeStorageFactory second("G", world.calls);
    add_full(world.factory, "C1");
    add_full(second, "C2");
    world.manager.cacheBuild();
    (void)world.calls.take();
    EXPECT_TRUE(world.manager.isRunning());
    EXPECT_EQ(world.calls.take(), (Texts{"F getControllers 255", "C1 isEventsEnabled",
                                         "G getControllers 255", "C2 isEventsEnabled"}));
}
TEST_F(Sas, IsNotRunningWithEventsOff) {
    add_full(world.factory, "C1").eventsEnabled = false;
    add_full(world.factory, "C2");
    world.manager.cacheBuild();
    (void)world.calls.take();
    EXPECT_FALSE(world.manager.isRunning());
    EXPECT_EQ(world.calls.take(), (Texts{"F getControllers 255", "C1 isEventsEnabled"}));
    EXPECT_EQ(world.log.count("INFO", TAG,
                              "LSI Events are disabled.Hence Storage Controllers is" +
                                  std::string(39, ' ') + "partially functional."),
              1);
    EXPECT_EQ(world.clock.sleptMs(), 0);
    EXPECT_EQ(world.objects(1).size(), 2u) << "the lock was let go";
}

TEST_F(Sas, IsNotRunningForItsOwnThreadHalfwayThroughABuild) {
    // The thread that rebuilds gets the lock, and the document still lists the former build.
    add_full(world.factory, "C1");
    FakeStorageController &second = add_full(world.factory, "C2");
    world.manager.cacheBuild();
    second.onDiscover = [this] { EXPECT_FALSE(world.manager.isRunning()); };
    world.manager.cacheBuild();
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(world.log.count("WARNING", TAG,
                                  "_cacheBuildInProgress = 1,ControllerInventory.size() = "
                                  "1,retryCount = " +
                                      std::to_string(round)),
                  1);
    EXPECT_EQ(world.clock.sleptMs(), 15000);
}

// -- Models -------------------------------------------------------------------------------------

TEST_F(Sas, ModelsAreThoseOfAllFactories) {
    FakeStorageFactory second("G", world.calls);
    world.factory.models = {{0x00141000, 0}, {0x005d1000, 0x93611000}};
    second.models = {{0x1234ABCD, 0x5678ABCD}};
    using Manager = SASResourceManager;
    EXPECT_TRUE(Manager::isControllerModelSupported(0x00141000, 0));
    EXPECT_TRUE(Manager::isControllerModelSupported(0x00141000, 0x93611000)) << "any board";
    EXPECT_TRUE(Manager::isControllerModelSupported(0x005d1000, 0x93611000));
    EXPECT_FALSE(Manager::isControllerModelSupported(0x005d1000, 0x93621000));
    EXPECT_FALSE(Manager::isControllerModelSupported(0x005d1000, 0));
    EXPECT_TRUE(Manager::isControllerModelSupported(0x1234ABCD, 0x5678ABCD));
    EXPECT_FALSE(Manager::isControllerModelSupported(0, 0));
}

// -- Events -------------------------------------------------------------------------------------

TEST_F(Sas, EventCarriesPlaceAndRecord) {
    SasWorld::sendFirstInventory();
    orbDiskInfo disk = SasWorld::drive("9XG3");
    disk.setEventInfoString("what happened");
    const std::string now = orbUtils::getTime();
    SASResourceManager::generateEvent(538, SasWorld::LOCATION, true, disk);
    ASSERT_EQ(world.events().size(), 1u);
    const Json::Value event = world.events()[0];
    EXPECT_EQ(event["ID"], 538);
    EXPECT_EQ(event["Source"], "ORB");
    EXPECT_EQ(event["PhysicalLocation"], "0123456789ABCDEF");
    EXPECT_EQ(event["EventTime"], now);
    EXPECT_EQ(event["VariableData"], reread(disk.getVariableData()));
    EXPECT_EQ(event["VariableData"]["EventInfo"], "what happened");
}
TEST_F(Sas, EventWithoutAPlace) {
    SasWorld::sendFirstInventory();
    orbLogicalDiskInfo volume = SasWorld::volume("V1");
    SASResourceManager::generateEvent(681, false, volume);
    ASSERT_EQ(world.events().size(), 1u);
    const Json::Value event = world.events()[0];
    EXPECT_EQ(event["ID"], 681);
    EXPECT_FALSE(event.isMember("PhysicalLocation"));
    EXPECT_EQ(event["Source"], "ORB");
    EXPECT_EQ(event["VariableData"]["Type"], "Volume");
}
TEST_F(Sas, EventCarriesWhatIsNotSent) {
    SasWorld::sendFirstInventory();
    orbDiskInfo disk = SasWorld::drive("9XG3");
    for (const bool critical : {false, true}) {
        SASResourceManager::generateEvent(540, SasWorld::LOCATION, critical, disk);
        const orbEvent placed = world.raised.all().back();
        EXPECT_EQ(placed.getisServiceEvent(), critical);
        EXPECT_EQ(placed.getModuleName(), "SASHBA");
        EXPECT_EQ(placed.getPartNum(), "NotAvailable");
        SASResourceManager::generateEvent(540, critical, disk);
        const orbEvent placeless = world.raised.all().back();
        EXPECT_EQ(placeless.getisServiceEvent(), critical);
        EXPECT_EQ(placeless.getModuleName(), "SASHBA");
        EXPECT_EQ(placeless.getPartNum(), "");
        EXPECT_EQ(placeless.getPhyLoc(), "");
    }
    EXPECT_EQ(world.raised.all().size(), 4u);
}
TEST_F(Sas, EventBeforeTheFirstInventoryIsDropped) {
    orbDiskInfo disk = SasWorld::drive("9XG3");
    SASResourceManager::generateEvent(538, "0123456789ABCDEF", true, disk);
    EXPECT_TRUE(world.events().empty());
}

// -- Short-lived objects ------------------------------------------------------------------------

TEST_F(Sas, FurtherObjectChangesNothing) {
    add_full(world.factory, "C");
    world.manager.cacheBuild();
    {
        SASResourceManager another;
        EXPECT_FALSE(another.isInventoryReady(0));
    }
    EXPECT_TRUE(world.manager.isInventoryReady(0));
    EXPECT_EQ(world.objects(1).size(), 1u);
}
} // namespace
