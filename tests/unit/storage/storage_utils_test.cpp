#include "storage/storage_utils.h"

#include <array>
#include <climits>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
constexpr std::int32_t UNTOUCHED = 424242;

struct HitCase {
    const char *name;
    const char *path;
    int at; ///< of the first hit, -1 none
    const char *last;
};
const HitCase HIT_CASES[] = {
    {"Empty", "", -1, ""},
    {"NoSlash", "0000:00:1f.2", -1, ""},
    {"OneAddress", "/0000:00:1f.2", 0, "0000:00:1f.2"},
    {"BehindOthers", "../../devices/pci0000:00/0000:00:17.0/ata1/host0", 24, "0000:00:17.0"},
    {"BridgeAndEndpoint", "/sys/devices/pci0000:64/0000:64:00.0/0000:65:00.0/host8", 23,
     "0000:65:00.0"},
    {"ThreeDeep", "/0000:00:01.0/0000:01:00.0/0000:02:00.1", 0, "0000:02:00.1"},
    {"CapitalDigits", "/ABCD:EF:01.7/x", 0, "ABCD:EF:01.7"},
    {"WideDomain", "/10000:01:00.0", -1, ""},
    {"RootOfABus", "/pci0000:00", -1, ""},
    {"ThreeDigits", "/000:00:17.0", -1, ""},
    {"NoDigit", "/00g0:00:17.0", -1, ""},
    {"NoColon", "/0000.00:17.0", -1, ""},
    {"ColonIsTheEnd", "/0000:", 0, "0000:"},
    {"EndsBeforeTheColon", "/0000", -1, ""},
    {"EndsAtTheSlash", "abc/", -1, ""},
    {"SlashesInARow", "//0000:00:17.0", 1, "0000:00:17.0"},
    {"ShorterThanAnAddress", "/0000:00:17.0/0000:3", 0, "0000:3"},
    {"LongerIsCut", "/0000:00:17.0ff", 0, "0000:00:17.0"},
    {"AnythingBehindTheColon", "/0000:virtual/host", 0, "0000:virtual"},
    {"PresentKernelsLink", "../../../host8", -1, ""},
};
void PrintTo(const HitCase &row, std::ostream *os) {
    *os << row.name;
}
class PciLocation : public ::testing::TestWithParam<HitCase> {};
TEST_P(PciLocation, IsFoundByItsSlash) {
    const char *const path = GetParam().path;
    const char *const hit = strstr_pcilocation(path);
    EXPECT_EQ(hit == nullptr ? -1 : static_cast<int>(hit - path), GetParam().at);
}
TEST_P(PciLocation, TheLastOneWins) {
    EXPECT_EQ(last_pci_location(GetParam().path), GetParam().last);
}
INSTANTIATE_TEST_SUITE_P(Paths, PciLocation, ::testing::ValuesIn(HIT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(PciLocationOfNull, IsNone) {
    EXPECT_EQ(strstr_pcilocation(nullptr), nullptr);
    EXPECT_EQ(last_pci_location(nullptr), "");
}

TEST(PciLocationOfALongPath, EveryStepIsWalked) {
    std::string path;
    for (int i = 0; i < 5000; ++i) path += "/0000:00:00.0";
    EXPECT_EQ(last_pci_location((path + "/0000:00:00.7").c_str()), "0000:00:00.7");
}

struct TrimCase {
    const char *name;
    const char *text;
    const char *trimmed;
};
const TrimCase TRIM_CASES[] = {
    {"Empty", "", ""},
    {"Plain", "EX1A", "EX1A"},
    {"Both", "  EX1A  ", "EX1A"},
    {"InsideStays", " EX 1A ", "EX 1A"},
    {"BlanksAlone", "    ", ""},
    {"EveryKind", " \t\n\v\f\rEX1A\r\f\v\n\t ", "EX1A"},
    {"UpperHalfIsNoSpace",
     "\xA0"
     "EX\x85",
     "\xA0"
     "EX\x85"},
};
void PrintTo(const TrimCase &row, std::ostream *os) {
    *os << row.name;
}
class Trim : public ::testing::TestWithParam<TrimCase> {};
TEST_P(Trim, TakesWhiteSpaceFromBothEnds) {
    std::string text = GetParam().text;
    EXPECT_STREQ(trim_surrounding_whitespace(text.data()), GetParam().trimmed);
}
INSTANTIATE_TEST_SUITE_P(Texts, Trim, ::testing::ValuesIn(TRIM_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(TrimInPlace, OverwritesTrailingSpaceAndPointsPastLeading) {
    char text[] = "  ab  ";
    char *const trimmed = trim_surrounding_whitespace(text);
    EXPECT_EQ(trimmed, text + 2);
    EXPECT_EQ(std::string(text, sizeof text), std::string("  ab\0\0\0", 7));
    EXPECT_EQ(trim_surrounding_whitespace(nullptr), nullptr);
}

/// Words 10 to 19 of a drive whose serial number stands right-aligned.
std::array<std::uint16_t, 256> identify() {
    std::array<std::uint16_t, 256> words{};
    for (std::size_t i = 10; i < 15; ++i) words[i] = 0x2020;
    const std::uint16_t serial[] = {0x4558, 0x3141, 0x3242, 0x3343, 0x3444};
    for (std::size_t i = 0; i < 5; ++i) words[15 + i] = serial[i];
    return words;
}

TEST(AtaString, TheUpperByteOfAWordComesFirst) {
    const auto words = identify();
    std::vector<char> text(20);
    get_ata_string(text.data(), words, 10, 10);
    EXPECT_EQ(std::string(text.begin(), text.end()), "          EX1A2B3C4D");
}

TEST(AtaString, PutsNoEndBehindTheText) {
    const auto words = identify();
    char text[] = "????????????";
    get_ata_string(text, words, 15, 5);
    EXPECT_STREQ(text, "EX1A2B3C4D??");
    get_ata_string(text, words, 0, 0);
    EXPECT_STREQ(text, "EX1A2B3C4D??");
}

TEST(AtaString, WordsBehindTheDevicesAreZero) {
    const std::uint16_t words[] = {0x4142, 0xFF80};
    char text[9] = "xxxxxxxx";
    get_ata_string(text, words, 1, 3);
    EXPECT_EQ(std::string(text, 8), std::string("\xFF\x80\0\0\0\0xx", 8));
    get_ata_string(text, words, 7, 1);
    EXPECT_EQ(std::string(text, 2), std::string(2, '\0'));
    get_ata_string(text, words, std::numeric_limits<std::size_t>::max(), 1);
    EXPECT_EQ(std::string(text, 2), std::string(2, '\0'));
}

struct GcdCase {
    std::int64_t a, b, gcd;
};
const GcdCase GCD_CASES[] = {
    {30, 10, 10},
    {25, 10, 5},
    {7, 10, 1},
    {10, 30, 10},
    {0, 10, 10},
    {10, 0, 10},
    {0, 0, 0},
    {-30, 10, 10},
    {30, -20, 10},
    {-1, INT64_MIN, 1},
    {INT64_MAX, INT64_MAX, INT64_MAX},
    {INT64_MIN, 6, 2},
    {86400, 10, 10},
    {INT64_MIN, 0, INT64_MIN}, // 2 to the 63rd, for which there is no room
};
void PrintTo(const GcdCase &row, std::ostream *os) {
    *os << row.a << ", " << row.b;
}
class Gcd : public ::testing::TestWithParam<GcdCase> {};
TEST_P(Gcd, IsTheGreatest) {
    EXPECT_EQ(compute_gcd(GetParam().a, GetParam().b), GetParam().gcd);
}
INSTANTIATE_TEST_SUITE_P(Pairs, Gcd, ::testing::ValuesIn(GCD_CASES));

struct NumberCase {
    const char *name;
    const char *text;
    int code;
    std::int32_t number;
};
const NumberCase NUMBER_CASES[] = {
    {"Zero", "0", 0, 0},
    {"Decimal", "17", 0, 17},
    {"Octal", "017", 0, 15},
    {"Hexadecimal", "0x1F", 0, 31},
    {"Negative", "-1", 0, -1},
    {"Signed", "+8", 0, 8},
    {"LeadingSpace", " \t7", 0, 7},
    {"Largest", "2147483647", 0, INT32_MAX},
    {"Smallest", "-2147483648", 0, INT32_MIN},
    {"BelowLong", "-9223372036854775809", -1, UNTOUCHED},
    {"AboveLong", "9223372036854775808", -2, UNTOUCHED},
    {"BelowLongBeforeTrailing", "-99999999999999999999x", -1, UNTOUCHED},
    {"AboveLongBeforeTrailing", "99999999999999999999x", -2, UNTOUCHED},
    {"SmallestLong", "-9223372036854775808", -4, UNTOUCHED},
    {"LargestLong", "9223372036854775807", -5, UNTOUCHED},
    {"Below", "-2147483649", -4, UNTOUCHED},
    {"Above", "2147483648", -5, UNTOUCHED},
    {"AllOnes", "0xFFFFFFFF", -5, UNTOUCHED},
    {"AboveBeforeTrailing", "2147483648 bays", -5, UNTOUCHED},
    {"Empty", "", -6, UNTOUCHED},
    {"BlanksAlone", "  ", -7, UNTOUCHED},
    {"NoDigits", "bay", -7, UNTOUCHED},
    {"SignAlone", "-", -7, UNTOUCHED},
    {"TrailingBlank", "7 ", -7, UNTOUCHED},
    {"TrailingText", "7th", -7, UNTOUCHED},
    {"PrefixAlone", "0x", -7, UNTOUCHED},
    {"NotOctal", "08", -7, UNTOUCHED},
    {"Fraction", "1.5", -7, UNTOUCHED},
};
void PrintTo(const NumberCase &row, std::ostream *os) {
    *os << row.name;
}
class StringToInt : public ::testing::TestWithParam<NumberCase> {};
TEST_P(StringToInt, GivesCodeAndNumber) {
    std::int32_t number = UNTOUCHED;
    errno = ERANGE; // of some earlier call
    EXPECT_EQ(string_to_int(GetParam().text, &number), GetParam().code);
    EXPECT_EQ(number, GetParam().number);
}
INSTANTIATE_TEST_SUITE_P(Texts, StringToInt, ::testing::ValuesIn(NUMBER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(StringToIntOfNothing, IsInvalid) {
    std::int32_t number = UNTOUCHED;
    EXPECT_EQ(string_to_int(nullptr, &number), -3);
    EXPECT_EQ(number, UNTOUCHED);
    EXPECT_EQ(string_to_int("1", nullptr), -3);
}
} // namespace
