#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "unit/host/HostWorld.h"

namespace {
constexpr char TAG[] = "HOST_RM";
constexpr char COPIED[] = "After sending OS boots events, we can set current_start to last_start "
                          "otherwise it will happen during ORB shutdown. And in case of crash it "
                          "won't happen.";
constexpr char GRACEFUL[] = "In gen OS boot logic.Last shutdown was graceful.";
constexpr char UNGRACEFUL[] = "In gen OS boot logic.Last shutdown was not-graceful.";
constexpr char POINT_2[] = "ORB crashed in current boot so do nothing in point 2";
constexpr char POINT_3[] = "ORB crashed in current boot so do nothing in point 3";

/// Lets the manager report on the last run, and stop before its first build.
void report(HostWorld &world, long boot, const std::string &runState) {
    world.clock.setAutoAdvance(true);
    world.root.write(HostWorld::RUN_STATE, runState);
    orbUtils::setSystemCurrentBootTime(boot);
    world.manager.stopResourceManagerJob();
    EXPECT_EQ(world.manager.init(), 0);
}

/// Lets two events pass, each of which ends with a pause of half a second.
void pass_two_events(HostWorld &world) {
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(world.clock.waitForParked(1));
        world.clock.advanceMs(500);
    }
}

std::string run_state(long currentStart, long lastStart, long lastStop) {
    return "current_start " + std::to_string(currentStart) + "\nlast_start " +
           std::to_string(lastStart) + "\nlast_stop " + std::to_string(lastStop) + "\n";
}

struct BootCase {
    const char *name;
    long boot, lastStart, lastStop;
    std::vector<int> events;
    const char *text; ///< the debug line, null for none
};
void PrintTo(const BootCase &row, std::ostream *os) {
    *os << row.name;
}
const BootCase BOOT_CASES[] = {
    {"FirstRun", 500, 0, 0, {}, nullptr},
    {"FirstRunWithAStop", 500, 0, 200, {}, nullptr},
    {"RestartInTheSameBoot", 50, 100, 200, {}, POINT_2},
    {"BootAtTheStop", 200, 100, 200, {}, POINT_2},
    {"BootUnknownAfterAStop", 0, 100, 200, {}, POINT_2},
    {"RebootAfterAStop", 201, 100, 200, {359, 356}, GRACEFUL},
    {"StartAtTheStop", 500, 100, 100, {}, nullptr},
    {"CrashInTheSameBoot", 50, 300, 200, {}, POINT_3},
    {"BootAtTheStart", 300, 300, 200, {}, POINT_3},
    {"BootUnknownAfterACrash", 0, 300, 200, {}, POINT_3},
    {"RebootWithoutAStop", 301, 300, 200, {360, 356}, UNGRACEFUL},
    {"RebootWithoutAnyStop", 301, 300, 0, {360, 356}, UNGRACEFUL},
};
class BootReport : public ::testing::TestWithParam<BootCase> {};
TEST_P(BootReport, RaisesItsEventsAndCopiesTheStart) {
    const BootCase &row = GetParam();
    HostWorld world;
    report(world, row.boot, run_state(1000, row.lastStart, row.lastStop));
    EXPECT_EQ(world.eventIds(), row.events);
    for (const char *text : {GRACEFUL, UNGRACEFUL, POINT_2, POINT_3})
        EXPECT_EQ(world.log.count("DEBUG", TAG, text),
                  row.text != nullptr && std::string(row.text) == text ? 1 : 0)
            << text;
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE), run_state(1000, 1000, row.lastStop));
    EXPECT_EQ(world.log.count("DEBUG", TAG, COPIED), 1);
}
INSTANTIATE_TEST_SUITE_P(Cases, BootReport, ::testing::ValuesIn(BOOT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(HostBoot, EventsCarryTheHostAndTheTimeOnly) {
    HostWorld world;
    report(world, 500, run_state(1000, 100, 200));
    const std::vector<Json::Value> events = world.events();
    ASSERT_EQ(events.size(), 2u);
    for (const int id : {359, 356})
        EXPECT_EQ(compact_json(events[id == 359 ? 0 : 1]),
                  R"({"EventTime":"2026-01-03 08:04:29","HostName":"orb-host-01","ID":)" +
                      std::to_string(id) +
                      R"(,"IPv4Addresses":[{"Address":"192.0.2.17"}],"OSType":104,)"
                      R"("OSVersion":"8.0.2","Source":"ORB"})");
}

TEST(HostBoot, ValuesAreReadStartThenStop) {
    HostWorld world;
    report(world, 500, run_state(1000, 100, 100));
    std::vector<std::string> texts;
    for (const LogFile::Line &line : world.log.lines())
        if (line.module == TAG && line.level == "DEBUG") texts.push_back(line.text);
    EXPECT_EQ(texts, (std::vector<std::string>{
                         "content to match =last_start", "Successful in opening orb startup file",
                         "Found a match 100", "content to match =last_stop",
                         "Successful in opening orb startup file", "Found a match 100", COPIED}));
}

TEST(HostBoot, UndeliveredEventsDoNotHoldUpTheRest) {
    HostWorld world;
    world.process.failCreation(0, EAGAIN);
    report(world, 500, run_state(1000, 100, 200));
    EXPECT_EQ(world.log.count("ERROR", "EVT_HANDLER", "Unable to spawn a thread to handle event."),
              2);
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE), run_state(1000, 1000, 200));
}

// -- The update of the run-state file -----------------------------------------------------------

TEST(HostBoot, StoppedDaemonsZeroLeavesTheStart) {
    HostWorld world;
    report(world, 50, run_state(0, 100, 200));
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE), run_state(0, 100, 200));
    EXPECT_EQ(world.log.count("DEBUG", TAG, COPIED), 1);
}

TEST(HostBoot, FileWithoutCurrentStartKeepsItsLines) {
    HostWorld world;
    report(world, 50, "last_start 100\nlast_stop 200\n");
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE), "last_start 100\nlast_stop 200\n");
}

TEST(HostBoot, ForeignLinesAreKeptAndTheLastOneIsEnded) {
    HostWorld world;
    report(world, 50, "# note\nlast_stop 200\n  the last_start was 100\ncurrent_start 1000\nend");
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE),
              "# note\nlast_stop 200\nlast_start 1000\ncurrent_start 1000\nend\n");
}

TEST(HostBoot, MissingFileTellsNothingAndStaysMissing) {
    HostWorld world;
    world.clock.setAutoAdvance(true);
    orbUtils::setSystemCurrentBootTime(500);
    world.manager.stopResourceManagerJob();
    EXPECT_EQ(world.manager.init(), 0);
    EXPECT_TRUE(world.events().empty());
    EXPECT_EQ(world.log.count("ERROR", TAG, "Error occurred in opening orb startup file"), 2);
    EXPECT_EQ(world.log.count("DEBUG", TAG, COPIED), 0);
    EXPECT_FALSE(world.root.exists(HostWorld::RUN_STATE));
}

TEST(HostBoot, StaleTwinsLinesStayAhead) {
    HostWorld world;
    world.root.write("/var/tmp/vantorORBStartuptmp.txt", "stale 1\n");
    report(world, 50, run_state(1000, 100, 200));
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE), "stale 1\n" + run_state(1000, 1000, 200));
    EXPECT_FALSE(world.root.exists("/var/tmp/vantorORBStartuptmp.txt"));
}

// -- The wait in front --------------------------------------------------------------------------

TEST(HostBoot, BeginsTwentySecondsAfterTheStart) {
    HostWorld world;
    world.root.write(HostWorld::RUN_STATE, run_state(1000, 100, 200));
    orbUtils::setSystemCurrentBootTime(500);
    std::thread manager([&] { EXPECT_EQ(world.manager.init(), 0); });
    EXPECT_TRUE(world.clock.waitForParked(1));
    world.clock.advanceMs(19999);
    EXPECT_TRUE(world.clock.waitForParked(1));
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, ""), 0);
    EXPECT_TRUE(world.events().empty());
    EXPECT_FALSE(world.manager.isInventoryReady(0));

    world.clock.advanceMs(1);
    pass_two_events(world);
    EXPECT_TRUE(world.clock.waitForParked(1)); // in the loop
    EXPECT_EQ(world.eventIds(), (std::vector<int>{359, 356}));
    EXPECT_EQ(world.builds(), 1);
    EXPECT_TRUE(world.manager.isInventoryReady(0));
    world.manager.stopResourceManagerJob();
    manager.join();
}

TEST(HostBoot, StopDuringTheWaitStillReportsAndCopies) {
    HostWorld world;
    world.root.write(HostWorld::RUN_STATE, run_state(1000, 300, 200));
    orbUtils::setSystemCurrentBootTime(500);
    std::thread manager([&] { EXPECT_EQ(world.manager.init(), 0); });
    EXPECT_TRUE(world.clock.waitForParked(1));
    world.clock.advance(5);
    world.manager.stopResourceManagerJob();
    EXPECT_TRUE(world.clock.waitForParked(1)); // a stop doesn't shorten it
    world.clock.advance(15);
    pass_two_events(world);
    manager.join();
    EXPECT_EQ(world.eventIds(), (std::vector<int>{360, 356}));
    EXPECT_EQ(world.root.read(HostWorld::RUN_STATE), run_state(1000, 1000, 200));
    EXPECT_EQ(world.builds(), 0);
}

// -- Test events --------------------------------------------------------------------------------

TEST(HostTestEvent, CarriesTheClientAsItsSource) {
    HostWorld world;
    world.clock.setAutoAdvance(true);
    world.manager.generateTestEvent(356);
    const std::vector<Json::Value> events = world.events();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(compact_json(events[0]),
              R"({"EventTime":"2026-01-03 08:04:09","HostName":"orb-host-01","ID":356,)"
              R"("IPv4Addresses":[{"Address":"192.0.2.17"}],"OSType":104,"OSVersion":"8.0.2",)"
              R"("Source":"ORB-CLI"})");
}

TEST(HostTestEvent, PassesTheGateOfTheFirstInventory) {
    HostWorld world;
    world.manager.generateTestEvent(358);
    EXPECT_TRUE(world.events().empty());
    EXPECT_EQ(world.process.created(), 0);
}
} // namespace
