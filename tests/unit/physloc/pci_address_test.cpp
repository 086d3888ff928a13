#include "physloc/pci_address.h"

#include <ostream>

#include <gtest/gtest.h>

namespace {
struct TextCase {
    const char *name;
    std::string text;
    bool valid;
};
const TextCase TEXT_CASES[] = {
    {"Usual", "0000:24:00.0", true},
    {"CapitalDigits", "00AB:C3:1F.7", true},
    {"Empty", "", false},
    {"ElevenCharacters", "0000:24:00.", false},
    {"ElevenThatWouldRead", "000:24:00.0", false},
    {"ThirteenThatWouldRead", "0000:24:00.00", false},
    {"TwelveWithoutFunction", "0000:24:00..", false},
    {"Word", "NotAvailable", false},
    {"LetterBeyondF", "0000:2g:00.0", false},
    {"DotForColon", "0000:24.00.0", false},
    {"ShortFieldsAndLongFunction", "0:0:0.123456", true},
    {"FunctionOfSixDigitsAtMost", "0:0:0.ffffff", true},
    {"JunkBehindTheFunction", "000:24:00.0x", true},
    {"DomainOfFiveDigits", "00000:24:0.0", false},
    {"BlanksBeforeFields", "  0: 0: 0. 0", true},
    {"OnlyBlanks", "            ", false},
    {"NulInside", std::string("0000:24\0:0.0", 12), false},
};
void PrintTo(const TextCase &row, std::ostream *os) {
    *os << row.name;
}
class PciAddressText : public ::testing::TestWithParam<TextCase> {};
TEST_P(PciAddressText, IsValidOrNot) {
    EXPECT_EQ(is_pci_address_text(GetParam().text), GetParam().valid);
}
INSTANTIATE_TEST_SUITE_P(Texts, PciAddressText, ::testing::ValuesIn(TEXT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(PciAddress, IsFormedFromItsParts) {
    EXPECT_EQ(pci_address_text(0, 0x24, 0), "0000:24:00.0");
    EXPECT_EQ(pci_address_text(0, 0xC3, 1), "0000:c3:00.1");
    EXPECT_EQ(pci_address_text(0xABCD, 0xFF, 0xFF), "abcd:ff:1f.7");
    EXPECT_EQ(pci_address_text(1, 2, 0x0B), "0001:02:01.3");
}

TEST(SafeAddressWord, HoldsCharactersOfAddressesAlone) {
    for (const char *good : {"0000:c3:00.0", "0000:002:00.0", "FFFF:AB:1f.7", "0"})
        EXPECT_TRUE(is_safe_address_word(good)) << good;
    for (const char *bad : {"", "Pseudo", "0000:c3:00.0/,/x/", "0000:g3:00.0", "0000:c3:00.0 ",
                            "0000:c3:00-0", "0000'c3"})
        EXPECT_FALSE(is_safe_address_word(bad)) << bad;
}
} // namespace
