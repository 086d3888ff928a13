#include "physloc/geoid_text.h"

#include <limits>
#include <ostream>

#include <gtest/gtest.h>

namespace {
using ELEMENTS = std::vector<std::string>;

struct SplitCase {
    const char *name;
    PLATFORM_GENERATION generation;
    const char *geoID;
    ELEMENTS elements; // empty for a mismatch
};
const SplitCase SPLIT_CASES[] = {
    {"First", PLATFORM_GENERATION_FIRST, "r001u01p0i03", {"001", "01", "0", "03"}},
    {"FirstOnBoard", PLATFORM_GENERATION_FIRST, "r999u99p9i00", {"999", "99", "9", "00"}},
    {"FirstWithBlankBehind", PLATFORM_GENERATION_FIRST, "r001u01p0i03 ", {}},
    {"FirstWithTextInFront", PLATFORM_GENERATION_FIRST, "xr001u01p0i03", {}},
    {"FirstEmpty", PLATFORM_GENERATION_FIRST, "", {}},
    {"FirstWithTwoPartitionDigits", PLATFORM_GENERATION_FIRST, "r001u01p00i03", {}},
    {"FirstOfSecondForm", PLATFORM_GENERATION_FIRST, "r001i01s03", {}},
    {"Second", PLATFORM_GENERATION_SECOND, "r001i01s03", {"001", "01", "03"}},
    {"SecondWithLettersForDigits", PLATFORM_GENERATION_SECOND, "rABCi01s03", {}},
    {"SecondCapital", PLATFORM_GENERATION_SECOND, "R001I01S03", {}},
    {"SecondEmpty", PLATFORM_GENERATION_SECOND, "", {}},
    {"SecondOfFirstForm", PLATFORM_GENERATION_SECOND, "r001u01p0i03", {}},
    {"SecondWithMoreBehind", PLATFORM_GENERATION_SECOND, "r001i01s03x", {}},
    {"SecondOnTwoLines", PLATFORM_GENERATION_SECOND, "r001i01s03\n", {}},
};
void PrintTo(const SplitCase &row, std::ostream *os) {
    *os << row.name;
}
class SplitGeoID : public ::testing::TestWithParam<SplitCase> {};
TEST_P(SplitGeoID, GivesTheElements) {
    const orbExpression expression(geoid_split_expression(GetParam().generation));
    ASSERT_EQ(expression.error(), 0);
    const GEOID_SPLIT split = split_geoid(expression.expression(), GetParam().geoID);
    EXPECT_EQ(split.elements, GetParam().elements);
    EXPECT_EQ(split.code, GetParam().elements.empty() ? REG_NOMATCH : 0);
    EXPECT_EQ(split.emptyGroup, 0u);
}
INSTANTIATE_TEST_SUITE_P(Texts, SplitGeoID, ::testing::ValuesIn(SPLIT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(SplitGeoIDText, ElementWithoutTextEmptiesAll) {
    const orbExpression expression("^r([0-9]+)u([0-9]*)$");
    const GEOID_SPLIT split = split_geoid(expression.expression(), "r12u");
    EXPECT_EQ(split.code, 0);
    EXPECT_TRUE(split.elements.empty());
    EXPECT_EQ(split.emptyGroup, 2u);
    EXPECT_EQ(split.start, 4);
    EXPECT_EQ(split.end, 4);
}

TEST(SplitGeoIDText, FifthGroupIsNotAsked) {
    const orbExpression expression("(1)(2)(3)(4)(5)");
    EXPECT_EQ(split_geoid(expression.expression(), "12345").elements,
              (ELEMENTS{"1", "2", "3", "4"}));
}

TEST(GeoIDExpression, OfAnUnknownGenerationIsNone) {
    EXPECT_EQ(geoid_split_expression(PLATFORM_GENERATION_UNKNOWN), nullptr);
}

TEST(GeoIDExpression, ThatDoesNotCompileTellsWhy) {
    const orbExpression expression("([0-9]");
    EXPECT_EQ(expression.error(), REG_EPAREN);
    EXPECT_NE(expression_error(expression.error(), expression.expression()), "");
}

struct BlankCase {
    const char *name;
    const char *designation;
    const char *whole;
    const char *ofDevice; // ten characters at most
};
const BlankCase BLANK_CASES[] = {
    {"Usual", "PCI r001i01s03", "r001i01s03", "r001i01s03"},
    {"NoBlankIsWhole", "r001i01s03", "r001i01s03", "r001i01s03"},
    {"NoBlankIsCutForDevices", "PCIr001i01s03", "PCIr001i01s03", "PCIr001i01"},
    {"MoreBehind", "LAN r001i01s00 port 1", "r001i01s00 port 1", "r001i01s00"},
    {"TwoBlanks", "LAN  r001i01s00", " r001i01s00", " r001i01s0"},
    {"BlankAtTheEnd", "LAN ", "", ""},
    {"BlankAtTheStart", " LAN", "LAN", "LAN"},
    {"Shorter", "LAN r1", "r1", "r1"},
    {"TabIsNoBlank", "LAN\tx", "LAN\tx", "LAN\tx"},
    {"Empty", "", "", ""},
};
void PrintTo(const BlankCase &row, std::ostream *os) {
    *os << row.name;
}
class BehindBlank : public ::testing::TestWithParam<BlankCase> {};
TEST_P(BehindBlank, IsTheGeoID) {
    EXPECT_EQ(geoid_behind_blank(GetParam().designation, std::string::npos), GetParam().whole);
    EXPECT_EQ(geoid_behind_blank(GetParam().designation, SECOND_GEOID_SIZE), GetParam().ofDevice);
}
INSTANTIATE_TEST_SUITE_P(Designations, BehindBlank, ::testing::ValuesIn(BLANK_CASES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace
