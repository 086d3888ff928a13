#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <json/json.h>

/// One status change on its way to the rack management controller. A value.
class orbEvent {
public:
    orbEvent(int id, std::string physicalLocation, std::string module, bool service,
             std::string time, std::string partNumber, std::string raisedBy);
    orbEvent(int id, std::string module, bool service, std::string time, Json::Value data,
             std::string raisedBy);
    orbEvent(int id, std::string physicalLocation, std::string module, bool service,
             std::string time, std::string partNumber, Json::Value data, std::string raisedBy);

    std::int32_t getEventID() const { return eventId; }
    std::string getEventTime() const { return eventTime; }
    bool getisServiceEvent() const { return isServiceEvent; } ///< carried, never sent
    std::string getModuleName() const { return moduleName; }  ///< not sent
    std::string getPartNum() const { return partNum; }        ///< not sent
    std::string getPhyLoc() const { return phyLoc; }
    std::string getSource() const { return source; } ///< who raised it: "ORB" or "ORB-CLI"
    Json::Value getVariableData() const { return variableData; } ///< null where there is none

private:
    std::int32_t eventId = 0;
    std::string eventTime;
    bool isServiceEvent = false;
    std::string moduleName;
    std::string partNum;
    std::string phyLoc;
    std::string source;
    Json::Value variableData;
};
