#pragma once

#include <cstdint>

/// One system slot (type 9 of DSP0134).
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

/// One on-board device (type 41 of DSP0134).
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

/// The machine (type 1 of DSP0134). Texts are cut to their fields and always ended.
struct DmiSystemInfo {
    std::uint8_t type;
    std::uint8_t length;
    std::uint16_t handle;
    char manufacturer[64];
    char productName[128];
    char version[128];
    char serialNumber[128];
    char uuid[255];
    std::uint8_t wakeUpType;
    char sku[128];
    char family[64];
};

/// Reads the host's SMBIOS table once and keeps it. Source: "/vmfs/devices/char/mem/smbios", an
/// entry point "_SM_" followed directly by the structures. @return 0 also when already read, else -1
int SmBiosInit();
/// Forgets the table; the next SmBiosInit() reads it again.
void SmBiosDeinit();

/// Decodes all structures of a type (1, 9 or 41).
/// @param records  takes a new array, to be freed with free(); set to null first. A pointer to the
///                 caller's `void *`
/// @param count    may be null; set to 0 first
/// @return 0, or -1 with no array: no table, no such structure, no memory, another type
int getSmbiosRecordsByType(int type, void **records, int *count);

/// Prints slots to standard output, for diagnosis.
void DmiSystemSlot_Print(const DmiSystemSlot *slots, int count);
