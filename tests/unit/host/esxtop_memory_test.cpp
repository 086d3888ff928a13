#include "host/esxtop_memory.h"

#include <cstdint>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {
constexpr std::int64_t LAST = std::numeric_limits<std::int64_t>::max();
const std::string TOTAL = R"("\\h\Memory\Machine MBytes",)", FREE = R"("\\h\Memory\Free MBytes",)";
const std::string HEADS = R"("time",)" + TOTAL + FREE + "\n";

struct OutputCase {
    const char *name;
    std::string output;
    std::int64_t total, free;
};
void PrintTo(const OutputCase &row, std::ostream *os) {
    *os << row.name;
}
const OutputCase OUTPUT_CASES[] = {
    {"Plain", HEADS + R"("t","4096","1024",)" + "\n", 4096, 1024},
    {"Decimals", HEADS + R"("t","4096.75","1024.99",)" + "\n", 4096, 1024},
    {"OtherOrder", R"("time",)" + FREE + TOTAL + "\n" + R"("t","1024","4096",)" + "\n", 4096, 1024},
    {"WithoutLastNewline", HEADS + R"("t","4096","1024",)", 4096, 1024},
    {"WithoutLastComma", HEADS + R"("t","4096","1024")", 4096, 1024},
    {"HeadsWithoutLastComma",
     R"("time",)" + TOTAL + R"("\\h\Memory\Free MBytes")" + "\n" + R"("t","4096","1024",)" + "\n",
     0, 0},
    {"Empty", "", 0, 0},
    {"OnlyHeads", HEADS, 0, 0},
    {"OnlyValues", "\n\"t\",\"4096\",\"1024\",\n", 0, 0},
    {"NoTotalHead", R"("time",)" + FREE + "\n" + R"("t","1024",)" + "\n", 0, 1024},
    {"NoFreeHead", R"("time",)" + TOTAL + "\n" + R"("t","4096",)" + "\n", 4096, 0},
    {"TooFewValues", HEADS + R"("t","4096",)" + "\n", 4096, 0},
    {"TotalInTheFirstPiece", TOTAL + FREE + "\n" + R"("4096","1024",)" + "\n", 0, 1024},
    {"NearMisses",
     R"("\\h\Group Memory(1:x)\Memory Size MBytes","\\h\Memory\Kernel MBytes",)" + HEADS +
         R"("1","2","t","4096","1024",)" + "\n",
     4096, 1024},
    {"FreeOfAnotherGroup",
     R"("\\h\Numa Node\Free MBytes",)" + HEADS + R"("7","t","4096","1024",)" + "\n", 4096, 1024},
    {"LastOfTwoHeadsCounts", R"("time",)" + TOTAL + TOTAL + "\n" + R"("t","1","2",)" + "\n", 2, 0},
    {"OneHeadForBoth",
     R"("time","Machine MBytes \Memory\Free MBytes",)"
     "\n"
     R"("t","9",)"
     "\n",
     9, 9},
    {"SecondLineOfValuesReplaces", HEADS + R"("t","1","2",)" + "\n" + R"("t","3","4",)" + "\n", 3,
     4},
    {"SecondOutputReplaces", HEADS + R"("t","1","2",)" + "\n" + HEADS + R"("t","3","4",)" + "\n", 3,
     4},
    {"WordsKeepTheEarlierValue", HEADS + R"("t","1","2",)" + "\n" + R"("t","x","",)" + "\n", 1, 2},
    {"NoQuote", HEADS + "\"t\",4096, \"1024\",\n", 0, 0},
    {"BlankBehindTheQuote", HEADS + R"("t"," 4096","	1024",)" + "\n", 4096, 1024},
    {"Negative", HEADS + R"("t","-4096","-1",)" + "\n", -4096, -1},
    {"TooLarge", HEADS + R"("t","99999999999999999999","-99999999999999999999",)" + "\n", LAST,
     std::numeric_limits<std::int64_t>::min()},
    {"HexadecimalStopsAtX", HEADS + R"("t","0x10","010",)" + "\n", 0, 10},
    {"CarriageReturns", R"("time",)" + TOTAL + FREE + "\r\n" + R"("t","4096","1024",)" + "\r\n", 0,
     0},
    {"MessageInFront", "unknown terminal\n" + HEADS + R"("t","4096","1024",)" + "\n", 4096, 1024},
    {"NewlineInFrontHidesTheHeads", "\n" + HEADS + R"("t","4096","1024",)" + "\n", 0, 0},
    {"NoCommas", std::string(100000, 'x'), 0, 0},
    {"OnlyCommas", std::string(100000, ','), 0, 0},
    {"OnlyNewlines", std::string(100000, '\n'), 0, 0},
    {"NulBytes",
     HEADS + std::string("\"t\",\"40\0"
                         "96\",\"1024\",\n",
                         20),
     40, 1024},
};
class EsxtopOutput : public ::testing::TestWithParam<OutputCase> {};
TEST_P(EsxtopOutput, GivesTotalAndFree) {
    std::istringstream in(GetParam().output);
    const ORB_ESXTOP_MEMORY memory = read_esxtop_memory(in);
    EXPECT_EQ(memory.totalMBytes, GetParam().total);
    EXPECT_EQ(memory.freeMBytes, GetParam().free);
}
INSTANTIATE_TEST_SUITE_P(Outputs, EsxtopOutput, ::testing::ValuesIn(OUTPUT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

ORB_ESXTOP_MEMORY read_text(const std::string &text) {
    std::istringstream in(text);
    return read_esxtop_memory(in);
}

TEST(EsxtopMemory, ExampleServer) {
    std::ifstream in(ORB_TEST_DATA "/example-server/esxtop.csv");
    const ORB_ESXTOP_MEMORY memory = read_esxtop_memory(in);
    EXPECT_EQ(memory.totalMBytes, 1048575);
    EXPECT_EQ(memory.freeMBytes, 984255);
}

TEST(EsxtopMemory, PieceIsCutAtFourKibibytes) {
    // The head's text lies at the piece's end: within the limit it is seen, one byte on it is not.
    const std::string head = "Machine MBytes";
    for (const std::size_t size : {4096u, 4097u}) {
        const std::string text = "\"time\"," + std::string(size - head.size(), 'x') + head + ",\n" +
                                 R"("t","4096",)" + "\n";
        EXPECT_EQ(read_text(text).totalMBytes, size == 4096 ? 4096 : 0) << size;
    }
}

TEST(EsxtopMemory, RestOfALongPieceIsDroppedUpToTheComma) {
    const std::string text =
        "\"time\"," + std::string(9000, 'x') + "," + TOTAL + "\n" + R"("t","1","4096",)" + "\n";
    EXPECT_EQ(read_text(text).totalMBytes, 4096);
}

TEST(EsxtopMemory, ThousandsOfColumns) {
    std::string heads = "\"time\",", values = "\n\"t\",";
    for (int i = 0; i < 50000; ++i) {
        heads += R"("\\h\Group Cpu(1:vm)\% Used",)";
        values += "\"0.07\",";
    }
    const ORB_ESXTOP_MEMORY memory =
        read_text(heads + TOTAL + FREE + values + R"("4096","1024",)" + "\n");
    EXPECT_EQ(memory.totalMBytes, 4096);
    EXPECT_EQ(memory.freeMBytes, 1024);
}

TEST(EsxtopMemory, StreamThatCannotBeReadGivesNothing) {
    std::ifstream in("/"); // a directory opens, and fails to read
    const ORB_ESXTOP_MEMORY memory = read_esxtop_memory(in);
    EXPECT_EQ(memory.totalMBytes, 0);
}
} // namespace
