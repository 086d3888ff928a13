#include "linuxhost/ethtool_facts.h"

#include <linux/ethtool.h>

#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
using Words = std::vector<std::string>;

LINK_MODES modesOf(std::initializer_list<unsigned> bits) {
    LINK_MODES modes(3);
    for (const unsigned bit : bits) modes[bit / 32] |= 1U << bit % 32;
    return modes;
}

/// An answer with one word for each of the three sets.
std::vector<std::uint8_t> answerOf(const ethtool_link_settings &fixed, std::uint32_t supported,
                                   std::uint32_t advertised, std::uint32_t partner) {
    const std::uint32_t sets[] = {supported, advertised, partner};
    std::vector<std::uint8_t> bytes(sizeof fixed + sizeof sets);
    std::memcpy(bytes.data(), &fixed, sizeof fixed);
    std::memcpy(bytes.data() + sizeof fixed, sets, sizeof sets);
    return bytes;
}

ethtool_link_settings goodSettings() {
    ethtool_link_settings fixed{};
    fixed.speed = 10000;
    fixed.autoneg = AUTONEG_DISABLE;
    fixed.port = PORT_DA;
    fixed.phy_address = 5;
    fixed.transceiver = XCVR_EXTERNAL;
    fixed.link_mode_masks_nwords = 1;
    return fixed;
}

TEST(LinkSettings, AreDecoded) {
    ORB_LINK_SETTINGS settings;
    ASSERT_TRUE(decode_link_settings(answerOf(goodSettings(), 1, 2, 4), settings));
    EXPECT_TRUE(settings.known);
    EXPECT_EQ(settings.speedMbps, 10000u);
    EXPECT_FALSE(settings.autoNegotiation);
    EXPECT_EQ(settings.port, PORT_DA);
    EXPECT_EQ(settings.phyAddress, 5);
    EXPECT_EQ(settings.transceiver, XCVR_EXTERNAL);
    EXPECT_EQ(settings.supported, LINK_MODES{1});
    EXPECT_EQ(settings.advertised, LINK_MODES{2});
}

TEST(LinkSettings, AnUnknownSpeedIsNone) {
    ethtool_link_settings fixed = goodSettings();
    fixed.speed = static_cast<std::uint32_t>(SPEED_UNKNOWN);
    ORB_LINK_SETTINGS settings;
    ASSERT_TRUE(decode_link_settings(answerOf(fixed, 0, 0, 0), settings));
    EXPECT_EQ(settings.speedMbps, 0u);
}

TEST(LinkSettings, AShortAnswerChangesNothing) {
    ORB_LINK_SETTINGS settings;
    settings.speedMbps = 42;
    std::vector<std::uint8_t> bytes = answerOf(goodSettings(), 1, 2, 4);
    bytes.pop_back();
    EXPECT_FALSE(decode_link_settings(bytes, settings));
    bytes.resize(sizeof(ethtool_link_settings) - 1);
    EXPECT_FALSE(decode_link_settings(bytes, settings));
    for (const int words : {0, -1, -128, 2, 127}) {
        ethtool_link_settings fixed = goodSettings();
        fixed.link_mode_masks_nwords = static_cast<std::int8_t>(words);
        EXPECT_FALSE(decode_link_settings(answerOf(fixed, 1, 2, 4), settings)) << words;
    }
    EXPECT_FALSE(settings.known);
    EXPECT_EQ(settings.speedMbps, 42u);
}

TEST(LinkModes, AreNamedFromTheFastestHalfBeforeFull) {
    EXPECT_EQ(link_mode_names(
                  modesOf({ETHTOOL_LINK_MODE_10baseT_Half_BIT, ETHTOOL_LINK_MODE_10baseT_Full_BIT,
                           ETHTOOL_LINK_MODE_100baseT_Half_BIT, ETHTOOL_LINK_MODE_100baseT_Full_BIT,
                           ETHTOOL_LINK_MODE_1000baseT_Full_BIT, ETHTOOL_LINK_MODE_Autoneg_BIT,
                           ETHTOOL_LINK_MODE_TP_BIT})),
              (Words{"1000BaseT/Full", "100BaseT/Half", "100BaseT/Full", "10BaseT/Half",
                     "10BaseT/Full"}));
    EXPECT_EQ(link_mode_names(modesOf({ETHTOOL_LINK_MODE_10000baseSR_Full_BIT,
                                       ETHTOOL_LINK_MODE_25000baseCR_Full_BIT,
                                       ETHTOOL_LINK_MODE_100000baseKR2_Full_BIT})),
              (Words{"100000BaseKR2/Full", "25000BaseCR/Full", "10000BaseSR/Full"}));
    EXPECT_EQ(link_mode_names({}), Words());
}

TEST(LinkModes, BeyondTheSetAreNotInIt) {
    EXPECT_FALSE(has_link_mode({0xFFFFFFFF}, 32));
    EXPECT_TRUE(has_link_mode({0xFFFFFFFF}, 31));
    EXPECT_FALSE(has_link_mode({}, 0));
}

TEST(Ports, AreNamed) {
    EXPECT_EQ(supported_ports(modesOf({ETHTOOL_LINK_MODE_TP_BIT, ETHTOOL_LINK_MODE_FIBRE_BIT,
                                       ETHTOOL_LINK_MODE_Backplane_BIT})),
              (Words{"TP", "FIBRE", "Backplane"}));
    EXPECT_EQ(supported_ports({}), Words());
}

struct WordCase {
    const char *name;
    std::uint8_t number;
    const char *word;
};
void PrintTo(const WordCase &row, std::ostream *os) {
    *os << row.name;
}
const WordCase CABLE_CASES[] = {
    {"TwistedPair", PORT_TP, "Twisted Pair"},
    {"Aui", PORT_AUI, "AUI"},
    {"Mii", PORT_MII, "MII"},
    {"Fibre", PORT_FIBRE, "FIBRE"},
    {"Bnc", PORT_BNC, "BNC"},
    {"DirectAttach", PORT_DA, "DA"},
    {"None", PORT_NONE, ""},
    {"Other", PORT_OTHER, ""},
    {"Unheardof", 0x42, ""},
};
class CableType : public ::testing::TestWithParam<WordCase> {};
TEST_P(CableType, FollowsThePort) {
    EXPECT_EQ(cable_type({.known = true, .port = GetParam().number}), GetParam().word);
    EXPECT_EQ(cable_type({.known = false, .port = GetParam().number}), "");
}
INSTANTIATE_TEST_SUITE_P(PortTypes, CableType, ::testing::ValuesIn(CABLE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(Transceivers, AreNamed) {
    EXPECT_EQ(transceiver_word({.known = true, .transceiver = XCVR_INTERNAL}), "internal");
    EXPECT_EQ(transceiver_word({.known = true, .transceiver = XCVR_EXTERNAL}), "external");
    EXPECT_EQ(transceiver_word({.known = true, .transceiver = XCVR_DUMMY1}), "");
    EXPECT_EQ(transceiver_word({}), "");
}

TEST(WakeWords, AreThoseOfTheBits) {
    EXPECT_EQ(wake_words(0), Words{"None"});
    EXPECT_EQ(wake_words(WAKE_MAGIC), Words{"MagicPacket(tm)"});
    EXPECT_EQ(wake_words(WAKE_PHY | WAKE_UCAST | WAKE_MCAST | WAKE_BCAST | WAKE_ARP |
                         WAKE_MAGICSECURE | WAKE_FILTER),
              (Words{"PHY", "UniCast", "MultiCast", "BroadCast", "ARP", "SecureOn(tm)", "Filter"}));
    EXPECT_EQ(wake_words(0x80000000), Words{"None"}) << "one that no kernel has yet";
}
} // namespace
