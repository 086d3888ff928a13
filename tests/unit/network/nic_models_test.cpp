#include "network/nic_models.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "tables/nic_models.h"
#include "tables/nic_part_numbers.h"

namespace {
// -- Models -------------------------------------------------------------------------------------

TEST(NicModels, EveryRowIsFound) {
    for (const NIC_MODELS_ROW &row : NIC_MODELS)
        EXPECT_EQ(nic_model_of(row.subVendor, row.subDevice), row.model);
}

TEST(NicModels, AreSixUnderTwoVendors) {
    std::set<std::string_view> models;
    std::map<unsigned, std::map<std::string_view, std::set<unsigned>>> vendors;
    for (const NIC_MODELS_ROW &row : NIC_MODELS) {
        models.insert(row.model);
        vendors[row.subVendor][row.model].insert(row.subDevice);
    }
    EXPECT_EQ(models.size(), 6u);
    ASSERT_EQ(vendors.size(), 2u);
    const auto &first = vendors[NIC_MODELS[0].subVendor];
    EXPECT_EQ(first.size(), 4u);
    for (const auto &[model, devices] : first) EXPECT_EQ(devices.size(), 1u) << model;
    const auto &second = vendors.rbegin()->second;
    ASSERT_EQ(second.size(), 2u);
    EXPECT_TRUE(std::any_of(second.begin(), second.end(), [](const auto &entry) {
        return entry.second.size() == 2 && entry.second.count(0) == 1;
    })) << "one model has two device ids, 0 among them";
}

TEST(NicModels, OtherIdsHaveNone) {
    EXPECT_EQ(nic_model_of(0xfff0, 0), "") << "0 is a device of the other vendor";
    EXPECT_EQ(nic_model_of(0xfff1, 1), "");
    EXPECT_EQ(nic_model_of(0x8086, 1), "");
    EXPECT_EQ(nic_model_of(0x1fff0, 1), "") << "all 32 bits count";
    EXPECT_EQ(nic_model_of(0xfff0, 0x10001), "");
}

// -- Part numbers -------------------------------------------------------------------------------

TEST(NicPartNumbers, AreTwelveTokensAndThreeFamilies) {
    const auto isToken = [](const NIC_PART_NUMBERS_ROW &row) { return !row.token.empty(); };
    EXPECT_EQ(std::size(NIC_PART_NUMBERS), 15u);
    EXPECT_EQ(std::count_if(std::begin(NIC_PART_NUMBERS), std::end(NIC_PART_NUMBERS), isToken), 12);
    EXPECT_TRUE(
        std::is_partitioned(std::begin(NIC_PART_NUMBERS), std::end(NIC_PART_NUMBERS), isToken))
        << "a token anywhere wins over a family";
    for (const NIC_PART_NUMBERS_ROW &row : NIC_PART_NUMBERS) {
        EXPECT_NE(row.token.empty(), row.speed.empty());
        EXPECT_EQ(row.speed.empty(), row.family.empty());
        EXPECT_EQ(row.speed.empty(), row.ports == 0);
    }
}

TEST(NicPartNumbers, EveryTokenGivesItsRow) {
    for (const NIC_PART_NUMBERS_ROW &row : NIC_PART_NUMBERS) {
        if (row.token.empty()) continue;
        EXPECT_EQ(nic_part_number_of(row.token), row.partNumber);
        EXPECT_EQ(nic_part_number_of("Vantor Ethernet " + std::string(row.token) + " Adapter"),
                  row.partNumber);
    }
}

TEST(NicPartNumbers, EarlierOfTwoTokensWins) {
    const std::size_t tokens = 12;
    for (std::size_t i = 0; i < tokens; ++i)
        for (std::size_t j = i + 1; j < tokens; ++j)
            EXPECT_EQ(nic_part_number_of(std::string(NIC_PART_NUMBERS[j].token) + " " +
                                         std::string(NIC_PART_NUMBERS[i].token)),
                      NIC_PART_NUMBERS[i].partNumber);
}

struct FamilyCase {
    const char *name, *model, *partNumber;
};
void PrintTo(const FamilyCase &row, std::ostream *os) {
    *os << row.name;
}
const FamilyCase FAMILY_CASES[] = {
    {"HundredTwoPorts", "Vantor Ethernet 100Gb 2-port 900M Adapter", "VX91002-001"},
    {"HundredTwoPortsShort", "900M 2p 100Gb", "VX91002-001"},
    {"HundredOnePort", "Vantor Ethernet 100Gb 1-port 900M Adapter", "VX91001-001"},
    {"HundredOnePortShort", "100Gb 1p 900M", "VX91001-001"},
    {"HundredBothCounts", "100Gb 1-port 2-port 900M", "VX91002-001"},
    {"CountWithinALongerOne", "100Gb 12-port 900M", "VX91002-001"},
    {"CountAnywhere", "100Gb 900M 31p", "VX91001-001"},
    {"HundredNoCount", "100Gb 900M", ""},
    {"HundredFourPorts", "100Gb 4-port 900M", ""},
    {"TwoHundredOnePort", "Vantor Ethernet 200Gb 1-port 900M Adapter", "VX92001-001"},
    {"TwoHundredOnePortShort", "200Gb 1p 900M", "VX92001-001"},
    {"TwoHundredTwoPorts", "200Gb 2-port 900M", ""},
    {"BothSpeeds", "100Gb 200Gb 1-port 900M", "VX91001-001"},
    {"OtherFamily", "100Gb 2-port 900N", ""},
    {"OtherSpeed", "50Gb 2-port 900M", ""},
    {"Nothing", "", ""},
    {"InOtherLetters", "100GB 2-PORT 900m", ""},
    {"TokenBeforeFamily", "100Gb 2-port 900M 900T", "VX90010-000"},
};
class NicFamily : public ::testing::TestWithParam<FamilyCase> {};
TEST_P(NicFamily, GivesThePartNumber) {
    EXPECT_EQ(nic_part_number_of(GetParam().model), GetParam().partNumber);
}
INSTANTIATE_TEST_SUITE_P(Models, NicFamily, ::testing::ValuesIn(FAMILY_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(NicPartNumbers, EveryModelOfTheTableHasOne) {
    for (const NIC_MODELS_ROW &row : NIC_MODELS)
        EXPECT_NE(nic_part_number_of(row.model), "") << row.model;
}
} // namespace
