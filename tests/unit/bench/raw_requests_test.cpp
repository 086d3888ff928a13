#include "bench/vm/raw_requests.h"

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "rmc/Rmc.h"

namespace {
struct LengthCase {
    const char *name;
    std::size_t messages;
};
const LengthCase LENGTH_CASES[] = {
    {"Fewest", BENCH_FEWEST_MESSAGES},
    {"OneMore", BENCH_FEWEST_MESSAGES + 1},
    {"TwoThousand", 2000},
};
void PrintTo(const LengthCase &row, std::ostream *os) {
    *os << row.name;
}

class BenchDocument : public ::testing::TestWithParam<LengthCase> {};
TEST_P(BenchDocument, FillsItsMessagesToTheLastByte) {
    const std::string document = bench_document(GetParam().messages);
    const std::vector<RMC_MESSAGE> messages = bench_messages(document);
    ASSERT_EQ(messages.size(), GetParam().messages);
    EXPECT_EQ(messages.back()[RMC_MESSAGE_BYTES - 1], 0);
    EXPECT_EQ(messages.back()[RMC_MESSAGE_BYTES - 2], '}');
}

TEST_P(BenchDocument, ControllerTakesAndKeepsItWithoutAReproach) {
    Rmc rmc;
    std::string error;
    ASSERT_TRUE(rmc.loadSchemas(ORB_SOURCE_DIR "/schema", error)) << error;
    RMC_BEHAVIOUR behaviour;
    behaviour.force.handle = BENCH_HANDLE;
    rmc.behave(behaviour);
    const std::string document = bench_document(GetParam().messages);
    // A list is sent more than once, so no answer may depend on a former transfer.
    for (int round = 0; round < 2; ++round) {
        for (const RMC_MESSAGE &message : bench_messages(document)) {
            const RMC_REPLY reply = rmc.message(RMC_NETFN, RMC_CMD_TRANSFER, message);
            ASSERT_EQ(reply.answer.completionCode, 0);
            ASSERT_EQ(reply.answer.data, (std::vector<std::uint8_t>{0, BENCH_HANDLE, 0, 0}));
        }
        const std::vector<RMC_DOCUMENT> taken = rmc.takeInventories();
        ASSERT_EQ(taken.size(), 1u);
        EXPECT_EQ(taken.front().text, document);
    }
    EXPECT_EQ(rmc.takeViolations(), std::vector<std::string>{});
}
INSTANTIATE_TEST_SUITE_P(Lengths, BenchDocument, ::testing::ValuesIn(LENGTH_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(RawRequestLists, HoldEachMessageInTheToolsOwnForm) {
    RMC_MESSAGE first{}, second{};
    first[0] = 0xA0;
    second[RMC_MESSAGE_BYTES - 1] = 0x7F;
    std::string zerosIpmitool, zerosFreeipmi;
    for (std::size_t i = 1; i < RMC_MESSAGE_BYTES; ++i) {
        zerosIpmitool += " 0x00";
        zerosFreeipmi += " 00";
    }
    EXPECT_EQ(ipmitool_list({first, second}),
              "raw 0x3a 0x80 0xa0" + zerosIpmitool + "\nraw 0x3a 0x80" + zerosIpmitool + " 0x7f\n");
    EXPECT_EQ(freeipmi_list({first, second}),
              "00 3a 80 a0" + zerosFreeipmi + "\n00 3a 80" + zerosFreeipmi + " 7f\n");
    EXPECT_EQ(ipmitool_list({}), "");
}
} // namespace
