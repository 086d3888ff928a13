#include "core/format_text.h"

#include <string>

#include <gtest/gtest.h>

TEST(FormatText, FillsItsConversions) {
    EXPECT_EQ(
        format_text("%s [%d] took %zu of %ld, 0x%x", "HostOSInfo", -1, std::size_t{2}, 3L, 255u),
        "HostOSInfo [-1] took 2 of 3, 0xff");
    EXPECT_EQ(format_text("100%%"), "100%");
    EXPECT_EQ(format_text("%s", ""), "");
}

TEST(FormatText, KeepsATextOf4095Characters) {
    const std::string longest(4095, 'a');
    EXPECT_EQ(format_text("%s", longest.c_str()), longest);
}

TEST(FormatText, CutsALongerTextTo4095Characters) {
    const std::string longer(10'000, 'a');
    EXPECT_EQ(format_text("%s!", longer.c_str()), std::string(4095, 'a'));
}

TEST(FormatText, TakesOutsideTextAsAnArgumentAlone) {
    EXPECT_EQ(format_text("%s", "%n%s%d"), "%n%s%d");
}
