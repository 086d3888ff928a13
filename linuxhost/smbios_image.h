#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// An SMBIOS image of the form that one read takes in: a 32-bit entry point (DSP0134) of 1Fh bytes,
/// followed directly by the structures.
constexpr std::size_t SMBIOS_ENTRY_SIZE = 0x1F;
constexpr std::size_t SMBIOS_IMAGE_LIMIT = 65536; ///< entry point and structures together

struct ORB_SMBIOS_IMAGE {
    std::vector<std::uint8_t> bytes; ///< empty on failure
    std::size_t structures = 0;      ///< in the image, without the end mark
    std::size_t leftOut = 0;         ///< whole structures that had no room
    bool cutOff = false; ///< the table broke off within a structure or held an impossible one
    std::string error;   ///< why there is no image, empty on success
};

/// Packs entry point and table into such an image.
///
/// The structures keep their order and end before the first of type 127, with nothing behind.
/// Where they exceed the limit, those of types 1, 9 and 41 come first, in this order, the others
/// behind them, and the image ends with the last structure that fits as a whole. The entry point's
/// address field is the structures' offset in the image. Pure.
///
/// @param entry  "_SM_" or "_SM3_" entry point; its version is kept and its table length bounds the
///               table, its checksums aren't looked at
/// @param table  the structures; may be cut off anywhere
ORB_SMBIOS_IMAGE pack_smbios_image(std::span<const std::uint8_t> entry,
                                   std::span<const std::uint8_t> table);
