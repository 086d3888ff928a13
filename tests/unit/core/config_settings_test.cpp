#include "core/config_settings.h"

#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>

namespace {
ORB_CONFIG_SETTINGS settings_of(const std::string &file) {
    std::istringstream in(file);
    ORB_CONFIG_SETTINGS settings;
    initConfigSettings(in, settings);
    return settings;
}

/// A usable file that holds the key, or without text none of the daemon's keys.
std::string file_with(const std::string &key, const std::string &json) {
    return R"({"Note": "", "Site": "")" + (json.empty() ? "" : ", \"" + key + "\": " + json) + "}";
}

ORB_CONFIG_SETTINGS defaults() {
    ORB_CONFIG_SETTINGS settings;
    setDefaultValues(settings);
    return settings;
}

std::string list(const std::vector<std::string> &entries) {
    std::string text;
    for (const std::string &entry : entries) text += '[' + entry + ']';
    return text;
}

const char *const RESOURCES[] = {"FibreChannelDevices", "StorageControllers", "NVMeControllers",
                                 "HostOSInfo",          "EthernetDevices",    "GPUDevices",
                                 "InfiniBandDevices"};

std::string intervals(const ORB_CONFIG_SETTINGS &settings) {
    std::string text;
    for (const char *name : RESOURCES)
        text += std::to_string(settings.refreshIntervalsS.at(name)) + ' ';
    EXPECT_EQ(settings.refreshIntervalsS.size(), std::size(RESOURCES));
    return text;
}
constexpr char ALL_30[] = "30 30 30 30 30 30 30 ";
constexpr char ALL_3600[] = "3600 3600 3600 3600 3600 3600 3600 ";
constexpr char ALL_45[] = "45 45 45 45 45 45 45 ";

std::string flag(bool value) {
    return value ? "true" : "false";
}

/// One key: what the daemon uses without a usable file, without the key, with values that are not
/// accepted and with one that is.
struct KeyCase {
    const char *key;
    std::function<std::string(const ORB_CONFIG_SETTINGS &)> value;
    const char *unusable;
    const char *absent;
    std::vector<const char *> rejected; // JSON; all give what an absent key gives
    const char *accepted;               // JSON
    const char *taken;
};
using S = ORB_CONFIG_SETTINGS;
KeyCase flag_case(const char *key, bool S::*field) {
    return {key,
            [field](const S &settings) { return flag(settings.*field); },
            "false",
            "false",
            {R"("")", R"("false")", R"("yes")", R"("1")", "1", "false", "null", R"("true ")",
             R"([true])", R"({"true": true})"},
            "true",
            "true"};
}
KeyCase number_case(const char *key, long S::*field, const char *unusable, const char *absent) {
    return {key,
            [field](const S &settings) { return std::to_string(settings.*field); },
            unusable,
            absent,
            {R"("")", R"("0")", "0", R"("-5")", "-5", R"("abc")", R"("0x10")", "true", "null",
             R"(" ")", R"("-9223372036854775808")", "[45]", R"({"45": 45})"},
            R"("45")",
            "45"};
}
const KeyCase KEY_CASES[] = {
    {"EnableResources",
     [](const S &settings) { return list(settings.enabledResources); },
     "[All]",
     "[All]",
     {"[]", R"([""])", R"("HostOSInfo")", "7", "null", R"({"HostOSInfo": true, "b": 1})",
      R"([["HostOSInfo"]])", R"([{}, "HostOSInfo"])", R"([null, "HostOSInfo"])"},
     R"(["HostOSInfo", "EthernetDevices"])",
     "[HostOSInfo][EthernetDevices]"},
    {"LoggingLevel",
     [](const S &settings) { return settings.loggingLevel; },
     "Warning",
     "Warning",
     {R"("")", R"("debug")", R"("Information")", R"("Info ")", "2", "true", "null", "[]",
      R"({"Info": 1})"},
     R"("Error")",
     "Error"},
    flag_case("EnableDebugLog", &S::debugLogEnabled),
    {"CliMode",
     [](const S &settings) { return settings.cliMode; },
     "test",
     "test",
     {R"("")", R"("live")", "1", "null", R"(["inject"])", "{}"},
     R"("inject")",
     "inject"},
    {"CacheRefreshInSeconds",
     intervals,
     ALL_30,
     ALL_3600,
     {"{}", "60", R"("60")", "null", "true", "[60, 60]", R"({"Global": "0"})",
      R"({"Global": "-1"})", R"({"Global": "abc"})", R"({"Global": 0})", R"({"Global": ""})",
      R"({"Global": {}})", R"({"Global": [45]})", R"({"Everything": "45"})"},
     R"({"Global": "45"})",
     ALL_45},
    number_case("PushInventoryFrequencyInMinutes", &S::inventoryPushIntervalMin, "1440", "1440"),
    {"ORBLogLocation",
     [](const S &settings) { return settings.logLocation; },
     "syslog",
     "syslog",
     {R"("")", "null", "[]", R"(["/var/log/orb.log"])", R"({"path": "/var/log/orb.log"})"},
     R"("/var/log/orb.log")",
     "/var/log/orb.log"},
    {"DebugLogLocation",
     [](const S &settings) { return settings.debugLogLocation; },
     "syslog",
     "syslog",
     {R"("")", "null", "{}", R"(["/var/log/debug.log"])"},
     R"("/var/log/debug.log")",
     "/var/log/debug.log"},
    number_case("IPMIDoorBellMonitorInterval", &S::doorBellIntervalS, "10", "10"),
    number_case("InventoryQueryIntervalInSeconds", &S::inventoryQueryIntervalS, "10", "10"),
    flag_case("CaptureUnhandledExceptionStack", &S::captureExceptionStack),
    number_case("SimulateUnhandledException", &S::simulatedException, "0", "-1"),
    flag_case("ForwardAllMegaRAIDCriticalOrHigherEvents", &S::forwardMegaRAIDEvents),
    flag_case("ForwardAllSmartRAIDDegradedOrHigherEvents", &S::forwardSmartRAIDEvents),
    flag_case("LogResourceManagerStatistics", &S::logStatistics),
    number_case("MicrochipEventQueueIndex", &S::microchipEventQueueIndex, "0", "0"),
    number_case("HealthMonitorFlags", &S::healthMonitorFlags, "0", "0"),
};
void PrintTo(const KeyCase &row, std::ostream *os) {
    *os << row.key;
}
class ConfigKey : public ::testing::TestWithParam<KeyCase> {};

struct UnusableCase {
    const char *name;
    std::string file;
};
const UnusableCase UNUSABLE_CASES[] = {
    {"Empty", ""},
    {"BlanksOnly", " \n\t "},
    {"Binary", std::string("\x7F"
                           "ELF\0\1\xFF\xFE{",
                           9)},
    {"ZeroBytes", std::string(4096, '\0')},
    {"CutOff", R"({"LoggingLevel": "Info", "EnableDebugLog": "tr)"},
    {"NoJson", "LoggingLevel=Info\nEnableDebugLog=true\n"},
    {"MissingComma", R"({"LoggingLevel": "Info" "EnableDebugLog": "true"})"},
    {"OneMember", R"({"LoggingLevel": "Info"})"},
    {"NoMember", "{}"},
    {"OneElement", R"(["LoggingLevel"])"},
    {"NoElement", "[]"},
    {"Text", R"("LoggingLevel, EnableDebugLog")"},
    {"Number", "12345"},
    {"Null", "null"},
    {"True", "true"},
    {"NestedTooDeep", R"({"LoggingLevel": "Info", "Deep": )" + std::string(1001, '[') +
                          std::string(1001, ']') + "}"},
};
void PrintTo(const UnusableCase &row, std::ostream *os) {
    *os << row.name;
}
class UnusableConfig : public ::testing::TestWithParam<UnusableCase> {};

struct NumberCase {
    const char *name;
    const char *text;
    long value; // under "CacheRefreshInterval", whose default is 3600
};
const NumberCase NUMBER_CASES[] = {
    {"Plain", "12", 12},
    {"TrailingLetters", "12abc", 12},
    {"TrailingFraction", "12.7", 12},
    {"LeadingBlanks", " \t\n12", 12},
    {"PlusSign", "+12", 12},
    {"LeadingZerosAreNotOctal", "0012", 12},
    {"RealAsTheParserPrintsIt", "1000.0", 1000},
    {"Largest", "9223372036854775807", 9223372036854775807},
    {"HexadecimalIsZero", "0x10", 3600},
    {"Zero", "0", 3600},
    {"Negative", "-5", 3600},
    {"Smallest", "-9223372036854775808", 3600},
    {"Letters", "abc", 3600},
    {"SignAlone", "-", 3600},
    {"BlanksAlone", "  ", 3600},
    {"Empty", "", 3600},
};
void PrintTo(const NumberCase &row, std::ostream *os) {
    *os << row.name;
}
class NumericValidator : public ::testing::TestWithParam<NumberCase> {};
} // namespace

TEST_P(ConfigKey, WithoutUsableFile) {
    EXPECT_EQ(GetParam().value(settings_of("")), GetParam().unusable);
}
TEST_P(ConfigKey, Absent) {
    EXPECT_EQ(GetParam().value(settings_of(file_with(GetParam().key, ""))), GetParam().absent);
}
TEST_P(ConfigKey, Rejected) {
    for (const char *json : GetParam().rejected)
        EXPECT_EQ(GetParam().value(settings_of(file_with(GetParam().key, json))), GetParam().absent)
            << json;
}
TEST_P(ConfigKey, Accepted) {
    EXPECT_EQ(GetParam().value(settings_of(file_with(GetParam().key, GetParam().accepted))),
              GetParam().taken);
}
TEST_P(ConfigKey, AcceptedKeyLeavesAllOthersAtTheirDefaults) {
    ORB_CONFIG_SETTINGS other = settings_of(file_with(GetParam().key, GetParam().accepted));
    const ORB_CONFIG_SETTINGS absent = settings_of(file_with("", ""));
    for (const KeyCase &row : KEY_CASES) {
        if (row.key == GetParam().key) continue;
        EXPECT_EQ(row.value(other), row.value(absent)) << row.key;
    }
    EXPECT_FALSE(other.defaultSettingsApplied);
}
INSTANTIATE_TEST_SUITE_P(Keys, ConfigKey, ::testing::ValuesIn(KEY_CASES),
                         [](const auto &row) { return std::string(row.param.key); });

TEST_P(UnusableConfig, GivesAllDefaults) {
    const ORB_CONFIG_SETTINGS settings = settings_of(GetParam().file);
    EXPECT_EQ(settings, defaults());
    EXPECT_TRUE(settings.defaultSettingsApplied);
}
INSTANTIATE_TEST_SUITE_P(Files, UnusableConfig, ::testing::ValuesIn(UNUSABLE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(NumericValidator, GivesNumberOrDefault) {
    EXPECT_EQ(validateNumerical(GetParam().text, "CacheRefreshInterval"), GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(Texts, NumericValidator, ::testing::ValuesIn(NUMBER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(NumericNames, SixteenAreKnownWithTheirDefaults) {
    const std::pair<const char *, long> names[] = {
        {"CacheRefreshInterval", 3600},
        {"RMCCacheSendInterval", 1440},
        {"IPMIDBSleepInterval", 10},
        {"SimulateUnhandledException", -1},
        {"InventoryQueryIntervalInSeconds", 10},
        {"ProcessorSamplingRateInSeconds", -1},
        {"MemorySamplingRateInSeconds", -1},
        {"NetworkSamplingRateInSeconds", -1},
        {"StorageSamplingRateInSeconds", -1},
        {"NumastatSamplingRateInSeconds", -1},
        {"TelemetrySendIntervalInSeconds", -1},
        {"TelemetrySchemaOption", -1},
        {"TelemetryDBIntervalInSeconds", -1},
        {"MicrochipEventQueueIndex", 0},
        {"HealthMonitorFlags", 0},
        {"FileServiceSendIntervalInSeconds", -1},
    };
    for (const auto &[name, rejected] : names) {
        EXPECT_EQ(validateNumerical("7", name), 7) << name;
        EXPECT_EQ(validateNumerical("0", name), rejected) << name;
        EXPECT_EQ(validateNumerical("", name), rejected) << name;
    }
}
TEST(NumericNames, OtherNamesGiveMinusOneWhateverTheText) {
    EXPECT_EQ(validateNumerical("7", "PushInventoryFrequencyInMinutes"), -1);
    EXPECT_EQ(validateNumerical("7", "cacherefreshinterval"), -1);
    EXPECT_EQ(validateNumerical("99999999999999999999", ""), -1);
    EXPECT_EQ(validateNumerical("", "Volume"), -1);
}
TEST(NumericNames, NumberOutOfRangeLeavesAsException) {
    for (const char *text :
         {"9223372036854775808", "-9223372036854775809", "99999999999999999999x"})
        try {
            validateNumerical(text, "HealthMonitorFlags");
            ADD_FAILURE() << text;
        } catch (const std::out_of_range &fault) {
            EXPECT_STREQ(fault.what(), "stol");
        }
}

TEST(SwitchNames, EightAreKnown) {
    for (const char *name :
         {"EnableDebugLog", "CaptureUnhandledExceptionStack",
          "ForwardAllMegaRAIDCriticalOrHigherEvents", "ForwardAllSmartRAIDDegradedOrHigherEvents",
          "EnableTelemetryLogging", "EnableTelemetryDataCollection", "LogResourceManagerStatistics",
          "EnableTelemetryDoorBell"}) {
        EXPECT_TRUE(validateBool("true", name)) << name;
        EXPECT_TRUE(validateBool("TRUE", name)) << name;
        EXPECT_TRUE(validateBool("tRuE", name)) << name;
        EXPECT_FALSE(validateBool("", name)) << name;
        EXPECT_FALSE(validateBool("true1", name)) << name;
        EXPECT_FALSE(validateBool("t", name)) << name;
    }
}
TEST(SwitchNames, OtherNamesAreFalse) {
    EXPECT_FALSE(validateBool("true", "CliMode"));
    EXPECT_FALSE(validateBool("true", "enabledebuglog"));
    EXPECT_FALSE(validateBool("true", ""));
}

TEST(StringValidator, KeepsTheLettersOfWhatItTakes) {
    for (const char *level : {"Info", "INFO", "eRRor", "warning"})
        EXPECT_EQ(validateString(level, "LoggingLevel"), level);
    for (const char *mode : {"test", "TEST", "Inject"})
        EXPECT_EQ(validateString(mode, "CliMode"), mode);
}
TEST(StringValidator, OtherNamesGiveNothing) {
    EXPECT_EQ(validateString("Info", "ORBLogLocation"), "");
    EXPECT_EQ(validateString("Info", "logginglevel"), "");
    EXPECT_EQ(validateString("", ""), "");
}

TEST(NamesAreEqual, WhateverTheirLetterCase) {
    EXPECT_TRUE(isEquals("", ""));
    EXPECT_TRUE(isEquals("All", "aLL"));
    EXPECT_FALSE(isEquals("All", "Al"));
    EXPECT_FALSE(isEquals("Al", "All"));
    EXPECT_FALSE(isEquals("", "a"));
    EXPECT_FALSE(isEquals("@[`{", "`{@["));         // neighbours of the letters
    EXPECT_FALSE(isEquals("\xC3\x84", "\xC3\xA4")); // bytes above 127 are no letters
    EXPECT_TRUE(isEquals("\xFF\xC3", "\xFF\xC3"));
}

TEST(ConfigResources, FirstEmptyEntryEndsTheList) {
    const auto read = [](const char *json) {
        return list(settings_of(file_with("EnableResources", json)).enabledResources);
    };
    EXPECT_EQ(read(R"(["HostOSInfo", "", "StorageControllers"])"), "[HostOSInfo]");
    EXPECT_EQ(read(R"(["HostOSInfo", {}, "StorageControllers"])"), "[HostOSInfo]");
    EXPECT_EQ(read(R"(["HostOSInfo", null, "StorageControllers"])"), "[HostOSInfo]");
    EXPECT_EQ(read(R"(["HostOSInfo", "all"])"), "[HostOSInfo][all]");
    EXPECT_EQ(read(R"(["aLL", "HostOSInfo"])"), "[All]");
    EXPECT_EQ(read(R"(["NVMeControllers", 7, true])"), "[NVMeControllers][7][true]");
}

TEST(ConfigIntervals, EachResourceHasItsOwn) {
    const auto settings = settings_of(file_with("CacheRefreshInSeconds", R"({
        "FibreChannelDevices": "11", "StorageControllers": 12, "NVMeControllers": "13s",
        "HostOSInfo": "0", "EthernetDevices": "15", "GPUDevices": {}})"));
    EXPECT_EQ(intervals(settings), "11 12 13 3600 15 3600 3600 ");
}
TEST(ConfigIntervals, CommonOneHidesTheOthers) {
    const auto settings = settings_of(file_with("CacheRefreshInSeconds", R"({
        "Global": "45", "StorageControllers": 12, "EthernetDevices": "x"})"));
    EXPECT_EQ(intervals(settings), ALL_45);
}
TEST(ConfigIntervals, RejectedCommonOneStillHidesTheOthers) {
    const auto settings = settings_of(file_with("CacheRefreshInSeconds", R"({
        "Global": "0", "StorageControllers": 12})"));
    EXPECT_EQ(intervals(settings), ALL_3600);
}
TEST(ConfigIntervals, HiddenNumberOutOfRangeIsNeverRead) {
    const auto settings = settings_of(file_with("CacheRefreshInSeconds", R"({
        "Global": "45", "StorageControllers": "99999999999999999999"})"));
    EXPECT_EQ(intervals(settings), ALL_45);
}
TEST(ConfigIntervals, EmptyCommonOneHidesNothing) {
    const auto settings = settings_of(file_with("CacheRefreshInSeconds", R"({
        "Global": "", "StorageControllers": 12})"));
    EXPECT_EQ(settings.refreshIntervalsS.at("StorageControllers"), 12);
}
TEST(ConfigIntervals, CommonTextIsConvertedOnce) {
    ORB_CONFIG_SETTINGS settings;
    setCommonCacheRefreshInterval(settings, "45abc");
    EXPECT_EQ(intervals(settings), ALL_45);
    setCommonCacheRefreshInterval(settings, "nothing");
    EXPECT_EQ(intervals(settings), ALL_3600);
}

TEST(ConfigFile, StreamThatIsNotGoodCountsAsMissing) {
    std::istringstream in(R"({"LoggingLevel": "Info", "CliMode": "inject"})");
    in.setstate(std::ios::failbit);
    ORB_CONFIG_SETTINGS settings;
    initConfigSettings(in, settings);
    EXPECT_EQ(settings, defaults());
}
TEST(ConfigFile, TwoKeysOfWhichOneIsUnknownAreUsed) {
    const auto settings = settings_of(R"({"LoggingLevel": "Info", "Volume": "11"})");
    EXPECT_EQ(settings.loggingLevel, "Info");
    EXPECT_EQ(intervals(settings), ALL_3600);
    EXPECT_EQ(settings.simulatedException, -1);
    EXPECT_FALSE(settings.defaultSettingsApplied);
}
TEST(ConfigFile, SettingsFromBeforeAreDropped) {
    ORB_CONFIG_SETTINGS settings = settings_of(file_with("CliMode", R"("inject")"));
    std::istringstream in("{}");
    initConfigSettings(in, settings);
    EXPECT_EQ(settings, defaults());
}
TEST(ConfigFile, NumbersAndSwitchesServeAsWellAsTexts) {
    const auto settings = settings_of(R"({"EnableDebugLog": true, "HealthMonitorFlags": 5,
        "PushInventoryFrequencyInMinutes": 1e3, "IPMIDoorBellMonitorInterval": 12.9})");
    EXPECT_TRUE(settings.debugLogEnabled);
    EXPECT_EQ(settings.healthMonitorFlags, 5);
    EXPECT_EQ(settings.inventoryPushIntervalMin, 1000);
    EXPECT_EQ(settings.doorBellIntervalS, 12);
}
TEST(ConfigFile, CommentsAndWhatFollowsTheObjectAreNoFault) {
    const auto settings = settings_of(
        "// site\n{\"CliMode\": \"inject\", /* loud */ \"LoggingLevel\": \"Info\"} end");
    EXPECT_EQ(settings.cliMode, "inject");
}
TEST(ConfigFile, KeysAreCaseSensitive) {
    EXPECT_EQ(settings_of(R"({"logginglevel": "Info", "climode": "inject"})").loggingLevel,
              "Warning");
}
TEST(ConfigFile, HugeFileIsRead) {
    const std::string big(20'000'000, 'x');
    const auto settings = settings_of(R"({"Note": ")" + big + R"(", "LoggingLevel": "Info"})");
    EXPECT_EQ(settings.loggingLevel, "Info");
}
TEST(ConfigFile, NestingThatTheParserAllowsIsRead) {
    const auto settings = settings_of(R"({"LoggingLevel": "Info", "Deep": )" +
                                      std::string(900, '[') + std::string(900, ']') + "}");
    EXPECT_EQ(settings.loggingLevel, "Info");
}
TEST(ConfigFile, ReservedWordsChangeNothing) {
    EXPECT_EQ(settings_of(R"({"EnableTelemetryLogging": true, "TelemetrySchemaOption":
                             "99999999999999999999"})"),
              settings_of(file_with("", "")));
}
TEST(ConfigFile, NumberOutOfRangeLeavesAsException) {
    for (const char *key : {"PushInventoryFrequencyInMinutes", "IPMIDoorBellMonitorInterval",
                            "InventoryQueryIntervalInSeconds", "SimulateUnhandledException",
                            "MicrochipEventQueueIndex", "HealthMonitorFlags"}) {
        EXPECT_THROW(settings_of(file_with(key, R"("9223372036854775808")")), std::out_of_range)
            << key;
        EXPECT_THROW(settings_of(file_with(key, R"("-9223372036854775809")")), std::out_of_range)
            << key;
        EXPECT_THROW(settings_of(file_with(key, "9223372036854775808")), std::out_of_range) << key;
    }
    EXPECT_THROW(
        settings_of(file_with("CacheRefreshInSeconds", R"({"Global": "9223372036854775808"})")),
        std::out_of_range);
    EXPECT_THROW(
        settings_of(file_with("CacheRefreshInSeconds", R"({"GPUDevices": "9223372036854775808"})")),
        std::out_of_range);
}
TEST(ConfigFile, BareNumberBeyondAllIntegersCountsByItsFirstDigit) {
    // The parser makes a real of it, whose text is "1.8446744073709552e+19".
    EXPECT_EQ(
        settings_of(file_with("HealthMonitorFlags", "18446744073709551616")).healthMonitorFlags, 1);
}
TEST(ConfigFile, ArrayOfTwoLeavesAsTheParsersException) {
    EXPECT_THROW(settings_of(R"(["LoggingLevel", "Info"])"), Json::Exception);
    EXPECT_THROW(settings_of("[1, 2, 3]"), Json::Exception);
}
