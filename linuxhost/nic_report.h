#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ethtool_facts.h"

/// Whether an adapter has a link. Unknown: it is switched on and its driver doesn't tell.
enum class ORB_LINK { UP, DOWN, UNKNOWN };

/// One network adapter as the machine tells it. Texts are as they came, of any bytes.
struct ORB_NIC {
    std::string name;                     ///< of the interface
    std::string pciAddress;               ///< "0000:c3:00.0"; empty: it hangs on no PCI function
    std::uint16_t vendor = 0, device = 0; ///< of that function
    std::string driver;                   ///< empty: none is known
    bool adminUp = false;
    ORB_LINK link = ORB_LINK::UNKNOWN;
    std::uint32_t speedMbps = 0; ///< 0: no link, or the driver doesn't tell
    bool fullDuplex = false;
    std::string macAddress;     ///< of the hardware
    std::string virtualAddress; ///< in use, which a bond may have set
    std::uint32_t mtuBytes = 0;
    std::string description; ///< empty: none is known
};

/// The table of adapters, always with its two head lines. Each further line has at least ten words,
/// and the fifth is the link: no cell is empty, none but the last holds a blank. Pure.
std::string format_nic_list(const std::vector<ORB_NIC> &nics);

/// All of one adapter, a line for each fact. Just one line holds "Firmware Version" and just one
/// "Cable ", each with a colon behind it: a value that would break this is left out. Pure.
std::string format_nic_details(const ORB_NIC &nic, const ORB_ETHTOOL_FACTS &facts);

/// Order of names in which numbers count as such: "eth2" before "eth10". Pure.
bool natural_less(std::string_view left, std::string_view right);
