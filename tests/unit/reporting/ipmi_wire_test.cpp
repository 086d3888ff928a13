#include "reporting/ipmi_wire.h"

#include <sys/ioctl.h>

#include <array>

#include <gtest/gtest.h>

TEST(IpmiWire, RequestCodesAreTheDriversOwn) {
    EXPECT_EQ(IPMICTL_SEND_COMMAND, _IOR('i', 13, ORB_IPMI_REQUEST));
    EXPECT_EQ(IPMICTL_RECEIVE_MSG_TRUNC, _IOWR('i', 11, ORB_IPMI_RECEIVED));
    EXPECT_EQ(IPMICTL_SEND_COMMAND, 0x8028690Du);
    EXPECT_EQ(IPMICTL_RECEIVE_MSG_TRUNC, 0xC030690Bu);
}

TEST(IpmiWire, RecordsHaveTheDriversSizes) {
    EXPECT_EQ(sizeof(ORB_IPMI_REQUEST), 40u);
    EXPECT_EQ(sizeof(ORB_IPMI_RECEIVED), 48u);
    EXPECT_EQ(sizeof(ORB_IPMI_MESSAGE), 16u);
    EXPECT_EQ(sizeof(ORB_IPMI_SYSTEM_ADDRESS), 8u);
}

TEST(IpmiWire, RequestGoesToTheSystemInterface) {
    ORB_IPMI_SYSTEM_ADDRESS address{-1, -1, 7};
    std::uint8_t data[3] = {1, 2, 3};
    const ORB_IPMI_REQUEST request = ipmi_request(address, 0x3A, 0x80, data, 3);
    EXPECT_EQ(request.address, &address);
    EXPECT_EQ(request.addressLength, 8u);
    EXPECT_EQ(address.type, 0x0C);
    EXPECT_EQ(address.channel, 0x0F);
    EXPECT_EQ(address.lun, 0);
    EXPECT_EQ(request.messageId, 0);
    EXPECT_EQ(request.message.netfn, 0x3A);
    EXPECT_EQ(request.message.cmd, 0x80);
    EXPECT_EQ(request.message.dataLength, 3);
    EXPECT_EQ(request.message.data, data);
}

TEST(IpmiWire, RequestWithoutDataHasNoPointer) {
    ORB_IPMI_SYSTEM_ADDRESS address;
    std::uint8_t data[3] = {1, 2, 3};
    const ORB_IPMI_REQUEST request = ipmi_request(address, 6, 1, data, 0);
    EXPECT_EQ(request.message.data, nullptr);
    EXPECT_EQ(request.message.dataLength, 0);
}

namespace {
struct CopyCase {
    const char *name;
    std::size_t received; // of the bytes C0 11 22 33 44
    std::uint8_t wanted;
    std::array<std::uint8_t, 6> response; // all EE before
};
const CopyCase COPY_CASES[] = {
    {"Exact", 5, 4, {0x11, 0x22, 0x33, 0x44, 0xEE, 0xEE}},
    {"LongerThanWanted", 5, 2, {0x11, 0x22, 0xEE, 0xEE, 0xEE, 0xEE}},
    {"ShorterBringsOneZero", 3, 4, {0x11, 0x22, 0x00, 0xEE, 0xEE, 0xEE}},
    {"AsLongAsWantedWithItsCode", 4, 4, {0x11, 0x22, 0x33, 0x00, 0xEE, 0xEE}},
    {"BareCodeBringsOneZero", 1, 4, {0x00, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
    {"NothingReceived", 0, 4, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
    {"NothingWanted", 5, 0, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}},
    {"LengthBeyondTheBuffer", 65535, 5, {0x11, 0x22, 0x33, 0x44, 0x00, 0xEE}},
};
void PrintTo(const CopyCase &row, std::ostream *os) {
    *os << row.name;
}
class CopyIpmiAnswer : public ::testing::TestWithParam<CopyCase> {};
} // namespace

TEST_P(CopyIpmiAnswer, LeavesTheCodeOutAndTheRestAlone) {
    std::array<std::uint8_t, IPMI_RECEIVE_BYTES + 1> buffer{};
    const std::uint8_t bytes[] = {0xC0, 0x11, 0x22, 0x33, 0x44};
    for (std::size_t i = 0; i < std::min(GetParam().received, sizeof bytes); ++i)
        buffer[i] = bytes[i];
    std::array<std::uint8_t, 6> response;
    response.fill(0xEE);
    copy_ipmi_answer(buffer.data(), GetParam().received, response.data(), GetParam().wanted);
    EXPECT_EQ(response, GetParam().response);
}
INSTANTIATE_TEST_SUITE_P(Answers, CopyIpmiAnswer, ::testing::ValuesIn(COPY_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(CopyIpmiAnswerLimit, LargestWishStaysInsideTheBuffer) {
    std::array<std::uint8_t, IPMI_RECEIVE_BYTES + 1> buffer;
    buffer.fill(0x5A);
    std::array<std::uint8_t, 256> response{};
    copy_ipmi_answer(buffer.data(), 65535, response.data(), 255);
    EXPECT_EQ(response[254], 0x5A);
    EXPECT_EQ(response[255], 0);
}
