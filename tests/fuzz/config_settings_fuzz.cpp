#include "core/config_settings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include <json/json.h>

#include "core/config_trace.h"

namespace {
void demand(bool holds) {
    if (!holds) std::abort();
}

/// The settings, nothing where the file ends the daemon. No other exception comes out.
std::optional<ORB_CONFIG_SETTINGS> read(const std::string &file, ORB_CONFIG_TRACE *trace) {
    std::istringstream in(file);
    ORB_CONFIG_SETTINGS settings;
    try {
        initConfigSettings(in, settings, trace);
    } catch (const std::out_of_range &) {
        return std::nullopt;
    } catch (const Json::Exception &) {
        return std::nullopt;
    }
    return settings;
}

/// What every reader of the settings relies on.
void check(const ORB_CONFIG_SETTINGS &settings) {
    demand(validateString(settings.loggingLevel, "LoggingLevel") == settings.loggingLevel);
    demand(validateString(settings.cliMode, "CliMode") == settings.cliMode);
    demand(!settings.logLocation.empty() && !settings.debugLogLocation.empty());
    demand(!settings.enabledResources.empty());
    demand(std::none_of(settings.enabledResources.begin(), settings.enabledResources.end(),
                        [](const std::string &name) { return name.empty(); }));
    demand(settings.refreshIntervalsS.size() == 7);
    for (const auto &[name, seconds] : settings.refreshIntervalsS) demand(seconds > 0);
    demand(settings.doorBellIntervalS > 0 && settings.inventoryPushIntervalMin > 0 &&
           settings.inventoryQueryIntervalS > 0);
    demand(settings.simulatedException >= -1);
    demand(settings.microchipEventQueueIndex >= 0 && settings.healthMonitorFlags >= 0);
    if (settings.defaultSettingsApplied) {
        ORB_CONFIG_SETTINGS defaults;
        setDefaultValues(defaults);
        demand(settings == defaults);
    }
}
} // namespace

/// Any bytes as a configuration file: the daemon's settings are always complete and valid, and the
/// checker sees exactly what the daemon does.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string file(reinterpret_cast<const char *>(data), size);
    ORB_CONFIG_TRACE trace;
    const auto settings = read(file, nullptr);
    const auto traced = read(file, &trace);
    demand(settings == traced);
    if (settings) check(*settings);

    std::istringstream in(file);
    const ORB_CONFIG_TRACE checked = check_config(in);
    demand((checked.fileVerdict == ORB_CONFIG_FILE_ENDS_PROCESS) == !settings.has_value());
    if (settings)
        demand((checked.fileVerdict == ORB_CONFIG_FILE_USED) != settings->defaultSettingsApplied);
    return 0;
}
