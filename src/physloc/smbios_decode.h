#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

/// Decoding of an SMBIOS structure table (DSP0134). Pure: no log, no lock, no descriptor. Bytes
/// beyond a span read 0, whatever a length within the data says.

/// The types of structure that are decoded.
constexpr int TYPE_SYSTEM_INFO = 1, TYPE_SYSTEM_SLOT = 9, TYPE_ONBOARD_DEVICE = 41;

/// One system slot (type 9).
struct DmiSystemSlot {
    std::uint8_t type;
    std::uint8_t length;
    std::uint16_t handle;
    char designation[128];
    std::uint8_t slotType;
    std::uint8_t busDataWidth;
    std::uint8_t currentUsage;
    std::uint8_t slotLength;
    std::uint16_t id;
    std::uint8_t characteristics1;
    std::uint8_t characteristics2;
    std::uint16_t segmentGroupNum; ///< this and the next two: 0 where `length` is below 14
    std::uint8_t busNum;
    std::uint8_t devFuncNum; ///< bits 7:3 device, 2:0 function
};

/// One on-board device (type 41).
struct DmiOnboardDevicesEx {
    std::uint8_t type;
    std::uint8_t length;
    std::uint16_t handle;
    char designation[128];
    std::uint8_t deviceType; ///< without the enabled bit
    std::uint8_t deviceTypeInstance;
    std::uint16_t segmentGroupNum;
    std::uint8_t busNum;
    std::uint8_t devFuncNum; ///< bits 7:3 device, 2:0 function
};

/// The machine (type 1). Texts are cut to their fields and always ended.
struct DmiSystemInfo {
    std::uint8_t type;
    std::uint8_t length;
    std::uint16_t handle;
    char manufacturer[64]; ///< this and the next three: empty where `length` is below 8
    char productName[128];
    char version[128];
    char serialNumber[128];
    char uuid[255];          ///< this and the next: empty and 0 where `length` is below 25
    std::uint8_t wakeUpType; ///< 6 for the power switch
    char sku[128];           ///< "." where `length` is 25 or 26, empty below
    char family[64];         ///< empty where `length` is below 27
};

/// Bytes from a structure's first one to the end of the table, so that its strings lie within.
using SMBIOS_STRUCTURE = std::span<const std::uint8_t>;

/// Finds the structure table of an image: an entry point "_SM_" on a 4-byte boundary, followed by
/// the structures. Checksums aren't looked at.
/// @return the table, cut to what the image holds; nothing without an entry point
std::optional<std::span<const std::uint8_t>> find_smbios_table(std::span<const std::uint8_t> image);

/// Walks a table, structure by structure: over the formatted part, to the first pair of NUL bytes,
/// past it. A structure without such a pair is the last one, and fewer than four bytes are none.
class orbSmbiosWalk {
public:
    explicit orbSmbiosWalk(std::span<const std::uint8_t> table) : rest(table) {}
    /// The next structure, at least four bytes; empty at the end of the table.
    SMBIOS_STRUCTURE next();

private:
    std::span<const std::uint8_t> rest;
};

/// How many structures of a type a table holds.
int count_smbios_structures(std::span<const std::uint8_t> table, int type);

/// A string of a structure, with "." for each byte outside 20h to 7Eh.
/// @param length  of the formatted part, behind which the strings begin
/// @param number  from 1
/// @return "Undefined" for number 0, for an empty string, where an empty string or the end of the
///         table comes before the string's end
std::string _toString(SMBIOS_STRUCTURE structure, std::uint8_t length, std::uint8_t number);

/// Fill one element of an array. @return 0, -1 for a null array or an empty structure
int DmiSystemSlot_Decode(DmiSystemSlot *slots, SMBIOS_STRUCTURE structure, std::size_t index);
int DmiOnboardDevicesEx_decode(DmiOnboardDevicesEx *devices, SMBIOS_STRUCTURE structure,
                               std::size_t index);
int DmiSystemInfo_decode(DmiSystemInfo *systems, SMBIOS_STRUCTURE structure, std::size_t index);
