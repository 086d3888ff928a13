#include "bmc/BmcWire.h"

#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "support/BmcMachine.h"

namespace {
using Bytes = std::vector<std::uint8_t>;

struct RequestCase {
    const char *name;
    Bytes raw;
    BMC_REQUEST request;
};
const RequestCase REQUESTS[] = {
    {"DeviceId", {0x07, 0x18, 0x01, 0xE0, 0xA0}, {7, 0x06, 0, 0x01, {}}},
    {"LunTwo", {0x00, 0x1A, 0x01, 0xE5, 0xA0}, {0, 0x06, 2, 0x01, {}}},
    {"WithData", {0x01, 0x18, 0x2E, 0x09, 0xB0, 0xA0}, {1, 0x06, 0, 0x2E, {0x09}}},
    {"EachEscapedByte",
     {0x01, 0xE8, 0x80, 0xAA, 0xB0, 0xAA, 0xB1, 0xAA, 0xBA, 0xAC, 0xA0},
     {1, 0x3A, 0, 0x80, {0xA0, 0xA1, 0xAA}}},
    {"PlainLookalikes",
     {0x01, 0xE8, 0x80, 0xB0, 0xB1, 0xBA, 0x7C, 0xA0},
     {1, 0x3A, 0, 0x80, {0xB0, 0xB1, 0xBA}}},
    {"EscapedSequence", {0xAA, 0xBA, 0x18, 0x01, 0x3D, 0xA0}, {0xAA, 0x06, 0, 0x01, {}}},
    {"EscapedChecksum", {0x47, 0x18, 0x01, 0xAA, 0xB0, 0xA0}, {0x47, 0x06, 0, 0x01, {}}},
};
void PrintTo(const RequestCase &row, std::ostream *os) {
    *os << row.name;
}

void expect_equal(const BMC_REQUEST &found, const BMC_REQUEST &wanted) {
    EXPECT_EQ(found.sequence, wanted.sequence);
    EXPECT_EQ(found.netfn, wanted.netfn);
    EXPECT_EQ(found.lun, wanted.lun);
    EXPECT_EQ(found.cmd, wanted.cmd);
    EXPECT_EQ(found.data, wanted.data);
}

struct BrokenCase {
    const char *name;
    Bytes raw;
    const char *violation;
};
const BrokenCase BROKEN[] = {
    {"WrongChecksum", {0x07, 0x18, 0x01, 0xE1, 0xA0}, "wrong checksum"},
    {"Empty", {0xA0}, "a message of 0 bytes, not 4 or more"},
    {"NoCommand", {0x07, 0x18, 0xE1, 0xA0}, "a message of 3 bytes, not 4 or more"},
    {"EmptyControl", {0xA1}, "a control without its code"},
    {"EscapeOfPlainByte", {0x07, 0xAA, 0x18, 0x01, 0xA0}, "0x18 behind an escape"},
    {"EscapeOfUnlikelyByte", {0x07, 0xAA, 0xB2, 0x01, 0xA0}, "0xb2 behind an escape"},
    {"EscapeTwice", {0x07, 0xAA, 0xAA, 0xBA, 0x01, 0xA0}, "an escape behind an escape"},
    {"EscapeBeforeEnd", {0x07, 0x18, 0x01, 0xE0, 0xAA, 0xA0}, "an escape before the end"},
    {"EscapeBeforeControlEnd", {0x04, 0xAA, 0xA1}, "an escape before the end"},
    {"Response", {0x07, 0x1C, 0x01, 0xDC, 0xA0}, "a response, netfn 0x07, where a request belongs"},
};
void PrintTo(const BrokenCase &row, std::ostream *os) {
    *os << row.name;
}
} // namespace

class BmcRequests : public ::testing::TestWithParam<RequestCase> {};
TEST_P(BmcRequests, AreReadWhole) {
    BmcWireReader reader;
    reader.take(GetParam().raw);
    const auto item = reader.next();
    ASSERT_TRUE(item && std::holds_alternative<BMC_REQUEST>(*item));
    expect_equal(std::get<BMC_REQUEST>(*item), GetParam().request);
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(reader.takeViolations().empty());
}
TEST_P(BmcRequests, AreReadByteByByte) {
    BmcWireReader reader;
    for (const std::uint8_t byte : GetParam().raw) {
        EXPECT_FALSE(reader.next());
        reader.take({&byte, 1});
    }
    const auto item = reader.next();
    ASSERT_TRUE(item && std::holds_alternative<BMC_REQUEST>(*item));
    expect_equal(std::get<BMC_REQUEST>(*item), GetParam().request);
}
INSTANTIATE_TEST_SUITE_P(Wire, BmcRequests, ::testing::ValuesIn(REQUESTS),
                         [](const auto &row) { return std::string(row.param.name); });

class BmcBrokenFrames : public ::testing::TestWithParam<BrokenCase> {};
TEST_P(BmcBrokenFrames, AreNamedAndSurvived) {
    BmcWireReader reader;
    reader.take(GetParam().raw);
    EXPECT_FALSE(reader.next());
    EXPECT_EQ(reader.violationCount(), 1u);
    EXPECT_EQ(reader.takeViolations(),
              std::vector<std::string>{std::string("controller's wire: ") + GetParam().violation});
    reader.take(bmc_frame({0x05, 0x18, 0x01}));
    const auto item = reader.next();
    ASSERT_TRUE(item && std::holds_alternative<BMC_REQUEST>(*item));
    EXPECT_EQ(std::get<BMC_REQUEST>(*item).sequence, 5);
    EXPECT_TRUE(reader.takeViolations().empty());
}
INSTANTIATE_TEST_SUITE_P(Wire, BmcBrokenFrames, ::testing::ValuesIn(BROKEN),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(BmcWireReader, ControlsAndRequestsComeInOrder) {
    BmcWireReader reader;
    Bytes stream{0xFF, 0x01, 0xA1, 0x08, 0x3F, 0xA1, 0x04, 0xA1};
    const Bytes request = bmc_frame({0x01, 0xE8, 0x81});
    stream.insert(stream.end(), request.begin(), request.end());
    reader.take(stream);
    for (const BMC_CONTROL &wanted :
         {BMC_CONTROL{0xFF, {0x01}}, BMC_CONTROL{0x08, {0x3F}}, BMC_CONTROL{0x04, {}}}) {
        const auto item = reader.next();
        ASSERT_TRUE(item && std::holds_alternative<BMC_CONTROL>(*item));
        EXPECT_EQ(std::get<BMC_CONTROL>(*item).code, wanted.code);
        EXPECT_EQ(std::get<BMC_CONTROL>(*item).data, wanted.data);
    }
    const auto item = reader.next();
    ASSERT_TRUE(item && std::holds_alternative<BMC_REQUEST>(*item));
    EXPECT_FALSE(reader.next());
}

TEST(BmcWireReader, LongestMessageIsTakenAndOneByteMoreIsNot) {
    BmcWireReader reader;
    Bytes bytes{0x01, 0xE8, 0x80};
    bytes.resize(BmcWireReader::MESSAGE_LIMIT - 1, 0x11);
    reader.take(bmc_frame(bytes));
    ASSERT_TRUE(reader.next());
    bytes.push_back(0x11);
    reader.take(bmc_frame(bytes));
    EXPECT_FALSE(reader.next());
    EXPECT_EQ(reader.takeViolations(),
              std::vector<std::string>{"controller's wire: more than 300 bytes"});
}

TEST(BmcWireReader, EndlessMessageIsNamedOnce) {
    BmcWireReader reader;
    reader.take(Bytes(1 << 20, 0x11));
    EXPECT_EQ(reader.violationCount(), 1u);
    reader.take(Bytes{0xA0});
    EXPECT_EQ(reader.violationCount(), 1u);
    EXPECT_FALSE(reader.next());
}

TEST(BmcWireReader, ItemsThatNobodyTakesAreBounded) {
    BmcWireReader reader;
    for (std::size_t i = 0; i < BmcWireReader::ITEM_LIMIT + 2; ++i) reader.take(Bytes{0x04, 0xA1});
    EXPECT_EQ(reader.violationCount(), 2u);
    std::size_t taken = 0;
    while (reader.next()) ++taken;
    EXPECT_EQ(taken, BmcWireReader::ITEM_LIMIT);
}

TEST(BmcWireReader, ViolationsAreCountedBeyondThoseThatAreKept) {
    BmcWireReader reader;
    for (int i = 0; i < 1500; ++i) reader.take(Bytes{0xA0});
    EXPECT_EQ(reader.violationCount(), 1500u);
    EXPECT_EQ(reader.takeViolations().size(), 1000u);
}

TEST(BmcWireReader, ResetForgetsHalfAMessage) {
    BmcWireReader reader;
    reader.take(Bytes{0x01, 0x02, 0xAA});
    reader.reset();
    reader.take(bmc_frame({0x05, 0x18, 0x01}));
    EXPECT_TRUE(reader.next());
    EXPECT_TRUE(reader.takeViolations().empty());
}

TEST(BmcWireAnswers, CarryResponseBitCompletionAndChecksum) {
    EXPECT_EQ(encode_bmc_answer({7, 0x06, 0, 0x2F, {}}, {0x00, {0x09}}),
              (Bytes{0x07, 0x1C, 0x2F, 0x00, 0x09, 0xA5, 0xA0}));
    EXPECT_EQ(encode_bmc_answer({1, 0x3A, 2, 0x80, {1, 2, 3}}, {0xC1, {}}),
              (Bytes{0x01, 0xEE, 0x80, 0xC1, 0xD0, 0xA0}));
}

TEST(BmcWireAnswers, SpecialBytesAreEscaped) {
    EXPECT_EQ(encode_bmc_answer({0xA0, 0x3A, 0, 0x80, {}}, {0xAA, {0xA1, 0xB0}}),
              (Bytes{0xAA, 0xB0, 0xEC, 0x80, 0xAA, 0xBA, 0xAA, 0xB1, 0xB0, 0xF9, 0xA0}));
    // A checksum that is special itself.
    EXPECT_EQ(encode_bmc_answer({0x00, 0x06, 0, 0x01, {}}, {0x43, {}}),
              (Bytes{0x00, 0x1C, 0x01, 0x43, 0xAA, 0xB0, 0xA0}));
}

TEST(BmcWireControls, AreCodeDataAndEnd) {
    EXPECT_EQ(encode_bmc_control(0x05), (Bytes{0x05, 0xA1}));
    EXPECT_EQ(encode_bmc_control(0x08, Bytes{0xA1}), (Bytes{0x08, 0xAA, 0xB1, 0xA1}));
}
