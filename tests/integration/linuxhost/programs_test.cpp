#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "integration/linuxhost/run_program.h"
#include "support/linux_machine.h"
#include "support/smbios_tables.h"

namespace {
struct UsageCase {
    const char *name;
    const char *line;
    int status;
    const char *complaint; ///< first line on standard error
};
void PrintTo(const UsageCase &row, std::ostream *os) {
    *os << row.name;
}

const UsageCase USAGE_CASES[] = {
    {"NoCommand", "localcli", 2, "localcli: command: missing"},
    {"NetworkWord", "localcli network nic", 2, "localcli: network nic: unknown command"},
    {"NetworkGetWithout", "localcli network nic get", 2, "localcli: -n: missing"},
    {"NetworkGetHalf", "localcli network nic get -n", 2, "localcli: -n: needs a name"},
    {"NetworkGetLong", "localcli network nic get --nic-name", 2,
     "localcli: --nic-name: needs a name"},
    {"NetworkListOfOne", "localcli network nic list -n ens0", 2,
     "localcli: -n: only network nic get takes a name"},
    {"NetworkGetUnknown", "localcli network nic get -n ens9", 1, "localcli: ens9: No such device"},
    {"NetworkGetOutside", "localcli network nic get -n ../net/ens0", 1,
     "localcli: ../net/ens0: No such device"},
    {"StorageWords", "localcli storage san fc", 2, "localcli: storage san fc: unknown command"},
    {"StorageListOfOne", "localcli storage san fc list -n vmhba3", 2,
     "localcli: -n: only network nic get takes a name"},
    {"HalfACommand", "localcli hardware pci", 2, "localcli: hardware pci: unknown command"},
    {"WordTooMany", "localcli hardware pci list all", 2,
     "localcli: hardware pci list all: unknown command"},
    {"Formatter", "localcli --formatter=csv hardware pci list", 2,
     "localcli: --formatter=csv: unknown option"},
    {"RootWithoutFolder", "localcli --root", 2, "localcli: --root: needs a folder"},
    {"EsxtopInteractive", "esxtop", 2, "esxtop: -b: missing, there is no interactive mode"},
    {"EsxtopEndless", "esxtop -b", 2, "esxtop: -n: must be 1, one sample is what there is"},
    {"EsxtopTwice", "esxtop -b -n 2", 2, "esxtop: -n: must be 1, one sample is what there is"},
    {"EsxtopOption", "esxtop -q", 2, "esxtop: -q: unknown option"},
    {"EsxtopLongOption", "esxtop --all", 2, "esxtop: --all: unknown option"},
    {"EsxtopFlagWithValue", "esxtop --version=2", 2, "esxtop: --version=2: takes no value"},
    {"EsxtopOptionInGroup", "esxtop -bqn 1", 2, "esxtop: -q: unknown option"},
    {"EsxtopValueMissing", "esxtop -b -n", 2, "esxtop: -n: needs a value"},
    {"EsxtopArgument", "esxtop -b -n 1 now", 2, "esxtop: now: unexpected argument"},
    {"EsxtopConfiguration", "esxtop -c /none -b -n 1", 1,
     "esxtop: /none: No such file or directory"},
    {"ImageOption", "orb-smbios-image -x", 2, "orb-smbios-image: -x: unknown option"},
    {"ImageOptionGroup", "orb-smbios-image -xh", 2, "orb-smbios-image: -x: unknown option"},
    {"ImageFlagWithValue", "orb-smbios-image --help=2", 2,
     "orb-smbios-image: --help=2: takes no value"},
    {"ImageArgument", "orb-smbios-image file", 2, "orb-smbios-image: file: unexpected argument"},
    {"ImageValueMissing", "orb-smbios-image --output", 2,
     "orb-smbios-image: --output: needs a value"},
};
class Usage : public ::testing::TestWithParam<UsageCase> {};
TEST_P(Usage, IsComplainedAboutOnStandardError) {
    TemporaryRoot root;
    make_linux_machine(root);
    const std::string line = GetParam().line;
    EXPECT_EQ(run_line(line + " 2>/dev/null", root.path()).text, "");
    const PROGRAM_RESULT result = run_line(line + " 2>&1", root.path());
    EXPECT_EQ(result.status, GetParam().status);
    EXPECT_EQ(result.text.substr(0, result.text.find('\n')), GetParam().complaint);
    EXPECT_EQ(result.text.find("usage: ") != std::string::npos, GetParam().status == 2);
}
INSTANTIATE_TEST_SUITE_P(Lines, Usage, ::testing::ValuesIn(USAGE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

class EachProgram : public ::testing::TestWithParam<const char *> {};
TEST_P(EachProgram, TellsHelpAndVersion) {
    const std::string program = GetParam();
    const PROGRAM_RESULT help = run_line(program + " --help 2>/dev/null");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.text.find("usage: " + program), 0u);
    EXPECT_EQ(run_line(program + " -h").text, help.text);
    const PROGRAM_RESULT version = run_line(program + " --version");
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.text, program + " " ORB_VERSION "\n");
}
TEST_P(EachProgram, AnOutputThatCannotBeWrittenIsAFailure) {
    const std::string line = std::string(GetParam()) + " --help 2>&1 ";
    const std::string start = std::string(GetParam()) + ": standard output: ";
    PROGRAM_RESULT result = run_line(line + ">/dev/full");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, start + "No space left on device\n");
    result = run_line(line + ">&-");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, start + "Bad file descriptor\n");
    result = run_line(std::string(GetParam()) + " --help >/dev/full 2>&- <&-");
    EXPECT_EQ(result.status, 1);
}
INSTANTIATE_TEST_SUITE_P(Programs, EachProgram,
                         ::testing::Values("localcli", "esxtop", "orb-smbios-image"));

TEST(Localcli, TellsTheVersionOfAMachine) {
    TemporaryRoot root;
    make_linux_machine(root);
    const std::string expected = "   Product: Example Linux\n   Version: 9.3\n   Build: 20000001\n"
                                 "   Update: 3\n   Patch: 0\n";
    const PROGRAM_RESULT result = run_line("localcli system version get 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, expected);
    EXPECT_EQ(run_line("localcli --root " + root.path() + "/ system version get", "/none").text,
              expected);
    EXPECT_EQ(run_line("localcli --root=" + root.path() + " system version get", "/none").text,
              expected);
    EXPECT_EQ(run_line("localcli system version get 2>&1 >/dev/full", root.path()).status, 1);
}

TEST(Localcli, WithoutOsReleaseTheKernelIsTheSource) {
    TemporaryRoot root;
    root.write("/proc/sys/kernel/osrelease", "6.1.0-18-amd64\n");
    PROGRAM_RESULT result = run_line("localcli system version get 2>/dev/null", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, "   Product: Linux\n   Version: 6.1.0-18-amd64\n"
                           "   Build: 6.1.0-18-amd64\n   Update: 1\n   Patch: 0\n");
    result = run_line("localcli system version get 2>&1 >/dev/null", root.path());
    EXPECT_EQ(result.text,
              "localcli: " + root.path() + "/etc/os-release: No such file or directory\n");
}

TEST(Localcli, OsReleaseOfTheVendorIsSecond) {
    TemporaryRoot root;
    root.write("/usr/lib/os-release", "NAME=A\nVERSION_ID=1\n");
    EXPECT_EQ(run_line("localcli system version get 2>&1", root.path()).text,
              "   Product: A\n   Version: 1\n   Update: 0\n   Patch: 0\n");
}

TEST(Localcli, GarbledOsReleaseIsToldOf) {
    TemporaryRoot root;
    root.write("/etc/os-release", std::string("\x7f"
                                              "ELF\0\0\xff\nNAME=\"open\n",
                                              19));
    root.write("/proc/sys/kernel/osrelease", "6.1.0\n");
    const PROGRAM_RESULT result = run_line("localcli system version get 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, "localcli: " + root.path() +
                               "/etc/os-release: holds no assignment\n"
                               "   Product: Linux\n   Version: 6.1.0\n   Build: 6.1.0\n"
                               "   Update: 1\n   Patch: 0\n");
}

TEST(Localcli, NoVersionAtAllIsAFailure) {
    TemporaryRoot root;
    const PROGRAM_RESULT result = run_line("localcli system version get 2>&1", root.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.text.find("localcli: " + root.path() + "/proc/sys/kernel/osrelease: No such"),
              std::string::npos);
}

TEST(Localcli, ListsThePciFunctionsOfAMachine) {
    TemporaryRoot root;
    make_linux_machine(root);
    const PROGRAM_RESULT result = run_line("localcli hardware pci list 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    const std::size_t hba = result.text.find("0000:24:00.0:\n");
    ASSERT_NE(hba, std::string::npos);
    EXPECT_EQ(result.text.substr(hba, result.text.find("\n\n", hba) + 1 - hba),
              "0000:24:00.0:\n"
              "   Address: 0000:24:00.0\n"
              "   Segment: 0x0000\n"
              "   Bus: 0x24\n"
              "   Slot: 0x00\n"
              "   Function: 0x0\n"
              "   VMkernel Name: vmhba3\n"
              "   Vendor Name: Example Fabric Corp.\n"
              "   Device Name: Example 16Gb FC HBA\n"
              "   Configured Owner: VMkernel\n"
              "   Current Owner: VMkernel\n"
              "   Vendor ID: 0x1077\n"
              "   Device ID: 0x2031\n"
              "   SubVendor ID: 0xfff0\n"
              "   SubDevice ID: 0x0002\n"
              "   Device Class: 0x0c04\n"
              "   Device Class Name: Fibre Channel\n"
              "   Programming Interface: 0x00\n"
              "   Revision ID: 0x02\n"
              "   Interrupt Line: 0x0b\n"
              "   IRQ: 11\n"
              "   Interrupt Vector: 0x00\n"
              "   PCI Pin: 0x01\n"
              "   Spawned Bus: 0x00\n"
              "   Flags: 0x0406\n"
              "   Module ID: -1\n"
              "   Module Name: examplefc\n"
              "   Chassis: 0\n"
              "   Physical Slot: 3\n"
              "   Slot Description: \n"
              "   Device Layer Bus Address: s00000003.00\n"
              "   Passthru Capable: false\n"
              "   Parent Device: PCI 0:32:2:0\n"
              "   Dependent Device: PCI 0:36:0:0\n"
              "   Reset Method: Function reset\n"
              "   FPT Sharable: true\n");
}

TEST(Localcli, ListsTheNetworkAdaptersOfAMachine) {
    TemporaryRoot root;
    make_linux_machine(root);
    add_network_interface(root, {.name = "usb0",
                                 .device = "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0",
                                 .carrier = "",
                                 .address = "02:00:5e:10:20:3f"});
    const PROGRAM_RESULT result = run_line("localcli network nic list 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, "Name  PCI Device    Driver  Admin Status  Link Status  Speed  Duplex  "
                           "MAC Address         MTU  Description\n"
                           "----  ------------  ------  ------------  -----------  -----  ------  "
                           "-----------------  ----  ---------------------------------------\n"
                           "ens0  0000:c3:00.0  igb     Up            Up            1000  Full    "
                           "02:00:5e:10:20:30  1500  Example Silicon Example Gigabit Adapter\n"
                           "ens1  0000:c3:00.1  igb     Up            Down             0  Half    "
                           "02:00:5e:10:20:31  1500  Example Silicon Device 1fff\n"
                           "usb0  Pseudo        None    Up            Unknown          0  Half    "
                           "02:00:5e:10:20:3f  1500  None network adapter\n");
}

TEST(Localcli, AMachineWithoutAdaptersHasTheHeadAlone) {
    TemporaryRoot root;
    root.makeDirectory("/sys/class/net");
    const PROGRAM_RESULT result = run_line("localcli network nic list 2>&1", root.path());
    EXPECT_EQ(result.status, 0) << "and needs no names";
    EXPECT_EQ(std::count(result.text.begin(), result.text.end(), '\n'), 2) << result.text;
}

TEST(Localcli, AMachineWithoutInterfacesIsAFailure) {
    TemporaryRoot root;
    const PROGRAM_RESULT result = run_line("localcli network nic list 2>&1", root.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text,
              "localcli: " + root.path() + "/sys/class/net: No such file or directory\n");
}

TEST(Localcli, TellsOfOneNetworkAdapter) {
    TemporaryRoot root;
    make_linux_machine(root);
    const PROGRAM_RESULT result = run_line("localcli network nic get -n ens0 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.text.find("   Cable Type: \n"), std::string::npos);
    EXPECT_NE(result.text.find("         Bus Info: 0000:c3:00:0\n         Driver: igb\n"
                               "         Firmware Version: \n"),
              std::string::npos)
        << result.text;
    EXPECT_NE(result.text.find("   Link Status: Up \n   Name: ens0\n"), std::string::npos);
    for (const char *form : {"network nic get --nic-name ens0", "network nic get --nic-name=ens0",
                             "-n ens0 network nic get"})
        EXPECT_EQ(run_line(std::string("localcli ") + form, root.path()).text, result.text);
}

TEST(Localcli, ListsTheFibreChannelPortsOfAMachine) {
    TemporaryRoot root;
    make_linux_machine(root);
    const std::string port = add_fc_port(root, {});
    root.write(port + "/scsi_host/host3/fw_version", "8.05.61 (d0d5)\n");
    const std::string other = add_fc_port(root, {.host = "host7",
                                                 .device = "virtual/net/eth3.100/ctlr_0",
                                                 .nodeName = "0x10000200005e00a4",
                                                 .portName = "0x20000200005e00a4",
                                                 .portId = "0x0",
                                                 .portType = "Unknown",
                                                 .portState = "Linkdown",
                                                 .speed = "unknown"});
    root.write(other + "/scsi_host/host7/proc_name", "fcoe\n");
    root.write(other + "/fc_host/host7/symbolic_name", "fcoe v0.1 over eth3.100\n");
    PROGRAM_RESULT result = run_line("localcli storage san fc list 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    const std::string rest = "FcDevice:\n"
                             "   Adapter: vmhba7\n"
                             "   Port ID: 000000\n"
                             "   Node Name: 10:00:02:00:00:5e:00:a4\n"
                             "   Port Name: 20:00:02:00:00:5e:00:a4\n"
                             "   Speed: 0 Gbps\n"
                             "   Port Type: Unknown\n"
                             "   Port State: LINK DOWN\n"
                             "   Model Description: fcoe v0.1 over eth3.100\n"
                             "   Hardware Version: \n"
                             "   OptionROM Version: \n"
                             "   Firmware Version: \n"
                             "   Driver Name: fcoe\n"
                             "   DriverVersion: \n";
    EXPECT_EQ(result.text, "FcDevice:\n"
                           "   Adapter: vmhba3\n"
                           "   Port ID: 010600\n"
                           "   Node Name: 20:00:02:00:5e:00:00:a1\n"
                           "   Port Name: 21:00:02:00:5e:00:00:a1\n"
                           "   Speed: 16 Gbps\n"
                           "   Port Type: NPort\n"
                           "   Port State: ONLINE\n"
                           "   Model Description: Example Fabric Corp. Example 16Gb FC HBA\n"
                           "   Hardware Version: \n"
                           "   OptionROM Version: \n"
                           "   Firmware Version: 8.05.61 (d0d5)\n"
                           "   Driver Name: examplefc\n"
                           "   DriverVersion: \n" +
                               rest);
    root.write(port + "/scsi_host/host3/model_desc", "Two-port adapter\n");
    ASSERT_TRUE(std::filesystem::remove(root.path() + "/usr/share/misc/pci.ids"));
    result = run_line("localcli storage san fc list 2>&1", root.path());
    EXPECT_NE(result.text.find("   Model Description: Two-port adapter\n"), std::string::npos);
    EXPECT_EQ(result.text.find("pci.ids"), std::string::npos) << "nobody needs it";
}

TEST(Localcli, AMachineWithoutFibreChannelHasNothingToList) {
    TemporaryRoot root;
    PROGRAM_RESULT result = run_line("localcli storage san fc list 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, "");
    root.write("/sys/class/fc_host", "a file");
    result = run_line("localcli storage san fc list 2>&1", root.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, "localcli: " + root.path() + "/sys/class/fc_host: Not a directory\n");
}

TEST(Localcli, WithoutPciIdsNumbersStandForNames) {
    TemporaryRoot root;
    make_linux_machine(root);
    ASSERT_TRUE(std::filesystem::remove(root.path() + "/usr/share/misc/pci.ids"));
    PROGRAM_RESULT result = run_line("localcli hardware pci list 2>&1 >/dev/null", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text,
              "localcli: pci.ids: No such file or directory; numbers stand for names\n");
    result = run_line("localcli hardware pci list 2>/dev/null", root.path());
    EXPECT_NE(result.text.find("   Vendor Name: Vendor 1077\n   Device Name: Device 2031\n"),
              std::string::npos);
}

TEST(Localcli, AMachineWithoutPciIsAFailure) {
    TemporaryRoot root;
    const PROGRAM_RESULT result = run_line("localcli hardware pci list 2>&1", root.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text,
              "localcli: " + root.path() + "/sys/bus/pci/devices: No such file or directory\n");
}

TEST(Localcli, AnEntryThatIsNoFunctionIsToldOfAndTheRestListed) {
    TemporaryRoot root;
    make_linux_machine(root);
    const std::string expected = run_line("localcli hardware pci list 2>&1", root.path()).text;
    root.makeDirectory("/sys/bus/pci/devices/nonsense");
    PROGRAM_RESULT result = run_line("localcli hardware pci list 2>/dev/null", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, expected);
    result = run_line("localcli hardware pci list 2>&1 >/dev/null", root.path());
    EXPECT_EQ(result.text, "localcli: " + root.path() +
                               "/sys/bus/pci/devices/nonsense: no PCI address; passed over\n");
}

TEST(Esxtop, TellsOneSampleOfAMachine) {
    TemporaryRoot root;
    make_linux_machine(root);
    root.write("/conf", "5m\n");
    const PROGRAM_RESULT result =
        run_line("esxtop -c " + root.path() + "/conf -b -n 1 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    const std::size_t end = result.text.find('\n');
    EXPECT_EQ(result.text.substr(0, end),
              "\"(PDH-CSV 4.0) (UTC)(0)\","
              "\"\\\\orb-lab-01\\Memory\\Memory Overcommit (1 Minute Avg)\","
              "\"\\\\orb-lab-01\\Physical Cpu Load\\Cpu Load (1 Minute Avg)\","
              "\"\\\\orb-lab-01\\Physical Cpu(_Total)\\% Processor Time\","
              "\"\\\\orb-lab-01\\Memory\\Machine MBytes\","
              "\"\\\\orb-lab-01\\Memory\\Kernel MBytes\","
              "\"\\\\orb-lab-01\\Memory\\NonKernel MBytes\","
              "\"\\\\orb-lab-01\\Memory\\Free MBytes\",");
    const std::string values = result.text.substr(end + 1);
    EXPECT_EQ(values.substr(values.find(',')),
              ",\"0.00\",\"0.25\",\"20.00\",\"1048575\",\"2049\",\"62271\",\"984255\",\n");
}

TEST(Esxtop, WithoutMemoryFactsFails) {
    TemporaryRoot root;
    PROGRAM_RESULT result = run_line("esxtop -b -n 1 2>&1", root.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, "esxtop: " + root.path() + "/proc/meminfo: No such file or directory\n");
    root.write("/proc/meminfo", "MemTotal: many\n");
    result = run_line("esxtop -b -n 1 2>&1", root.path());
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text,
              "esxtop: " + root.path() + "/proc/meminfo: doesn't tell total and free memory\n");
}

TEST(Esxtop, WithMemoryAloneItStillTellsThat) {
    TemporaryRoot root;
    root.write("/proc/meminfo", "MemTotal: 2048 kB\nMemFree: 1024 kB\n");
    const PROGRAM_RESULT result = run_line("esxtop -bn1 2>&1", root.path());
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(std::count(result.text.begin(), result.text.end(), ','), 10);
    EXPECT_NE(result.text.find("\"\\\\localhost\\Memory\\Machine MBytes\""), std::string::npos);
}

class SmbiosImageProgram : public ::testing::Test {
protected:
    void writeTables(const SmbiosBytes &entry, const SmbiosBytes &structures) {
        root.write("/sys/firmware/dmi/tables/smbios_entry_point", smbios_text(entry));
        root.write("/sys/firmware/dmi/tables/DMI", smbios_text(structures));
    }
    PROGRAM_RESULT run(const std::string &options = "") {
        return run_line("orb-smbios-image " + options + " 2>&1", root.path());
    }
    TemporaryRoot root;
    const std::string image = "/vmfs/devices/char/mem/smbios";
    const SmbiosBytes table = smbios_join({smbios_system("PLATFORM-ID-A01"), smbios_end()});
};

TEST_F(SmbiosImageProgram, MakesTheImageAndMakesItAnew) {
    writeTables(smbios_entry_64(0x10000), table);
    PROGRAM_RESULT result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, "");
    const std::string first = root.read(image);
    EXPECT_EQ(first.size(), 31 + table.size() - smbios_end().size());
    writeTables(smbios_entry_64(0x10000),
                smbios_join({smbios_system("PLATFORM-ID-B01"), smbios_end()}));
    EXPECT_EQ(run().status, 0);
    EXPECT_NE(root.read(image), first);
}

TEST_F(SmbiosImageProgram, GivenPlacesGoBeforeTheRoot) {
    root.write("/t/smbios_entry_point", smbios_text(smbios_entry_32(0)));
    root.write("/t/DMI", smbios_text(table));
    const std::string tables = "--tables " + root.path() + "/t/ --output ";
    EXPECT_EQ(run(tables + root.path() + "/made/here").status, 0);
    EXPECT_EQ(root.read("/made/here").substr(0, 4), "_SM_");
    EXPECT_FALSE(root.exists(image));
    EXPECT_EQ(run(tables + "/dev/stdout").text, root.read("/made/here"));
    const PROGRAM_RESULT full = run(tables + "/dev/full");
    EXPECT_EQ(full.status, 1);
    EXPECT_EQ(full.text, "orb-smbios-image: /dev/full: No space left on device\n");
}

TEST_F(SmbiosImageProgram, MissingTablesAreAFailureAndTheOldImageStays) {
    const std::string tables = root.path() + "/sys/firmware/dmi/tables";
    root.write(image, "old");
    PROGRAM_RESULT result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text,
              "orb-smbios-image: " + tables + "/smbios_entry_point: No such file or directory\n");
    root.write("/sys/firmware/dmi/tables/smbios_entry_point", smbios_text(smbios_entry_64(0)));
    result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, "orb-smbios-image: " + tables + "/DMI: No such file or directory\n");
    root.write("/sys/firmware/dmi/tables/DMI", "");
    result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, "orb-smbios-image: " + tables + ": no complete SMBIOS structure\n");
    EXPECT_EQ(root.read(image), "old");
}

TEST_F(SmbiosImageProgram, TablesThatBreakOffAreToldOf) {
    SmbiosBytes cut = smbios_join({smbios_system("A"), smbios_slot("b", 1, 0)});
    cut.pop_back();
    writeTables(smbios_entry_64(0x10000), cut);
    const PROGRAM_RESULT result = run();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.text, "orb-smbios-image: " + root.path() +
                               "/sys/firmware/dmi/tables/DMI: breaks off behind structure 1\n");
    EXPECT_EQ(root.read(image).size(), 31 + smbios_system("A").size());
}

TEST_F(SmbiosImageProgram, AFolderThatCannotBeMadeIsAFailure) {
    writeTables(smbios_entry_64(0x10000), table);
    root.write("/vmfs", "a file");
    const PROGRAM_RESULT result = run();
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.text, "orb-smbios-image: " + root.path() + image + ": Not a directory\n");
}
} // namespace
