#include "tools/tablegen/product_table.h"

#include <string>

#include <gtest/gtest.h>

namespace {
const std::string HEAD = "vendor:hex16:key,device:hex32:key,count:number,model:text8,note:text?\n";

struct BadCase {
    const char *name;
    std::string text;
    std::size_t line;
    const char *why;
};
const BadCase BAD_CASES[] = {
    {"Empty", "", 0, "no head line"},
    {"CommentsOnly", "# a\n\n", 0, "no head line"},
    {"NoRows", HEAD, 0, "no rows"},
    {"TooFewCells", HEAD + "0x0001,0x00000001,1,A\n", 2, "4 cells in place of 5"},
    {"TooManyCells", HEAD + "0x0001,0x00000001,1,A,,\n", 2, "6 cells in place of 5"},
    {"EmptyText", HEAD + "0x0001,0x00000001,1,,\n", 2, "model is empty"},
    {"EmptyNumber", HEAD + "0x0001,0x00000001,,A,\n", 2, "count is empty"},
    {"TextTooLong", HEAD + "0x0001,0x00000001,1,123456789,\n", 2, "model is longer than 8 bytes"},
    {"NoPrefix", HEAD + "0001,0x00000001,1,A,\n", 2, "vendor is not 0x and 4 lower-case digits"},
    {"UpperCaseDigit", HEAD + "0x000A,0x00000001,1,A,\n", 2,
     "vendor is not 0x and 4 lower-case digits"},
    {"UpperCasePrefix", HEAD + "0X0001,0x00000001,1,A,\n", 2,
     "vendor is not 0x and 4 lower-case digits"},
    {"HexTooShort", HEAD + "0x0001,0x0001,1,A,\n", 2, "device is not 0x and 8 lower-case digits"},
    {"HexTooLong", HEAD + "0x00001,0x00000001,1,A,\n", 2,
     "vendor is not 0x and 4 lower-case digits"},
    {"Negative", HEAD + "0x0001,0x00000001,-1,A,\n", 2, "count is no number of 32 bits"},
    {"LeadingZero", HEAD + "0x0001,0x00000001,01,A,\n", 2, "count is no number of 32 bits"},
    {"NumberTooLarge", HEAD + "0x0001,0x00000001,4294967296,A,\n", 2,
     "count is no number of 32 bits"},
    {"NumberWithTail", HEAD + "0x0001,0x00000001,1x,A,\n", 2, "count is no number of 32 bits"},
    {"SameKey", HEAD + "0x0001,0x00000001,1,A,\n# x\n0x0001,0x00000001,2,B,\n", 4,
     "the same key as in line 2"},
    {"BlankInFront", HEAD + "0x0001,0x00000001,1, A,\n", 2, "a cell begins or ends with a blank"},
    {"BlankBehind", HEAD + "0x0001,0x00000001,1,A ,\n", 2, "a cell begins or ends with a blank"},
    {"BlankInQuotes", HEAD + "0x0001,0x00000001,1,\" A\",\n", 2,
     "a cell begins or ends with a blank"},
    {"OpenQuote", HEAD + "0x0001,0x00000001,1,\"A,\n", 2, "a quote is not closed"},
    {"OpenDoubledQuote", HEAD + "0x0001,0x00000001,1,\"A\"\"\n", 2, "a quote is not closed"},
    {"TextBehindQuote", HEAD + "0x0001,0x00000001,1,\"A\"b,\n", 2,
     "text stands behind a closing quote"},
    {"QuoteWithin", HEAD + "0x0001,0x00000001,1,a\"b,\n", 2, "a quote stands within a cell"},
    {"WindowsLineEnd", HEAD + "0x0001,0x00000001,1,A,b\r\n", 2, "a cell is no plain UTF-8 text"},
    {"BrokenUtf8", HEAD + "0x0001,0x00000001,1,\xFF,\n", 2, "a cell is no plain UTF-8 text"},
    {"ByteOrderMark", "\xEF\xBB\xBF" + HEAD, 1,
     "\"\xEF\xBB\xBFvendor:hex16:key\" does not begin with a column's name"},
    {"HeadWithoutKey", "a:text,b:number\nx,1\n", 1, "no column is a key"},
    {"HeadColumnTwice", "a:text:key,a:number\nx,1\n", 1, "the column a comes twice"},
    {"HeadNameUpperCase", "A:text:key\nx\n", 1,
     "\"A:text:key\" does not begin with a column's name"},
    {"HeadNameOddCharacter", "a_b:text:key\nx\n", 1,
     "\"a_b:text:key\" does not begin with a column's name"},
    {"HeadNoName", ":text:key\nx\n", 1, "\":text:key\" does not begin with a column's name"},
};
void PrintTo(const BadCase &row, std::ostream *os) {
    *os << row.name;
}
class BadProductTable : public ::testing::TestWithParam<BadCase> {};
class BadColumnType : public ::testing::TestWithParam<const char *> {};
} // namespace

TEST(ProductTable, GivesAStructAndItsRows) {
    std::string header;
    const TABLE_FAULT fault =
        make_product_table("# comment\n\n" + HEAD +
                               "0xfff0,0x0000000a,0,A b,\n"
                               "# between\n"
                               "0xfff0,0x0000000b,4294967295,\"B, \"\"c\"\"\",\xE2\x82\xAC",
                           "nic_models2", header);
    EXPECT_EQ(fault.why, "");
    EXPECT_EQ(header, R"(// Made by tablegen from nic_models2.csv; changes belong there.
#pragma once

#include <cstdint>
#include <string_view>

struct NIC_MODELS2_ROW {
    std::uint16_t vendor;
    std::uint32_t device;
    std::uint32_t count;
    std::string_view model;
    std::string_view note;
};

// In the order of the file.
inline constexpr NIC_MODELS2_ROW NIC_MODELS2[] = {
    {0xfff0, 0x0000000a, 0, "A b", ""},
    {0xfff0, 0x0000000b, 4294967295, "B, \"c\"", "\342\202\254"},
};
)");
}

TEST(ProductTable, KeyIsAllItsColumnsTogether) {
    std::string header;
    EXPECT_EQ(make_product_table("a:text?:key,b:text?:key\nx,\n,x\n\"x,\",\n", "t", header).why,
              "");
}

TEST(ProductTable, NameIsLowerCase) {
    for (const char *name : {"", "Models", "1st", "a-b", "_a"}) {
        std::string header;
        EXPECT_EQ(make_product_table("a:text:key\nx\n", name, header).why,
                  "the table's name is not lower-case letters, digits and underscores")
            << name;
    }
}

TEST_P(BadProductTable, IsRefusedWithItsLine) {
    std::string header = "untouched";
    const TABLE_FAULT fault = make_product_table(GetParam().text, "t", header);
    EXPECT_EQ(fault.why, GetParam().why);
    EXPECT_EQ(fault.line, GetParam().line);
    EXPECT_EQ(header, "untouched");
}
INSTANTIATE_TEST_SUITE_P(Files, BadProductTable, ::testing::ValuesIn(BAD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(BadColumnType, IsRefused) {
    std::string header;
    const TABLE_FAULT fault =
        make_product_table("a" + std::string(GetParam()) + ":key\nx\n", "t", header);
    EXPECT_TRUE(fault.why.ends_with("perhaps :key behind it")) << fault.why;
    EXPECT_EQ(fault.line, 1U);
}
INSTANTIATE_TEST_SUITE_P(Heads, BadColumnType,
                         ::testing::Values("", ":", ":Text", ":hex", ":hex16?", ":text0",
                                           ":text4097", ":text-1", ":text?4", ":text:unique",
                                           ":text:key", ":number8"));
