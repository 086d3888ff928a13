#include "nic_access.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include "pci_decode.h"
#include "plain_text.h"
#include "sysfs_folder.h"

namespace {
constexpr std::uint32_t TYPE_ETHERNET = 1, TYPE_INFINIBAND = 32; // numbers of ARP hardware

std::optional<std::uint32_t> number_of(const SYSFS_FOLDER &folder, const char *name) {
    unsigned long long number = 0;
    if (!leading_number(folder.text(name), number) || number > INT32_MAX) return std::nullopt;
    return static_cast<std::uint32_t>(number);
}

/// The PCI function that an interface's device is, or that carries it where it is a virtio one.
/// @param target  of the interface's link: ".../0000:00:03.0/virtio2/net/eth0"
std::string pci_address(std::string_view target, const std::string &device) {
    ORB_PCI_ADDRESS address;
    if (parse_pci_address(device, address)) return device;
    if (number_behind(device, "virtio").empty()) return {};
    const std::size_t end = target.rfind("/" + device + "/");
    if (end == std::string_view::npos) return {};
    const std::string_view above = target.substr(0, end);
    const std::string name(above.substr(above.rfind('/') + 1));
    return parse_pci_address(name, address) ? name : std::string();
}

ORB_LINK link_of(const SYSFS_FOLDER &folder, bool adminUp) {
    const std::string carrier = folder.text("carrier");
    if (carrier == "1") return ORB_LINK::UP;
    // The kernel tells nothing of an interface that is switched off.
    return carrier == "0" || !adminUp ? ORB_LINK::DOWN : ORB_LINK::UNKNOWN;
}

bool is_switched_on(const SYSFS_FOLDER &folder) {
    return (pci_attribute_number(folder.text("flags")) & IFF_UP) != 0;
}

/// What a device says of itself that pci.ids doesn't know.
std::string own_description(const SYSFS_FOLDER &folder) {
    if (folder.linkedName("device/subsystem") != "usb") return {};
    const std::string maker = folder.text("device/../manufacturer");
    const std::string product = folder.text("device/../product");
    return maker.empty() || product.empty() ? maker + product : maker + " " + product;
}

/// @return false where there is no adapter of that name
bool read_adapter(const SYSFS_FOLDER &interfaces, const SYSFS_FOLDER &functions, const char *name,
                  ORB_NIC &nic) {
    const SYSFS_FOLDER folder(interfaces, name);
    const std::string device = folder.linkedName("device");
    if (device.empty() || !folder.linkTarget("device/physfn").empty()) return false;
    const std::uint32_t type = number_of(folder, "type").value_or(0);
    if (type != TYPE_ETHERNET && type != TYPE_INFINIBAND) return false;

    nic.name = name;
    nic.pciAddress = pci_address(interfaces.linkTarget(name), device);
    nic.driver = folder.linkedName("device/driver");
    nic.adminUp = is_switched_on(folder);
    nic.link = link_of(folder, nic.adminUp);
    if (nic.link == ORB_LINK::UP) {
        nic.speedMbps = number_of(folder, "speed").value_or(0);
        nic.fullDuplex = folder.text("duplex") == "full";
    }
    nic.virtualAddress = folder.text("address");
    // A bond gives all its adapters one address; this one is their own.
    nic.macAddress = folder.text("bonding_slave/perm_hwaddr");
    if (nic.macAddress.empty()) nic.macAddress = nic.virtualAddress;
    nic.mtuBytes = number_of(folder, "mtu").value_or(0);
    if (nic.pciAddress.empty()) {
        nic.description = own_description(folder);
    } else {
        const SYSFS_FOLDER function(functions, nic.pciAddress.c_str());
        const auto id = [&](const char *what) {
            return static_cast<std::uint16_t>(pci_attribute_number(function.text(what)));
        };
        nic.vendor = id("vendor");
        nic.device = id("device");
    }
    return true;
}

std::string text_of(std::span<const char> field) {
    return std::string(field.begin(), std::find(field.begin(), field.end(), '\0'));
}

constexpr std::size_t MOST_WORDS = 127; // of a set of link modes, by the width of their number
using LINK_SETTINGS_BYTES = std::array<std::uint8_t, sizeof(ethtool_link_settings) +
                                                         3 * MOST_WORDS * sizeof(std::uint32_t)>;

/// Asks for link settings with sets of so many words. @return the number in the answer, 0: none
int ask_link_settings(const ETHTOOL_CALL &call, int words, LINK_SETTINGS_BYTES &answer) {
    ethtool_link_settings fixed{};
    fixed.cmd = ETHTOOL_GLINKSETTINGS;
    fixed.link_mode_masks_nwords = static_cast<std::int8_t>(words);
    alignas(ethtool_link_settings) LINK_SETTINGS_BYTES command{};
    std::memcpy(command.data(), &fixed, sizeof fixed);
    if (call(command.data()) != 0) return 0;
    std::memcpy(&fixed, command.data(), sizeof fixed);
    answer = command;
    return fixed.link_mode_masks_nwords;
}

/// The kernel answers a wrong number with the right one, negative, and then with the settings.
void read_link_settings(const ETHTOOL_CALL &call, ORB_LINK_SETTINGS &settings) {
    LINK_SETTINGS_BYTES answer{};
    const int words = -ask_link_settings(call, 0, answer);
    if (words <= 0 || words > static_cast<int>(MOST_WORDS)) return;
    // An answer without sets tells nothing.
    if (ask_link_settings(call, words, answer) == words)
        static_cast<void>(decode_link_settings(answer, settings));
}

/// A socket that is closed with the last copy of the calls on it.
struct SOCKET {
    int fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0), error = fd < 0 ? errno : 0;
    SOCKET() = default;
    ~SOCKET() {
        if (fd >= 0) ::close(fd);
    }
    SOCKET(const SOCKET &) = delete;
    SOCKET &operator=(const SOCKET &) = delete;
};
} // namespace

int read_nics(const std::string &root, std::vector<ORB_NIC> &nics) {
    const SYSFS_FOLDER interfaces(root + "/sys/class/net");
    const SYSFS_FOLDER functions(root + "/sys/bus/pci/devices");
    const int error = interfaces.list([&](const char *name) {
        ORB_NIC nic;
        if (read_adapter(interfaces, functions, name, nic)) nics.push_back(std::move(nic));
    });
    std::sort(nics.begin(), nics.end(), [](const ORB_NIC &left, const ORB_NIC &right) {
        return natural_less(left.name, right.name);
    });
    return error;
}

int read_nic(const std::string &root, const std::string &name, ORB_NIC &nic) {
    // Only a name of one step stays within the folder.
    if (name.empty() || name.size() >= IFNAMSIZ || name == "." || name == ".." ||
        name.find('/') != std::string::npos)
        return ENODEV;
    const SYSFS_FOLDER interfaces(root + "/sys/class/net");
    const SYSFS_FOLDER functions(root + "/sys/bus/pci/devices");
    return read_adapter(interfaces, functions, name.c_str(), nic) ? 0 : ENODEV;
}

ORB_ETHTOOL_FACTS read_ethtool_facts(const ETHTOOL_CALL &call) {
    ORB_ETHTOOL_FACTS facts;
    ethtool_drvinfo driver{};
    driver.cmd = ETHTOOL_GDRVINFO;
    if (call(&driver) == 0) {
        facts.driver = text_of(driver.driver);
        facts.driverVersion = text_of(driver.version);
        facts.firmwareVersion = text_of(driver.fw_version);
        facts.busInfo = text_of(driver.bus_info);
    }
    read_link_settings(call, facts.settings);
    ethtool_value value{};
    value.cmd = ETHTOOL_GMSGLVL;
    if (call(&value) == 0) facts.messageLevel = static_cast<std::int32_t>(value.data);
    value = {};
    value.cmd = ETHTOOL_GLINK;
    if (call(&value) == 0) facts.linkDetected = value.data != 0;
    ethtool_pauseparam pause{};
    pause.cmd = ETHTOOL_GPAUSEPARAM;
    if (call(&pause) == 0) {
        facts.pauseAutonegotiate = pause.autoneg != 0;
        facts.pauseRx = pause.rx_pause != 0;
        facts.pauseTx = pause.tx_pause != 0;
    }
    ethtool_wolinfo wake{};
    wake.cmd = ETHTOOL_GWOL;
    if (call(&wake) == 0) {
        facts.wakeSupported = wake.supported;
        facts.wakeActive = wake.wolopts;
    }
    return facts;
}

ETHTOOL_CALL ethtool_of_this_machine(const std::string &name) {
    return [name, line = std::make_shared<const SOCKET>()](void *command) {
        if (line->fd < 0) return line->error;
        ifreq request{};
        name.copy(request.ifr_name, sizeof request.ifr_name - 1);
        request.ifr_data = static_cast<char *>(command);
        return ::ioctl(line->fd, SIOCETHTOOL, &request) == 0 ? 0 : errno;
    };
}
