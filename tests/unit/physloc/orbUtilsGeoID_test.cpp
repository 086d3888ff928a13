#include <dlfcn.h>
#include <regex.h>

#include <ostream>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "support/LocationWorld.h"

namespace {
int compileAnswer = 0; // not 0: what the next compilations give
int emptyGroup = 0;    // not 0: a group that matches are told to have without text
int compiled = 0, released = 0;
} // namespace

// The C library's own expressions, with faults that they don't have by themselves.
extern "C" int regcomp(regex_t *expression, const char *text, int flags) {
    static const auto real =
        reinterpret_cast<int (*)(regex_t *, const char *, int)>(::dlsym(RTLD_NEXT, "regcomp"));
    if (compileAnswer != 0) return compileAnswer;
    ++compiled;
    return real(expression, text, flags);
}
extern "C" int regexec(const regex_t *expression, const char *text, std::size_t count,
                       regmatch_t *matches, int flags) {
    static const auto real =
        reinterpret_cast<int (*)(const regex_t *, const char *, std::size_t, regmatch_t *, int)>(
            ::dlsym(RTLD_NEXT, "regexec"));
    const int code = real(expression, text, count, matches, flags);
    if (code == 0 && emptyGroup != 0) {
        regmatch_t &match = matches[emptyGroup < 0 ? 0 : emptyGroup];
        match.rm_eo = match.rm_so;
    }
    return code;
}
extern "C" void regfree(regex_t *expression) {
    static const auto real = reinterpret_cast<void (*)(regex_t *)>(::dlsym(RTLD_NEXT, "regfree"));
    ++released;
    real(expression);
}

namespace {
constexpr char TAG[] = "ORB_UTILS", SLOT[] = "0000:24:00.0";
using ELEMENTS = std::vector<std::string>;

class GeoID : public ::testing::Test, protected LocationWorld {
protected:
    GeoID() { compileAnswer = emptyGroup = compiled = released = 0; }
};

// -- Designations -------------------------------------------------------------------------------

struct WordCase {
    const char *name;
    const char *designation;
    const char *geoID;
};
const WordCase WORD_CASES[] = {
    {"AlmostAlone", "r001u01p0i03", "r001u01p0i03"},
    {"AmongWords", "PCI 0000:24:00.0 r001u01p0i03 x16", "r001u01p0i03"},
    {"BetweenSigns", "(r001u01p0i03)", "r001u01p0i03"},
    {"TextInFront", "PCIr001u01p0i03", ""},
    {"TextBehind", "r001u01p0i03x", ""},
    {"DigitBehind", "r001u01p0i034", ""},
    {"UnderscoreInFront", "_r001u01p0i03", ""},
    {"LettersForDigits", "r0A1u01p0i03", ""},
    {"CapitalLetters", "R001U01P0I03", ""},
    {"SecondForm", "PCI r001i01s03", ""},
    {"Empty", "", ""},
    {"SecondWordFits", "r1u1p1i1 r001u01p0i03", "r001u01p0i03"},
};
void PrintTo(const WordCase &row, std::ostream *os) {
    *os << row.name;
}
class GeoIDWord : public GeoID, public ::testing::WithParamInterface<WordCase> {};
TEST_P(GeoIDWord, IsFoundOrToldMissing) {
    EXPECT_EQ(orbUtils::getGeoIDFromDesignation(GetParam().designation), GetParam().geoID);
    EXPECT_EQ(log.count("DEBUG", TAG, "Error detecting GeoId : No match"),
              *GetParam().geoID == '\0' ? 1 : 0);
    EXPECT_EQ(released, compiled);
}
INSTANTIATE_TEST_SUITE_P(Rows, GeoIDWord, ::testing::ValuesIn(WORD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(GeoID, DesignationWithoutCompiledExpressionIsEmptyAfterAWarning) {
    compileAnswer = REG_ESPACE;
    EXPECT_EQ(orbUtils::getGeoIDFromDesignation("r001u01p0i03"), "");
    EXPECT_EQ(log.count("WARNING", TAG,
                        "Error Compiling Regex, Return Value: 12, Error Info: Memory exhausted"),
              1);
    EXPECT_EQ(released, 0);
    compileAnswer = 0;
    EXPECT_EQ(orbUtils::getGeoIDFromDesignation("r001u01p0i03"), "r001u01p0i03");
}

TEST_F(GeoID, TableWithoutCompiledExpressionHasEmptyOnesAfterAWarningEach) {
    compileAnswer = REG_ESPACE;
    boot("PLATFORM-ID-A01", {{"r001u01p0i03", 0, 0x24}, {"r001u01p0i04", 0, 0x25}},
         {{"r001u01p0i00", 0, 0xC3}});
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:25:00.0"), "");
    EXPECT_EQ(log.countHolding("WARNING", TAG, "Error Compiling Regex, Return Value: 12"), 3);
}

TEST_F(GeoID, TableCompilesOneExpressionAndReleasesIt) {
    boot("PLATFORM-ID-A01", {{"r001u01p0i03", 0, 0x24}, {"r001u01p0i04", 0, 0x25}},
         {{"r001u01p0i00", 0, 0xC3}});
    EXPECT_EQ(compiled, 1);
    EXPECT_EQ(released, 1);
}

TEST_F(GeoID, MatchWithoutTextIsTold) {
    emptyGroup = -1; // the whole match
    EXPECT_EQ(orbUtils::getGeoIDFromDesignation("PCI r001u01p0i03"), "");
    EXPECT_EQ(log.count("WARNING", TAG,
                        "Issue in identifying GeoId from PCI Designation : : PCI r001u01p0i03"),
              1);
    EXPECT_EQ(released, compiled);
}

// -- Splitting ----------------------------------------------------------------------------------

TEST_F(GeoID, OfTheFirstGenerationHasFourElements) {
    boot("PLATFORM-ID-A01", {{"PCI r001u02p3i04", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), (ELEMENTS{"001", "02", "3", "04"}));
}

TEST_F(GeoID, OfTheSecondGenerationHasThreeElements) {
    boot("PLATFORM-ID-B01", {{"PCI r001i02s03", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), (ELEMENTS{"001", "02", "03"}));
}

TEST_F(GeoID, OfTheSecondGenerationsOtherIdHasThreeElements) {
    boot("PLATFORM-ID-B02", {{"PCI r001i02s03", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), (ELEMENTS{"001", "02", "03"}));
}

TEST_F(GeoID, UnknownAddressHasNoElements) {
    boot("PLATFORM-ID-A01", {{"PCI r001u02p3i04", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo("0000:99:00.0"), ELEMENTS{});
    EXPECT_EQ(log.count("DEBUG", TAG, "GeoID not available for PCI address [0000:99:00.0]."), 1);
}

TEST_F(GeoID, EmptyOneHasNoElements) {
    boot("PLATFORM-ID-A01", {{"PCI", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(log.count("DEBUG", TAG, "Error decoding GeoID []: [1] - [No match]"), 1);
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "GeoID not available"), 0);
}

TEST_F(GeoID, LettersForRackDigitsOnTheSecondGenerationHaveNoElements) {
    boot("PLATFORM-ID-B02", {{"PCI rABCi01s03", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(log.count("DEBUG", TAG, "Error decoding GeoID [rABCi01s03]: [1] - [No match]"), 1);
}

TEST_F(GeoID, DesignationThatReadsNotAvailableIsUnknown) {
    boot("PLATFORM-ID-B02", {{"PCI NotAvailable", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(log.count("DEBUG", TAG, "GeoID not available for PCI address [0000:24:00.0]."), 1);
}

TEST_F(GeoID, OfAnUnknownPlatformIsToldEachTime) {
    boot("PLATFORM-ID-C01", {{"PCI r001u02p3i04", 0, 0x24}});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(log.count("WARNING", TAG,
                        "Failed to decode GeoID [r001u02p3i04]: Unknown or unsupported platform "
                        "type."),
              2);
}

TEST_F(GeoID, ExpressionIsCompiledOnce) {
    boot("PLATFORM-ID-B01", {{"PCI r001i02s03", 0, 0x24}});
    const int before = compiled;
    for (int i = 0; i < 5; ++i) (void)orbUtils::getGeoIDInfo(SLOT);
    EXPECT_EQ(compiled, before + 1);
}

TEST_F(GeoID, FailedCompilationIsToldAndTriedAgain) {
    boot("PLATFORM-ID-B01", {{"PCI r001i02s03", 0, 0x24}});
    compileAnswer = REG_ESPACE;
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(log.count("WARNING", TAG,
                        "Error compiling regex [^r([0-9]{3})i([0-9]{2})s([0-9]{2})$]: [12] - "
                        "[Memory exhausted]"),
              2);
    compileAnswer = 0;
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), (ELEMENTS{"001", "02", "03"}));
}

TEST_F(GeoID, ElementWithoutTextClearsAllAndIsTold) {
    boot("PLATFORM-ID-A01", {{"PCI r001u02p3i04", 0, 0x24}});
    emptyGroup = 3;
    EXPECT_EQ(orbUtils::getGeoIDInfo(SLOT), ELEMENTS{});
    EXPECT_EQ(log.count("WARNING", TAG,
                        "Failed to extract element # 3 from GeoID [r001u02p3i04]: Internal error "
                        "(8, 8)"),
              1);
}
} // namespace
