#include "world/summary.h"

#include <sstream>

#include "core/event_types.h"
#include "core/format_text.h"
#include "core/number_readers.h"
#include "vendor/location_code.h"
#include "world/ethernet_report.h"
#include "world/fc_report.h"
#include "world/storage_report.h"

namespace {
struct MEANING {
    int id;
    const char *text;
};
constexpr MEANING MEANINGS[] = {
    {356, "the host has booted"},
    {359, "the host's last run ended in order"},
    {360, "the host's last run ended without a shutdown"},
    {384, "a Fibre Channel port is online again"},
    {385, "a Fibre Channel port is offline"},
    {386, "a Fibre Channel port has no link"},
    {388, "a Fibre Channel port has failed"},
    {397, "a storage controller is well again"},
    {398, "a storage controller is in trouble"},
    {678, "an Ethernet adapter has errors"},
    {680, "an Ethernet adapter is well again"},
};
constexpr const char *UNITS[] = {"FibreChannelDevices", "StorageControllers", "Drives", "Volumes",
                                 "StorageEnclosures",   "EthernetDevices"};

std::string text_of(const Json::Value &value) {
    if (value.isObject() || value.isArray()) return {};
    return printable(value.asString());
}

const char *meaning_of(int id) {
    for (const MEANING &each : MEANINGS)
        if (each.id == id) return each.text;
    return "";
}

const char *part_of(int id) {
    switch (getEventType(id)) {
    case 1:
        return "daemon";
    case 2:
        return "host";
    case 3:
        return "network";
    case 4:
        return "fc";
    case 5:
        return "storage";
    default:
        return "other";
    }
}
} // namespace

std::string printable(const std::string &text) {
    std::string shown = text;
    for (char &c : shown)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '.';
    return shown;
}

Json::Value member_at(const Json::Value &root, const std::string &path) {
    const Json::Value *at = &root;
    std::istringstream steps(path);
    for (std::string step; std::getline(steps, step, '.');) {
        if (at->isObject() && at->isMember(step)) {
            at = &(*at)[step];
        } else if (at->isArray() && !step.empty() &&
                   step.find_first_not_of("0123456789") == std::string::npos &&
                   read_decimal(step) < static_cast<std::int64_t>(at->size())) {
            at = &(*at)[static_cast<Json::ArrayIndex>(read_decimal(step))];
        } else {
            return {};
        }
    }
    return *at;
}

std::string summary_text(const Json::Value &document) {
    const Json::Value data = member_at(document, "HostDataCollection");
    const Json::Value host = member_at(data, "Oem.HostOSInfo");
    const auto row = [](const char *label, const std::string &value) {
        return format_text("  %-12s ", label) + value + "\n";
    };
    std::string text = "Inventory\n";
    if (host.isObject()) {
        std::string addresses;
        const Json::Value list = member_at(host, "IPv4Addresses");
        if (list.isArray())
            for (const Json::Value &each : list)
                addresses += (addresses.empty() ? "" : ", ") + text_of(member_at(each, "Address"));
        const auto giB = [&](const char *name) {
            const Json::Value value = member_at(host, std::string("OSMemorySummary.") + name);
            return format_text("%.0f GiB", value.isNumeric() ? value.asDouble() : 0.0);
        };
        text += row("Host", text_of(member_at(host, "HostName")));
        text += row("OS", text_of(member_at(host, "OSName")) + " " +
                              text_of(member_at(host, "OSVersion")));
        text += row("Kernel", text_of(member_at(host, "OSDescription")));
        text += row("Memory",
                    giB("TotalSystemMemoryGiB") + ", " + giB("TotalFreeSystemMemoryGiB") + " free");
        text += row("Addresses", addresses);
        text +=
            row("Next", "at the latest in " +
                            text_of(member_at(data, "Oem.CollectionInfo.CollectionFrequencyMin")) +
                            " minutes");
    }
    text += format_text("\n  %-22s %s\n", "Unit", "Count");
    text += format_text("  %-22s %5d\n", "Host", host.isObject() ? 1 : 0);
    for (const char *unit : UNITS) {
        const Json::Value list = member_at(data, unit);
        text += format_text("  %-22s %5u\n", unit, list.isArray() ? list.size() : 0u);
    }
    text += adapter_table(member_at(data, "EthernetDevices"));
    text += fc_adapter_table(member_at(data, "FibreChannelDevices"));
    text += controller_table(member_at(data, "StorageControllers"));
    return text;
}

std::string event_line(const Json::Value &event) {
    const Json::Value id = member_at(event, "ID");
    const int number = id.isInt() ? id.asInt() : -1;
    std::string line =
        format_text("%-19s  %4d  %-8s %-46s", text_of(member_at(event, "EventTime")).c_str(),
                    number, part_of(number), meaning_of(number));
    line += text_of(member_at(event, "HostName"));
    const std::string place = text_of(member_at(event, "PhysicalLocation"));
    if (place == UNKNOWN_LOCATION) {
        line += "  location unknown";
    } else if (!place.empty()) {
        line += "  at " + readable_location(place);
    }
    const std::string source = text_of(member_at(event, "Source"));
    if (source != "ORB") line += "  from " + source;
    return line;
}

std::string received_text(std::size_t inventories, std::size_t events) {
    return format_text("%zu %s, %zu %s received", inventories,
                       inventories == 1 ? "inventory" : "inventories", events,
                       events == 1 ? "event" : "events");
}
