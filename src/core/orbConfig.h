#pragma once

#include <atomic>
#include <string>

#include "core/config_settings.h"

/// The daemon's settings, read once from "/etc/config/vantor/orb/orb.conf" (mapped by host access)
/// and constant afterwards, so that any thread may read them. Nothing is reported: every value that
/// isn't accepted is replaced by a default. Created on first use, on the heap, never destroyed.
/// Two faults of the file leave the constructor as exceptions: a number out of range
/// (`std::out_of_range`) and a root that is an array of two or more (jsoncpp's).
class orbConfig {
public:
    static orbConfig *getInstance();

    bool getDebugLogSettings() const { return settings.debugLogEnabled; }
    std::string getTestEventSettings() const { return settings.cliMode; }
    int getSendTestEventSettings(std::string) const { return 0; }
    long getInventoryPushIntervalSettings() const { return settings.inventoryPushIntervalMin; }
    /// Whether a resource id has a manager that is wanted; false for every id outside 0 to 3.
    bool isResourceEnabled(int id) const;
    /// Whether the list of resources names this one or "All", in any letters.
    bool checkForResourceString(const std::string &name) const;
    std::string getORBDebugLogFileLocation() const { return settings.debugLogLocation; }
    std::string getORBLogFileLocation() const { return settings.logLocation; }
    std::string getORBLoggingLevel() const { return settings.loggingLevel; }
    static bool isDefaultSettingsApplied(); ///< the file was missing or unusable
    long getDoorBellSleepInterval() const { return settings.doorBellIntervalS; }
    bool isUnhandledExceptionStackCaptureEnabled() const { return settings.captureExceptionStack; }
    long getUnhandledExceptionToSimulate() const { return settings.simulatedException; }
    bool isForwardAllMegaRAIDCriticalOrHigherEventsEnabled() const {
        return settings.forwardMegaRAIDEvents;
    }
    bool isForwardAllSmartRAIDDegradedOrHigherEventsEnabled() const {
        return settings.forwardSmartRAIDEvents;
    }
    long getInventoryQueryInterval() const { return settings.inventoryQueryIntervalS; }
    bool isRMStatisticsLoggingEnabled() const { return settings.logStatistics; }
    long getMicrochipEventQueueIndex() const { return settings.microchipEventQueueIndex; }
    long getHealthMonitorFlags() const { return settings.healthMonitorFlags; }
    /// Seconds between two builds of a resource's cache; 0 for a name that isn't a resource's.
    long getrefreshInterval(const std::string &name) const;

private:
    orbConfig();

    static std::atomic<bool> defaultSettingsApplied; // the constructor sets it, never cleared

    ORB_CONFIG_SETTINGS settings; // written by the constructor alone
};
