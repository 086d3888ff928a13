#include "reporting/ipmi_wire.h"

#include <algorithm>
#include <cstring>

static_assert(IPMI_RECEIVE_BYTES + 1 > UINT8_MAX, "a response fits behind its completion code");

ORB_IPMI_REQUEST ipmi_request(ORB_IPMI_SYSTEM_ADDRESS &address, std::uint8_t netfn,
                              std::uint8_t cmd, std::uint8_t *data, std::uint8_t length) {
    address = {IPMI_SYSTEM_INTERFACE_ADDRESS, IPMI_BMC_CHANNEL, 0};
    ORB_IPMI_REQUEST request{&address, sizeof address, 0, {netfn, cmd, 0, nullptr}};
    if (data != nullptr && length != 0) {
        request.message.dataLength = length;
        request.message.data = data;
    }
    return request;
}

void copy_ipmi_answer(const std::uint8_t *buffer, std::size_t received, std::uint8_t *response,
                      std::uint8_t wanted) {
    const std::size_t count = std::min<std::size_t>(wanted, received);
    if (count != 0) std::memcpy(response, buffer + 1, count);
}
