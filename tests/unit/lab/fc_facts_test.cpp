#include "world/fc_facts.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/TemporaryRoot.h"
#include "vendor/HbaCalls.h"
#include "world/fc_changes.h"
#include "world/host_facts.h"

namespace {
SCENARIO_FC_ADAPTER adapter(const std::string &name, const std::string &bus,
                            const std::string &last, int ports) {
    SCENARIO_FC_ADAPTER its;
    its.name = name;
    its.address = "0000:" + bus + ":00.0";
    its.wwn = "20:00:02:00:5e:00:00:" + last;
    its.model = "FC900Q";
    its.description = "an adapter";
    its.serial = "s";
    its.rom = "3.54";
    its.firmware = "8.05";
    its.driver = "examplefc";
    its.driverVersion = "2.1";
    its.vendorName = "Example Fabric Corp.";
    its.deviceName = "a device";
    its.vendor = 0x1077;
    its.device = 0x2031;
    its.subVendor = 0xFFF0;
    for (int i = 0; i < ports; ++i) {
        SCENARIO_FC_PORT port;
        port.wwn = "21:0" + std::to_string(i) + ":02:00:5e:00:00:" + last;
        port.id = 0x010600 + static_cast<std::uint32_t>(i);
        its.ports.push_back(port);
    }
    return its;
}
SCENARIO_FC two_libraries() {
    SCENARIO_FC fc;
    fc.libraries.push_back({"com.example.fabric",
                            "/usr/lib64/libexamplefabric.so",
                            {adapter("vmhba3", "24", "a1", 2), adapter("vmhba4", "41", "a2", 1)},
                            {}});
    fc.libraries.push_back({"com.example.light",
                            "/usr/lib64/libexamplelight.so",
                            {adapter("vmhba5", "42", "b1", 1)},
                            {"OpenAdapter"}});
    return fc;
}
std::string refusal(SCENARIO_FC &fc, const std::string &line) {
    LAB_COMMAND command;
    std::string error;
    EXPECT_TRUE(parse_lab_command(line, command, error)) << error;
    EXPECT_FALSE(change_fc(fc, command, error)) << line;
    return error;
}
void change(SCENARIO_FC &fc, const std::string &line) {
    LAB_COMMAND command;
    std::string error;
    ASSERT_TRUE(parse_lab_command(line, command, error)) << error;
    EXPECT_TRUE(change_fc(fc, command, error)) << error;
}
/// The states of all ports, in order.
std::vector<std::string> states(const SCENARIO_FC &fc) {
    std::vector<std::string> all;
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries)
        for (const SCENARIO_FC_ADAPTER &each : library.adapters)
            for (const SCENARIO_FC_PORT &port : each.ports) all.push_back(port.state);
    return all;
}
using States = std::vector<std::string>;
} // namespace

TEST(FcFacts, ListHasABlockForEachPort) {
    SCENARIO_FC fc = two_libraries();
    fc.libraries.pop_back();
    fc.libraries[0].adapters.pop_back();
    fc.libraries[0].adapters[0].ports[1].state = "linkdown";
    EXPECT_EQ(fc_list_text(fc), "FcDevice:\n"
                                "   Adapter: vmhba3\n"
                                "   Port ID: 010600\n"
                                "   Node Name: 20:00:02:00:5e:00:00:a1\n"
                                "   Port Name: 21:00:02:00:5e:00:00:a1\n"
                                "   Speed: 16 Gbps\n"
                                "   Port Type: NPort\n"
                                "   Port State: ONLINE\n"
                                "   Model Description: an adapter\n"
                                "   Hardware Version: \n"
                                "   OptionROM Version: 3.54\n"
                                "   Firmware Version: 8.05\n"
                                "   Driver Name: examplefc\n"
                                "   DriverVersion: 2.1\n"
                                "FcDevice:\n"
                                "   Adapter: vmhba3\n"
                                "   Port ID: 000000\n"
                                "   Node Name: 20:00:02:00:5e:00:00:a1\n"
                                "   Port Name: 21:01:02:00:5e:00:00:a1\n"
                                "   Speed: 0 Gbps\n"
                                "   Port Type: NPort\n"
                                "   Port State: LINK DOWN\n"
                                "   Model Description: an adapter\n"
                                "   Hardware Version: \n"
                                "   OptionROM Version: 3.54\n"
                                "   Firmware Version: 8.05\n"
                                "   Driver Name: examplefc\n"
                                "   DriverVersion: 2.1\n");
    EXPECT_EQ(fc_list_text({}), "");
}

TEST(FcFacts, ListFollowsWhoIsThere) {
    SCENARIO_FC fc = two_libraries();
    change(fc, "fc vmhba3 remove");
    const std::string text = fc_list_text(fc);
    EXPECT_EQ(text.find("vmhba3"), std::string::npos);
    EXPECT_NE(text.find("   Adapter: vmhba4\n"), std::string::npos);
    change(fc, "fc 20:00:02:00:5e:00:00:a1 add");
    EXPECT_EQ(fc_list_text(fc), fc_list_text(two_libraries()));
}

TEST(FcFacts, PciListHoldsAdaptersAndPortsThatAreDevices) {
    SCENARIO scenario;
    scenario.host.fc = two_libraries();
    scenario.machine.slots.push_back(
        {"PCI 0000:24:00.0 r001u01p0i03", "0000:24:00.0", 0xA5, 0x0D, 0, false, 1, true, {}});
    SCENARIO_FC_PORT &second = scenario.host.fc.libraries[0].adapters[0].ports[1];
    second.name = "vmhba33";
    second.address = "0000:24:00.1";
    change(scenario.host.fc, "fc vmhba5 remove");
    const std::string text = pci_list_text(scenario);
    EXPECT_EQ(text.find("0000:24:00.0:\n"), 0u) << text;
    EXPECT_NE(text.find("   VMkernel Name: vmhba3\n"), std::string::npos);
    EXPECT_NE(text.find("   Slot Description: PCI 0000:24:00.0 r001u01p0i03\n"), std::string::npos);
    EXPECT_NE(text.find("\n\n0000:24:00.1:\n"), std::string::npos);
    EXPECT_NE(text.find("   VMkernel Name: vmhba33\n"), std::string::npos);
    EXPECT_NE(text.find("   Device Class: 0x0c04\n   Device Class Name: Fibre Channel\n"),
              std::string::npos);
    EXPECT_NE(text.find("   SubVendor ID: 0xfff0\n"), std::string::npos);
    EXPECT_EQ(text.find("vmhba5"), std::string::npos);
    EXPECT_NE(fc_list_text(scenario.host.fc).find("   Adapter: vmhba33\n"), std::string::npos);
}

TEST(FcFacts, ConfigurationHasALineForEachLibraryOrTheGivenText) {
    SCENARIO_FC fc = two_libraries();
    EXPECT_EQ(hba_conf_text(fc), "# Libraries of the Fibre Channel adapters.\n"
                                 "com.example.fabric\t/usr/lib64/libexamplefabric.so\n"
                                 "com.example.light\t/usr/lib64/libexamplelight.so\n");
    fc.conf = "odd";
    EXPECT_EQ(hba_conf_text(fc), "odd");
}

TEST(FcFacts, WorldTellsEachLibraryItsAdaptersAndFailures) {
    const Json::Value world = hba_world(two_libraries());
    ASSERT_EQ(world.size(), 2u);
    const Json::Value &fabric = world["libexamplefabric.so"];
    EXPECT_EQ(fabric["fails"].size(), 0u);
    ASSERT_EQ(fabric["adapters"].size(), 2u);
    EXPECT_EQ(fabric["adapters"][1]["name"], "com.example.fabric-FC900Q-1");
    EXPECT_EQ(fabric["adapters"][0]["ports"][1]["wwn"], "21:01:02:00:5e:00:00:a1");
    EXPECT_EQ(fabric["adapters"][0]["ports"][1]["state"], "online");
    EXPECT_EQ(world["libexamplelight.so"]["fails"][0], "OpenAdapter");
    EXPECT_EQ(hba_world({}), Json::Value(Json::objectValue));
}

TEST(FcChanges, NameWhatTheyChange) {
    SCENARIO_FC fc = two_libraries();
    change(fc, "fc vmhba3 offline");
    EXPECT_EQ(states(fc), (States{"offline", "offline", "online", "online"}));
    change(fc, "fc vmhba3 1 error");
    EXPECT_EQ(states(fc), (States{"offline", "error", "online", "online"}));
    change(fc, "fc 21:00:02:00:5e:00:00:a1 loopback");
    EXPECT_EQ(states(fc), (States{"loopback", "error", "online", "online"}));
    change(fc, "fc 20:00:02:00:5e:00:00:b1 unknown");
    EXPECT_EQ(states(fc), (States{"loopback", "error", "online", "unknown"}));
    fc.libraries[0].adapters[0].ports[1].name = "vmhba33";
    change(fc, "fc vmhba33 online");
    EXPECT_EQ(states(fc), (States{"loopback", "online", "online", "unknown"}));
}

TEST(FcChanges, NobodyAndNoPortAreTold) {
    SCENARIO_FC fc = two_libraries();
    EXPECT_EQ(refusal(fc, "fc vmhba9 online"), "fc vmhba9: no such adapter");
    EXPECT_EQ(refusal(fc, "fc vmhba3 2 offline"), "fc vmhba3: has no such port");
    EXPECT_EQ(refusal(fc, "hba libnowhere.so OpenAdapter fails"),
              "hba libnowhere.so: no such library");
    EXPECT_EQ(states(fc), states(two_libraries()));
}

TEST(FcChanges, CallsFailInOneLibraryOrInAll) {
    SCENARIO_FC fc = two_libraries();
    change(fc, "hba all GetAdapterName fails");
    change(fc, "hba all GetAdapterName fails");
    EXPECT_EQ(fc.libraries[0].fails, States{"GetAdapterName"});
    EXPECT_EQ(fc.libraries[1].fails, (States{"OpenAdapter", "GetAdapterName"}));
    change(fc, "hba com.example.light OpenAdapter works");
    change(fc, "hba libexamplefabric.so GetAdapterName works");
    EXPECT_EQ(fc.libraries[0].fails, States{});
    EXPECT_EQ(fc.libraries[1].fails, States{"GetAdapterName"});
}

TEST(FcCalls, AreShownByLibraryHandlerAndAdapter) {
    const TemporaryRoot root;
    {
        HbaCallCounter counter(root.path() + "/libexamplefabric.so.calls");
        counter.registration();
        for (int i = 0; i < 3; ++i) {
            counter.handler(5);
            counter.adapter(1, &HBA_ADAPTER_CALLS::opened);
        }
        counter.adapter(1, &HBA_ADAPTER_CALLS::closed);
    }
    EXPECT_EQ(hba_calls_text(two_libraries(), root.path()),
              "libexamplefabric.so\n"
              "  RegisterLibrary                     1\n"
              "  OpenAdapter                         3\n"
              "  vmhba3                       opened 0, closed 0\n"
              "  vmhba4                       opened 3, closed 1\n"
              "libexamplelight.so: never called\n");
    EXPECT_EQ(hba_calls_text({}, root.path()), "no library\n");
}
