#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "linuxhost/pci_report.h"

namespace {
ORB_PCI_FUNCTION hba() {
    ORB_PCI_FUNCTION function;
    function.address = {0, 0x24, 0, 0};
    function.hasParent = true;
    function.parent = {0, 0x20, 2, 0};
    function.kernelName = "host3";
    function.driver = "examplefc";
    function.vendor = 0x1077;
    function.device = 0x2031;
    function.subVendor = 0xfff0;
    function.subDevice = 2;
    function.classCode = 0x0c04;
    function.revision = 2;
    function.irq = 11;
    function.command = 0x0406;
    function.interruptLine = 0x0b;
    function.interruptPin = 1;
    function.slotName = "3";
    function.label = "PCI 0000:24:00.0 r001u01p0i03";
    function.iommuGroup = "5";
    function.resetMethods = "flr bus";
    return function;
}

PCI_NAMES goodNames() {
    PCI_NAMES names;
    names.want(0x1077, 0x2031, 0x0c04);
    names.read("1077  Example Fabric Corp.\n\t2031  Example 16Gb 2-port FC HBA\n"
               "C 0c  Serial bus controller\n\t04  Fibre Channel\n");
    return names;
}

/// The value behind a label in the one block of a list; "?" where there is no such line.
std::string value(const ORB_PCI_FUNCTION &function, const std::string &label) {
    std::istringstream text(format_pci_list({function}, goodNames()));
    const std::string start = "   " + label + ": ";
    for (std::string line; std::getline(text, line);)
        if (line.starts_with(start)) return line.substr(start.size());
    return "?";
}

TEST(PciList, ABlockHasAllItsLines) {
    EXPECT_EQ(format_pci_list({hba()}, goodNames()),
              "0000:24:00.0:\n"
              "   Address: 0000:24:00.0\n"
              "   Segment: 0x0000\n"
              "   Bus: 0x24\n"
              "   Slot: 0x00\n"
              "   Function: 0x0\n"
              "   VMkernel Name: host3\n"
              "   Vendor Name: Example Fabric Corp.\n"
              "   Device Name: Example 16Gb 2-port FC HBA\n"
              "   Configured Owner: VMkernel\n"
              "   Current Owner: VMkernel\n"
              "   Vendor ID: 0x1077\n"
              "   Device ID: 0x2031\n"
              "   SubVendor ID: 0xfff0\n"
              "   SubDevice ID: 0x0002\n"
              "   Device Class: 0x0c04\n"
              "   Device Class Name: Fibre Channel\n"
              "   Programming Interface: 0x00\n"
              "   Revision ID: 0x02\n"
              "   Interrupt Line: 0x0b\n"
              "   IRQ: 11\n"
              "   Interrupt Vector: 0x00\n"
              "   PCI Pin: 0x01\n"
              "   Spawned Bus: 0x00\n"
              "   Flags: 0x0406\n"
              "   Module ID: -1\n"
              "   Module Name: examplefc\n"
              "   Chassis: 0\n"
              "   Physical Slot: 3\n"
              "   Slot Description: PCI 0000:24:00.0 r001u01p0i03\n"
              "   Device Layer Bus Address: s00000003.00\n"
              "   Passthru Capable: true\n"
              "   Parent Device: PCI 0:32:2:0\n"
              "   Dependent Device: PCI 0:36:0:0\n"
              "   Reset Method: Function reset\n"
              "   FPT Sharable: true\n");
}

TEST(PciList, AnEmptyLineStandsBetweenBlocksOnly) {
    ORB_PCI_FUNCTION second = hba();
    second.address.function = 1;
    const std::string text = format_pci_list({hba(), second}, goodNames());
    EXPECT_EQ(text.substr(0, 14), "0000:24:00.0:\n");
    EXPECT_NE(text.find("\n\n0000:24:00.1:\n"), std::string::npos);
    EXPECT_EQ(text.find("\n\n"), text.rfind("\n\n"));
    EXPECT_EQ(format_pci_list({}, goodNames()), "");
}

TEST(PciList, ADeviceWithoutAnything) {
    ORB_PCI_FUNCTION bare;
    bare.address = {0x10000, 0xff, 0x1f, 7};
    bare.vendor = 0x1234;
    EXPECT_EQ(format_pci_list({bare}, goodNames()).substr(0, 15), "10000:ff:1f.7:\n");
    EXPECT_EQ(value(bare, "VMkernel Name"), "");
    EXPECT_EQ(value(bare, "Vendor Name"), "Vendor 1234");
    EXPECT_EQ(value(bare, "Module Name"), "None");
    EXPECT_EQ(value(bare, "Physical Slot"), "4294967295");
    EXPECT_EQ(value(bare, "Slot Description"), "");
    EXPECT_EQ(value(bare, "Device Layer Bus Address"), "?");
    EXPECT_EQ(value(bare, "Passthru Capable"), "false");
    EXPECT_EQ(value(bare, "Parent Device"), "");
    EXPECT_EQ(value(bare, "Reset Method"), "None");
}

TEST(PciList, TextsFromOutsideStayWithinTheirLine) {
    ORB_PCI_FUNCTION function = hba();
    function.label = "a\n\n0000:24:00.0:\n";
    function.kernelName = "eth\n0";
    function.driver = "x\ny";
    const std::string text = format_pci_list({function}, goodNames());
    EXPECT_EQ(text.find("\n\n"), std::string::npos);
    EXPECT_EQ(value(function, "VMkernel Name"), "eth 0");
    EXPECT_EQ(value(function, "Module Name"), "x y");
}

TEST(PciList, OwnersFollowTheDriver) {
    ORB_PCI_FUNCTION function = hba();
    function.driver = "vfio-pci";
    EXPECT_EQ(value(function, "Current Owner"), "VM Passthru");
    EXPECT_EQ(value(function, "Configured Owner"), "VM Passthru");
}

TEST(PciList, ASharedGroupIsNotSharable) {
    ORB_PCI_FUNCTION second = hba();
    second.address.function = 1;
    const std::string both = format_pci_list({hba(), second}, goodNames());
    EXPECT_EQ(both.find("FPT Sharable: true"), std::string::npos);
    second.iommuGroup = "6";
    const std::string apart = format_pci_list({hba(), second}, goodNames());
    EXPECT_EQ(apart.find("FPT Sharable: false"), std::string::npos);
}

TEST(PciList, BridgesAreNotPassedThrough) {
    ORB_PCI_FUNCTION bridge = hba();
    bridge.headerType = 1;
    bridge.secondaryBus = 0x25;
    EXPECT_EQ(value(bridge, "Passthru Capable"), "false");
    EXPECT_EQ(value(bridge, "Spawned Bus"), "0x25");
}

struct WordCase {
    const char *name, *methods, *shown;
};
void PrintTo(const WordCase &row, std::ostream *os) {
    *os << row.name;
}
const WordCase RESET_CASES[] = {
    {"Function", "flr", "Function reset"},
    {"Advanced", "af_flr pm", "Function reset"},
    {"Power", "pm bus", "Power state reset"},
    {"Bus", "bus", "Bridge reset"},
    {"Slot", "slot", "Bridge reset"},
    {"Special", "device_specific", "Device specific reset"},
    {"None", "", "None"},
};
class ResetMethod : public ::testing::TestWithParam<WordCase> {};
TEST_P(ResetMethod, IsTheFirstOfTheKernels) {
    ORB_PCI_FUNCTION function = hba();
    function.resetMethods = GetParam().methods;
    EXPECT_EQ(value(function, "Reset Method"), GetParam().shown);
}
INSTANTIATE_TEST_SUITE_P(Words, ResetMethod, ::testing::ValuesIn(RESET_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(PhysicalSlot, IsTheNumberInFront) {
    EXPECT_EQ(physical_slot_number("3"), 3u);
    EXPECT_EQ(physical_slot_number("3-1"), 3u);
    EXPECT_EQ(physical_slot_number(""), PCI_NO_SLOT);
    EXPECT_EQ(physical_slot_number("Slot 3"), PCI_NO_SLOT);
    EXPECT_EQ(physical_slot_number("4294967296"), PCI_NO_SLOT);
    ORB_PCI_FUNCTION function = hba();
    function.slotName = "Riser";
    function.label.clear();
    EXPECT_EQ(value(function, "Slot Description"), "Riser");
}

TEST(PciAddress, IsReadWhole) {
    ORB_PCI_ADDRESS address;
    ASSERT_TRUE(parse_pci_address("0000:c3:1f.7", address));
    EXPECT_EQ(address, (ORB_PCI_ADDRESS{0, 0xc3, 0x1f, 7}));
    ASSERT_TRUE(parse_pci_address("10000:00:00.0", address));
    EXPECT_EQ(address.segment, 0x10000u);
    for (const char *text : {"", "pci0000:00", "0000:c3:1f", "0000:c3:20.0", "0000:c3:1f.8",
                             "0000:100:00.0", "0000:c3:1f.0x", "0000-c3:1f.0", "virtio0", ":::"})
        EXPECT_FALSE(parse_pci_address(text, address)) << text;
    EXPECT_EQ(address.segment, 0x10000u) << "a failure writes nothing";
}
} // namespace
