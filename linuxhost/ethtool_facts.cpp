#include "ethtool_facts.h"

#include <linux/ethtool.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "plain_text.h"

namespace {
struct MODE_NAME {
    unsigned mode;
    std::string_view name; // the kernel's, such as "1000baseT_Full"
};
#define ORB_MODE(name)                                                                             \
    MODE_NAME {                                                                                    \
        ETHTOOL_LINK_MODE_##name##_BIT, #name                                                      \
    }
constexpr MODE_NAME MODE_NAMES[] = {
    ORB_MODE(10baseT_Half),
    ORB_MODE(10baseT_Full),
    ORB_MODE(100baseT_Half),
    ORB_MODE(100baseT_Full),
    ORB_MODE(1000baseT_Half),
    ORB_MODE(1000baseT_Full),
    ORB_MODE(10000baseT_Full),
    ORB_MODE(2500baseX_Full),
    ORB_MODE(1000baseKX_Full),
    ORB_MODE(10000baseKX4_Full),
    ORB_MODE(10000baseKR_Full),
    ORB_MODE(10000baseR_FEC),
    ORB_MODE(20000baseMLD2_Full),
    ORB_MODE(20000baseKR2_Full),
    ORB_MODE(40000baseKR4_Full),
    ORB_MODE(40000baseCR4_Full),
    ORB_MODE(40000baseSR4_Full),
    ORB_MODE(40000baseLR4_Full),
    ORB_MODE(56000baseKR4_Full),
    ORB_MODE(56000baseCR4_Full),
    ORB_MODE(56000baseSR4_Full),
    ORB_MODE(56000baseLR4_Full),
    ORB_MODE(25000baseCR_Full),
    ORB_MODE(25000baseKR_Full),
    ORB_MODE(25000baseSR_Full),
    ORB_MODE(50000baseCR2_Full),
    ORB_MODE(50000baseKR2_Full),
    ORB_MODE(100000baseKR4_Full),
    ORB_MODE(100000baseSR4_Full),
    ORB_MODE(100000baseCR4_Full),
    ORB_MODE(100000baseLR4_ER4_Full),
    ORB_MODE(50000baseSR2_Full),
    ORB_MODE(1000baseX_Full),
    ORB_MODE(10000baseCR_Full),
    ORB_MODE(10000baseSR_Full),
    ORB_MODE(10000baseLR_Full),
    ORB_MODE(10000baseLRM_Full),
    ORB_MODE(10000baseER_Full),
    ORB_MODE(2500baseT_Full),
    ORB_MODE(5000baseT_Full),
    ORB_MODE(50000baseKR_Full),
    ORB_MODE(50000baseSR_Full),
    ORB_MODE(50000baseCR_Full),
    ORB_MODE(50000baseLR_ER_FR_Full),
    ORB_MODE(50000baseDR_Full),
    ORB_MODE(100000baseKR2_Full),
    ORB_MODE(100000baseSR2_Full),
    ORB_MODE(100000baseCR2_Full),
    ORB_MODE(100000baseLR2_ER2_FR2_Full),
    ORB_MODE(100000baseDR2_Full),
    ORB_MODE(200000baseKR4_Full),
    ORB_MODE(200000baseSR4_Full),
    ORB_MODE(200000baseLR4_ER4_FR4_Full),
    ORB_MODE(200000baseDR4_Full),
    ORB_MODE(200000baseCR4_Full),
    ORB_MODE(100baseT1_Full),
    ORB_MODE(1000baseT1_Full),
    ORB_MODE(400000baseKR8_Full),
    ORB_MODE(400000baseSR8_Full),
    ORB_MODE(400000baseLR8_ER8_FR8_Full),
    ORB_MODE(400000baseDR8_Full),
    ORB_MODE(400000baseCR8_Full),
    ORB_MODE(100000baseKR_Full),
    ORB_MODE(100000baseSR_Full),
    ORB_MODE(100000baseLR_ER_FR_Full),
    ORB_MODE(100000baseCR_Full),
    ORB_MODE(100000baseDR_Full),
    ORB_MODE(200000baseKR2_Full),
    ORB_MODE(200000baseSR2_Full),
    ORB_MODE(200000baseLR2_ER2_FR2_Full),
    ORB_MODE(200000baseDR2_Full),
    ORB_MODE(200000baseCR2_Full),
    ORB_MODE(400000baseKR4_Full),
    ORB_MODE(400000baseSR4_Full),
    ORB_MODE(400000baseLR4_ER4_FR4_Full),
    ORB_MODE(400000baseDR4_Full),
    ORB_MODE(400000baseCR4_Full),
    ORB_MODE(100baseFX_Half),
    ORB_MODE(100baseFX_Full),
    ORB_MODE(10baseT1L_Full),
};
#undef ORB_MODE

struct BIT_WORD {
    std::uint32_t bit;
    const char *word;
};
constexpr BIT_WORD PORT_WORDS[] = {
    {ETHTOOL_LINK_MODE_TP_BIT, "TP"},   {ETHTOOL_LINK_MODE_AUI_BIT, "AUI"},
    {ETHTOOL_LINK_MODE_MII_BIT, "MII"}, {ETHTOOL_LINK_MODE_FIBRE_BIT, "FIBRE"},
    {ETHTOOL_LINK_MODE_BNC_BIT, "BNC"}, {ETHTOOL_LINK_MODE_Backplane_BIT, "Backplane"},
};
constexpr BIT_WORD WAKE_WORDS[] = {
    {WAKE_PHY, "PHY"},
    {WAKE_UCAST, "UniCast"},
    {WAKE_MCAST, "MultiCast"},
    {WAKE_BCAST, "BroadCast"},
    {WAKE_ARP, "ARP"},
    {WAKE_MAGIC, "MagicPacket(tm)"},
    {WAKE_MAGICSECURE, "SecureOn(tm)"},
    {WAKE_FILTER, "Filter"},
};

/// "10000BaseSR/Full" for "10000baseSR_Full".
std::string shown_mode(std::string_view name) {
    std::string shown(name);
    if (const std::size_t base = shown.find("base"); base != std::string::npos) shown[base] = 'B';
    for (const char *duplex : {"_Full", "_Half"})
        if (shown.ends_with(duplex)) shown[shown.size() - std::strlen(duplex)] = '/';
    return shown;
}
} // namespace

const unsigned LINK_MODE_AUTONEG = ETHTOOL_LINK_MODE_Autoneg_BIT;
const unsigned LINK_MODE_PAUSE = ETHTOOL_LINK_MODE_Pause_BIT;

bool has_link_mode(const LINK_MODES &modes, unsigned mode) {
    return mode / 32 < modes.size() && (modes[mode / 32] >> mode % 32 & 1) != 0;
}

bool decode_link_settings(std::span<const std::uint8_t> answer, ORB_LINK_SETTINGS &out) {
    ethtool_link_settings fixed{};
    constexpr std::size_t FIXED_SIZE = sizeof fixed;
    if (answer.size() < FIXED_SIZE) return false;
    std::memcpy(&fixed, answer.data(), FIXED_SIZE);
    if (fixed.link_mode_masks_nwords <= 0) return false;
    const std::size_t words = static_cast<std::uint8_t>(fixed.link_mode_masks_nwords);
    if ((answer.size() - FIXED_SIZE) / sizeof(std::uint32_t) / 3 < words) return false;

    out.known = true;
    out.speedMbps = fixed.speed > static_cast<std::uint32_t>(INT32_MAX) ? 0 : fixed.speed;
    out.autoNegotiation = fixed.autoneg == AUTONEG_ENABLE;
    out.port = fixed.port;
    out.transceiver = fixed.transceiver;
    out.phyAddress = fixed.phy_address;
    const std::size_t size = words * sizeof(std::uint32_t);
    for (LINK_MODES *modes : {&out.supported, &out.advertised}) {
        modes->resize(words);
        const std::size_t at = FIXED_SIZE + (modes == &out.supported ? 0 : size);
        std::memcpy(modes->data(), answer.data() + at, size);
    }
    return true;
}

std::vector<std::string> link_mode_names(const LINK_MODES &modes) {
    struct NAMED {
        unsigned long long speed;
        bool full;
        std::string_view name;
    };
    std::vector<NAMED> found;
    for (const MODE_NAME &row : MODE_NAMES) {
        unsigned long long speed = 0;
        if (has_link_mode(modes, row.mode) && leading_number(row.name, speed))
            found.push_back({speed, !row.name.ends_with("_Half"), row.name});
    }
    std::stable_sort(found.begin(), found.end(), [](const NAMED &left, const NAMED &right) {
        return left.speed != right.speed ? left.speed > right.speed : left.full < right.full;
    });
    std::vector<std::string> names;
    names.reserve(found.size());
    for (const NAMED &mode : found) names.push_back(shown_mode(mode.name));
    return names;
}

std::vector<std::string> supported_ports(const LINK_MODES &modes) {
    std::vector<std::string> words;
    for (const BIT_WORD &row : PORT_WORDS)
        if (has_link_mode(modes, row.bit)) words.emplace_back(row.word);
    return words;
}

std::string_view cable_type(const ORB_LINK_SETTINGS &settings) {
    if (!settings.known) return {};
    switch (settings.port) {
    case PORT_TP:
        return "Twisted Pair";
    case PORT_AUI:
        return "AUI";
    case PORT_MII:
        return "MII";
    case PORT_FIBRE:
        return "FIBRE";
    case PORT_BNC:
        return "BNC";
    case PORT_DA:
        return "DA";
    default:
        return {}; // none, or one that the driver can't name
    }
}

std::string_view transceiver_word(const ORB_LINK_SETTINGS &settings) {
    if (!settings.known) return {};
    if (settings.transceiver == XCVR_INTERNAL) return "internal";
    return settings.transceiver == XCVR_EXTERNAL ? "external" : "";
}

std::vector<std::string> wake_words(std::uint32_t bits) {
    std::vector<std::string> words;
    for (const BIT_WORD &row : WAKE_WORDS)
        if ((bits & row.bit) != 0) words.emplace_back(row.word);
    if (words.empty()) words.emplace_back("None");
    return words;
}
