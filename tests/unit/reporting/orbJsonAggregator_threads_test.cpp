#include "reporting/orbJsonAggregator.h"

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "unit/reporting/FakeManagers.h"

namespace {
/// The aggregator's thread in a world whose time the test moves. Each delivery ends with a sleep of
/// half a second.
struct Running {
    explicit Running(const std::string &config = R"("EnableResources": ["All"])")
        : log(root, config) {
        managers.host.objects = {unit("host")};
    }
    ~Running() {
        if (!stopped) stop();
    }

    void start() { aggregator.sendInventory(false); }
    void stop() {
        stopped = true;
        aggregator.stoporbJsonAggregator();
    }
    /// One look of the readiness loop, or the idle wait's end, from parked to parked.
    void pass(std::int64_t seconds) {
        ASSERT_TRUE(clock.waitForParked(1));
        clock.advance(seconds);
        ASSERT_TRUE(clock.waitForParked(1));
    }
    /// The end of the delivery that the thread is in.
    void endDelivery() {
        ASSERT_TRUE(clock.waitForParked(1));
        clock.advanceMs(500);
        ASSERT_TRUE(clock.waitForParked(1));
    }
    /// Everything to the idle state after the first send.
    void startAndSend() {
        managers.setReady();
        start();
        pass(10);
        endDelivery();
        ASSERT_EQ(sends(), 1u);
        ASSERT_TRUE(aggregator.isInventorySent());
    }
    /// Until the last message of this send came; the thread then sleeps or is about to.
    void awaitSends(std::size_t count) const {
        while (sends() < count) std::this_thread::yield();
    }
    std::size_t sends() const { return rmc.transfers().size(); }
    int debugLines(const std::string &text) const { return log.count("DEBUG", "JSON_AGGR", text); }

    TemporaryRoot root;
    LogFile log;
    VirtualClock clock;
    ScriptedCommands commands;
    FakeProcess process;
    FakeRmc rmc;
    FakeManagers managers;
    orbJsonAggregator &aggregator = orbJsonAggregator::getInstance();
    bool stopped = false;
};

const std::vector<int> ALL_ITERATIONS = {0, 1, 2, 3, 4, 5, 6, 7, 8};
constexpr char REQUEST[] = "Request to send inventory",
               DROPPED[] = "Dropping inventory send request";
} // namespace

TEST(AggregatorThread, FirstSendFollowsTheFirstLookWhenAllAreReady) {
    Running run;
    run.managers.setReady();
    run.start();
    ASSERT_TRUE(run.clock.waitForParked(1));
    EXPECT_EQ(run.sends(), 0u);
    run.clock.advance(9);
    EXPECT_TRUE(run.managers.fc.asked().empty());
    run.pass(1);
    EXPECT_EQ(run.sends(), 1u);
    EXPECT_FALSE(run.aggregator.isInventorySent()); // the delivery isn't over
    run.endDelivery();
    EXPECT_TRUE(run.aggregator.isInventorySent());
    EXPECT_EQ(run.managers.fc.asked(), std::vector<int>{0});
    EXPECT_EQ(run.debugLines("Creating Json Aggregator thread"), 1);
    EXPECT_EQ(run.debugLines("Entry checkIfInventoryReady"), 1);
    EXPECT_EQ(run.debugLines("Aggregator thread sleeping for 10 sec iteration no. 1"), 1);
    EXPECT_EQ(run.debugLines("Aggregator thread sleeping for 10 sec iteration no. 2"), 0);
    EXPECT_EQ(run.debugLines("Thread signaled"), 1);
}

TEST(AggregatorThread, NinePassesAreTheLimit) {
    FakeManager late; // in the storage manager's place
    Running run;
    run.managers.setReady();
    SASClassObj = &late;
    late.byKind = {{2, {}}};
    run.start();
    for (int look = 1; look <= 8; ++look) {
        run.pass(10);
        EXPECT_EQ(run.sends(), 0u) << look;
        EXPECT_FALSE(late.pushIsPending());
    }
    run.pass(10);
    EXPECT_EQ(run.sends(), 1u);
    EXPECT_TRUE(late.pushIsPending());
    EXPECT_EQ(late.asked(), ALL_ITERATIONS);
    for (FakeManager *one : {&run.managers.fc, &run.managers.host, &run.managers.nic})
        EXPECT_EQ(one->asked(), ALL_ITERATIONS); // also those behind the late one
    EXPECT_EQ(run.log.count("INFO", "JSON_AGGR", "RM 2 not ready with inventory"), 9);
    EXPECT_EQ(run.log.countHolding("INFO", "JSON_AGGR", "not ready with inventory"), 9);
    EXPECT_EQ(run.debugLines("Aggregator thread sleeping for 10 sec iteration no. 9"), 1);
    EXPECT_EQ(run.rmc.transfers()[0].second.find("Drives"), std::string::npos);
    run.endDelivery();

    late.byKind = {{2, {unit("drive")}}};
    late.finishBuild();
    run.awaitSends(2);
    run.endDelivery();
    EXPECT_FALSE(late.pushIsPending());
    ASSERT_EQ(run.sends(), 2u);
    EXPECT_NE(run.rmc.transfers()[1].second.find("Drives"), std::string::npos);
}

TEST(AggregatorThread, BuildThatEndsDuringTheFirstSendIsSentNext) {
    Running run;
    run.start();
    for (int look = 1; look <= 9; ++look) run.pass(10);
    EXPECT_EQ(run.sends(), 1u);
    run.managers.nic.finishBuild(); // while the first delivery runs
    EXPECT_EQ(run.debugLines(DROPPED), 1);
    run.endDelivery();
    EXPECT_EQ(run.sends(), 2u);
    run.endDelivery();
    EXPECT_EQ(run.sends(), 2u);
}

TEST(AggregatorThread, ReadyInTheNinthPassLeavesNothingPending) {
    FakeManager late;
    Running run;
    run.managers.setReady();
    NICClassObj = &late;
    run.start();
    for (int look = 1; look <= 8; ++look) run.pass(10);
    late.finishBuild();
    run.pass(10);
    EXPECT_EQ(late.asked(), ALL_ITERATIONS);
    EXPECT_FALSE(late.pushIsPending());
    EXPECT_EQ(run.sends(), 1u);
    run.endDelivery();
    EXPECT_EQ(run.sends(), 1u);
}

TEST(AggregatorThread, MissingManagerHoldsNothingUp) {
    Running run;
    run.managers.setReady();
    NICClassObj = nullptr;
    run.start();
    run.pass(10);
    EXPECT_EQ(run.sends(), 1u);
    EXPECT_EQ(run.log.countHolding("INFO", "JSON_AGGR", "not ready with inventory"), 0);
    run.endDelivery();
}

TEST(AggregatorThread, QueryIntervalIsTheConfigured) {
    Running run(R"("InventoryQueryIntervalInSeconds": "3")");
    run.managers.setReady();
    run.start();
    run.pass(3);
    EXPECT_EQ(run.sends(), 1u);
    EXPECT_EQ(run.debugLines("Aggregator thread sleeping for 3 sec iteration no. 1"), 1);
    run.endDelivery();
}

TEST(AggregatorThread, StopDuringTheReadinessLoopSendsNothing) {
    Running run;
    run.start();
    run.pass(10);
    run.stop();
    EXPECT_EQ(run.rmc.sent().size(), 0u);
    EXPECT_FALSE(run.aggregator.isInventorySent());
    EXPECT_EQ(run.process.joined(), std::vector<std::string>{"aggregator"});
    EXPECT_EQ(run.debugLines("Stopping orbJsonAggr"), 1);
    EXPECT_EQ(run.debugLines("Signaled for stop."), 1);
    EXPECT_EQ(run.log.countHolding("ERROR", "JSON_AGGR", ""), 0);
}

TEST(AggregatorThread, StopRightAfterTheStartNeedsNoTime) {
    Running run;
    run.start();
    run.stop();
    EXPECT_EQ(run.clock.now(), VirtualClock::START);
    EXPECT_EQ(run.rmc.sent().size(), 0u);
}

TEST(AggregatorThread, StopWhileIdleSendsNothingMore) {
    Running run;
    run.startAndSend();
    run.stop();
    EXPECT_EQ(run.sends(), 1u);
}

TEST(AggregatorThread, StopDuringADeliveryWinsOverARequest) {
    Running run;
    run.startAndSend();
    run.aggregator.sendInventory(true);
    run.awaitSends(2); // in the second delivery's last sleep
    ASSERT_TRUE(run.clock.waitForParked(1));
    run.aggregator.sendInventory(true);
    std::thread stopper([&] { run.stop(); });
    while (run.debugLines("Signaled for stop.") == 0) std::this_thread::yield();
    run.clock.advanceMs(500);
    stopper.join();
    EXPECT_EQ(run.sends(), 2u);
}

TEST(AggregatorThread, OneMinuteIntervalSendsEveryMinute) {
    Running run(R"("PushInventoryFrequencyInMinutes": "1")");
    run.startAndSend();
    for (std::size_t minute = 1; minute <= 5; ++minute) {
        run.clock.advance(59);
        EXPECT_TRUE(run.clock.waitForParked(1));
        EXPECT_EQ(run.sends(), minute);
        run.pass(1);
        EXPECT_EQ(run.sends(), minute + 1);
        run.endDelivery();
    }
}

TEST(AggregatorThread, DefaultIntervalIsADay) {
    Running run;
    run.startAndSend();
    run.clock.advance(24 * 3600 - 1);
    EXPECT_TRUE(run.clock.waitForParked(1));
    EXPECT_EQ(run.sends(), 1u);
    run.pass(1);
    EXPECT_EQ(run.sends(), 2u);
    run.endDelivery();
}

TEST(AggregatorThread, RequestSendsAtOnceAndRestartsTheInterval) {
    Running run(R"("PushInventoryFrequencyInMinutes": "1")");
    run.startAndSend();
    run.clock.advance(30);
    run.aggregator.sendInventory(true);
    run.awaitSends(2);
    run.endDelivery();
    EXPECT_EQ(run.debugLines(REQUEST), 1);
    run.clock.advance(59);
    EXPECT_TRUE(run.clock.waitForParked(1));
    EXPECT_EQ(run.sends(), 2u);
    run.pass(1);
    EXPECT_EQ(run.sends(), 3u);
    run.endDelivery();
}

TEST(AggregatorThread, TwoRequestsDuringASendCauseOneMore) {
    Running run;
    run.startAndSend();
    run.aggregator.sendInventory(true);
    run.awaitSends(2);
    ASSERT_TRUE(run.clock.waitForParked(1)); // in the second delivery
    run.aggregator.sendInventory(true);
    run.aggregator.sendInventory(true);
    run.clock.advanceMs(500);
    run.awaitSends(3);
    run.endDelivery();
    EXPECT_EQ(run.sends(), 3u);
    EXPECT_EQ(run.debugLines(REQUEST), 3);
}

TEST(AggregatorThread, RequestBeforeTheFirstSendIsServedByIt) {
    Running run;
    run.managers.setReady();
    run.start();
    ASSERT_TRUE(run.clock.waitForParked(1));
    run.aggregator.sendInventory(true);
    run.aggregator.sendInventory(true);
    EXPECT_TRUE(run.clock.waitForParked(1)); // no wake-up
    EXPECT_TRUE(run.managers.fc.asked().empty());
    EXPECT_EQ(run.debugLines(DROPPED), 2);
    EXPECT_EQ(run.debugLines(REQUEST), 0);
    run.pass(10);
    run.endDelivery();
    EXPECT_EQ(run.sends(), 1u);
}

TEST(AggregatorThread, FailedDeliveryIsRetriedByTheNextSendOnly) {
    Running run;
    run.startAndSend();
    run.rmc.failOpen(99);
    for (const char *module : {"msghandler", "si", "devintf", "watchdog", "ssif"})
        run.commands.onSystem(std::string("modprobe ipmi_") + module + " > /dev/null 2>&1", {0, 0});
    run.commands.onSystem("mknod -m 0600 /dev/ipmi0 c `cat /proc/devices | grep ipmidev |cut -d \" "
                          "\" -f 1` 0 > /dev/null 2>&1",
                          {0, 0});
    run.aggregator.sendInventory(true);
    for (int opening = 0; opening < 4; ++opening) { // twice by each of the two objects
        while (run.commands.calls().size() < 6u * static_cast<unsigned>(opening + 1))
            std::this_thread::yield();
        run.pass(3);
    }
    EXPECT_EQ(run.log.count("ERROR", "JSON_AGGR",
                            "An Error occurred in delivering inventory string to RMC!"),
              1);
    run.rmc.failOpen(0);
    run.clock.advance(3600);
    EXPECT_TRUE(run.clock.waitForParked(1));
    EXPECT_EQ(run.sends(), 1u);
    run.aggregator.sendInventory(true);
    run.awaitSends(2);
    run.endDelivery();
}

TEST(AggregatorThread, AllDisabledWarnsAndOpensTheGate) {
    Running run(R"("EnableResources": ["None"])");
    run.start();
    run.pass(10);
    EXPECT_TRUE(run.aggregator.isInventorySent());
    EXPECT_EQ(run.log.count("WARNING", "JSON_AGGR", "No inventory information found!"), 1);
    EXPECT_EQ(run.rmc.opens(), 0);
    EXPECT_TRUE(run.managers.host.asked().empty());
}

TEST(AggregatorThread, ClockFailureInTheReadinessLoopEndsTheThread) {
    Running run;
    run.managers.setReady();
    run.clock.failRealTime(EINVAL);
    run.start();
    run.stop();
    run.clock.failRealTime(0);
    EXPECT_FALSE(run.aggregator.isInventorySent());
    EXPECT_EQ(run.rmc.sent().size(), 0u);
    EXPECT_EQ(run.log.count("ERROR", "JSON_AGGR", "Failed to get current time! (errno: 22)"), 1);
    run.aggregator.sendInventory(true); // takes the lock that the thread has left
    EXPECT_EQ(run.debugLines(DROPPED), 1);
}

TEST(AggregatorThread, ClockFailureWhileIdleEndsTheThread) {
    Running run;
    run.startAndSend();
    run.clock.failRealTime(EPERM);
    run.aggregator.sendInventory(true);
    run.awaitSends(2);
    ASSERT_TRUE(run.clock.waitForParked(1));
    run.clock.advanceMs(500);
    while (run.log.count("ERROR", "JSON_AGGR", "Failed to get current time! (errno: 1)") == 0)
        std::this_thread::yield();
    run.aggregator.sendInventory(true); // nobody is left to serve it
    run.stop();
    EXPECT_EQ(run.sends(), 2u);
}

TEST(AggregatorThread, ThreadThatCannotBeMadeIsAnError) {
    Running run;
    run.process.failCreation(0, EAGAIN);
    run.start();
    EXPECT_EQ(run.log.count("ERROR", "JSON_AGGR", "Error: Unable to create thread: 11"), 1);
    run.stop();
    EXPECT_EQ(run.log.count("ERROR", "JSON_AGGR", "Error: Unable to join thread: 3"), 1);
    EXPECT_TRUE(run.process.joined().empty());
}

TEST(AggregatorThread, FailedJoinIsAnError) {
    Running run;
    run.start();
    run.process.failJoin(EDEADLK);
    run.stop();
    EXPECT_EQ(run.log.count("ERROR", "JSON_AGGR", "Error: Unable to join thread: 35"), 1);
}
