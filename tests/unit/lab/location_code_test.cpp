#include "vendor/location_code.h"

#include <cstdio>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "world/location_report.h"

namespace {
std::string code_of(const PHYSICAL_LOCATION &location) {
    std::uint64_t code = 0;
    EXPECT_EQ(encode_location(location, &code), 0);
    char text[17];
    std::snprintf(text, sizeof text, "%016llX", static_cast<unsigned long long>(code));
    return text;
}
std::string error_of(const std::string &code) {
    PHYSICAL_LOCATION location;
    std::string error;
    EXPECT_FALSE(decode_location(code, location, error)) << code;
    return error;
}

struct CodeCase {
    const char *name;
    PHYSICAL_LOCATION location; // generation, type, rack, unit, partition, slot, extra
    const char *code, *kind, *place, *geoId;
};
const CodeCase CODES[] = {
    {"FirstSlot",
     {1, 3, 1, 1, 0, 3, 0},
     "0203010100030021",
     "I/O slot",
     "rack 1, unit 1, partition 0, slot 3",
     "r001u01p0i03"},
    {"FirstOnBoard",
     {1, 59, 1, 1, 0, 0, 1},
     "",
     "network port on board",
     "rack 1, unit 1, partition 0, on board, port 1",
     "r001u01p0i00"},
    {"FirstBay",
     {1, 56, 2, 3, 4, 5, 10},
     "",
     "drive bay of the chassis",
     "rack 2, unit 3, partition 4, slot 5, bay 10",
     "r002u03p4i05"},
    {"FirstBackplane",
     {1, 64, 2, 3, 4, 5, 2},
     "",
     "storage backplane of the chassis",
     "rack 2, unit 3, partition 4, slot 5, box 2",
     "r002u03p4i05"},
    {"FirstExternal",
     {1, 69, 255, 99, 9, 99, 0},
     "",
     "external drive",
     "rack 255, unit 99, partition 9, slot 99",
     "r255u99p9i99"},
    {"SecondSlot",
     {2, 3, 1, 1, 0, 3, 0},
     "",
     "I/O slot",
     "rack 1, I/O element 1, slot 3",
     "r001i01s03"},
    {"SecondOnBoard",
     {2, 48, 1, 1, 0, 0, 7},
     "",
     "network port on board",
     "rack 1, I/O element 1, on board, port 7",
     "r001i01s00"},
    {"SecondBay",
     {2, 45, 1, 2, 0, 3, 255},
     "",
     "drive bay of the chassis",
     "rack 1, I/O element 2, slot 3, bay 255",
     "r001i02s03"},
    {"SecondBackplane",
     {2, 53, 1, 2, 0, 3, 0},
     "",
     "storage backplane of the chassis",
     "rack 1, I/O element 2, slot 3",
     "r001i02s03"},
    {"SecondExternal",
     {2, 61, 0, 0, 0, 0, 0},
     "",
     "external drive",
     "rack 0, I/O element 0, on board",
     "r000i00s00"},
};
void PrintTo(const CodeCase &row, std::ostream *os) {
    *os << row.name;
}
class LocationCode : public ::testing::TestWithParam<CodeCase> {};
TEST_P(LocationCode, ReadsBackAsItWasWritten) {
    const CodeCase &row = GetParam();
    const std::string code = code_of(row.location);
    if (*row.code != '\0') {
        EXPECT_EQ(code, row.code);
    }
    PHYSICAL_LOCATION read;
    std::string error;
    ASSERT_TRUE(decode_location(code, read, error)) << error;
    EXPECT_EQ(code_of(read), code);
    EXPECT_EQ(read.generation, row.location.generation);
    EXPECT_EQ(location_kind(read), row.kind);
    EXPECT_EQ(location_place(read), row.place);
    EXPECT_EQ(location_geo_id(read), row.geoId);
    EXPECT_EQ(readable_location(code), row.place);
}
INSTANTIATE_TEST_SUITE_P(Kinds, LocationCode, ::testing::ValuesIn(CODES),
                         [](const auto &row) { return std::string(row.param.name); });

struct RefusedCase {
    const char *name;
    PHYSICAL_LOCATION location;
    int fault;
};
const RefusedCase REFUSED[] = {
    {"TypeOfNobody", {1, 4, 1, 1, 0, 3, 0}, LOCATION_UNKNOWN_TYPE},
    {"TypeBeyondAByte", {1, 259, 1, 1, 0, 3, 0}, LOCATION_UNKNOWN_TYPE},
    {"TypeOfTheOtherGeneration", {2, 59, 1, 1, 0, 0, 1}, LOCATION_UNKNOWN_TYPE},
    {"ThirdGeneration", {3, 3, 1, 1, 0, 3, 0}, LOCATION_UNKNOWN_TYPE},
    {"Unit", {1, 3, 1, 100, 0, 3, 0}, LOCATION_OUT_OF_RANGE},
    {"Partition", {1, 3, 1, 1, 10, 3, 0}, LOCATION_OUT_OF_RANGE},
    {"PartitionOfTheSecondGeneration", {2, 3, 1, 1, 1, 3, 0}, LOCATION_OUT_OF_RANGE},
    {"Slot", {1, 3, 1, 1, 0, 100, 0}, LOCATION_OUT_OF_RANGE},
    {"ExtraOfAKindWithout", {1, 3, 1, 1, 0, 3, 1}, LOCATION_OUT_OF_RANGE},
};
void PrintTo(const RefusedCase &row, std::ostream *os) {
    *os << row.name;
}
class LocationRefused : public ::testing::TestWithParam<RefusedCase> {};
TEST_P(LocationRefused, GivesItsFaultAndNoCode) {
    std::uint64_t code = 42;
    EXPECT_EQ(encode_location(GetParam().location, &code), GetParam().fault);
    EXPECT_EQ(code, 42u);
}
INSTANTIATE_TEST_SUITE_P(Places, LocationRefused, ::testing::ValuesIn(REFUSED),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace

TEST(LocationCodes, NoTwoPlacesShareOne) {
    std::set<std::string> codes;
    std::size_t places = 0;
    for (int generation = 1; generation <= 2; ++generation)
        for (const std::uint32_t type : {3u, 45u, 48u, 53u, 56u, 59u, 61u, 64u, 69u})
            for (const int rack : {0, 1, 2, 255})
                for (const int unit : {0, 1, 2, 99})
                    for (const int partition : {0, 1, 9})
                        for (const int slot : {0, 1, 2, 99})
                            for (const int extra : {0, 1, 2, 255}) {
                                const PHYSICAL_LOCATION location{
                                    generation,
                                    type,
                                    static_cast<std::uint8_t>(rack),
                                    static_cast<std::uint8_t>(unit),
                                    static_cast<std::uint8_t>(partition),
                                    static_cast<std::uint8_t>(slot),
                                    static_cast<std::uint8_t>(extra)};
                                std::uint64_t code = 0;
                                if (encode_location(location, &code) != 0) continue;
                                ++places;
                                codes.insert(code_of(location));
                            }
    EXPECT_GT(places, 3000u);
    EXPECT_EQ(codes.size(), places);
}

TEST(LocationCodes, BadOnesAreTold) {
    EXPECT_EQ(error_of(""), "must have 16 hexadecimal digits, not 0 characters");
    EXPECT_EQ(error_of("02030101000300"), "must have 16 hexadecimal digits, not 14 characters");
    EXPECT_EQ(error_of(std::string(5000, '0')),
              "must have 16 hexadecimal digits, not 5000 characters");
    EXPECT_EQ(error_of("020301010003002G"), "character 16 is no hexadecimal digit");
    EXPECT_EQ(error_of("02030101000 0021"), "character 12 is no hexadecimal digit");
    EXPECT_EQ(error_of("FFFFFFFFFFFFFFFF"), "is the code of an unknown location");
    EXPECT_EQ(error_of("ffffffffffffffff"), "is the code of an unknown location");
    EXPECT_EQ(error_of("FFFFFFFFFFFFFFFE"), "begins with FF; codes of the lab begin with 02 or 03");
    EXPECT_EQ(error_of("0000000000000000"), "begins with 00; codes of the lab begin with 02 or 03");
    EXPECT_EQ(error_of("0203010100040020"), "ends with 20, but its other digits ask for 27");
    EXPECT_EQ(error_of("0203010100300021").substr(0, 10), "ends with ");
    EXPECT_EQ(error_of("0204010100030023"), "names the unknown kind of unit 4");
    EXPECT_EQ(error_of("0303010101030027"), "names a place that no unit can have");
}

TEST(LocationCodes, SmallLettersAreReadToo) {
    PHYSICAL_LOCATION location;
    std::string error;
    // Rack 10 and slot 11: a code with letters.
    EXPECT_TRUE(decode_location("02030a01000b006c", location, error)) << error;
    EXPECT_EQ(location.slot, 11);
}

TEST(LocationCodes, OthersStayReadableAsTheyAre) {
    EXPECT_EQ(readable_location("FFFFFFFFFFFFFFFF"), "location unknown");
    EXPECT_EQ(readable_location("0123456789ABCDEF"), "0123456789ABCDEF");
    EXPECT_EQ(readable_location(""), "");
}

TEST(LocationReport, HasARowForEachFact) {
    EXPECT_EQ(location_report({1, 59, 1, 2, 3, 0, 1}, false),
              "Generation  first\n"
              "Unit        network port on board\n"
              "Place       rack 1, unit 2, partition 3, on board, port 1\n"
              "GeoID       r001u02p3i00\n");
    EXPECT_EQ(location_report({2, 3, 1, 2, 0, 4, 0}, false),
              "Generation  second\n"
              "Unit        I/O slot\n"
              "Place       rack 1, I/O element 2, slot 4\n"
              "GeoID       r001i02s04\n");
}

TEST(LocationReport, IsOneJsonObject) {
    const std::string first = location_report({1, 3, 1, 2, 3, 4, 0}, true);
    EXPECT_EQ(first.find('\n'), first.size() - 1);
    Json::Value read, expected;
    ASSERT_TRUE(parse_json(first, read));
    ASSERT_TRUE(parse_json(R"({"generation":1,"type":3,"unitKind":"I/O slot","rack":1,"unit":2,)"
                           R"("partition":3,"slot":4,"extra":0,"geoId":"r001u02p3i04",)"
                           R"("place":"rack 1, unit 2, partition 3, slot 4"})",
                           expected));
    EXPECT_EQ(read, expected);
    ASSERT_TRUE(parse_json(location_report({2, 48, 1, 2, 0, 0, 1}, true), read));
    EXPECT_EQ(read["ioElement"].asInt(), 2);
    EXPECT_FALSE(read.isMember("partition") || read.isMember("unit"));
}
