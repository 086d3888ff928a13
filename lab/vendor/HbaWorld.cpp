#include "vendor/HbaWorld.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "vendor/VendorWorld.h"

namespace {
constexpr Json::ArrayIndex ADAPTER_LIMIT = 256, PORT_LIMIT = 256;
constexpr HBA_UINT32 CLASS_3 = 8, FRAME_BYTES = 2048;
constexpr std::size_t FCP_AT = 2; // byte of the protocol map whose first bit stands for FCP

std::string counts_of(const std::string &libraryFile) {
    const char *world = std::getenv("ORB_LAB_WORLD");
    if (world == nullptr) return {};
    const std::string path(world);
    return path.substr(0, path.rfind('/') + 1) + libraryFile + ".calls";
}

const Json::Value &member(const Json::Value &object, const char *name) {
    if (!object.isObject() || !object.isMember(name)) return Json::Value::nullSingleton();
    return object[name];
}

std::string text_at(const Json::Value &object, const char *name) {
    const Json::Value &value = member(object, name);
    return value.isString() ? value.asString() : std::string();
}

HBA_UINT32 number_at(const Json::Value &object, const char *name) {
    const Json::Value &value = member(object, name);
    return value.isUInt() ? value.asUInt() : 0;
}

/// Fills the field to its end with zeros; a text as long as the field has none behind it.
template <std::size_t N> void set_text(char (&field)[N], const std::string &text) {
    std::memset(field, 0, N);
    std::memcpy(field, text.data(), std::min(text.size(), N));
}

HBA_PORTSPEED speed_of(HBA_UINT32 gigabits) {
    constexpr std::pair<HBA_UINT32, HBA_PORTSPEED> SPEEDS[] = {
        {1, 0x1}, {2, 0x2}, {4, 0x8}, {8, 0x10}, {10, 0x4}, {16, 0x20}, {32, 0x40}};
    for (const auto &[number, bit] : SPEEDS)
        if (number == gigabits) return bit;
    return 0;
}

HBA_PORTSTATE state_of(const std::string &word) {
    for (HBA_PORTSTATE i = 0; i < std::size(HBA_STATE_WORDS); ++i)
        if (word == HBA_STATE_WORDS[i]) return i + 1;
    return HBA_PORTSTATE_UNKNOWN;
}

HBA_PORTATTRIBUTES port_of(const Json::Value &value, const HBA_ADAPTERATTRIBUTES &adapter) {
    HBA_PORTATTRIBUTES port{};
    port.NodeWWN = adapter.NodeWWN;
    (void)read_wwn(text_at(value, "wwn"), port.PortWWN.wwn); // stays zero where it is none
    port.PortState = state_of(text_at(value, "state"));
    const bool isOnline = port.PortState == HBA_PORTSTATE_ONLINE;
    port.PortFcId = isOnline ? number_at(value, "id") : 0;
    port.PortType = isOnline ? HBA_PORTTYPE_NPORT : HBA_PORTTYPE_UNKNOWN;
    port.PortSupportedClassofService = CLASS_3;
    port.PortSupportedFc4Types.bits[FCP_AT] = 1;
    port.PortActiveFc4Types.bits[FCP_AT] = isOnline ? 1 : 0;
    set_text(port.PortSymbolicName, text_at(value, "wwn"));
    set_text(port.OSDeviceName, text_at(value, "device"));
    port.PortSupportedSpeed = speed_of(number_at(value, "gbit"));
    port.PortSpeed = isOnline ? port.PortSupportedSpeed : 0;
    port.PortMaxFrameSize = FRAME_BYTES;
    return port;
}

HBA_WORLD_ADAPTER adapter_of(const Json::Value &value) {
    HBA_WORLD_ADAPTER adapter;
    adapter.name = text_at(value, "name");
    const Json::Value &present = member(value, "present");
    adapter.present = !present.isBool() || present.asBool();
    HBA_ADAPTERATTRIBUTES &its = adapter.attributes;
    set_text(its.Manufacturer, text_at(value, "manufacturer"));
    set_text(its.SerialNumber, text_at(value, "serial"));
    set_text(its.Model, text_at(value, "model"));
    set_text(its.ModelDescription, text_at(value, "description"));
    (void)read_wwn(text_at(value, "wwn"), its.NodeWWN.wwn); // stays zero where it is none
    set_text(its.NodeSymbolicName, text_at(value, "description"));
    set_text(its.HardwareVersion, text_at(value, "hardware"));
    set_text(its.DriverVersion, text_at(value, "driverVersion"));
    set_text(its.OptionROMVersion, text_at(value, "rom"));
    set_text(its.FirmwareVersion, text_at(value, "firmware"));
    its.VendorSpecificID = number_at(value, "vendorId");
    set_text(its.DriverName, text_at(value, "driver"));
    const Json::Value &ports = member(value, "ports");
    if (ports.isArray())
        for (Json::ArrayIndex i = 0; i < std::min(ports.size(), PORT_LIMIT); ++i)
            adapter.ports.push_back(port_of(ports[i], its));
    its.NumberOfPorts = static_cast<HBA_UINT32>(adapter.ports.size());
    return adapter;
}
} // namespace

HbaWorld::HbaWorld(std::string libraryFile)
    : file(std::move(libraryFile)), counter(counts_of(file)) {}

void HbaWorld::refreshLocked() {
    if (readAt == VendorWorld::get().edition()) return;
    std::uint64_t seen = 0;
    const Json::Value library = VendorWorld::get().hbaLibrary(file, seen);
    failing.clear();
    adapters.clear();
    const Json::Value &fails = member(library, "fails"), &list = member(library, "adapters");
    if (fails.isArray())
        for (const Json::Value &each : fails)
            if (each.isString()) failing.push_back(each.asString());
    if (list.isArray())
        for (Json::ArrayIndex i = 0; i < std::min(list.size(), ADAPTER_LIMIT); ++i)
            adapters.push_back(adapter_of(list[i]));
    readAt = seen;
}

bool HbaWorld::fails(const std::string &call) {
    const std::lock_guard<std::mutex> guard(lock);
    refreshLocked();
    return std::find(failing.begin(), failing.end(), call) != failing.end();
}

std::vector<std::size_t> HbaWorld::present() {
    const std::lock_guard<std::mutex> guard(lock);
    refreshLocked();
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < adapters.size(); ++i)
        if (adapters[i].present) places.push_back(i);
    return places;
}

std::optional<HBA_WORLD_ADAPTER> HbaWorld::adapter(std::size_t index) {
    const std::lock_guard<std::mutex> guard(lock);
    refreshLocked();
    if (index >= adapters.size() || !adapters[index].present) return std::nullopt;
    return adapters[index];
}

std::optional<std::size_t> HbaWorld::find(const std::string &name) {
    const std::lock_guard<std::mutex> guard(lock);
    refreshLocked();
    for (std::size_t i = 0; i < adapters.size(); ++i)
        if (adapters[i].present && adapters[i].name == name) return i;
    return std::nullopt;
}
