#include "core/orbThread.h"

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeProcess.h"

namespace {
void *setFlag(void *flag) {
    *static_cast<bool *>(flag) = true;
    return nullptr;
}
} // namespace

TEST(Thread, RunsItsEntryAndIsJoinedByName) {
    FakeProcess process;
    orbThread thread("Optics");
    bool ran = false;
    EXPECT_FALSE(thread.isStarted());
    EXPECT_EQ(thread.create(setFlag, &ran), 0);
    EXPECT_TRUE(thread.isStarted());
    EXPECT_EQ(thread.join(), 0);
    EXPECT_TRUE(ran);
    EXPECT_FALSE(thread.isStarted());
    EXPECT_EQ(process.joined(), std::vector<std::string>{"Optics"});
}

TEST(Thread, JoinOfOneThatNeverRanIsANumber) {
    FakeProcess process;
    orbThread thread("Optics");
    EXPECT_EQ(thread.join(), ESRCH);
    EXPECT_TRUE(process.joined().empty());
}

TEST(Thread, SecondJoinIsANumber) {
    FakeProcess process;
    orbThread thread("Optics");
    bool ran = false;
    ASSERT_EQ(thread.create(setFlag, &ran), 0);
    EXPECT_EQ(thread.join(), 0);
    EXPECT_EQ(thread.join(), ESRCH);
    EXPECT_EQ(process.joined().size(), 1u);
}

TEST(Thread, FailedCreationIsANumberAndLeavesNothingToJoin) {
    FakeProcess process;
    process.failCreation(0, EAGAIN);
    orbThread thread("Optics");
    bool ran = false;
    EXPECT_EQ(thread.create(setFlag, &ran), EAGAIN);
    EXPECT_FALSE(thread.isStarted());
    EXPECT_EQ(thread.join(), ESRCH);
    EXPECT_FALSE(ran);
}

TEST(Thread, FailedJoinIsItsNumber) {
    FakeProcess process;
    process.failJoin(EDEADLK);
    orbThread thread("Optics");
    bool ran = false;
    ASSERT_EQ(thread.create(setFlag, &ran), 0);
    EXPECT_EQ(thread.join(), EDEADLK);
}

TEST(Thread, MayRunAgainAfterItsJoin) {
    FakeProcess process;
    orbThread thread("Optics");
    for (int turn = 0; turn < 2; ++turn) {
        bool ran = false;
        ASSERT_EQ(thread.create(setFlag, &ran), 0);
        EXPECT_EQ(thread.join(), 0);
        EXPECT_TRUE(ran);
    }
}
