#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// A set of link modes in the kernel's numbering, 32 in each word.
using LINK_MODES = std::vector<std::uint32_t>;
extern const unsigned LINK_MODE_AUTONEG, LINK_MODE_PAUSE;
bool has_link_mode(const LINK_MODES &modes, unsigned mode);

/// How an adapter's link is set up.
struct ORB_LINK_SETTINGS {
    bool known = false;          ///< the driver told it
    std::uint32_t speedMbps = 0; ///< 0: unknown
    bool autoNegotiation = false;
    std::uint8_t port = 0, transceiver = 0, phyAddress = 0; ///< in the kernel's numbering
    LINK_MODES supported = {}, advertised = {};
};

/// What a driver tells through the kernel's ethtool interface; what it doesn't tell stays.
struct ORB_ETHTOOL_FACTS {
    std::string driver, driverVersion, firmwareVersion, busInfo;
    ORB_LINK_SETTINGS settings;
    std::int64_t messageLevel = -1;
    std::optional<bool> linkDetected;
    bool pauseAutonegotiate = false, pauseRx = false, pauseTx = false;
    std::uint32_t wakeSupported = 0, wakeActive = 0; ///< the kernel's bits
};

/// Reads the kernel's answer on link settings: its fixed part and behind it three sets of modes,
/// whose length the fixed part tells. Pure.
/// @return false, `out` untouched, where it is shorter than it says or tells no length
bool decode_link_settings(std::span<const std::uint8_t> answer, ORB_LINK_SETTINGS &out);

/// The modes with a speed, as "1000BaseT/Full"; the fastest first, half before full duplex.
std::vector<std::string> link_mode_names(const LINK_MODES &modes);
std::vector<std::string> supported_ports(const LINK_MODES &modes); ///< as "TP", "FIBRE"
std::string_view cable_type(const ORB_LINK_SETTINGS &settings);    ///< empty where there is none
std::string_view transceiver_word(const ORB_LINK_SETTINGS &settings);
/// What wakes the machine, as "MagicPacket(tm)"; "None" for nothing.
std::vector<std::string> wake_words(std::uint32_t bits);
