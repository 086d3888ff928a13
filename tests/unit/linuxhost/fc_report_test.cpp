#include "linuxhost/fc_report.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
ORB_FC_PORT onlinePort() {
    ORB_FC_PORT port;
    port.adapter = "vmhba3";
    port.portId = "0x010600";
    port.nodeName = "0x200002005e0000a1";
    port.portName = "0x210002005e0000a1";
    port.speed = "16 Gbit";
    port.portType = "NPort (fabric via point-to-point)";
    port.portState = "Online";
    port.modelDescription = "Example 16Gb 2P FC HBA";
    port.optionRomVersion = "3.54";
    port.firmwareVersion = "8.05.61 (d0d5)";
    port.driver = "examplefc";
    port.driverVersion = "2.1.81.0";
    return port;
}

/// The value behind a label in the only block; "?" where there is no such line.
std::string value(const ORB_FC_PORT &port, const std::string &label) {
    const std::string text = format_fc_list({port});
    const std::string start = "\n   " + label + ": ";
    const std::size_t at = text.find(start);
    if (at == std::string::npos) return "?";
    const std::size_t from = at + start.size();
    return text.substr(from, text.find('\n', from) - from);
}

TEST(FcList, HasTheLinesOfTheHost) {
    ORB_FC_PORT down = onlinePort();
    down.adapter = "vmhba4";
    down.portId = "0x000000";
    down.nodeName = "0x200002005e0000a2";
    down.portName = "0x210002005e0000a2";
    down.speed = "unknown";
    down.portType = "Unknown";
    down.portState = "Linkdown";
    down.hardwareVersion = "2";
    EXPECT_EQ(format_fc_list({onlinePort(), down}), "FcDevice:\n"
                                                    "   Adapter: vmhba3\n"
                                                    "   Port ID: 010600\n"
                                                    "   Node Name: 20:00:02:00:5e:00:00:a1\n"
                                                    "   Port Name: 21:00:02:00:5e:00:00:a1\n"
                                                    "   Speed: 16 Gbps\n"
                                                    "   Port Type: NPort\n"
                                                    "   Port State: ONLINE\n"
                                                    "   Model Description: Example 16Gb 2P FC HBA\n"
                                                    "   Hardware Version: \n"
                                                    "   OptionROM Version: 3.54\n"
                                                    "   Firmware Version: 8.05.61 (d0d5)\n"
                                                    "   Driver Name: examplefc\n"
                                                    "   DriverVersion: 2.1.81.0\n"
                                                    "FcDevice:\n"
                                                    "   Adapter: vmhba4\n"
                                                    "   Port ID: 000000\n"
                                                    "   Node Name: 20:00:02:00:5e:00:00:a2\n"
                                                    "   Port Name: 21:00:02:00:5e:00:00:a2\n"
                                                    "   Speed: 0 Gbps\n"
                                                    "   Port Type: Unknown\n"
                                                    "   Port State: LINK DOWN\n"
                                                    "   Model Description: Example 16Gb 2P FC HBA\n"
                                                    "   Hardware Version: 2\n"
                                                    "   OptionROM Version: 3.54\n"
                                                    "   Firmware Version: 8.05.61 (d0d5)\n"
                                                    "   Driver Name: examplefc\n"
                                                    "   DriverVersion: 2.1.81.0\n");
}

TEST(FcList, WithoutPortsIsEmpty) {
    EXPECT_EQ(format_fc_list({}), "");
}

TEST(FcList, OfAPortThatTellsNothing) {
    EXPECT_EQ(format_fc_list({ORB_FC_PORT()}),
              "FcDevice:\n   Adapter: \n   Port ID: 000000\n   Node Name: \n   Port Name: \n"
              "   Speed: 0 Gbps\n   Port Type: Unknown\n   Port State: UNKNOWN\n"
              "   Model Description: \n   Hardware Version: \n   OptionROM Version: \n"
              "   Firmware Version: \n   Driver Name: \n   DriverVersion: \n");
}

struct WordCase {
    const char *name;
    std::string ORB_FC_PORT::*field;
    const char *kernel, *label, *expected;
};
void PrintTo(const WordCase &row, std::ostream *os) {
    *os << row.name;
}
constexpr auto NODE = &ORB_FC_PORT::nodeName, PORT_ID = &ORB_FC_PORT::portId;
constexpr auto SPEED = &ORB_FC_PORT::speed, TYPE = &ORB_FC_PORT::portType;
constexpr auto STATE = &ORB_FC_PORT::portState;
const WordCase WORD_CASES[] = {
    {"Name", NODE, "0x50014380abcdef01", "Node Name", "50:01:43:80:ab:cd:ef:01"},
    {"NameInCapitals", NODE, "0x50014380ABCDEF01", "Node Name", "50:01:43:80:ab:cd:ef:01"},
    {"NameWithoutLeadingZeros", NODE, "0x2", "Node Name", "00:00:00:00:00:00:00:02"},
    {"NameNotSet", NODE, "0xffffffffffffffff", "Node Name", ""},
    {"NameZero", NODE, "0x0", "Node Name", ""},
    {"NameTooLong", NODE, "0x150014380abcdef01", "Node Name", ""},
    {"NameWithTail", NODE, "0x50014380abcdef01 ", "Node Name", ""},
    {"NameNegative", NODE, "0x-1", "Node Name", ""},
    {"NameTwiceMarked", NODE, "0x0x1", "Node Name", ""},
    {"NameOfMarkAlone", NODE, "0x", "Node Name", ""},
    {"NameUnmarked", NODE, "50014380abcdef01", "Node Name", ""},
    {"NameInWords", NODE, "unknown", "Node Name", ""},
    {"PortName", &ORB_FC_PORT::portName, "0x100000109b000001", "Port Name",
     "10:00:00:10:9b:00:00:01"},
    {"PortIdShort", PORT_ID, "0xe1", "Port ID", "0000e1"},
    {"PortIdHighest", PORT_ID, "0xffffff", "Port ID", "ffffff"},
    {"PortIdBeyond", PORT_ID, "0x1000000", "Port ID", "000000"},
    {"PortIdNotSet", PORT_ID, "0xffffffff", "Port ID", "000000"},
    {"PortIdGarbled", PORT_ID, "none", "Port ID", "000000"},
    {"SpeedOne", SPEED, "1 Gbit", "Speed", "1 Gbps"},
    {"SpeedHighest", SPEED, "256 Gbit", "Speed", "256 Gbps"},
    {"SpeedOfSeveral", SPEED, "10 Gbit, 20 Gbit", "Speed", "10 Gbps"},
    {"SpeedUnknown", SPEED, "Unknown", "Speed", "0 Gbps"},
    {"SpeedNotNegotiated", SPEED, "Not Negotiated", "Speed", "0 Gbps"},
    {"SpeedNumberAlone", SPEED, "16", "Speed", "0 Gbps"},
    {"SpeedOtherUnit", SPEED, "16 Mbit", "Speed", "0 Gbps"},
    {"SpeedNegative", SPEED, "-16 Gbit", "Speed", "0 Gbps"},
    {"SpeedHuge", SPEED, "99999999999999999999 Gbit", "Speed", "0 Gbps"},
    {"TypeOfALoop", TYPE, "NLPort (fabric via loop)", "Port Type", "NLPort"},
    {"TypePrivateLoop", TYPE, "LPort (private loop)", "Port Type", "LPort"},
    {"TypeDirect", TYPE, "Point-To-Point (direct nport connection)", "Port Type", "Point-To-Point"},
    {"TypeOther", TYPE, "Other", "Port Type", "Other"},
    {"TypeOfBracketsAlone", TYPE, " (fabric)", "Port Type", "Unknown"},
    {"StateOffline", STATE, "Offline", "Port State", "OFFLINE"},
    {"StateNotPresent", STATE, "Not Present", "Port State", "NOT PRESENT"},
    {"StateLoopback", STATE, "Loopback", "Port State", "LOOPBACK"},
    {"StateLikeLinkdown", STATE, "Linkdown?", "Port State", "LINKDOWN?"},
};
class FcWord : public ::testing::TestWithParam<WordCase> {};
TEST_P(FcWord, IsTheHostsForTheKernels) {
    ORB_FC_PORT port = onlinePort();
    port.*GetParam().field = GetParam().kernel;
    EXPECT_EQ(value(port, GetParam().label), GetParam().expected);
}
INSTANTIATE_TEST_SUITE_P(Words, FcWord, ::testing::ValuesIn(WORD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(FcList, NoValuePassesForAnAdapterOrANode) {
    struct {
        const char *told, *printed;
    } const rows[] = {
        {"Dual Adapter: 16Gb", "Dual Adapter 16Gb"},
        {"x Node Name: 1", "x Node Name 1"},
        {"Node Name:", "Node Name"},
        {"Node Name::", "Node Name"},
        {"a\nNode Name:b", "a Node Nameb"},
        {"AdapterAdapter: : ", "AdapterAdapter :"},
        {"Adapter:\t::: x", "Adapter ::: x"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.told);
        ORB_FC_PORT port = onlinePort();
        for (auto field :
             {TYPE, STATE, &ORB_FC_PORT::modelDescription, &ORB_FC_PORT::hardwareVersion,
              &ORB_FC_PORT::optionRomVersion, &ORB_FC_PORT::firmwareVersion, &ORB_FC_PORT::driver,
              &ORB_FC_PORT::driverVersion})
            port.*field = row.told;
        EXPECT_EQ(value(port, "Model Description"), row.printed);
        std::istringstream in(format_fc_list({port}));
        int adapters = 0, nodes = 0, lines = 0;
        for (std::string line; std::getline(in, line); ++lines) {
            adapters += line.find("Adapter: ") != std::string::npos;
            nodes += line.find("Node Name:") != std::string::npos;
        }
        EXPECT_EQ(adapters, 1);
        EXPECT_EQ(nodes, 1);
        EXPECT_EQ(lines, 14);
    }
}

TEST(FcList, TextsFromOutsideStayInTheirLine) {
    ORB_FC_PORT port = onlinePort();
    port.portState = "On\nline";
    port.modelDescription = std::string("a\0b\xff\r\n", 6);
    EXPECT_EQ(value(port, "Port State"), "ON LINE");
    EXPECT_EQ(value(port, "Model Description"), "a b?");
}
} // namespace
