#include "physloc/orbPhysLocFactory.h"

#include <ostream>

#include <gtest/gtest.h>

#include "physloc/orbMockPhysLocInterface.h"
#include "physloc/orbQLPhysLocInterface.h"
#include "physloc/orbZRTKPhysLocInterface.h"
#include "support/LocationWorld.h"

namespace {
constexpr char TAG[] = "PL_FACT";
constexpr char NO_LIBRARY[] =
    "Physical location will be reported by ORB as FFFFFFFFFFFFFFFF for all FRUs.";

void prepare(void *, int) {}
int encode(void *, std::uint64_t *value) {
    *value = 0x1234;
    return 0;
}
const FakeLibraries::SYMBOLS ENTRIES = {{"physloc_init_data", FakeLibraries::entry(prepare)},
                                        {"physloc_encode", FakeLibraries::entry(encode)}};

std::string unknown_platform(const std::string &family) {
    return "Unable to determine platform type [" + family + "]. " + NO_LIBRARY;
}

struct FamilyCase {
    const char *name;
    const char *family;
    const char *library; // the one that serves
};
const FamilyCase FAMILY_CASES[] = {
    {"FirstGeneration", "PLATFORM-ID-A01", "libgeoenc02.so"},
    {"SecondGeneration", "PLATFORM-ID-B01", "libgeoenc03.so"},
    {"SecondGenerationsOtherId", "PLATFORM-ID-B02", "libgeoenc03.so"},
    {"UnknownGeneration", "PLATFORM-ID-C01", "Mock-PL"},
    {"BlankBehind", "PLATFORM-ID-A01 ", "Mock-PL"},
    {"SmallLetters", "platform-id-a01", "Mock-PL"},
};
void PrintTo(const FamilyCase &row, std::ostream *os) {
    *os << row.name;
}
class PhysLocFactoryFamily : public ::testing::TestWithParam<FamilyCase> {};

TEST_P(PhysLocFactoryFamily, PicksTheImplementation) {
    LocationWorld world;
    world.libraries.add("libgeoenc02.so", ENTRIES);
    world.libraries.add("libgeoenc03.so", ENTRIES);
    world.boot(GetParam().family, {{"PCI r001u01p0i03", 0, 0x24}});
    orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
    ASSERT_NE(chosen, nullptr);
    EXPECT_EQ(chosen->getPhysLocLibraryName(), GetParam().library);
    EXPECT_EQ(orbPhysLocFactory::getPhysLocInterface(), chosen);

    const bool known = std::string(GetParam().library) != "Mock-PL";
    EXPECT_EQ(world.log.count("WARNING", TAG, unknown_platform(GetParam().family)), known ? 0 : 1);
    EXPECT_EQ(world.libraries.calls().empty(), !known);
    EXPECT_EQ(world.log.count("WARNING", TAG, NO_LIBRARY), 0);
}
INSTANTIATE_TEST_SUITE_P(Families, PhysLocFactoryFamily, ::testing::ValuesIn(FAMILY_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(PhysLocFactory, EmptyFamilyGivesTheMockAndOneWarning) {
    LocationWorld world;
    orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
    EXPECT_EQ(chosen, orbMockPhysLocInterface::getInstance());
    EXPECT_EQ(orbPhysLocFactory::getPhysLocInterface(), chosen);
    EXPECT_EQ(world.log.count("WARNING", TAG, unknown_platform("")), 1);
}

TEST(PhysLocFactory, EncoderThatCannotBeLoadedGivesTheMockForGood) {
    LocationWorld world;
    world.boot("PLATFORM-ID-B01", {{"PCI r001i01s03", 0, 0x24}});
    orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
    EXPECT_EQ(chosen, orbMockPhysLocInterface::getInstance());
    EXPECT_EQ(world.log.count("WARNING", TAG, NO_LIBRARY), 1);

    world.libraries.add("libgeoenc03.so", ENTRIES); // too late: nothing is tried again
    EXPECT_EQ(orbPhysLocFactory::getPhysLocInterface(), chosen);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "FRUs"), 1);
    EXPECT_EQ(world.log.countHolding("ERROR", "ZRTKPL_INTF", "Failed to load"), 1);
    EXPECT_EQ(chosen->getPhysLocForIOSlot("0000:24:00.0"), "FFFFFFFFFFFFFFFF");
}

TEST(PhysLocFactory, EncoderWithoutASymbolGivesTheWarningWithoutPlatformType) {
    LocationWorld world;
    world.libraries.add("libgeoenc02.so", {{"physloc_init_data", FakeLibraries::entry(prepare)}});
    world.boot("PLATFORM-ID-A01", {{"PCI r001u01p0i03", 0, 0x24}});
    orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
    EXPECT_EQ(chosen->getPhysLocLibraryName(), "Mock-PL");
    EXPECT_EQ(world.log.count("WARNING", TAG, NO_LIBRARY), 1);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, "platform type"), 0);
    EXPECT_EQ(chosen->getPhysLocForIOSlot("0000:24:00.0"), "FFFFFFFFFFFFFFFF");
}

TEST(PhysLocFactory, EncoderThatServesStands) {
    LocationWorld world;
    world.libraries.add("libgeoenc02.so", ENTRIES);
    world.boot("PLATFORM-ID-A01", {{"PCI r001u01p0i03", 0, 0x24}});
    orbPhysLocInterface *const chosen = orbPhysLocFactory::getPhysLocInterface();
    EXPECT_EQ(chosen, orbQLPhysLocInterface::getInstance());
    EXPECT_EQ(chosen->getPhysLocForIOSlot("0000:24:00.0"), "0000000000001234");
    EXPECT_EQ(world.libraries.opened("libgeoenc02.so"), 1);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, ""), 0);
}
} // namespace
