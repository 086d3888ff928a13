#include "core/orbConfig.h"

#include <algorithm>
#include <fstream>

#include "hostaccess/orbHostFiles.h"

namespace {
constexpr char CONFIG_FILE[] = "/etc/config/vantor/orb/orb.conf";
}

constinit std::atomic<bool> orbConfig::defaultSettingsApplied{false};

orbConfig *orbConfig::getInstance() {
    static orbConfig *const _orbConfig = new orbConfig();
    return _orbConfig;
}

orbConfig::orbConfig() {
    std::ifstream file(IorbHostFiles::get().map(CONFIG_FILE));
    initConfigSettings(file, settings);
    if (settings.defaultSettingsApplied) defaultSettingsApplied = true;
}

bool orbConfig::isResourceEnabled(int id) const {
    switch (id) {
    case 0:
        return checkForResourceString("FibreChannelDevices");
    case 1:
        return checkForResourceString("HostOSInfo");
    case 2:
        return checkForResourceString("StorageControllers");
    case 3:
        return checkForResourceString("EthernetDevices");
    default:
        return false;
    }
}

bool orbConfig::checkForResourceString(const std::string &name) const {
    return std::any_of(
        settings.enabledResources.begin(), settings.enabledResources.end(),
        [&](const std::string &entry) { return isEquals(entry, name) || isEquals(entry, "All"); });
}

bool orbConfig::isDefaultSettingsApplied() {
    return defaultSettingsApplied;
}

long orbConfig::getrefreshInterval(const std::string &name) const {
    const auto found = settings.refreshIntervalsS.find(name);
    return found == settings.refreshIntervalsS.end() ? 0 : found->second;
}
