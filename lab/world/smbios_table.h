#pragma once

#include <cstdint>
#include <vector>

#include "world/Scenario.h"

/// The machine as an SMBIOS image (DSP0134): a 32-bit entry point followed directly by the
/// structures of types 1, 9, 41 and 127, checksums right. Empty texts become "no string".
/// A device's wrong length and an image that breaks off are made as the scenario wants them.
/// A table beyond 65535 bytes is cut behind the last whole structure that fits.
std::vector<std::uint8_t> smbios_table(const SCENARIO_MACHINE &machine);
