#include "network/nic_list.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
using Rows = std::vector<std::vector<std::string>>;
using Links = std::vector<std::pair<std::string, std::string>>;

constexpr char HEAD[] =
    "Name    PCI Device    Driver  Admin Status  Link Status  Speed  Duplex  MAC Address         "
    "MTU  Description\n"
    "------  ------------  ------  ------------  -----------  -----  ------  -----------------  "
    "----  -------------------------------------------------\n";
constexpr char ROW[] =
    "vmnic0  0000:c3:00.0  igbn    Up            Up            1000  Full    02:00:5e:10:20:30  "
    "1500  Intel Corporation I350 Gigabit Network Connection\n";
const std::vector<std::string> FIELDS = {
    "vmnic0", "0000:c3:00.0",
    "igbn",   "Up",
    "Up",     "1000",
    "Full",   "02:00:5e:10:20:30",
    "1500",   "Intel Corporation I350 Gigabit Network Connection"};
const std::vector<std::string> PLAIN = {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j"};

struct ListCase {
    const char *name;
    std::string text;
    int code;
    Rows rows;
};
void PrintTo(const ListCase &row, std::ostream *os) {
    *os << row.name;
}
const ListCase LIST_CASES[] = {
    {"WholeTable", std::string(HEAD) + ROW + ROW, 0, {FIELDS, FIELDS}},
    {"NoLineAtAll", "", 0, {}},
    {"TwoHeadLinesAlone", HEAD, 0, {}},
    {"OneHeadLineAlone", "Name", 0, {}},
    {"NameAnywhereInTheFirstLine", "No Names here\n\na b c d e f g h i j\n", 0, {PLAIN}},
    {"FirstLineWithoutName", std::string("Connection refused\n") + HEAD + ROW, -1, {}},
    {"FirstLineInOtherLetters", "NAME name\n\n", -1, {}},
    {"EmptyFirstLine", std::string("\n") + HEAD, -1, {}},
    {"SecondLineIsSkippedWhateverItHolds", "Name\na b c d e f g h i j\n", 0, {}},
    {"ExactlyTenWords", "Name\n--\na b c d e f g h i j\n", 0, {PLAIN}},
    {"LastLineWithoutNewline", "Name\n--\na b c d e f g h i j", 0, {PLAIN}},
    {"NineWords", "Name\n--\na b c d e f g h i\n", -2, {}},
    {"RowsBeforeABadOneStay",
     "Name\n--\na b c d e f g h i j\nshort\na b c d e f g h i j\n",
     -2,
     {PLAIN}},
    {"EmptyLineAtTheEnd", "Name\n--\na b c d e f g h i j\n\n", -2, {PLAIN}},
    {"LineOfBlanks", "Name\n--\n   \t \n", -2, {}},
    {"FurtherWordsJoinTheTenth",
     "Name\n--\na b c d e f g h i j   k\tl \n",
     0,
     {{"a", "b", "c", "d", "e", "f", "g", "h", "i", "j k l"}}},
    {"EveryWhiteSpaceSeparates", "Name\n--\n\ta\vb\fc d\re f g h i j\r\n", 0, {PLAIN}},
    {"NineColumnsWithALongDescriptionShift",
     "Name\n--\nvmnic0 0000:002:00.0 igb Up 1000 Full 02:00:5e:10:20:40 1500 Intel I350\n",
     0,
     {{"vmnic0", "0000:002:00.0", "igb", "Up", "1000", "Full", "02:00:5e:10:20:40", "1500", "Intel",
       "I350"}}},
    {"BytesThatAreNoText",
     std::string("Name\n--\n\xff\xfe b c d e f g h i \0j\n", 30),
     0,
     {{"\xff\xfe", "b", "c", "d", "e", "f", "g", "h", "i", std::string("\0j", 2)}}},
};
class NicList : public ::testing::TestWithParam<ListCase> {};
TEST_P(NicList, GivesCodeAndRows) {
    Rows rows = {{"of a former call"}};
    EXPECT_EQ(read_nic_list(GetParam().text, rows), GetParam().code);
    EXPECT_EQ(rows, GetParam().rows);
}
INSTANTIATE_TEST_SUITE_P(Tables, NicList, ::testing::ValuesIn(LIST_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(NicListFields, StandWhereTheTableHasThem) {
    Rows rows;
    ASSERT_EQ(read_nic_list(std::string(HEAD) + ROW, rows), 0);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][NIC_NAME], "vmnic0");
    EXPECT_EQ(rows[0][NIC_PCI_DEVICE], "0000:c3:00.0");
    EXPECT_EQ(rows[0][NIC_DRIVER], "igbn");
    EXPECT_EQ(rows[0][NIC_LINK_STATUS], "Up");
    EXPECT_EQ(rows[0][NIC_SPEED], "1000");
    EXPECT_EQ(rows[0][NIC_MAC_ADDRESS], "02:00:5e:10:20:30");
    EXPECT_EQ(rows[0].size(), std::size_t{NIC_FIELDS});
}

TEST(NicListFields, HugeLineIsOneRow) {
    const std::string huge(1 << 20, 'x');
    Rows rows;
    ASSERT_EQ(read_nic_list("Name\n--\na b c d e f g h i " + huge + " " + huge + "\n", rows), 0);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0][NIC_DESCRIPTION].size(), 2 * huge.size() + 1);
}

struct LinkCase {
    const char *name;
    std::string text;
    Links links;
};
void PrintTo(const LinkCase &row, std::ostream *os) {
    *os << row.name;
}
const LinkCase LINK_CASES[] = {
    {"WholeTable",
     "Name Admin\n------ -----------\nvmnic0 Up\nvmnic1 Down\n",
     {{"vmnic0", "Up"}, {"vmnic1", "Down"}}},
    {"NoLineAtAll", "", {}},
    {"TwoHeadLinesAlone", "Name Admin\n------ -----------\n", {}},
    {"HeadsAreSkippedWhateverTheyHold", "vmnic0 Up\nvmnic1 Up\nvmnic2 Up\n", {{"vmnic2", "Up"}}},
    {"OneWordIsPassedOver", "\n\nvmnic0\nvmnic1 Up\n", {{"vmnic1", "Up"}}},
    {"OneWordAndABlankIsPassedOver", "\n\nvmnic0 \nvmnic1 Up\n", {{"vmnic1", "Up"}}},
    {"ThreeWordsArePassedOver", "\n\nvmnic0 Up Up\nvmnic1 Up\n", {{"vmnic1", "Up"}}},
    {"EmptyLineIsPassedOver", "\n\n\nvmnic1 Up\n", {{"vmnic1", "Up"}}},
    {"WhiteSpaceAround", "\n\n\t vmnic1 \t Up \r\n", {{"vmnic1", "Up"}}},
    {"LastLineWithoutNewline", "\n\nvmnic1 Up", {{"vmnic1", "Up"}}},
    {"LettersStayAsTheyAre", "\n\nVMNIC1 uP\n", {{"VMNIC1", "uP"}}},
};
class LinkTable : public ::testing::TestWithParam<LinkCase> {};
TEST_P(LinkTable, GivesNamesAndLinks) {
    EXPECT_EQ(read_link_table(GetParam().text), GetParam().links);
}
INSTANTIATE_TEST_SUITE_P(Tables, LinkTable, ::testing::ValuesIn(LINK_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
