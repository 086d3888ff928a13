#include "core/status_words.h"

#include <iterator>

const char *const orbResourceStateMap[25] = {
    "Unknown",
    "Bypassed",
    "Cancel",
    "Cancel/Recovery",
    "Created",
    "Degraded",
    "Deleted",
    "Deleted/Recovery",
    "Diagnostic mode",
    "Down",
    "Error",
    "Failed",
    "Linkdown",
    "Loopback",
    "Offline",
    "Online",
    "Optimal",
    "Other",
    "Partially degraded",
    "Predictive failure",
    "Rebuild",
    "Recovering",
    "Recovery",
    "Running",
    "Unconfigured bad",
};

const char *const orbResourceHealthMap[4] = {"Unknown", "Critical", "OK", "Warning"};

const char *state_text(ORB_RESOURCE_STATE state) {
    return orbResourceStateMap[state < std::size(orbResourceStateMap) ? state : 0];
}

const char *health_text(ORB_RESOURCE_HEALTH health) {
    return orbResourceHealthMap[health < std::size(orbResourceHealthMap) ? health : 0];
}
