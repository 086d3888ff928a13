#include "storage/orbStorageControllerFactory.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "storage/orbControllerList.h"
#include "support/FactoryWorld.h"
#include "support/ForeignController.h"
#include "support/IdleFactory.h"

namespace {
using Lines = std::vector<std::string>;
using Classes = orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>;
using Factories = orbRegistryManager<IorbStorageControllerFactory *>;

constexpr char CARD[] = "pci0000:64/0000:64:00.0/0000:65:00.0";

class DiscoverControllers : public ::testing::Test {
protected:
    FactoryWorld world;

    /// Lines of the factory's log, in order.
    Lines told() const {
        Lines texts;
        for (const LogFile::Line &line : world.log.lines())
            if (line.module == "STOR_FACT") texts.push_back(line.text);
        return texts;
    }
    orbStorageController *generic(std::size_t index) {
        return dynamic_cast<orbStorageController *>(world.factory.listed().at(index));
    }
};

// -- One host ---------------------------------------------------------------------------------

TEST_F(DiscoverControllers, WithoutHostsTheListIsEmpty) {
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(told(), Lines{"Searching for storage controllers."});
    std::filesystem::remove_all(world.root.map("/sys"));
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(world.pushesAsked(), 0);
}

TEST_F(DiscoverControllers, TheGenericClassTakesACardOfTheTable) {
    world.tree.addCard(CARD, 0x00971000, 0x30E01000);
    world.tree.addHost("host8", CARD);
    EXPECT_EQ(world.walk(), 1U);
    orbStorageController *const found = generic(0);
    EXPECT_EQ(found->getChipsetID(), 0x00971000U);
    EXPECT_EQ(found->getBoardID(), 0x30E01000U);
    EXPECT_EQ(found->getPciLocation(), "0000:65:00.0");
    EXPECT_EQ(found->getFamilyFlags(), 8);
    EXPECT_EQ(found->getPortVector(), Lines{"/sys/class/scsi_host/host8"});
    EXPECT_TRUE(found->getFoundOnFirstDiscoveryPass());
    EXPECT_EQ(found->getReferenceCount(), 1);
    EXPECT_EQ(told(),
              (Lines{"Searching for storage controllers.", "Processing /sys/class/scsi_host/host8",
                     "Scsi Link /sys/class/scsi_host/host8/device -- buffer ../../../host8",
                     "Claim processing for /sys/class/scsi_host/host8 [0x971000 0x30e01000] @ "
                     "0000:65:00.0",
                     "Claimed device [0000:65:00.0 0x971000 0x30e01000].",
                     format_text("/sys/class/scsi_host/host8 [0x971000, 0x30E01000 0000:65:00.0] "
                                 "managed by device object: [%p]",
                                 static_cast<void *>(found))}));
}

TEST_F(DiscoverControllers, ACatchAllTakesAnyBoardOfItsChipset) {
    world.tree.addCard(CARD, 0x00971000, 0x12345678);
    world.tree.addHost("host8", CARD);
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(generic(0)->getBoardID(), 0x12345678U);
}

TEST_F(DiscoverControllers, OldAndLongLinksGiveTheEndpoint) {
    world.tree.addCard(CARD, 0x00971000, 0x30E01000);
    world.tree.addOldHost("host1", CARD);
    world.tree.addHostWithLongLink("host2", CARD);
    world.tree.addHost("host3", CARD);
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(generic(0)->getPciLocation(), "0000:65:00.0");
    EXPECT_EQ(generic(0)->getPortListSize(), 3U);
}

TEST_F(DiscoverControllers, AnUnknownCardIsSkipped) {
    world.tree.addCard(CARD, 0x1234ABC0, 0x30E01000);
    world.tree.addHost("host8", CARD);
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_TRUE(world.logged("Skipping port /sys/class/scsi_host/host8 [0x1234ABC0, 0x30E01000 "
                             "0000:65:00.0] - Claim status: [0]; Device object: [(nil)]"));
    EXPECT_EQ(world.pushesAsked(), 0);
}

TEST_F(DiscoverControllers, AHostWithoutACardIsSkipped) {
    world.tree.addHost("host0", "pseudo_0/adapter0");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(told(),
              (Lines{"Searching for storage controllers.", "Processing /sys/class/scsi_host/host0",
                     "Unable to access PCI card information for "
                     "/sys/class/scsi_host/host0."}));
}

TEST_F(DiscoverControllers, AHostWhoseLinksHoldNoAddressIsSkipped) {
    world.tree.addCard("virtual", 0x00971000, 0x30E01000);
    world.tree.addHost("host0", "virtual");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(told(),
              (Lines{"Searching for storage controllers.", "Processing /sys/class/scsi_host/host0",
                     "Scsi Link /sys/class/scsi_host/host0/device -- buffer ../../../host0",
                     "Skipping host port [/sys/class/scsi_host/host0 0x971000 0x30e01000] due to "
                     "absence of PCI location."}));
}

// A folder in the link's place stands for the card's file, which then gives no number.
TEST_F(DiscoverControllers, AHostWhoseDeviceIsNoLinkIsSkipped) {
    world.root.makeDirectory("/sys/class/scsi_host/host0/device");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_TRUE(world.logged("Skipping host port [/sys/class/scsi_host/host0 0xfffeffff "
                             "0xfffeffff] due to absence of PCI location."));
    EXPECT_EQ(world.log.countHolding("DEBUG", "STOR_FACT", "Scsi Link"), 0);
}

// -- Several hosts ----------------------------------------------------------------------------

TEST_F(DiscoverControllers, HostsAreProcessedInByteOrder) {
    for (const char *const name : {"host2", "host10", "host1"})
        world.tree.addHost(name, std::string("pseudo/") + name + "x");
    EXPECT_EQ(world.walk(), 0U);
    Lines processed = told();
    std::erase_if(processed, [](const std::string &line) { return !line.starts_with("Proc"); });
    EXPECT_EQ(processed, (Lines{"Processing /sys/class/scsi_host/host1",
                                "Processing /sys/class/scsi_host/host10",
                                "Processing /sys/class/scsi_host/host2"}));
}

TEST_F(DiscoverControllers, HostsOfOneCardAreOneControllersPorts) {
    world.tree.addCard("pci0000:00/0000:00:17.0", 0xA1868086, 0x72708086);
    for (const char *const number : {"1", "2", "3"})
        world.tree.addHost(std::string("host") + number,
                           std::string("pci0000:00/0000:00:17.0/ata") + number);
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(generic(0)->getPortVector(),
              (Lines{"/sys/class/scsi_host/host1", "/sys/class/scsi_host/host2",
                     "/sys/class/scsi_host/host3"}));
    EXPECT_TRUE(world.logged("Found port /sys/class/scsi_host/host2 on controller @ "
                             "0000:00:17.0."));
    EXPECT_EQ(world.log.countHolding("DEBUG", "STOR_FACT", "Claim processing"), 1);
}

TEST_F(DiscoverControllers, TheSameModelInTwoPlacesIsTwoControllers) {
    for (const char *const card : {"pci0000:10/0000:11:00.0", "pci0000:20/0000:21:00.0"}) {
        world.tree.addCard(card, 0x00971000, 0x30E01000);
        world.tree.addHost(std::string("host") + card[8], card);
    }
    EXPECT_EQ(world.walk(), 2U);
    EXPECT_EQ(generic(0)->getPciLocation(), "0000:11:00.0");
    EXPECT_EQ(generic(1)->getPciLocation(), "0000:21:00.0");
}

TEST_F(DiscoverControllers, FailuresOfOneHostLeaveTheOthers) {
    world.tree.addCard(CARD, 0x00971000, 0x30E01000);
    world.tree.addHost("host5", CARD);
    world.root.makeDirectory("/sys/class/scsi_host/host1");
    world.tree.link("nowhere", "/sys/class/scsi_host/host2");
    world.tree.link("host3", "/sys/class/scsi_host/host3");
    world.root.write("/sys/class/scsi_host/host4", "binary\xFF");
    world.root.makeDirectory("/sys/class/scsi_host/" + std::string(255, 'h'));
    world.tree.addCard("pci0000:10/0000:11:00.0", 0x00971000, 0x30E01000);
    world.root.write("/sys/devices/pci0000:10/0000:11:00.0/device", std::string(5000, '\xFF'));
    world.tree.addHost("host6", "pci0000:10/0000:11:00.0");
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(generic(0)->getPortVector(), Lines{"/sys/class/scsi_host/host5"});
    EXPECT_EQ(world.log.countHolding("DEBUG", "STOR_FACT", "Unable to access"), 5);
    EXPECT_TRUE(world.logged("Skipping port /sys/class/scsi_host/host6 [0xFFFF1000, 0x30E01000 "
                             "0000:11:00.0] - Claim status: [0]; Device object: [(nil)]"));
}

TEST_F(DiscoverControllers, AHostThatVanishesDuringTheWalkIsSkipped) {
    FactoryWorld::registerClass();
    world.addOurs("host1", 1);
    world.addOurs("host2", 2);
    world.onClaim = [this] { world.tree.removeHost("host2"); };
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_TRUE(world.logged("Unable to access PCI card information for "
                             "/sys/class/scsi_host/host2."));
}

// -- Factories and classes ----------------------------------------------------------------------

class OneModelFactory final : public IdleFactory {
public:
    OneModelFactory(std::uint32_t chipset, std::uint32_t board) : models{{chipset, board}} {}
    const MODELS &getSupportedControllerModels() override { return models; }

private:
    MODELS models;
};

TEST_F(DiscoverControllers, WhatAnotherFactoryLooksAfterIsSkipped) {
    OneModelFactory other(0x00971000, 0);
    const Factories entered(&other);
    world.tree.addCard(CARD, 0x00971000, 0x30E01000);
    world.tree.addHost("host8", CARD);
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_TRUE(world.logged("Skipping controller model [0x00971000 0x30e01000], since it is "
                             "handled by another factory instance."));
    EXPECT_EQ(world.log.countHolding("DEBUG", "STOR_FACT", "Scsi Link"), 0);
}

TEST_F(DiscoverControllers, AnotherFactorysBoardIsNotEveryBoard) {
    OneModelFactory other(0x00971000, 0x30E01000);
    const Factories entered(&other);
    world.tree.addCard(CARD, 0x00971000, 0x30A01000);
    world.tree.addHost("host8", CARD);
    EXPECT_EQ(world.walk(), 1U);
}

/// What classes were asked, in order.
Lines asked;
bool refuses(std::uint32_t chipset, std::uint32_t board, std::string &pciLocation, bool firstPass,
             orbStorageController **out) {
    EXPECT_EQ(*out, nullptr);
    asked.push_back(
        format_text("refuses %x %x %s %d", chipset, board, pciLocation.c_str(), firstPass ? 1 : 0));
    return false;
}
bool hasNoMemory(std::uint32_t, std::uint32_t, std::string &, bool, orbStorageController **) {
    asked.push_back("hasNoMemory");
    return true;
}
void refreshes() {
    asked.push_back("refreshes");
}

TEST_F(DiscoverControllers, ClassesAreAskedInTheOrderOfTheRegistryAndTheGenericOneLast) {
    const Classes first({"first", refuses, refreshes});
    FactoryWorld::registerClass();
    world.onRefresh = [] { asked.push_back("refreshes ours"); };
    world.onClaim = [] { asked.push_back("ours"); };
    world.addOurs("host1", 1);
    world.tree.addCard(CARD, 0x00971000, 0x30E01000);
    world.tree.addHost("host2", CARD);
    EXPECT_EQ(world.walk(), 2U);
    EXPECT_EQ(asked, (Lines{"refreshes", "refreshes ours", "refuses 1abcd 2abcd 0000:01:00.0 1",
                            "ours", "refuses 971000 30e01000 0000:65:00.0 1", "ours"}));
    EXPECT_EQ(world.journal.take(), Lines{"addition of 0000:01:00.0"});
    EXPECT_EQ(generic(1)->getFamilyFlags(), 8);
}

TEST_F(DiscoverControllers, AClassWithoutMemoryEndsTheAsking) {
    const Classes first({"first", hasNoMemory, refreshes});
    FactoryWorld::registerClass();
    world.onClaim = [] { asked.push_back("ours"); };
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(asked, (Lines{"refreshes", "hasNoMemory"}));
    EXPECT_TRUE(world.logged("Skipping port /sys/class/scsi_host/host1 [0x1ABCD, 0x2ABCD "
                             "0000:01:00.0] - Claim status: [1]; Device object: [(nil)]"));
    EXPECT_EQ(world.pushesAsked(), 0);
}

bool refusesWithAnObject(std::uint32_t, std::uint32_t, std::string &, bool,
                         orbStorageController **out) {
    static Journal unread;
    static RecordedController left(unread, "left", 1);
    *out = &left;
    return false;
}

TEST_F(DiscoverControllers, WhatARefusingClassLeavesIsNoObject) {
    const Classes first({"first", refusesWithAnObject, refreshes});
    const Classes second({"second", hasNoMemory, refreshes});
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_TRUE(world.logged("Skipping port /sys/class/scsi_host/host1 [0x1ABCD, 0x2ABCD "
                             "0000:01:00.0] - Claim status: [1]; Device object: [(nil)]"));
}

// -- Walks one after the other --------------------------------------------------------------------

class LaterWalks : public DiscoverControllers {
protected:
    LaterWalks() { FactoryWorld::registerClass(); }
};

TEST_F(LaterWalks, FindTheSameObjectsAndAskForNoPush) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.pushesAsked(), 1);
    RecordedController *const found = world.recorded(0);
    EXPECT_TRUE(found->getNewDevice());
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.recorded(0), found);
    EXPECT_FALSE(found->getNewDevice());
    EXPECT_EQ(found->getPortVector(), Lines{"/sys/class/scsi_host/host1"});
    EXPECT_EQ(world.pushesAsked(), 1);
    EXPECT_EQ(world.journal.take(), Lines{"addition of 0000:01:00.0"});
}

TEST_F(LaterWalks, RebuildTheListOfPorts) {
    world.addOurs("host1", 1);
    world.tree.addHost("host2", FactoryWorld::card(1));
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.recorded(0)->getPortListSize(), 2U);
    world.tree.removeHost("host1");
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.recorded(0)->getPortVector(), Lines{"/sys/class/scsi_host/host2"});
    EXPECT_EQ(world.pushesAsked(), 1);
}

TEST_F(LaterWalks, OnlyTheFirstOfAllFindsBootTimeControllers) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    world.addOurs("host2", 2);
    EXPECT_EQ(world.walk(), 2U);
    EXPECT_TRUE(world.recorded(0)->getFoundOnFirstDiscoveryPass());
    EXPECT_FALSE(world.recorded(1)->getFoundOnFirstDiscoveryPass());
    EXPECT_EQ(world.pushesAsked(), 2);

    OpenFactory second;
    orbControllerList controllers;
    EXPECT_EQ(second.discoverControllers(controllers.vector()), 0);
    for (IorbStorageController *const controller : controllers)
        EXPECT_FALSE(
            dynamic_cast<RecordedController &>(*controller).getFoundOnFirstDiscoveryPass());
}

TEST_F(LaterWalks, RemoveAControllerWithoutHosts) {
    world.addOurs("host1", 1);
    world.addOurs("host2", 2);
    world.addOurs("host3", 3);
    EXPECT_EQ(world.walk(), 3U);
    (void)world.journal.take(); // three additions
    world.tree.removeHost("host1");
    world.tree.removeHost("host2");
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.recorded(0)->name, "0000:03:00.0");
    EXPECT_EQ(world.journal.take(), (Lines{"removal of 0000:01:00.0", "end of 0000:01:00.0",
                                           "removal of 0000:02:00.0", "end of 0000:02:00.0"}));
    EXPECT_EQ(world.pushesAsked(), 2);
}

TEST_F(LaterWalks, WithoutTheFolderEveryControllerGoes) {
    world.addOurs("host1", 1);
    world.addOurs("host2", 2);
    EXPECT_EQ(world.walk(), 2U);
    std::filesystem::remove_all(world.root.map("/sys/class/scsi_host"));
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_TRUE(world.factory.listed().empty());
    EXPECT_EQ(world.pushesAsked(), 2);
}

TEST_F(LaterWalks, AHostThatComesBackIsANewControllerWithNothingToInherit) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    world.tree.removeHost("host1");
    EXPECT_EQ(world.walk(), 0U);
    world.tree.addHost("host1", FactoryWorld::card(1));
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.journal.take(), (Lines{"addition of 0000:01:00.0", "removal of 0000:01:00.0",
                                           "end of 0000:01:00.0", "addition of 0000:01:00.0"}));
    EXPECT_FALSE(world.recorded(0)->getFoundOnFirstDiscoveryPass());
    EXPECT_EQ(world.pushesAsked(), 3);
}

// Somebody else told of the loss, such as a thread of events: the object is still in the list.
TEST_F(LaterWalks, ARemovedObjectIsReplacedByOneThatInheritsAndNoPushIsAsked) {
    world.addOurs("host1", 1);
    world.tree.addHost("host2", FactoryWorld::card(1));
    world.addOurs("host3", 3);
    EXPECT_EQ(world.walk(), 2U);
    RecordedController *const old = world.recorded(0);
    old->processDeviceRemoval();
    (void)world.journal.take(); // two additions and the removal
    EXPECT_EQ(world.walk(), 2U);
    EXPECT_EQ(world.journal.take(),
              (Lines{"addition of 0000:01:00.0 after 0000:01:00.0", "end of 0000:01:00.0"}));
    EXPECT_EQ(world.recorded(0)->name, "0000:03:00.0");
    EXPECT_EQ(world.recorded(1)->name, "0000:01:00.0");
    EXPECT_EQ(world.recorded(1)->getPortListSize(), 2U);
    EXPECT_FALSE(world.recorded(1)->isRemoved());
    EXPECT_EQ(world.pushesAsked(), 1);
    EXPECT_EQ(world.walk(), 2U);
    EXPECT_TRUE(world.journal.take().empty()) << "it was made once more";
}

TEST_F(LaterWalks, ARemovedObjectWithoutHostsIsNotRemovedAgain) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    world.recorded(0)->processDeviceRemoval();
    world.tree.removeHost("host1");
    (void)world.journal.take(); // its addition and removal
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_TRUE(world.journal.take().empty());
    EXPECT_EQ(world.pushesAsked(), 1);
}

TEST_F(LaterWalks, AnObjectOfAnotherKindIsPassedOver) {
    auto *const foreign = new ForeignController("0000:01:00.0");
    world.factory.put(foreign);
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.factory.listed().front(), foreign);
    EXPECT_FALSE(foreign->isRemoved());
    EXPECT_TRUE(world.logged("Found port /sys/class/scsi_host/host1 on controller @ "
                             "0000:01:00.0."));
    EXPECT_EQ(world.pushesAsked(), 0);
}

TEST_F(LaterWalks, TheFirstMatchOfTheListIsTheController) {
    auto *const first = new RecordedController(world.journal, "first", 1, 1, 2, "0000:01:00.0");
    auto *const second = new RecordedController(world.journal, "second", 1, 1, 2, "0000:01:00.0");
    world.factory.put(first);
    world.factory.put(second);
    EXPECT_EQ(world.factory.find(1, 2, "0000:01:00.0"), first);
    EXPECT_EQ(world.factory.find(3, 2, "0000:01:00.0"), nullptr);
    EXPECT_EQ(world.factory.find(1, 3, "0000:01:00.0"), nullptr);
    EXPECT_EQ(world.factory.find(1, 2, "0000:02:00.0"), nullptr);
}
} // namespace
