#include "tools/tablegen/table_text.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
std::vector<std::string> lines_of(const std::string &text) {
    std::vector<std::string> found;
    TableLines lines(text);
    for (std::string_view line; lines.next(line);) found.emplace_back(line);
    EXPECT_EQ(lines.number(), found.size());
    return found;
}

struct TextCase {
    const char *name;
    std::string text;
    bool isPlain;
};
const TextCase TEXT_CASES[] = {
    {"Empty", "", true},
    {"Ascii", " az~", true},
    {"TwoBytes", "f\xC3\xBCr", true},
    {"ThreeBytes", "\xE2\x82\xAC", true},
    {"FourBytes", "\xF0\x9F\x98\x80", true},
    {"Newline", "a\nb", false},
    {"Tab", "a\tb", false},
    {"CarriageReturn", "a\r", false},
    {"Delete", "\x7F", false},
    {"Zero", std::string(1, '\0'), false},
    {"ControlOfTwoBytes", "\xC2\x85", false},
    {"LoneFollower", "\x80", false},
    {"CutCharacter", "\xC3", false},
    {"FollowerMissing", "\xE2\x82z", false},
    {"OverlongTwo", "\xC1\xBF", false},
    {"OverlongThree", "\xE0\x9F\xBF", false},
    {"OverlongFour", "\xF0\x8F\xBF\xBF", false},
    {"Surrogate", "\xED\xA0\x80", false},
    {"BeyondUnicode", "\xF4\x90\x80\x80", false},
    {"FiveBytes", "\xF8\x88\x80\x80\x80", false},
};
void PrintTo(const TextCase &row, std::ostream *os) {
    *os << row.name;
}
class PlainText : public ::testing::TestWithParam<TextCase> {};
} // namespace

TEST(TableLines, AreCutAtNewlines) {
    EXPECT_EQ(lines_of(""), std::vector<std::string>{});
    EXPECT_EQ(lines_of("a"), std::vector<std::string>{"a"});
    EXPECT_EQ(lines_of("a\n"), std::vector<std::string>{"a"});
    EXPECT_EQ(lines_of("\n\nb\n"), (std::vector<std::string>{"", "", "b"}));
}

TEST_P(PlainText, IsUtf8WithoutControls) {
    EXPECT_EQ(is_plain_text(GetParam().text), GetParam().isPlain);
}
INSTANTIATE_TEST_SUITE_P(Texts, PlainText, ::testing::ValuesIn(TEXT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(Hexadecimal, IsLowerCaseAndOfItsLength) {
    EXPECT_TRUE(is_hexadecimal("09af", 4));
    EXPECT_FALSE(is_hexadecimal("09aF", 4));
    EXPECT_FALSE(is_hexadecimal("09ag", 4));
    EXPECT_FALSE(is_hexadecimal("09a", 4));
    EXPECT_FALSE(is_hexadecimal("", 4));
}

TEST(StringLiteral, EscapesWhatACompilerWouldRead) {
    EXPECT_EQ(string_literal("plain ?"), "\"plain ?\"");
    EXPECT_EQ(string_literal("(?\?\?)"), "\"(?\\?\\?)\"");
    EXPECT_EQ(string_literal("a\"b\\c"), R"("a\"b\\c")");
    EXPECT_EQ(string_literal("f\xC3\xBCr 1"), R"("f\303\274r 1")");
    EXPECT_EQ(string_literal("\x01"
                             "1"),
              R"("\0011")");
}
