#include "reporting/orbIdleResourceManager.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbModuleTags.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "reporting/orbJsonAggregator.h"
#include "storage/SASResourceManager.h"

namespace {
ORB_IDLE_STATE idleState;

class IdleManager final : public orbIdleResourceManager {
public:
    bool pushIsPending() const { return cachePushPending; }

private:
    ORB_IDLE_STATE &state() override { return idleState; }
};

class Idle : public ::testing::Test {
protected:
    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    LogFile log{root};
    IdleManager manager;
};
} // namespace

TEST_F(Idle, IsNeitherReadyNorRunningAtFirst) {
    EXPECT_FALSE(manager.isInventoryReady(0));
    EXPECT_FALSE(manager.isRunning());
}

TEST_F(Idle, IsReadyRunningAndEmptyAfterItsBuild) {
    manager.cacheBuild();
    EXPECT_TRUE(manager.isInventoryReady(0));
    EXPECT_TRUE(manager.isInventoryReady(8));
    EXPECT_TRUE(manager.isRunning());
    std::vector<Json::Value> objects{Json::Value("of a former call")};
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 0);
    EXPECT_TRUE(objects.empty());
}

TEST_F(Idle, OtherInventoriesAreLeftAlone) {
    std::vector<Json::Value> objects{Json::Value("kept")};
    Json::Value object("kept");
    EXPECT_EQ(manager.getInventoryJsonObject2(1, objects), 0);
    EXPECT_EQ(manager.getFileServiceJsonObject(objects), 0);
    EXPECT_EQ(manager.getTelemetryJsonObject(object), 0);
    EXPECT_EQ(objects, std::vector<Json::Value>{Json::Value("kept")});
    EXPECT_EQ(object, Json::Value("kept"));
}

TEST_F(Idle, OnlyTheLastLookLeavesAWish) {
    for (int iteration = 0; iteration < 8; ++iteration)
        EXPECT_FALSE(manager.isInventoryReady(iteration));
    EXPECT_FALSE(manager.isInventoryReady(9));
    EXPECT_FALSE(manager.pushIsPending());
    EXPECT_FALSE(manager.isInventoryReady(8));
    EXPECT_TRUE(manager.pushIsPending());
}

TEST_F(Idle, BuildConsumesTheWishAndAsksForASend) {
    manager.isInventoryReady(8);
    manager.cacheBuild();
    EXPECT_FALSE(manager.pushIsPending());
    EXPECT_EQ(log.count("DEBUG", JSON_AGGR, "Dropping inventory send request"), 1)
        << "the aggregator was asked, before its first send";
}

TEST_F(Idle, BuildWithoutAWishAsksNobody) {
    manager.isInventoryReady(7);
    manager.cacheBuild();
    EXPECT_EQ(log.countHolding("DEBUG", JSON_AGGR, ""), 0);
}

TEST_F(Idle, ReadyManagerLeavesNoWish) {
    manager.cacheBuild();
    EXPECT_TRUE(manager.isInventoryReady(8));
    EXPECT_FALSE(manager.pushIsPending());
}

TEST_F(Idle, InitBuildsAndWaitsForItsStop) {
    std::atomic<bool> ended{false};
    std::thread thread([&] {
        EXPECT_EQ(manager.init(), 0);
        ended = true;
    });
    while (!manager.isRunning()) std::this_thread::yield();
    EXPECT_FALSE(ended);
    manager.stopResourceManagerJob();
    thread.join();
    EXPECT_TRUE(ended);
}

TEST_F(Idle, StopBeforeTheThreadRunsEndsItAllTheSame) {
    manager.stopResourceManagerJob();
    EXPECT_EQ(manager.init(), 0);
    EXPECT_TRUE(manager.isInventoryReady(0));
}

TEST_F(Idle, TwoManagersAreIdleAndIndependent) {
    orbResourceManager *const managers[] = {&manager, &SASResourceManager::getInstance()};
    std::vector<std::thread> threads;
    for (orbResourceManager *one : managers) threads.emplace_back([one] { one->init(); });
    for (std::size_t i = 0; i < threads.size(); ++i) {
        managers[i]->stopResourceManagerJob();
        threads[i].join();
        EXPECT_TRUE(managers[i]->isInventoryReady(0));
    }
}
