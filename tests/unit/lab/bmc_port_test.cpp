#include "bmc/BmcPort.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/BmcMachine.h"

namespace {
using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds PATIENCE{20}; // a test that works never waits so long
constexpr int PIECE_OF_PATIENCE_MS = 5, SMALL_BUFFER_BYTES = 32768;

const Bytes FLAGS = bmc_request(1, 0x06, 0x31), NO_FLAGS = bmc_answer(1, 0x06, 0x31, 0, {0});

Bytes repeated(const Bytes &bytes, std::size_t times) {
    Bytes all;
    for (std::size_t i = 0; i < times; ++i) all.insert(all.end(), bytes.begin(), bytes.end());
    return all;
}

class BmcPortTest : public ::testing::Test {
protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(port.open(0, error)) << error;
        machine = std::make_unique<BmcMachine>(port.port(), SMALL_BUFFER_BYTES);
        ASSERT_TRUE(serveUntil([&] { return statistics().connections == 1; }));
    }
    const BMC_STATISTICS &statistics() { return port.controller().statistics(); }
    std::vector<pollfd> wanted() const {
        std::vector<pollfd> all;
        port.addTo(all);
        return all;
    }
    bool isConnected() const { return wanted().size() == 2; }
    int wantedOfConnection() const { return isConnected() ? wanted()[1].events : 0; }
    /// @return whether the poll found something
    bool serve(int timeoutMs) {
        std::vector<pollfd> found = wanted();
        const bool something = ::poll(found.data(), found.size(), timeoutMs) > 0;
        port.serve(found);
        return something;
    }
    /// @return false: out of patience
    bool serveUntil(const std::function<bool()> &holds) {
        const auto end = Clock::now() + PATIENCE;
        while (!holds()) {
            if (Clock::now() > end) return false;
            serve(PIECE_OF_PATIENCE_MS);
        }
        return true;
    }
    /// The machine sends requests and takes no answer until the port reads no more.
    /// @param sent  takes the bytes @return false: out of patience
    bool fill(std::size_t &sent) {
        const Bytes many = repeated(FLAGS, 200);
        sent = 0;
        return serveUntil([&] {
            while (const std::size_t some = machine->sendSome(many, sent % many.size()))
                sent += some;
            return (wantedOfConnection() & POLLIN) == 0;
        });
    }

    Rmc rmc;
    BmcPort port{rmc};
    std::unique_ptr<BmcMachine> machine;
};
} // namespace

TEST_F(BmcPortTest, WaitsForBytesAloneWhileAllIsSent) {
    EXPECT_EQ(wantedOfConnection(), POLLIN);
    machine->send(FLAGS);
    ASSERT_TRUE(serveUntil([&] { return statistics().requests == 1; }));
    EXPECT_EQ(machine->receive(NO_FLAGS.size()), NO_FLAGS);
    EXPECT_EQ(wantedOfConnection(), POLLIN);
    EXPECT_FALSE(serve(0));
}

TEST_F(BmcPortTest, ReadsNoMoreOfAMachineThatTakesNothingAndLosesNoAnswer) {
    std::size_t sent = 0;
    ASSERT_TRUE(fill(sent));
    EXPECT_EQ(wantedOfConnection(), POLLOUT);

    const Bytes expected = repeated(NO_FLAGS, sent / FLAGS.size());
    Bytes answers;
    EXPECT_TRUE(serveUntil([&] {
        const Bytes some = machine->receiveSome();
        answers.insert(answers.end(), some.begin(), some.end());
        return answers.size() >= expected.size();
    }));
    EXPECT_TRUE(answers == expected) << answers.size() << " bytes, not " << expected.size();
    EXPECT_TRUE(serveUntil([&] { return wantedOfConnection() == POLLIN; }));
}

TEST_F(BmcPortTest, NextMachineGetsNothingThatTheFormerDidNotTake) {
    std::size_t sent = 0;
    ASSERT_TRUE(fill(sent));
    const BmcMachine next(port.port());
    ASSERT_TRUE(serveUntil([&] { return statistics().connections == 2; }));
    next.send(bmc_request(7, 0x06, 0x2F));
    ASSERT_TRUE(serveUntil([&] { return next.isReadable(0); }));
    const Bytes answer = bmc_answer(7, 0x06, 0x2F, 0, {0x08});
    EXPECT_EQ(next.receive(answer.size()), answer);
}

TEST_F(BmcPortTest, MachineThatGoesWithAnswersUntakenIsDropped) {
    std::size_t sent = 0;
    ASSERT_TRUE(fill(sent));
    machine.reset();
    EXPECT_TRUE(serveUntil([&] { return !isConnected(); }));
    EXPECT_FALSE(serve(0));
}

TEST_F(BmcPortTest, ListensOnTheLoopbackInterfaceAlone) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(::getsockname(wanted()[0].fd, reinterpret_cast<sockaddr *>(&address), &length), 0);
    EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_LOOPBACK));
    EXPECT_EQ(address.sin_port, htons(port.port()));
}

TEST_F(BmcPortTest, MachineThatHasGoneIsNotPolledAnyMore) {
    machine.reset();
    EXPECT_TRUE(serveUntil([&] { return !isConnected(); }));
    EXPECT_FALSE(serve(0));
}

TEST_F(BmcPortTest, WithoutAMachineNothingHasATime) {
    EXPECT_EQ(port.timeoutMs(), -1);
    machine->send(bmc_request(1, 0x06, 0x24, {4, 0, 0, 0, 0xFF, 0xFF}));
    machine->send(bmc_request(2, 0x06, 0x22));
    ASSERT_TRUE(serveUntil([&] { return statistics().requests == 2; }));
    EXPECT_GT(port.timeoutMs(), 6'000'000);
    EXPECT_LE(port.timeoutMs(), 6'553'500);
    machine.reset();
    ASSERT_TRUE(serveUntil([&] { return !isConnected(); }));
    EXPECT_EQ(port.timeoutMs(), -1);
}
