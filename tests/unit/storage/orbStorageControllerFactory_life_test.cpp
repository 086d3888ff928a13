// What becomes of a factory's controllers: references through every flow, with and without somebody
// else who holds one, the end of a factory, and its looks at the folders.
#include "storage/orbStorageControllerFactory.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "storage/orbControllerList.h"
#include "storage/scsi_hosts.h"
#include "support/FactoryWorld.h"
#include "support/ForeignController.h"

namespace {
using Lines = std::vector<std::string>;
using Holder = orbReference<IorbStorageController>;

class FactoryReferences : public ::testing::Test {
protected:
    FactoryWorld world;

    FactoryReferences() {
        FactoryWorld::registerClass();
        world.addOurs("host1", 1);
        EXPECT_EQ(world.walk(), 1U);
        (void)world.journal.take(); // its addition
    }
    RecordedController *one() { return world.recorded(0); }
    Holder hold() { return Holder::take(one()); }
};

TEST_F(FactoryReferences, AWalkGivesOneOutForEachController) {
    world.addOurs("host2", 2);
    {
        orbControllerList controllers;
        EXPECT_EQ(world.factory.discoverControllers(controllers.vector()), 0);
        EXPECT_EQ(controllers.vector(), world.factory.listed());
        EXPECT_EQ(world.recorded(0)->getReferenceCount(), 2);
        EXPECT_EQ(world.recorded(1)->getReferenceCount(), 2);
    }
    EXPECT_EQ(world.recorded(0)->getReferenceCount(), 1);
    EXPECT_EQ(world.recorded(1)->getReferenceCount(), 1);
}

TEST_F(FactoryReferences, AListGivesOneOutForEachController) {
    orbControllerList controllers;
    world.factory.getControllers(255, controllers.vector());
    EXPECT_EQ(one()->getReferenceCount(), 2);
    controllers.clear();
    EXPECT_TRUE(controllers.empty());
    EXPECT_EQ(one()->getReferenceCount(), 1);
}

TEST_F(FactoryReferences, ALostControllerEndsAtOnceWithNobodyElse) {
    world.tree.removeHost("host1");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(world.journal.take(), (Lines{"removal of 0000:01:00.0", "end of 0000:01:00.0"}));
}

TEST_F(FactoryReferences, ALostControllerEndsWithItsHolder) {
    Holder holder = hold();
    world.tree.removeHost("host1");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(holder->getReferenceCount(), 1);
    EXPECT_TRUE(holder->isRemoved());
    EXPECT_EQ(world.journal.take(), Lines{"removal of 0000:01:00.0"});
    holder = {};
    EXPECT_EQ(world.journal.take(), Lines{"end of 0000:01:00.0"});
}

// The list's reference lasts across the call, so that no member runs on a freed object.
TEST_F(FactoryReferences, ALostControllerIsHeldWhileItTellsOfItsLoss) {
    int references = 0;
    one()->onRemoval = [&, lost = one()] { references = lost->getReferenceCount(); };
    world.tree.removeHost("host1");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(references, 1);
}

TEST_F(FactoryReferences, AReplacedControllerEndsWithItsHolder) {
    Holder holder = hold();
    one()->processDeviceRemoval();
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_NE(world.factory.listed().front(), holder.get());
    EXPECT_EQ(holder->getReferenceCount(), 1);
    EXPECT_EQ(one()->getReferenceCount(), 1);
    (void)world.journal.take(); // removal and addition
    holder = {};
    EXPECT_EQ(world.journal.take(), Lines{"end of 0000:01:00.0"});
}

// Of the generic class: the new object knows what the removed one knew.
TEST(FactoryInheritance, WhatAReplacedControllerKnewIsTakenOver) {
    FactoryWorld world;
    world.tree.addCard(FactoryWorld::card(1), 0x00971000, 0x30E01000);
    world.tree.addHost("host1", FactoryWorld::card(1));
    EXPECT_EQ(world.walk(), 1U);
    const auto generic = [&world] {
        return dynamic_cast<orbStorageController *>(world.factory.listed().front());
    };
    EXPECT_EQ(generic()->getInventory().getState(), ORB_STATE_UNKNOWN);
    const auto old = orbReference<orbStorageController>::take(generic());
    old->processDeviceRemoval();
    ASSERT_NE(old->getInventory().getState(), ORB_STATE_UNKNOWN);
    EXPECT_EQ(world.walk(), 1U);
    ASSERT_NE(generic(), old.get());
    EXPECT_EQ(generic()->getInventory().getState(), old->getInventory().getState());
    EXPECT_FALSE(generic()->isRemoved());
    EXPECT_FALSE(generic()->getFoundOnFirstDiscoveryPass());
    EXPECT_EQ(world.pushesAsked(), 1);
}

TEST_F(FactoryReferences, ShutdownEndsEachControllerOnce) {
    world.addOurs("host2", 2);
    EXPECT_EQ(world.walk(), 2U);
    (void)world.journal.take(); // an addition
    world.factory.shutdownFactory();
    EXPECT_TRUE(world.logged("Initiating shutdown sequence."));
    EXPECT_EQ(world.journal.take(),
              (Lines{"no more events of 0000:01:00.0", "removal of 0000:01:00.0",
                     "end of 0000:01:00.0", "no more events of 0000:02:00.0",
                     "removal of 0000:02:00.0", "end of 0000:02:00.0"}));
    EXPECT_TRUE(world.factory.listed().empty());
    world.factory.shutdownFactory();
    EXPECT_TRUE(world.journal.take().empty());
}

TEST_F(FactoryReferences, ShutdownLeavesAHeldControllerToItsHolder) {
    Holder holder = hold();
    world.factory.shutdownFactory();
    EXPECT_EQ(holder->getReferenceCount(), 1);
    EXPECT_TRUE(holder->isRemoved());
    (void)world.journal.take(); // events off, removal
    holder = {};
    EXPECT_EQ(world.journal.take(), Lines{"end of 0000:01:00.0"});
}

TEST_F(FactoryReferences, ShutdownOnlyReleasesARemovedController) {
    one()->processDeviceRemoval();
    (void)world.journal.take(); // the removal
    world.factory.shutdownFactory();
    EXPECT_EQ(world.journal.take(), Lines{"end of 0000:01:00.0"});
}

TEST_F(FactoryReferences, DeletingEndsWhatNobodyElseHolds) {
    world.factory.deleteControllers(255);
    EXPECT_EQ(world.journal.take(), Lines{"end of 0000:01:00.0"});
    EXPECT_TRUE(world.factory.listed().empty());
}

TEST_F(FactoryReferences, DeletingLeavesAHeldControllerToItsHolder) {
    Holder holder = hold();
    world.factory.deleteControllers(1);
    EXPECT_EQ(holder->getReferenceCount(), 1);
    EXPECT_FALSE(holder->isRemoved());
    EXPECT_TRUE(world.factory.listed().empty());
    EXPECT_TRUE(world.journal.take().empty());
    holder = {};
    EXPECT_EQ(world.journal.take(), Lines{"end of 0000:01:00.0"});
}

TEST(FactoryEnd, GivesBackWhatTheListOwns) {
    Journal journal;
    {
        OpenFactory factory;
        factory.put(new RecordedController(journal, "one", 1));
    }
    EXPECT_EQ(journal.take(), Lines{"end of one"});
}

// -- Families -------------------------------------------------------------------------------------

class FactoryFamilies : public ::testing::Test {
protected:
    FactoryWorld world;
    std::array<RecordedController *, 4> made{};
    ForeignController *const foreign = new ForeignController("");

    FactoryFamilies() {
        constexpr std::uint8_t families[] = {1, 2, 0, 6};
        for (std::size_t i = 0; i < made.size(); ++i) {
            made[i] = new RecordedController(world.journal, "c" + std::to_string(i), families[i]);
            world.factory.put(made[i]);
        }
        world.factory.put(foreign);
    }
    std::vector<IorbStorageController *> ask(unsigned char mask) {
        orbControllerList controllers;
        world.factory.getControllers(mask, controllers.vector());
        return controllers.vector();
    }
};

TEST_F(FactoryFamilies, AListHoldsThoseThatMeetTheMask) {
    using Answer = std::vector<IorbStorageController *>;
    EXPECT_EQ(ask(1), (Answer{made[0]}));
    EXPECT_EQ(ask(2), (Answer{made[1], made[3]}));
    EXPECT_EQ(ask(4), (Answer{made[3]}));
    EXPECT_EQ(ask(8), Answer{});
    EXPECT_EQ(ask(0), Answer{});
    // Without a family a controller meets no mask; one of another kind has none.
    EXPECT_EQ(ask(255), (Answer{made[0], made[1], made[3]}));
}

TEST_F(FactoryFamilies, AListReplacesWhatTheCallerHad) {
    std::vector<IorbStorageController *> controllers(3, nullptr);
    world.factory.getControllers(8, controllers);
    EXPECT_TRUE(controllers.empty());
}

TEST_F(FactoryFamilies, DeletingTakesThoseThatMeetTheMask) {
    world.factory.deleteControllers(2);
    EXPECT_EQ(world.journal.take(), (Lines{"end of c1", "end of c3"}));
    EXPECT_EQ(world.factory.listed(),
              (std::vector<IorbStorageController *>{made[0], made[2], foreign}));
    world.factory.deleteControllers(255);
    EXPECT_EQ(world.factory.listed(), (std::vector<IorbStorageController *>{made[2], foreign}));
}

TEST_F(FactoryFamilies, ShutdownTakesThemAll) {
    world.factory.shutdownFactory();
    EXPECT_TRUE(world.factory.listed().empty());
    EXPECT_EQ(world.journal.take().size(), 4U * 3U);
}

// -- The one factory ------------------------------------------------------------------------------

TEST(GenericFactory, IsOneAndEntersTheRegistryWhenAsked) {
    using Factories = orbRegistryManager<IorbStorageControllerFactory *>;
    orbStorageControllerFactory *const one = orbStorageControllerFactory::getInstance();
    EXPECT_EQ(orbStorageControllerFactory::getInstance(), one);
    EXPECT_TRUE(Factories::getRegistryList().empty());
    orbStorageControllerFactory::registerInstance();
    orbStorageControllerFactory::registerInstance();
    EXPECT_EQ(Factories::getRegistryList(), std::vector<IorbStorageControllerFactory *>{one});
}

TEST(GenericFactory, LooksAfterNoModelAlone) {
    EXPECT_TRUE(orbStorageControllerFactory::getInstance()->getSupportedControllerModels().empty());
}

// -- Looks at the folders -------------------------------------------------------------------------

class FactoryPoll : public ::testing::Test {
protected:
    FactoryWorld world;

    void touch(const std::string &folder, std::time_t second, int flags = 0) {
        const std::timespec times[2] = {{second, 0}, {second, 0}};
        ASSERT_EQ(::utimensat(AT_FDCWD, world.root.map(folder).c_str(), times, flags), 0);
    }
    int changesTold() const {
        return world.log.count("DEBUG", "STOR_FACT", "Detected change in SCSI hosts/devices.");
    }
};

TEST_F(FactoryPoll, TheFirstLookIsNoChange) {
    world.factory.poll();
    world.factory.poll();
    EXPECT_EQ(changesTold(), 0);
    EXPECT_EQ(world.rebuildsAsked(), 0);
}

TEST_F(FactoryPoll, AChangeOfEitherFolderAsksForARebuild) {
    world.factory.poll();
    touch("/sys/class/scsi_host", 1000);
    world.factory.poll();
    EXPECT_EQ(world.rebuildsAsked(), 1);
    world.factory.poll();
    EXPECT_EQ(world.rebuildsAsked(), 1);
    touch("/sys/class/scsi_device", 1000);
    world.factory.poll();
    EXPECT_EQ(world.rebuildsAsked(), 2);
    EXPECT_EQ(changesTold(), 2);
}

TEST_F(FactoryPoll, ChangesOfBothAtOnceAreOne) {
    world.factory.poll();
    touch("/sys/class/scsi_host", 1000);
    touch("/sys/class/scsi_device", 2000);
    world.factory.poll();
    EXPECT_EQ(changesTold(), 1);
    EXPECT_EQ(world.rebuildsAsked(), 1);
    world.factory.poll();
    EXPECT_EQ(world.rebuildsAsked(), 1);
}

TEST_F(FactoryPoll, FractionsOfASecondAreNoChange) {
    touch("/sys/class/scsi_host", 1000);
    world.factory.poll();
    const std::timespec times[2] = {{1000, 999999999}, {1000, 999999999}};
    struct stat before {};
    struct stat after {};
    const std::string folder = world.root.map("/sys/class/scsi_host");
    ASSERT_EQ(::lstat(folder.c_str(), &before), 0);
    ASSERT_EQ(::utimensat(AT_FDCWD, folder.c_str(), times, 0), 0);
    ASSERT_EQ(::lstat(folder.c_str(), &after), 0);
    world.factory.poll();
    // The kernel's own stamp may have stepped to the next second meanwhile.
    EXPECT_EQ(changesTold(), before.st_ctim.tv_sec == after.st_ctim.tv_sec ? 0 : 1);
}

// The times are those of the name itself: where the class is a link, of the link.
TEST_F(FactoryPoll, ALinkIsNotFollowed) {
    std::filesystem::rename(world.root.map("/sys/class/scsi_host"), world.root.map("/sys/hosts"));
    world.tree.link("../hosts", "/sys/class/scsi_host");
    world.factory.poll();
    touch("/sys/hosts", 1000);
    world.factory.poll();
    EXPECT_EQ(changesTold(), 0);
    touch("/sys/class/scsi_host", 1000, AT_SYMLINK_NOFOLLOW);
    world.factory.poll();
    EXPECT_EQ(changesTold(), 1);
}

TEST_F(FactoryPoll, AFolderThatCantBeReadIsToldAndItsTimesAreKept) {
    touch("/sys/class/scsi_host", 1000);
    world.factory.poll();
    std::filesystem::rename(world.root.map("/sys/class"), world.root.map("/sys/away"));
    world.factory.poll();
    EXPECT_TRUE(world.logged("lstat(scsi_host) completed with -1 (2)."));
    EXPECT_TRUE(world.logged("lstat(scsi_device) completed with -1 (2)."));
    EXPECT_EQ(changesTold(), 0);
    std::filesystem::rename(world.root.map("/sys/away"), world.root.map("/sys/class"));
    world.factory.poll();
    EXPECT_EQ(changesTold(), 0);
}

TEST_F(FactoryPoll, AFolderOfTheEpochHasBeenLookedAt) {
    touch("/sys/class/scsi_host", 0); // its attributes change now
    world.factory.poll();
    touch("/sys/class/scsi_host", 1000);
    world.factory.poll();
    EXPECT_EQ(changesTold(), 1);
}

TEST_F(FactoryPoll, AFolderThatComesLaterIsAFirstLook) {
    std::filesystem::remove(world.root.map("/sys/class/scsi_host"));
    world.factory.poll();
    EXPECT_TRUE(world.logged("lstat(scsi_host) completed with -1 (2)."));
    world.root.makeDirectory("/sys/class/scsi_host");
    world.factory.poll();
    EXPECT_EQ(changesTold(), 0);
}

/// Gives the folder of hosts the place that a test names.
class MovedHosts final : public IorbHostFiles {
public:
    explicit MovedHosts(std::string first) : place(std::move(first)), outer(replace(this)) {}
    ~MovedHosts() override { replace(outer); }
    std::string map(const std::string &hostPath) override {
        return hostPath == SCSI_HOST_CLASS ? place : outer->map(hostPath);
    }
    std::string place;

private:
    IorbHostFiles *outer;
};

TEST_F(FactoryPoll, TheTimeOfAChangeOfAttributesCountsAsWell) {
    // A folder of another age, which is given that one's time of change of content.
    struct stat old {};
    ASSERT_EQ(::lstat(ORB_SOURCE_DIR, &old), 0);
    touch("/sys/class/scsi_host", old.st_mtim.tv_sec);
    struct stat made {};
    ASSERT_EQ(::lstat(world.root.map("/sys/class/scsi_host").c_str(), &made), 0);
    ASSERT_NE(made.st_ctim.tv_sec, old.st_ctim.tv_sec);
    MovedHosts hosts(ORB_SOURCE_DIR);
    world.factory.poll();
    hosts.place = world.root.map("/sys/class/scsi_host");
    world.factory.poll();
    EXPECT_EQ(changesTold(), 1);
}
} // namespace
