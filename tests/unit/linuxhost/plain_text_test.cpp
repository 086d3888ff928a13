#include <string>

#include <gtest/gtest.h>

#include "linuxhost/plain_text.h"

namespace {
using namespace std::string_literals;

TEST(OneLine, ControlCharactersBecomeBlanksAndEndsAreTrimmed) {
    EXPECT_EQ(one_line("\n a\tb\0c\x7f\r\n"s), "a b c");
    EXPECT_EQ(one_line(" \t\n"), "");
    EXPECT_EQ(one_line(""), "");
}

TEST(OneLine, KeepsUtf8AndMarksOtherBytes) {
    EXPECT_EQ(one_line("Fu\xc3\x9f \xe2\x82\xac \xf0\x9f\x90\xa7"),
              "Fu\xc3\x9f \xe2\x82\xac \xf0\x9f\x90\xa7");
    EXPECT_EQ(one_line("a\xff"
                       "b"),
              "a?b");
    EXPECT_EQ(one_line("\xc0\xaf"), "??") << "over-long";
    EXPECT_EQ(one_line("\xed\xa0\x80"), "???") << "surrogate";
    EXPECT_EQ(one_line("\xf4\x90\x80\x80"), "????") << "beyond U+10FFFF";
    EXPECT_EQ(one_line("\xe2\x82"), "??") << "cut off";
}

TEST(HoldsWord, IgnoresTheCaseOfTheText) {
    EXPECT_TRUE(holds_word("5.10-PRODUCTion", "product"));
    EXPECT_FALSE(holds_word("5.10-produc", "product"));
    EXPECT_FALSE(holds_word("", "product"));
}

TEST(LeadingNumber, StopsAtTheFirstOtherCharacter) {
    unsigned long long number = 7;
    EXPECT_TRUE(leading_number("12-1", number));
    EXPECT_EQ(number, 12u);
    EXPECT_FALSE(leading_number("-1", number));
    EXPECT_FALSE(leading_number("99999999999999999999", number));
    EXPECT_FALSE(leading_number("", number));
}
} // namespace
