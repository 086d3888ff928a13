#include "VmSmbios.h"

#include <fstream>

#include "VmFailure.h"
#include "physloc/smbios_decode.h"
#include "world/smbios_table.h"

namespace {
constexpr std::uint8_t SLOT = 9, END_OF_TABLE = 127;
constexpr std::size_t HEADER_BYTES = 4;

/// As the emulator names the kinds of on-board devices.
constexpr const char *KINDS[] = {"other",     "other", "unknown", "video", "scsi", "ethernet",
                                 "tokenring", "sound", "pata",    "sata",  "sas"};

std::vector<SMBIOS_BYTES> slots_of(const SCENARIO_MACHINE &server) {
    const SMBIOS_BYTES image = smbios_table(server);
    const auto table = find_smbios_table(image);
    if (!table) throw VmFailure("the lab's image of " + server.product + " has no table");
    return smbios_structures(*table, SLOT);
}
} // namespace

SCENARIO_MACHINE smbios_machine(const std::string &scenario) {
    SCENARIO server;
    std::string error;
    if (!read_scenario(std::string(ORB_SOURCE_DIR) + "/lab/scenarios/" + scenario + ".json", server,
                       error))
        throw VmFailure(error);
    return server.machine;
}

std::vector<SMBIOS_BYTES> smbios_structures(std::span<const std::uint8_t> table) {
    std::vector<SMBIOS_BYTES> all;
    while (table.size() >= HEADER_BYTES && table[0] != END_OF_TABLE) {
        std::size_t end = table[1];
        while (end + 1 < table.size() && (table[end] != 0 || table[end + 1] != 0)) ++end;
        if (end + 2 > table.size()) throw VmFailure("an SMBIOS structure without its end");
        all.emplace_back(table.begin(), table.begin() + static_cast<std::ptrdiff_t>(end + 2));
        table = table.subspan(end + 2);
    }
    return all;
}

std::vector<SMBIOS_BYTES> smbios_structures(std::span<const std::uint8_t> table,
                                            std::uint8_t type) {
    std::vector<SMBIOS_BYTES> some;
    for (SMBIOS_BYTES &each : smbios_structures(table))
        if (each[0] == type) some.push_back(std::move(each));
    return some;
}

std::vector<SMBIOS_BYTES> smbios_slots(const std::string &scenario) {
    return slots_of(smbios_machine(scenario));
}

VM_SHAPE smbios_shape(const std::string &scenario, int bits, const std::string &folder,
                      const std::vector<SCENARIO_DEVICE> &more) {
    SCENARIO_MACHINE server = smbios_machine(scenario);
    server.slots.insert(server.slots.end(), more.begin(), more.end());
    VM_SHAPE shape;
    shape.name = scenario;
    shape.machineOptions = "smbios-entry-point-type=" + std::to_string(bits);
    shape.devices = {"-smbios", "type=1,manufacturer=" + option_value(server.manufacturer) +
                                    ",product=" + option_value(server.product) +
                                    ",version=" + option_value(server.version) +
                                    ",serial=" + option_value(server.serial) + ",uuid=" +
                                    option_value(server.uuid) + ",sku=" + option_value(server.sku) +
                                    ",family=" + option_value(server.family)};
    if (!server.onboard.empty()) {
        const SCENARIO_DEVICE &device = server.onboard.front();
        shape.devices.insert(shape.devices.end(),
                             {"-smbios", "type=41,designation=" + option_value(device.designation) +
                                             ",kind=" + KINDS[device.type % std::size(KINDS)] +
                                             ",instance=" + std::to_string(device.instance) +
                                             ",pcidev=nic0"});
    }
    int number = 0;
    for (const SMBIOS_BYTES &slot : slots_of(server)) {
        const std::string file =
            folder + "/" + scenario + ".slot" + std::to_string(++number) + ".bin";
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char *>(slot.data()),
                  static_cast<std::streamsize>(slot.size()));
        if (!out.flush()) throw VmFailure(file + ": cannot be written");
        shape.devices.insert(shape.devices.end(), {"-smbios", "file=" + option_value(file)});
    }
    return shape;
}
