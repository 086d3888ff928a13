#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "linuxhost/pci_access.h"
#include "support/linux_machine.h"

namespace {
struct Complaints {
    std::vector<std::string> texts;
    COMPLAINT take = [this](const std::string &what, const std::string &why) {
        texts.push_back(what + ": " + why);
    };
};

std::vector<ORB_PCI_FUNCTION> functionsOf(const TemporaryRoot &root) {
    Complaints complaints;
    std::vector<ORB_PCI_FUNCTION> functions;
    EXPECT_TRUE(read_pci_functions(root.path(), complaints.take, functions));
    EXPECT_TRUE(complaints.texts.empty()) << complaints.texts.front();
    return functions;
}

/// The name of the one function of a machine.
std::string nameOf(const TemporaryRoot &root) {
    const auto functions = functionsOf(root);
    EXPECT_EQ(functions.size(), 1u);
    return functions.at(0).kernelName;
}

TEST(PciFunctions, ComeInTheOrderOfTheirAddresses) {
    TemporaryRoot root;
    make_linux_machine(root);
    const auto functions = functionsOf(root);
    ASSERT_EQ(functions.size(), 4u);
    EXPECT_EQ(functions[0].address, (ORB_PCI_ADDRESS{0, 0x20, 2, 0}));
    EXPECT_EQ(functions[1].address, (ORB_PCI_ADDRESS{0, 0x24, 0, 0}));
    EXPECT_EQ(functions[2].address, (ORB_PCI_ADDRESS{0, 0xc3, 0, 0}));
    EXPECT_EQ(functions[3].address, (ORB_PCI_ADDRESS{0, 0xc3, 0, 1}));
}

TEST(PciFunctions, CarryWhatSysfsTells) {
    TemporaryRoot root;
    make_linux_machine(root);
    const ORB_PCI_FUNCTION hba = functionsOf(root).at(1);
    EXPECT_EQ(hba.vendor, 0x1077);
    EXPECT_EQ(hba.device, 0x2031);
    EXPECT_EQ(hba.subVendor, 0xfff0);
    EXPECT_EQ(hba.subDevice, 2);
    EXPECT_EQ(hba.classCode, 0x0c04);
    EXPECT_EQ(hba.programmingInterface, 0);
    EXPECT_EQ(hba.revision, 2);
    EXPECT_EQ(hba.irq, 11);
    EXPECT_EQ(hba.driver, "examplefc");
    EXPECT_EQ(hba.slotName, "3");
    EXPECT_EQ(hba.command, 0x0406);
    EXPECT_EQ(hba.interruptLine, 0x0b);
    EXPECT_EQ(hba.interruptPin, 1);
    EXPECT_EQ(hba.resetMethods, "flr bus");
    ASSERT_TRUE(hba.hasParent);
    EXPECT_EQ(hba.parent, (ORB_PCI_ADDRESS{0, 0x20, 2, 0}));
    EXPECT_EQ(hba.kernelName, "vmhba3") << "of host3, before host10, and not \"hostile\"";
}

TEST(PciFunctions, CarryBridgeAndOnBoardFacts) {
    TemporaryRoot root;
    make_linux_machine(root);
    const auto functions = functionsOf(root);
    EXPECT_EQ(functions.at(0).headerType, 1);
    EXPECT_EQ(functions.at(0).secondaryBus, 0x24);
    EXPECT_FALSE(functions.at(0).hasParent) << "the root bus is no function";
    EXPECT_EQ(functions.at(0).kernelName, "");
    EXPECT_EQ(functions.at(3).kernelName, "ens1");
    EXPECT_EQ(functions.at(3).label, "Onboard LAN 1");
    EXPECT_EQ(functions.at(3).iommuGroup, "17");
    EXPECT_EQ(functions.at(3).slotName, "");
}

struct NameCase {
    const char *name;
    const char *driver;
    std::uint32_t classCode;
    std::vector<const char *> folders;
    const char *expected;
};
void PrintTo(const NameCase &row, std::ostream *os) {
    *os << row.name;
}
const NameCase NAME_CASES[] = {
    {"Interfaces", "mlx", 0x020000, {"net/eth10", "net/eth9"}, "eth9"},
    {"WirelessInterface", "iwlwifi", 0x0d8000, {"net/wlp1s0"}, "wlp1s0"},
    {"VirtioInterface", "virtio-pci", 0x020000, {"virtio3/net/enp0s3"}, "enp0s3"},
    {"VirtioHost", "virtio-pci", 0x010000, {"virtio1/host0"}, "vmhba0"},
    {"VirtioWithout", "virtio-pci", 0xffff00, {"virtio1/power"}, ""},
    {"ScsiHost", "mpt3sas", 0x010700, {"host6"}, "vmhba6"},
    {"FibreChannelHost", "qla2xxx", 0x0c0400, {"host1", "net"}, "vmhba1"},
    {"ConvergedAdapter", "fnic", 0x020000, {"host4"}, "vmhba4"},
    {"AtaPort", "ahci", 0x010601, {"ata10/host9", "ata2/host1"}, "vmhba1"},
    {"ConvergedWithInterface", "x", 0x020000, {"net/eth0", "host4/fc_host/host4"}, "vmhba4"},
    {"InterfaceBesideAnotherHost", "x", 0x020000, {"net/eth0", "host4/fc_host/host5"}, "eth0"},
    {"FibreChannelWithoutHost", "qla2xxx", 0x0c0400, {"power"}, "vmhba0"},
    {"FibreChannelWithoutDriver", "", 0x0c0400, {}, "vmhba0"},
    {"NumberlessHost", "mpt3sas", 0x010700, {"host", "host1x"}, ""},
    {"NvmeController", "nvme", 0x010802, {"nvme/nvme2", "nvme/other"}, "nvme2"},
    {"UsbHostIsNone", "xhci_hcd", 0x0c0330, {"host3"}, ""},
    {"NoDriver", "", 0x010700, {"host6"}, ""},
    {"NothingThere", "mpt3sas", 0x010700, {}, ""},
};
class KernelName : public ::testing::TestWithParam<NameCase> {};
TEST_P(KernelName, IsWhatTheDriverMade) {
    TemporaryRoot root;
    const std::string folder =
        add_pci_function(root, {.classCode = GetParam().classCode, .driver = GetParam().driver});
    for (const char *name : GetParam().folders) root.makeDirectory(folder + "/" + name);
    EXPECT_EQ(nameOf(root), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Drivers, KernelName, ::testing::ValuesIn(NAME_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(PciFunctions, UnnamedFibreChannelAdaptersGetNumbersOfTheirOwn) {
    TemporaryRoot root;
    const auto add = [&](const std::string &address, const char *driver) {
        return add_pci_function(
            root, {.address = address, .path = "pci0000:20/" + address, .driver = driver});
    };
    add("0000:20:00.0", "vfio-pci");
    root.makeDirectory(add("0000:20:00.1", "examplefc") + "/host7");
    add("0000:20:00.2", "");
    root.makeDirectory("/sys/class/scsi_host/host11"); // of no PCI function
    root.makeDirectory("/sys/class/scsi_host/host99999999999");
    const auto functions = functionsOf(root);
    ASSERT_EQ(functions.size(), 3u);
    EXPECT_EQ(functions[0].kernelName, "vmhba12");
    EXPECT_EQ(functions[1].kernelName, "vmhba7");
    EXPECT_EQ(functions[2].kernelName, "vmhba13");
}

TEST(PciFunctions, TheKernelsOneTextGoesBeforeTheSingleFiles) {
    TemporaryRoot root;
    const std::string folder = add_pci_function(root, {});
    root.write(folder + "/uevent", "DRIVER=qla2xxx\nPCI_CLASS=C0401\nPCI_ID=1077:2432\n"
                                   "PCI_SUBSYS_ID=1077:0138\nPCI_SLOT_NAME=0000:24:00.0\n");
    const ORB_PCI_FUNCTION function = functionsOf(root).at(0);
    EXPECT_EQ(function.driver, "qla2xxx");
    EXPECT_EQ(function.vendor, 0x1077);
    EXPECT_EQ(function.device, 0x2432);
    EXPECT_EQ(function.subVendor, 0x1077);
    EXPECT_EQ(function.subDevice, 0x0138);
    EXPECT_EQ(function.classCode, 0x0c04);
    EXPECT_EQ(function.programmingInterface, 1);
    EXPECT_EQ(function.revision, 2);
    EXPECT_EQ(function.irq, 11);
}

TEST(PciFunctions, AGarbledTextLeavesTheSingleFiles) {
    TemporaryRoot root;
    const std::string folder = add_pci_function(root, {});
    root.write(folder + "/uevent", "DRIVER=other\nPCI_CLASS=C0400\nPCI_ID=1077\n");
    const ORB_PCI_FUNCTION function = functionsOf(root).at(0);
    EXPECT_EQ(function.driver, "examplefc");
    EXPECT_EQ(function.device, 0x2031);
}

TEST(PciFunctions, WhatIsNoFunctionIsPassedOver) {
    TemporaryRoot root;
    make_linux_machine(root);
    root.makeDirectory("/sys/bus/pci/devices/nonsense");
    make_link(root, "/sys/bus/pci/devices/0000:30:00.0", "../../../devices/gone");
    root.makeDirectory("/sys/devices/bare");
    make_link(root, "/sys/bus/pci/devices/0000:31:00.0", "../../../devices/bare");
    Complaints complaints;
    std::vector<ORB_PCI_FUNCTION> functions;
    ASSERT_TRUE(read_pci_functions(root.path(), complaints.take, functions));
    EXPECT_EQ(functions.size(), 4u);
    ASSERT_EQ(complaints.texts.size(), 1u) << "what a driver just took away is nobody's fault";
    EXPECT_EQ(complaints.texts[0],
              root.path() + "/sys/bus/pci/devices/nonsense: no PCI address; passed over");
}

TEST(PciFunctions, ASlotHoldsAllFunctionsOfItsDevice) {
    TemporaryRoot root;
    make_linux_machine(root);
    root.write("/sys/bus/pci/slots/7-1/address", "0000:c3:00\n");
    root.write("/sys/bus/pci/slots/8/address", "0000:c3\n"); // a bus without a device
    root.write("/sys/bus/pci/slots/9/address", "");
    const auto functions = functionsOf(root);
    EXPECT_EQ(functions.at(0).slotName, "");
    EXPECT_EQ(functions.at(2).slotName, "7-1");
    EXPECT_EQ(functions.at(3).slotName, "7-1");
}

TEST(PciFunctions, AMachineWithoutPciIsToldOf) {
    TemporaryRoot root;
    Complaints complaints;
    std::vector<ORB_PCI_FUNCTION> functions;
    EXPECT_FALSE(read_pci_functions(root.path(), complaints.take, functions));
    ASSERT_EQ(complaints.texts.size(), 1u);
    EXPECT_EQ(complaints.texts[0], root.path() + "/sys/bus/pci/devices: No such file or directory");
}

TEST(PciFunctions, AnEmptyBusHasNone) {
    TemporaryRoot root;
    root.makeDirectory("/sys/bus/pci/devices");
    EXPECT_TRUE(functionsOf(root).empty());
}

TEST(PciFunctions, UnreadableRegistersCostTheirFieldsOnly) {
    TemporaryRoot root;
    const std::string folder = add_pci_function(root, {});
    root.write(folder + "/config", "short");
    const ORB_PCI_FUNCTION function = functionsOf(root).at(0);
    EXPECT_EQ(function.interruptLine, 0xFF);
    EXPECT_EQ(function.command, 0);
    EXPECT_EQ(function.vendor, 0x1077);
}

TEST(PciNamesFile, IsFoundInTheDistributionsPlaces) {
    for (const char *path : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids"}) {
        TemporaryRoot root;
        root.write(path, "1077  Example\n");
        Complaints complaints;
        PCI_NAMES names;
        names.want(0x1077, 1, 0);
        read_pci_names(root.path(), complaints.take, names);
        EXPECT_TRUE(complaints.texts.empty());
        EXPECT_EQ(names.vendorName(0x1077), "Example");
    }
}

TEST(PciNamesFile, IsReadInPiecesOfWholeLines) {
    TemporaryRoot root;
    std::string text = "1077  Example Fabric Corp.\n";
    for (int i = 0; i < 40000; ++i) text += "\t203 no name\n"; // lines of another shape
    text += "# " + std::string(300000, 'x') + "\n\t2031  Far Behind\n";
    text += "8086 " + std::string(300000, ' ') + "too long for a name\n";
    text += "8087  Last";
    root.write("/usr/share/misc/pci.ids", text);
    Complaints complaints;
    PCI_NAMES names;
    names.want(0x1077, 0x2031);
    names.want(0x8086, 1);
    names.want(0x8087, 1);
    read_pci_names(root.path(), complaints.take, names);
    EXPECT_EQ(names.deviceName(0x1077, 0x2031), "Far Behind");
    EXPECT_EQ(names.vendorName(0x8086), "Vendor 8086");
    EXPECT_EQ(names.vendorName(0x8087), "Last");
    EXPECT_TRUE(complaints.texts.empty());
}

TEST(PciNamesFile, MissingOneIsToldOf) {
    TemporaryRoot root;
    Complaints complaints;
    PCI_NAMES names;
    read_pci_names(root.path(), complaints.take, names);
    ASSERT_EQ(complaints.texts.size(), 1u);
    EXPECT_EQ(complaints.texts[0], "pci.ids: No such file or directory; numbers stand for names");
}
} // namespace
