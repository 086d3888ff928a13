#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "fc/hba_api.h"
#include "fc/orbFCDeviceInfo.h"

/// What vendors' libraries tell of adapters and ports, as records of fixed fields that nobody has
/// checked. Pure: no log, no call to a library; any thread.

/// The bytes of a field up to its first NUL; all of them where it has none.
std::string fc_field_text(std::span<const char> field);

/// A world wide name as eight bytes in lower-case hexadecimal, "20:00:02:00:5e:00:00:a1".
std::string WWNtoString(const HBA_WWN &wwn);

/// Model, serial number, versions and node name of the adapter.
void store_adapter_attributes(const HBA_ADAPTERATTRIBUTES &attributes, orbFCDeviceInfo &info);

/// How many of its ports are asked about: what it says, 256 at most.
std::uint32_t fc_ports_to_ask(const HBA_ADAPTERATTRIBUTES &attributes);
