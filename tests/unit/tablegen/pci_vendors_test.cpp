#include "tools/tablegen/pci_vendors.h"

#include <string>

#include <gtest/gtest.h>

namespace {
constexpr char GOOD[] = "#\n"
                        "# A comment\n"
                        "\n"
                        "0000  Below the range\n"
                        "0001  First\n"
                        "\t0001  Device\n"
                        "\t\t0001 0002  Subsystem\n"
                        "8086  \"Quoted\" Name, 2 \\ Parts\n"
                        "fffe  Last\n"
                        "ffff  Above the range\n"
                        "\n"
                        "C 00  Unclassified device\n"
                        "\t00  Non-VGA unclassified device\n"
                        "not looked at\n";

struct BadCase {
    const char *name;
    std::string text;
    std::size_t line;
    const char *why;
};
const BadCase BAD_CASES[] = {
    {"Empty", "", 0, "no vendors"},
    {"CommentsOnly", "# nothing\n\n", 0, "no vendors"},
    {"OutOfRangeOnly", "0000  Zero\nffff  Illegal\n", 0, "no vendors"},
    {"ClassesOnly", "C 00  Unclassified device\n", 0, "no vendors"},
    {"UpperCaseId", "0001  A\n00AB  B\n", 2, "a vendor's id is not four lower-case digits"},
    {"ShortId", "001  A\n", 1, "a vendor's id is not four lower-case digits"},
    {"LongId", "00001  A\n", 1, "a vendor's id is not four lower-case digits"},
    {"NoId", " 0001  A\n", 1, "a vendor's id is not four lower-case digits"},
    {"WindowsLineEnd", "\r\n", 1, "a vendor's id is not four lower-case digits"},
    {"OneBlank", "0001 A\n", 1, "a vendor's name does not stand two blanks behind its id"},
    {"ThreeBlanks", "0001   A\n", 1, "a vendor's name does not stand two blanks behind its id"},
    {"NoName", "0001\n", 1, "a vendor's name does not stand two blanks behind its id"},
    {"EmptyName", "0001  \n", 1, "a vendor's name does not stand two blanks behind its id"},
    {"BlankAtTheEnd", "0001  A \n", 1, "a vendor's name ends in a blank"},
    {"BrokenUtf8", "0001  f\xFCr\n", 1, "a vendor's name is no plain UTF-8 text"},
    {"CarriageReturn", "0001  A\r\n", 1, "a vendor's name is no plain UTF-8 text"},
    {"Twice", "0001  A\n0001  B\n", 2, "the vendor 0001 comes twice"},
    {"OutOfOrder", "0002  A\n# x\n0001  B\n", 3, "the vendor 0001 comes behind 0002, out of order"},
    {"OutOfOrderBeyondTheRange", "ffff  A\n0001  B\n", 2,
     "the vendor 0001 comes behind ffff, out of order"},
    {"DeviceFirst", "\t0001  Device\n", 1, "a device stands before the first vendor"},
};
void PrintTo(const BadCase &row, std::ostream *os) {
    *os << row.name;
}
class BadPciVendors : public ::testing::TestWithParam<BadCase> {};
} // namespace

TEST(PciVendors, GiveTheRowsOfTheRange) {
    std::string header;
    const TABLE_FAULT fault = make_pci_vendors(GOOD, header);
    EXPECT_EQ(fault.why, "");
    EXPECT_TRUE(header.ends_with("inline constexpr PCI_VENDORS_ROW PCI_VENDORS[] = {\n"
                                 "    {\"0001\", \"First\"},\n"
                                 "    {\"8086\", \"\\\"Quoted\\\" Name, 2 \\\\ Parts\"},\n"
                                 "    {\"fffe\", \"Last\"},\n"
                                 "};\n"))
        << header;
}

TEST_P(BadPciVendors, AreRefusedWithTheirLine) {
    std::string header = "untouched";
    const TABLE_FAULT fault = make_pci_vendors(GetParam().text, header);
    EXPECT_EQ(fault.why, GetParam().why);
    EXPECT_EQ(fault.line, GetParam().line);
    EXPECT_EQ(header, "untouched");
}
INSTANTIATE_TEST_SUITE_P(Files, BadPciVendors, ::testing::ValuesIn(BAD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
