#include "fc_access.h"

#include <algorithm>
#include <cerrno>
#include <initializer_list>
#include <string_view>
#include <utility>

#include "nic_report.h"
#include "pci_access.h"
#include "pci_report.h"
#include "sysfs_folder.h"

namespace {
constexpr std::string_view HOST_STEM = "host", VIRTUAL_PORT_STEM = "vport-";

/// The folders of sysfs that tell of Fibre Channel ports.
struct FC_FOLDERS {
    SYSFS_FOLDER ports, scsiHosts, functions;
    explicit FC_FOLDERS(const std::string &sys)
        : ports(sys + "/class/fc_host"), scsiHosts(sys + "/class/scsi_host"),
          functions(sys + "/bus/pci/devices") {}
};

/// The device that made a host: "0000:24:00.0" of ".../0000:24:00.0/host3/fc_host/host3".
std::string device_of(std::string_view target, const std::string &host) {
    const std::size_t end = target.rfind("/" + host + "/fc_host/" + host);
    if (end == std::string_view::npos) return {};
    const std::string_view above = target.substr(0, end);
    return std::string(above.substr(above.rfind('/') + 1));
}

/// The first of some files that tells something.
std::string first_text(const SYSFS_FOLDER &folder, std::initializer_list<const char *> names) {
    for (const char *name : names)
        if (std::string text = folder.text(name); !text.empty()) return text;
    return {};
}

/// What a port says of its make. The kernel has names of its own for these facts, which few drivers
/// fill in; most put them beside their SCSI host under names of theirs.
void read_make(const SYSFS_FOLDER &port, const SYSFS_FOLDER &scsiHost, ORB_FC_PORT &out) {
    const auto text = [&](const char *name, std::initializer_list<const char *> driversNames) {
        std::string told = port.text(name);
        return told.empty() ? first_text(scsiHost, driversNames) : told;
    };
    out.modelDescription =
        text("model_description", {"model_desc", "modeldesc", "model_description"});
    out.hardwareVersion = text("hardware_version", {"hardware_version", "hdw"});
    out.optionRomVersion = text("optionrom_version",
                                {"optrom_bios_version", "option_rom_version", "optionrom_version"});
    out.firmwareVersion = text("firmware_version", {"fw_version", "fwrev", "firmware_version"});
    out.driverVersion = text("driver_version", {"driver_version"});
}

/// The PCI function that a port is, whose name in the list of functions the port takes: of several
/// hosts of one function they all go by the first.
void read_function(const SYSFS_FOLDER &functions, const std::string &device, ORB_FC_PORT &port) {
    ORB_PCI_FUNCTION function;
    if (!parse_pci_address(device, function.address) ||
        !read_pci_function(functions, device.c_str(), function))
        return;
    port.pciAddress = device;
    port.vendor = function.vendor;
    port.device = function.device;
    port.driver = function.driver;
    if (port.driverVersion.empty())
        port.driverVersion = functions.text((device + "/driver/module/version").c_str());
    if (!number_behind(function.kernelName, PCI_ADAPTER_STEM).empty())
        port.adapter = function.kernelName;
}

/// @return false where there is no physical port of that name
bool read_port(const FC_FOLDERS &folders, const std::string &host, ORB_FC_PORT &port) {
    const std::string_view number = number_behind(host, HOST_STEM);
    if (number.empty()) return false;
    const std::string device = device_of(folders.ports.linkTarget(host.c_str()), host);
    if (device.starts_with(VIRTUAL_PORT_STEM)) return false;

    const SYSFS_FOLDER folder(folders.ports, host.c_str());
    port.nodeName = folder.text("node_name");
    port.portName = folder.text("port_name");
    if (port.nodeName.empty() && port.portName.empty()) return false; // it is gone
    port.portType = folder.text("port_type");
    if (port.portType == "NPIV VPORT") return false;
    port.portId = folder.text("port_id");
    port.portState = folder.text("port_state");
    port.speed = folder.text("speed");
    port.symbolicName = folder.text("symbolic_name");
    const SYSFS_FOLDER scsiHost(folders.scsiHosts, host.c_str());
    read_make(folder, scsiHost, port);

    port.adapter = std::string(PCI_ADAPTER_STEM).append(number);
    read_function(folders.functions, device, port);
    if (port.driver.empty()) port.driver = scsiHost.text("proc_name");
    return true;
}
} // namespace

int read_fc_ports(const std::string &root, std::vector<ORB_FC_PORT> &ports) {
    const FC_FOLDERS folders(root + "/sys");
    std::vector<std::string> hosts;
    const int error = folders.ports.list([&](const char *name) { hosts.emplace_back(name); });
    std::sort(hosts.begin(), hosts.end(), natural_less);
    for (const std::string &host : hosts) {
        ORB_FC_PORT port;
        if (read_port(folders, host, port)) ports.push_back(std::move(port));
    }
    return error == ENOENT ? 0 : error;
}
