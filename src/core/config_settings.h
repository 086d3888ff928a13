#pragma once

#include <istream>
#include <map>
#include <string>
#include <vector>

/// The values of the configuration file, validated. Units stand in the names.
struct ORB_CONFIG_SETTINGS {
    bool debugLogEnabled = false;
    std::string cliMode;
    std::vector<std::string> enabledResources;
    std::string debugLogLocation;
    std::string logLocation;
    std::string loggingLevel;
    std::map<std::string, long> refreshIntervalsS; ///< seconds, by resource name
    bool captureExceptionStack = false;
    long simulatedException = 0;
    bool forwardMegaRAIDEvents = false;
    bool forwardSmartRAIDEvents = false;
    bool logStatistics = false;
    long doorBellIntervalS = 0;
    long inventoryPushIntervalMin = 0;
    long inventoryQueryIntervalS = 0;
    long microchipEventQueueIndex = 0;
    long healthMonitorFlags = 0;
    bool defaultSettingsApplied = false; ///< the file was missing or unusable
};
