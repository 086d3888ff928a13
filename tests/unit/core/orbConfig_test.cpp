#include "core/orbConfig.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/TemporaryRoot.h"

namespace {
constexpr char FILE_PATH[] = "/etc/config/vantor/orb/orb.conf";

class Config : public ::testing::Test {
protected:
    const orbConfig &read(const std::string &file) {
        root.write(FILE_PATH, file);
        return *orbConfig::getInstance();
    }
    /// A file that enables these resources, as a JSON list.
    const orbConfig &enabling(const std::string &list) {
        return read(R"({"Note": "", "EnableResources": )" + list + "}");
    }
    static std::string managers(const orbConfig &config) {
        std::string ids;
        for (int id = -1; id < 200; ++id)
            if (config.isResourceEnabled(id)) ids += std::to_string(id) + ' ';
        return ids;
    }
    TemporaryRoot root;
    CapturedSyslog syslog;
};
} // namespace

TEST_F(Config, OffersEverySetting) {
    const orbConfig &config = read(R"({
        "EnableResources": ["HostOSInfo"], "LoggingLevel": "Info", "EnableDebugLog": true,
        "CliMode": "inject", "CacheRefreshInSeconds": {"StorageControllers": 12},
        "PushInventoryFrequencyInMinutes": 11, "ORBLogLocation": "/var/log/a",
        "DebugLogLocation": "/var/log/b", "IPMIDoorBellMonitorInterval": 13,
        "InventoryQueryIntervalInSeconds": 14, "CaptureUnhandledExceptionStack": true,
        "SimulateUnhandledException": 6, "ForwardAllMegaRAIDCriticalOrHigherEvents": true,
        "ForwardAllSmartRAIDDegradedOrHigherEvents": true, "LogResourceManagerStatistics": true,
        "MicrochipEventQueueIndex": 15, "HealthMonitorFlags": 16})");
    EXPECT_TRUE(config.getDebugLogSettings());
    EXPECT_EQ(config.getTestEventSettings(), "inject");
    EXPECT_EQ(config.getSendTestEventSettings("inject"), 0);
    EXPECT_EQ(config.getInventoryPushIntervalSettings(), 11);
    EXPECT_EQ(config.getORBDebugLogFileLocation(), "/var/log/b");
    EXPECT_EQ(config.getORBLogFileLocation(), "/var/log/a");
    EXPECT_EQ(config.getORBLoggingLevel(), "Info");
    EXPECT_FALSE(orbConfig::isDefaultSettingsApplied());
    EXPECT_EQ(config.getDoorBellSleepInterval(), 13);
    EXPECT_TRUE(config.isUnhandledExceptionStackCaptureEnabled());
    EXPECT_EQ(config.getUnhandledExceptionToSimulate(), 6);
    EXPECT_TRUE(config.isForwardAllMegaRAIDCriticalOrHigherEventsEnabled());
    EXPECT_TRUE(config.isForwardAllSmartRAIDDegradedOrHigherEventsEnabled());
    EXPECT_EQ(config.getInventoryQueryInterval(), 14);
    EXPECT_TRUE(config.isRMStatisticsLoggingEnabled());
    EXPECT_EQ(config.getMicrochipEventQueueIndex(), 15);
    EXPECT_EQ(config.getHealthMonitorFlags(), 16);
    EXPECT_EQ(config.getrefreshInterval("StorageControllers"), 12);
    EXPECT_EQ(config.getrefreshInterval("EthernetDevices"), 3600);
    EXPECT_EQ(managers(config), "1 ");
}

TEST_F(Config, MissingFileGivesDefaults) {
    const orbConfig &config = *orbConfig::getInstance();
    EXPECT_TRUE(orbConfig::isDefaultSettingsApplied());
    EXPECT_FALSE(config.getDebugLogSettings());
    EXPECT_EQ(config.getTestEventSettings(), "test");
    EXPECT_EQ(config.getInventoryPushIntervalSettings(), 1440);
    EXPECT_EQ(config.getORBDebugLogFileLocation(), "syslog");
    EXPECT_EQ(config.getORBLogFileLocation(), "syslog");
    EXPECT_EQ(config.getORBLoggingLevel(), "Warning");
    EXPECT_EQ(config.getDoorBellSleepInterval(), 10);
    EXPECT_EQ(config.getInventoryQueryInterval(), 10);
    EXPECT_EQ(config.getUnhandledExceptionToSimulate(), 0);
    EXPECT_EQ(config.getrefreshInterval("FibreChannelDevices"), 30);
    EXPECT_EQ(managers(config), "0 1 2 3 ");
}

TEST_F(Config, DirectoryInPlaceOfTheFileGivesDefaults) {
    root.makeDirectory(FILE_PATH);
    EXPECT_EQ(orbConfig::getInstance()->getORBLoggingLevel(), "Warning");
    EXPECT_TRUE(orbConfig::isDefaultSettingsApplied());
}

TEST_F(Config, DefaultsAreNotSaidToApplyBeforeAnythingWasRead) {
    EXPECT_FALSE(orbConfig::isDefaultSettingsApplied());
}

TEST_F(Config, ReportsNothing) {
    read("no json");
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(Config, IsReadOnce) {
    const orbConfig *first = &read(R"({"Note": "", "LoggingLevel": "Info"})");
    EXPECT_EQ(&read(R"({"Note": "", "LoggingLevel": "Error"})"), first);
    EXPECT_EQ(first->getORBLoggingLevel(), "Info");
}

TEST_F(Config, FileOfOneMemberKeepsTheLevelAtWarning) {
    EXPECT_EQ(read(R"({"LoggingLevel":"Info"})").getORBLoggingLevel(), "Warning");
}

TEST_F(Config, EmptyListEnablesAllManagers) {
    EXPECT_EQ(managers(enabling("[]")), "0 1 2 3 ");
}
TEST_F(Config, FileWithoutTheKeyEnablesAllManagers) {
    EXPECT_EQ(managers(read(R"({"Note": "", "LoggingLevel": "Info"})")), "0 1 2 3 ");
}
TEST_F(Config, ListThatBreaksOffEnablesTheHostOnly) {
    EXPECT_EQ(managers(enabling(R"(["HostOSInfo","","StorageControllers"])")), "1 ");
}
TEST_F(Config, AllAnywhereInTheListEnablesEverything) {
    EXPECT_EQ(managers(enabling(R"(["HostOSInfo","all"])")), "0 1 2 3 ");
}
TEST_F(Config, ResourceWithoutManagerHasNoEffect) {
    const orbConfig &config = enabling(R"(["NVMeControllers"])");
    EXPECT_EQ(managers(config), "");
    EXPECT_TRUE(config.checkForResourceString("nvmecontrollers"));
}
TEST_F(Config, EachManagerHasItsId) {
    EXPECT_EQ(managers(enabling(R"(["FIBRECHANNELDEVICES"])")), "0 ");
}
TEST_F(Config, StorageAndEthernetHaveTheirIds) {
    EXPECT_EQ(managers(enabling(R"(["StorageControllers","EthernetDevices"])")), "2 3 ");
}

TEST_F(Config, UnknownNameHasNoIntervalAndStaysUnknown) {
    const orbConfig &config = *orbConfig::getInstance();
    EXPECT_EQ(config.getrefreshInterval("NoSuchName"), 0);
    EXPECT_EQ(config.getrefreshInterval("hostosinfo"), 0);
    EXPECT_EQ(config.getrefreshInterval(""), 0);
    EXPECT_EQ(config.getrefreshInterval("HostOSInfo"), 30);
}

TEST_F(Config, NumberOutOfRangeLeavesConfigurationAndLoggerUnset) {
    const std::string bad = R"({"Note": "", "HealthMonitorFlags": "9223372036854775808"})";
    try {
        read(bad);
        ADD_FAILURE() << "no exception";
    } catch (const std::out_of_range &fault) {
        EXPECT_STREQ(fault.what(), "stol");
    }
    EXPECT_THROW(CPlusPlusLogging::Logger::getInstance(), std::out_of_range);
    EXPECT_TRUE(syslog.lines().empty());
    root.write(FILE_PATH, R"({"Note": "", "LoggingLevel": "Info"})");
    EXPECT_EQ(CPlusPlusLogging::Logger::getInstance()->getLoglevel(), 2);
}

TEST_F(Config, ListOfTwoLeavesConfigurationUnset) {
    EXPECT_ANY_THROW(read(R"(["LoggingLevel", "Info"])"));
    EXPECT_EQ(read(R"({"Note": "", "LoggingLevel": "Info"})").getORBLoggingLevel(), "Info");
}
