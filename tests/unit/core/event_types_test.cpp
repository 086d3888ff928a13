#include "core/event_types.h"

#include <map>
#include <set>

#include <gtest/gtest.h>

namespace {
const std::map<int, std::set<int>> IDS_BY_TYPE = {
    {1, {708}},
    {2, {356, 359, 360, 434, 435}},
    {3, {678, 680}},
    {4, {383, 384, 385, 386, 388, 390}},
    {5, {397, 398, 538, 539, 540, 681, 683, 1179, 1180, 1181, 1182, 1183}},
};
}

TEST(EventTypes, EveryNumberHasItsProducerOrNone) {
    for (int id = -10; id < 3000; ++id) {
        int expected = -1;
        for (const auto &[type, ids] : IDS_BY_TYPE)
            if (ids.count(id) != 0) expected = type;
        EXPECT_EQ(getEventType(id), expected) << id;
    }
}

TEST(EventTypes, NeighboursOfEventsAreNone) {
    for (const int id : {387, 389, 1150, 1151, 0, -1, 679, 682, 709, 1184})
        EXPECT_EQ(getEventType(id), -1) << id;
}
