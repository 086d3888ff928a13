// A factory's list under several threads: the manager's walks it, others ask for lists and go on
// using controllers that are gone.
#include "storage/orbStorageControllerFactory.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "storage/orbControllerList.h"
#include "support/Barrier.h"
#include "support/FactoryWorld.h"

namespace {
class FactoryThreads : public ::testing::Test {
protected:
    FactoryWorld world;

    FactoryThreads() { FactoryWorld::registerClass(); }

    std::vector<IorbStorageController *> askElsewhere() {
        std::vector<IorbStorageController *> answer;
        std::thread([&] {
            orbControllerList controllers;
            world.factory.getControllers(255, controllers.vector());
            answer = controllers.vector();
        }).join();
        return answer;
    }
    /// Holds the only controller on a thread of its own until it is let go, then uses it.
    std::thread holdElsewhere(Barrier &held) {
        return std::thread([this, &held] {
            orbControllerList controllers;
            world.factory.getControllers(255, controllers.vector());
            EXPECT_EQ(controllers.vector().size(), 1U);
            held.arrive();
            for (IorbStorageController *const controller : controllers) {
                EXPECT_TRUE(controller->isRemoved());
                EXPECT_EQ(controller->getReferenceCount(), 1);
                EXPECT_EQ(dynamic_cast<RecordedController &>(*controller).name, "0000:01:00.0");
            }
        });
    }
};

TEST_F(FactoryThreads, ARefreshRunsWithoutTheFactorysMutex) {
    int asked = 0;
    world.onRefresh = [&] {
        EXPECT_TRUE(askElsewhere().empty());
        ++asked;
    };
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(asked, 1);
}

// The removal may wait for a thread that stands before the factory's mutex.
TEST_F(FactoryThreads, ShutdownEndsControllersWithoutTheFactorysMutex) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    int asked = 0;
    world.recorded(0)->onRemoval = [&] {
        EXPECT_TRUE(askElsewhere().empty());
        ++asked;
    };
    world.factory.shutdownFactory();
    EXPECT_EQ(asked, 1);
}

TEST_F(FactoryThreads, ALostControllerServesItsHolderToTheEnd) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    Barrier held;
    std::thread holder = holdElsewhere(held);
    held.waitForArrival();
    world.tree.removeHost("host1");
    EXPECT_EQ(world.walk(), 0U);
    EXPECT_EQ(world.journal.take().back(), "removal of 0000:01:00.0");
    held.letGo();
    holder.join();
    EXPECT_EQ(world.journal.take(), std::vector<std::string>{"end of 0000:01:00.0"});
}

TEST_F(FactoryThreads, AReplacedControllerServesItsHolderToTheEnd) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    Barrier held;
    std::thread holder = holdElsewhere(held);
    held.waitForArrival();
    world.recorded(0)->processDeviceRemoval();
    EXPECT_EQ(world.walk(), 1U);
    EXPECT_EQ(world.journal.take().back(), "addition of 0000:01:00.0 after 0000:01:00.0");
    held.letGo();
    holder.join();
    EXPECT_EQ(world.journal.take(), std::vector<std::string>{"end of 0000:01:00.0"});
    EXPECT_EQ(world.recorded(0)->getReferenceCount(), 1);
}

TEST_F(FactoryThreads, AControllerThatIsShutDownServesItsHolderToTheEnd) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    Barrier held;
    std::thread holder = holdElsewhere(held);
    held.waitForArrival();
    world.factory.shutdownFactory();
    EXPECT_EQ(world.journal.take().back(), "removal of 0000:01:00.0");
    held.letGo();
    holder.join();
    EXPECT_EQ(world.journal.take(), std::vector<std::string>{"end of 0000:01:00.0"});
}

TEST_F(FactoryThreads, ADeletedControllerServesItsHolderToTheEnd) {
    world.addOurs("host1", 1);
    EXPECT_EQ(world.walk(), 1U);
    Barrier held;
    std::thread holder([&] {
        orbControllerList controllers;
        world.factory.getControllers(255, controllers.vector());
        held.arrive();
        EXPECT_EQ((*controllers.begin())->getReferenceCount(), 1);
    });
    held.waitForArrival();
    world.factory.deleteControllers(255);
    held.letGo();
    holder.join();
    EXPECT_EQ(world.journal.take().back(), "end of 0000:01:00.0");
}

TEST_F(FactoryThreads, ListsAreWholeWhileControllersComeAndGo) {
    std::atomic<bool> stop{false};
    std::atomic<int> used{0};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                orbControllerList controllers;
                world.factory.getControllers(255, controllers.vector());
                for (IorbStorageController *const controller : controllers) {
                    auto &recorded = dynamic_cast<RecordedController &>(*controller);
                    EXPECT_EQ(recorded.getPciLocation(), recorded.name);
                    EXPECT_GE(recorded.getReferenceCount(), 1);
                    ++used;
                }
            }
        });
    }
    for (int round = 0; round < 40; ++round) {
        world.addOurs("host1", 1);
        world.addOurs("host2", 2);
        EXPECT_EQ(world.walk(), 2U);
        world.tree.removeHost("host1");
        if (round % 2 == 0) world.recorded(0)->processDeviceRemoval();
        (void)world.walk(); // a removed object stays in the list
        world.tree.removeHost("host2");
        world.factory.deleteControllers(255);
    }
    while (used == 0) {
        world.addOurs("host1", 1);
        EXPECT_EQ(world.walk(), 1U);
        world.tree.removeHost("host1");
    }
    stop = true;
    for (std::thread &reader : readers) reader.join();
    world.factory.deleteControllers(255);
    int made = 0, ended = 0;
    for (const std::string &line : world.journal.take()) {
        if (line.starts_with("addition")) ++made;
        if (line.starts_with("end")) ++ended;
    }
    EXPECT_GE(made, 80);
    EXPECT_EQ(ended, made);
}
} // namespace
