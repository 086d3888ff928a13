#pragma once

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

/// A made-up Linux server below a root: its sysfs, /proc and os-release as the kernel shows them.
struct LINUX_PCI_FUNCTION {
    std::string address = "0000:24:00.0";
    std::string path = "pci0000:20/0000:20:02.0/0000:24:00.0"; ///< below /sys/devices
    std::uint16_t vendor = 0x1077, device = 0x2031, subVendor = 0xfff0, subDevice = 0x0002;
    std::uint32_t classCode = 0x0c0400; ///< with the programming interface
    std::uint8_t revision = 2;
    int irq = 11;
    std::string driver = "examplefc"; ///< empty: none
    std::uint8_t headerType = 0, secondaryBus = 0;
};

inline std::string hexadecimal(unsigned number, int digits) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*x\n", digits, number);
    return text;
}

inline void make_link(const TemporaryRoot &root, const std::string &link,
                      const std::string &target) {
    std::error_code error;
    std::filesystem::create_symlink(target, root.path() + link, error);
    ASSERT_FALSE(error) << link << ": " << error.message();
}

/// Adds a PCI function. @return its folder, a host path, for interfaces and hosts to be put into
inline std::string add_pci_function(TemporaryRoot &root, const LINUX_PCI_FUNCTION &function) {
    const std::string folder = "/sys/devices/" + function.path;
    std::string registers(64, '\0');
    const auto set16 = [&](std::size_t at, std::uint16_t value) {
        registers[at] = static_cast<char>(value & 0xFF);
        registers[at + 1] = static_cast<char>(value >> 8);
    };
    set16(0x00, function.vendor);
    set16(0x02, function.device);
    set16(0x04, 0x0406);
    registers[0x0E] = static_cast<char>(function.headerType);
    registers[0x19] = static_cast<char>(function.secondaryBus);
    registers[0x3C] = 0x0b;
    registers[0x3D] = 0x01;
    root.write(folder + "/config", registers);
    root.write(folder + "/vendor", hexadecimal(function.vendor, 4));
    root.write(folder + "/device", hexadecimal(function.device, 4));
    root.write(folder + "/subsystem_vendor", hexadecimal(function.subVendor, 4));
    root.write(folder + "/subsystem_device", hexadecimal(function.subDevice, 4));
    root.write(folder + "/class", hexadecimal(function.classCode, 6));
    root.write(folder + "/revision", hexadecimal(function.revision, 2));
    root.write(folder + "/irq", std::to_string(function.irq) + "\n");
    if (!function.driver.empty())
        make_link(root, folder + "/driver", "/sys/bus/pci/drivers/" + function.driver);
    root.makeDirectory("/sys/bus/pci/devices");
    make_link(root, "/sys/bus/pci/devices/" + function.address,
              "../../../devices/" + function.path);
    return folder;
}

struct LINUX_INTERFACE {
    std::string name = "ens0";
    std::string device = "pci0000:c0/0000:c3:00.0"; ///< folder below /sys/devices
    std::string carrier = "1", speed = "1000", duplex = "full", flags = "0x1003", mtu = "1500";
    std::string address = "02:00:5e:10:20:30", type = "1";
};

/// Adds the network interface of a device. @return its folder, a host path
inline std::string add_network_interface(TemporaryRoot &root, const LINUX_INTERFACE &interface) {
    const std::string folder = "/sys/devices/" + interface.device + "/net/" + interface.name;
    root.write(folder + "/carrier", interface.carrier + "\n");
    root.write(folder + "/speed", interface.speed + "\n");
    root.write(folder + "/duplex", interface.duplex + "\n");
    root.write(folder + "/flags", interface.flags + "\n");
    root.write(folder + "/mtu", interface.mtu + "\n");
    root.write(folder + "/address", interface.address + "\n");
    root.write(folder + "/type", interface.type + "\n");
    const std::size_t slash = interface.device.rfind('/');
    make_link(root, folder + "/device", "../../../" + interface.device.substr(slash + 1));
    root.makeDirectory("/sys/class/net");
    make_link(root, "/sys/class/net/" + interface.name,
              "../../devices/" + interface.device + "/net/" + interface.name);
    return folder;
}

struct LINUX_FC_PORT {
    std::string host = "host3";
    std::string device = "pci0000:20/0000:20:02.0/0000:24:00.0"; ///< folder below /sys/devices
    std::string nodeName = "0x200002005e0000a1", portName = "0x210002005e0000a1";
    std::string portId = "0x010600", portType = "NPort (fabric via point-to-point)";
    std::string portState = "Online", speed = "16 Gbit";
};

/// Adds a Fibre Channel port, which is a SCSI host too. @return the folder of its device's host, a
/// host path: below it lie fc_host/NAME and scsi_host/NAME
inline std::string add_fc_port(TemporaryRoot &root, const LINUX_FC_PORT &port) {
    const std::string host = "/sys/devices/" + port.device + "/" + port.host;
    const std::string folder = host + "/fc_host/" + port.host;
    root.write(folder + "/node_name", port.nodeName + "\n");
    root.write(folder + "/port_name", port.portName + "\n");
    root.write(folder + "/port_id", port.portId + "\n");
    root.write(folder + "/port_type", port.portType + "\n");
    root.write(folder + "/port_state", port.portState + "\n");
    root.write(folder + "/speed", port.speed + "\n");
    root.makeDirectory(host + "/scsi_host/" + port.host);
    for (const std::string kind : {"fc_host", "scsi_host"}) {
        root.makeDirectory("/sys/class/" + kind);
        make_link(root, "/sys/class/" + kind + "/" + port.host,
                  "../../devices/" + port.device + "/" + port.host + "/" + kind + "/" + port.host);
    }
    return host;
}

/// A bridge, a Fibre Channel adapter in slot 3 and a two-port network adapter, with names in
/// pci.ids for all but the second network port's device, which has no link.
inline void make_linux_machine(TemporaryRoot &root) {
    root.write("/etc/os-release",
               "NAME=\"Example Linux\"\nVERSION_ID=\"9.3\"\nBUILD_ID=20000001\n");
    root.write("/proc/sys/kernel/osrelease", "5.14.0-362.el9.x86_64\n");
    root.write("/proc/sys/kernel/hostname", "orb-lab-01\n");
    root.write("/proc/meminfo", "MemTotal:       1073740800 kB\nMemFree:        524288 kB\n"
                                "MemAvailable:   1007877120 kB\nCommitted_AS:   2048 kB\n"
                                "SUnreclaim:     2097152 kB\nPercpu:         1024 kB\n");
    root.write("/proc/stat", "cpu  10 0 10 70 10 0 0 0 0 0\ncpu0 5 0 5 35 5 0 0 0 0 0\n"
                             "cpu1 5 0 5 35 5 0 0 0 0 0\nintr 1\n");
    root.write("/proc/loadavg", "0.50 0.40 0.30 1/200 4242\n");
    root.write("/usr/share/misc/pci.ids",
               "# a comment\n1077  Example Fabric Corp.\n\t2031  Example 16Gb FC HBA\n"
               "8086  Example Silicon\n\t1521  Example Gigabit Adapter\n\t\tfff0 0001  A card\n"
               "\t1234  Example Bridge\n"
               "C 02  Network controller\n\t00  Ethernet controller\n"
               "C 06  Bridge\n\t04  PCI bridge\n"
               "C 0c  Serial bus controller\n\t04  Fibre Channel\n");

    add_pci_function(root, {.address = "0000:20:02.0",
                            .path = "pci0000:20/0000:20:02.0",
                            .vendor = 0x8086,
                            .device = 0x1234,
                            .subVendor = 0,
                            .subDevice = 0,
                            .classCode = 0x060400,
                            .revision = 7,
                            .irq = 0,
                            .driver = "pcieport",
                            .headerType = 1,
                            .secondaryBus = 0x24});
    const std::string hba = add_pci_function(root, {});
    root.makeDirectory(hba + "/host10");
    root.makeDirectory(hba + "/host3");
    root.makeDirectory(hba + "/hostile");
    root.write(hba + "/reset_method", "flr bus\n");
    root.write("/sys/bus/pci/slots/3/address", "0000:24:00\n");
    for (const std::string port : {"0", "1"}) {
        const std::string address = "0000:c3:00." + port;
        const std::string nic = add_pci_function(
            root, {.address = address,
                   .path = "pci0000:c0/" + address,
                   .vendor = 0x8086,
                   .device = static_cast<std::uint16_t>(port == "0" ? 0x1521 : 0x1fff),
                   .subVendor = 0xfff0,
                   .subDevice = 1,
                   .classCode = 0x020000,
                   .revision = 1,
                   .irq = 40,
                   .driver = "igb"});
        const bool up = port == "0";
        add_network_interface(root, {.name = "ens" + port,
                                     .device = "pci0000:c0/" + address,
                                     .carrier = up ? "1" : "0",
                                     .speed = up ? "1000" : "-1",
                                     .duplex = up ? "full" : "unknown",
                                     .address = "02:00:5e:10:20:3" + port});
        root.write(nic + "/label", "Onboard LAN " + port + "\n");
        root.makeDirectory("/sys/kernel/iommu_groups/17");
        make_link(root, nic + "/iommu_group", "../../../kernel/iommu_groups/17");
    }
}
