#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "storage/port_status.h"

/// Any bytes as a port's state text, behind the recovery stamp and the present second, and as the
/// paths that hold a port's numbers.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::int64_t seconds[2] = {0, 1};
    if (size >= sizeof seconds) {
        std::memcpy(seconds, data, sizeof seconds);
        data += sizeof seconds;
        size -= sizeof seconds;
    }
    const std::string text(reinterpret_cast<const char *>(data), size);

    const ORB_PORT_STATUS status = judge_port(text.c_str(), seconds[0], seconds[1]);
    if (status.state > ORB_STATE_UNCONFIGURED_BAD) std::abort();
    if (status.health == ORB_HEALTH_UNKNOWN) std::abort();
    const bool well = status.state == ORB_STATE_CREATED || status.state == ORB_STATE_RUNNING;
    if (well != (status.health == ORB_HEALTH_OK)) std::abort();
    if (status.health == ORB_HEALTH_CRITICAL && status.recoverySince != 0) std::abort();
    if (status.news == ORB_RECOVERY_LONG && seconds[0] <= seconds[1]) std::abort();

    ORB_PORT_COUNTS counts;
    for (const char byte : text)
        counts.add(static_cast<ORB_RESOURCE_STATE>(static_cast<std::uint8_t>(byte) % 25));
    if (counts.all() != static_cast<std::int64_t>(text.size())) std::abort();
    if (judge_controller(counts).info == STORAGE_EVENT_INFO_NONE) std::abort();

    if (port_host_number(text).has_value() && text.find("/host") == std::string::npos) std::abort();
    if (port_ata_number(text).has_value() && text.find("/ata") == std::string::npos) std::abort();
    return 0;
}
