#include "linuxhost/nic_report.h"

#include <linux/ethtool.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
ORB_NIC nic(const std::string &name, const std::string &address, ORB_LINK link,
            std::uint32_t speedMbps, const std::string &description) {
    ORB_NIC made;
    made.name = name;
    made.pciAddress = address;
    made.driver = "igbn";
    made.adminUp = true;
    made.link = link;
    made.speedMbps = speedMbps;
    made.fullDuplex = link == ORB_LINK::UP;
    made.macAddress = made.virtualAddress = "02:00:5e:10:20:30";
    made.mtuBytes = speedMbps == 10000 ? 9000 : 1500;
    made.description = description;
    return made;
}

TEST(NicList, HasTheColumnsOfTheHost) {
    EXPECT_EQ(
        format_nic_list({nic("vmnic0", "0000:c3:00.0", ORB_LINK::UP, 1000, "Example Controller"),
                         nic("vmnic1", "0000:c3:00.1", ORB_LINK::DOWN, 0, "Another"),
                         nic("vmnic10", "0000:81:00.0", ORB_LINK::UP, 10000, "Example 10G")}),
        "Name     PCI Device    Driver  Admin Status  Link Status  Speed  Duplex  MAC Address     "
        "    MTU  Description\n"
        "-------  ------------  ------  ------------  -----------  -----  ------  "
        "-----------------  ----  ------------------\n"
        "vmnic0   0000:c3:00.0  igbn    Up            Up            1000  Full    "
        "02:00:5e:10:20:30  1500  Example Controller\n"
        "vmnic1   0000:c3:00.1  igbn    Up            Down             0  Half    "
        "02:00:5e:10:20:30  1500  Another\n"
        "vmnic10  0000:81:00.0  igbn    Up            Up           10000  Full    "
        "02:00:5e:10:20:30  9000  Example 10G\n");
}

TEST(NicList, WithoutAdaptersIsTheHeadAlone) {
    EXPECT_EQ(format_nic_list({}),
              "Name  PCI Device  Driver  Admin Status  Link Status  Speed  Duplex  MAC Address  "
              "MTU  Description\n"
              "----  ----------  ------  ------------  -----------  -----  ------  -----------  "
              "---  -----------\n");
}

std::vector<std::string> words_of(const std::string &line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

/// The words of the only adapter's line.
std::vector<std::string> row_of(const ORB_NIC &adapter) {
    const std::string text = format_nic_list({adapter});
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3);
    std::istringstream in(text);
    std::string line;
    for (int i = 0; i < 3; ++i) std::getline(in, line);
    return words_of(line);
}

TEST(NicList, NoCellIsEmpty) {
    EXPECT_EQ(row_of({}),
              (std::vector<std::string>{"None", "Pseudo", "None", "Down", "Unknown", "0", "Half",
                                        "00:00:00:00:00:00", "0", "None", "network", "adapter"}));
    ORB_NIC usb;
    usb.name = "vusb0";
    usb.driver = "cdce";
    EXPECT_EQ(row_of(usb)[1], "Pseudo");
    EXPECT_EQ(row_of(usb)[9], "cdce");
}

TEST(NicList, TextsFromOutsideStayInTheirCell) {
    ORB_NIC adapter = nic("e\n0", "0000:c3:00.0", ORB_LINK::UP, 1000, "a\nb \xff\t c");
    adapter.driver = "two words";
    adapter.macAddress = " \n ";
    const auto words = row_of(adapter);
    ASSERT_EQ(words.size(), 13u);
    EXPECT_EQ(words[0], "e_0");
    EXPECT_EQ(words[2], "two_words");
    EXPECT_EQ(words[4], "Up");
    EXPECT_EQ(words[7], "00:00:00:00:00:00");
    EXPECT_EQ(words[11], "?");
}

TEST(NicList, ColumnsAreAsWideAsTheirCharacters) {
    const std::string text =
        format_nic_list({nic("\xc3\xa9th0", "0000:c3:00.0", ORB_LINK::UP, 1000, "x")});
    EXPECT_NE(text.find("\n\xc3\xa9th0  0000:c3:00.0  "), std::string::npos) << text;
}

ORB_ETHTOOL_FACTS copperFacts() {
    ORB_ETHTOOL_FACTS facts;
    facts.driver = "igbn";
    facts.driverVersion = "1.4.11.0";
    facts.firmwareVersion = "1.63.0:0x800009fa";
    facts.linkDetected = true;
    facts.settings.known = true;
    facts.settings.speedMbps = 1000;
    facts.settings.autoNegotiation = true;
    facts.settings.port = PORT_TP;
    facts.settings.supported = facts.settings.advertised = {
        1U << ETHTOOL_LINK_MODE_10baseT_Half_BIT | 1U << ETHTOOL_LINK_MODE_10baseT_Full_BIT |
        1U << ETHTOOL_LINK_MODE_100baseT_Half_BIT | 1U << ETHTOOL_LINK_MODE_100baseT_Full_BIT |
        1U << ETHTOOL_LINK_MODE_1000baseT_Full_BIT | 1U << ETHTOOL_LINK_MODE_Autoneg_BIT |
        1U << ETHTOOL_LINK_MODE_TP_BIT | 1U << ETHTOOL_LINK_MODE_Pause_BIT};
    facts.pauseAutonegotiate = true;
    facts.wakeSupported = WAKE_MAGIC | WAKE_PHY;
    facts.wakeActive = WAKE_MAGIC;
    return facts;
}

TEST(NicDetails, OfACopperAdapter) {
    EXPECT_EQ(
        format_nic_details(nic("vmnic0", "0000:c3:00.0", ORB_LINK::UP, 1000, "x"), copperFacts()),
        "   Advertised Auto Negotiation: true\n"
        "   Advertised Link Modes: Auto, 1000BaseT/Full, 100BaseT/Half, 100BaseT/Full, "
        "10BaseT/Half, 10BaseT/Full\n"
        "   Auto Negotiation: true\n"
        "   Cable Type: Twisted Pair\n"
        "   Current Message Level: -1\n"
        "   Driver Info: \n"
        "         Bus Info: 0000:c3:00:0\n"
        "         Driver: igbn\n"
        "         Firmware Version: 1.63.0:0x800009fa\n"
        "         Version: 1.4.11.0\n"
        "   Link Detected: true\n"
        "   Link Status: Up \n"
        "   Name: vmnic0\n"
        "   PHYAddress: 0\n"
        "   Pause Autonegotiate: true\n"
        "   Pause RX: false\n"
        "   Pause TX: false\n"
        "   Supported Ports: TP\n"
        "   Supports Auto Negotiation: true\n"
        "   Supports Pause: true\n"
        "   Supports Wakeon: true\n"
        "   Transceiver: internal\n"
        "   Virtual Address: 02:00:5e:10:20:30\n"
        "   Wakeon: MagicPacket(tm)\n");
}

/// The value behind a label; "?" where there is no such line.
std::string value(const std::string &text, const std::string &label) {
    const std::string start = "   " + label + ": ";
    const std::size_t at = text.find(start);
    if (at == std::string::npos) return "?";
    const std::size_t from = at + start.size();
    return text.substr(from, text.find('\n', from) - from);
}

TEST(NicDetails, OfAForcedLinkThatIsDown) {
    ORB_ETHTOOL_FACTS facts;
    facts.settings.known = true;
    facts.settings.speedMbps = 10000;
    facts.settings.port = PORT_NONE;
    facts.settings.transceiver = XCVR_EXTERNAL;
    ORB_NIC adapter = nic("vmnic3", "0000:81:00.1", ORB_LINK::DOWN, 0, "x");
    adapter.fullDuplex = true;
    const std::string text = format_nic_details(adapter, facts);
    EXPECT_EQ(value(text, "Advertised Link Modes"), "10000None/Full");
    EXPECT_EQ(value(text, "Cable Type"), "");
    EXPECT_EQ(value(text, "Link Detected"), "false");
    EXPECT_EQ(value(text, "Link Status"), "Down ");
    EXPECT_EQ(value(text, "Transceiver"), "external");
}

TEST(NicDetails, OfAnAdapterWhoseDriverTellsNothing) {
    const std::string text = format_nic_details({}, {});
    EXPECT_EQ(value(text, "Bus Info"), "Pseudo");
    EXPECT_EQ(value(text, "Driver"), "None");
    EXPECT_EQ(value(text, "Firmware Version"), "");
    EXPECT_EQ(value(text, "Cable Type"), "");
    EXPECT_EQ(value(text, "Advertised Link Modes"), "");
    EXPECT_EQ(value(text, "Link Status"), "Unknown ");
    EXPECT_EQ(value(text, "Transceiver"), "");
    EXPECT_EQ(value(text, "Wakeon"), "None");
}

TEST(NicDetails, SysfsServesWhereTheDriverTellsNothing) {
    const ORB_NIC adapter = nic("vmnic0", "", ORB_LINK::UP, 1000, "x");
    EXPECT_EQ(value(format_nic_details(adapter, {}), "Driver"), "igbn");
    EXPECT_EQ(value(format_nic_details(adapter, {}), "Link Detected"), "true");
    ORB_ETHTOOL_FACTS facts;
    facts.busInfo = "usb-0000:00:14.0-1";
    EXPECT_EQ(value(format_nic_details(adapter, facts), "Bus Info"), "usb-0000:00:14.0-1");
}

TEST(NicDetails, NoValuePassesForAnotherLabel) {
    ORB_NIC adapter = nic("Firmware Version", "", ORB_LINK::UP, 1000, "x");
    for (const char *bad : {"Cable Type: x", "a Firmware Version: 1", "the Cable", "a\nCable b"}) {
        ORB_ETHTOOL_FACTS facts;
        facts.driver = facts.driverVersion = facts.firmwareVersion = facts.busInfo = bad;
        const std::string text = format_nic_details(adapter, facts);
        std::istringstream in(text);
        int cables = 0, versions = 0, lines = 0;
        for (std::string line; std::getline(in, line); ++lines) {
            cables += line.find("Cable ") != std::string::npos;
            versions += line.find("Firmware Version") != std::string::npos;
        }
        EXPECT_EQ(cables, 1) << bad;
        EXPECT_EQ(versions, 1) << bad;
        EXPECT_EQ(lines, 24) << bad;
    }
}

TEST(NaturalOrder, CountsNumbers) {
    const std::vector<std::string> rising = {"",     "ens1",  "ens1f0", "ens1f1", "ens2", "ens10",
                                             "eth0", "eth00", "eth9",   "eth010", "eth11"};
    for (std::size_t i = 0; i < rising.size(); ++i)
        for (std::size_t j = 0; j < rising.size(); ++j)
            if (rising[i] != "eth00" && rising[j] != "eth00") {
                EXPECT_EQ(natural_less(rising[i], rising[j]), i < j) << rising[i] << rising[j];
            }
    EXPECT_NE(natural_less("eth0", "eth00"), natural_less("eth00", "eth0"));
    EXPECT_FALSE(natural_less("eth0", "eth0"));
}
} // namespace
