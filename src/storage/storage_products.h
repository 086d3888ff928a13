#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// The storage controllers and drives that are known by name. Pure; any thread, also before `main`.

/// Families of controllers, bits of the mask.
constexpr std::uint8_t STORAGE_FAMILY_INTEL_RAID = 1; ///< Intel SATA RAID
constexpr std::uint8_t STORAGE_FAMILY_MEGARAID = 2;
constexpr std::uint8_t STORAGE_FAMILY_SMARTRAID = 4;
constexpr std::uint8_t STORAGE_FAMILY_SAS_ADAPTER = 8; ///< a plain host bus adapter
constexpr std::uint8_t STORAGE_FAMILY_ANY = 255;

/// A model of controllers. A row without a family would meet no mask, so each has one.
struct ORB_STORAGE_HBA {
    std::uint32_t chipsetID; ///< PCI device id << 16 | vendor id; 0 any
    std::uint32_t boardID;   ///< the same of the subsystem; 0 any board of the chipset
    const char *partNumber;  ///< "" in a row for any board
    std::uint8_t familyFlags;
    const char *model;
};
constexpr std::size_t MAX_STORAGE_HBA_LIST = 8;
extern const std::array<ORB_STORAGE_HBA, MAX_STORAGE_HBA_LIST> gStorageHbaList;

/// A model of drives. All texts end with a NUL.
struct ORB_STORAGE_DRIVE {
    char model[41];
    char partNumber[33];
    char description[129]; ///< for people: no code reads it
};
constexpr std::size_t MAX_STORAGE_DRIVE_LIST = 58;
extern const std::array<ORB_STORAGE_DRIVE, MAX_STORAGE_DRIVE_LIST> gStorageDriveList;

/// Bytes that a part number takes with its NUL, at most.
constexpr std::size_t PART_NUMBER_SIZE = 33;

/// The first row that serves a card. @param familyMask  0 any family. @return null where none does
const ORB_STORAGE_HBA *find_storage_hba(std::span<const ORB_STORAGE_HBA> rows,
                                        std::uint32_t chipset, std::uint32_t board,
                                        std::uint8_t familyMask);

/// Model of a card by the first row of gStorageHbaList that serves it; null where none does.
/// @param outFamily  takes the row's family, 0 without a row; may be null
const char *getStorageControllerModel(std::uint32_t chipset, std::uint32_t board,
                                      std::uint8_t familyMask, std::uint8_t *outFamily);

/// Part number by the row of exactly these ids, "" where there is none: a row for any board is
/// none.
/// @param dst  takes the same text; null, or PART_NUMBER_SIZE bytes
std::string getHBAPartNumber(std::uint32_t chipset, std::uint32_t board, char *dst);

/// Part number of a drive by its whole model text, "" where it is none of the list.
/// @param dst  as above
std::string getDiskPartNumber(const char *model, char *dst);

/// The vendor half of an id as four hexadecimal digits, such as "1000".
void getControllerVendorID(std::uint32_t id, std::string &out);
