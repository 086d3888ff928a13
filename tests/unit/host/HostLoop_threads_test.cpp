#include <atomic>
#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/ManagerLoop.h"
#include "unit/host/HostWorld.h"

namespace {
constexpr char TAG[] = "HOST_RM";
constexpr char BUSY[] = "Cache build is in progress. Returning previous copy of inventory.";

/// The refresh loop alone, without the report on the last run.
class HostLoop : public ManagerLoop<HostWorld> {
protected:
    int run() override { return world.manager.startInventory(); }
};

TEST_F(HostLoop, BuildsAtOnceAndThenEverySixtySeconds) {
    startAndWait();
    for (int build = 2; build <= 5; ++build) {
        world.clock.advanceMs(59999);
        ASSERT_TRUE(world.clock.waitForParked(1));
        EXPECT_EQ(world.builds(), build - 1);
        world.clock.advanceMs(1);
        ASSERT_TRUE(world.clock.waitForParked(1));
        EXPECT_EQ(world.builds(), build);
    }
}

TEST(HostLoopConfigured, PeriodIsFixed) {
    HostWorld world(refresh_setting("HostOSInfo", "30"));
    std::thread thread([&] { (void)world.manager.startInventory(); });
    EXPECT_TRUE(world.clock.waitForParked(1));
    world.clock.advance(59);
    EXPECT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 1);
    world.clock.advance(1);
    EXPECT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
    world.manager.stopResourceManagerJob();
    thread.join();
}

TEST_F(HostLoop, FiftyNineSecondsAfterAnotherBuildItWaitsOn) {
    startAndWait();
    world.clock.advance(1);
    world.manager.cacheBuild(); // by somebody else
    world.clock.advance(59);    // the loop's deadline
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
    world.clock.advance(60);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 3);
}

TEST_F(HostLoop, SixtySecondsAfterAnotherBuildItBuilds) {
    startAndWait();
    world.manager.cacheBuild();
    world.clock.advance(60);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 3);
}

TEST_F(HostLoop, LongBuildOfAnotherCountsFromItsEnd) {
    startAndWait();
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [this] { world.clock.advance(30); });
    world.manager.cacheBuild(); // from 60 to 30 seconds before the loop's deadline
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"));
    world.clock.advance(30);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
}

TEST_F(HostLoop, WakeUpThatNobodyAskedForBuildsNothing) {
    startAndWait();
    for (int i = 0; i < 3; ++i) {
        world.clock.wakeForNothing();
        ASSERT_TRUE(world.clock.waitForParked(1));
    }
    EXPECT_EQ(world.builds(), 1);
    world.clock.advance(60);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
}

TEST_F(HostLoop, LongBuildCountsFromItsEnd) {
    startAndWait();
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [this] { world.clock.advance(300); });
    world.clock.advance(60);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
    world.clock.advance(59);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 2);
    world.clock.advance(1);
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.builds(), 3);
}

TEST_F(HostLoop, StopEndsTheWait) {
    startAndWait();
    stop();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
}

TEST_F(HostLoop, StopDuringABuildTakesEffectAfterIt) {
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    world.manager.stopResourceManagerJob(); // doesn't wait for the build
    EXPECT_EQ(world.builds(), 0);
    barrier.letGo();
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), 2.0);
}

TEST_F(HostLoop, ClockThatFailsLaterEndsTheLoop) {
    startAndWait();
    world.clock.failRealTime(EPERM);
    world.clock.advance(60);
    thread.join();
    EXPECT_EQ(result, 0);
    EXPECT_EQ(world.builds(), 2);
    EXPECT_EQ(world.log.count("ERROR", TAG, "Failed to get current time! (errno: 1)"), 1);
}

// -- Readers during a build ---------------------------------------------------------------------

TEST_F(HostLoop, ReadersOfTheFirstBuildGetAnEmptyCopy) {
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    std::vector<Json::Value> objects(3);
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    EXPECT_TRUE(objects.empty());
    EXPECT_EQ(world.log.count("DEBUG", TAG, BUSY), 1);
    EXPECT_TRUE(world.manager.getHostInventory().empty());
    EXPECT_FALSE(world.manager.isInventoryReady(0));
    barrier.letGo();
}

TEST_F(HostLoop, ReadersOfALaterBuildGetThePreviousCopy) {
    startAndWait();
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    world.clock.advance(60);
    barrier.waitForArrival();
    std::vector<Json::Value> objects;
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 1);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0]["HostOSInfo"]["OSMemorySummary"]["TotalSystemMemoryGiB"].asDouble(), 64.0);
    EXPECT_TRUE(world.manager.getHostInventory().empty());
    EXPECT_TRUE(world.manager.isInventoryReady(0));

    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.manager.getInventoryJsonObject(objects), 0);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0]["HostOSInfo"]["OSMemorySummary"]["TotalSystemMemoryGiB"].asDouble(), 2.0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, BUSY), 1);
}

TEST_F(HostLoop, LastLookDuringTheFirstBuildIsServedAtItsEnd) {
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    EXPECT_FALSE(world.manager.isInventoryReady(8));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.log.count("DEBUG", TAG, "hostRM Requesting cache push"), 1);
}

TEST_F(HostLoop, IsNotRunningDuringABuild) {
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    bool running = true;
    std::thread asker([&] { running = world.manager.isRunning(); });
    for (int retryCount = 0; retryCount < 3; ++retryCount) {
        ASSERT_TRUE(world.clock.waitForParked(1));
        EXPECT_EQ(world.log.count("WARNING", TAG,
                                  "_cacheBuildInProgress = 1,HostInventory.size() =0,retryCount "
                                  "=" +
                                      std::to_string(retryCount)),
                  1);
        world.clock.advance(3);
    }
    asker.join();
    EXPECT_FALSE(running);
    barrier.letGo();
}

TEST_F(HostLoop, RunsAgainWhenTheBuildEndsWithinNineSeconds) {
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    start();
    barrier.waitForArrival();
    bool running = false;
    std::thread asker([&] { running = world.manager.isRunning(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(2)); // the asker's sleep, the loop's wait
    world.clock.advance(3);
    asker.join();
    EXPECT_TRUE(running);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "retryCount"), 1);
}

TEST_F(HostLoop, InventoryIsEmptyDuringALaterBuildToo) {
    startAndWait();
    world.answerEsxtop(HostWorld::memoryText("2048", "1024"), [&] { barrier.arrive(); });
    world.clock.advance(60);
    barrier.waitForArrival();
    bool running = false;
    std::thread asker([&] { running = world.manager.isRunning(); });
    ASSERT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.log.count("WARNING", TAG,
                              "_cacheBuildInProgress = 1,HostInventory.size() =0,retryCount =0"),
              1);
    barrier.letGo();
    ASSERT_TRUE(world.clock.waitForParked(2)); // the asker's sleep, the loop's wait
    world.clock.advance(3);
    asker.join();
    EXPECT_TRUE(running);
}

TEST_F(HostLoop, BuildRunsWhileSomebodyAsksWhetherItRuns) {
    bool running = false;
    std::thread asker([&] { running = world.manager.isRunning(); });
    ASSERT_TRUE(world.clock.waitForParked(1)); // asleep after the first look
    world.manager.cacheBuild();
    EXPECT_EQ(world.builds(), 1);
    world.clock.advance(3);
    asker.join();
    EXPECT_TRUE(running);
}

TEST_F(HostLoop, ReadersAtOnceWithManyBuilds) {
    startAndWait();
    // A reader that meets another one takes the previous copy, so both copies have to hold a host.
    world.clock.advance(60);
    ASSERT_TRUE(world.clock.waitForParked(1));
    std::atomic<bool> done{false};
    std::vector<std::thread> readers;
    for (int i = 0; i < 3; ++i)
        readers.emplace_back([&] {
            while (!done) {
                std::vector<Json::Value> objects;
                (void)world.manager.getInventoryJsonObject(objects);
                EXPECT_EQ(objects.size(), 1u); // current or previous, never a half-built one
                EXPECT_LE(world.manager.getHostInventory().size(), 1u);
                EXPECT_TRUE(world.manager.isInventoryReady(8));
            }
        });
    for (int i = 0; i < 20; ++i) {
        world.clock.advance(60);
        EXPECT_TRUE(world.clock.waitForParked(1));
    }
    done = true;
    for (std::thread &reader : readers) reader.join();
    EXPECT_EQ(world.builds(), 22);
}
} // namespace
