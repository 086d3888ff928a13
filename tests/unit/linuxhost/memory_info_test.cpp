#include <string>

#include <gtest/gtest.h>

#include "linuxhost/memory_info.h"

namespace {
TEST(MemoryInfo, SplitsTheMachineIntoKernelOthersAndFree) {
    const auto memory = parse_memory_info("MemTotal:       1048576 kB\n"
                                          "MemFree:          10240 kB\n"
                                          "MemAvailable:    524288 kB\n"
                                          "SUnreclaim:        1024 kB\n"
                                          "KernelStack:       1024 kB\n"
                                          "PageTables:        1024 kB\n"
                                          "Percpu:            1024 kB\n"
                                          "Committed_AS:   1572864 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->machineMiB, 1024u);
    EXPECT_EQ(memory->freeMiB, 512u) << "cache can be had";
    EXPECT_EQ(memory->kernelMiB, 4u);
    EXPECT_EQ(memory->nonKernelMiB, 508u);
    ASSERT_TRUE(memory->overcommitKnown);
    EXPECT_DOUBLE_EQ(memory->overcommit, 0.5);
}

TEST(MemoryInfo, OldKernelsTellWhatIsFreeOnly) {
    const auto memory = parse_memory_info("MemTotal: 2048 kB\nMemFree: 1024 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->freeMiB, 1u);
    EXPECT_FALSE(memory->overcommitKnown);
}

TEST(MemoryInfo, PromisesWithinTheMachineAreNoOvercommitment) {
    const auto memory =
        parse_memory_info("MemTotal: 2048 kB\nMemFree: 0 kB\nCommitted_AS: 2048 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_TRUE(memory->overcommitKnown);
    EXPECT_DOUBLE_EQ(memory->overcommit, 0.0);
}

TEST(MemoryInfo, ContradictionsAreCutToTheTotal) {
    const auto memory = parse_memory_info("MemTotal: 10240 kB\nMemAvailable: 99999999 kB\n"
                                          "SUnreclaim: 18446744073709551615 kB\n"
                                          "PageTables: 18446744073709551615 kB\n");
    ASSERT_TRUE(memory);
    EXPECT_EQ(memory->freeMiB, 10u);
    EXPECT_EQ(memory->kernelMiB, 0u);
    EXPECT_EQ(memory->nonKernelMiB, 0u);
}

struct BadCase {
    const char *name;
    const char *text;
};
void PrintTo(const BadCase &row, std::ostream *os) {
    *os << row.name;
}
const BadCase BAD_CASES[] = {
    {"Empty", ""},
    {"NoTotal", "MemFree: 1024 kB\n"},
    {"NoFree", "MemTotal: 1024 kB\n"},
    {"TotalZero", "MemTotal: 0 kB\nMemFree: 0 kB\n"},
    {"TotalNoNumber", "MemTotal: much\nMemFree: 1024 kB\n"},
    {"TotalBeyond64Bits", "MemTotal: 99999999999999999999 kB\nMemFree: 1024 kB\n"},
    {"TotalNegative", "MemTotal: -1 kB\nMemFree: 1024 kB\n"},
    {"CutWithinTheLine", "MemTotal:"},
    {"LabelWithinALine", "x MemTotal: 1024 kB\nMemFree: 1024 kB\n"},
    {"LongerLabel", "MemTotalX: 1024 kB\nMemFree: 1024 kB\n"},
};
class MemoryInfoBad : public ::testing::TestWithParam<BadCase> {};
TEST_P(MemoryInfoBad, GivesNothing) {
    EXPECT_FALSE(parse_memory_info(GetParam().text));
}
INSTANTIATE_TEST_SUITE_P(Texts, MemoryInfoBad, ::testing::ValuesIn(BAD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
