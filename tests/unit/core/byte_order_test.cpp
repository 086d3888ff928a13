#include "core/byte_order.h"

#include <array>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace {
struct RECORD {
    be_field<2> big;
    le_field<4> little;
};
static_assert(sizeof(RECORD) == 6);
constexpr std::array<std::uint8_t, 8> BYTES = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};
} // namespace

TEST(ByteOrder, FieldsHaveTheirOrder) {
    EXPECT_EQ((be_field<3>{{0x12, 0x34, 0x56}}).value(), 0x123456u);
    EXPECT_EQ((le_field<3>{{0x12, 0x34, 0x56}}).value(), 0x563412u);
    EXPECT_EQ((be_field<8>{{0xFF, 0, 0, 0, 0, 0, 0, 1}}).value(), 0xFF00000000000001u);
    EXPECT_EQ((le_field<8>{{1, 0, 0, 0, 0, 0, 0, 0xFF}}).value(), 0xFF00000000000001u);
}

TEST(ByteOrder, SetKeepsTheLowBytes) {
    le_field<2> field{};
    field.set(0x123456);
    EXPECT_EQ(field.b[0], 0x56);
    EXPECT_EQ(field.b[1], 0x34);
    EXPECT_EQ(field.value(), 0x3456u);
}

TEST(ByteOrder, RecordIsCopiedFromWhereItFits) {
    RECORD record{};
    EXPECT_TRUE(read_record(BYTES, 2, record));
    EXPECT_EQ(record.big.value(), 0x0304u);
    EXPECT_EQ(record.little.value(), 0x08070605u);
}

TEST(ByteOrder, RecordThatDoesNotFitIsLeftAlone) {
    for (const std::size_t offset :
         {std::size_t{3}, std::size_t{8}, std::size_t{9}, std::numeric_limits<std::size_t>::max(),
          std::numeric_limits<std::size_t>::max() - 5}) {
        RECORD record{{{0xAA, 0xAA}}, {{0xAA, 0xAA, 0xAA, 0xAA}}};
        EXPECT_FALSE(read_record(BYTES, offset, record)) << offset;
        EXPECT_EQ(record.big.value(), 0xAAAAu);
        EXPECT_EQ(record.little.value(), 0xAAAAAAAAu);
    }
}
