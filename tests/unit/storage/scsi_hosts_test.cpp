#include "storage/scsi_hosts.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "support/ScsiTree.h"

namespace {
constexpr char CARD[] = "pci0000:64/0000:64:00.0/0000:65:00.0";

class ScsiHosts : public ::testing::Test {
protected:
    TemporaryRoot root;
    ScsiTree tree{root};

    static std::string linkOf(const std::string &name) {
        std::string text;
        EXPECT_TRUE(read_device_link(ScsiTree::hostPath(name), text)) << name;
        return text;
    }
    static std::string locationOf(const std::string &name) {
        return pci_location_of_host(ScsiTree::hostPath(name), linkOf(name));
    }
    /// A link of its own as a host's "device".
    void addHostWithLink(const std::string &name, const std::string &target) {
        root.makeDirectory(ScsiTree::hostPath(name));
        tree.link(target, ScsiTree::hostPath(name) + "/device");
    }
};

TEST_F(ScsiHosts, AreListedInByteOrder) {
    for (const char *const name : {"host2", "host10", "host1", "Zeta", ".hidden"})
        root.makeDirectory(ScsiTree::hostPath(name));
    root.write(ScsiTree::hostPath("file"), "");
    const std::string longest(255, 'n');
    root.makeDirectory(ScsiTree::hostPath(longest));
    EXPECT_EQ(list_scsi_hosts(), (std::vector<std::string>{".hidden", "Zeta", "file", "host1",
                                                           "host10", "host2", longest}));
}

TEST_F(ScsiHosts, WithoutTheFolderThereAreNone) {
    std::filesystem::remove_all(root.map(SCSI_HOST_CLASS));
    EXPECT_TRUE(list_scsi_hosts().empty());
    root.write(SCSI_HOST_CLASS, "no folder");
    EXPECT_TRUE(list_scsi_hosts().empty());
}

TEST_F(ScsiHosts, TellTheirAttributes) {
    const std::string host = ScsiTree::hostPath("host3");
    root.write(host + "/state", "running\nmore\n");
    root.write(host + "/empty", "");
    const HEAP_TEXT text = read_host_attribute(host, "state");
    EXPECT_STREQ(text.get(), "running");
    EXPECT_EQ(read_host_attribute(host, "empty"), nullptr);
    EXPECT_EQ(read_host_attribute(host, "absent"), nullptr);
}

TEST_F(ScsiHosts, OnTheCardItselfHaveItsIds) {
    tree.addCard(CARD, 0x00971000, 0x30E01000);
    tree.addHost("host8", CARD);
    ORB_PCI_CARD_IDS ids;
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host8"), ids));
    EXPECT_EQ(ids.chipsetID, 0x00971000U);
    EXPECT_EQ(ids.boardID, 0x30E01000U);
}

TEST_F(ScsiHosts, BehindAnAtaPortHaveTheCardsIds) {
    tree.addCard("pci0000:00/0000:00:17.0", 0xA1868086, 0x72708086);
    tree.addHost("host0", "pci0000:00/0000:00:17.0/ata1");
    ORB_PCI_CARD_IDS ids;
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host0"), ids));
    EXPECT_EQ(ids.chipsetID, 0xA1868086U);
    EXPECT_EQ(ids.boardID, 0x72708086U);
}

TEST_F(ScsiHosts, OfOldKernelsHaveTheCardsIds) {
    tree.addCard(CARD, 0x00971000, 0x30E01000);
    tree.addOldHost("host8", CARD);
    ORB_PCI_CARD_IDS ids;
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host8"), ids));
    EXPECT_EQ(ids.chipsetID, 0x00971000U);
}

// The host's own folder is judged by one file, its parent's by the other.
TEST_F(ScsiHosts, ACardIsKnownByItsDeviceAndAParentByItsVendor) {
    const std::string card = "pci0000:00/0000:00:17.0";
    tree.addCard(card, 0xA1868086, 0x72708086);
    tree.addHost("host0", card + "/ata1");
    root.write("/sys/devices/" + card + "/ata1/vendor", "0x1234\n");
    ORB_PCI_CARD_IDS ids;
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host0"), ids));
    EXPECT_EQ(ids.chipsetID, 0xA1868086U);

    root.write("/sys/devices/odd/device", "0x0097\n");
    tree.addHost("host1", "odd");
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host1"), ids));
    EXPECT_EQ(ids.chipsetID, 0x0096FFFFU);
    tree.addHost("host2", "odd/ata1");
    EXPECT_FALSE(read_pci_card_ids(ScsiTree::hostPath("host2"), ids));
}

TEST_F(ScsiHosts, WithoutACardHaveNone) {
    tree.addHost("host0", "pseudo_0/adapter0");
    root.makeDirectory(ScsiTree::hostPath("host1")); // no link at all
    addHostWithLink("host2", "../../nowhere");
    addHostWithLink("host3", "device"); // leads to itself
    root.write(ScsiTree::hostPath("host4"), "no folder");
    for (const char *const name : {"host0", "host1", "host2", "host3", "host4", "vanished"}) {
        ORB_PCI_CARD_IDS ids{1, 2};
        EXPECT_FALSE(read_pci_card_ids(ScsiTree::hostPath(name), ids)) << name;
        EXPECT_EQ(ids.chipsetID, 1U);
        EXPECT_EQ(ids.boardID, 2U);
    }
}

TEST_F(ScsiHosts, MissingSubsystemIdsAreAllOnesInWrappingArithmetic) {
    root.write("/sys/devices/virtio0/device", "0x0008\n");
    root.write("/sys/devices/virtio0/vendor", "0x1af4\n");
    tree.addHost("host0", "virtio0");
    ORB_PCI_CARD_IDS ids;
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host0"), ids));
    EXPECT_EQ(ids.chipsetID, 0x00081AF4U);
    EXPECT_EQ(ids.boardID, 0xFFFEFFFFU);
}

struct AttributeCase {
    const char *name;
    std::string content; ///< of "device"; the vendor is 0x1000
    std::uint32_t chipset;
};
const AttributeCase ATTRIBUTE_CASES[] = {
    {"Plain", "0x0097\n", 0x00971000},
    {"NoNewline", "0x0097", 0x00971000},
    {"NoPrefix", "97", 0x00971000},
    {"Empty", "", 0xFFFF1000},
    {"OneByte", "9", 0x00091000},
    {"OneNewline", "\n", 0xFFFF1000},
    {"Text", "none\n", 0xFFFF1000},
    {"StartsWithNul",
     std::string("\0"
                 "97",
                 3),
     0xFFFF1000},
    {"Binary",
     "\x7F"
     "ELF\x01\xFF",
     0xFFFF1000},
    {"TwoLines", "0x0097\n0x0098\n", 0x00971000},
    {"WiderThanItsHalf", "0x10097\n", 0x00971000},
    {"WholePage", "0x0097" + std::string(4090, '\n'), 0x00971000},
    {"MoreThanAPage", "0x0097\n" + std::string(9000, '7'), 0x00971000},
    {"PageOfDigits", std::string(5000, 'f'), 0xFFFF1000},
};
void PrintTo(const AttributeCase &row, std::ostream *os) {
    *os << row.name;
}
class PciAttribute : public ScsiHosts, public ::testing::WithParamInterface<AttributeCase> {};
TEST_P(PciAttribute, IsReadWhateverTheFileHolds) {
    tree.addCard(CARD, 0, 0);
    root.write(std::string("/sys/devices/") + CARD + "/vendor", "0x1000\n");
    root.write(std::string("/sys/devices/") + CARD + "/device", GetParam().content);
    tree.addHost("host8", CARD);
    ORB_PCI_CARD_IDS ids;
    ASSERT_TRUE(read_pci_card_ids(ScsiTree::hostPath("host8"), ids));
    EXPECT_EQ(ids.chipsetID, GetParam().chipset);
}
INSTANTIATE_TEST_SUITE_P(Contents, PciAttribute, ::testing::ValuesIn(ATTRIBUTE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(ScsiHosts, TheLinksTextGivesTheDeepestAddress) {
    tree.addCard(CARD, 0, 0);
    tree.addHostWithLongLink("host8", CARD);
    EXPECT_EQ(linkOf("host8"), "../../../../../../" + std::string(CARD) + "/host8");
    EXPECT_EQ(locationOf("host8"), "0000:65:00.0");
    tree.addOldHost("host9", "pci0000:00/0000:00:17.0");
    EXPECT_EQ(locationOf("host9"), "0000:00:17.0");
}

TEST_F(ScsiHosts, AShortLinkLeadsToTheAddress) {
    tree.addHost("host8", CARD);
    EXPECT_EQ(linkOf("host8"), "../../../host8");
    EXPECT_EQ(locationOf("host8"), "0000:65:00.0");
    tree.addHost("host0", "pci0000:00/0000:00:17.0/ata1");
    EXPECT_EQ(locationOf("host0"), "0000:00:17.0");
}

TEST_F(ScsiHosts, AnAddressInTheTextWinsOverTheOneItLeadsTo) {
    root.makeDirectory("/sys/devices/pci0000:64/0000:64:00.0");
    root.makeDirectory("/sys/devices/0000:99:00.0");
    tree.link("../pci0000:64/0000:64:00.0", "/sys/devices/0000:99:00.0/real");
    addHostWithLink("host1", "../../../devices/0000:99:00.0/real");
    EXPECT_EQ(locationOf("host1"), "0000:99:00.0");
}

TEST_F(ScsiHosts, WithoutAnAddressAnywhereHaveNoLocation) {
    tree.addHost("host0", "pseudo_0/adapter0");
    EXPECT_EQ(locationOf("host0"), "");
    addHostWithLink("host1", "../../../devices/nowhere");
    EXPECT_EQ(locationOf("host1"), "");
    addHostWithLink("host2", "device");
    EXPECT_EQ(locationOf("host2"), "");
}

// An address that dangles is one all the same: nobody follows it.
TEST_F(ScsiHosts, ADanglingLinkWithAnAddressHasIt) {
    addHostWithLink("host1", "../../../devices/pci0000:00/0000:00:17.0/host1");
    EXPECT_EQ(locationOf("host1"), "0000:00:17.0");
}

TEST_F(ScsiHosts, WhatIsNoLinkIsNotRead) {
    root.makeDirectory(ScsiTree::hostPath("host1") + "/device");
    std::string text = "before";
    EXPECT_FALSE(read_device_link(ScsiTree::hostPath("host1"), text));
    EXPECT_FALSE(read_device_link(ScsiTree::hostPath("vanished"), text));
    EXPECT_EQ(text, "before");
}

TEST_F(ScsiHosts, ALongLinkIsCutAt255Bytes) {
    const std::string bridge = "/0000:64:00.0/", endpoint = "/0000:65:00.0";
    const auto linkTo = [&](const std::string &name, std::size_t endpointAt) {
        addHostWithLink(name, bridge + std::string(endpointAt - bridge.size(), 'x') + endpoint);
    };
    linkTo("host1", 255 - 13); // the address ends with the last byte
    EXPECT_EQ(linkOf("host1").size(), 255U);
    EXPECT_EQ(locationOf("host1"), "0000:65:00.0");
    linkTo("host2", 255 - 12); // its last digit is cut off
    EXPECT_EQ(linkOf("host2").size(), 255U);
    EXPECT_EQ(locationOf("host2"), "0000:65:00.");
    linkTo("host3", 255 - 5); // not enough is left to be one
    EXPECT_EQ(locationOf("host3"), "0000:64:00.0");
    addHostWithLink("host4", std::string(4000, 'y'));
    EXPECT_EQ(linkOf("host4").size(), 255U);
}

// The root's own path isn't the host's.
TEST(ScsiHostsRoot, AnAddressAboveTheTreeIsNone) {
    class AddressedRoot final : public IorbHostFiles {
    public:
        explicit AddressedRoot(const std::string &place) : base(place), outer(replace(this)) {}
        ~AddressedRoot() override { replace(outer); }
        std::string map(const std::string &hostPath) override { return base + hostPath; }

    private:
        std::string base;
        IorbHostFiles *outer;
    };
    TemporaryRoot root;
    const AddressedRoot below(root.path() + "/0000:77:00.0");
    const std::string tree = root.path() + "/0000:77:00.0/sys/";
    std::filesystem::create_directories(tree + "devices/pseudo_0/host0/scsi_host/host0");
    std::filesystem::create_directories(tree + "class/scsi_host");
    std::filesystem::create_symlink("../../../host0",
                                    tree + "devices/pseudo_0/host0/scsi_host/host0/device");
    std::filesystem::create_symlink("../../devices/pseudo_0/host0/scsi_host/host0",
                                    tree + "class/scsi_host/host0");
    EXPECT_EQ(pci_location_of_host("/sys/class/scsi_host/host0", "../../../host0"), "");
}
} // namespace
