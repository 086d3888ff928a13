#pragma once

#include <json/json.h>

class orbDiskInfo;
class orbLogicalDiskInfo;
class orbStorageControllerInfo;

// The entries of the inventory document. Unlike an event's they carry the status, and have no
// envelope. Pure; the records are only read. Whoever owns the record may call.

/// "Model", "SerialNumber", "PartNumber", "FirmwareVersion", "Protocol", "Manufacturer",
/// "Status": {"State", "Health"}, "Oem": {"Description", "PhysicalLocation"}.
Json::Value storage_controller_object(orbStorageControllerInfo &controller);
/// "SerialNumber", "PartNumber", "Model", "CapacityBytes" (unsigned), "Protocol", "MediaType",
/// "Revision", "Manufacturer", "Status", "Oem": {"Slot", "PhysicalLocation"}.
Json::Value drive_object(orbDiskInfo &drive);
/// "DurableName", "VolumeType" (the RAID level), "CapacityBytes" (unsigned), "Drives" (array of
/// texts; absent where there is none), "Status", "Oem": {"DeviceName"}.
Json::Value volume_object(orbLogicalDiskInfo &volume);
