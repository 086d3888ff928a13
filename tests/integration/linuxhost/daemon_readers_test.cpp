#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "fakes/FakeIdentity.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "host/HostResourceManager.h"
#include "integration/linuxhost/run_program.h"
#include "network/nic_details.h"
#include "network/nic_list.h"
#include "physloc/smbios_reader.h"
#include "platform/orbSystemInterfaceFactory.h"
#include "support/linux_machine.h"
#include "support/smbios_tables.h"

namespace {
const std::string FC_PORT_PATH = LINUX_FC_PORT().device;

/// The daemon's readers on a made-up Linux server: their shell lines run as they are and find the
/// built host commands.
class DaemonReaders : public ::testing::Test {
protected:
    DaemonReaders() {
        make_linux_machine(root);
        root.makeDirectory("/opt/vantor/orb/data");
        root.write("/opt/vantor/orb/data/esxtopconf", "5m\n");
        use_host_commands(root.path());
    }
    template <typename Record> std::vector<Record> records(int type) {
        void *list = nullptr;
        int count = 0;
        EXPECT_EQ(getSmbiosRecordsByType(type, &list, &count), 0) << type;
        const std::unique_ptr<void, void (*)(void *)> owner(list, std::free);
        const auto *first = static_cast<const Record *>(list);
        return list == nullptr ? std::vector<Record>() : std::vector<Record>(first, first + count);
    }
    TemporaryRoot root;
    LogFile log{root};
    FakeIdentity identity;
    VirtualClock clock;
};

TEST_F(DaemonReaders, ReadNameAndVersion) {
    EXPECT_EQ(orbUtils::readHostOSName(), "ExampleLinux");
    EXPECT_EQ(orbUtils::readHostOSVersion(), "9.3");
}

TEST_F(DaemonReaders, ReadNameAndVersionOfAHostThatTellsLittle) {
    root.write("/etc/os-release", "NAME=\"A Version: B\"\nID=product\n");
    root.write("/proc/sys/kernel/osrelease", "6.1.2-production\n");
    EXPECT_EQ(orbUtils::readHostOSName(), "product");
    EXPECT_EQ(orbUtils::readHostOSVersion(), "6.1.2");
}

TEST_F(DaemonReaders, ReadMemory) {
    HostResourceManager::getInstance().cacheBuild();
    const std::vector<orbHostOSInfo> inventory =
        HostResourceManager::getInstance().getHostInventory();
    ASSERT_EQ(inventory.size(), 1u);
    const orbHostMemorySummary memory = inventory[0].getOSMemorySummary();
    EXPECT_EQ(memory.getTotalSystemMemGiB(), 1023.0);
    EXPECT_EQ(memory.getTotalFreeSystemMemGiB(), 961.0);
    EXPECT_EQ(inventory[0].getOSName(), "ExampleLinux");
    EXPECT_EQ(inventory[0].getOSVersion(), "9.3");
}

TEST_F(DaemonReaders, ReadNoMemoryWhereTheHostTellsNone) {
    root.write("/proc/meminfo", "garbled");
    HostResourceManager::getInstance().cacheBuild();
    const auto inventory = HostResourceManager::getInstance().getHostInventory();
    ASSERT_EQ(inventory.size(), 1u);
    EXPECT_EQ(inventory[0].getOSMemorySummary().getTotalSystemMemGiB(), 0.0);
}

TEST_F(DaemonReaders, ReadThePciList) {
    const std::string list = "/opt/vantor/orb/data/orb_hwlist.txt";
    EXPECT_EQ(orbSystemInterfaceFactory::getSystemInterface()->populateHardwarePCIDetails(), 0);
    const std::string direct = run_line("localcli hardware pci list", root.path()).text;
    EXPECT_EQ(root.read(list), direct);

    const auto field = [&](const std::string &address, const std::string &name) {
        return run_line("cat " + root.path() + list + " | awk '/" + address +
                        ":/,/^$/' | grep -w '" + name + "' | awk '{print $3}'")
            .text;
    };
    EXPECT_EQ(field("0000:24:00.0", "SubVendor ID"), "0xfff0\n");
    EXPECT_EQ(field("0000:c3:00.0", "SubDevice ID"), "0x0001\n");
    EXPECT_EQ(field("0000:20:02.0", "SubVendor ID"), "0x0000\n");
    EXPECT_EQ(field("0000:99:00.0", "SubVendor ID"), "");
    EXPECT_EQ(run_line("localcli hardware pci list | grep -e 'Address: ' -e 'VMkernel Name:'",
                       root.path())
                  .text,
              "   Address: 0000:20:02.0\n   VMkernel Name: \n"
              "   Address: 0000:24:00.0\n   VMkernel Name: vmhba3\n"
              "   Device Layer Bus Address: s00000003.00\n"
              "   Address: 0000:c3:00.0\n   VMkernel Name: ens0\n"
              "   Address: 0000:c3:00.1\n   VMkernel Name: ens1\n");
    orbSystemInterfaceFactory::getSystemInterface()->UnInitialize();
    EXPECT_FALSE(root.exists(list));
}

TEST_F(DaemonReaders, ReadTheNicList) {
    add_network_interface(
        root,
        {.name = "usb0", .device = "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0", .carrier = ""});
    std::vector<std::vector<std::string>> rows;
    ASSERT_EQ(read_nic_list(run_line("localcli network nic list", root.path()).text, rows), 0);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_EQ(rows[0], (std::vector<std::string>{"ens0", "0000:c3:00.0", "igb", "Up", "Up", "1000",
                                                 "Full", "02:00:5e:10:20:30", "1500",
                                                 "Example Silicon Example Gigabit Adapter"}));
    EXPECT_EQ(rows[1][NIC_LINK_STATUS], "Down");
    EXPECT_EQ(rows[2][NIC_PCI_DEVICE], "Pseudo");
    EXPECT_EQ(rows[2][NIC_LINK_STATUS], "Unknown");
    for (const auto &row : rows) EXPECT_TRUE(is_interface_name(row[NIC_NAME])) << row[NIC_NAME];

    const std::string links =
        run_line("localcli network nic list | /usr/bin/awk '{print$1, $5}'", root.path()).text;
    EXPECT_EQ(read_link_table(links), (std::vector<std::pair<std::string, std::string>>{
                                          {"ens0", "Up"}, {"ens1", "Down"}, {"usb0", "Unknown"}}));
}

TEST_F(DaemonReaders, ReadTheListOfAHostWithoutAdapters) {
    const TemporaryRoot bare;
    std::filesystem::create_directories(bare.path() + "/sys/class/net");
    std::vector<std::vector<std::string>> rows(1);
    EXPECT_EQ(read_nic_list(run_line("localcli network nic list", bare.path()).text, rows), 0);
    EXPECT_TRUE(rows.empty());
}

TEST_F(DaemonReaders, ReadFirmwareAndCable) {
    const std::string file = root.path() + "/details";
    EXPECT_EQ(run_line("localcli network nic get -n ens0 >> " + file, root.path()).status, 0);
    std::string version = "before", cable = "before";
    EXPECT_TRUE(read_firmware_version(run_line("grep \"Firmware Version\" " + file).text, version));
    EXPECT_EQ(version, "");
    EXPECT_TRUE(read_labelled_value(run_line("grep \"Cable \" " + file).text, cable));
    EXPECT_EQ(cable, "\n");
    EXPECT_EQ(judge_link(cable, "Up"), NIC_LINK_UP);
}

TEST_F(DaemonReaders, FindTheSubIdsByAnAddressOfTheNicList) {
    EXPECT_EQ(orbSystemInterfaceFactory::getSystemInterface()->populateHardwarePCIDetails(), 0);
    EXPECT_EQ(run_line("cat " + root.path() + "/opt/vantor/orb/data/orb_hwlist.txt | awk '/" +
                       std::string("0000:c3:00.1") + "/,/^$/' | grep -e SubVendor -e SubDevice")
                  .text,
              "   SubVendor ID: 0xfff0\n   SubDevice ID: 0x0001\n");
    EXPECT_EQ(run_line("cat " + root.path() +
                       "/opt/vantor/orb/data/orb_hwlist.txt | "
                       "awk '/Pseudo/,/^$/'")
                  .text,
              "");
}

TEST_F(DaemonReaders, KnowEachFibreChannelAdapterByAName) {
    add_pci_function(
        root, {.address = "0000:25:00.0", .path = "pci0000:20/0000:25:00.0", .driver = "vfio-pci"});
    orbUtils::initFcInfoMap();
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba3"), "0000:24:00.0");
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba4"), "0000:25:00.0");
}

TEST_F(DaemonReaders, FindTheFibreChannelAdapterOfANode) {
    const std::string card = "pci0000:20/0000:25:00.";
    for (const std::string port : {"0", "1"})
        add_pci_function(root, {.address = "0000:25:00." + port, .path = card + port});
    add_fc_port(root, {});
    // A virtual port has its physical one's node name.
    add_fc_port(root, {.host = "host11", .device = FC_PORT_PATH + "/host3/vport-3:0-0"});
    add_fc_port(root, {.host = "host5",
                       .device = card + "0",
                       .nodeName = "0x200002005e0000a2",
                       .portState = "Linkdown",
                       .speed = "unknown"});
    const std::string second =
        add_fc_port(root, {.host = "host6", .device = card + "1", .nodeName = "0x1a3"});
    root.write(second + "/scsi_host/host6/model_desc", "Twin Adapter: vmhba3 Node Name: 1\n");
    add_fc_port(root, {.host = "host7",
                       .device = "virtual/net/eth3.100/ctlr_0",
                       .nodeName = "0x200002005e0000a4"});
    add_fc_port(root, {.host = "host8", .device = "platform/x", .nodeName = "junk"});

    orbUtils::initFcInfoMap();
    orbUtils::initFcNameMap();
    struct {
        const char *node, *adapter, *address;
    } const rows[] = {
        {"20:00:02:00:5e:00:00:a1", "vmhba3", "0000:24:00.0"},
        {"20:00:02:00:5e:00:00:a2", "vmhba5", "0000:25:00.0"},
        {"00:00:00:00:00:00:01:a3", "vmhba6", "0000:25:00.1"},
        {"20:00:02:00:5e:00:00:a4", "NotAvailable", "NotAvailable"}, // no PCI function
        {"1", "NotAvailable", "NotAvailable"},
        {"", "NotAvailable", "NotAvailable"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.node);
        EXPECT_EQ(orbUtils::getFcOsDevicename(row.node), row.adapter);
        EXPECT_EQ(orbUtils::getFcPciStr(orbUtils::getFcOsDevicename(row.node)), row.address);
    }
    EXPECT_FALSE(root.exists("/opt/vantor/orb/data/fc_name.txt"));
    EXPECT_EQ(log.countHolding("ERROR", "ORB_UTILS", "SAN information"), 0);
}

TEST_F(DaemonReaders, FindTheFunctionOfEachOfItsFibreChannelPorts) {
    add_fc_port(root, {});
    add_fc_port(root, {.host = "host10", .nodeName = "0x200002005e0000a2"});
    orbUtils::initFcInfoMap();
    orbUtils::initFcNameMap();
    for (const char *node : {"20:00:02:00:5e:00:00:a1", "20:00:02:00:5e:00:00:a2"})
        EXPECT_EQ(orbUtils::getFcPciStr(orbUtils::getFcOsDevicename(node)), "0000:24:00.0") << node;
}

TEST_F(DaemonReaders, FindNoAdapterOnAHostWithoutFibreChannel) {
    EXPECT_EQ(
        run_line("localcli storage san fc list | grep -e 'Adapter: ' -e 'Node Name:'", root.path())
            .status,
        1);
    orbUtils::initFcInfoMap();
    orbUtils::initFcNameMap();
    EXPECT_EQ(orbUtils::getFcOsDevicename("20:00:02:00:5e:00:00:a1"), "NotAvailable");
    EXPECT_LOGGED(log, "ERROR", "ORB_UTILS",
                  "Error occurred in gathering localcli storage SAN information");
}

TEST_F(DaemonReaders, ReadTheSmbiosImage) {
    const SmbiosBytes table =
        smbios_join({smbios_structure(0, {0}, {"Firmware"}), smbios_system("PLATFORM-ID-A01"),
                     smbios_slot("PCI 0000:24:00.0 r001u01p0i03", 0x24, 0),
                     smbios_slot("PCI 0000:25:1f.7 r001u01p0i04", 0x25, 0xFF),
                     smbios_onboard("PCI 0000:c3:00.0 r001u01p0i00", 0xc3, 0), smbios_end()});
    for (const bool wide : {true, false}) {
        SCOPED_TRACE(wide ? "64-bit entry point" : "32-bit entry point");
        root.write("/sys/firmware/dmi/tables/smbios_entry_point",
                   smbios_text(wide ? smbios_entry_64(0x10000)
                                    : smbios_entry_32(static_cast<std::uint16_t>(table.size()))));
        root.write("/sys/firmware/dmi/tables/DMI", smbios_text(table));
        ASSERT_EQ(run_line("orb-smbios-image", root.path()).status, 0);
        ASSERT_EQ(SmBiosInit(), 0);
        const auto system = records<DmiSystemInfo>(1);
        ASSERT_EQ(system.size(), 1u);
        EXPECT_STREQ(system[0].family, "PLATFORM-ID-A01");
        EXPECT_STREQ(system[0].manufacturer, "Vantor");
        const auto slots = records<DmiSystemSlot>(9);
        ASSERT_EQ(slots.size(), 2u);
        EXPECT_STREQ(slots[0].designation, "PCI 0000:24:00.0 r001u01p0i03");
        EXPECT_EQ(slots[1].busNum, 0x25);
        EXPECT_EQ(slots[1].devFuncNum, 0xFF);
        const auto boards = records<DmiOnboardDevicesEx>(41);
        ASSERT_EQ(boards.size(), 1u);
        EXPECT_EQ(boards[0].busNum, 0xc3);
        SmBiosDeinit();
    }
}

TEST_F(DaemonReaders, ReadTheSmbiosImageOfATableThatWasTooLong) {
    SmbiosBytes table;
    for (int i = 0; i < 90; ++i) {
        const SmbiosBytes memory =
            smbios_structure(17, SmbiosBytes(40, 1), {std::string(960, 'm')});
        table.insert(table.end(), memory.begin(), memory.end());
    }
    table = smbios_join({table, smbios_onboard("PCI b r001u01p0i00", 1, 0),
                         smbios_slot("PCI a r001u01p0i03", 2, 0), smbios_system("PLATFORM-ID-B01"),
                         smbios_end()});
    root.write("/sys/firmware/dmi/tables/smbios_entry_point",
               smbios_text(smbios_entry_64(1 << 20)));
    root.write("/sys/firmware/dmi/tables/DMI", smbios_text(table));
    ASSERT_EQ(run_line("orb-smbios-image 2>/dev/null", root.path()).status, 0);
    ASSERT_EQ(SmBiosInit(), 0);
    EXPECT_STREQ(records<DmiSystemInfo>(1).at(0).family, "PLATFORM-ID-B01");
    EXPECT_EQ(records<DmiSystemSlot>(9).size(), 1u);
    EXPECT_EQ(records<DmiOnboardDevicesEx>(41).size(), 1u);
}
} // namespace
