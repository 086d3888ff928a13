#include "core/number_readers.h"

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {
constexpr std::int64_t MAX = std::numeric_limits<std::int64_t>::max(),
                       MIN = std::numeric_limits<std::int64_t>::min();
constexpr std::uint64_t ALL = std::numeric_limits<std::uint64_t>::max();

struct NumberCase {
    const char *name;
    std::string_view text;
    std::int64_t decimal;
    std::uint64_t hexadecimal;
};
const NumberCase NUMBER_CASES[] = {
    {"Plain", "12", 12, 0x12},
    {"BlanksAhead", " \t\n7", 7, 7},
    {"Plus", "+7", 7, 7},
    {"Minus", "-7", -7, ALL - 6},
    {"JunkBehind", "9 Gb/s", 9, 9},
    {"HexPrefix", "0x1F", 0, 0x1F},
    {"HexDigits", "ff", 0, 0xFF},
    {"LeadingZeros", "0012", 12, 0x12},
    {"NoDigits", "none", 0, 0},
    {"SignAlone", "-", 0, 0},
    {"Empty", "", 0, 0},
    {"Blanks", "   ", 0, 0},
    {"LargestDecimal", "9223372036854775807", MAX, ALL},
    {"BeyondTheTop", "99999999999999999999999", MAX, ALL},
    {"BeyondTheBottom", "-99999999999999999999999", MIN, ALL},
    {"NulInside", std::string_view("1\0002", 3), 1, 1},
};
void PrintTo(const NumberCase &row, std::ostream *os) {
    *os << row.name;
}
class NumberReaders : public ::testing::TestWithParam<NumberCase> {};
} // namespace

TEST_P(NumberReaders, ReadWithoutThrowing) {
    EXPECT_EQ(read_decimal(GetParam().text), GetParam().decimal);
    EXPECT_EQ(read_hexadecimal(GetParam().text), GetParam().hexadecimal);
}
INSTANTIATE_TEST_SUITE_P(Texts, NumberReaders, ::testing::ValuesIn(NUMBER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(NumberReaders, ReadNoFurtherThanTheirText) {
    const std::string_view longer = "123456";
    EXPECT_EQ(read_decimal(longer.substr(0, 3)), 123);
    EXPECT_EQ(read_hexadecimal(longer.substr(0, 3)), 0x123u);
}

TEST(TextBehind, IsEmptyAtAndBeyondTheEnd) {
    EXPECT_EQ(text_behind("Speed: 10", 7), "10");
    EXPECT_EQ(text_behind("Speed:", 0), "Speed:");
    EXPECT_EQ(text_behind("Speed:", 6), "");
    EXPECT_EQ(text_behind("Speed:", 7), "");
    EXPECT_EQ(text_behind("Speed:", std::string_view::npos), "");
    EXPECT_EQ(text_behind("", 0), "");
}
