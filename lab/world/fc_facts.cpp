#include "world/fc_facts.h"

#include <algorithm>

#include "core/format_text.h"
#include "vendor/HbaCalls.h"
#include "vendor/hba_handlers.h"

namespace {
constexpr std::uint16_t FC_CLASS = 0x0c04;

/// What the host's drivers print for a state.
const char *state_words(const std::string &state) {
    static constexpr std::pair<const char *, const char *> WORDS[] = {
        {"online", "ONLINE"},           {"offline", "OFFLINE"},    {"bypassed", "BYPASSED"},
        {"diagnostics", "DIAGNOSTICS"}, {"linkdown", "LINK DOWN"}, {"error", "ERROR"},
        {"loopback", "LOOPBACK"},
    };
    for (const auto &[word, shown] : WORDS)
        if (state == word) return shown;
    return "UNKNOWN";
}

std::string line(const char *label, const std::string &value) {
    return std::string("   ") + label + ": " + value + "\n";
}

std::string port_block(const SCENARIO_FC_ADAPTER &adapter, const SCENARIO_FC_PORT &port) {
    const bool isOnline = port.state == "online";
    return "FcDevice:\n" + line("Adapter", port.name.empty() ? adapter.name : port.name) +
           line("Port ID", format_text("%06x", isOnline ? unsigned{port.id} : 0u)) +
           line("Node Name", adapter.wwn) + line("Port Name", port.wwn) +
           line("Speed", format_text("%d Gbps", isOnline ? adapter.speedGbps : 0)) +
           line("Port Type", "NPort") + line("Port State", state_words(port.state)) +
           line("Model Description", adapter.description) +
           line("Hardware Version", adapter.hardware) + line("OptionROM Version", adapter.rom) +
           line("Firmware Version", adapter.firmware) + line("Driver Name", adapter.driver) +
           line("DriverVersion", adapter.driverVersion);
}

SCENARIO_PCI pci_device(const SCENARIO_FC_ADAPTER &adapter, const std::string &name,
                        const std::string &address) {
    SCENARIO_PCI device;
    device.address = address;
    device.kernelName = name;
    device.vendorName = adapter.vendorName;
    device.deviceName = adapter.deviceName;
    device.className = "Fibre Channel";
    device.vendor = adapter.vendor;
    device.device = adapter.device;
    device.subVendor = adapter.subVendor;
    device.subDevice = adapter.subDevice;
    device.deviceClass = FC_CLASS;
    device.moduleName = adapter.driver;
    return device;
}

bool is_there(const std::vector<SCENARIO_PCI> &devices, const std::string &address) {
    return std::any_of(devices.begin(), devices.end(),
                       [&](const SCENARIO_PCI &each) { return each.address == address; });
}

Json::Value port_object(const SCENARIO_FC_ADAPTER &adapter, const SCENARIO_FC_PORT &port) {
    Json::Value object;
    object["wwn"] = port.wwn;
    object["state"] = port.state;
    object["id"] = port.id;
    object["gbit"] = adapter.speedGbps;
    object["device"] = port.name.empty() ? adapter.name : port.name;
    return object;
}

Json::Value adapter_object(const SCENARIO_FC_LIBRARY &library, std::size_t index) {
    const SCENARIO_FC_ADAPTER &adapter = library.adapters[index];
    Json::Value object;
    object["name"] = library.name + "-" + adapter.model + "-" + std::to_string(index);
    object["manufacturer"] = adapter.vendorName;
    object["serial"] = adapter.serial;
    object["model"] = adapter.model;
    object["description"] = adapter.description;
    object["wwn"] = adapter.wwn;
    object["hardware"] = adapter.hardware;
    object["rom"] = adapter.rom;
    object["firmware"] = adapter.firmware;
    object["driver"] = adapter.driver;
    object["driverVersion"] = adapter.driverVersion;
    object["vendorId"] = adapter.vendor;
    object["present"] = adapter.present;
    object["ports"] = Json::Value(Json::arrayValue);
    for (const SCENARIO_FC_PORT &port : adapter.ports)
        object["ports"].append(port_object(adapter, port));
    return object;
}
} // namespace

std::string fc_list_text(const SCENARIO_FC &fc) {
    std::string text;
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries)
        for (const SCENARIO_FC_ADAPTER &adapter : library.adapters)
            for (const SCENARIO_FC_PORT &port : adapter.ports)
                if (adapter.present) text += port_block(adapter, port);
    return text;
}

std::string hba_conf_text(const SCENARIO_FC &fc) {
    if (fc.conf) return *fc.conf;
    std::string text = "# Libraries of the Fibre Channel adapters.\n";
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries)
        text += library.name + "\t" + library.path + "\n";
    return text;
}

std::vector<SCENARIO_PCI> fc_pci_devices(const SCENARIO_FC &fc) {
    std::vector<SCENARIO_PCI> devices;
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries)
        for (const SCENARIO_FC_ADAPTER &adapter : library.adapters) {
            if (!adapter.present) continue;
            for (const SCENARIO_FC_PORT &port : adapter.ports)
                if (!port.address.empty() && !is_there(devices, port.address))
                    devices.push_back(pci_device(adapter, port.name, port.address));
            if (!is_there(devices, adapter.address))
                devices.push_back(pci_device(adapter, adapter.name, adapter.address));
        }
    return devices;
}

Json::Value hba_world(const SCENARIO_FC &fc) {
    Json::Value world(Json::objectValue);
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries) {
        Json::Value &object = world[library.file()];
        object["fails"] = Json::Value(Json::arrayValue);
        for (const std::string &call : library.fails) object["fails"].append(call);
        object["adapters"] = Json::Value(Json::arrayValue);
        for (std::size_t i = 0; i < library.adapters.size(); ++i)
            object["adapters"].append(adapter_object(library, i));
    }
    return world;
}

std::string hba_calls_text(const SCENARIO_FC &fc, const std::string &folder) {
    std::string text;
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries) {
        const auto calls = read_hba_calls(folder + "/" + library.file() + ".calls");
        text += library.file() + (calls ? "\n" : ": never called\n");
        if (!calls) continue;
        const auto row = [&](const char *name, std::uint64_t count) {
            if (count != 0)
                text +=
                    format_text("  %-28s %8llu\n", name, static_cast<unsigned long long>(count));
        };
        row(HBA_REGISTRATION, calls->registrations);
        for (std::size_t i = 0; i < HBA_HANDLERS; ++i)
            row(HBA_HANDLER_NAMES[i], calls->handlers[i]);
        for (std::size_t i = 0; i < library.adapters.size() && i < HBA_COUNTED_ADAPTERS; ++i) {
            const HBA_ADAPTER_CALLS &its = calls->adapters[i];
            text +=
                format_text("  %-28s opened %llu, closed %llu\n", library.adapters[i].name.c_str(),
                            static_cast<unsigned long long>(its.opened),
                            static_cast<unsigned long long>(its.closed));
        }
    }
    return text.empty() ? "no library\n" : text;
}
