#pragma once

#include <istream>
#include <map>
#include <string>
#include <vector>

struct ORB_CONFIG_TRACE;

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

    bool operator==(const ORB_CONFIG_SETTINGS &) const = default;
};

/// Equal lengths and, letter case of ASCII aside, equal characters.
bool isEquals(const std::string &one, const std::string &other);

/// The validators: what the daemon uses for a text of the file, "" for an absent key. They know a
/// setting by its validator's name, which isn't always the key's.

/// "LoggingLevel" takes Info, Error, Warning, else gives "Warning"; "CliMode" takes test, inject,
/// else gives "test". What is taken keeps its letters. Any other name gives "".
std::string validateString(const std::string &value, const std::string &name);
/// True for the text "true", in any letters, under a name that is a switch's.
bool validateBool(const std::string &value, const std::string &name);
/// A number above 0 that the text begins with, under a name that is a number's; otherwise the
/// name's default. Throws std::out_of_range for a number beyond 64 bits.
long validateNumerical(const std::string &value, const std::string &name);

/// The complete settings of a host without a usable file.
void setDefaultValues(ORB_CONFIG_SETTINGS &settings);
/// One text, through the numeric validator, as the refresh interval of every resource.
void setCommonCacheRefreshInterval(ORB_CONFIG_SETTINGS &settings, const std::string &text);

/// Reads a configuration file. A stream that is not good (a file that could not be opened), a text
/// that is no JSON and a root of fewer than 2 members give the defaults. Pure: no log; any thread.
/// Throws std::out_of_range for a number beyond 64 bits and jsoncpp's exception for a root that is
/// an array of 2 or more.
/// @param settings  replaced; what it holds after an exception is of no use
/// @param trace     null, or takes where each value comes from. With it every key is looked at
///                  before the first exception goes on its way
void initConfigSettings(std::istream &in, ORB_CONFIG_SETTINGS &settings,
                        ORB_CONFIG_TRACE *trace = nullptr);
