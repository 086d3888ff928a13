#include "linuxhost/pci_decode.h"

#include <string>

#include <gtest/gtest.h>

namespace {
constexpr std::uint16_t UNTOUCHED = 4242;

ORB_PCI_FUNCTION untouched() {
    ORB_PCI_FUNCTION function;
    function.vendor = function.device = function.subVendor = function.classCode = UNTOUCHED;
    function.driver = "before";
    return function;
}

TEST(PciUevent, TellsDriverAndNumbers) {
    ORB_PCI_FUNCTION function = untouched();
    ASSERT_TRUE(decode_pci_uevent("DRIVER=virtio-pci\nPCI_CLASS=20000\nPCI_ID=1AF4:1041\n"
                                  "PCI_SUBSYS_ID=1AF4:1100\nPCI_SLOT_NAME=0000:00:03.0\n"
                                  "MODALIAS=pci:v00001AF4d00001041sv00001AF4sd00001041bc02sc00i00",
                                  function));
    EXPECT_EQ(function.driver, "virtio-pci");
    EXPECT_EQ(function.vendor, 0x1af4);
    EXPECT_EQ(function.device, 0x1041);
    EXPECT_EQ(function.subVendor, 0x1af4);
    EXPECT_EQ(function.subDevice, 0x1100);
    EXPECT_EQ(function.classCode, 0x0200);
    EXPECT_EQ(function.programmingInterface, 0);
}

TEST(PciUevent, WithoutDriverAndSubsystem) {
    ORB_PCI_FUNCTION function = untouched();
    ASSERT_TRUE(decode_pci_uevent("PCI_CLASS=60400\nPCI_ID=8086:1234\n", function));
    EXPECT_EQ(function.driver, "");
    EXPECT_EQ(function.subVendor, 0);
    EXPECT_EQ(function.classCode, 0x0604);
}

struct BadCase {
    const char *name, *text;
};
void PrintTo(const BadCase &row, std::ostream *os) {
    *os << row.name;
}
const BadCase BAD_CASES[] = {
    {"Empty", ""},
    {"Blank", "\n\n"},
    {"NoClass", "PCI_ID=8086:1234\n"},
    {"NoId", "PCI_CLASS=60400\n"},
    {"ClassIsNoNumber", "PCI_CLASS=60400x\nPCI_ID=8086:1234\n"},
    {"ClassIsEmpty", "PCI_CLASS=\nPCI_ID=8086:1234\n"},
    {"ClassTooLong", "PCI_CLASS=100000000\nPCI_ID=8086:1234\n"},
    {"VendorTooLong", "PCI_CLASS=60400\nPCI_ID=18086:1234\n"},
    {"NoColon", "PCI_CLASS=60400\nPCI_ID=80861234\n"},
    {"HalfAnId", "PCI_CLASS=60400\nPCI_ID=8086:\n"},
    {"LowerCaseLabels", "pci_class=60400\npci_id=8086:1234\n"},
};
class BadUevent : public ::testing::TestWithParam<BadCase> {};
TEST_P(BadUevent, ChangesNothing) {
    ORB_PCI_FUNCTION function = untouched();
    EXPECT_FALSE(decode_pci_uevent(GetParam().text, function));
    EXPECT_EQ(function.vendor, UNTOUCHED);
    EXPECT_EQ(function.classCode, UNTOUCHED);
    EXPECT_EQ(function.driver, "before");
}
INSTANTIATE_TEST_SUITE_P(Texts, BadUevent, ::testing::ValuesIn(BAD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

std::string registers(std::uint8_t headerType) {
    std::string bytes(PCI_REGISTERS_SIZE, '\0');
    bytes[0x04] = 0x06;
    bytes[0x05] = 0x04;
    bytes[0x0E] = static_cast<char>(headerType);
    bytes[0x19] = 0x24;
    bytes[0x3C] = 0x0b;
    bytes[0x3D] = 0x02;
    return bytes;
}

TEST(PciRegisters, OfADeviceABridgeAndACardbusBridge) {
    ORB_PCI_FUNCTION device, bridge, cardbus;
    decode_pci_registers(registers(0x80), device);
    EXPECT_EQ(device.headerType, 0) << "the top bit tells of further functions";
    EXPECT_EQ(device.secondaryBus, 0) << "another register there";
    EXPECT_EQ(device.command, 0x0406);
    EXPECT_EQ(device.interruptLine, 0x0b);
    EXPECT_EQ(device.interruptPin, 2);
    decode_pci_registers(registers(1), bridge);
    EXPECT_EQ(bridge.secondaryBus, 0x24);
    decode_pci_registers(registers(2), cardbus);
    EXPECT_EQ(cardbus.secondaryBus, 0x24);
}

TEST(PciRegisters, OneByteTooFewChangesNothing) {
    ORB_PCI_FUNCTION function;
    decode_pci_registers(registers(1).substr(0, PCI_REGISTERS_SIZE - 1), function);
    EXPECT_EQ(function.interruptLine, 0xFF);
    EXPECT_EQ(function.headerType, 0);
}

TEST(PciAttribute, IsAHexadecimalNumberWhole) {
    EXPECT_EQ(pci_attribute_number("0x8086"), 0x8086u);
    EXPECT_EQ(pci_attribute_number("020000"), 0x020000u);
    for (const char *text : {"", "0x", "0x80 86", "-1", "0x100000000", "none"})
        EXPECT_EQ(pci_attribute_number(text), 0u) << text;
}
} // namespace
