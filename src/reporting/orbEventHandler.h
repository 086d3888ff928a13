#pragma once

#include <string>

#include <json/json.h>

#include "reporting/orbEvent.h"

/// The host's facts that every event carries.
struct ORB_EVENT_HOST {
    std::string hostName;
    std::string osVersion;
    int osType = 0;
    std::string primaryAddress; ///< empty leaves the address list out of the event
};

/// The JSON object of an event. Pure.
Json::Value event_object(const orbEvent &event, const ORB_EVENT_HOST &host);

/// Delivers events. Stateless; callers make a throw-away object.
class orbEventHandler {
public:
    /// Raises an event and waits until it is delivered. Before the first inventory was sent only
    /// the host's boot and shutdown events (356, 359, 360, 434, 435) pass; others are dropped. May
    /// be called with a manager's locks held: delivery never calls a manager.
    void generateEvent(orbEvent event);
    /// Sends one prepared text. @return 0 delivered, 1 failed
    int sendEventToRMC(const std::string &text);
};

/// Thread entry of one delivery. @param event  the caller's orbEvent, alive until joined
void *startEventGeneration(void *event);
