#include "platform/orbPCIVendorsMap.h"

#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "tables/pci_vendors.h"

TEST(PciVendorsMap, HoldsKnownVendors) {
    EXPECT_EQ(orbPCIVendorsMap.at("8086"), "Intel Corporation");
    EXPECT_EQ(orbPCIVendorsMap.at("1077"), "QLogic Corp.");
    EXPECT_EQ(orbPCIVendorsMap.at("15ad"), "VMware");
}

TEST(PciVendorsMap, HasEveryRowOnce) {
    EXPECT_EQ(orbPCIVendorsMap.size(), std::size(PCI_VENDORS));
    for (const PCI_VENDORS_ROW &row : PCI_VENDORS)
        EXPECT_EQ(orbPCIVendorsMap.at(std::string(row.id)), row.name);
}

TEST(PciVendorsMap, RowsRise) {
    for (std::size_t i = 1; i < std::size(PCI_VENDORS); ++i)
        EXPECT_LT(PCI_VENDORS[i - 1].id, PCI_VENDORS[i].id);
}

TEST(PciVendorsMap, KeysAreFourLowerCaseDigitsOfTheRange) {
    EXPECT_EQ(orbPCIVendorsMap.begin()->first, "0001");
    EXPECT_EQ(orbPCIVendorsMap.rbegin()->first, "fffe");
    for (const auto &[id, name] : orbPCIVendorsMap) {
        EXPECT_EQ(id.size(), 4U) << id;
        EXPECT_EQ(id.find_first_not_of("0123456789abcdef"), std::string::npos) << id;
        EXPECT_FALSE(name.empty()) << id;
    }
}

TEST(PciVendorsMap, LeavesOutWhatIsNoVendor) {
    EXPECT_EQ(orbPCIVendorsMap.count("0000"), 0U);
    EXPECT_EQ(orbPCIVendorsMap.count("ffff"), 0U);
}
