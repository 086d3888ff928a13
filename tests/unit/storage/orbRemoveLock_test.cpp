#include "storage/orbRemoveLock.h"

#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "storage/IorbStorageController.h"
#include "storage/orbControllerList.h"
#include "storage/orbStorageControllerFactory.h"

namespace {
/// Counts its own end.
class Counted final : public orbRemoveLock {
public:
    explicit Counted(int &ended) : count(&ended) {}
    ~Counted() override { ++*count; }
    void remove() { removed = true; }

private:
    int *count;
};

static_assert(std::is_base_of_v<orbRemoveLock, IorbStorageController>);
static_assert(std::is_base_of_v<IorbStorageControllerFactory, orbStorageControllerFactory>);
static_assert(!std::is_copy_constructible_v<orbRemoveLock>);

TEST(RemoveLock, StartsWithOneReferenceAndNotRemoved) {
    int ended = 0;
    Counted *const object = new Counted(ended);
    EXPECT_EQ(object->getReferenceCount(), 1);
    EXPECT_FALSE(object->isRemoved());
    object->releaseReference();
    EXPECT_EQ(ended, 1);
}

TEST(RemoveLock, EndsWithItsLastReferenceAndNotBefore) {
    int ended = 0;
    Counted *const object = new Counted(ended);
    EXPECT_FALSE(object->acquireReference());
    EXPECT_EQ(object->getReferenceCount(), 2);
    object->releaseReference();
    EXPECT_EQ(ended, 0);
    object->releaseReference();
    EXPECT_EQ(ended, 1);
}

TEST(RemoveLock, AReferenceOnARemovedObjectSaysSoAndCounts) {
    int ended = 0;
    Counted *const object = new Counted(ended);
    object->remove();
    EXPECT_TRUE(object->acquireReference());
    EXPECT_EQ(object->getReferenceCount(), 2);
    object->releaseReference();
    object->releaseReference();
    EXPECT_EQ(ended, 1);
}

TEST(Reference, TakesOneAndGivesItBack) {
    int ended = 0;
    Counted *const object = new Counted(ended);
    {
        const auto held = orbReference<Counted>::take(object);
        EXPECT_TRUE(held);
        EXPECT_EQ(held.get(), object);
        EXPECT_EQ(held->getReferenceCount(), 2);
    }
    EXPECT_EQ(object->getReferenceCount(), 1);
    { const auto owner = orbReference<Counted>::adopt(object); }
    EXPECT_EQ(ended, 1);
}

TEST(Reference, MovesWithoutCounting) {
    int ended = 0, otherEnded = 0;
    auto one = orbReference<Counted>::adopt(new Counted(ended));
    auto two = std::move(one);
    EXPECT_EQ(two->getReferenceCount(), 1);
    auto three = orbReference<Counted>::adopt(new Counted(otherEnded));
    three = std::move(two);
    EXPECT_EQ(otherEnded, 1);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(three->getReferenceCount(), 1);
    three = {};
    EXPECT_EQ(ended, 1);
    EXPECT_FALSE(three);
}

TEST(Reference, OfNothingIsEmpty) {
    EXPECT_FALSE(orbReference<Counted>::take(nullptr));
    EXPECT_FALSE(orbReference<Counted>::adopt(nullptr));
    EXPECT_EQ(orbReference<Counted>().get(), nullptr);
}

TEST(RemoveLockEx, LetsCallsInUntilItCloses) {
    orbRemoveLockEx door;
    EXPECT_EQ(door.getInFlight(), 0);
    EXPECT_TRUE(door.enter());
    EXPECT_EQ(door.getInFlight(), 1);
    door.leave();
    EXPECT_FALSE(door.isRemoving());
    door.waitForRemoval(); // nobody is inside
    EXPECT_TRUE(door.isRemoving());
    EXPECT_FALSE(door.enter());
    EXPECT_EQ(door.getInFlight(), 1);
    door.waitForRemoval(); // closed already: waits for nobody
    door.leave();
    EXPECT_EQ(door.getInFlight(), 0);
}
} // namespace
