#include "world/storage_report.h"

#include "core/format_text.h"
#include "world/unit_report.h"

namespace {
/// The PCI address, the second word of the description.
std::string address_of(const Json::Value &controller) {
    const std::string text = unit_word(controller, "Oem.Description");
    const std::size_t begin = text.find(' ');
    if (begin == std::string::npos) return text;
    return text.substr(begin + 1, text.find(' ', begin + 1) - begin - 1);
}
} // namespace

std::string controller_text(const Json::Value &controller) {
    return unit_text(address_of(controller), controller);
}

std::string controller_table(const Json::Value &list) {
    const auto columns = [](const Json::Value &controller) {
        return format_text("%-18s %-10s %-8s", address_of(controller).c_str(),
                           unit_word(controller, "Status.State").c_str(),
                           unit_word(controller, "Status.Health").c_str());
    };
    return unit_table(
        list, format_text("%-18s %-10s %-8s  Place", "Storage controller", "State", "Health"),
        columns, 21);
}
