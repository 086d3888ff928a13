#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The maker's network adapters by their ids and names. Pure; any thread.

/// Model of the adapter with these PCI subsystem ids; "" for one that is not in the table.
std::string_view nic_model_of(std::uint32_t subVendor, std::uint32_t subDevice);

/// Part number by the first row that fits a model's name; "" where none does. A row fits by its
/// token; or by its speed, its family and its count of ports, written "2-port" or "2p".
std::string_view nic_part_number_of(std::string_view model);
