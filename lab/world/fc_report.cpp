#include "world/fc_report.h"

#include "core/format_text.h"
#include "world/unit_report.h"

std::string fc_adapter_text(const Json::Value &adapter) {
    return unit_text(unit_word(adapter, "WWNN"), adapter);
}

std::string fc_adapter_table(const Json::Value &list) {
    const auto columns = [](const Json::Value &adapter) {
        return format_text("%-23s %-15s %-8s", unit_word(adapter, "WWNN").c_str(),
                           unit_word(adapter, "Status.State").c_str(),
                           unit_word(adapter, "Status.Health").c_str());
    };
    return unit_table(
        list, format_text("%-23s %-15s %-8s  Place", "Fibre Channel adapter", "State", "Health"),
        columns, 26);
}
