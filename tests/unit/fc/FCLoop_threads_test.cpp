#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/ManagerLoop.h"
#include "unit/fc/FcWorld.h"

namespace {
using Ids = std::vector<int>;
constexpr char TAG[] = "FC_RM";
constexpr char BUSY[] = "Cache build is in progress. Returning previous copy of inventory.";

/// A rebuild is due every 30 seconds unless a fixture says otherwise.
class FcLoop : public ManagerLoop<FcWorld> {
protected:
    explicit FcLoop(const std::string &interval = "30")
        : ManagerLoop(refresh_setting("FibreChannelDevices", interval)) {}
    void holdAttributes() {
        world.hba.onAttributes([this] { barrier.arrive(); });
    }
    void letAttributesGo() {
        world.hba.onAttributes({});
        barrier.letGo();
    }
};

// -- The cycle ----------------------------------------------------------------------------------

TEST_F(FcLoop, RebuildPollIdleRebuild) {
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
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Initializing FCRM"), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Entry startInventory"), 1);
}
TEST_F(FcLoop, GathersTheHostsNamesOnce) {
    startAndWait();
    for (int i = 0; i < 6; ++i) advance(10);
    const std::vector<std::string> calls = world.commands.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), FcWorld::topologyLine()), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), FcWorld::namesLine()), 1);
    EXPECT_EQ(calls[0], FcWorld::topologyLine());
    EXPECT_EQ(calls[1], FcWorld::namesLine());
}
TEST_F(FcLoop, WakesUpAtTheTenthSecondAndNotBefore) {
    startAndWait();
    world.clock.advanceMs(9999);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.polls(), 0);
    world.clock.advanceMs(1);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.polls(), 1);
}
TEST_F(FcLoop, LateWakeUpStillCountsFromItsDeadline) {
    startAndWait();
    advance(14); // the machine was asleep: the deadline was at ten
    EXPECT_EQ(world.polls(), 1);
    advance(10); // at 24 of a deadline at 24
    EXPECT_EQ(world.builds(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2);
}
TEST_F(FcLoop, RebuildOfAnyLengthBeginsTheCycle) {
    world.hba.onAttributes([this] { world.clock.advance(100); });
    startAndWait();
    world.hba.onAttributes({});
    advance(10);
    EXPECT_EQ(world.polls(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2) << "30 seconds behind the end of the first one";
}
TEST_F(FcLoop, WaitThatBeginsInALaterSecondThanTheRebuildsEndPollsNothing) {
    startAndWait();
    world.hba.onAttributes([this] { world.clock.advance(1); });
    advance(10); // the poll takes a second, so the next wait's deadline is at 21
    world.hba.onAttributes({});
    EXPECT_EQ(world.polls(), 1);
    advance(10);
    EXPECT_EQ(world.polls(), 1);
    EXPECT_EQ(world.builds(), 1);
    advance(10); // 31
    EXPECT_EQ(world.builds(), 2);
}
TEST_F(FcLoop, RebuildBySomebodyElseMovesTheCycle) {
    startAndWait();
    world.clock.advance(3);
    ASSERT_TRUE(world.clock.waitForParked(1));
    world.manager.cacheBuild(); // at 3
    advance(7);                 // deadline at 10, 7 behind it
    EXPECT_EQ(world.polls(), 0);
    advance(10); // 17 behind it
    EXPECT_EQ(world.polls(), 0);
    EXPECT_EQ(world.builds(), 2);
}
TEST_F(FcLoop, WakeUpThatNobodyAskedForIsNone) {
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

class FcLoopOfTen : public FcLoop {
protected:
    FcLoopOfTen() : FcLoop("10") {}
};
TEST_F(FcLoopOfTen, NeverPolls) {
    startAndWait();
    for (int build = 2; build <= 4; ++build) {
        advance(10);
        EXPECT_EQ(world.builds(), build);
    }
    EXPECT_EQ(world.polls(), 0);
}
class FcLoopOfEleven : public FcLoop {
protected:
    FcLoopOfEleven() : FcLoop("11") {}
};
TEST_F(FcLoopOfEleven, PollsAtTenAndRebuildsAtTwenty) {
    startAndWait();
    advance(10);
    EXPECT_EQ(world.polls(), 1);
    EXPECT_EQ(world.builds(), 1);
    advance(10);
    EXPECT_EQ(world.builds(), 2);
}
class FcLoopOfEver : public FcLoop {
protected:
    FcLoopOfEver() : FcLoop("9223372036854775807") {}
};
TEST_F(FcLoopOfEver, PollsOnceAndRestsForGood) {
    startAndWait();
    for (int i = 0; i < 50; ++i) advance(10);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.polls(), 1);
}

TEST_F(FcLoop, HostWithoutAdaptersIsRebuiltAtEveryWakeUp) {
    world.hba.setAdapters({});
    startAndWait();
    for (int build = 2; build <= 5; ++build) {
        advance(10);
        EXPECT_EQ(world.builds(), build);
    }
    EXPECT_EQ(world.polls(), 0);
}
TEST_F(FcLoop, LostAdaptersAreLookedForAtEveryWakeUpOnceARebuildIsDue) {
    startAndWait();
    world.hba.setAdapters({});
    for (int i = 0; i < 3; ++i) advance(10);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.polls(), 1);
    for (int build = 3; build <= 5; ++build) {
        advance(10);
        EXPECT_EQ(world.builds(), build);
    }
    EXPECT_EQ(world.polls(), 1);
}
TEST_F(FcLoop, PollThatFindsNoListIsDueUntilThereAreAdaptersAgain) {
    // The adapters can't be opened from the second rebuild on: the list is empty, but each rebuild
    // counts as one, and ten seconds behind it a poll is due that never runs.
    startAndWait();
    FAKE_HBA_ADAPTER closed = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE});
    closed.opens = false;
    world.hba.setAdapters({closed});
    for (int i = 0; i < 3; ++i) advance(10);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.polls(), 1);
    advance(10);
    EXPECT_EQ(world.polls(), 1) << "due, with an empty list";
    world.setState(HBA_PORTSTATE_ONLINE);
    advance(10);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.polls(), 1);
    advance(10); // the rebuild finds the adapter
    EXPECT_EQ(world.builds(), 3);
    EXPECT_EQ(world.polls(), 1);
    advance(10);
    EXPECT_EQ(world.polls(), 2);
}

// -- Changes ------------------------------------------------------------------------------------

TEST_F(FcLoop, ChangedPortRebuildsAtOnceAndRaisesItsEvent) {
    openTheGate();
    world.setState(HBA_PORTSTATE_ONLINE);
    startAndWait();
    world.setState(HBA_PORTSTATE_LINKDOWN);
    advance(10); // the poll, its rebuild; the event is under way
    EXPECT_EQ(world.builds(), 2);
    std::vector<Json::Value> objects(1);
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1) << "the list is still held";
    EXPECT_TRUE(objects.empty());
    EXPECT_TRUE(world.manager.getFCInventory().empty());
    EXPECT_EQ(world.hba.takeCalls().back(), "port 1 0") << "the adapter is still open";
    world.clock.advanceMs(500); // the delivery's half second
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.hba.takeCalls(), std::vector<std::string>{"close 1"});
    EXPECT_EQ(world.words(), "Linkdown Critical");
    EXPECT_EQ(world.eventIds(), Ids{386});
}
TEST_F(FcLoop, AdaptersOfDifferentStateAreRebuiltAtEachPoll) {
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(0xA2, {HBA_PORTSTATE_LINKDOWN})});
    startAndWait();
    for (int build = 2; build <= 5; ++build) {
        advance(10);
        EXPECT_EQ(world.polls(), build - 1);
        EXPECT_EQ(world.builds(), build);
    }
}

// -- Ends ---------------------------------------------------------------------------------------

TEST_F(FcLoop, StopEndsTheWait) {
    startAndWait();
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.log.count("INFO", TAG, "Resource manager stop called."), 1);
    EXPECT_EQ(world.log.count("INFO", TAG, "Signalled for stop."), 1);
}
TEST_F(FcLoop, StopEndsALaterWait) {
    startAndWait();
    advance(10);
    advance(10);
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
}
TEST_F(FcLoop, StopBeforeTheStartBuildsNothing) {
    world.manager.stopResourceManagerJob();
    start();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 0);
}
TEST_F(FcLoop, StopDuringARebuildTakesEffectAfterIt) {
    holdAttributes();
    start();
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob(); // doesn't wait
    letAttributesGo();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.words(), "Online OK");
}
TEST_F(FcLoop, StopDuringAPollEndsBehindIt) {
    startAndWait();
    holdAttributes();
    world.clock.advance(10);
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob();
    letAttributesGo();
    thread.join();
    EXPECT_EQ(world.builds(), 1);
}
TEST_F(FcLoop, StopDuringAPollThatSeesAChangeEndsBehindItsRebuild) {
    startAndWait();
    holdAttributes();
    world.clock.advance(10);
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob();
    world.setState(HBA_PORTSTATE_LINKDOWN);
    letAttributesGo();
    thread.join();
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.words(), "Linkdown Critical");
}
TEST_F(FcLoop, StopDuringAnEventEndsBehindItsRebuild) {
    openTheGate();
    world.setState(HBA_PORTSTATE_LINKDOWN);
    startAndWait();
    world.setState(HBA_PORTSTATE_ONLINE);
    advance(10); // the delivery's half second
    world.manager.stopResourceManagerJob();
    world.clock.advance(1);
    thread.join();
    EXPECT_EQ(world.eventIds(), Ids{384});
    EXPECT_EQ(world.words(), "Online OK");
}
TEST_F(FcLoop, ClockThatFailsEndsTheLoop) {
    world.hba.onAttributes([this] { world.clock.failRealTime(EPERM); });
    start();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.log.count("ERROR", TAG, "Failed to get current time! (errno: 1)"), 1);
    world.manager.stopResourceManagerJob(); // nobody waits, nothing hangs
}
TEST_F(FcLoop, SecondStartHasNothingToDo) {
    constexpr char SKIPPED[] = "Cache was recently refreshed. skipping the current refresh cycle";
    startAndWait();
    EXPECT_EQ(world.manager.init(), 1) << "the count of adapters";
    EXPECT_EQ(world.manager.startInventory(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, SKIPPED), 1);
    world.clock.advance(2);
    EXPECT_EQ(world.manager.startInventory(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, SKIPPED), 2);
}
TEST_F(FcLoop, StartThreeSecondsBehindARebuildIsALoop) {
    world.manager.cacheBuild();
    world.clock.advance(3);
    thread = std::thread([this] { result = world.manager.startInventory(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Cache was recently refreshed"), 0);
    stop();
    EXPECT_EQ(result, 0);
}

// -- Readers during a rebuild -------------------------------------------------------------------

TEST_F(FcLoop, ReadersOfTheFirstRebuildGetAnEmptyCopy) {
    holdAttributes();
    start();
    barrier.waitForArrival();
    std::vector<Json::Value> objects(3);
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    EXPECT_TRUE(objects.empty());
    EXPECT_EQ(world.log.count("DEBUG", TAG, BUSY), 1);
    EXPECT_FALSE(world.manager.isInventoryReady(8)) << "takes no lock";
    letAttributesGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.log.count("DEBUG", TAG, "FCRM requesting cache push"), 1);
}
TEST_F(FcLoop, ReadersOfALaterRebuildGetAnEmptyCopyToo) {
    startAndWait();
    advance(10);
    advance(10);
    holdAttributes();
    world.clock.advance(10);
    barrier.waitForArrival();
    std::vector<Json::Value> objects(3);
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    EXPECT_TRUE(objects.empty()) << "no previous copy is kept";
    EXPECT_TRUE(world.manager.getFCInventory().empty());
    EXPECT_TRUE(world.manager.isInventoryReady(8));
    letAttributesGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.words(), "Online OK");
}
TEST_F(FcLoop, ReadersOfARebuildGetTheCopyThatWasMade) {
    startAndWait();
    world.manager.backupInventory();
    advance(10);
    advance(10);
    holdAttributes();
    world.clock.advance(10);
    barrier.waitForArrival();
    std::vector<Json::Value> objects;
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    EXPECT_EQ(objects.size(), 1u);
    letAttributesGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
}
TEST_F(FcLoop, PollHoldsUpNobody) {
    startAndWait();
    holdAttributes();
    world.clock.advance(10);
    barrier.waitForArrival();
    EXPECT_EQ(world.words(), "Online OK");
    EXPECT_TRUE(world.manager.isRunning());
    letAttributesGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
}
TEST_F(FcLoop, DoesNotRunDuringALongFirstRebuild) {
    holdAttributes();
    start();
    barrier.waitForArrival();
    bool running = true;
    std::thread asker([&] { running = world.manager.isRunning(); });
    for (int retry = 0; retry < 3; ++retry) {
        ASSERT_TRUE(world.clock.waitForParked(1));
        EXPECT_EQ(world.log.count("WARNING", TAG,
                                  "_cacheBuildInProgress = 1,FCInventory.size() =0,retryCount = " +
                                      std::to_string(retry)),
                  1);
        world.clock.advance(3);
    }
    asker.join();
    EXPECT_FALSE(running);
    letAttributesGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
}
TEST_F(FcLoop, RunsAgainWhenTheRebuildEndsWithinNineSeconds) {
    holdAttributes();
    start();
    barrier.waitForArrival();
    bool running = false;
    std::thread asker([&] { running = world.manager.isRunning(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    letAttributesGo();
    ASSERT_TRUE(world.clock.waitForParked(2)); // the asker's sleep, the loop's wait
    world.clock.advance(3);
    asker.join();
    EXPECT_TRUE(running);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "retryCount"), 1);
}
TEST_F(FcLoop, ReadersAtOnceWithManyRebuilds) {
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(0xA2, {HBA_PORTSTATE_LINKDOWN})});
    startAndWait();
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!done) {
                std::vector<Json::Value> objects;
                const int rc = world.manager.getInventoryJsonObject(objects);
                EXPECT_EQ(objects.size(), rc == 0 ? 2u : 0u); // never a half-built one
                const std::size_t adapters = world.manager.getFCInventory().size();
                EXPECT_TRUE(adapters == 0 || adapters == 2) << adapters;
                EXPECT_TRUE(world.manager.isInventoryReady(8));
            }
        });
    for (int i = 0; i < 30; ++i) {
        world.clock.advance(10);
        EXPECT_TRUE(world.clock.waitForParked(1));
    }
    done = true;
    for (std::thread &reader : readers) reader.join();
    EXPECT_EQ(world.builds(), 31);
}
} // namespace
