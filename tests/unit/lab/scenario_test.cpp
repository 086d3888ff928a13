#include "world/Scenario.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/TemporaryRoot.h"

namespace {
const char GOOD[] = R"({
  "title": "t",
  "machine": {"manufacturer": "m", "family": "PLATFORM-ID-A01",
    "slots": [{"designation": "PCI 0000:24:00.0 r001u01p0i03", "address": "0000:24:00.0"},
              {"designation": "PCI empty"}],
    "onboard": [{"designation": "o", "type": 5, "enabled": false, "instance": 2}]},
  "host": {"name": "h", "memoryMBytes": 1, "addresses": [{"interface": "e", "address": "192.0.2.1"}],
    "pci": [{"address": "0000:24:00.0", "vendor": 4215, "device": "0x2031"}],
    "nics": [{"name": "vmnic0", "address": "0000:c3:00.0", "driver": "d", "mac": "m",
              "vendorName": "a", "deviceName": "b",
              "subVendor": "0xFFF0", "link": "Down", "speedMbps": 10000, "present": false}],
    "fc": {"conf": "text", "libraries": [{"name": "com.example", "path": "/usr/lib64/libx.so",
           "fails": ["OpenAdapter"],
           "adapters": [{"name": "vmhba3", "address": "0000:24:00.0",
                         "wwn": "20:00:02:00:5e:00:00:a1", "model": "FC900Q", "vendor": "0x1077",
                         "ports": [{"wwn": "21:00:02:00:5e:00:00:a1", "state": "offline", "id": 7},
                                   {"wwn": "21:01:02:00:5e:00:00:a1", "name": "vmhba4",
                                    "address": "0000:24:00.1"}]},
                        {"name": "vmhba5", "address": "0000:25:00.0", "present": false,
                         "wwn": "20:00:02:00:5e:00:00:a2"}]}]},
    "storage": {"links": "short", "foldersKeepTimes": true,
                "controllers": [{"name": "vmhba1", "address": "0000:65:00.0",
                                 "bridge": "0000:64:00.0", "driver": "mpt3sas", "firmware": "16.00",
                                 "tracer": "EX1", "vendor": "0x1000", "device": "0x0097",
                                 "subVendor": "0x15d9", "subDevice": "0x0808", "class": "0x0104",
                                 "className": "RAID", "vendorName": "a", "deviceName": "b",
                                 "hosts": [{"number": 8, "state": "recovery"},
                                           {"number": 9, "ata": 3, "present": false}]},
                                {"name": "vmhba2", "address": "0000:66:00.0", "present": false}]}},
  "nicList": "short", "encoder": "missing",
  "runState": {"lastStartAgo": 10},
  "commands": ["rmc silent"],
  "timeline": [{"at": 1.5, "inventories": 1, "newLog": "y", "do": "door-bell"}],
  "expect": {"events": [359, {"ID": 356, "Source": "ORB"}], "facts": {"a.b": 1}, "log": ["x"]}
})";

Json::Value good() {
    Json::Value root;
    EXPECT_TRUE(parse_json(std::string(GOOD), root));
    return root;
}

Json::Value &fc(Json::Value &root) {
    return root["host"]["fc"];
}
Json::Value &fc_adapter(Json::Value &root) {
    return fc(root)["libraries"][0]["adapters"][0];
}

Json::Value &storage(Json::Value &root) {
    return root["host"]["storage"];
}

struct BadCase {
    const char *name;
    void (*change)(Json::Value &);
    const char *error;
};
const BadCase BAD[] = {
    {"NotAnObject", [](Json::Value &v) { v = 1; }, "scenario: must be an object"},
    {"UnknownKey", [](Json::Value &v) { v["colour"] = 1; }, "colour: unknown key"},
    {"TitleNumber", [](Json::Value &v) { v["title"] = 1; }, "title: must be a text"},
    {"MachineText", [](Json::Value &v) { v["machine"] = "x"; }, "machine: must be an object"},
    {"MachineKey", [](Json::Value &v) { v["machine"]["cpu"] = 1; }, "machine.cpu: unknown key"},
    {"FamilyTooLong", [](Json::Value &v) { v["machine"]["family"] = std::string(61, 'x'); },
     "machine.family: longer than 60 characters"},
    {"SlotsObject", [](Json::Value &v) { v["machine"]["slots"] = Json::objectValue; },
     "machine.slots: must be an array"},
    {"SlotAddress", [](Json::Value &v) { v["machine"]["slots"][0]["address"] = "24:00.0"; },
     "machine.slots[0].address: must be a PCI address such as 0000:24:00.0"},
    {"SlotName", [](Json::Value &v) { v["machine"]["slots"][1].removeMember("designation"); },
     "machine.slots[1].designation: must be given"},
    {"SlotLength", [](Json::Value &v) { v["machine"]["slots"][1]["length"] = 256; },
     "machine.slots[1].length: must be a whole number from 0 to 255"},
    {"ImageBytes", [](Json::Value &v) { v["machine"]["imageBytes"] = "all"; },
     "machine.imageBytes: must be a whole number from 0 to 65536"},
    {"SlotNumber", [](Json::Value &v) { v["machine"]["slots"][0] = 3; },
     "machine.slots[0]: must be an object"},
    {"OnboardType", [](Json::Value &v) { v["machine"]["onboard"][0]["type"] = 128; },
     "machine.onboard[0].type: must be a whole number from 1 to 127"},
    {"OnboardEnabled", [](Json::Value &v) { v["machine"]["onboard"][0]["enabled"] = 1; },
     "machine.onboard[0].enabled: must be true or false"},
    {"NoHost", [](Json::Value &v) { v.removeMember("host"); }, "host.name: must not be empty"},
    {"Memory", [](Json::Value &v) { v["host"]["memoryMBytes"] = -1; },
     "host.memoryMBytes: must be a whole number from 0 to 9223372036854775807"},
    {"MemoryHuge", [](Json::Value &v) { v["host"]["memoryMBytes"] = 1e300; },
     "host.memoryMBytes: must be a whole number from 0 to 9223372036854775807"},
    {"Address", [](Json::Value &v) { v["host"]["addresses"][0]["address"] = "x"; },
     "host.addresses[0].address: must be an IPv4 address"},
    {"PciVendor", [](Json::Value &v) { v["host"]["pci"][0]["vendor"] = 65536; },
     "host.pci[0].vendor: must be a whole number from 0 to 65535"},
    {"PciWithoutAddress", [](Json::Value &v) { v["host"]["pci"][0].removeMember("address"); },
     "host.pci[0].address: must be a PCI address such as 0000:24:00.0"},
    {"PciId", [](Json::Value &v) { v["host"]["pci"][0]["vendor"] = "8086"; },
     "host.pci[0].vendor: must be an id such as 0x8086"},
    {"PciIdTooLong", [](Json::Value &v) { v["host"]["pci"][0]["device"] = "0x18086"; },
     "host.pci[0].device: must be an id such as 0x8086"},
    {"NicName", [](Json::Value &v) { v["host"]["nics"][0]["name"] = "../x"; },
     "host.nics[0].name: must be small letters and digits"},
    {"NicWithoutName", [](Json::Value &v) { v["host"]["nics"][0].removeMember("name"); },
     "host.nics[0].name: must be small letters and digits"},
    {"NicTwice", [](Json::Value &v) { v["host"]["nics"][1] = v["host"]["nics"][0]; },
     "host.nics[1].name: is there twice"},
    {"NicAddress", [](Json::Value &v) { v["host"]["nics"][0]["address"] = "pseudo"; },
     "host.nics[0].address: must be a PCI address such as 0000:24:00.0"},
    {"NicLink", [](Json::Value &v) { v["host"]["nics"][0]["link"] = "up"; },
     "host.nics[0].link: must be Up, Down or Unknown"},
    {"NicWithoutDriver", [](Json::Value &v) { v["host"]["nics"][0].removeMember("driver"); },
     "host.nics[0].driver: must be one word"},
    {"NicDriver", [](Json::Value &v) { v["host"]["nics"][0]["driver"] = "two words"; },
     "host.nics[0].driver: must be one word"},
    {"NicWithoutMac", [](Json::Value &v) { v["host"]["nics"][0].removeMember("mac"); },
     "host.nics[0].mac: must be one word"},
    {"NicMac", [](Json::Value &v) { v["host"]["nics"][0]["mac"] = "02\t00"; },
     "host.nics[0].mac: must be one word"},
    {"NicWithoutNames",
     [](Json::Value &v) {
         v["host"]["nics"][0].removeMember("vendorName");
         v["host"]["nics"][0].removeMember("deviceName");
     },
     "host.nics[0].description: must be given, or vendorName and deviceName"},
    {"NicDescription", [](Json::Value &v) { v["host"]["nics"][0]["description"] = "a\nb"; },
     "host.nics[0].description: must be one line"},
    {"NicCable",
     [](Json::Value &v) { v["host"]["nics"][0]["cable"] = "DA\n   Firmware Version: 9"; },
     "host.nics[0].cable: must be one line"},
    {"NicFirmware", [](Json::Value &v) { v["host"]["nics"][0]["firmware"] = "\x7F"; },
     "host.nics[0].firmware: must be one line"},
    {"NicKey", [](Json::Value &v) { v["host"]["nics"][0]["colour"] = 1; },
     "host.nics[0].colour: unknown key"},
    {"FcKey", [](Json::Value &v) { fc(v)["colour"] = 1; }, "host.fc.colour: unknown key"},
    {"FcConf", [](Json::Value &v) { fc(v)["conf"] = 3; }, "host.fc.conf: must be a text"},
    {"FcLibraryName", [](Json::Value &v) { fc(v)["libraries"][0].removeMember("name"); },
     "host.fc.libraries[0].name: must be given, in one line"},
    {"FcLibraryPath", [](Json::Value &v) { fc(v)["libraries"][0]["path"] = "/usr/lib64/"; },
     "host.fc.libraries[0].path: must name a file, in one line"},
    {"FcLibraryPathLines", [](Json::Value &v) { fc(v)["libraries"][0]["path"] = "/a\n/b"; },
     "host.fc.libraries[0].path: must name a file, in one line"},
    {"FcCall", [](Json::Value &v) { fc(v)["libraries"][0]["fails"][0] = "Open"; },
     "host.fc.libraries[0].fails: must be calls such as OpenAdapter"},
    {"FcAdapterName", [](Json::Value &v) { fc_adapter(v)["name"] = "vm hba"; },
     "host.fc.libraries[0].adapters[0].name: must be small letters and digits"},
    {"FcAdapterAddress", [](Json::Value &v) { fc_adapter(v).removeMember("address"); },
     "host.fc.libraries[0].adapters[0].address: must be a PCI address such as 0000:24:00.0"},
    {"FcAdapterWwn", [](Json::Value &v) { fc_adapter(v)["wwn"] = "20:00:02:00:5E:00:00:a1"; },
     "host.fc.libraries[0].adapters[0].wwn: must be a name such as 20:00:02:00:5e:00:00:a1"},
    {"FcAdapterModel", [](Json::Value &v) { fc_adapter(v)["model"] = "a\nb"; },
     "host.fc.libraries[0].adapters[0].model: must be one line"},
    {"FcAdapterTwice",
     [](Json::Value &v) { fc(v)["libraries"][0]["adapters"][1]["name"] = "vmhba3"; },
     "host.fc.libraries: vmhba3, 20:00:02:00:5e:00:00:a2: is there twice"},
    {"FcPortState", [](Json::Value &v) { fc_adapter(v)["ports"][0]["state"] = "Online"; },
     "host.fc.libraries[0].adapters[0].ports[0].state: must be online, offline, bypassed, "
     "diagnostics, linkdown, error, loopback or unknown"},
    {"FcPortWwn", [](Json::Value &v) { fc_adapter(v)["ports"][0]["wwn"] = "21:00"; },
     "host.fc.libraries[0].adapters[0].ports[0].wwn: must be a name such as "
     "20:00:02:00:5e:00:00:a1"},
    {"FcPortDevice", [](Json::Value &v) { fc_adapter(v)["ports"][1].removeMember("address"); },
     "host.fc.libraries[0].adapters[0].ports[1].name: and address go together"},
    {"FcPorts",
     [](Json::Value &v) {
         for (int i = 0; i < 256; ++i)
             fc_adapter(v)["ports"].append(Json::Value(fc_adapter(v)["ports"][0]));
     },
     "host.fc.libraries[0].adapters[0].ports: are too many"},
    {"StorageKey", [](Json::Value &v) { storage(v)["colour"] = 1; },
     "host.storage.colour: unknown key"},
    {"StorageLinks", [](Json::Value &v) { storage(v)["links"] = "old"; },
     "host.storage.links: must be long, short or folder"},
    {"StorageName", [](Json::Value &v) { storage(v)["controllers"][0]["name"] = "../x"; },
     "host.storage.controllers[0].name: must be small letters and digits"},
    {"StorageAddress",
     [](Json::Value &v) { storage(v)["controllers"][0]["address"] = "../../../x"; },
     "host.storage.controllers[0].address: must be a PCI address such as 0000:24:00.0"},
    {"StorageBridge", [](Json::Value &v) { storage(v)["controllers"][0]["bridge"] = "x"; },
     "host.storage.controllers[0].bridge: must be a PCI address such as 0000:24:00.0"},
    {"StorageLine", [](Json::Value &v) { storage(v)["controllers"][0]["driver"] = "a\nb"; },
     "host.storage.controllers[0].driver: must be one line"},
    {"StorageTwice",
     [](Json::Value &v) { storage(v)["controllers"][1]["address"] = "0000:65:00.0"; },
     "host.storage.controllers: 0000:65:00.0: is there twice"},
    {"StorageHostTwice",
     [](Json::Value &v) { storage(v)["controllers"][0]["hosts"][1]["number"] = 8; },
     "host.storage.controllers: host8: is there twice"},
    {"StorageHostNumber",
     [](Json::Value &v) { storage(v)["controllers"][0]["hosts"][0].removeMember("number"); },
     "host.storage.controllers[0].hosts[0].number: must be given"},
    {"StorageHostState",
     [](Json::Value &v) { storage(v)["controllers"][0]["hosts"][0]["state"] = "well"; },
     "host.storage.controllers[0].hosts[0].state: must be created, running, cancel, deleted, "
     "recovery, cancel/recovery, deleted/recovery, quiesce, offline, transport-offline, blocked, "
     "created-blocked, online, optimal or unreadable"},
    {"StorageHostsTooMany",
     [](Json::Value &v) {
         for (int i = 0; i <= 16384; ++i)
             storage(v)["controllers"][0]["hosts"][i]["number"] = i;
     },
     "host.storage.controllers[0].hosts: are too many"},
    {"StorageCommandForNobody",
     [](Json::Value &v) { v["commands"][0] = "storage vmhba9 offline"; },
     "commands[0]: storage vmhba9: no such controller"},
    {"StorageCommandForNoPort",
     [](Json::Value &v) { v["timeline"][0]["do"] = "storage vmhba1 host7 offline"; },
     "timeline[0].do: storage vmhba1: has no such port"},
    {"FcCommandForNobody", [](Json::Value &v) { v["commands"][0] = "fc vmhba9 online"; },
     "commands[0]: fc vmhba9: no such adapter"},
    {"HbaStepForNobody",
     [](Json::Value &v) { v["timeline"][0]["do"] = "hba liby.so OpenAdapter fails"; },
     "timeline[0].do: hba liby.so: no such library"},
    {"NicList", [](Json::Value &v) { v["nicList"] = "odd"; },
     "nicList: must be works, fails, empty, headless, cut, short, blank, old, binary, huge or "
     "hangs"},
    {"Encoder", [](Json::Value &v) { v["encoder"] = "odd"; },
     "encoder: must be works, refuses, missing or incomplete"},
    {"Esxtop", [](Json::Value &v) { v["esxtop"] = "maybe"; },
     "esxtop: must be works, fails, empty or garbled"},
    {"Ipmi", [](Json::Value &v) { v["ipmiDevice"] = "yes"; }, "ipmiDevice: must be true or false"},
    {"RunState", [](Json::Value &v) { v["runState"]["lastStart"] = 1; },
     "runState.lastStart: unknown key"},
    {"Config", [](Json::Value &v) { v["config"] = 3; }, "config: must be an object"},
    {"Command", [](Json::Value &v) { v["commands"][0] = "dance"; },
     "commands[0]: dance: unknown command, try help"},
    {"CommandNumber", [](Json::Value &v) { v["commands"][0] = 1; }, "commands[0]: must be a text"},
    {"CommandForNobody", [](Json::Value &v) { v["commands"][0] = "nic vmnic9 down"; },
     "commands[0]: nic vmnic9: no such adapter"},
    {"StepForNobody", [](Json::Value &v) { v["timeline"][0]["do"] = "nic vmnic1 add"; },
     "timeline[0].do: nic vmnic1: no such adapter"},
    {"StepWithoutCommand", [](Json::Value &v) { v["timeline"][0].removeMember("do"); },
     "timeline[0].do: must be a text"},
    {"StepTime", [](Json::Value &v) { v["timeline"][0]["at"] = -1; },
     "timeline[0].at: must be a number of seconds, 0 or more"},
    {"StepLog", [](Json::Value &v) { v["timeline"][0]["log"] = 1; },
     "timeline[0].log: must be a text"},
    {"StepKey", [](Json::Value &v) { v["timeline"][0]["after"] = 1; },
     "timeline[0].after: unknown key"},
    {"Event", [](Json::Value &v) { v["expect"]["events"][0] = "356"; },
     "expect.events[0]: must be an object"},
    {"Facts", [](Json::Value &v) { v["expect"]["facts"] = "x"; },
     "expect.facts: must be an object"},
    {"Log", [](Json::Value &v) { v["expect"]["log"][0] = 1; }, "expect.log[0]: must be a text"},
    {"Limit", [](Json::Value &v) { v["limitSeconds"] = 0; },
     "limitSeconds: must be a whole number from 1 to 86400"},
};
void PrintTo(const BadCase &row, std::ostream *os) {
    *os << row.name;
}
class BadScenarios : public ::testing::TestWithParam<BadCase> {};
TEST_P(BadScenarios, NameThePlaceAndTheFault) {
    Json::Value root = good();
    GetParam().change(root);
    SCENARIO scenario;
    scenario.title = "untouched";
    std::string error;
    EXPECT_FALSE(read_scenario_json(root, scenario, error));
    EXPECT_EQ(error, GetParam().error);
    EXPECT_EQ(scenario.title, "untouched");
}
INSTANTIATE_TEST_SUITE_P(Texts, BadScenarios, ::testing::ValuesIn(BAD),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace

TEST(Scenario, ReadsWhatItSays) {
    SCENARIO scenario;
    std::string error;
    ASSERT_TRUE(read_scenario_json(good(), scenario, error)) << error;
    EXPECT_EQ(scenario.machine.slots[0].address, "0000:24:00.0");
    EXPECT_FALSE(scenario.machine.slots[1].address);
    EXPECT_FALSE(scenario.machine.onboard[0].enabled);
    EXPECT_EQ(scenario.host.pci[0].vendor, 0x1077);
    EXPECT_EQ(scenario.host.pci[0].device, 0x2031);
    const SCENARIO_NIC &nic = scenario.host.nics.at(0);
    EXPECT_EQ(nic.name, "vmnic0");
    EXPECT_EQ(nic.address, "0000:c3:00.0");
    EXPECT_EQ(nic.description, "a b");
    EXPECT_EQ(nic.subVendor, 0xFFF0);
    EXPECT_EQ(nic.link, "Down");
    EXPECT_EQ(nic.speedMbps, 10000);
    EXPECT_TRUE(nic.adminUp);
    EXPECT_FALSE(nic.present);
    EXPECT_EQ(scenario.nicList, "short");
    EXPECT_TRUE(scenario.host.fc.hasConf);
    EXPECT_EQ(scenario.host.fc.conf, "text");
    const SCENARIO_FC_LIBRARY &library = scenario.host.fc.libraries.at(0);
    EXPECT_EQ(library.file(), "libx.so");
    EXPECT_EQ(library.fails, std::vector<std::string>{"OpenAdapter"});
    const SCENARIO_FC_ADAPTER &adapter = library.adapters.at(0);
    EXPECT_EQ(adapter.vendor, 0x1077);
    EXPECT_TRUE(adapter.present);
    EXPECT_FALSE(library.adapters.at(1).present);
    EXPECT_EQ(adapter.ports.at(0).state, "offline");
    EXPECT_EQ(adapter.ports.at(0).id, 7u);
    EXPECT_EQ(adapter.ports.at(1).state, "online");
    EXPECT_EQ(adapter.ports.at(1).address, "0000:24:00.1");
    const SCENARIO_STORAGE &controllers = scenario.host.storage;
    EXPECT_EQ(controllers.links, "short");
    EXPECT_TRUE(controllers.foldersKeepTimes);
    const SCENARIO_STORAGE_CONTROLLER &controller = controllers.controllers.at(0);
    EXPECT_EQ(controller.name, "vmhba1");
    EXPECT_EQ(controller.address, "0000:65:00.0");
    EXPECT_EQ(controller.bridge, "0000:64:00.0");
    EXPECT_EQ(controller.driver, "mpt3sas");
    EXPECT_EQ(controller.firmware, "16.00");
    EXPECT_EQ(controller.tracer, "EX1");
    EXPECT_EQ(controller.vendor, 0x1000);
    EXPECT_EQ(controller.device, 0x0097);
    EXPECT_EQ(controller.subVendor, 0x15D9);
    EXPECT_EQ(controller.subDevice, 0x0808);
    EXPECT_EQ(controller.deviceClass, 0x0104);
    EXPECT_EQ(controller.className, "RAID");
    EXPECT_EQ(controller.vendorName, "a");
    EXPECT_EQ(controller.deviceName, "b");
    EXPECT_EQ(controller.hosts.at(0).number, 8u);
    EXPECT_EQ(controller.hosts.at(0).state, "recovery");
    EXPECT_TRUE(controller.hosts.at(0).present);
    EXPECT_EQ(controller.hosts.at(0).ata, std::nullopt);
    EXPECT_EQ(controller.hosts.at(1).number, 9u);
    EXPECT_EQ(controller.hosts.at(1).state, "running");
    EXPECT_EQ(controller.hosts.at(1).ata, 3u);
    EXPECT_FALSE(controller.hosts.at(1).present);
    EXPECT_FALSE(controllers.controllers.at(1).present);
    EXPECT_EQ(scenario.encoder, "missing");
    EXPECT_EQ(scenario.lastStartAgo, 10);
    EXPECT_EQ(scenario.lastStopAgo, 0);
    EXPECT_EQ(scenario.timeline[0].at, 1.5);
    EXPECT_EQ(scenario.timeline[0].newLog, "y");
    EXPECT_EQ(scenario.timeline[0].log, "");
    EXPECT_EQ(scenario.expect.events[0]["ID"].asInt(), 359);
    EXPECT_EQ(scenario.expect.events[1]["Source"].asString(), "ORB");
    EXPECT_TRUE(scenario.config.isObject());
    EXPECT_EQ(scenario.limitSeconds, 60);
}

TEST(Scenario, NullConfigMeansNoFile) {
    Json::Value root = good();
    root["config"] = Json::nullValue;
    SCENARIO scenario;
    std::string error;
    ASSERT_TRUE(read_scenario_json(root, scenario, error));
    EXPECT_TRUE(scenario.config.isNull());
}

TEST(Scenario, BaseGivesTheServerAlone) {
    TemporaryRoot root;
    root.write("/s/one.json", GOOD);
    root.write("/s/two.json", R"({"base":"one","host":{"name":"second"}})");
    SCENARIO scenario;
    std::string error;
    ASSERT_TRUE(read_scenario(IorbHostFiles::get().map("/s/two.json"), scenario, error)) << error;
    EXPECT_EQ(scenario.name, "two");
    EXPECT_EQ(scenario.host.name, "second");
    EXPECT_EQ(scenario.host.memoryMBytes, 1);
    EXPECT_EQ(scenario.machine.slots.size(), 2u);
    EXPECT_TRUE(scenario.timeline.empty());
    EXPECT_TRUE(scenario.commands.empty());
    EXPECT_FALSE(scenario.lastStartAgo);
    EXPECT_TRUE(scenario.expect.events.empty());
}

TEST(Scenario, FilesThatCannotServe) {
    TemporaryRoot root;
    const auto error_of = [&](const std::string &text) {
        root.write("/s/x.json", text);
        SCENARIO scenario;
        std::string error;
        const std::string path = IorbHostFiles::get().map("/s/x.json");
        EXPECT_FALSE(read_scenario(path, scenario, error)) << text;
        EXPECT_EQ(error.find(path + ": "), 0u) << error;
        return error.substr(path.size() + 2);
    };
    EXPECT_EQ(error_of("").find("not JSON: "), 0u);
    EXPECT_EQ(error_of("{").find("not JSON: "), 0u);
    EXPECT_EQ(error_of(std::string(5000, '[')).find("not JSON: "), 0u);
    EXPECT_EQ(error_of("[]"), "must be an object");
    EXPECT_EQ(error_of(R"({"base":3})"), "base: must be a scenario's name");
    EXPECT_EQ(error_of(R"({"base":"../x"})"), "base: must be a scenario's name");
    EXPECT_EQ(error_of(R"({"base":"x"})"), "base: too many scenarios stand on each other");
    SCENARIO scenario;
    std::string error;
    EXPECT_FALSE(read_scenario("/nowhere/x.json", scenario, error));
    EXPECT_EQ(error, "/nowhere/x.json: can't be read");
}

TEST(Scenario, EveryShippedOneIsRead) {
    std::size_t count = 0;
    for (const auto &entry : std::filesystem::directory_iterator(ORB_SOURCE_DIR "/lab/scenarios")) {
        SCENARIO scenario;
        std::string error;
        EXPECT_TRUE(read_scenario(entry.path(), scenario, error)) << error;
        EXPECT_FALSE(scenario.title.empty()) << entry.path();
        ++count;
    }
    EXPECT_GE(count, 20u);
}

TEST(PciAddress, Reads) {
    std::uint16_t segment = 0;
    std::uint8_t bus = 0, deviceFunction = 0;
    ASSERT_TRUE(read_pci_address("12ab:c3:1f.7", segment, bus, deviceFunction));
    EXPECT_EQ(segment, 0x12ab);
    EXPECT_EQ(bus, 0xc3);
    EXPECT_EQ(deviceFunction, 0xff);
    for (const char *bad : {"", "0000:24:00.8", "0000:24:20.0", "0000:24:00:0", "0000:2G:00.0",
                            "0000:24:00.00", "000:24:00.0"})
        EXPECT_FALSE(read_pci_address(bad, segment, bus, deviceFunction)) << bad;
}
