#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One Fibre Channel port as the machine tells it; the host counts each as an adapter. Texts are as
/// they came, of any bytes, in the kernel's own words.
struct ORB_FC_PORT {
    std::string adapter;                  ///< "vmhba3", as the list of PCI functions calls it
    std::string pciAddress;               ///< "0000:24:00.0"; empty: it hangs on no PCI function
    std::uint16_t vendor = 0, device = 0; ///< of that function
    std::string portId;                   ///< "0x010600"
    std::string nodeName, portName;       ///< "0x200002005e0000a1", without leading zeros
    std::string speed;                    ///< "16 Gbit"; other words without a link
    std::string portType;                 ///< "NPort (fabric via point-to-point)"
    std::string portState;                ///< "Online", "Linkdown"
    std::string modelDescription;         ///< empty, as the rest may be: none is known
    std::string symbolicName;             ///< by which the port is known in its fabric
    std::string hardwareVersion, optionRomVersion, firmwareVersion;
    std::string driver, driverVersion;
};

/// The list, a block of fourteen lines for each port; nothing without one. Just one line of a block
/// holds "Adapter: " and just one "Node Name:", in this order, whatever the other values are. Names
/// have the form 20:00:02:00:5e:00:00:a1, and are empty where the machine tells none. Pure.
std::string format_fc_list(const std::vector<ORB_FC_PORT> &ports);
