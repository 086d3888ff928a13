#include "physloc/platform_family.h"

#include <gtest/gtest.h>

static_assert(platform_generation("PLATFORM-ID-A01") == PLATFORM_GENERATION_FIRST);

TEST(PlatformFamily, HasItsGeneration) {
    EXPECT_EQ(platform_generation("PLATFORM-ID-A01"), PLATFORM_GENERATION_FIRST);
    EXPECT_EQ(platform_generation("PLATFORM-ID-B01"), PLATFORM_GENERATION_SECOND);
    EXPECT_EQ(platform_generation("PLATFORM-ID-B02"), PLATFORM_GENERATION_SECOND);
    for (const char *family : {"", "PLATFORM-ID-A02", "PLATFORM-ID-B03", "PLATFORM-ID-A01x", "A01"})
        EXPECT_EQ(platform_generation(family), PLATFORM_GENERATION_UNKNOWN) << family;
}
