#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/ManagerLoop.h"
#include "unit/storage/SasWorld.h"

namespace {
constexpr char TAG[] = "SAS_RM";
constexpr char BUSY[] = "Cache build is in progress. Returning previously saved inventory.";

/// A rebuild is due every 30 seconds unless a fixture says otherwise; time goes by in ticks of ten.
class SasLoop : public ManagerLoop<SasWorld> {
protected:
    explicit SasLoop(const std::string &interval = "30")
        : ManagerLoop("PLATFORM-ID-A01", refresh_setting("StorageControllers", interval)) {}
    int loggedDebug(const std::string &text) { return world.log.count("DEBUG", TAG, text); }
    void waitForLine(const char *text) {
        while (loggedDebug(text) == 0) std::this_thread::yield();
    }
    /// Asks for a rebuild of the loop that waits, and waits for its end.
    void rebuild() {
        const int before = world.builds();
        SASResourceManager::invalidateInventoryCache();
        while (world.builds() == before) std::this_thread::yield();
        ASSERT_TRUE(world.clock.waitForParked(1));
    }
    void expectSoFar(int builds, int polls, const char *when) {
        EXPECT_EQ(world.builds(), builds) << when;
        EXPECT_EQ(world.polls(), polls) << when;
    }
    /// The stop from another thread; its end is seen by `stopped`.
    void stopAside() {
        stopper = std::thread([this] {
            world.manager.stopResourceManagerJob();
            stopped = true;
        });
        waitForLine("Signalled for stop.");
    }
    void TearDown() override {
        if (stopper.joinable()) {
            stopper.join();
            thread.join();
        }
        ManagerLoop::TearDown();
    }

    std::thread stopper;
    std::atomic<bool> stopped{false};
};

// -- The cycle ----------------------------------------------------------------------------------

TEST_F(SasLoop, BuildsAtOnceAndPollsFromTheFirstTimeoutOn) {
    startAndWait();
    expectSoFar(1, 0, "at the start");
    advance(10);
    expectSoFar(1, 1, "at 10");
    advance(10);
    expectSoFar(1, 2, "at 20");
    advance(10);
    expectSoFar(2, 3, "at 30");
    advance(60);
    expectSoFar(2, 4, "a late wake-up counts once, from its deadline at 40");
    EXPECT_EQ(loggedDebug("Entered init"), 1);
    EXPECT_EQ(loggedDebug("reached startInventory"), 1);
    EXPECT_EQ(loggedDebug("SAS refresh interval: 30"), 1);
    EXPECT_EQ(loggedDebug("SAS poll interval: 10"), 1);
}

class SasLoopOf25 : public SasLoop {
protected:
    SasLoopOf25() : SasLoop("25") {}
};
TEST_F(SasLoopOf25, TicksByFiveSeconds) {
    startAndWait();
    advance(5);
    expectSoFar(1, 1, "at 5, the first poll");
    advance(5);
    expectSoFar(1, 1, "at 10");
    advance(5);
    expectSoFar(1, 2, "at 15");
    advance(5);
    expectSoFar(1, 2, "at 20");
    advance(5);
    expectSoFar(2, 3, "at 25");
    for (int tick = 0; tick < 5; ++tick) advance(5);
    expectSoFar(3, 5, "at 50: polls at 35 and 45");
}

class SasLoopOfSeven : public SasLoop {
protected:
    SasLoopOfSeven() : SasLoop("7") {}
};
TEST_F(SasLoopOfSeven, TicksBySeconds) {
    startAndWait();
    for (int second = 1; second <= 6; ++second) advance(1);
    expectSoFar(1, 1, "at 6");
    advance(1);
    expectSoFar(2, 1, "at 7");
    for (int second = 8; second <= 10; ++second) advance(1);
    expectSoFar(2, 1, "at 10");
    advance(1);
    expectSoFar(2, 2, "at 11, ten behind the first poll");
}

class SasLoopOfTen : public SasLoop {
protected:
    SasLoopOfTen() : SasLoop("10") {}
};
TEST_F(SasLoopOfTen, BuildsThenPollsInEachTurn) {
    world.factory.add("C");
    startAndWait();
    (void)world.calls.take();
    advance(10);
    EXPECT_EQ(world.calls.take(),
              (std::vector<std::string>{"F discover", "C inventory", "C drives", "C volumes",
                                        "C enclosures", "C enableEvents", "F poll",
                                        "F getControllers 255", "C poll"}));
}

TEST_F(SasLoop, WaitEndsAtAWholeSecond) {
    world.clock.advanceMs(300);
    startAndWait();
    world.clock.advanceMs(9699);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.polls(), 0);
    world.clock.advanceMs(1);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.polls(), 1);
}

TEST_F(SasLoop, LongBuildDelaysThePollAndNeverOverlapsIt) {
    world.factory.add("C").onDiscover = [this] { world.clock.advance(100); };
    startAndWait();
    expectSoFar(1, 0, "behind the build");
    advance(10);
    expectSoFar(1, 1, "ten behind its end");
    advance(10);
    advance(10);
    expectSoFar(2, 3, "thirty behind its end");
}

TEST_F(SasLoopOf25, LongPollIsFollowedByOneTenBehindItsEnd) {
    std::atomic<int> slowPolls{1};
    world.factory.add("C").onPoll = [this, &slowPolls] {
        if (slowPolls-- > 0) world.clock.advance(7);
    };
    startAndWait();
    advance(5);
    expectSoFar(1, 1, "from 5 to 12");
    advance(5);
    expectSoFar(1, 1, "at 17");
    advance(5);
    expectSoFar(1, 2, "at 22");
}

TEST_F(SasLoop, PollsTheControllersOfEachFactoryAndLetsThemGo) {
    FakeStorageFactory second("G", world.calls);
    FakeStorageController &first = world.factory.add("C1");
    FakeStorageController &other = second.add("C2");
    for (FakeStorageController *controller : {&first, &other})
        controller->onPoll = [controller] { EXPECT_EQ(controller->getReferenceCount(), 2); };
    startAndWait();
    (void)world.calls.take();
    advance(10);
    EXPECT_EQ(world.calls.take(),
              (std::vector<std::string>{"F poll", "F getControllers 255", "C1 poll", "G poll",
                                        "G getControllers 255", "C2 poll"}));
    stop(); // while the second factory is there
    EXPECT_EQ(first.getReferenceCount(), 1);
    EXPECT_EQ(other.getReferenceCount(), 1);
}

// -- Requests -----------------------------------------------------------------------------------

TEST_F(SasLoop, RequestRebuildsAtOnceAndSkipsThePoll) {
    startAndWait();
    world.clock.advanceMs(9000);
    rebuild();
    expectSoFar(2, 0, "by request, at 9");
    advance(9);
    expectSoFar(2, 0, "at 18");
    advance(1);
    expectSoFar(2, 1, "at 19, a tick behind the request");
    EXPECT_EQ(loggedDebug("Invalidating inventory cache."), 1);
    EXPECT_EQ(loggedDebug("Inventory cache invalidated."), 1);
}

TEST_F(SasLoop, ManyRequestsStarveThePoll) {
    startAndWait();
    for (int request = 0; request < 6; ++request) {
        world.clock.advance(9);
        ASSERT_TRUE(world.clock.waitForParked(1));
        rebuild();
    }
    expectSoFar(7, 0, "after 54 seconds");
}

TEST_F(SasLoop, WakeUpForNothingIsATurnWithoutWork) {
    startAndWait();
    world.clock.advance(6);
    ASSERT_TRUE(world.clock.waitForParked(1));
    world.clock.wakeForNothing();
    ASSERT_TRUE(world.clock.waitForParked(1));
    expectSoFar(1, 0, "at 6");
    advance(4);
    expectSoFar(1, 0, "at 10, where the poll was due");
    advance(6);
    expectSoFar(1, 1, "a tick behind the wake-up");
}

TEST_F(SasLoop, WakeUpForNothingPutsOffARebuildThatIsDue) {
    startAndWait();
    advance(10);
    advance(10);
    world.clock.advance(6);
    ASSERT_TRUE(world.clock.waitForParked(1));
    world.clock.wakeForNothing();
    ASSERT_TRUE(world.clock.waitForParked(1));
    expectSoFar(1, 2, "at 26");
    advance(4);
    expectSoFar(1, 2, "at 30, where both were due");
    advance(6);
    expectSoFar(2, 3, "a tick behind the wake-up");
}

TEST_F(SasLoop, RequestFromWithinABuildRebuildsRightAfterIt) {
    std::atomic<int> requests{1};
    world.factory.add("C").onDiscover = [&requests] {
        if (requests-- > 0) SASResourceManager::invalidateInventoryCache();
    };
    start();
    ASSERT_TRUE(world.clock.waitForParked(1));
    expectSoFar(2, 0, "no wait between the two");
}

TEST_F(SasLoop, RequestFromWithinAPollRebuildsRightAfterIt) {
    world.factory.add("C").onPoll = [] { SASResourceManager::invalidateInventoryCache(); };
    startAndWait();
    advance(10);
    expectSoFar(2, 1, "at 10");
}

TEST_F(SasLoop, RequestBeforeTheStartIsTheFirstBuild) {
    SASResourceManager::invalidateInventoryCache();
    startAndWait();
    expectSoFar(1, 0, "at the start");
}

TEST_F(SasLoop, PushRequestWaitsForTheNextBuild) {
    startAndWait();
    EXPECT_EQ(world.pushes(), 0);
    SASResourceManager::sendInventorytToRMCOnCacheBuild();
    advance(10);
    advance(10);
    EXPECT_EQ(world.pushes(), 0) << "it wakes nobody";
    advance(10);
    EXPECT_EQ(world.pushes(), 1);
    for (int tick = 0; tick < 3; ++tick) advance(10);
    EXPECT_EQ(world.builds(), 3);
    EXPECT_EQ(world.pushes(), 1) << "once";
    EXPECT_EQ(loggedDebug("Signalling for inventory push to RMC on cache build."), 1);
    EXPECT_EQ(loggedDebug("Signalled inventory push."), 1);
}

TEST_F(SasLoop, PushRequestFromWithinABuildRidesOnIt) {
    world.factory.add("C").onDiscover = [] {
        SASResourceManager::sendInventorytToRMCOnCacheBuild();
    };
    startAndWait();
    EXPECT_EQ(world.pushes(), 1);
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "Dropping inventory send request"), 1);
}

// -- Readers during a build ---------------------------------------------------------------------

TEST_F(SasLoop, ReaderDuringTheFirstBuildGetsNothing) {
    world.factory.add("C").onDiscover = [this] { barrier.arrive(); };
    start();
    barrier.waitForArrival();
    for (int type = 0; type <= 4; ++type) {
        std::vector<Json::Value> objects{Json::Value("of a former call")};
        EXPECT_EQ(world.manager.getInventoryJsonObject2(type, objects), 1);
        EXPECT_TRUE(objects.empty()) << type;
    }
    EXPECT_EQ(loggedDebug(BUSY), 5);
    EXPECT_FALSE(world.manager.isInventoryReady(0));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_TRUE(world.manager.isInventoryReady(0));
    EXPECT_EQ(world.objects(1).size(), 1u);
}

TEST_F(SasLoop, ReaderDuringALaterBuildGetsTheFormerInventory) {
    std::atomic<int> builds{0};
    FakeStorageController &controller = world.factory.add("C");
    controller.drives = {SasWorld::drive("D1")};
    controller.onDiscover = [&] {
        if (++builds == 1) return;
        controller.drives = {SasWorld::drive("D1"), SasWorld::drive("D2")};
        barrier.arrive();
    };
    startAndWait();
    SASResourceManager::invalidateInventoryCache();
    barrier.waitForArrival();
    EXPECT_EQ(world.texts(2, "SerialNumber"), std::vector<std::string>{"D1"});
    std::vector<Json::Value> unknown{Json::Value("kept")};
    EXPECT_EQ(world.manager.getInventoryJsonObject2(5, unknown), 1);
    EXPECT_EQ(unknown, std::vector<Json::Value>{Json::Value("kept")});
    EXPECT_EQ(loggedDebug("Unsupported inventory type"), 1);
    EXPECT_TRUE(world.manager.isInventoryReady(8)) << "ready for good";
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.texts(2, "SerialNumber"), (std::vector<std::string>{"D1", "D2"}));
    EXPECT_EQ(world.pushes(), 0);
}

TEST_F(SasLoop, ReaderWhoseTryFailsSaysSoWithABlank) {
    // isRunning() holds the cache's lock, with no build under way, while it asks a controller.
    world.factory.add("C");
    startAndWait();
    world.factory.onGetControllers = [this] { barrier.arrive(); };
    std::thread asker([this] { EXPECT_TRUE(world.manager.isRunning()); });
    barrier.waitForArrival();
    EXPECT_EQ(world.objects(1).size(), 0u) << "from before the first build";
    EXPECT_EQ(loggedDebug(std::string(BUSY) + " "), 1);
    EXPECT_EQ(loggedDebug(BUSY), 0);
    barrier.letGo();
    asker.join();
}

TEST_F(SasLoop, LastLookDuringTheFirstBuildMakesItPush) {
    world.factory.add("C").onDiscover = [this] { barrier.arrive(); };
    start();
    barrier.waitForArrival();
    EXPECT_FALSE(world.manager.isInventoryReady(7));
    EXPECT_FALSE(world.manager.isInventoryReady(8));
    EXPECT_EQ(world.log.count("INFO", TAG, "SAS RM cache status 0"), 2);
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.pushes(), 1);
    EXPECT_TRUE(world.manager.isInventoryReady(8));
    EXPECT_EQ(world.log.count("INFO", TAG, "SAS RM cache status 1"), 1);
    rebuild();
    EXPECT_EQ(world.pushes(), 1) << "the wish is used up";
}

TEST_F(SasLoop, RequestsAndReadersOfManyThreadsMeetTheBuilds) {
    FakeStorageController &controller = world.factory.add("C");
    controller.drives = {SasWorld::drive("D1"), SasWorld::drive("D2")};
    startAndWait();
    std::vector<std::thread> others;
    for (int i = 0; i < 4; ++i)
        others.emplace_back([this] {
            for (int round = 0; round < 50; ++round) {
                SASResourceManager::invalidateInventoryCache();
                SASResourceManager::sendInventorytToRMCOnCacheBuild();
                std::vector<Json::Value> drives;
                (void)world.manager.getInventoryJsonObject2(2, drives);
                EXPECT_TRUE(drives.empty() || drives.size() == 2u) << drives.size();
                EXPECT_TRUE(world.manager.isInventoryReady(round % 10));
            }
        });
    for (std::thread &one : others) one.join();
    stop();
    EXPECT_EQ(world.objects(2).size(), 2u);
    EXPECT_GE(world.builds(), 2);
}

// -- isRunning ----------------------------------------------------------------------------------

TEST_F(SasLoop, IsNotRunningDuringALongBuild) {
    world.factory.add("C").onDiscover = [this] { barrier.arrive(); };
    start();
    barrier.waitForArrival();
    std::atomic<bool> running{true};
    std::thread asker([&] { running = world.manager.isRunning(); });
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(world.clock.waitForParked(1));
        EXPECT_EQ(world.log.count("WARNING", TAG,
                                  "_cacheBuildInProgress = 1,ControllerInventory.size() = "
                                  "0,retryCount = " +
                                      std::to_string(round)),
                  1);
        world.clock.advance(5);
    }
    asker.join();
    EXPECT_FALSE(running);
    EXPECT_EQ(world.clock.sleptMs(), 15000);
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_TRUE(world.manager.isRunning());
}

TEST_F(SasLoop, IsNotRunningDuringALaterBuildThatHasFoundNothingYet) {
    std::atomic<int> builds{0};
    world.factory.add("C").onDiscover = [&] {
        if (++builds == 2) barrier.arrive();
    };
    startAndWait();
    SASResourceManager::invalidateInventoryCache();
    barrier.waitForArrival();
    world.clock.setAutoAdvance(true);
    EXPECT_FALSE(world.manager.isRunning());
    world.clock.setAutoAdvance(false);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG,
                                     "_cacheBuildInProgress = 1,ControllerInventory.size() = 0,"),
              3);
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
}

TEST_F(SasLoop, IsRunningOnceTheBuildEndsWithinTheRounds) {
    world.factory.add("C").onDiscover = [this] { barrier.arrive(); };
    start();
    barrier.waitForArrival();
    std::atomic<bool> running{false};
    std::thread asker([&] { running = world.manager.isRunning(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(2)); // the loop's wait too
    world.clock.advance(5);
    asker.join();
    EXPECT_TRUE(running);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "retryCount"), 1);
}

// -- The stop -----------------------------------------------------------------------------------

TEST_F(SasLoop, StopDuringTheWaitShutsTheFactoriesDown) {
    FakeStorageFactory second("G", world.calls);
    startAndWait();
    (void)world.calls.take();
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.calls.take(), (std::vector<std::string>{"F shutdown", "G shutdown"}));
    for (const char *line : {"Resource manager stop called.", "Signalled for stop.",
                             "Resource manager stop in progress.", "Resource manager stopped."})
        EXPECT_EQ(loggedDebug(line), 1) << line;
    expectSoFar(1, 0, "at the end");
    EXPECT_EQ(world.process.waits(), (std::vector<std::string>{"StorageControllers", ""}));
}

class SasBareLoop : public SasLoop {
protected:
    int run() override { return world.manager.startInventory(); }
};
TEST_F(SasBareLoop, StopIsAnsweredByTheLoopItself) {
    startAndWait();
    stopAside();
    stopper.join();
    EXPECT_TRUE(stopped);
    thread.join();
    EXPECT_EQ(result, 0);
}

TEST_F(SasLoop, StopDuringABuildWaitsForItsEndAndTheShutdown) {
    std::atomic<bool> down{false};
    world.factory.onShutdown = [&down] { down = true; };
    world.factory.add("C").onDiscover = [this] { barrier.arrive(); };
    start();
    barrier.waitForArrival();
    stopAside();
    EXPECT_FALSE(stopped);
    barrier.letGo();
    stopper.join();
    EXPECT_TRUE(down);
    EXPECT_TRUE(world.manager.isInventoryReady(0)) << "the build was finished";
    thread.join();
    expectSoFar(1, 0, "at the end");
}

TEST_F(SasLoop, StopWaitsForASlowShutdown) {
    world.factory.onShutdown = [this] { barrier.arrive(); };
    startAndWait();
    stopAside();
    barrier.waitForArrival();
    EXPECT_FALSE(stopped);
    EXPECT_EQ(loggedDebug("Resource manager stopped."), 0);
    barrier.letGo();
}

TEST_F(SasLoop, StopDuringAPollEndsBehindIt) {
    world.factory.add("C").onPoll = [this] { barrier.arrive(); };
    startAndWait();
    world.clock.advance(10);
    barrier.waitForArrival();
    stopAside();
    EXPECT_FALSE(stopped);
    barrier.letGo();
    stopper.join();
    thread.join();
    expectSoFar(1, 1, "at the end");
}

TEST_F(SasLoop, StopBeforeTheLoopBeginsEndsItWithoutABuild) {
    stopAside();
    EXPECT_FALSE(stopped);
    start();
    stopper.join();
    thread.join();
    EXPECT_EQ(result, 0);
    expectSoFar(0, 0, "at the end");
    EXPECT_EQ(world.calls.take(), std::vector<std::string>{"F shutdown"});
}

TEST_F(SasLoop, StopWinsOverARequest) {
    world.factory.add("C").onDiscover = [this] { barrier.arrive(); };
    start();
    barrier.waitForArrival();
    SASResourceManager::invalidateInventoryCache();
    stopAside();
    barrier.letGo();
    stopper.join();
    thread.join();
    expectSoFar(1, 0, "at the end");
}

TEST_F(SasLoop, ClockFailureEndsTheLoopAndAnswersALaterStop) {
    startAndWait();
    (void)world.calls.take();
    world.clock.failRealTime(EFAULT);
    world.clock.advance(10);
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(
        world.log.count("ERROR", TAG,
                        "Failed to get current time! (errno: " + std::to_string(EFAULT) + ")"),
        1);
    world.manager.stopResourceManagerJob(); // comes back
    EXPECT_EQ(loggedDebug("Resource manager stopped."), 1);
    EXPECT_EQ(loggedDebug("Resource manager stop in progress."), 0);
    for (const std::string &call : world.calls.take()) EXPECT_NE(call, "F shutdown");
}

TEST_F(SasLoop, ClockThatFailsFromTheStartOnAllowsOneBuild) {
    world.clock.failRealTime(EFAULT);
    start();
    thread.join();
    EXPECT_EQ(result, 0);
    expectSoFar(1, 0, "at the end");
    EXPECT_TRUE(world.manager.isInventoryReady(0));
    world.manager.stopResourceManagerJob(); // comes back
    EXPECT_EQ(loggedDebug("Resource manager stopped."), 1);
}
} // namespace
