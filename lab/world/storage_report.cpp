#include "world/storage_report.h"

#include "core/format_text.h"
#include "vendor/location_code.h"
#include "world/summary.h"

namespace {
constexpr Json::ArrayIndex ROW_LIMIT = 24;

std::string word_at(const Json::Value &value, const char *path) {
    const Json::Value found = member_at(value, path);
    return found.isString() ? printable(found.asString()) : "";
}

/// The PCI address, the second word of the description.
std::string address_of(const Json::Value &controller) {
    const std::string text = word_at(controller, "Oem.Description");
    const std::size_t begin = text.find(' ');
    if (begin == std::string::npos) return text;
    return text.substr(begin + 1, text.find(' ', begin + 1) - begin - 1);
}

std::string place_of(const Json::Value &controller) {
    return readable_location(word_at(controller, "Oem.PhysicalLocation"));
}
} // namespace

std::string controller_text(const Json::Value &controller) {
    return address_of(controller) + ": " + word_at(controller, "Status.State") + ", " +
           word_at(controller, "Status.Health") + ", " + place_of(controller);
}

std::string controller_table(const Json::Value &list) {
    if (!list.isArray() || list.empty()) return {};
    std::string text =
        format_text("\n  %-18s %-10s %-8s  %s\n", "Storage controller", "State", "Health", "Place");
    for (Json::ArrayIndex i = 0; i < list.size() && i < ROW_LIMIT; ++i) {
        text += format_text("  %-18s %-10s %-8s  ", address_of(list[i]).c_str(),
                            word_at(list[i], "Status.State").c_str(),
                            word_at(list[i], "Status.Health").c_str());
        text += place_of(list[i]) + "\n";
        const std::string model = word_at(list[i], "Model");
        if (!model.empty()) text += "                     " + model + "\n";
    }
    if (list.size() > ROW_LIMIT) text += format_text("  and %u more\n", list.size() - ROW_LIMIT);
    return text;
}
