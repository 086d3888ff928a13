#include "reporting/orbEvent.h"

orbEvent::orbEvent(int id, std::string physicalLocation, std::string module, bool service,
                   std::string time, std::string partNumber, std::string raisedBy)
    : eventId(id), eventTime(std::move(time)), isServiceEvent(service),
      moduleName(std::move(module)), partNum(std::move(partNumber)),
      phyLoc(std::move(physicalLocation)), source(std::move(raisedBy)) {}

orbEvent::orbEvent(int id, std::string module, bool service, std::string time, Json::Value data,
                   std::string raisedBy)
    : eventId(id), eventTime(std::move(time)), isServiceEvent(service),
      moduleName(std::move(module)), source(std::move(raisedBy)), variableData(std::move(data)) {}

orbEvent::orbEvent(int id, std::string physicalLocation, std::string module, bool service,
                   std::string time, std::string partNumber, Json::Value data, std::string raisedBy)
    : eventId(id), eventTime(std::move(time)), isServiceEvent(service),
      moduleName(std::move(module)), partNum(std::move(partNumber)),
      phyLoc(std::move(physicalLocation)), source(std::move(raisedBy)),
      variableData(std::move(data)) {}
