#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// PCI addresses as text, "0000:c3:00.1". Pure; any thread.

/// "domain:bus:device.function" in small hexadecimal digits.
/// @param devFunc  bits 7:3 device, 2:0 function
std::string pci_address_text(std::uint16_t segment, std::uint8_t bus, std::uint8_t devFunc);

/// Whether a text has exactly twelve characters that "%04x:%02x:%02x.%x" reads in four fields.
/// Fields may be shorter than usual, and what stands behind the last one isn't looked at.
bool is_pci_address_text(const std::string &text);

/// Whether a text has only the characters of addresses, and any: then it can stand in the pattern
/// of a shell line, though it may be no address.
bool is_safe_address_word(std::string_view text);
