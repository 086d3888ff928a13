#include "network/nic_details.h"

#include <cstdint>
#include <limits>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

namespace {
// -- What may become part of a shell line -------------------------------------------------------

TEST(ShellWords, NamesOfInterfaces) {
    for (const char *good : {"vmnic0", "eth0.100", "br-lan", "eth0:1", "en_P2", "A", "-n"})
        EXPECT_TRUE(is_interface_name(good)) << good;
    for (const char *bad : {"", "vmnic0;reboot", "a b", "$(x)", "`x`", "a|b", "a>b", "a'b", "a\"b",
                            "a\nb", "a/b", "a\\b", "a*", "\xc3\xa4", "a&b"})
        EXPECT_FALSE(is_interface_name(bad)) << bad;
    EXPECT_FALSE(is_interface_name(std::string("vmnic0\0", 7)));
}

// -- Labelled values ----------------------------------------------------------------------------

struct VersionCase {
    const char *name, *lines;
    bool found;
    const char *version;
};
void PrintTo(const VersionCase &row, std::ostream *os) {
    *os << row.name;
}
const VersionCase VERSION_CASES[] = {
    {"AsTheHostPrintsIt", "         Firmware Version: 1.63.0\n", true, "1.63.0"},
    {"ColonInside", "         Firmware Version: 1.63.0:0x800009fa\n", true, "1.63.0:0x800009fa"},
    {"BlanksInside", "Firmware Version: 6.80 0x80003ce6 1.2074.0\n", true,
     "6.80 0x80003ce6 1.2074.0"},
    {"NoNewline", "Firmware Version: 7", true, "7"},
    {"BlankAtTheEndStays", "Firmware Version: 7 \n", true, "7 "},
    {"NothingBehindTheBlank", "Firmware Version: \n", true, ""},
    {"NothingBehindTheColon", "Firmware Version:", true, ""},
    {"NewlineBehindTheColonTakesTheNextLine", "Firmware Version:\nnext\n", true, "next"},
    {"NoBlankLosesALetter", "Firmware Version:7.1\n", true, ".1"},
    {"FirstOfTwoLines", "Firmware Version: 1\nFirmware Version: 2\n", true, "1"},
    {"NoColon", "Firmware Version 7\n", false, "untouched"},
    {"Empty", "", false, "untouched"},
};
class FirmwareVersion : public ::testing::TestWithParam<VersionCase> {};
TEST_P(FirmwareVersion, IsReadFromItsLine) {
    std::string version = "untouched";
    EXPECT_EQ(read_firmware_version(GetParam().lines, version), GetParam().found);
    EXPECT_EQ(version, GetParam().version);
}
INSTANTIATE_TEST_SUITE_P(Lines, FirmwareVersion, ::testing::ValuesIn(VERSION_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(LabelledValue, HoldsAllFurtherLines) {
    std::string value = "untouched";
    EXPECT_TRUE(read_labelled_value("   Cable Type: \n   Cable Length: 3\n", value));
    EXPECT_EQ(value, "\n   Cable Length: 3\n");
    EXPECT_FALSE(read_labelled_value("   Cable Type\n", value));
    EXPECT_EQ(value, "\n   Cable Length: 3\n");
    EXPECT_TRUE(read_labelled_value(":", value));
    EXPECT_EQ(value, "");
}

// -- Links --------------------------------------------------------------------------------------

struct JudgeCase {
    const char *name, *cableType, *linkWord;
    int result;
};
void PrintTo(const JudgeCase &row, std::ostream *os) {
    *os << row.name;
}
const JudgeCase JUDGE_CASES[] = {
    {"CableAndUp", "Twisted Pair\n", "Up", 1},
    {"CableAndDown", "Twisted Pair\n", "Down", 3},
    {"CableAndUnknown", "Twisted Pair\n", "Unknown", 2},
    {"CableAndAnotherWord", "DA", "Testing", 1},
    {"CableAndNoWord", "DA", "", 1},
    {"CableAndLongerWord", "DA", "Downward", 1},
    {"NoCableAndUp", "\n", "Up", 1},
    {"NoCableAndUpInAnyLetters", "", "uP", 1},
    {"NoCableAndDown", " \n", "DOWN", 3},
    {"NoCableAndUnknown", "", "uNKNOWN", 2},
    {"NoCableAndAnotherWord", " \n \n", "Testing", 4},
    {"NoCableAndNoWord", "", "", 4},
    {"NoCableAndPartOfAWord", "", "U", 4},
    {"TabIsACable", "\t", "Testing", 1},
};
class JudgeLink : public ::testing::TestWithParam<JudgeCase> {};
TEST_P(JudgeLink, ByCableAndWord) {
    EXPECT_EQ(judge_link(GetParam().cableType, GetParam().linkWord), GetParam().result);
}
INSTANTIATE_TEST_SUITE_P(Links, JudgeLink, ::testing::ValuesIn(JUDGE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(LinkWords, ForEveryResult) {
    EXPECT_STREQ(nic_state_word(1), "Running");
    EXPECT_STREQ(nic_health_word(1), "OK");
    EXPECT_STREQ(nic_state_word(2), "Failed");
    EXPECT_STREQ(nic_health_word(2), "Critical");
    EXPECT_STREQ(nic_state_word(3), "Down");
    EXPECT_STREQ(nic_health_word(3), "Unknown");
    for (const int other : {4, 0, -1, 5, 255}) {
        EXPECT_STREQ(nic_state_word(other), "Other") << other;
        EXPECT_STREQ(nic_health_word(other), "Unknown") << other;
    }
}

// -- Sub-ids ------------------------------------------------------------------------------------

TEST(SubIds, AreTakenAsTheyStandBehindTheColon) {
    ORB_NIC_SUB_IDS ids;
    EXPECT_TRUE(take_sub_id("   SubVendor ID: 0xfff0\n", ids));
    EXPECT_TRUE(take_sub_id("   SubDevice ID: 0x0001\n", ids));
    EXPECT_EQ(ids.subVendor, " 0xfff0\n");
    EXPECT_EQ(ids.subDevice, " 0x0001\n");
}
TEST(SubIds, LaterLineReplacesAnEarlierOne) {
    ORB_NIC_SUB_IDS ids;
    EXPECT_TRUE(take_sub_id("SubVendor ID: 0x1:2\n", ids));
    EXPECT_TRUE(take_sub_id("SubVendor ID:\n", ids));
    EXPECT_EQ(ids.subVendor, "\n");
    EXPECT_TRUE(take_sub_id("SubVendor ID: 1:2", ids));
    EXPECT_EQ(ids.subVendor, " 1:2") << "from the first colon on";
}
TEST(SubIds, LineOfNeitherKindIsTold) {
    ORB_NIC_SUB_IDS ids{"a", "b"};
    EXPECT_FALSE(take_sub_id("   SubVendor Name: x\n", ids));
    EXPECT_FALSE(take_sub_id("", ids));
    EXPECT_EQ(ids.subVendor, "a");
    EXPECT_EQ(ids.subDevice, "b");
}
TEST(SubIds, LineOfBothIsTheVendors) {
    ORB_NIC_SUB_IDS ids;
    EXPECT_TRUE(take_sub_id("SubVendor ID SubDevice ID: 7", ids));
    EXPECT_EQ(ids.subVendor, " 7");
    EXPECT_EQ(ids.subDevice, "");
}
TEST(SubIds, NoColonIsNoValue) {
    ORB_NIC_SUB_IDS ids{"a", "b"};
    EXPECT_TRUE(take_sub_id("SubVendor ID 7", ids));
    EXPECT_EQ(ids.subVendor, "");
}

struct NumberCase {
    const char *name, *text;
    bool read;
    std::uint32_t value;
};
void PrintTo(const NumberCase &row, std::ostream *os) {
    *os << row.name;
}
const NumberCase NUMBER_CASES[] = {
    {"AsTheListHasIt", " 0xfff0\n", true, 0xfff0},
    {"CapitalPrefix", "0XFFF0", true, 0xfff0},
    {"NoPrefix", "fff0", true, 0xfff0},
    {"TrailingText", "12zz", true, 0x12},
    {"LowerBitsOfALongOne", "0x1fff00001", true, 0xfff00001},
    {"BeyondSixtyFourBits", "fffffffffffffffff0", true, 0xffffffff},
    {"Zero", "0", true, 0},
    {"Word", " none\n", false, 42},
    {"Empty", "", false, 42},
    {"Blank", " \n", false, 42},
};
class SubIdNumber : public ::testing::TestWithParam<NumberCase> {};
TEST_P(SubIdNumber, IsReadAsHexadecimal) {
    std::uint32_t value = 42;
    EXPECT_EQ(read_sub_id(GetParam().text, value), GetParam().read);
    EXPECT_EQ(value, GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(Texts, SubIdNumber, ::testing::ValuesIn(NUMBER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

// -- Speed --------------------------------------------------------------------------------------

struct SpeedCase {
    const char *name, *text;
    bool read;
    std::int32_t mbps;
};
void PrintTo(const SpeedCase &row, std::ostream *os) {
    *os << row.name;
}
const SpeedCase SPEED_CASES[] = {
    {"Number", "1000", true, 1000},
    {"Zero", "0", true, 0},
    {"MinusOne", "-1", true, 0},
    {"LowestOfThirtyTwoBits", "-2147483648", true, 0},
    {"HighestOfThirtyTwoBits", "2147483647", true, std::numeric_limits<std::int32_t>::max()},
    {"BeyondThirtyTwoBits", "2147483648", false, 0},
    {"BelowThirtyTwoBits", "-2147483649", false, 0},
    {"BeyondSixtyFourBits", "99999999999999999999", false, 0},
    {"LettersBehind", "1000abc", true, 1000},
    {"Word", "Full", false, 0},
    {"Empty", "", false, 0},
    {"Plus", "+25000", true, 25000},
};
class Speed : public ::testing::TestWithParam<SpeedCase> {};
TEST_P(Speed, IsReadAsDecimal) {
    std::int32_t mbps = 42;
    EXPECT_EQ(read_speed(GetParam().text, mbps), GetParam().read);
    EXPECT_EQ(mbps, GetParam().mbps);
}
INSTANTIATE_TEST_SUITE_P(Texts, Speed, ::testing::ValuesIn(SPEED_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
