#include "reporting/orbipmi.h"

#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
struct World {
    World() { clock.setAutoAdvance(true); }
    TemporaryRoot root;
    LogFile log{root};
    VirtualClock clock;
};
} // namespace

TEST(IpmiThreads, TransfersNeverMixTheirMessages) {
    World world;
    FakeRmc rmc;
    std::vector<std::thread> senders;
    for (char letter = 'a'; letter <= 'd'; ++letter)
        senders.emplace_back([letter] {
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("MPEventGen",
                                                                  std::string(1000, letter)),
                          0);
        });
    for (std::thread &one : senders) one.join();
    ASSERT_EQ(rmc.transfers().size(), 12u);
    int seen[4] = {};
    for (const auto &transfer : rmc.transfers()) {
        EXPECT_EQ(transfer.second, std::string(1000, transfer.second[0]));
        ++seen[transfer.second[0] - 'a'];
    }
    for (const int count : seen) EXPECT_EQ(count, 3);
}

TEST(IpmiThreads, PauseBehindATransferBelongsToIt) {
    World world;
    world.clock.setAutoAdvance(false);
    FakeRmc rmc;
    std::vector<std::thread> senders;
    for (int i = 0; i < 4; ++i)
        senders.emplace_back([] {
            EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("MPEventGen", std::string(100, 'x')),
                      0);
        });
    for (std::size_t done = 1; done <= senders.size(); ++done) {
        EXPECT_TRUE(world.clock.waitForParked(1));
        EXPECT_EQ(rmc.transfers().size(), done);
        world.clock.advanceMs(500);
    }
    for (std::thread &one : senders) one.join();
}

TEST(IpmiThreads, DoorBellWaitsForARunningTransfer) {
    World world;
    std::promise<void> first, answer;
    FakeRmc rmc([&](const FakeRmc::Sent &request, std::size_t index) {
        if (index == 0) {
            first.set_value();
            answer.get_future().wait();
        }
        return request.cmd == 0x80 ? FakeRmc::transferAnswer(0)
                                   : FakeRmc::doorBellAnswer("WriteInventory");
    });
    std::thread sender(
        [] { ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", std::string(300, 'x')); });
    first.get_future().wait();
    bool wanted = false;
    std::thread poller([&] { wanted = ipmi::IPMIUtils().checkIPMIDBRequest(); });
    while (world.log.count("DEBUG", "IPMI", "Checking IPMI door bell request") == 0)
        std::this_thread::yield();
    EXPECT_EQ(rmc.count(0x81), 0u);
    answer.set_value();
    sender.join();
    poller.join();
    EXPECT_TRUE(wanted);
    const std::vector<FakeRmc::Sent> sent = rmc.sent();
    ASSERT_EQ(sent.size(), 7u);
    EXPECT_EQ(sent.back().cmd, 0x81);
}
