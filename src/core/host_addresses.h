#pragma once

#include <string>
#include <vector>

struct ORB_HOST_ADDRESS {
    std::string interfaceName; ///< such as "vmk0"
    std::string address;       ///< IPv4, dotted
};

/// The IPv4 addresses of all interfaces but "lo", in the host's order. Source: getifaddrs(3). No
/// log, no lock; any thread.
/// @return empty also where the host can't tell
std::vector<ORB_HOST_ADDRESS> host_ipv4_addresses();
