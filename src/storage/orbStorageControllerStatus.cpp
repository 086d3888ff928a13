#include "storage/orbStorageController.h"

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "hostaccess/orbHostClock.h"
#include "physloc/orbPhysLocInterface.h"
#include "storage/SASResourceManager.h"
#include "storage/scsi_hosts.h"

using Lock = orbMutexLocker<std::recursive_mutex>;

namespace {
constexpr int CONTROLLER_OK = 397, CONTROLLER_CRITICAL = 398;
constexpr int DRIVE_GONE = 538, DRIVE_PREDICTS_FAILURE = 539, DRIVE_RUNS = 540;
constexpr std::int32_t LAST_EVENT_OK = 0, LAST_EVENT_CRITICAL = 1;

bool is_location(const std::string &location) {
    return !location.empty() && location != UNKNOWN_LOCATION;
}

/// "[CurrState=..., PrevState=..., CurrHealth=..., PrevHealth=...]", as every message tells a
/// change.
std::string change_text(orbStatusInfo &current, orbStatusInfo &previous) {
    return format_text("CurrState=%s, PrevState=%s, CurrHealth=%s, PrevHealth=%s",
                       state_text(current.getState()), state_text(previous.getState()),
                       health_text(current.getHealth()), health_text(previous.getHealth()));
}
} // namespace

void orbStorageController::discoverControllerPortStatus(orbStorageControllerPortInfo &port) {
    const std::string path = port.getOSInstanceName();
    const HEAP_TEXT text = read_host_attribute(path, "state");
    if (!text) {
        port.setState(ORB_STATE_OFFLINE);
        port.setHealth(ORB_HEALTH_CRITICAL);
        return;
    }
    const ORB_PORT_STATUS status =
        judge_port(text.get(), port.getLastRecoveryTimestamp(), IorbHostClock::get().now());
    port.setState(status.state);
    port.setHealth(status.health);
    port.setLastRecoveryTimestamp(status.recoverySince);
    if (status.news == ORB_RECOVERY_BEGAN)
        ORB_LOG_DEBUG(STOR_CTLR,
                      format_text("Controller port [%s] went into recovery mode.", path.c_str()));
    else if (status.news == ORB_RECOVERY_LONG)
        ORB_LOG_DEBUG(STOR_CTLR,
                      format_text("Controller port [%s] in recovery mode for atleast 60 seconds.",
                                  path.c_str()));
}

int orbStorageController::computeControllerStatus() {
    const Lock lock(mutex);
    const std::vector<orbStorageControllerPortInfo> ports =
        controllerInventory.getControllerPortVector();
    const std::size_t most = getMaxSupportedControllerPorts();
    ORB_PORT_COUNTS counts;
    for (std::size_t index = 0; index < (most != 0 ? most : ports.size()); ++index) {
        // A port that the hardware has and the kernel doesn't show is a port that is down.
        orbStorageControllerPortInfo port;
        port.setState(ORB_STATE_OFFLINE);
        if (index < ports.size()) port = ports[index];
        counts.add(port.getState());
    }
    const ORB_CONTROLLER_STATUS status = judge_controller(counts);
    controllerInventory.setState(status.state);
    controllerInventory.setHealth(status.health);
    controllerInventory.setEventInfoString(
        status.info != STORAGE_EVENT_INFO_NONE ? formatControllerEventInfoString(status.info) : "");
    return 0;
}

std::string orbStorageController::formatControllerEventInfoString(STORAGE_EVENT_INFO_TYPE type) {
    if (type == STORAGE_EVENT_INFO_ALL_ONLINE)
        return "The storage controller port(s) are now online.";
    if (type != STORAGE_EVENT_INFO_OUT_OF_USE) return "";
    const std::size_t ports = getInventory().getControllerPortListSize();
    if (ports == 0) return "";
    if (ports == 1)
        return "The storage controller port has gone offline or will be removed from the system, "
               "or has been in recovery state for >= 60 seconds.";
    return format_text("At least %zu of %zu ports of the storage controller have gone offline or "
                       "will be removed from the system, or have been in recovery state for >= 60 "
                       "seconds.",
                       ports - 1, ports);
}

bool orbStorageController::generateEventOnStatusChange() {
    orbStorageControllerInfo &current = controllerInventory, &previous = lastControllerInventory;
    const ORB_RESOURCE_HEALTH from = previous.getHealth(), to = current.getHealth();
    const std::string location = current.getPhysicalLocation();
    if (from == to || !is_location(location) || location != previous.getPhysicalLocation())
        return false;
    if (previous.getState() == ORB_STATE_UNKNOWN) return false; // the first status is no change

    const std::string change = change_text(current, previous);
    ORB_LOG_INFO(STOR_CTLR, format_text("%s: Detected controller status change. [%s]",
                                        pciLocation.c_str(), change.c_str()));
    // The last event keeps the two kinds alternating across a warning, which raises none itself.
    const bool recovered =
        to == ORB_HEALTH_OK &&
        (from == ORB_HEALTH_CRITICAL ||
         (from == ORB_HEALTH_WARNING && lastControllerEventCritical != LAST_EVENT_OK));
    const bool failed =
        to == ORB_HEALTH_CRITICAL &&
        (from == ORB_HEALTH_OK ||
         (from == ORB_HEALTH_WARNING && lastControllerEventCritical != LAST_EVENT_CRITICAL));
    if (!recovered && !failed) {
        ORB_LOG_INFO(STOR_CTLR,
                     format_text("%s: Event not generated for controller status change. [%s]",
                                 pciLocation.c_str(), change.c_str()));
        return false;
    }
    lastControllerEventCritical = failed ? LAST_EVENT_CRITICAL : LAST_EVENT_OK;
    SASResourceManager::generateEvent(failed ? CONTROLLER_CRITICAL : CONTROLLER_OK, location,
                                      failed, controllerInventory);
    return true;
}

bool orbStorageController::generateEventOnStatusChange(orbDiskInfo &current,
                                                       orbDiskInfo &previous) {
    const ORB_RESOURCE_STATE from = previous.getState(), to = current.getState();
    if (from == to) return false; // health alone is no change of a drive

    const std::string change = change_text(current, previous);
    const std::string oldLocation = previous.getPhysicalLocation();
    const std::string newLocation = current.getPhysicalLocation();
    if (!is_location(oldLocation) && !is_location(newLocation)) {
        ORB_LOG_DEBUG(STOR_CTLR,
                      format_text("%s: Invalid physical location detected. [OldLoc=%s, NewLoc=%s, "
                                  "%s]",
                                  pciLocation.c_str(), oldLocation.c_str(), newLocation.c_str(),
                                  change.c_str()));
        return false;
    }
    const std::string &location = is_location(newLocation) ? newLocation : oldLocation;
    ORB_LOG_INFO(STOR_CTLR, format_text("%s: %s - Detected disk status change. [%s]",
                                        pciLocation.c_str(), location.c_str(), change.c_str()));
    if (to == ORB_STATE_RUNNING) {
        current.setEventInfoString("");
        SASResourceManager::generateEvent(DRIVE_RUNS, location, false, current);
    } else if (to == ORB_STATE_PREDICTIVE_FAILURE) {
        SASResourceManager::generateEvent(DRIVE_PREDICTS_FAILURE, location, true, current);
    } else if (to == ORB_STATE_FAILED ||
               (to == ORB_STATE_OFFLINE &&
                (from == ORB_STATE_PREDICTIVE_FAILURE || from == ORB_STATE_RUNNING))) {
        SASResourceManager::generateEvent(DRIVE_GONE, location, true, current);
    } else {
        ORB_LOG_INFO(STOR_CTLR, format_text("%s: Event not generated for disk status change.",
                                            pciLocation.c_str()));
        return false;
    }
    return true;
}
