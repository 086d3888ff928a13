#include "network/nic_models.h"

#include <string>

#include "tables/nic_models.h"
#include "tables/nic_part_numbers.h"

namespace {
bool holds(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

bool fits(const NIC_PART_NUMBERS_ROW &row, std::string_view model) {
    if (!row.token.empty()) return holds(model, row.token);
    const std::string ports = std::to_string(row.ports);
    return holds(model, row.speed) && holds(model, row.family) &&
           (holds(model, ports + "-port") || holds(model, ports + "p"));
}
} // namespace

std::string_view nic_model_of(std::uint32_t subVendor, std::uint32_t subDevice) {
    for (const NIC_MODELS_ROW &row : NIC_MODELS)
        if (row.subVendor == subVendor && row.subDevice == subDevice) return row.model;
    return {};
}

std::string_view nic_part_number_of(std::string_view model) {
    for (const NIC_PART_NUMBERS_ROW &row : NIC_PART_NUMBERS)
        if (fits(row, model)) return row.partNumber;
    return {};
}
