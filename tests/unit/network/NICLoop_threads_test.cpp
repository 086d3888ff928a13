#include <atomic>
#include <cerrno>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/ManagerLoop.h"
#include "unit/network/NicWorld.h"

namespace {
constexpr char TAG[] = "NIC_RM";
constexpr char BUSY[] = "Cache build is in progress. Returning previous copy of inventory.";

/// A rebuild is due every 30 seconds unless a fixture says otherwise.
class NicLoop : public ManagerLoop<NicWorld> {
protected:
    explicit NicLoop(const std::string &interval = "30")
        : ManagerLoop("PLATFORM-ID-A01", refresh_setting("EthernetDevices", interval)) {}
    void waitForLine(const char *text, int count) {
        while (world.log.count("DEBUG", TAG, text) < count) std::this_thread::yield();
    }
    void setLink(const std::string &word) {
        NIC_ON_HOST nic;
        nic.link = word;
        world.setNics({nic});
    }
};

// -- The cycle ----------------------------------------------------------------------------------

TEST_F(NicLoop, RebuildPollIdleRebuild) {
    startAndWait();
    for (int cycle = 1; cycle <= 3; ++cycle) {
        EXPECT_EQ(world.builds(), cycle);
        EXPECT_EQ(world.polls(), cycle - 1);
        advance(10);
        EXPECT_EQ(world.builds(), cycle);
        EXPECT_EQ(world.polls(), cycle);
        advance(10);
        EXPECT_EQ(world.builds(), cycle);
        EXPECT_EQ(world.polls(), cycle);
        advance(10);
    }
    EXPECT_EQ(world.builds(), 4);
    EXPECT_EQ(world.polls(), 3);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Refreshing Ethernet cache"), 4);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Initializing NICRM"), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Entry startInventory"), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Attempting to refresh Cache."), 0);
}

TEST_F(NicLoop, WakesUpAtTheTenthSecondAndNotBefore) {
    startAndWait();
    world.clock.advanceMs(9999);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.polls(), 0);
    world.clock.advanceMs(1);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.polls(), 1);
}

TEST_F(NicLoop, LateWakeUpStillCountsFromItsDeadline) {
    startAndWait();
    advance(14); // the machine was asleep: the deadline was at ten
    EXPECT_EQ(world.polls(), 1);
    advance(10); // at 24 of a deadline at 24
    EXPECT_EQ(world.builds(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2);
}

TEST_F(NicLoop, RebuildOfAnyLengthBeginsTheCycle) {
    world.answerList([this] { world.clock.advance(100); });
    startAndWait();
    world.answerList();
    advance(10);
    EXPECT_EQ(world.polls(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2) << "30 seconds behind the end of the first one";
}

TEST_F(NicLoop, WaitThatBeginsInALaterSecondThanTheRebuildsEndPollsNothing) {
    openTheGate();
    setLink("Down");
    startAndWait();
    setLink("Up");
    advance(10); // the poll and its rebuild; the event is under way
    EXPECT_EQ(world.polls(), 1);
    advance(1); // until now
    advance(10);
    advance(10);
    EXPECT_EQ(world.polls(), 1) << "11 and 21 seconds behind the rebuild";
    EXPECT_EQ(world.builds(), 2);
    advance(10);
    EXPECT_EQ(world.builds(), 3);
}

TEST_F(NicLoop, RebuildBySomebodyElseMovesTheCycle) {
    startAndWait();
    world.clock.advance(3);
    ASSERT_TRUE(world.clock.waitForParked(1));
    world.manager.cacheBuild(); // at 3
    advance(7);                 // deadline at 10, 7 behind it
    EXPECT_EQ(world.polls(), 0);
    advance(10); // 17 behind it
    EXPECT_EQ(world.polls(), 0);
    EXPECT_EQ(world.builds(), 2);
    advance(10); // 27 behind it
    EXPECT_EQ(world.builds(), 2);
    advance(10); // 37 behind it
    EXPECT_EQ(world.builds(), 3);
}

TEST_F(NicLoop, WakeUpThatNobodyAskedForIsNone) {
    startAndWait();
    for (int i = 0; i < 3; ++i) {
        world.clock.wakeForNothing();
        ASSERT_TRUE(world.clock.waitForParked(1));
    }
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.polls(), 0);
    advance(10);
    EXPECT_EQ(world.polls(), 1);
}

class NicLoopOfTen : public NicLoop {
protected:
    NicLoopOfTen() : NicLoop("10") {}
};
TEST_F(NicLoopOfTen, NeverPolls) {
    startAndWait();
    for (int build = 2; build <= 4; ++build) {
        advance(10);
        EXPECT_EQ(world.builds(), build);
    }
    EXPECT_EQ(world.polls(), 0);
}
class NicLoopOfOne : public NicLoop {
protected:
    NicLoopOfOne() : NicLoop("1") {}
};
TEST_F(NicLoopOfOne, RebuildsAtEveryWakeUp) {
    startAndWait();
    advance(10);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.polls(), 0);
}
class NicLoopOfEleven : public NicLoop {
protected:
    NicLoopOfEleven() : NicLoop("11") {}
};
TEST_F(NicLoopOfEleven, PollsAtTenAndRebuildsAtTwenty) {
    startAndWait();
    advance(10);
    EXPECT_EQ(world.polls(), 1);
    EXPECT_EQ(world.builds(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2);
}
class NicLoopOfZero : public NicLoop {
protected:
    NicLoopOfZero() : NicLoop("0") {}
};
TEST_F(NicLoopOfZero, HasTheDefaultOfTheConfiguration) {
    startAndWait();
    for (int i = 1; i < 360; ++i) advance(10);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.polls(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2) << "an hour behind the first";
}
class NicLoopOfEver : public NicLoop {
protected:
    NicLoopOfEver() : NicLoop("9223372036854775807") {}
};
TEST_F(NicLoopOfEver, PollsOnceAndRestsForGood) {
    startAndWait();
    for (int i = 0; i < 50; ++i) advance(10);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.polls(), 1);
}

// -- Links --------------------------------------------------------------------------------------

TEST_F(NicLoop, ChangedLinkRebuildsAtOnceAndRaisesOneEvent) {
    openTheGate();
    startAndWait();
    setLink("Down");
    advance(10);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.words(), "Down Unknown");
    EXPECT_TRUE(world.events().empty());

    setLink("Up");
    advance(10);                // the poll, its rebuild, and the delivery's half second
    world.clock.advanceMs(500); // after which the loop goes on
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 3);
    EXPECT_EQ(world.words(), "Running OK");
    advance(10);
    ASSERT_EQ(world.events().size(), 1u);
    EXPECT_EQ(world.events()[0]["ID"], Json::Value(680));
}

TEST_F(NicLoop, TwoChangedLinksGiveOneRebuild) {
    openTheGate();
    std::vector<NIC_ON_HOST> two(2);
    two[1].name = "vmnic1";
    two[0].link = two[1].link = "Down";
    world.setNics(two);
    startAndWait();
    two[0].link = two[1].link = "Up";
    world.setNics(two);
    advance(10);
    for (int event = 1; event <= 2; ++event) {
        EXPECT_EQ(world.events().size(), static_cast<std::size_t>(event));
        world.clock.advanceMs(500);
        ASSERT_TRUE(world.clock.waitForParked(1));
    }
    EXPECT_EQ(world.builds(), 2);
}

// -- Ends ---------------------------------------------------------------------------------------

TEST_F(NicLoop, StopEndsTheWait) {
    startAndWait();
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
}
TEST_F(NicLoop, StopBeforeTheStartBuildsNothing) {
    world.manager.stopResourceManagerJob();
    start();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 0);
}
TEST_F(NicLoop, StopDuringARebuildTakesEffectAfterIt) {
    world.answerList([this] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob(); // doesn't wait
    EXPECT_EQ(world.builds(), 0);
    barrier.letGo();
    thread.join();
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.words(), "Running OK");
}
TEST_F(NicLoop, StopDuringALaterRebuildStillRaisesItsEvent) {
    openTheGate();
    setLink("Down");
    startAndWait();
    NIC_ON_HOST nic;
    world.setNics({nic});
    world.answerList([this] { barrier.arrive(); });
    world.clock.advance(10); // the poll sees the change
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob();
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1)); // the delivery's half second
    world.clock.advance(1);
    thread.join();
    EXPECT_EQ(world.events().size(), 1u);
    EXPECT_EQ(world.builds(), 2);
}
TEST_F(NicLoop, StopDuringAPollEndsBehindIt) {
    startAndWait();
    world.answerPollWith(world.linkTable(), [this] { barrier.arrive(); });
    world.clock.advance(10);
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob();
    barrier.letGo();
    thread.join();
    EXPECT_EQ(world.builds(), 1);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
}
TEST_F(NicLoop, ClockThatFailsEndsTheLoop) {
    world.answerList([this] { world.clock.failRealTime(EPERM); });
    start();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.log.count("ERROR", TAG, "Failed to get current time! (errno: 1)"), 1);
}
TEST_F(NicLoop, SecondStartHasNothingToDo) {
    startAndWait();
    EXPECT_EQ(world.manager.init(), 1) << "the count of adapters";
    EXPECT_EQ(world.manager.startInventory(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Attempting to refresh Cache."), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG,
                              "cache was recently refreshed. skipping the current refresh cycle"),
              1);
    world.clock.advance(2);
    EXPECT_EQ(world.manager.startInventory(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG,
                              "cache was recently refreshed. skipping the current refresh cycle"),
              2);
}
TEST_F(NicLoop, StartThreeSecondsBehindARebuildIsALoop) {
    world.manager.cacheBuild();
    world.clock.advance(3);
    std::thread second([this] { result = world.manager.startInventory(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "cache was recently refreshed"), 0);
    world.manager.stopResourceManagerJob();
    second.join();
    EXPECT_EQ(result, 0);
}

// -- The lock that stays held -------------------------------------------------------------------

TEST_F(NicLoop, StopEndsTheRebuildThatWaitsForTheHeldLock) {
    world.answerListWith(NicWorld::HEADS);
    world.answerPollWith("\n\n");
    startAndWait();
    for (int i = 0; i < 3; ++i) advance(10); // the second rebuild keeps the lock
    ASSERT_EQ(world.builds(), 2);
    for (int i = 0; i < 2; ++i) advance(10); // a poll of a table without rows
    EXPECT_EQ(world.polls(), 2);
    world.clock.advance(10); // the third rebuild waits
    waitForLine("Building NIC Cache", 3);
    std::vector<Json::Value> objects;
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    world.clock.advance(1000);
    EXPECT_EQ(world.builds(), 2) << "and goes on waiting";
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 2);
}
TEST_F(NicLoop, StopEndsThePollThatWaitsForTheHeldLock) {
    startAndWait();
    world.answerListWith(NicWorld::HEADS);
    for (int i = 0; i < 3; ++i) advance(10);
    ASSERT_EQ(world.builds(), 2);
    world.clock.advance(10); // the poll finds a row
    waitForLine("Getting list of interfaces", 2);
    std::vector<Json::Value> objects;
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    EXPECT_EQ(objects.size(), 1u) << "the last good ones";
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_FALSE(world.root.exists(NicWorld::LIST_FILE));
    EXPECT_EQ(world.log.count("DEBUG", TAG, "No status change"), 1) << "the first poll's";
}
TEST_F(NicLoop, HeldLockMeansItIsNotRunning) {
    startAndWait();
    world.answerListWith(NicWorld::HEADS);
    world.answerPollWith("\n\n");
    for (int i = 0; i < 3; ++i) advance(10);
    bool running = true;
    std::thread asker([&] { running = world.manager.isRunning(); });
    for (int retry = 0; retry < 3; ++retry) {
        ASSERT_TRUE(world.clock.waitForParked(2)); // the loop's wait, the asker's sleep
        EXPECT_EQ(
            world.log.count("WARNING", TAG,
                            "_cacheBuildInProgress = 1,NICInventory.size() =1, retryCount = " +
                                std::to_string(retry)),
            1);
        world.clock.advance(5);
    }
    asker.join();
    EXPECT_FALSE(running);
}

// -- Readers during a rebuild -------------------------------------------------------------------

TEST_F(NicLoop, ReadersOfTheFirstRebuildGetAnEmptyCopy) {
    world.answerList([this] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    std::vector<Json::Value> objects(3);
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    EXPECT_TRUE(objects.empty());
    EXPECT_EQ(world.log.count("DEBUG", TAG, BUSY), 1);
    EXPECT_FALSE(world.manager.isInventoryReady(8));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.log.count("DEBUG", TAG, "NICRM requesting cache push"), 1);
}
TEST_F(NicLoop, ReadersOfALaterRebuildGetThePreviousCopy) {
    startAndWait();
    setLink("Down");
    world.answerList([this] { barrier.arrive(); });
    world.clock.advance(10);
    barrier.waitForArrival();
    EXPECT_EQ(world.words(), "Running OK");
    EXPECT_TRUE(world.manager.isInventoryReady(0));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.words(), "Down Unknown");
}
TEST_F(NicLoop, RunsAgainWhenTheRebuildEndsWithinFifteenSeconds) {
    world.answerList([this] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    bool running = false;
    std::thread asker([&] { running = world.manager.isRunning(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(2)); // the asker's sleep, the loop's wait
    world.clock.advance(5);
    asker.join();
    EXPECT_TRUE(running);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "retryCount"), 1);
}
TEST_F(NicLoop, ReadersAtOnceWithManyRebuilds) {
    startAndWait();
    advance(10);
    advance(10);
    advance(10); // both copies hold an adapter
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!done) {
                std::vector<Json::Value> objects;
                (void)world.manager.getInventoryJsonObject(objects);
                EXPECT_EQ(objects.size(), 1u); // current or previous, never a half-built one
                EXPECT_LE(world.manager.getHealthOfIntf("vmnic0").size(), 2u);
                world.manager.updateStateAndHealth("vmnic0", "Running", "OK");
                EXPECT_TRUE(world.manager.isInventoryReady(8));
            }
        });
    for (int i = 0; i < 30; ++i) {
        world.clock.advance(10);
        EXPECT_TRUE(world.clock.waitForParked(1));
    }
    done = true;
    for (std::thread &reader : readers) reader.join();
    EXPECT_EQ(world.builds(), 12);
}
} // namespace
