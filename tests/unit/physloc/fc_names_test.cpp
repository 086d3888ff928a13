#include "physloc/fc_names.h"

#include <ostream>
#include <sstream>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {
using PAIRS = std::vector<std::pair<std::string, std::string>>;

struct ReaderCase {
    const char *name;
    FC_LINES lines;
    std::string text;
    PAIRS pairs;
    int parts;    // lines after which a half was missing
    bool foreign; // the first line ended it
};
const ReaderCase READER_CASES[] = {
    {"TopologyPair",
     FC_LINES_TOPOLOGY,
     "   Address: 0000:24:00.0\n   VMkernel Name: vmhba3\n",
     {{"0000:24:00.0", "vmhba3"}},
     1,
     false},
    {"TopologyOfAWholeHost",
     FC_LINES_TOPOLOGY,
     "   Address: 0000:00:1f.0\n   VMkernel Name: \n   Address: 0000:24:00.0\n"
     "   VMkernel Name: vmhba3\n   Device Layer Bus Address: s00000003.00\n"
     "   Address: 0000:c3:00.0\n   VMkernel Name: vmnic0\n",
     {{"0000:24:00.0", "vmhba3"}, {"0000:c3:00.0", "vmnic0"}},
     5,
     false},
    {"NameOfCapitalLetterIsIgnored",
     FC_LINES_TOPOLOGY,
     "Address: a\nVMkernel Name: Vmhba3\nVMkernel Name: other\n",
     {},
     3,
     false},
    {"NameIsTheTextFromTheFirstSmallV",
     FC_LINES_TOPOLOGY,
     "Address: a\nVMkernel Name: x vmhba3 vmhba4\n",
     {{"a", "vmhba3 vmhba4"}},
     1,
     false},
    {"NameInFrontOfItsKey",
     FC_LINES_TOPOLOGY,
     "Address: a\n v VMkernel Name:\n",
     {{"a", "v VMkernel Name:"}},
     1,
     false},
    {"AddressBeginsTwoBehindTheFirstColon",
     FC_LINES_TOPOLOGY,
     "PCI:Address: x\n VMkernel Name: v\n",
     {{"ddress: x", "v"}},
     1,
     false},
    {"BothHalvesInOneLine",
     FC_LINES_TOPOLOGY,
     "Address: VMkernel Name: v1\n",
     {{"VMkernel Name: v1", "v1"}},
     0,
     false},
    {"EmptyAddressIsNone",
     FC_LINES_TOPOLOGY,
     "Address: \nVMkernel Name: v1\nAddress: a\n",
     {{"a", "v1"}},
     2,
     false},
    {"ColonAtTheVeryEnd", FC_LINES_TOPOLOGY, "Address: a\nAddress: b:\n", {}, 2, false},
    {"LineOfOtherKindBeforeTheNameChangesNothing",
     FC_LINES_TOPOLOGY,
     "Address: a\nfoo\nVMkernel Name: v1\n",
     {{"a", "v1"}},
     2,
     false},
    {"LaterAddressReplacesTheEarlier",
     FC_LINES_TOPOLOGY,
     "Address: a\nAddress: b\nVMkernel Name: v1",
     {{"b", "v1"}},
     2,
     false},
    {"AfterAPairBothAreNeededAnew",
     FC_LINES_TOPOLOGY,
     "Address: a\nVMkernel Name: v1\nVMkernel Name: v2\n",
     {{"a", "v1"}},
     2,
     false},
    {"TopologyWithForeignFirstLine",
     FC_LINES_TOPOLOGY,
     "VMkernel Name: v1\nAddress: a\nVMkernel Name: v2\n",
     {},
     0,
     true},
    {"EmptyFirstLineIsForeign",
     FC_LINES_TOPOLOGY,
     "\nAddress: a\n VMkernel Name: v\n",
     {},
     0,
     true},
    {"NoLines", FC_LINES_TOPOLOGY, "", {}, 0, false},
    {"NodePair",
     FC_LINES_NODES,
     "   Adapter: vmhba3\n   Node Name: 20:00:02:00:5e:00:00:a1\n",
     {{"vmhba3", "20:00:02:00:5e:00:00:a1"}},
     1,
     false},
    {"NodesOfTwoAdapters",
     FC_LINES_NODES,
     "Adapter: vmhba3\nNode Name: a1\nAdapter: vmhba4\nNode Name: a2\n",
     {{"vmhba3", "a1"}, {"vmhba4", "a2"}},
     2,
     false},
    {"NodeWithoutNameLeavesItsAdapterToTheNext",
     FC_LINES_NODES,
     "Adapter: vmhba3\nNode Name:\nAdapter: vmhba4\nNode Name: a2\n",
     {{"vmhba4", "a2"}},
     3,
     false},
    {"NodesWithForeignFirstLine", FC_LINES_NODES, "Node Name: a1\nAdapter: v\n", {}, 0, true},
    {"TopologyIsForeignToNodes", FC_LINES_NODES, "Address: a\nVMkernel Name: v1\n", {}, 0, true},
    {"BytesThatAreNoText",
     FC_LINES_NODES,
     std::string("Adapter: \xFF\0\x01\nNode Name: \x80\n", 26),
     {{std::string("\xFF\0\x01", 3), "\x80"}},
     1,
     false},
};
void PrintTo(const ReaderCase &row, std::ostream *os) {
    *os << row.name;
}
class FcPairs : public ::testing::TestWithParam<ReaderCase> {};
TEST_P(FcPairs, AreReadLineByLine) {
    std::istringstream in(GetParam().text);
    orbFcPairReader reader(GetParam().lines);
    PAIRS pairs;
    int parts = 0;
    bool foreign = false;
    for (std::string line; !foreign && read_fc_line(in, line);) {
        const orbFcPairReader::STEP step = reader.read(line);
        if (step == orbFcPairReader::PAIR) pairs.emplace_back(reader.first(), reader.second());
        if (step == orbFcPairReader::PART) ++parts;
        foreign = step == orbFcPairReader::FOREIGN;
    }
    EXPECT_EQ(pairs, GetParam().pairs);
    EXPECT_EQ(parts, GetParam().parts);
    EXPECT_EQ(foreign, GetParam().foreign);
}
INSTANTIATE_TEST_SUITE_P(Texts, FcPairs, ::testing::ValuesIn(READER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(FcLines, EndWithOrWithoutNewline) {
    std::istringstream in("a\n\nb");
    std::string line;
    ASSERT_TRUE(read_fc_line(in, line));
    EXPECT_EQ(line, "a");
    ASSERT_TRUE(read_fc_line(in, line));
    EXPECT_EQ(line, "");
    ASSERT_TRUE(read_fc_line(in, line));
    EXPECT_EQ(line, "b");
    EXPECT_FALSE(read_fc_line(in, line));
    EXPECT_EQ(line, "");
}

TEST(FcLines, HugeOneIsCutAndTheNextIsWhole) {
    std::istringstream in(std::string(1000000, 'x') + "\nnext\n");
    std::string line;
    ASSERT_TRUE(read_fc_line(in, line));
    EXPECT_EQ(line, std::string(4096, 'x'));
    ASSERT_TRUE(read_fc_line(in, line));
    EXPECT_EQ(line, "next");
}
} // namespace
