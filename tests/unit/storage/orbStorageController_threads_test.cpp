#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbMutexLocker.h"
#include "support/Barrier.h"
#include "unit/storage/ControllerWorld.h"

namespace {
using Reference = orbReference<OpenController>;

/// A controller with four ports in use by several threads. `destroyed` counts its ends.
class ControllerThreads : public ::testing::Test {
protected:
    ControllerThreads() {
        for (const int host : {0, 1, 2, 3}) world.addHost(host, "running");
        listed = make();
        orbStorageControllerInfo info;
        listed->discoverInventory(info);
        ControllerWorld::sendFirstInventory();
    }
    Reference make() {
        auto *const made = new OpenController;
        made->addHostPorts({0, 1, 2, 3});
        made->foundOnFirstDiscoveryPass = true;
        made->gone = [this] { ++destroyed; };
        return Reference::adopt(made);
    }
    /// What a factory does with a controller that is gone.
    void removeFromList() {
        const Reference held = std::move(listed);
        held->processDeviceRemoval();
    }

    std::atomic<int> destroyed{0};
    std::atomic<bool> holdDelivery{false}; ///< the next exchange waits at `delivery`
    Barrier delivery;
    ControllerWorld world{[this](const FakeRmc::Sent &, std::size_t) {
        if (holdDelivery.exchange(false)) delivery.arrive();
        return FakeRmc::transferAnswer(0);
    }};
    Reference listed; ///< the list's own reference
};

TEST_F(ControllerThreads, HolderReadsTheLastKnownDataUntilItLetsGo) {
    std::atomic<bool> holds{false}, mayEnd{false};
    std::thread holder([&] {
        Reference held = Reference::take(listed.get());
        holds = true;
        while (!held->isRemoved()) {
            EXPECT_EQ(held->getInventory().getControllerPortListSize(), 4u);
            std::this_thread::yield();
        }
        while (!mayEnd) {
            orbStorageControllerInfo info;
            EXPECT_EQ(held->discoverInventory(info), 0);
            EXPECT_EQ(info.getModel(), "SAS9300-8i");
            EXPECT_FALSE(held->enableEvents());
            std::this_thread::yield();
        }
        EXPECT_EQ(held->getInventory().getState(), ORB_STATE_OFFLINE);
        EXPECT_EQ(destroyed, 0);
    });
    while (!holds) std::this_thread::yield();
    removeFromList();
    EXPECT_EQ(destroyed, 0); // it lives as long as somebody holds it
    mayEnd = true;
    holder.join();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(ControllerThreads, LastHolderOfManyDeletesItOnce) {
    constexpr int HOLDERS = 4;
    std::atomic<int> holding{0};
    std::vector<std::thread> holders;
    holders.reserve(HOLDERS);
    for (int index = 0; index < HOLDERS; ++index)
        holders.emplace_back([&] {
            const Reference held = Reference::take(listed.get());
            ++holding;
            while (!held->isRemoved()) std::this_thread::yield();
            (void)held->getPhysicalDrivesInventory(); // it is still there to be asked
        });
    while (holding < HOLDERS) std::this_thread::yield();
    removeFromList();
    for (std::thread &holder : holders) holder.join();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(ControllerThreads, PollsEventsAndReadersMeetInARemoval) {
    listed->physicalDrives = {make_disk("S1", ORB_STATE_RUNNING, ORB_HEALTH_OK)};
    listed->lastPhysicalDrives = listed->physicalDrives;
    std::atomic<int> begun{0};
    const auto meet = [&](auto what) {
        return std::thread([&, what] {
            const Reference held = Reference::take(listed.get());
            ++begun;
            while (!held->isRemoved()) what(*held.get());
            what(*held.get());
        });
    };
    std::thread switcher = meet([](OpenController &held) {
        held.enableEvents();
        held.disableEvents();
        held.enableEvents();
    });
    std::thread reader = meet([](OpenController &held) {
        EXPECT_EQ(held.getInventory().getControllerPortListSize(), 4u);
        EXPECT_EQ(held.getPhysicalDrivesInventory().size(), 1u);
        EXPECT_EQ(held.getPortVector().size(), 4u);
        EXPECT_EQ(held.getHostNumberForControllerPort(3), 3);
    });
    while (begun < 2) std::this_thread::yield();
    for (int round = 0; round < 10; ++round) {
        world.setState(0, round % 2 == 0 ? "offline" : "running");
        listed->poll();
        orbStorageControllerInfo info;
        EXPECT_EQ(listed->discoverInventory(info), 0);
    }
    // The two threads take no more references, so the list's may go.
    removeFromList();
    switcher.join();
    reader.join();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(ControllerThreads, RemovalWaitsForAnEventThatIsOnItsWay) {
    listed->enableEvents();
    holdDelivery = true;
    std::thread event([&] {
        const Reference held = Reference::take(listed.get());
        orbDiskInfo last = make_disk("S1", ORB_STATE_RUNNING, ORB_HEALTH_OK);
        orbDiskInfo disk = make_disk("S1", ORB_STATE_FAILED, ORB_HEALTH_CRITICAL);
        const orbMutexLocker<std::recursive_mutex> lock(held->mutex);
        EXPECT_TRUE(held->generateEventOnStatusChange(disk, last));
        EXPECT_FALSE(held->isRemoved());
    });
    delivery.waitForArrival();
    std::thread remover([this] { removeFromList(); });
    while (world.debug("Controller @ [0000:3b:00.0] removal processing started.") == 0)
        std::this_thread::yield();
    EXPECT_EQ(destroyed, 0);
    delivery.letGo();
    event.join();
    remover.join();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(world.ids(), (std::vector<int>{538, 398}));
}

TEST_F(ControllerThreads, EventThreadMayHoldTheFormerObjectWhileTheNextTakesOver) {
    std::atomic<bool> holds{false};
    std::thread holder([&] {
        const Reference held = Reference::take(listed.get());
        holds = true;
        for (int read = 0; read < 200; ++read)
            EXPECT_EQ(held->getInventory().getControllerPortListSize(), 4u);
    });
    while (!holds) std::this_thread::yield();
    const Reference former = std::move(listed);
    former->processDeviceRemoval();
    for (int time = 0; time < 20; ++time) {
        const Reference next = make();
        next->processDeviceAddition(former.get());
        EXPECT_EQ(next->getInventory().getState(), ORB_STATE_OFFLINE);
    }
    holder.join();
    EXPECT_EQ(destroyed, 20);
}
} // namespace
