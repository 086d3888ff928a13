#include "reporting/orbIPMIDBService.h"

#include <cerrno>
#include <future>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "reporting/orbJsonAggregator.h"

namespace {
struct Running {
    explicit Running(FakeRmc::Responder answers = {},
                     const std::string &config = R"("EnableResources": ["None"])")
        : log(root, config), rmc(std::move(answers)) {}
    ~Running() {
        if (!stopped) stop();
    }
    void start() { service.startorbIPMIDBService(); }
    void stop() {
        stopped = true;
        service.stoporbIPMIDBService();
    }
    void pass(std::int64_t seconds) {
        ASSERT_TRUE(clock.waitForParked(1));
        clock.advance(seconds);
        ASSERT_TRUE(clock.waitForParked(1));
    }
    std::size_t polls() const { return rmc.count(0x81); }
    int requests() const { // the aggregator was asked before its first send
        return log.count("DEBUG", "JSON_AGGR", "Dropping inventory send request");
    }

    TemporaryRoot root;
    LogFile log;
    VirtualClock clock;
    ScriptedCommands commands;
    FakeProcess process;
    FakeRmc rmc;
    orbIPMIDBService &service = orbIPMIDBService::getInstance();
    bool stopped = false;
};

FakeRmc::Responder door_bell(const std::string &text) {
    return [text](const FakeRmc::Sent &, std::size_t) { return FakeRmc::doorBellAnswer(text); };
}
} // namespace

TEST(DoorBell, IsPolledEveryTenSeconds) {
    Running run;
    run.start();
    ASSERT_TRUE(run.clock.waitForParked(1));
    EXPECT_EQ(run.polls(), 0u);
    for (std::size_t poll = 1; poll <= 3; ++poll) {
        run.clock.advance(9);
        EXPECT_TRUE(run.clock.waitForParked(1));
        EXPECT_EQ(run.polls(), poll - 1);
        run.pass(1);
        EXPECT_EQ(run.polls(), poll);
    }
    EXPECT_EQ(run.rmc.stillOpen(), 0); // each poll opens the device for itself
    EXPECT_EQ(run.rmc.opens(), 3);
    EXPECT_EQ(run.log.count("DEBUG", "IPMI_DB", "DB service thread up."), 3);
    EXPECT_EQ(run.requests(), 0);
}

TEST(DoorBell, IntervalOfSixtyGivesOnePollAMinute) {
    Running run({}, R"("IPMIDoorBellMonitorInterval": "60")");
    run.start();
    for (std::size_t minute = 1; minute <= 3; ++minute) {
        run.pass(59);
        EXPECT_EQ(run.polls(), minute - 1);
        run.pass(1);
        EXPECT_EQ(run.polls(), minute);
    }
}

TEST(DoorBell, HugeIntervalIsNever) {
    Running run({}, R"("IPMIDoorBellMonitorInterval": "9223372036854775807")");
    run.start();
    run.pass(100L * 365 * 24 * 3600);
    EXPECT_EQ(run.polls(), 0u);
}

TEST(DoorBell, WakeUpThatNobodyAskedForPollsNothing) {
    Running run;
    run.start();
    ASSERT_TRUE(run.clock.waitForParked(1));
    for (int i = 0; i < 3; ++i) {
        run.clock.wakeForNothing();
        ASSERT_TRUE(run.clock.waitForParked(1));
    }
    EXPECT_EQ(run.polls(), 0u);
    EXPECT_EQ(run.log.count("DEBUG", "IPMI_DB", "DB service thread up."), 0);
    run.pass(10);
    EXPECT_EQ(run.polls(), 1u);
}

TEST(DoorBell, WishAnywhereInTheTextAsksForOneSend) {
    Running run(door_bell("1;WriteInventory;2"));
    run.start();
    run.pass(10);
    EXPECT_EQ(run.requests(), 1);
    run.pass(10);
    EXPECT_EQ(run.requests(), 2);
}

TEST(DoorBell, OtherTextAsksForNothing) {
    Running run(door_bell("WriteEvents"));
    run.start();
    run.pass(10);
    EXPECT_EQ(run.polls(), 1u);
    EXPECT_EQ(run.requests(), 0);
}

TEST(DoorBell, WishAfterTheFirstSendWakesTheAggregator) {
    Running run(door_bell("WriteInventory"));
    orbJsonAggregator().createInventoryJsonString(); // of nothing: opens the gate
    run.start();
    run.pass(10);
    EXPECT_EQ(run.log.count("DEBUG", "JSON_AGGR", "Request to send inventory"), 1);
}

TEST(DoorBell, FailedPollWaitsForTheNext) {
    Running run([](const FakeRmc::Sent &, std::size_t index) {
        FakeRmc::Answer answer = FakeRmc::doorBellAnswer("WriteInventory");
        if (index == 0) answer.sendError = EIO;
        return answer;
    });
    run.start();
    run.pass(10);
    EXPECT_EQ(run.polls(), 1u);
    EXPECT_EQ(run.requests(), 0);
    EXPECT_EQ(run.log.count("ERROR", "IPMI", "An error occurred in checking RMC request via IPMI"),
              1);
    run.pass(10);
    EXPECT_EQ(run.polls(), 2u);
    EXPECT_EQ(run.requests(), 1);
}

TEST(DoorBell, StopDuringTheWaitPollsNoMore) {
    Running run;
    run.start();
    ASSERT_TRUE(run.clock.waitForParked(1));
    run.stop();
    EXPECT_EQ(run.polls(), 0u);
    EXPECT_EQ(run.clock.now(), VirtualClock::START);
    EXPECT_EQ(run.process.joined(), std::vector<std::string>{"door bell"});
    EXPECT_EQ(run.log.count("DEBUG", "IPMI_DB", "Stopping orbIPMIDBService"), 1);
    EXPECT_EQ(run.log.count("DEBUG", "IPMI_DB", "Signaled for stop."), 1);
    EXPECT_EQ(run.log.countHolding("ERROR", "IPMI_DB", ""), 0);
}

TEST(DoorBell, StopRightAfterTheStartNeedsNoTime) {
    Running run;
    run.start();
    run.stop();
    EXPECT_EQ(run.polls(), 0u);
}

TEST(DoorBell, StopWaitsForARunningPoll) {
    std::promise<void> polling, answer;
    Running run([&](const FakeRmc::Sent &, std::size_t) {
        polling.set_value();
        answer.get_future().wait();
        return FakeRmc::doorBellAnswer("WriteInventory");
    });
    run.start();
    ASSERT_TRUE(run.clock.waitForParked(1));
    run.clock.advance(10);
    polling.get_future().wait();
    std::thread stopper([&] { run.stop(); });
    while (run.log.count("DEBUG", "IPMI_DB", "Signaled for stop.") == 0) std::this_thread::yield();
    EXPECT_TRUE(run.process.joined().empty());
    answer.set_value();
    stopper.join();
    EXPECT_EQ(run.polls(), 1u);
    EXPECT_EQ(run.requests(), 1); // the poll that was running is finished
}

TEST(DoorBell, ClockFailureEndsTheThread) {
    Running run;
    run.clock.failRealTime(EPERM);
    run.start();
    while (run.log.countHolding("ERROR", "IPMI_DB", "Failed") == 0) std::this_thread::yield();
    run.stop(); // takes the lock that the thread has left
    EXPECT_EQ(run.log.count("ERROR", "IPMI_DB", "Failed to get current time! (error no: 1)"), 1);
    EXPECT_EQ(run.polls(), 0u);
}

TEST(DoorBell, ThreadThatCannotBeMadeIsAnError) {
    Running run;
    run.process.failCreation(0, EAGAIN);
    run.start();
    EXPECT_EQ(run.log.count("ERROR", "IPMI_DB", "Error: Unable to create thread: 11"), 1);
    run.stop();
    EXPECT_EQ(run.log.count("ERROR", "IPMI_DB", "Error: Unable to join thread: 3"), 1);
}

TEST(DoorBell, FailedJoinIsAnError) {
    Running run;
    run.start();
    run.process.failJoin(EDEADLK);
    run.stop();
    EXPECT_EQ(run.log.count("ERROR", "IPMI_DB", "Error: Unable to join thread: 35"), 1);
}
