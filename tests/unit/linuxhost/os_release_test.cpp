#include <string>

#include <gtest/gtest.h>

#include "linuxhost/os_release.h"

namespace {
struct ValueCase {
    const char *name;
    std::string text;
    bool taken;
    std::string value; // of NAME
};
void PrintTo(const ValueCase &row, std::ostream *os) {
    *os << row.name;
}

using namespace std::string_literals;
const ValueCase VALUE_CASES[] = {
    {"Plain", "NAME=Debian\n", true, "Debian"},
    {"NoNewlineAtTheEnd", "NAME=Debian", true, "Debian"},
    {"DoubleQuotes", "NAME=\"Debian GNU/Linux\"\n", true, "Debian GNU/Linux"},
    {"SingleQuotesKeepBackslashes", "NAME='a\\n$b\"'\n", true, "a\\n$b\""},
    {"EscapesInDoubleQuotes", R"(NAME="a\"b\\c\$d\`e\xf")", true, R"(a"b\c$d`e\xf)"},
    {"EscapesOutsideQuotes", "NAME=a\\ b\\x", true, "a bx"},
    {"StretchesJoin", "NAME=a'b c'\"d\"e", true, "ab cde"},
    {"Empty", "NAME=\n", true, ""},
    {"EmptyQuotes", "NAME=\"\"\n", true, ""},
    {"CarriageReturn", "NAME=\"a\"\r\n", true, "a"},
    {"BlanksInFront", "  \tNAME=a\n", true, "a"},
    {"BlanksBehind", "NAME=\"a\"  \t\n", true, "a"},
    {"CommentBehind", "NAME=a # b\n", true, "a"},
    {"HashWithin", "NAME=a#b\n", true, "a#b"},
    {"LastCounts", "NAME=a\nNAME=b\n", true, "b"},
    {"GarbledDoesNotReplace", "NAME=a\nNAME=\"b\n", true, "a"},
    {"OpenDoubleQuote", "NAME=\"a\n", false, ""},
    {"OpenSingleQuote", "NAME='a\n", false, ""},
    {"BackslashAtTheEnd", "NAME=a\\", false, ""},
    {"WordBehind", "NAME=a b\n", false, ""},
    {"BlankBeforeEquals", "NAME =a\n", false, ""},
    {"Comment", "#NAME=a\n", false, ""},
    {"NoEquals", "NAME\n", false, ""},
    {"NoName", "=a\n", false, ""},
    {"ForeignLinesAround", "\0\xff\n???\nNAME=a\n%%%"s, true, "a"},
    {"OtherKey", "PRETTY_NAME=a\n", false, ""},
};

class OsRelease : public ::testing::TestWithParam<ValueCase> {};
TEST_P(OsRelease, GivesTheValueAsAShellWould) {
    const auto values = parse_os_release(GetParam().text);
    const auto found = values.find("NAME");
    ASSERT_EQ(found != values.end(), GetParam().taken);
    if (found != values.end()) {
        EXPECT_EQ(found->second, GetParam().value);
    }
}
INSTANTIATE_TEST_SUITE_P(Lines, OsRelease, ::testing::ValuesIn(VALUE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(OsReleaseFile, EmptyTextHasNoValues) {
    EXPECT_TRUE(parse_os_release("").empty());
}
} // namespace
