#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "core/json_text.h"
#include "fc/FCResourceManager.h"
#include "fc/fc_attributes.h"

namespace {
void require(bool holds) {
    if (!holds) std::abort();
}

/// What was taken of a field: its bytes to the first NUL or its end, and nothing behind.
template <std::size_t N> void require_taken(const char (&field)[N], const std::string &text) {
    require(text.size() <= N);
    require(std::equal(text.begin(), text.end(), field));
    require(text.size() == N ? text.find('\0') == std::string::npos : field[text.size()] == '\0');
}

void require_name(const std::string &text) {
    require(text.size() == 23);
    for (std::size_t i = 0; i < text.size(); ++i)
        require(i % 3 == 2
                    ? text[i] == ':'
                    : std::string_view("0123456789abcdef").find(text[i]) != std::string_view::npos);
}
} // namespace

/// Any bytes as the records that a vendor's library fills, the port's behind the adapter's: texts
/// end with their fields, no more ports are asked than there can be, each state has its health, and
/// what goes to the controller is one line that reads back.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    HBA_ADAPTERATTRIBUTES attributes{};
    HBA_PORTATTRIBUTES port{};
    const std::size_t first = std::min(size, sizeof attributes);
    const std::size_t second = std::min(size - first, sizeof port);
    if (first != 0) std::memcpy(&attributes, data, first);
    if (second != 0) std::memcpy(&port, data + first, second);

    orbFCDeviceInfo info;
    store_adapter_attributes(attributes, info);
    require_taken(attributes.ModelDescription, info.getorbFCModel());
    require_taken(attributes.SerialNumber, info.getorbFCSerialNumber());
    require_taken(attributes.FirmwareVersion, info.getorbFCFirmwareVersion());
    require_taken(attributes.OptionROMVersion, info.getorbFCRomVersion());
    require_name(info.getorbFCWWNN());
    require(fc_ports_to_ask(attributes) <= std::min(attributes.NumberOfPorts, 256u));
    info.setorbFCWWPN(WWNtoString(port.PortWWN));
    require_name(info.getorbFCWWPN());

    const std::string model = fc_field_text(attributes.Model);
    require_taken(attributes.Model, model);
    std::string partNumber;
    FCResourceManager::getFcaHostCntlrPartNumber(model, partNumber);
    info.setorbFCPartNumber(partNumber);
    const auto portState = static_cast<int>(port.PortState);
    const ORB_RESOURCE_STATE state = FCResourceManager::getState(portState);
    const bool isKnown = portState >= 2 && portState <= 8;
    require((state != ORB_STATE_UNKNOWN) == isKnown);
    require((FCResourceManager::getHealth(state) != ORB_HEALTH_UNKNOWN) == isKnown);

    const std::string text = compact_json(FCResourceManager::getVariableData(info, portState));
    require(text.find('\n') == std::string::npos && text.find('\0') == std::string::npos);
    Json::Value back;
    require(parse_json(text, back));
    require(back["Data"]["WWNN"] == info.getorbFCWWNN());
    return 0;
}
