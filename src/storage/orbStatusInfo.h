#pragma once

#include "core/status_words.h"
#include "storage/orbInventoryBase.h"

/// State and health, as they are now and as events last told them.
class orbStatusInfo : public virtual orbInventoryBase {
public:
    /// {"State", "Health"}: the words for the present two.
    Json::Value getVariableData() override;
    Json::Value getInventoryData() override; ///< the same

    virtual ORB_RESOURCE_STATE getState() { return state; }
    virtual void setState(ORB_RESOURCE_STATE value) { state = value; }
    virtual ORB_RESOURCE_HEALTH getHealth() { return health; }
    virtual void setHealth(ORB_RESOURCE_HEALTH value) { health = value; }
    virtual ORB_RESOURCE_STATE getEventState() { return eventState; }
    virtual void setEventState(ORB_RESOURCE_STATE value) { eventState = value; }
    virtual ORB_RESOURCE_HEALTH getEventHealth() { return eventHealth; }
    virtual void setEventHealth(ORB_RESOURCE_HEALTH value) { eventHealth = value; }

private:
    ORB_RESOURCE_STATE state = ORB_STATE_UNKNOWN;
    ORB_RESOURCE_HEALTH health = ORB_HEALTH_UNKNOWN;
    ORB_RESOURCE_STATE eventState = ORB_STATE_UNKNOWN;
    ORB_RESOURCE_HEALTH eventHealth = ORB_HEALTH_UNKNOWN;
};

/// The status of a drive.
class orbDiskStatusInfo : public virtual orbInventoryBase, public orbStatusInfo {
public:
    Json::Value getVariableData() override;  ///< {"State", "Health"}
    Json::Value getInventoryData() override; ///< null
};
