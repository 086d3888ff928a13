#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbResourceManager.h"

namespace {
/// Counts its pushes where a real manager would ask the aggregator.
class CountingManager final : public orbResourceManager {
public:
    void cacheBuild() override {
        cacheReady = true;
        if (cachePushPending) {
            ++pushes;
            cachePushPending = false;
        }
    }
    void stopResourceManagerJob() override {}
    int init() override { return 0; }
    int startInventory() override { return 0; }
    int getInventoryJsonObject(std::vector<Json::Value> &) override { return 0; }
    bool isRunning() override { return cacheReady; }
    bool isInventoryReady(int iteration) override { return checkInventoryReady(iteration); }

    int pushes = 0; // the building thread's
};
} // namespace

TEST(ResourceManagerThreads, LastLookAndFirstBuildNeverMissEachOther) {
    constexpr int ROUNDS = 2000;
    std::vector<CountingManager> managers(ROUNDS);
    std::vector<char> seen(ROUNDS);
    std::atomic<int> arrivals{0};
    // Both sides go through the rounds together, so that look and build meet as often as they can.
    const auto meet = [&arrivals](int round) {
        ++arrivals;
        while (arrivals < 2 * (round + 1)) std::this_thread::yield();
    };
    std::thread aggregator([&] {
        for (int round = 0; round < ROUNDS; ++round) {
            meet(round);
            seen[static_cast<std::size_t>(round)] =
                managers[static_cast<std::size_t>(round)].isInventoryReady(8) ? 1 : 0;
        }
    });
    for (int round = 0; round < ROUNDS; ++round) {
        meet(round);
        managers[static_cast<std::size_t>(round)].cacheBuild();
    }
    aggregator.join();
    for (std::size_t round = 0; round < ROUNDS; ++round)
        EXPECT_TRUE(seen[round] == 1 || managers[round].pushes == 1)
            << "an inventory that nobody sends, round " << round;
}
