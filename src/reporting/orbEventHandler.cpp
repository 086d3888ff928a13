#include "reporting/orbEventHandler.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "core/Logger.h"
#include "core/json_text.h"
#include "core/orbThread.h"
#include "core/orbUtils.h"
#include "reporting/orbJsonAggregator.h"
#include "reporting/orbipmi.h"

namespace {
// Reports of how the host booted and shut down, which can't wait for the first inventory.
constexpr int BEFORE_FIRST_INVENTORY[] = {356, 359, 360, 434, 435};

constexpr std::string_view NO_LOCATION[] = {"", "Not Applicable", "Not Available", "NotApplicable",
                                            "NotAvailable"};

template <typename Table, typename Value> bool holds(const Table &table, const Value &value) {
    return std::find(std::begin(table), std::end(table), value) != std::end(table);
}
} // namespace

Json::Value event_object(const orbEvent &event, const ORB_EVENT_HOST &host) {
    Json::Value object;
    object["HostName"] = host.hostName;
    object["OSVersion"] = host.osVersion;
    object["OSType"] = host.osType;
    if (!host.primaryAddress.empty()) {
        Json::Value address;
        address["Address"] = host.primaryAddress;
        object["IPv4Addresses"].append(std::move(address));
    }
    object["ID"] = event.getEventID();
    object["Source"] = event.getSource();
    object["EventTime"] = event.getEventTime();
    if (const std::string location = event.getPhyLoc(); !holds(NO_LOCATION, location))
        object["PhysicalLocation"] = location;
    if (Json::Value data = event.getVariableData(); !data.isNull())
        object["VariableData"] = std::move(data);
    return object;
}

void orbEventHandler::generateEvent(orbEvent event) {
    if (!orbJsonAggregator::getInstance().isInventorySent() &&
        !holds(BEFORE_FIRST_INVENTORY, event.getEventID()))
        return;

    orbThread delivery("event delivery");
    if (delivery.create(startEventGeneration, &event) != 0) {
        ORB_LOG_ERROR(EVT_HANDLER, "Unable to spawn a thread to handle event.");
        return;
    }
    (void)delivery.join(); // it was created just now, so there is nothing that could fail
}

int orbEventHandler::sendEventToRMC(const std::string &text) {
    ipmi::IPMIUtils ipmi;
    const int rc = ipmi.RMC_CLI_Cmd_Execution("MPEventGen", text);
    if (rc == 1)
        ORB_LOG_ERROR(EVT_HANDLER, "FAILURE in logging event to RMC");
    else
        ORB_LOG_DEBUG(EVT_HANDLER, "SUCCESS in delivering event to RMC");
    return rc;
}

void *startEventGeneration(void *event) {
    ORB_EVENT_HOST host;
    host.hostName = orbUtils::readHostName();
    host.osVersion = orbUtils::readHostOSVersion();
    (void)orbUtils::getOSType(&host.osType); // always 1
    host.primaryAddress = orbUtils::getPrimaryIPAddress();

    const std::string text = compact_json(event_object(*static_cast<orbEvent *>(event), host));
    ORB_LOG_INFO(EVT_HANDLER, text);
    (void)orbEventHandler().sendEventToRMC(text); // logged there; a lost event isn't sent again
    return nullptr;
}
