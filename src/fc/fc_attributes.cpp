#include "fc/fc_attributes.h"

#include <algorithm>

#include "core/format_text.h"

namespace {
constexpr std::uint32_t MOST_PORTS = 256;
}

std::string fc_field_text(std::span<const char> field) {
    return {field.begin(), std::find(field.begin(), field.end(), '\0')};
}

std::string WWNtoString(const HBA_WWN &wwn) {
    const HBA_UINT8 *const b = wwn.wwn;
    return format_text("%02x:%02x:%02x:%02x:%02x:%02x:%02x:%02x", b[0], b[1], b[2], b[3], b[4],
                       b[5], b[6], b[7]);
}

void store_adapter_attributes(const HBA_ADAPTERATTRIBUTES &attributes, orbFCDeviceInfo &info) {
    info.setorbFCModel(fc_field_text(attributes.ModelDescription));
    info.setorbFCSerialNumber(fc_field_text(attributes.SerialNumber));
    info.setorbFCFirmwareVersion(fc_field_text(attributes.FirmwareVersion));
    info.setorbFCRomVersion(fc_field_text(attributes.OptionROMVersion));
    info.setorbFCWWNN(WWNtoString(attributes.NodeWWN));
}

std::uint32_t fc_ports_to_ask(const HBA_ADAPTERATTRIBUTES &attributes) {
    return std::min(attributes.NumberOfPorts, MOST_PORTS);
}
