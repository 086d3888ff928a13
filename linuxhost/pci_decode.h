#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "pci_report.h"

/// What the kernel tells of a PCI function in one text, its "uevent" file: driver, numbers, class.
/// Numbers there are hexadecimal without "0x". Pure.
/// @return false, `function` untouched, where class, vendor or device is missing or no number
bool decode_pci_uevent(std::string_view text, ORB_PCI_FUNCTION &function);

constexpr std::size_t PCI_REGISTERS_SIZE = 64;

/// The registers at the start of a function's configuration space, as the bus has them: command,
/// header type, secondary bus and interrupt. Fewer
/// than 64 bytes change nothing. Pure.
void decode_pci_registers(std::string_view bytes, ORB_PCI_FUNCTION &function);

/// The number of an attribute such as "0x8086", 0 for anything else or beyond 32 bits. Pure.
std::uint32_t pci_attribute_number(std::string_view text);
