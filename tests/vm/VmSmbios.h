#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "VmMachine.h"
#include "world/Scenario.h"

using SMBIOS_BYTES = std::vector<std::uint8_t>;

/// One of the lab's servers, by its scenario's name. Throws VmFailure where there is none.
SCENARIO_MACHINE smbios_machine(const std::string &scenario);

/// The structures of a table before its end mark, each with its strings.
std::vector<SMBIOS_BYTES> smbios_structures(std::span<const std::uint8_t> table);
/// Those of one type.
std::vector<SMBIOS_BYTES> smbios_structures(std::span<const std::uint8_t> table, std::uint8_t type);

/// The slots of such a server, as the lab makes them.
std::vector<SMBIOS_BYTES> smbios_slots(const std::string &scenario);

/// A machine whose firmware tables tell of such a server: its type 1, its slots byte by byte as the
/// lab makes them, and as its first on-board device the machine's network adapter.
/// @param bits    of the entry point: 32 or 64
/// @param folder  takes the slots' files, which the emulator reads
/// @param more    further slots
VM_SHAPE smbios_shape(const std::string &scenario, int bits, const std::string &folder,
                      const std::vector<SCENARIO_DEVICE> &more = {});
