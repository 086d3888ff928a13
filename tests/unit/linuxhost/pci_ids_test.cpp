#include <string>

#include <gtest/gtest.h>

#include "linuxhost/pci_ids.h"

namespace {
PCI_NAMES wanting() {
    PCI_NAMES names;
    names.want(0x8086, 0x1521, 0x0200);
    names.want(0x1077, 0x2031, 0x0c04);
    names.want(0x1077, 0x2031, 0x0b50);
    return names;
}

const std::string GOOD =
    "# comment\n\n1077  Example Fabric\n\t2031  FC HBA\n\t\t1077 0002  A card\n"
    "8086  Example Silicon \r\n\t1521  Gigabit\n"
    "C 02  Network controller\n\t00  Ethernet controller\n\t\t01  An interface\n"
    "C 0b  Processor\n\t20  Other\n";

TEST(PciNames, GivesTheWantedOnes) {
    PCI_NAMES names = wanting();
    names.read(GOOD);
    EXPECT_EQ(names.vendorName(0x8086), "Example Silicon");
    EXPECT_EQ(names.deviceName(0x8086, 0x1521), "Gigabit");
    EXPECT_EQ(names.deviceName(0x1077, 0x2031), "FC HBA");
    EXPECT_EQ(names.className(0x0200), "Ethernet controller");
    EXPECT_EQ(names.className(0x0b50), "Processor [0b50]") << "only the base class has a name";
}

TEST(PciNames, NumbersStandForWhatIsNotTold) {
    PCI_NAMES names = wanting();
    names.read("8086\n\t1521\nC 02\n\t00\n");
    EXPECT_EQ(names.vendorName(0x8086), "Vendor 8086");
    EXPECT_EQ(names.deviceName(0x8086, 0x1521), "Device 1521");
    EXPECT_EQ(names.className(0x0200), "Class 0200");
    EXPECT_EQ(names.vendorName(0x1234), "Vendor 1234") << "never wanted";
}

TEST(PciNames, DevicesOfAnotherVendorDoNotCount) {
    PCI_NAMES names = wanting();
    names.read("1078  Other\n\t2031  Wrong\n1077  Right\n");
    EXPECT_EQ(names.deviceName(0x1077, 0x2031), "Device 2031");
}

TEST(PciNames, AForeignSectionEndsAVendor) {
    PCI_NAMES names = wanting();
    names.read("8086  Silicon\nwhatever\n\t1521  Wrong\n");
    EXPECT_EQ(names.vendorName(0x8086), "Silicon");
    EXPECT_EQ(names.deviceName(0x8086, 0x1521), "Device 1521");
}

TEST(PciNames, GarbledLinesCostThemselvesOnly) {
    PCI_NAMES names = wanting();
    names.read(std::string("\x7f"
                           "ELF\0\xff\n\t\n\t\t\nC \nC 0\n808\n80866 x\n",
                           27) +
               GOOD + "8086  Second\n");
    EXPECT_EQ(names.vendorName(0x8086), "Example Silicon") << "the first line of a number counts";
    EXPECT_EQ(names.className(0x0200), "Ethernet controller");
}

TEST(PciNames, ATextCutAnywhereIsRead) {
    for (std::size_t length = 0; length <= GOOD.size(); ++length) {
        PCI_NAMES names = wanting();
        names.read(std::string_view(GOOD).substr(0, length));
        const std::string name = names.deviceName(0x1077, 0x2031);
        EXPECT_TRUE(name == "Device 2031" || std::string("FC HBA").starts_with(name)) << name;
    }
}
} // namespace
