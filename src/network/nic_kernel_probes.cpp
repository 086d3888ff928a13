#include "network/NICPhysicalAdapter.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cstring>
#include <mutex>

#include "core/Logger.h"
#include "core/orbUtils.h"
#include "core/sysfs_readers.h"
#include "hostaccess/orbHostDevices.h"
#include "hostaccess/orbHostFiles.h"
#include "network/nic_commands.h"
#include "network/nic_details.h"
#include "physloc/pci_address.h"

namespace {
constexpr std::size_t LSPCI_PIECE_BYTES = 39;

void put_name(ifreq &request, const std::string &name) {
    const std::size_t length = std::min(name.size(), sizeof request.ifr_name - 1);
    std::memcpy(request.ifr_name, name.data(), length);
}

/// A field of fixed size that holds a text, with or without a NUL at its end.
template <std::size_t N> std::string field_text(const char (&field)[N]) {
    return std::string(field, ::strnlen(field, N));
}

/// The one socket over which drivers are asked, made at the first call and kept for the life of the
/// process. @return rc the descriptor, or -1; a later call then tries again
ORB_SYSCALL_RESULT driver_socket() {
    static std::mutex mutex;
    static int fd = -1; // guarded by mutex
    const std::lock_guard<std::mutex> lock(mutex);
    if (fd >= 0) return {fd, 0};
    const ORB_SYSCALL_RESULT opened = IorbHostDevices::get().datagramSocket();
    fd = static_cast<int>(opened.rc);
    return opened;
}

/// A value out of what lspci says about a device. @param what  what log lines call it
std::string lspci_value(const std::string &pciAddress, const std::string &filter,
                        const char *what) {
    std::string value;
    if (is_safe_address_word(pciAddress)) {
        const ORB_COMMAND_OUTPUT found =
            read_command("lspci -D -vv -s " + pciAddress + filter, LSPCI_PIECE_BYTES);
        if (!found.started) {
            ORB_LOG_DEBUG(NIC_CTRL,
                          format_text("File pointer returns null value while obtaining %s", what));
            return {};
        }
        (void)read_labelled_value(found.joined(), value); // without a ":" nothing is told
        if (!value.empty()) value.pop_back();             // the newline
    }
    if (value.empty()) ORB_LOG_DEBUG(NIC_CTRL, format_text("Unable to obtain the %s", what));
    return value;
}
} // namespace

std::uint32_t NICPhysicalAdapter::getSpeedMbps(const char *name) {
    if (name == nullptr || !is_interface_name(name)) return 0;
    const std::string path =
        IorbHostFiles::get().map("/sys/class/net/" + std::string(name) + "/speed");
    const std::uint32_t mbps = get_sysfs_uint(path.c_str());
    // Drivers say "unknown" by all ones in 32 or in 16 bits.
    return mbps == UINT32_MAX || (mbps & 0xFFFF) == 0xFFFF ? 0 : mbps;
}

std::string NICPhysicalAdapter::getMACAddress(const std::string &name) {
    IorbHostDevices &devices = IorbHostDevices::get();
    const ORB_SYSCALL_RESULT opened = devices.datagramSocket();
    if (opened.rc < 0) {
        ORB_LOG_DEBUG(
            NIC_CTRL,
            format_text("Socket call to obtain MAC address of the ethernet device failed: %s",
                        orbUtils::getErrorDescription(opened.err).c_str()));
        return {};
    }
    ifreq request{};
    put_name(request, name);
    const int fd = static_cast<int>(opened.rc);
    const ORB_SYSCALL_RESULT asked = devices.ioctl(fd, SIOCGIFHWADDR, &request);
    (void)devices.close(fd); // nothing was written that could be lost
    if (asked.rc < 0) {
        ORB_LOG_DEBUG(
            NIC_CTRL,
            format_text("ioctl call failed while obtaining MAC address of the ethernet device: %s",
                        orbUtils::getErrorDescription(asked.err).c_str()));
        return {};
    }
    unsigned char mac[6];
    std::memcpy(mac, request.ifr_hwaddr.sa_data, sizeof mac);
    return format_text("%.2X:%.2X:%.2X:%.2X:%.2X:%.2X", mac[0], mac[1], mac[2], mac[3], mac[4],
                       mac[5]);
}

NICPhysicalAdapter::ETHTOOL_INFO NICPhysicalAdapter::get_ethtool_info(const char *name) {
    if (name == nullptr) name = "";
    const ORB_SYSCALL_RESULT opened = driver_socket();
    if (opened.rc < 0) {
        ORB_LOG_DEBUG(NIC_CTRL, format_text("Socket call to obtain ethtool information failed : %s",
                                            orbUtils::getErrorDescription(opened.err).c_str()));
        return {};
    }
    ethtool_drvinfo driver{};
    driver.cmd = ETHTOOL_GDRVINFO;
    ifreq request{};
    put_name(request, name);
    request.ifr_data = reinterpret_cast<char *>(&driver);
    const ORB_SYSCALL_RESULT asked =
        IorbHostDevices::get().ioctl(static_cast<int>(opened.rc), SIOCETHTOOL, &request);
    if (asked.rc < 0) {
        ORB_LOG_DEBUG(
            NIC_CTRL,
            format_text("ioctl call failed while obtaining firmware_version and bus_info : %s",
                        orbUtils::getErrorDescription(asked.err).c_str()));
        return {};
    }
    const int status = get_adapter_status(name);
    return {field_text(driver.fw_version), nic_state_word(status), nic_health_word(status),
            field_text(driver.bus_info)};
}

std::pair<std::string, std::string>
NICPhysicalAdapter::get_lspci_info(const std::string &pciAddress) {
    std::string product = lspci_value(pciAddress, " | grep \"Product Name\"", "Product Name");
    return {std::move(product),
            lspci_value(pciAddress, " | grep \"Serial number\"", "Serial Number")};
}
