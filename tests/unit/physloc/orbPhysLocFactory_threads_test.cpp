#include "physloc/orbPhysLocFactory.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/LocationWorld.h"

namespace {
constexpr char SLOT[] = "0000:24:00.0";

void prepare(void *, int) {}
int encode(void *, std::uint64_t *value) {
    *value = 0xABC;
    return 0;
}

/// Holds whoever comes until it is opened.
class Gate {
public:
    void pass() {
        std::unique_lock<std::mutex> lock(mutex);
        ++waiting;
        changed.notify_all();
        changed.wait(lock, [this] { return open; });
    }
    void awaitOne() {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return waiting > 0; });
    }
    void letPass() {
        const std::lock_guard<std::mutex> lock(mutex);
        open = true;
        changed.notify_all();
    }

private:
    std::mutex mutex;
    std::condition_variable changed;
    int waiting = 0;
    bool open = false;
};

TEST(PhysLocFactoryThreads, NobodyGetsAnEncoderThatIsStillLoading) {
    LocationWorld world;
    world.libraries.add("libgeoenc02.so", {{"physloc_init_data", FakeLibraries::entry(prepare)},
                                           {"physloc_encode", FakeLibraries::entry(encode)}});
    world.boot("PLATFORM-ID-A01", {{"PCI r001u01p0i03", 0, 0x24}});
    Gate loading;
    world.libraries.onOpen([&loading] { loading.pass(); });

    std::atomic<int> served{0}, asking{0};
    const auto ask = [&served, &asking] {
        ++asking;
        orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
        ++served;
        EXPECT_EQ(chosen->getPhysLocForIOSlot(SLOT), "0000000000000ABC");
        EXPECT_EQ(chosen->getPhysLocLibraryName(), "libgeoenc02.so");
    };
    std::vector<std::thread> threads;
    threads.emplace_back(ask);
    loading.awaitOne();
    for (int i = 0; i < 7; ++i) threads.emplace_back(ask);
    while (asking < 8) std::this_thread::yield();
    EXPECT_EQ(served, 0); // the library is still being opened
    loading.letPass();
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(served, 8);
    EXPECT_EQ(world.libraries.opened("libgeoenc02.so"), 1);
}

TEST(PhysLocFactoryThreads, FailedEncoderIsTriedOnceByMany) {
    LocationWorld world;
    world.boot("PLATFORM-ID-B02", {{"PCI r001i01s03", 0, 0x24}});
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
            EXPECT_EQ(chosen->getPhysLocLibraryName(), "Mock-PL");
            EXPECT_EQ(chosen->getPhysLocForIOSlot(SLOT), "FFFFFFFFFFFFFFFF");
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(world.log.countHolding("ERROR", "ZRTKPL_INTF", "Failed to load"), 1);
    EXPECT_EQ(world.log.countHolding("WARNING", "PL_FACT", "FRUs"), 1);
}

TEST(GeoIDThreads, ManySplitWithOneExpression) {
    LocationWorld world;
    world.boot("PLATFORM-ID-A01", {{"PCI r001u01p0i03", 0, 0x24}, {"PCI r9", 0, 0x25}});
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT).size(), 4u);
                EXPECT_TRUE(orbUtils::getGeoIDInfo("0000:25:00.0").empty());
            }
        });
    for (std::thread &thread : threads) thread.join();
}
} // namespace
