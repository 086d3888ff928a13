#include "world/nic_facts.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "linuxhost/nic_report.h"
#include "world/host_facts.h"

namespace {
SCENARIO_NIC copper() {
    SCENARIO_NIC nic;
    nic.name = "vmnic0";
    nic.address = "0000:c3:00.0";
    nic.driver = "igbn";
    nic.driverVersion = "1.4.11.0";
    nic.mac = "02:00:5e:10:20:30";
    nic.vendorName = "Intel Corporation";
    nic.deviceName = "I350 Gigabit Network Connection";
    nic.description = "Intel Corporation I350 Gigabit Network Connection";
    nic.firmware = "1.63.0:0x800009fa";
    nic.cable = "Twisted Pair";
    nic.vendor = 0x8086;
    nic.device = 0x1521;
    nic.subVendor = 0xFFF0;
    nic.subDevice = 1;
    return nic;
}
SCENARIO_NIC fibre() {
    SCENARIO_NIC nic = copper();
    nic.name = "vmnic2";
    nic.address = "0000:81:00.0";
    nic.driver = "ixgben";
    nic.mac = "02:00:5e:10:20:32";
    nic.description = "Intel(R) Ethernet Controller 10G X550";
    nic.speedMbps = 10000;
    nic.mtu = 9000;
    nic.cable = "";
    nic.firmware = "0x800005ad";
    return nic;
}
const char HEAD[] = "Name    PCI Device    Driver  Admin Status  Link Status  Speed  Duplex  "
                    "MAC Address         MTU  Description\n";

std::size_t words_in(const std::string &line) {
    std::istringstream stream(line);
    std::size_t count = 0;
    for (std::string word; stream >> word;) ++count;
    return count;
}
std::vector<std::string> lines_of(const std::string &text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}
std::vector<std::string> list(const std::string &mode) {
    return lines_of(nic_list_answer({copper(), fibre()}, mode).output);
}
} // namespace

TEST(NicList, IsTheCommandsTable) {
    SCENARIO_NIC down = copper(), off = fibre();
    down.name = "vmnic1";
    down.address = "0000:c3:00.1";
    down.mac = "02:00:5e:10:20:31";
    down.link = "Down";
    off.name = "vmnic3";
    off.address = "0000:81:00.1";
    off.mac = "02:00:5e:10:20:33";
    off.link = "Down";
    off.adminUp = false;
    off.mtu = 1500;
    EXPECT_EQ(nic_list_answer({copper(), down, fibre(), off}, "works").output,
              std::string(HEAD) +
                  "------  ------------  ------  ------------  -----------  -----  ------  "
                  "-----------------  ----  -------------------------------------------------\n"
                  "vmnic0  0000:c3:00.0  igbn    Up            Up            1000  Full    "
                  "02:00:5e:10:20:30  1500  Intel Corporation I350 Gigabit Network Connection\n"
                  "vmnic1  0000:c3:00.1  igbn    Up            Down             0  Half    "
                  "02:00:5e:10:20:31  1500  Intel Corporation I350 Gigabit Network Connection\n"
                  "vmnic2  0000:81:00.0  ixgben  Up            Up           10000  Full    "
                  "02:00:5e:10:20:32  9000  Intel(R) Ethernet Controller 10G X550\n"
                  "vmnic3  0000:81:00.1  ixgben  Down          Down             0  Half    "
                  "02:00:5e:10:20:33  1500  Intel(R) Ethernet Controller 10G X550\n");
}

TEST(NicList, WithoutAdaptersShrinksToItsHead) {
    SCENARIO_NIC gone = copper();
    gone.present = false;
    EXPECT_EQ(
        nic_list_answer({gone}, "works").output,
        "Name  PCI Device  Driver  Admin Status  Link Status  Speed  Duplex  MAC Address  MTU  "
        "Description\n"
        "----  ----------  ------  ------------  -----------  -----  ------  -----------  ---  "
        "-----------\n");
}

TEST(NicList, OldOneHasNineColumns) {
    const auto lines = list("old");
    EXPECT_EQ(lines[0], "Name    PCI Device     Driver  Link  Speed  Duplex  MAC Address         "
                        "MTU  Description");
    EXPECT_EQ(lines[2], "vmnic0  0000:195:00.0  igbn    Up     1000  Full    02:00:5e:10:20:30  "
                        "1500  Intel Corporation I350 Gigabit Network Connection");
    SCENARIO_NIC low = copper(), pseudo = copper();
    low.address = "0001:02:1f.7";
    pseudo.address = NO_PCI_DEVICE;
    pseudo.link = "Down";
    const auto others = lines_of(nic_list_answer({low, pseudo}, "old").output);
    EXPECT_EQ(others[2].find("vmnic0  0001:002:1f.7  igbn    Up     1000  Full"), 0u) << others[2];
    EXPECT_EQ(others[3].find("vmnic0  Pseudo         igbn    Down      0  Half"), 0u) << others[3];
}

TEST(NicList, FailuresHaveTheirShapes) {
    const COMMAND_ANSWER failed = nic_list_answer({copper()}, "fails");
    EXPECT_EQ(failed.output, "");
    EXPECT_EQ(failed.status, 1);
    const COMMAND_ANSWER empty = nic_list_answer({copper()}, "empty");
    EXPECT_EQ(empty.output, "");
    EXPECT_EQ(empty.status, 0);
    EXPECT_EQ(list("headless")[0].find("Name"), std::string::npos);
    EXPECT_LT(words_in(list("cut").back()), 10u);
    EXPECT_EQ(list("cut").size(), 4u);
    EXPECT_LT(words_in(list("short").back()), 10u);
    EXPECT_EQ(words_in(list("short")[2]), 15u);
    EXPECT_EQ(list("blank").back(), "");
    EXPECT_EQ(list("blank").size(), 5u);
    EXPECT_NE(list("binary").back().find('\xFF'), std::string::npos);
    EXPECT_EQ(words_in(list("binary").back()), 10u);
    EXPECT_GT(list("huge").back().size(), 1'000'000u);
    EXPECT_EQ(words_in(list("huge").back()), 10u);
    const COMMAND_ANSWER late = nic_list_answer({copper()}, "hangs");
    EXPECT_EQ(late.output, nic_list_answer({copper()}, "works").output);
    EXPECT_EQ(late.delaySeconds, 180);
    EXPECT_EQ(late.status, 0);
}

TEST(NicList, EveryModeThatIsNamedIsThere) {
    std::istringstream names(NIC_LIST_MODES);
    std::size_t count = 0;
    for (std::string word; names >> word;) {
        if (word == "or") continue;
        if (word.back() == ',') word.pop_back();
        EXPECT_TRUE(is_nic_list_mode(word)) << word;
        const COMMAND_ANSWER none = nic_list_answer({}, word); // no row to break
        EXPECT_GE(none.delaySeconds, 0);
        ++count;
    }
    EXPECT_EQ(count, 11u);
    for (const char *word : {"", "work", "worksx"}) EXPECT_FALSE(is_nic_list_mode(word));
    for (const char *word : {"works", "refuses", "missing", "incomplete"})
        EXPECT_TRUE(is_encoder_mode(word));
    EXPECT_FALSE(is_encoder_mode("absent"));
}

TEST(NicDetails, AreTheCommandsLines) {
    EXPECT_EQ(nic_details_text(copper(), "works"),
              "   Advertised Auto Negotiation: true\n"
              "   Advertised Link Modes: Auto, 1000BaseT/Full\n"
              "   Auto Negotiation: true\n"
              "   Cable Type: Twisted Pair\n"
              "   Current Message Level: -1\n"
              "   Driver Info: \n"
              "         Bus Info: 0000:c3:00:0\n"
              "         Driver: igbn\n"
              "         Firmware Version: 1.63.0:0x800009fa\n"
              "         Version: 1.4.11.0\n"
              "   Link Detected: true\n"
              "   Link Status: Up \n"
              "   Name: vmnic0\n"
              "   PHYAddress: 0\n"
              "   Pause Autonegotiate: true\n"
              "   Pause RX: false\n"
              "   Pause TX: false\n"
              "   Supported Ports: TP\n"
              "   Supports Auto Negotiation: true\n"
              "   Supports Pause: true\n"
              "   Supports Wakeon: true\n"
              "   Transceiver: internal\n"
              "   Virtual Address: 02:00:5e:10:20:30\n"
              "   Wakeon: MagicPacket(tm)\n");
}

TEST(NicDetails, WithoutCopperThereIsNothingToNegotiate) {
    SCENARIO_NIC down = fibre();
    down.name = "vmnic3";
    down.address = "0000:81:00.1";
    down.driverVersion = "1.7.20.0";
    down.link = "Down";
    EXPECT_EQ(nic_details_text(down, "works"), "   Advertised Auto Negotiation: false\n"
                                               "   Advertised Link Modes: 10000None/Full\n"
                                               "   Auto Negotiation: false\n"
                                               "   Cable Type: \n"
                                               "   Current Message Level: 0\n"
                                               "   Driver Info: \n"
                                               "         Bus Info: 0000:81:00:1\n"
                                               "         Driver: ixgben\n"
                                               "         Firmware Version: 0x800005ad\n"
                                               "         Version: 1.7.20.0\n"
                                               "   Link Detected: false\n"
                                               "   Link Status: Down \n"
                                               "   Name: vmnic3\n"
                                               "   PHYAddress: 0\n"
                                               "   Pause Autonegotiate: false\n"
                                               "   Pause RX: false\n"
                                               "   Pause TX: false\n"
                                               "   Supported Ports: FIBRE\n"
                                               "   Supports Auto Negotiation: false\n"
                                               "   Supports Pause: true\n"
                                               "   Supports Wakeon: false\n"
                                               "   Transceiver: \n"
                                               "   Virtual Address: 02:00:5e:10:20:32\n"
                                               "   Wakeon: None\n");
}

TEST(NicDetails, OldHostTellsTheBusInDecimalDigits) {
    EXPECT_NE(nic_details_text(copper(), "old").find("         Bus Info: 0000:195:00.0\n"),
              std::string::npos);
}

// Two writers of one shape: what a server of the lab prints, and an ordinary Linux server.
TEST(NicDetails, HaveTheLabelsOfTheLinuxCommand) {
    const auto labels = [](const std::string &text) {
        std::vector<std::string> all;
        for (const std::string &line : lines_of(text))
            all.push_back(line.substr(0, line.find(':') + 1));
        return all;
    };
    EXPECT_EQ(labels(nic_details_text(copper(), "works")), labels(format_nic_details({}, {})));
}

TEST(NicList, IsTheTableOfTheLinuxCommand) {
    SCENARIO_NIC down = fibre();
    down.link = "Down";
    down.adminUp = false;
    std::vector<ORB_NIC> linuxNics(2);
    for (std::size_t i = 0; i < 2; ++i) {
        const SCENARIO_NIC nic = i == 0 ? copper() : down;
        ORB_NIC &its = linuxNics[i];
        its.name = nic.name;
        its.pciAddress = nic.address;
        its.driver = nic.driver;
        its.adminUp = its.fullDuplex = i == 0;
        its.link = i == 0 ? ORB_LINK::UP : ORB_LINK::DOWN;
        its.speedMbps = i == 0 ? 1000 : 0;
        its.macAddress = nic.mac;
        its.mtuBytes = static_cast<std::uint32_t>(nic.mtu);
        its.description = nic.description;
    }
    EXPECT_EQ(nic_list_answer({copper(), down}, "works").output, format_nic_list(linuxNics));
    EXPECT_EQ(nic_list_answer({}, "works").output, format_nic_list({}));
}

TEST(PciList, HoldsTheAdaptersInTheirPlaces) {
    SCENARIO scenario;
    scenario.host.pci.resize(2);
    scenario.host.pci[0].address = "0000:00:1f.0";
    scenario.host.pci[1].address = "0000:c4:00.0";
    SCENARIO_NIC pseudo = copper(), gone = copper();
    pseudo.address = NO_PCI_DEVICE;
    gone.address = "0000:99:00.0";
    gone.present = false;
    scenario.host.nics = {copper(), fibre(), pseudo, gone};
    std::vector<std::string> keys;
    for (const std::string &line : lines_of(pci_list_text(scenario)))
        if (!line.empty() && line[0] != ' ') keys.push_back(line);
    EXPECT_EQ(keys, (std::vector<std::string>{
                        "0000:00:1f.0:", "0000:81:00.0:", "0000:c3:00.0:", "0000:c4:00.0:"}));
    const std::string text = pci_list_text(scenario);
    const std::string block = text.substr(text.find("0000:c3:00.0:"));
    for (const char *line :
         {"   VMkernel Name: vmnic0\n", "   Vendor Name: Intel Corporation\n",
          "   Device Name: I350 Gigabit Network Connection\n", "   Vendor ID: 0x8086\n",
          "   Device ID: 0x1521\n", "   SubVendor ID: 0xfff0\n", "   SubDevice ID: 0x0001\n",
          "   Device Class: 0x0200\n   Device Class Name: Ethernet controller\n",
          "   Module Name: igbn\n"})
        EXPECT_LT(block.find(line), block.find("\n\n")) << line;
}
