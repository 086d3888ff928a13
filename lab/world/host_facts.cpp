#include "world/host_facts.h"

#include <algorithm>

#include "core/format_text.h"
#include "core/json_text.h"
#include "world/fc_facts.h"
#include "world/nic_facts.h"
#include "world/summary.h"

namespace {
constexpr unsigned NO_SLOT = 4294967295u;
constexpr std::uint16_t ETHERNET_CLASS = 0x0200;

std::string line(const char *label, const std::string &value) {
    return std::string("   ") + label + ": " + value + "\n";
}

std::string hex(unsigned value, int digits) {
    return format_text("0x%0*x", digits, value);
}

/// The designation that the firmware gives an address. @param number  of its slot
std::string slot_of(const SCENARIO_MACHINE &machine, const std::string &address, unsigned &number) {
    number = NO_SLOT;
    for (std::size_t i = 0; i < machine.slots.size(); ++i) {
        const SCENARIO_DEVICE &slot = machine.slots[i];
        if (slot.address != address) continue;
        number = slot.id != 0 ? slot.id : static_cast<unsigned>(i + 1);
        return printable(slot.designation);
    }
    for (const SCENARIO_DEVICE &each : machine.onboard)
        if (each.address == address) return printable(each.designation);
    return {};
}

SCENARIO_PCI pci_device_of(const SCENARIO_NIC &nic) {
    SCENARIO_PCI device;
    device.address = nic.address;
    device.vendorName = nic.vendorName;
    device.deviceName = nic.deviceName;
    device.kernelName = nic.name;
    device.className = "Ethernet controller";
    device.vendor = nic.vendor;
    device.device = nic.device;
    device.subVendor = nic.subVendor;
    device.subDevice = nic.subDevice;
    device.deviceClass = ETHERNET_CLASS;
    device.moduleName = nic.driver;
    return device;
}

SCENARIO_PCI pci_device_of(const SCENARIO_STORAGE_CONTROLLER &controller) {
    SCENARIO_PCI device;
    device.address = controller.address;
    device.vendorName = controller.vendorName;
    device.deviceName = controller.deviceName;
    device.kernelName = controller.name;
    device.className = controller.className;
    device.vendor = controller.vendor;
    device.device = controller.device;
    device.subVendor = controller.subVendor;
    device.subDevice = controller.subDevice;
    device.deviceClass = controller.deviceClass;
    if (!controller.driver.empty()) device.moduleName = controller.driver;
    return device;
}

std::string pci_block(const SCENARIO_MACHINE &machine, const SCENARIO_PCI &device) {
    std::uint16_t segment = 0;
    std::uint8_t bus = 0, deviceFunction = 0;
    read_pci_address(device.address, segment, bus, deviceFunction);
    unsigned slot = NO_SLOT;
    const std::string place = slot_of(machine, device.address, slot);
    std::string text = device.address + ":\n";
    text += line("Address", device.address) + line("Segment", hex(segment, 4));
    text += line("Bus", hex(bus, 2)) + line("Slot", hex(deviceFunction >> 3u, 2));
    text += line("Function", hex(deviceFunction & 7u, 1));
    text += line("VMkernel Name", device.kernelName) + line("Vendor Name", device.vendorName);
    text += line("Device Name", device.deviceName);
    text += line("Configured Owner", "VMkernel") + line("Current Owner", "VMkernel");
    text += line("Vendor ID", hex(device.vendor, 4)) + line("Device ID", hex(device.device, 4));
    text += line("SubVendor ID", hex(device.subVendor, 4));
    text += line("SubDevice ID", hex(device.subDevice, 4));
    text += line("Device Class", hex(device.deviceClass, 4));
    text += line("Device Class Name", device.className);
    text += line("Programming Interface", "0x00") + line("Revision ID", "0x01");
    text += line("Interrupt Line", "0xff") + line("IRQ", "255");
    text += line("Interrupt Vector", "0x00") + line("PCI Pin", "0x00");
    text += line("Spawned Bus", "0x00") + line("Flags", "0x3001");
    text += line("Module ID", "-1") + line("Module Name", device.moduleName) + line("Chassis", "0");
    text += line("Physical Slot", std::to_string(slot)) + line("Slot Description", place);
    // Its label holds another line's; a device in no slot has none.
    if (slot != NO_SLOT) text += line("Device Layer Bus Address", format_text("s%08u.00", slot));
    text += line("Passthru Capable", "true") + line("Parent Device", "");
    text +=
        line("Dependent Device", format_text("PCI %u:%u:%u:%u", unsigned{segment}, unsigned{bus},
                                             deviceFunction >> 3u, deviceFunction & 7u));
    return text + line("Reset Method", "Function reset") + line("FPT Sharable", "true");
}
} // namespace

std::string system_version_text(const SCENARIO_HOST &host) {
    std::string text = line("Product", host.osName) + line("Version", host.osVersion) +
                       line("Build", host.build) + line("Update", host.update);
    if (!host.patch.empty()) text += line("Patch", host.patch);
    return text;
}

std::string pci_list_text(const SCENARIO &scenario) {
    std::vector<SCENARIO_PCI> devices = scenario.host.pci;
    for (const SCENARIO_NIC &each : scenario.host.nics)
        if (each.present && each.address != NO_PCI_DEVICE) devices.push_back(pci_device_of(each));
    for (const SCENARIO_PCI &each : fc_pci_devices(scenario.host.fc)) devices.push_back(each);
    for (const SCENARIO_STORAGE_CONTROLLER &each : scenario.host.storage.controllers)
        if (each.present) devices.push_back(pci_device_of(each));
    std::stable_sort(devices.begin(), devices.end(), [](const auto &one, const auto &other) {
        return one.address < other.address;
    });
    std::string text;
    for (const SCENARIO_PCI &device : devices) {
        if (!text.empty()) text += '\n';
        text += pci_block(scenario.machine, device);
    }
    return text;
}

std::string esxtop_text(const SCENARIO_HOST &host, const std::string &mode) {
    if (mode == "empty") return {};
    if (mode == "garbled") return "esxtop: \"unexpected, output\"\n\n,\"Machine MBytes\",,\n\"";
    const std::string head = ",\"\\\\" + host.name;
    const long long total = host.memoryMBytes, free = host.freeMBytes;
    std::string text = "\"(PDH-CSV 4.0) (UTC)(0)\"";
    for (const char *counter :
         {"\\Memory\\Memory Overcommit (1 Minute Avg)",
          "\\Physical Cpu Load\\Cpu Load (1 Minute Avg)",
          "\\Physical Cpu(_Total)\\% Processor Time", "\\Memory\\Machine MBytes",
          "\\Memory\\Kernel MBytes", "\\Memory\\NonKernel MBytes", "\\Memory\\Free MBytes"})
        text += head + counter + "\"";
    text += ",\n\"05/15/2018 02:13:06\",\"0.00\",\"0.04\",\"2.15\"";
    text += format_text(",\"%lld\",\"%lld\",\"%lld\",\"%lld\",\n", total, total / 100,
                        total - total / 100 - free, free);
    return text;
}

std::string identity_text(const SCENARIO_HOST &host, std::int64_t bootTime, bool real) {
    Json::Value root;
    root["bootTime"] = Json::Value::Int64{bootTime};
    root["real"] = real;
    Json::Value &uname = root["uname"];
    uname["sysname"] = host.kernelName;
    uname["nodename"] = host.name;
    uname["release"] = host.kernelRelease;
    uname["version"] = host.kernelVersion;
    uname["machine"] = host.kernelMachine;
    Json::Value &addresses = root["addresses"] = Json::Value(Json::arrayValue);
    for (const SCENARIO_ADDRESS &each : host.addresses) {
        Json::Value entry;
        entry["interface"] = each.interface;
        entry["address"] = each.address;
        addresses.append(entry);
    }
    return compact_json(root) + "\n";
}

std::string config_text(const Json::Value &changes) {
    Json::Value root;
    root["EnableResources"].append("All");
    root["LoggingLevel"] = "Info";
    root["EnableDebugLog"] = "true";
    root["ORBLogLocation"] = LAB_LOG_FILE;
    root["DebugLogLocation"] = LAB_DEBUG_LOG_FILE;
    root["CacheRefreshInSeconds"]["Global"] = "60";
    if (changes.isObject())
        for (const std::string &name : changes.getMemberNames()) root[name] = changes[name];
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "  ";
    return Json::writeString(writer, root) + "\n";
}
