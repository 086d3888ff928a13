#include "world/unit_report.h"

#include "core/format_text.h"
#include "vendor/location_code.h"
#include "world/summary.h"

namespace {
constexpr Json::ArrayIndex ROW_LIMIT = 24;

std::string place_of(const Json::Value &unit) {
    return readable_location(unit_word(unit, "Oem.PhysicalLocation"));
}
} // namespace

std::string unit_word(const Json::Value &unit, const char *path) {
    const Json::Value found = member_at(unit, path);
    return found.isString() ? printable(found.asString()) : "";
}

std::string unit_text(const std::string &name, const Json::Value &unit) {
    return name + ": " + unit_word(unit, "Status.State") + ", " + unit_word(unit, "Status.Health") +
           ", " + place_of(unit);
}

std::string unit_table(const Json::Value &list, const std::string &head,
                       std::string (*columns)(const Json::Value &unit), std::size_t modelColumn) {
    if (!list.isArray() || list.empty()) return {};
    std::string text = "\n  " + head + "\n";
    for (Json::ArrayIndex i = 0; i < list.size() && i < ROW_LIMIT; ++i) {
        text += "  " + columns(list[i]) + "  " + place_of(list[i]) + "\n";
        const std::string model = unit_word(list[i], "Model");
        if (!model.empty()) text += std::string(modelColumn, ' ') + model + "\n";
    }
    if (list.size() > ROW_LIMIT) text += format_text("  and %u more\n", list.size() - ROW_LIMIT);
    return text;
}
