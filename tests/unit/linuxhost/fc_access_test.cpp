#include "linuxhost/fc_access.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "linuxhost/pci_access.h"
#include "support/linux_machine.h"

namespace {
constexpr char FUNCTION_PATH[] = "pci0000:20/0000:20:02.0/0000:24:00.0";

std::vector<ORB_FC_PORT> portsOf(const TemporaryRoot &root) {
    std::vector<ORB_FC_PORT> ports;
    EXPECT_EQ(read_fc_ports(root.path(), ports), 0);
    return ports;
}

/// The one port of a machine.
ORB_FC_PORT portOf(const TemporaryRoot &root) {
    const auto ports = portsOf(root);
    EXPECT_EQ(ports.size(), 1u);
    return ports.empty() ? ORB_FC_PORT() : ports.front();
}

std::string adaptersOf(const TemporaryRoot &root) {
    std::string names;
    for (const ORB_FC_PORT &port : portsOf(root)) names += port.adapter + " ";
    return names;
}

TEST(FcPorts, CarryWhatSysfsTells) {
    TemporaryRoot root;
    make_linux_machine(root);
    add_fc_port(root, {});
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.adapter, "vmhba3");
    EXPECT_EQ(port.pciAddress, "0000:24:00.0");
    EXPECT_EQ(port.vendor, 0x1077);
    EXPECT_EQ(port.device, 0x2031);
    EXPECT_EQ(port.nodeName, "0x200002005e0000a1");
    EXPECT_EQ(port.portName, "0x210002005e0000a1");
    EXPECT_EQ(port.portId, "0x010600");
    EXPECT_EQ(port.portType, "NPort (fabric via point-to-point)");
    EXPECT_EQ(port.portState, "Online");
    EXPECT_EQ(port.speed, "16 Gbit");
    EXPECT_EQ(port.driver, "examplefc");
    EXPECT_EQ(port.modelDescription, "");
    EXPECT_EQ(port.firmwareVersion, "");
}

struct MakeCase {
    const char *name;
    std::vector<std::pair<const char *, const char *>> files; ///< below the device's host
    const char *model, *hardware, *optionRom, *firmware, *driverVersion;
};
void PrintTo(const MakeCase &row, std::ostream *os) {
    *os << row.name;
}
const MakeCase MAKE_CASES[] = {
    {"InTheKernelsNames",
     {{"fc_host/host3/model_description", "Model A"},
      {"fc_host/host3/hardware_version", "12"},
      {"fc_host/host3/optionrom_version", "1.2"},
      {"fc_host/host3/firmware_version", "3.4"},
      {"fc_host/host3/driver_version", "5.6"},
      {"scsi_host/host3/fw_version", "other"},
      {"scsi_host/host3/driver_version", "other"}},
     "Model A",
     "12",
     "1.2",
     "3.4",
     "5.6"},
    {"InOneDriversNames",
     {{"scsi_host/host3/model_desc", "Model B"},
      {"scsi_host/host3/optrom_bios_version", "3.54"},
      {"scsi_host/host3/fw_version", "8.05.61 (d0d5)"},
      {"scsi_host/host3/driver_version", "10.02.00"}},
     "Model B",
     "",
     "3.54",
     "8.05.61 (d0d5)",
     "10.02.00"},
    {"InAnotherDriversNames",
     {{"scsi_host/host3/modeldesc", "Model C"},
      {"scsi_host/host3/hdw", "0000000d"},
      {"scsi_host/host3/option_rom_version", "12.8"},
      {"scsi_host/host3/fwrev", "12.8.351"}},
     "Model C",
     "0000000d",
     "12.8",
     "12.8.351",
     ""},
    {"InAThirdDriversNames",
     {{"scsi_host/host3/model_description", "Model D"},
      {"scsi_host/host3/hardware_version", "Rev-C"},
      {"scsi_host/host3/optionrom_version", "3.2"},
      {"scsi_host/host3/firmware_version", "3.2.25"},
      {"scsi_host/host3/driver_version", "3.2.25.1"}},
     "Model D",
     "Rev-C",
     "3.2",
     "3.2.25",
     "3.2.25.1"},
    {"EmptyOnesArePassedOver",
     {{"fc_host/host3/firmware_version", "\n"},
      {"scsi_host/host3/fw_version", " "},
      {"scsi_host/host3/fwrev", "7"}},
     "",
     "",
     "",
     "7",
     ""},
};
class FcMake : public ::testing::TestWithParam<MakeCase> {};
TEST_P(FcMake, IsToldByTheDriver) {
    TemporaryRoot root;
    make_linux_machine(root);
    const std::string host = add_fc_port(root, {}) + "/";
    for (const auto &[file, text] : GetParam().files) root.write(host + file, text);
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.modelDescription, GetParam().model);
    EXPECT_EQ(port.hardwareVersion, GetParam().hardware);
    EXPECT_EQ(port.optionRomVersion, GetParam().optionRom);
    EXPECT_EQ(port.firmwareVersion, GetParam().firmware);
    EXPECT_EQ(port.driverVersion, GetParam().driverVersion);
}
INSTANTIATE_TEST_SUITE_P(Drivers, FcMake, ::testing::ValuesIn(MAKE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(FcPorts, TheModuleTellsTheVersionThatTheDriverDoesNot) {
    TemporaryRoot root;
    const std::string folder = add_pci_function(root, {.driver = ""});
    root.write(folder + "/uevent", "DRIVER=examplefc\nPCI_CLASS=C0400\nPCI_ID=1077:2031\n");
    root.write("/sys/module/examplefc/version", "2.1.81.0\n");
    root.makeDirectory("/sys/bus/pci/drivers/examplefc");
    make_link(root, folder + "/driver", "../../../../bus/pci/drivers/examplefc");
    make_link(root, "/sys/bus/pci/drivers/examplefc/module", "../../../../module/examplefc");
    add_fc_port(root, {});
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.driver, "examplefc");
    EXPECT_EQ(port.driverVersion, "2.1.81.0");
}

TEST(FcPorts, ComeInTheOrderOfTheirNumbers) {
    TemporaryRoot root;
    for (const char *host : {"host10", "host9", "host1", "host2"})
        add_fc_port(root, {.host = host, .device = std::string("platform/") + host});
    EXPECT_EQ(adaptersOf(root), "vmhba1 vmhba2 vmhba9 vmhba10 ");
}

TEST(FcPorts, VirtualOnesAreLeftOut) {
    TemporaryRoot root;
    add_pci_function(root, {});
    add_fc_port(root, {});
    add_fc_port(root, {.host = "host4",
                       .device = std::string(FUNCTION_PATH) + "/host3/vport-3:0-0",
                       .portType = "Unknown"});
    add_fc_port(root, {.host = "host5", .device = "elsewhere", .portType = "NPIV VPORT"});
    EXPECT_EQ(portOf(root).adapter, "vmhba3");
}

TEST(FcPorts, AnEthernetPortWithoutPciCarriesOneToo) {
    TemporaryRoot root;
    const std::string host =
        add_fc_port(root, {.host = "host7", .device = "virtual/net/eth3.100-fcoe/ctlr_0"});
    root.write(host + "/scsi_host/host7/proc_name", "fcoe\n");
    root.write(host + "/fc_host/host7/symbolic_name", "fcoe v0.1 over eth3.100-fcoe\n");
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.adapter, "vmhba7");
    EXPECT_EQ(port.pciAddress, "");
    EXPECT_EQ(port.vendor, 0);
    EXPECT_EQ(port.driver, "fcoe");
    EXPECT_EQ(port.symbolicName, "fcoe v0.1 over eth3.100-fcoe");
}

TEST(FcPorts, HostsOfOneFunctionGoByItsNameInThePciList) {
    TemporaryRoot root;
    add_pci_function(root, {});
    add_fc_port(root, {.host = "host10", .nodeName = "0x200002005e0000a2"});
    add_fc_port(root, {.host = "host3"});
    EXPECT_EQ(adaptersOf(root), "vmhba3 vmhba3 ");
    std::vector<ORB_PCI_FUNCTION> functions;
    ASSERT_TRUE(read_pci_functions(root.path(), nullptr, functions));
    EXPECT_EQ(functions.at(0).kernelName, "vmhba3");
}

TEST(FcPorts, AFunctionThatThePciListNamesOtherwiseLeavesThePortItsNumber) {
    TemporaryRoot root;
    add_pci_function(root, {.classCode = 0xff0000}); // no kind of adapter: it has no name there
    add_fc_port(root, {});
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.adapter, "vmhba3");
    EXPECT_EQ(port.pciAddress, "0000:24:00.0");
}

TEST(FcPorts, AFunctionThatIsGoneLeavesThePort) {
    TemporaryRoot root;
    add_fc_port(root, {}); // no such entry on the bus
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.adapter, "vmhba3");
    EXPECT_EQ(port.pciAddress, "");
    EXPECT_EQ(port.driver, "");
}

TEST(FcPorts, AnEntryThatIsNoLinkIsAPortWithoutAFunction) {
    TemporaryRoot root;
    root.write("/sys/class/fc_host/host3/port_name", "0x210002005e0000a1\n");
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.adapter, "vmhba3");
    EXPECT_EQ(port.nodeName, "");
    EXPECT_EQ(port.portName, "0x210002005e0000a1");
}

TEST(FcPorts, WhatIsNoPortIsLeftOut) {
    TemporaryRoot root;
    root.makeDirectory("/sys/class/fc_host/host3"); // tells no name: it is just going
    root.write("/sys/class/fc_host/host4", "a file");
    make_link(root, "/sys/class/fc_host/host5", "../../devices/gone/host5/fc_host/host5");
    make_link(root, "/sys/class/fc_host/host6", "host6");
    for (const char *name : {"host", "hostile", "host7x", "rport-3:0-0", "host-1"})
        root.write(std::string("/sys/class/fc_host/") + name + "/node_name", "0x1\n");
    EXPECT_TRUE(portsOf(root).empty());
}

TEST(FcPorts, HostileAttributesAreBounded) {
    TemporaryRoot root;
    add_pci_function(root, {});
    const std::string host = add_fc_port(root, {.portState = std::string(100000, 's')});
    root.write(host + "/fc_host/host3/speed", std::string("\0\x7f\xff\x80 Gbit", 9));
    std::filesystem::remove(root.path() + host + "/fc_host/host3/port_id");
    root.makeDirectory(host + "/fc_host/host3/port_id"); // no file
    root.write(host + "/scsi_host/host3/model_desc", std::string(4096, '\n') + "behind the limit");
    const ORB_FC_PORT port = portOf(root);
    EXPECT_EQ(port.portState.size(), 4096u);
    EXPECT_EQ(port.speed, "?? Gbit");
    EXPECT_EQ(port.portId, "");
    EXPECT_EQ(port.modelDescription, "");
    EXPECT_EQ(port.nodeName, "0x200002005e0000a1");
}

TEST(FcPorts, AMachineWithoutThemHasNone) {
    TemporaryRoot root;
    EXPECT_TRUE(portsOf(root).empty()) << "no class of them";
    root.makeDirectory("/sys/class/fc_host");
    EXPECT_TRUE(portsOf(root).empty());
}

TEST(FcPorts, AClassThatCannotBeListedIsToldOf) {
    TemporaryRoot root;
    root.write("/sys/class/fc_host", "a file");
    std::vector<ORB_FC_PORT> ports;
    EXPECT_EQ(read_fc_ports(root.path(), ports), ENOTDIR);
}
} // namespace
