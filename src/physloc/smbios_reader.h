#pragma once

#include "physloc/smbios_decode.h"

/// The host's SMBIOS table, read once and decoded on demand. Any thread may call.

/// Reads the table and keeps it. Source: "/vmfs/devices/char/mem/smbios", an entry point "_SM_"
/// followed directly by the structures, at most 65536 bytes in one read.
/// @return 0, also when already read; -1 with errno, which is 0 where the device has no table
int SmBiosInit();
/// Forgets the table; the next SmBiosInit() reads it again.
void SmBiosDeinit();

/// Decodes all structures of a type (1, 9 or 41).
/// @param records  set to null first, then takes a new array, to be freed with free(). The address
///                 of the caller's `void *`, never of a typed pointer
/// @param count    may be null; set to 0 first
/// @return 0, or -1 with no array: no table, no such structure, no memory, another type
int getSmbiosRecordsByType(int type, void **records, int *count);

/// Makes a cleared array for the records of a type; a failed allocation goes to the system log.
/// @param records  the address of the caller's `void *`, written on success only
/// @param count    elements
/// @return 0, -1 for a count below 1, a type other than 1, 9 and 41, or no memory
int allocMemForRecords(int type, void *records, int count);

/// Prints slots to standard output, for diagnosis.
void DmiSystemSlot_Print(const DmiSystemSlot *slots, int count);
