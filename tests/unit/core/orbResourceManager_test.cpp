#include "core/orbResourceManager.h"

#include <vector>

#include <gtest/gtest.h>

namespace {
class PlainManager final : public orbResourceManager {
public:
    void cacheBuild() override { cacheReady = true; }
    void stopResourceManagerJob() override {}
    int init() override { return 0; }
    int startInventory() override { return 0; }
    int getInventoryJsonObject(std::vector<Json::Value> &) override { return 0; }
    bool isRunning() override { return cacheReady; }
    bool isInventoryReady(int iteration) override { return checkInventoryReady(iteration); }
    bool pushIsPending() const { return cachePushPending; }
};
} // namespace

TEST(ResourceManager, FurtherInventoriesAreZeroAndLeftAlone) {
    PlainManager manager;
    std::vector<Json::Value> objects{Json::Value("kept")};
    Json::Value object("kept");
    for (const int kind : {0, 1, 2, 3, 4, 99})
        EXPECT_EQ(manager.getInventoryJsonObject2(kind, objects), 0);
    EXPECT_EQ(manager.getFileServiceJsonObject(objects), 0);
    EXPECT_EQ(manager.getTelemetryJsonObject(object), 0);
    EXPECT_EQ(objects, std::vector<Json::Value>{Json::Value("kept")});
    EXPECT_EQ(object, Json::Value("kept"));
}

TEST(ResourceManager, OnlyTheEighthLookAtAnUnreadyOneLeavesAWish) {
    PlainManager manager;
    for (const int iteration : {0, 1, 7, 9, -1}) {
        EXPECT_FALSE(manager.isInventoryReady(iteration));
        EXPECT_FALSE(manager.pushIsPending()) << iteration;
    }
    EXPECT_FALSE(manager.isInventoryReady(8));
    EXPECT_TRUE(manager.pushIsPending());
}

TEST(ResourceManager, ReadyOneIsReadyAtEveryLookAndLeavesNoWish) {
    PlainManager manager;
    manager.cacheBuild();
    for (const int iteration : {0, 7, 8, 9}) EXPECT_TRUE(manager.isInventoryReady(iteration));
    EXPECT_FALSE(manager.pushIsPending());
}
