#include "world/ethernet_report.h"

#include "core/format_text.h"
#include "vendor/location_code.h"
#include "world/summary.h"

namespace {
constexpr Json::ArrayIndex ROW_LIMIT = 24;

std::string word_at(const Json::Value &value, const char *path) {
    const Json::Value found = member_at(value, path);
    return found.isString() ? printable(found.asString()) : "";
}

std::string place_of(const Json::Value &adapter) {
    return readable_location(word_at(adapter, "Oem.PhysicalLocation"));
}
} // namespace

std::string adapter_text(const Json::Value &adapter) {
    return word_at(adapter, "Oem.DeviceName") + ": " + word_at(adapter, "Status.State") + ", " +
           word_at(adapter, "Status.Health") + ", " + place_of(adapter);
}

std::string adapter_table(const Json::Value &list) {
    if (!list.isArray() || list.empty()) return {};
    std::string text = format_text("\n  %-8s %-8s %-8s %9s  %s\n", "Adapter", "State", "Health",
                                   "Mbit/s", "Place");
    for (Json::ArrayIndex i = 0; i < list.size() && i < ROW_LIMIT; ++i) {
        const Json::Value speed = member_at(list[i], "SpeedMbps");
        text += format_text("  %-8s %-8s %-8s %9lld  ", word_at(list[i], "Oem.DeviceName").c_str(),
                            word_at(list[i], "Status.State").c_str(),
                            word_at(list[i], "Status.Health").c_str(),
                            speed.isInt64() ? static_cast<long long>(speed.asInt64()) : 0LL);
        text += place_of(list[i]) + "\n";
        const std::string model = word_at(list[i], "Model");
        if (!model.empty()) text += "           " + model + "\n";
    }
    if (list.size() > ROW_LIMIT) text += format_text("  and %u more\n", list.size() - ROW_LIMIT);
    return text;
}
