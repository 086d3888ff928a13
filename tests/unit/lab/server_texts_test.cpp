#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "world/host_facts.h"
#include "world/smbios_table.h"

namespace {
SCENARIO shipped(const char *name) {
    SCENARIO scenario;
    std::string error;
    EXPECT_TRUE(read_scenario(std::string(ORB_SOURCE_DIR "/lab/scenarios/") + name + ".json",
                              scenario, error))
        << error;
    return scenario;
}

/// A machine with a slot in use, an empty one and an on-board device; 255 bytes.
const char SAMPLE[] =
    "5f534d5f221f020857000000000000005f444d495f2ce00020000f0005002801"
    "1b000101020304785634 12bc9af04e8123456789abcdef060506"
    "56616e746f72004578616d706c652053657276657200"
    "4100455830303030303030310045 58534b55303100504c4154464f524d2d49442d4130310000"
    "0911000901a50d0404030004010000240050434920303030303a32343a30302e3020"
    "723030317530317030693033000009110109 01a50b0303040004 01ffffffff"
    "50434920656d7074792072303031753031703069303400 00"
    "290b0029018501 0000c30050434920303030303a63333a30302e3020"
    "7230303175303170306930300000 7f04fefe0000";

std::vector<std::uint8_t> sample() {
    std::vector<std::uint8_t> bytes;
    std::string digits;
    for (const char c : std::string(SAMPLE))
        if (c != ' ') digits += c;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}
} // namespace

TEST(SmbiosTable, IsTheSampleToTheByte) {
    SCENARIO_MACHINE machine;
    machine.manufacturer = "Vantor";
    machine.product = "Example Server";
    machine.version = "A";
    machine.serial = "EX00000001";
    machine.uuid = "12345678-9abc-4ef0-8123-456789abcdef";
    machine.sku = "EXSKU01";
    machine.family = "PLATFORM-ID-A01";
    SCENARIO_DEVICE used, empty, onboard;
    used.designation = "PCI 0000:24:00.0 r001u01p0i03";
    used.address = "0000:24:00.0";
    used.type = empty.type = 0xA5;
    used.id = 3;
    empty.designation = "PCI empty r001u01p0i04";
    empty.id = 4;
    empty.width = 0x0B;
    empty.isShort = true;
    onboard.designation = "PCI 0000:c3:00.0 r001u01p0i00";
    onboard.address = "0000:c3:00.0";
    onboard.type = 5;
    machine.slots = {used, empty};
    machine.onboard = {onboard};
    const auto bytes = sample();
    ASSERT_EQ(bytes.size(), 255u);
    EXPECT_EQ(smbios_table(machine), bytes);
}

TEST(SmbiosTable, EmptyMachineHasNoStrings) {
    const auto bytes = smbios_table({});
    // Entry point, type 1 with two NULs behind it, type 127.
    EXPECT_EQ(bytes.size(), 0x1Fu + 0x1B + 2 + 6);
    EXPECT_EQ(bytes[0x1F + 4], 0);
}

TEST(SmbiosTable, IsCutBehindAWholeStructure) {
    SCENARIO_MACHINE machine;
    SCENARIO_DEVICE slot;
    slot.designation = std::string(100, 's');
    machine.slots.assign(1000, slot);
    const auto bytes = smbios_table(machine);
    EXPECT_LE(bytes.size(), 65535u);
    EXPECT_GT(bytes.size(), 65000u);
    const auto length = static_cast<std::size_t>(bytes[0x16] | bytes[0x17] << 8);
    EXPECT_EQ(length, bytes.size() - 0x1F);
    EXPECT_EQ(bytes[bytes.size() - 6], 127);
}

TEST(SmbiosTable, WrongLengthsAreMadeAsTheyAreWanted) {
    SCENARIO_MACHINE machine;
    SCENARIO_DEVICE device;
    device.designation = "";
    device.address = "0000:24:00.0";
    const std::size_t at = smbios_table(machine).size() - 6;
    for (const int length : {0, 3, 4, 5, 14, 17, 20}) {
        device.length = static_cast<std::uint8_t>(length);
        machine.slots = {device};
        machine.onboard = {device};
        const auto bytes = smbios_table(machine);
        const std::size_t formatted = static_cast<std::size_t>(std::max(length, 4));
        EXPECT_EQ(bytes.size(), at + 2 * (formatted + 2) + 6) << length;
        EXPECT_EQ(bytes[at], 9);
        EXPECT_EQ(bytes[at + 1], length);
        EXPECT_EQ(bytes[at + formatted + 2], 41);
        EXPECT_EQ(bytes[at + formatted + 3], length);
    }
}

TEST(SmbiosTable, ImageBreaksOffWhereItIsWanted) {
    SCENARIO_MACHINE machine;
    const auto whole = smbios_table(machine);
    machine.imageBytes = 40;
    EXPECT_EQ(smbios_table(machine), std::vector<std::uint8_t>(whole.begin(), whole.begin() + 40));
    machine.imageBytes = 65536;
    EXPECT_EQ(smbios_table(machine), whole);
}

TEST(HostFacts, SystemVersion) {
    EXPECT_EQ(system_version_text(shipped("first-generation").host),
              "   Product: VMware ESXi\n   Version: 7.0.3\n   Build: Releasebuild-20000001\n"
              "   Update: 3\n   Patch: 50\n");
}

TEST(HostFacts, Esxtop) {
    const SCENARIO_HOST host = shipped("first-generation").host;
    const std::string text = esxtop_text(host, "works");
    std::istringstream lines(text);
    std::string head, values;
    ASSERT_TRUE(std::getline(lines, head) && std::getline(lines, values));
    EXPECT_EQ(head.find("\"(PDH-CSV 4.0) (UTC)(0)\",\"\\\\orb-lab-01\\Memory\\Memory Overcommit"),
              0u);
    EXPECT_NE(head.find("\"\\\\orb-lab-01\\Memory\\Free MBytes\","), std::string::npos);
    EXPECT_EQ(head.back(), ',');
    EXPECT_EQ(values, "\"05/15/2018 02:13:06\",\"0.00\",\"0.04\",\"2.15\",\"1048575\",\"10485\","
                      "\"53835\",\"984255\",");
    EXPECT_EQ(std::count(head.begin(), head.end(), ','),
              std::count(values.begin(), values.end(), ','));
    EXPECT_EQ(esxtop_text(host, "empty"), "");
    EXPECT_EQ(esxtop_text(host, "garbled").find("\n\"0"), std::string::npos);
}

TEST(HostFacts, PciList) {
    const std::string text = pci_list_text(shipped("first-generation"));
    EXPECT_EQ(text.find("0000:00:1f.0:\n   Address: 0000:00:1f.0\n   Segment: 0x0000\n"
                        "   Bus: 0x00\n   Slot: 0x1f\n   Function: 0x0\n   VMkernel Name: \n"),
              0u);
    EXPECT_NE(text.find("\n\n0000:24:00.0:\n"), std::string::npos);
    EXPECT_NE(text.find("   SubVendor ID: 0xfff0\n   SubDevice ID: 0x0002\n"), std::string::npos);
    EXPECT_NE(
        text.find("   Physical Slot: 1\n   Slot Description: PCI 0000:24:00.0 r001u01p0i03\n"),
        std::string::npos);
    EXPECT_NE(text.find("   Physical Slot: 4294967295\n   Slot Description: \n"),
              std::string::npos);
    EXPECT_NE(text.find("   Dependent Device: PCI 0:36:0:0\n"), std::string::npos);
    EXPECT_NE(text.find("   Physical Slot: 4294967295\n"
                        "   Slot Description: PCI 0000:c3:00.1 r001u01p0i00\n"
                        "   Passthru Capable: true\n"),
              std::string::npos);
}

TEST(HostFacts, PciListNumbersSlotsAsTheFirmwareDoes) {
    SCENARIO scenario;
    scenario.host.pci.resize(2);
    scenario.host.pci[0].address = "0000:24:00.0";
    scenario.host.pci[1].address = "0000:25:00.0";
    scenario.machine.slots.resize(2);
    scenario.machine.slots[0].address = "0000:25:00.0";
    scenario.machine.slots[0].designation = "two\nlines";
    scenario.machine.slots[1].address = "0000:24:00.0";
    scenario.machine.slots[1].id = 300;
    const std::string text = pci_list_text(scenario);
    const std::size_t first = text.find("   Physical Slot: 300\n   Slot Description: \n"
                                        "   Device Layer Bus Address: s00000300.00\n"
                                        "   Passthru Capable: true\n"),
                      second = text.find("   Physical Slot: 1\n   Slot Description: two.lines\n"
                                         "   Device Layer Bus Address: s00000001.00\n");
    EXPECT_LT(first, second);
    EXPECT_NE(second, std::string::npos);
}

TEST(HostFacts, Configuration) {
    Json::Value root, changes;
    ASSERT_TRUE(parse_json(config_text(Json::objectValue), root));
    EXPECT_EQ(root["EnableDebugLog"].asString(), "true");
    EXPECT_EQ(root["LoggingLevel"].asString(), "Info");
    EXPECT_EQ(root["ORBLogLocation"].asString(), "/var/log/vantor/orb/orb.log");
    changes["LoggingLevel"] = "Error";
    changes["PushInventoryFrequencyInMinutes"] = 5;
    ASSERT_TRUE(parse_json(config_text(changes), root));
    EXPECT_EQ(root["LoggingLevel"].asString(), "Error");
    EXPECT_EQ(root["PushInventoryFrequencyInMinutes"].asInt(), 5);
}
