#include "VmSmbios.h"
#include "VmTest.h"
#include "core/format_text.h"
#include "physloc/smbios_decode.h"
#include "vendor/location_code.h"

namespace {
constexpr const char *IMAGE = "/vmfs/devices/char/mem/smbios";

/// What the inventory tells of the machine's adapter where the firmware knows its place, and where
/// it doesn't.
struct ADAPTER_PLACE {
    const char *geoId, *place, *manufacturer;
};
constexpr ADAPTER_PLACE FIRST{"r001u01p0i00", "rack 1, unit 1, partition 0, on board, port 0",
                              "Vantor"};
constexpr ADAPTER_PLACE SECOND{"r001i01s00", "rack 1, I/O element 1, on board, port 0", "Vantor"};
constexpr ADAPTER_PLACE UNKNOWN{"", nullptr, ""};

SMBIOS_BYTES bytes_of(const std::string &text) {
    return {text.begin(), text.end()};
}

/// The designation lines that the daemon logs of its slots and on-board devices.
std::string designation_line(const char *designation, unsigned segment, unsigned bus,
                             unsigned devFunc) {
    return format_text("designation: %s, segmentGroupNum: 0x%x, busNum: 0x%x, evFuncNum: 0x%x",
                       designation, segment, bus, devFunc);
}
} // namespace

/// A boot for each family: what the firmware tells, what the image holds, what the daemon makes of
/// it.
class PlatformTest : public VmTest {
protected:
    SMBIOS_BYTES file(VmMachine &machine, const std::string &path) {
        return bytes_of(machine.run("cat " + path).text);
    }

    void expectFamily(const std::string &scenario, VmMachine &machine,
                      const ADAPTER_PLACE &adapter) {
        machine.awaitLink(true);
        daemon->makeSure();
        machine.ask(std::string("rm -f ") + IMAGE);
        Json::Value members = VmDaemon::talkative();
        members["InventoryQueryIntervalInSeconds"] = 1; // adapters are there at once
        daemon->start(members);
        ASSERT_TRUE(daemon->awaitLog("-----Printing GEoID PCIe location map-----", 0))
            << daemon->toldSince(0);
        const SMBIOS_BYTES image = file(machine, IMAGE);
        const auto table = find_smbios_table(image);
        ASSERT_TRUE(table);
        EXPECT_EQ(smbios_structures(*table),
                  smbios_structures(file(machine, "/sys/firmware/dmi/tables/DMI")));

        const SCENARIO_MACHINE server = smbios_machine(scenario);
        expectSystem(*table, server);
        expectSlots(*table, scenario, server);
        expectOnboard(machine, *table, server);
        const std::string log = daemon->since(0);
        if (server.slots.empty() && server.onboard.empty()) {
            EXPECT_NE(log.find("Unable to fetch smbios type 9 record"), std::string::npos);
            EXPECT_NE(log.find("Unable to fetch smbios type 41 record"), std::string::npos);
        } else {
            EXPECT_NE(log.find("platformFamily is " + server.family + "\n"), std::string::npos)
                << log;
        }
        expectPrintedInventory(machine);
        expectAdapter(machine, adapter);
    }

    void expectSystem(std::span<const std::uint8_t> table, const SCENARIO_MACHINE &server) {
        const auto systems = smbios_structures(table, 1);
        ASSERT_EQ(systems.size(), 1u);
        DmiSystemInfo system{};
        ASSERT_EQ(DmiSystemInfo_decode(&system, systems.front(), 0), 0);
        EXPECT_EQ(system.manufacturer, server.manufacturer);
        EXPECT_EQ(system.productName, server.product);
        EXPECT_EQ(system.version, server.version);
        EXPECT_EQ(system.serialNumber, server.serial);
        EXPECT_EQ(system.uuid, server.uuid);
        EXPECT_EQ(system.sku, server.sku);
        EXPECT_EQ(system.family, server.family);
    }

    void expectSlots(std::span<const std::uint8_t> table, const std::string &scenario,
                     const SCENARIO_MACHINE &server) {
        const auto slots = smbios_structures(table, 9);
        EXPECT_EQ(slots, smbios_slots(scenario)) << "the slots are not those of the tables' file";
        ASSERT_EQ(slots.size(), server.slots.size());
        for (std::size_t i = 0; i < slots.size(); ++i) {
            DmiSystemSlot slot{};
            ASSERT_EQ(DmiSystemSlot_Decode(&slot, slots[i], 0), 0);
            EXPECT_EQ(slot.designation, server.slots[i].designation);
            EXPECT_TRUE(daemon->logHolds(designation_line(slot.designation, slot.segmentGroupNum,
                                                          slot.busNum, slot.devFuncNum)));
        }
    }

    void expectOnboard(VmMachine &machine, std::span<const std::uint8_t> table,
                       const SCENARIO_MACHINE &server) {
        const auto devices = smbios_structures(table, 41);
        ASSERT_EQ(devices.size(), server.onboard.empty() ? 0u : 1u);
        if (devices.empty()) return;
        DmiOnboardDevicesEx device{};
        ASSERT_EQ(DmiOnboardDevicesEx_decode(&device, devices.front(), 0), 0);
        EXPECT_EQ(device.designation, server.onboard.front().designation);
        EXPECT_EQ(device.deviceType, server.onboard.front().type);
        EXPECT_EQ(device.deviceTypeInstance, server.onboard.front().instance);
        EXPECT_EQ(machine.ask("basename $(readlink /sys/class/net/eth0/device)"),
                  format_text("%04x:%02x:%02x.%x", unsigned{device.segmentGroupNum},
                              unsigned{device.busNum}, device.devFuncNum >> 3u,
                              device.devFuncNum & 7u));
        EXPECT_TRUE(daemon->logHolds(designation_line(device.designation, device.segmentGroupNum,
                                                      device.busNum, device.devFuncNum)));
    }

    void expectPrintedInventory(VmMachine &machine) {
        RmcDocuments documents;
        std::string error;
        ASSERT_TRUE(documents.load(std::string(ORB_SOURCE_DIR) + "/schema", error)) << error;
        Json::Value document;
        std::vector<std::string> violations;
        documents.check({"WriteInventory", machine.ask("orbd --print-inventory --compact")},
                        document, violations);
        EXPECT_TRUE(violations.empty()) << violations.front();
        EXPECT_EQ(document["HostDataCollection"]["Oem"]["HostOSInfo"]["HostName"], "orb-vm-01");
    }

    /// The first inventory's word on the one adapter.
    void expectAdapter(VmMachine &machine, const ADAPTER_PLACE &expected) {
        ASSERT_TRUE(rmc.awaitInventories(1, FIRST_INVENTORY)) << daemon->toldSince(0);
        const Json::Value all =
            rmc.inventories().front().value["HostDataCollection"]["EthernetDevices"];
        ASSERT_EQ(all.size(), 1u) << all;
        const Json::Value &adapter = all[0];
        const std::string address =
            machine.ask("basename $(readlink -f /sys/class/net/eth0/device)");
        EXPECT_EQ(adapter["Oem"]["DeviceName"], "eth0");
        EXPECT_EQ(adapter["Oem"]["Description"], "PCI " + address + " " + expected.geoId);
        EXPECT_EQ(adapter["Manufacturer"], expected.manufacturer);
        EXPECT_EQ(adapter["Model"], "") << "the emulator's adapter is none of the maker's";
        EXPECT_EQ(adapter["PartNumber"], "");
        EXPECT_EQ(adapter["SerialNumber"], "");
        EXPECT_EQ(adapter["MACAddress"], "52:54:00:00:02:11");
        EXPECT_EQ(adapter["SpeedMbps"], 1000);
        EXPECT_EQ(adapter["Status"]["State"], "Running");
        EXPECT_EQ(adapter["Status"]["Health"], "OK");

        const std::string code = adapter["Oem"]["PhysicalLocation"].asString();
        if (expected.place == nullptr) {
            EXPECT_EQ(code, UNKNOWN_LOCATION);
            return;
        }
        PHYSICAL_LOCATION location;
        std::string error;
        ASSERT_TRUE(decode_location(code, location, error)) << code << " " << error;
        EXPECT_EQ(location_kind(location), "network port on board");
        EXPECT_EQ(location_place(location), expected.place);
        EXPECT_EQ(location_geo_id(location), expected.geoId);
    }

    VmMachine &boot(const std::string &scenario, int bits, const std::string &kernelWords = "") {
        VM_SHAPE shape = smbios_shape(scenario, bits, VmWorld::get().places().folder);
        shape.kernelWords = kernelWords;
        return take(VmWorld::get().machine(shape));
    }
};

TEST_F(PlatformTest, FirstGenerationFrom64BitEntryPoint) {
    VmMachine &machine = usual();
    EXPECT_EQ(machine.ask("head -c 5 /sys/firmware/dmi/tables/smbios_entry_point"), "_SM3_");
    expectFamily("first-generation", machine, FIRST);
}

TEST_F(PlatformTest, SecondGenerationFirstIdFrom32BitEntryPoint) {
    VmMachine &machine = boot("second-generation-b01", 32);
    EXPECT_EQ(machine.ask("head -c 4 /sys/firmware/dmi/tables/smbios_entry_point"), "_SM_");
    expectFamily("second-generation-b01", machine, SECOND);
}

TEST_F(PlatformTest, SecondGenerationSecondIdFrom64BitEntryPoint) {
    expectFamily("second-generation-b02", boot("second-generation-b02", 64), SECOND);
}

TEST_F(PlatformTest, UnknownFamilyFrom32BitEntryPointAndAnEmptyDev) {
    VmMachine &machine = boot("unknown-platform", 32, "orb.dev=bare");
    expectFamily("unknown-platform", machine, UNKNOWN);
    // Nobody but the daemon makes nodes here.
    ASSERT_TRUE(daemon->awaitLog("Return buffer from door bell: ", 0, VmDaemon::SECONDS(40)));
    EXPECT_EQ(machine.ask("stat -c %a /dev/ipmi0"), "600");
    EXPECT_EQ(machine.ask("printf '%d:%d' 0x$(stat -c %t /dev/ipmi0) 0x$(stat -c %T /dev/ipmi0)"),
              machine.ask("awk '$2 == \"ipmidev\" { print $1 \":0\" }' /proc/devices"));
}
