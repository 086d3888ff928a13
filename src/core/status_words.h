#pragma once

#include <cstdint>

/// State of a resource. Managers keep and compare the numbers; the texts are for output alone. The
/// order carries no severity.
enum ORB_RESOURCE_STATE : std::uint8_t {
    ORB_STATE_UNKNOWN,
    ORB_STATE_BYPASSED,
    ORB_STATE_CANCEL,
    ORB_STATE_CANCEL_RECOVERY,
    ORB_STATE_CREATED,
    ORB_STATE_DEGRADED,
    ORB_STATE_DELETED,
    ORB_STATE_DELETED_RECOVERY,
    ORB_STATE_DIAGNOSTIC_MODE,
    ORB_STATE_DOWN,
    ORB_STATE_ERROR,
    ORB_STATE_FAILED,
    ORB_STATE_LINKDOWN,
    ORB_STATE_LOOPBACK,
    ORB_STATE_OFFLINE,
    ORB_STATE_ONLINE,
    ORB_STATE_OPTIMAL,
    ORB_STATE_OTHER,
    ORB_STATE_PARTIALLY_DEGRADED,
    ORB_STATE_PREDICTIVE_FAILURE,
    ORB_STATE_REBUILD,
    ORB_STATE_RECOVERING,
    ORB_STATE_RECOVERY,
    ORB_STATE_RUNNING,
    ORB_STATE_UNCONFIGURED_BAD,
};

/// Health of a resource. The order carries no severity.
enum ORB_RESOURCE_HEALTH : std::uint8_t {
    ORB_HEALTH_UNKNOWN,
    ORB_HEALTH_CRITICAL,
    ORB_HEALTH_OK,
    ORB_HEALTH_WARNING,
};

extern const char *const orbResourceStateMap[25]; ///< by ORB_RESOURCE_STATE; use state_text()
extern const char *const orbResourceHealthMap[4]; ///< by ORB_RESOURCE_HEALTH; use health_text()

/// The word for a state; "Unknown" for a number outside the table, as vendors' bytes may be.
const char *state_text(ORB_RESOURCE_STATE state);
/// The word for a health; "Unknown" for a number outside the table.
const char *health_text(ORB_RESOURCE_HEALTH health);
