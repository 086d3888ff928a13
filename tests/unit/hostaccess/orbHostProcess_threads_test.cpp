#include <atomic>
#include <cerrno>

#include <gtest/gtest.h>

#include "hostaccess/orbHostProcess.h"

namespace {
void *add(void *arg) {
    ++*static_cast<std::atomic<int> *>(arg);
    return nullptr;
}
} // namespace

TEST(HostProcessThreads, AreStartedAndWaitedFor) {
    std::atomic<int> runs{0};
    pthread_t thread{};
    ASSERT_EQ(IorbHostProcess::get().createThread(&thread, add, &runs), 0);
    EXPECT_EQ(IorbHostProcess::get().joinThread(thread, "worker"), 0);
    EXPECT_EQ(runs, 1);
}
TEST(HostProcessThreads, ThreadCantJoinItself) {
    EXPECT_EQ(IorbHostProcess::get().joinThread(::pthread_self(), "self"), EDEADLK);
}
