#include "core/orbMutexLocker.h"

#include <mutex>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

namespace {
/// Whether another thread gets the mutex at once.
template <typename Mutex> bool isFree(Mutex &mutex) {
    bool got = false;
    std::thread([&] {
        got = mutex.try_lock();
        if (got) mutex.unlock();
    }).join();
    return got;
}

struct RefusingMutex {
    [[noreturn]] void lock() {
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    void unlock() { ADD_FAILURE() << "what was never locked is not unlocked"; }
};
} // namespace

TEST(MutexLocker, HoldsAPlainMutexForItsLife) {
    std::mutex mutex;
    {
        const orbMutexLocker<std::mutex> lock(mutex);
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexLocker, NestsOnARecursiveMutex) {
    std::recursive_mutex mutex;
    {
        const orbMutexLocker<std::recursive_mutex> outer(mutex);
        { const orbMutexLocker<std::recursive_mutex> inner(mutex); }
        EXPECT_FALSE(isFree(mutex));
    }
    EXPECT_TRUE(isFree(mutex));
}

TEST(MutexLocker, PassesAFailureToLockOn) {
    RefusingMutex mutex;
    EXPECT_THROW(orbMutexLocker<RefusingMutex>{mutex}, std::system_error);
}

TEST(MutexLocker, IsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<orbMutexLocker<std::mutex>>);
    EXPECT_FALSE(std::is_copy_assignable_v<orbMutexLocker<std::mutex>>);
}

TEST(MutexLocker, KeepsThreadsApart) {
    std::mutex mutex;
    int sum = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int k = 0; k < 1000; ++k) {
                const orbMutexLocker<std::mutex> lock(mutex);
                ++sum;
            }
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(sum, 4000);
}
