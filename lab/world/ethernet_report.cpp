#include "world/ethernet_report.h"

#include "core/format_text.h"
#include "world/summary.h"
#include "world/unit_report.h"

std::string adapter_text(const Json::Value &adapter) {
    return unit_text(unit_word(adapter, "Oem.DeviceName"), adapter);
}

std::string adapter_table(const Json::Value &list) {
    const auto columns = [](const Json::Value &adapter) {
        const Json::Value speed = member_at(adapter, "SpeedMbps");
        return format_text("%-8s %-8s %-8s %9lld", unit_word(adapter, "Oem.DeviceName").c_str(),
                           unit_word(adapter, "Status.State").c_str(),
                           unit_word(adapter, "Status.Health").c_str(),
                           speed.isInt64() ? static_cast<long long>(speed.asInt64()) : 0LL);
    };
    return unit_table(
        list, format_text("%-8s %-8s %-8s %9s  Place", "Adapter", "State", "Health", "Mbit/s"),
        columns, 11);
}
