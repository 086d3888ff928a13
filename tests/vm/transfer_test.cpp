#include <cstdio>
#include <regex>

#include "VmTest.h"

namespace {
constexpr std::uint8_t EXIT_STATUS = 0x5A;

struct StatusCase {
    std::uint8_t status;
    const char *text; ///< null: the transfer counts as delivered
};
const StatusCase STATUSES[] = {
    {1, nullptr},
    {2, nullptr},
    {3, "Transfer Status is 0x3[Error in index] and Cmd Exit Status is 0x5a"},
    {4, "Transfer Status is 0x4[Cli entries full] and Cmd Exit Status is 0x5a"},
    {5, "Transfer Status is 0x5[Provided command not supported] and Cmd Exit Status is 0x5a"},
    {6, "Transfer Status is 0x6[Memory could not be allocated] and Cmd Exit Status is 0x5a"},
    {7, "RMC Cli Command Execution failed"},
    {8, "Transfer Status is 0x8[Request command length exceeded] and Cmd Exit Status is 0x5a. "
        "Payload size:"},
    {9, "RMC Cli Command Execution failed"},
    {0x42, "RMC Cli Command Execution failed"},
};
} // namespace

class TransferTest : public VmTest {
protected:
    /// The lines of this run's log behind a mark that hold a text.
    std::string lines(const std::string &text, std::size_t mark) {
        std::string found, line;
        for (std::istringstream all(daemon->since(mark)); std::getline(all, line);)
            if (line.find(text) != std::string::npos) found += line + "\n";
        return found;
    }
    /// An answer to one message of the next transfer, the third one.
    void bendOnce(const RMC_FORCE &force) {
        RMC_BEHAVIOUR behaviour;
        behaviour.force = force;
        behaviour.skip = 2;
        behaviour.times = 1;
        rmc.behave(behaviour);
    }
};

TEST_F(TransferTest, EachStatusIsToldAndTheNextSendSucceeds) {
    reporting();
    for (const StatusCase &row : STATUSES) {
        SCOPED_TRACE("status " + std::to_string(row.status));
        std::size_t mark = daemon->mark();
        RMC_FORCE force;
        force.transferStatus = row.status;
        force.exitStatus = EXIT_STATUS;
        bendOnce(force);
        if (row.text == nullptr) {
            freshInventory();
            ASSERT_TRUE(daemon->awaitLog(DELIVERED, mark));
            EXPECT_EQ(lines("[ERROR]", mark), "");
            continue;
        }
        rmc.ring();
        ASSERT_TRUE(
            daemon->awaitLog("An Error occurred in delivering inventory string to RMC!", mark));
        EXPECT_TRUE(std::regex_match(
            lines("[ERROR]", mark),
            std::regex("[A-Z][a-z]{2} [0-9]{1,2} [0-9:]{8} \\[ERROR\\]   [0-9]{3} IPMI: "
                       "[^\n]*\n"
                       "[A-Z][a-z]{2} [0-9]{1,2} [0-9:]{8} \\[ERROR\\]   [0-9]{3} JSON_AGGR: An "
                       "Error occurred in delivering inventory string to RMC!\n")))
            << lines("[ERROR]", mark);
        const std::string told = lines(row.text, mark);
        EXPECT_NE(told, "") << lines("[ERROR]", mark);

        mark = daemon->mark();
        const std::string next = freshInventory();
        if (row.status == 8) {
            EXPECT_NE(told.find("Payload size:" + std::to_string(next.size()) + "\n"),
                      std::string::npos)
                << told;
        }
        ASSERT_TRUE(daemon->awaitLog(DELIVERED, mark));
        EXPECT_EQ(lines("[ERROR]", mark), "");
    }
}

// The interface gives an answer of its own when the controller takes four seconds: a completion
// code, which counts as taken. The RMC has then forgotten the transfer and refuses what follows.
TEST_F(TransferTest, MessageWithoutAnswerCostsFourSecondsAndOneTransfer) {
    reporting();
    const std::size_t mark = daemon->mark();
    RMC_BEHAVIOUR silent;
    silent.silent = true;
    silent.times = 1;
    const auto began = std::chrono::steady_clock::now();
    ASSERT_TRUE(rmc.behaveWithin(silent, NEXT_INVENTORY));
    ASSERT_TRUE(daemon->awaitLog("An Error occurred in delivering inventory string to RMC!", mark))
        << daemon->toldSince(mark);
    EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::seconds(4));
    EXPECT_NE(lines("Transfer Status is 0x3[Error in index]", mark), "") << daemon->toldSince(mark);
    EXPECT_EQ(rmc.server().statistics().givenUp, 1u);
    rmc.behave({});
    freshInventory();
}

TEST_F(TransferTest, ControllerThatSaysNothingAtAllComesBack) {
    reporting();
    RMC_BEHAVIOUR silent;
    silent.silent = true;
    rmc.server().resetStatistics();
    rmc.behave(silent);
    const std::size_t silence = daemon->mark();
    const auto began = std::chrono::steady_clock::now();
    // The first poll may have had its answer just before.
    ASSERT_TRUE(daemon->awaitPolls(2, silence, VmDaemon::SECONDS(30)));
    EXPECT_GE(std::chrono::steady_clock::now() - began, std::chrono::milliseconds(3900));
    EXPECT_EQ(lines("[ERROR]", silence), "") << "an unanswered poll is no failure to the daemon";
    const std::size_t mark = daemon->mark();
    rmc.behave({});
    freshInventory();
    EXPECT_GE(rmc.server().statistics().givenUp, 1u);
    EXPECT_EQ(lines("[ERROR]", mark), "");
}

// Without the line the interface answers at once with a completion code, which nobody looks at: the
// daemon takes the inventory for delivered. The next one comes whole.
TEST_F(TransferTest, LineThatIsCutWithinATransferLosesItUnnoticed) {
    reporting();
    const std::size_t mark = daemon->mark();
    RMC_BEHAVIOUR slow;
    slow.delayMs = 300;
    ASSERT_TRUE(rmc.behaveWithin(slow, NEXT_INVENTORY));
    rmc.cut();
    ASSERT_TRUE(daemon->awaitLog(DELIVERED, mark)) << daemon->toldSince(mark);
    EXPECT_TRUE(rmc.inventories().empty());
    rmc.behave({});
    rmc.mend();
    freshInventory();
    EXPECT_EQ(lines("[ERROR]", mark), "");
}
