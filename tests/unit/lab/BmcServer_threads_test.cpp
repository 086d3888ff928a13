#include "bmc/BmcServer.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/BmcMachine.h"

namespace {
namespace fs = std::filesystem;
using Bytes = std::vector<std::uint8_t>;
using namespace std::chrono_literals;

const Bytes DOOR_BELL = bmc_request(9, 0x3A, 0x81), NOT_RUNG = bmc_answer(9, 0x3A, 0x81, 0, {0});
const Bytes FLAGS = bmc_request(1, 0x06, 0x31), NO_FLAGS = bmc_answer(1, 0x06, 0x31, 0, {0});

std::set<std::string> names_in(const std::string &folder) {
    std::set<std::string> names;
    for (const fs::directory_entry &each : fs::directory_iterator(folder))
        names.insert(each.path().filename());
    return names;
}

class BmcServerTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(server.start(0, error)) << error;
        ASSERT_NE(server.port(), 0);
    }
    void behave(bool silent, std::int64_t delayMs) {
        RMC_BEHAVIOUR behaviour;
        behaviour.silent = silent;
        behaviour.delayMs = delayMs;
        server.use([&](Rmc &used) { used.behave(behaviour); });
    }
    Rmc rmc;
    BmcServer server{rmc};
};
} // namespace

TEST_F(BmcServerTest, AnswersDriverAndRmc) {
    const BmcMachine machine(server.port());
    EXPECT_EQ(machine.ask(FLAGS), NO_FLAGS);
    EXPECT_EQ(machine.ask(DOOR_BELL), NOT_RUNG);
    const BMC_STATISTICS counts = server.statistics();
    EXPECT_EQ(counts.connections, 1u);
    EXPECT_EQ(counts.byDriver, 1u);
    EXPECT_EQ(counts.toRmc, 1u);
    server.resetStatistics();
    EXPECT_EQ(server.statistics().requests, 0u);
}

TEST_F(BmcServerTest, MessageInPiecesIsPutTogether) {
    const BmcMachine machine(server.port());
    machine.send({0xFF, 0x01, 0xA1, 0x09, 0xE8});
    EXPECT_EQ(machine.ask({0x81, 0x8E, 0xA0}), NOT_RUNG);
}

TEST_F(BmcServerTest, NewConnectionReplacesTheFormer) {
    const BmcMachine first(server.port());
    EXPECT_EQ(first.ask(FLAGS), NO_FLAGS);
    const BmcMachine second(server.port());
    EXPECT_EQ(second.ask(FLAGS), NO_FLAGS);
    EXPECT_TRUE(first.isEnded());
    EXPECT_EQ(server.statistics().connections, 2u);
}

TEST_F(BmcServerTest, MachineComesBackAfterALostLink) {
    {
        const BmcMachine first(server.port());
        EXPECT_EQ(first.ask(FLAGS), NO_FLAGS);
        first.send({0x09, 0xE8}); // half a message
    }
    const BmcMachine second(server.port());
    EXPECT_EQ(second.ask(DOOR_BELL), NOT_RUNG);
}

TEST_F(BmcServerTest, WithheldAnswerGoesOutWhenTheRmcBehavesAgain) {
    behave(true, 0);
    const BmcMachine machine(server.port());
    machine.send(DOOR_BELL);
    ASSERT_TRUE(server.waitFor(
        20s, [](Rmc &used) { return used.wire().lastMeaning() == "door bell: nothing"; }));
    EXPECT_FALSE(machine.isReadable(0));
    server.use([](Rmc &used) { used.behave({}); });
    EXPECT_EQ(machine.receive(NOT_RUNG.size()), NOT_RUNG);
}

TEST_F(BmcServerTest, DelayIsKeptInRealTime) {
    behave(false, 60);
    const BmcMachine machine(server.port());
    const auto began = std::chrono::steady_clock::now();
    EXPECT_EQ(machine.ask(DOOR_BELL), NOT_RUNG);
    EXPECT_GE(std::chrono::steady_clock::now() - began, 60ms);
}

TEST_F(BmcServerTest, WaitForIsAskedAtOnceAndEndsInTime) {
    int asked = 0;
    EXPECT_TRUE(server.waitFor(20s, [&](Rmc &) { return ++asked == 1; }));
    EXPECT_FALSE(server.waitFor(1ms, [](Rmc &) { return false; }));
}

TEST_F(BmcServerTest, WaitForSeesAnothersUse) {
    std::atomic<bool> waiting{false};
    std::thread other([&] {
        while (!waiting) std::this_thread::yield();
        server.use([](Rmc &used) { used.wire().ringDoorBell(); });
    });
    EXPECT_TRUE(server.waitFor(20s, [&](Rmc &used) {
        waiting = true;
        return used.wire().isDoorBellRung();
    }));
    other.join();
}

TEST_F(BmcServerTest, StopEndsTheConnectionAndStartServesAgain) {
    const std::uint16_t port = server.port();
    const BmcMachine machine(port);
    EXPECT_EQ(machine.ask(FLAGS), NO_FLAGS);
    server.stop();
    EXPECT_TRUE(machine.isEnded());
    EXPECT_EQ(server.port(), 0);
    server.stop();
    // The same port at once, though a connection to it has just ended.
    std::string error;
    ASSERT_TRUE(server.start(port, error)) << error;
    const BmcMachine again(port);
    EXPECT_EQ(again.ask(FLAGS), NO_FLAGS);
}

TEST_F(BmcServerTest, PortInUseIsRefused) {
    Rmc other;
    BmcServer second(other);
    std::string error;
    EXPECT_FALSE(second.start(server.port(), error));
    EXPECT_EQ(error, "127.0.0.1:" + std::to_string(server.port()) + ": Address already in use");
    EXPECT_EQ(second.port(), 0);
}

TEST_F(BmcServerTest, GarbageIsSurvived) {
    const BmcMachine machine(server.port());
    machine.send(Bytes(100'000, 0xAA));
    machine.send({0xA0});
    EXPECT_EQ(machine.ask(FLAGS), NO_FLAGS);
    EXPECT_EQ(server.statistics().brokenRules, 1u);
}

TEST_F(BmcServerTest, ReaderThatTakesNothingHoldsNothingUp) {
    const BmcMachine machine(server.port());
    Bytes many;
    for (int i = 0; i < 2000; ++i) many.insert(many.end(), FLAGS.begin(), FLAGS.end());
    std::thread sender([&] { machine.send(many); });
    server.use([](Rmc &used) { used.wire().ringDoorBell(); });
    EXPECT_EQ(machine.receive(2000 * NO_FLAGS.size()).size(), 2000 * NO_FLAGS.size());
    sender.join();
}

TEST_F(BmcServerTest, DescriptorsAreNotInherited) {
    const BmcMachine machine(server.port());
    EXPECT_EQ(machine.ask(FLAGS), NO_FLAGS);
    for (int fd = 3; fd < 64; ++fd) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0) continue;
        EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0) << fd;
    }
}

TEST_F(BmcServerTest, StopLeavesNoDescriptor) {
    server.stop();
    const auto before = names_in("/proc/self/fd").size();
    for (int round = 0; round < 2; ++round) {
        std::string error;
        ASSERT_TRUE(server.start(0, error)) << error;
        const BmcMachine machine(server.port());
        EXPECT_EQ(machine.ask(FLAGS), NO_FLAGS);
        server.stop();
    }
    EXPECT_EQ(names_in("/proc/self/fd").size(), before);
}

TEST(BmcServerThread, LeavesSignalsToItsOwner) {
    const std::set<std::string> before = names_in("/proc/self/task");
    Rmc rmc;
    BmcServer server(rmc);
    std::string error;
    ASSERT_TRUE(server.start(0, error)) << error;
    const BmcMachine machine(server.port());
    EXPECT_EQ(machine.ask(FLAGS), NO_FLAGS); // it runs
    const std::uint64_t owners = 1u << (SIGTERM - 1) | 1u << (SIGINT - 1) | 1u << (SIGCHLD - 1);
    std::size_t holdingBack = 0;
    for (const std::string &each : names_in("/proc/self/task")) {
        if (before.contains(each)) continue;
        std::ifstream status("/proc/self/task/" + each + "/status");
        std::string word;
        while (status >> word && word != "SigBlk:") {
        }
        std::uint64_t blocked = 0;
        status >> std::hex >> blocked;
        if ((blocked & owners) == owners) ++holdingBack;
    }
    EXPECT_GE(holdingBack, 1u);
}
