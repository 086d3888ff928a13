#pragma once

#include <cstddef>
#include <cstdint>

/// The data record of the location encoders. The caller brings at least GEO_RECORD_BYTES.
constexpr std::size_t GEO_TYPE_AT = 0; ///< 32 bits, as they lie in memory
constexpr std::size_t GEO_RACK_AT = 4, GEO_UNIT_AT = 5, GEO_PARTITION_AT = 8, GEO_SLOT_AT = 11,
                      GEO_EXTRA_AT = 13;      ///< a byte each
constexpr std::size_t GEO_CALLERS_BYTES = 16; ///< behind them lies what the library keeps
constexpr std::size_t GEO_RECORD_BYTES = 32;
constexpr int GEO_VERSION = 2;

/// What physloc_encode returns.
constexpr int GEO_GOOD = 0, GEO_NO_RECORD = 1, GEO_NOT_PREPARED = 2, GEO_WRONG_VERSION = 3,
              GEO_UNKNOWN_TYPE = 4, GEO_OUT_OF_RANGE = 5, GEO_FOREIGN_BYTE = 6, GEO_REFUSED = 7;

extern "C" {
/// Makes a record ready for its fields.
void physloc_init_data(void *record, int version);
/// @param value  written on success only @return GEO_GOOD or what is wrong
int physloc_encode(void *record, std::uint64_t *value);
}
