#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "core/status_words.h"

/// What the ports of a storage controller say, and what that makes of the controller. Pure: no log,
/// no clock, no file; any thread.

/// Which text goes into a controller's next event.
enum STORAGE_EVENT_INFO_TYPE : std::uint8_t {
    STORAGE_EVENT_INFO_NONE = 0,       ///< an empty text
    STORAGE_EVENT_INFO_ALL_ONLINE = 1, ///< all ports are well
    STORAGE_EVENT_INFO_SOME_DOWN = 2,  ///< ports are down, the controller still serves
    STORAGE_EVENT_INFO_OUT_OF_USE = 3, ///< so many ports are down that it is as good as gone
};

/// What is worth telling about a port in recovery.
enum ORB_RECOVERY_NEWS : std::uint8_t {
    ORB_RECOVERY_NO_NEWS,
    ORB_RECOVERY_BEGAN,
    ORB_RECOVERY_LONG
};

struct ORB_PORT_STATUS {
    ORB_RESOURCE_STATE state = ORB_STATE_UNKNOWN;
    ORB_RESOURCE_HEALTH health = ORB_HEALTH_UNKNOWN;
    std::int64_t recoverySince = 0; ///< seconds since the epoch, 0 where it is not in recovery
    ORB_RECOVERY_NEWS news = ORB_RECOVERY_NO_NEWS;
};

/// Judges a port by the text of its host's "state" attribute.
/// @param stateText      a word of orbResourceStateMap in any letters; any other reads as "Unknown"
/// @param recoverySince  what the port's last judgement gave
/// @param now            seconds since the epoch
ORB_PORT_STATUS judge_port(const char *stateText, std::int64_t recoverySince, std::int64_t now);

/// How many ports of a controller are in which condition.
struct ORB_PORT_COUNTS {
    std::int64_t online = 0, recovering = 0, offline = 0, failed = 0;

    void add(ORB_RESOURCE_STATE portState);
    std::int64_t all() const { return online + recovering + offline + failed; }
};

struct ORB_CONTROLLER_STATUS {
    ORB_RESOURCE_STATE state = ORB_STATE_UNKNOWN;
    ORB_RESOURCE_HEALTH health = ORB_HEALTH_UNKNOWN;
    STORAGE_EVENT_INFO_TYPE info = STORAGE_EVENT_INFO_NONE;
};

/// The status of a controller by its ports. One without ports is well.
ORB_CONTROLLER_STATUS judge_controller(const ORB_PORT_COUNTS &ports);

/// The number behind the first "/host" of a path such as "/sys/class/scsi_host/host3"; none where
/// there is no such number within the path's first 49 characters.
std::optional<int> port_host_number(const std::string &path);

/// The number behind the first "/ata" of a port's link; none where there is no such number.
std::optional<int> port_ata_number(const std::string &link);
