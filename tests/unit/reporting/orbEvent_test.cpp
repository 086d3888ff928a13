#include "reporting/orbEvent.h"

#include <gtest/gtest.h>

namespace {
Json::Value data() {
    Json::Value object;
    object["Key"] = "value";
    return object;
}
} // namespace

TEST(Event, WithoutData) {
    const orbEvent event(384, "0001", "FCHBA", true, "2026-01-03 08:04:09", "P-17", "ORB");
    EXPECT_EQ(event.getEventID(), 384);
    EXPECT_EQ(event.getPhyLoc(), "0001");
    EXPECT_EQ(event.getModuleName(), "FCHBA");
    EXPECT_TRUE(event.getisServiceEvent());
    EXPECT_EQ(event.getEventTime(), "2026-01-03 08:04:09");
    EXPECT_EQ(event.getPartNum(), "P-17");
    EXPECT_EQ(event.getSource(), "ORB");
    EXPECT_TRUE(event.getVariableData().isNull());
}

TEST(Event, WithoutPlace) {
    const orbEvent event(708, "TESTEVENT", false, "2026-01-03 08:04:09", data(), "ORB-CLI");
    EXPECT_EQ(event.getEventID(), 708);
    EXPECT_EQ(event.getPhyLoc(), "");
    EXPECT_EQ(event.getModuleName(), "TESTEVENT");
    EXPECT_FALSE(event.getisServiceEvent());
    EXPECT_EQ(event.getEventTime(), "2026-01-03 08:04:09");
    EXPECT_EQ(event.getPartNum(), "");
    EXPECT_EQ(event.getSource(), "ORB-CLI");
    EXPECT_EQ(event.getVariableData(), data());
}

TEST(Event, WithEverything) {
    const orbEvent event(397, "0002", "SASHBA", true, "2026-01-03 08:04:09", "P-18", data(), "ORB");
    EXPECT_EQ(event.getEventID(), 397);
    EXPECT_EQ(event.getPhyLoc(), "0002");
    EXPECT_EQ(event.getModuleName(), "SASHBA");
    EXPECT_TRUE(event.getisServiceEvent());
    EXPECT_EQ(event.getPartNum(), "P-18");
    EXPECT_EQ(event.getSource(), "ORB");
    EXPECT_EQ(event.getVariableData(), data());
}
