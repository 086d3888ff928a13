#include "storage/orbStatusInfo.h"

#include <iterator>
#include <type_traits>

#include <gtest/gtest.h>

#include "unit/storage/RecordFields.h"

namespace {
// The two views and the destructor come first, in every record.
TEST(InventoryBase, IsAnAbstractRootWithTheViewsInFront) {
    EXPECT_TRUE(std::is_abstract_v<orbInventoryBase>);
    EXPECT_TRUE(std::has_virtual_destructor_v<orbInventoryBase>);
    EXPECT_EQ(slot_of(&orbInventoryBase::getVariableData), 0u);
    EXPECT_EQ(slot_of(&orbInventoryBase::getInventoryData), 1u);
    EXPECT_EQ(slot_of(&orbStatusInfo::getVariableData), 0u);
    EXPECT_EQ(slot_of(&orbStatusInfo::getInventoryData), 1u);
}

// A view may be built anew from what it asks, so neither is const.
TEST(InventoryBase, ViewsAreNotConst) {
    EXPECT_TRUE((std::is_same_v<decltype(&orbInventoryBase::getVariableData),
                                Json::Value (orbInventoryBase::*)()>));
    EXPECT_TRUE((std::is_same_v<decltype(&orbInventoryBase::getInventoryData),
                                Json::Value (orbInventoryBase::*)()>));
}

TEST(StatusInfo, HasItsFields) {
    expectFields(status_fields<orbStatusInfo>());
    expectConstGetters(status_fields<orbStatusInfo>());
    expectSlots(status_fields<orbStatusInfo>(), ROOT_SLOTS);
}

TEST(StatusInfo, FieldsAreOneByteEach) {
    EXPECT_EQ(sizeof(ORB_RESOURCE_STATE), 1u);
    EXPECT_EQ(sizeof(ORB_RESOURCE_HEALTH), 1u);
}

TEST(StatusInfo, ShowsTheWordOfEachStateInBothViews) {
    for (std::size_t i = 0; i < std::size(orbResourceStateMap); ++i) {
        orbStatusInfo info;
        info.setState(static_cast<ORB_RESOURCE_STATE>(i));
        Json::Value expected;
        expected["State"] = orbResourceStateMap[i];
        expected["Health"] = "Unknown";
        EXPECT_EQ(info.getVariableData(), expected);
        EXPECT_EQ(info.getInventoryData(), expected);
    }
}

TEST(StatusInfo, ShowsTheWordOfEachHealthInBothViews) {
    for (std::size_t i = 0; i < std::size(orbResourceHealthMap); ++i) {
        orbStatusInfo info;
        info.setHealth(static_cast<ORB_RESOURCE_HEALTH>(i));
        Json::Value expected;
        expected["State"] = "Unknown";
        expected["Health"] = orbResourceHealthMap[i];
        EXPECT_EQ(info.getVariableData(), expected);
        EXPECT_EQ(info.getInventoryData(), expected);
    }
}

// What events last told is kept for comparison and is shown nowhere.
TEST(StatusInfo, ShowsNothingOfTheEventStatus) {
    orbStatusInfo info;
    const Json::Value before = info.getVariableData();
    info.setEventState(ORB_STATE_FAILED);
    info.setEventHealth(ORB_HEALTH_CRITICAL);
    EXPECT_EQ(info.getVariableData(), before);
    EXPECT_EQ(info.getInventoryData(), before);
}

TEST(DiskStatusInfo, HasTheFieldsOfAStatus) {
    expectFields(status_fields<orbDiskStatusInfo>());
    EXPECT_EQ(sizeof(orbDiskStatusInfo), sizeof(orbStatusInfo)); // adds none
}

TEST(DiskStatusInfo, ShowsItsWordsToEventsAlone) {
    orbDiskStatusInfo info;
    info.setState(ORB_STATE_PREDICTIVE_FAILURE);
    info.setHealth(ORB_HEALTH_WARNING);
    Json::Value expected;
    expected["State"] = "Predictive failure";
    expected["Health"] = "Warning";
    EXPECT_EQ(info.getVariableData(), expected);
    EXPECT_TRUE(info.getInventoryData().isNull());
}

// A call by the base reaches the view of what is behind it.
TEST(DiskStatusInfo, IsReachedThroughItsBases) {
    orbDiskStatusInfo info;
    EXPECT_TRUE(static_cast<orbStatusInfo &>(info).getInventoryData().isNull());
    EXPECT_TRUE(static_cast<orbInventoryBase &>(info).getInventoryData().isNull());
    EXPECT_TRUE(static_cast<orbInventoryBase &>(info).getVariableData().isObject());
}
} // namespace
