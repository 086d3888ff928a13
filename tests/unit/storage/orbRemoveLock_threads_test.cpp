#include "storage/orbRemoveLock.h"

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/Barrier.h"

namespace {
class Counted final : public orbRemoveLock {
public:
    explicit Counted(std::atomic<int> &ended) : count(&ended) {}
    ~Counted() override { ++*count; }
    void remove() { removed = true; }
    int value = 4711; // read by all holders

private:
    std::atomic<int> *count;
};

TEST(RemoveLockThreads, TheLastHolderOnWhateverThreadEndsIt) {
    for (int round = 0; round < 200; ++round) {
        std::atomic<int> ended{0};
        Counted *const object = new Counted(ended);
        std::vector<std::thread> holders;
        for (int i = 0; i < 4; ++i) {
            (void)object->acquireReference();
            holders.emplace_back([object] {
                EXPECT_EQ(object->value, 4711);
                { const auto more = orbReference<Counted>::take(object); }
                object->releaseReference();
            });
        }
        object->remove();
        object->releaseReference();
        for (std::thread &holder : holders) holder.join();
        EXPECT_EQ(ended, 1);
    }
}

TEST(RemoveLockExThreads, ClosingWaitsForThoseInside) {
    for (int round = 0; round < 200; ++round) {
        orbRemoveLockEx door;
        std::atomic<int> inside{0};
        std::atomic<bool> closed{false};
        std::vector<std::thread> callers;
        for (int i = 0; i < 4; ++i) {
            callers.emplace_back([&] {
                for (bool open = true; open;) {
                    open = door.enter();
                    if (open) {
                        ++inside;
                        EXPECT_FALSE(closed);
                        --inside;
                    }
                    door.leave();
                }
            });
        }
        door.waitForRemoval();
        EXPECT_EQ(inside, 0);
        closed = true;
        for (std::thread &caller : callers) caller.join();
        EXPECT_EQ(door.getInFlight(), 0);
    }
}
} // namespace
