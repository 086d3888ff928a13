#include "world/fc_report.h"

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

std::string fc_adapter_text(const Json::Value &adapter) {
    return word_at(adapter, "WWNN") + ": " + word_at(adapter, "Status.State") + ", " +
           word_at(adapter, "Status.Health") + ", " + place_of(adapter);
}

std::string fc_adapter_table(const Json::Value &list) {
    if (!list.isArray() || list.empty()) return {};
    std::string text = format_text("\n  %-23s %-15s %-8s  %s\n", "Fibre Channel adapter", "State",
                                   "Health", "Place");
    for (Json::ArrayIndex i = 0; i < list.size() && i < ROW_LIMIT; ++i) {
        text += format_text("  %-23s %-15s %-8s  ", word_at(list[i], "WWNN").c_str(),
                            word_at(list[i], "Status.State").c_str(),
                            word_at(list[i], "Status.Health").c_str());
        text += place_of(list[i]) + "\n";
        const std::string model = word_at(list[i], "Model");
        if (!model.empty()) text += "                          " + model + "\n";
    }
    if (list.size() > ROW_LIMIT) text += format_text("  and %u more\n", list.size() - ROW_LIMIT);
    return text;
}
