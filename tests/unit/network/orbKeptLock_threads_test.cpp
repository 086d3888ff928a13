#include "network/orbKeptLock.h"

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {
TEST(KeptLock, TryTellsWhetherItIsHeld) {
    orbKeptLock lock;
    EXPECT_TRUE(lock.try_lock());
    EXPECT_FALSE(lock.try_lock()) << "by whomever, the same thread included";
    lock.unlock();
    EXPECT_TRUE(lock.lockUnlessCancelled());
    EXPECT_FALSE(lock.try_lock());
    lock.unlock();
    lock.lock();
    EXPECT_FALSE(lock.try_lock());
    lock.unlock();
}

TEST(KeptLock, MayBeGivenBackByAnotherThread) {
    orbKeptLock lock;
    lock.lock();
    std::thread([&] { lock.unlock(); }).join();
    EXPECT_TRUE(lock.try_lock());
    lock.unlock();
}

TEST(KeptLock, CancelEndsTheWaitOfItsOwnHolder) {
    orbKeptLock lock;
    std::atomic<bool> waiting{false};
    bool taken = true;
    std::thread holder([&] {
        lock.lock();
        waiting = true;
        taken = lock.lockUnlessCancelled();
    });
    while (!waiting) std::this_thread::yield();
    lock.cancelWaits();
    holder.join();
    EXPECT_FALSE(taken);
    EXPECT_FALSE(lock.try_lock()) << "it stays held";
}

TEST(KeptLock, CancelComesBeforeTheWait) {
    orbKeptLock lock;
    lock.lock();
    lock.cancelWaits();
    EXPECT_FALSE(lock.lockUnlessCancelled());
}

TEST(KeptLock, FreeLockIsTakenInSpiteOfACancel) {
    orbKeptLock lock;
    lock.cancelWaits();
    EXPECT_TRUE(lock.lockUnlessCancelled());
    lock.unlock();
}

TEST(KeptLock, CancelLeavesThePlainWaitAlone) {
    orbKeptLock lock;
    lock.lock();
    std::atomic<bool> got{false};
    std::thread other([&] {
        lock.lock();
        got = true;
        lock.unlock();
    });
    lock.cancelWaits();
    EXPECT_FALSE(got);
    lock.unlock();
    other.join();
    EXPECT_TRUE(got);
}

TEST(KeptLock, OneAtATime) {
    constexpr int THREADS = 4, ROUNDS = 500;
    orbKeptLock lock;
    long sum = 0; // guarded by lock
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
        threads.emplace_back([&, i] {
            for (int round = 0; round < ROUNDS; ++round) {
                if (i % 2 == 0) {
                    const std::lock_guard<orbKeptLock> guard(lock);
                    ++sum;
                } else {
                    ASSERT_TRUE(lock.lockUnlessCancelled());
                    ++sum;
                    lock.unlock();
                }
            }
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(sum, long{THREADS} * ROUNDS);
}
} // namespace
