#include "core/config_trace.h"

#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {
ORB_CONFIG_TRACE trace_of(const std::string &file) {
    std::istringstream in(file);
    return check_config(in);
}
ORB_CONFIG_FINDING finding(const ORB_CONFIG_TRACE &trace, const std::string &key) {
    ORB_CONFIG_FINDING found{};
    int times = 0;
    for (const ORB_CONFIG_FINDING &row : trace.findings)
        if (row.key == key) {
            found = row;
            ++times;
        }
    EXPECT_EQ(times, 1) << key;
    return found;
}
ORB_CONFIG_FINDING finding_of(const std::string &key, const std::string &json) {
    return finding(trace_of(R"({"Note": "", ")" + key + "\": " + json + "}"), key);
}

struct VerdictCase {
    const char *name;
    const char *key;
    const char *json;
    ORB_CONFIG_VERDICT verdict;
    const char *used;
    const char *reason;
};
constexpr char NOT_BOOL[] = "is neither \"true\" nor \"false\"";
const VerdictCase VERDICT_CASES[] = {
    {"LevelTaken", "LoggingLevel", R"("INFO")", ORB_CONFIG_TAKEN, "INFO", ""},
    {"LevelReplaced", "LoggingLevel", R"("debug")", ORB_CONFIG_REPLACED, "Warning",
     "is not \"Info\", \"Warning\" or \"Error\""},
    {"LevelObject", "LoggingLevel", "{}", ORB_CONFIG_REPLACED, "Warning",
     "is not \"Info\", \"Warning\" or \"Error\""},
    {"ModeTaken", "CliMode", R"("inject")", ORB_CONFIG_TAKEN, "inject", ""},
    {"ModeReplaced", "CliMode", "null", ORB_CONFIG_REPLACED, "test",
     "is not \"test\" or \"inject\""},
    {"SwitchOn", "EnableDebugLog", "true", ORB_CONFIG_TAKEN, "true", ""},
    {"SwitchOff", "EnableDebugLog", R"("FALSE")", ORB_CONFIG_TAKEN, "false", ""},
    {"SwitchReplaced", "EnableDebugLog", R"("yes")", ORB_CONFIG_REPLACED, "false", NOT_BOOL},
    {"SwitchNumber", "LogResourceManagerStatistics", "1", ORB_CONFIG_REPLACED, "false", NOT_BOOL},
    {"SwitchList", "LogResourceManagerStatistics", "[true]", ORB_CONFIG_REPLACED, "false",
     NOT_BOOL},
    {"NumberTaken", "IPMIDoorBellMonitorInterval", R"("15")", ORB_CONFIG_TAKEN, "15", ""},
    {"NumberWithBlanks", "IPMIDoorBellMonitorInterval", R"(" 15 ")", ORB_CONFIG_TAKEN, "15", ""},
    {"NumberWithExponent", "IPMIDoorBellMonitorInterval", "1e3", ORB_CONFIG_TAKEN, "1000", ""},
    {"NumberInPart", "IPMIDoorBellMonitorInterval", R"("12abc")", ORB_CONFIG_TAKEN_IN_PART, "12",
     "only the number at its beginning counts"},
    {"NumberWithFraction", "IPMIDoorBellMonitorInterval", "12.5", ORB_CONFIG_TAKEN_IN_PART, "12",
     "only the number at its beginning counts"},
    {"NumberZero", "IPMIDoorBellMonitorInterval", "0", ORB_CONFIG_REPLACED, "10", "is not above 0"},
    {"NumberHexadecimal", "IPMIDoorBellMonitorInterval", R"("0x10")", ORB_CONFIG_REPLACED, "10",
     "is not above 0"},
    {"NumberText", "IPMIDoorBellMonitorInterval", R"("abc")", ORB_CONFIG_REPLACED, "10",
     "is not a number"},
    {"NumberList", "IPMIDoorBellMonitorInterval", "[15]", ORB_CONFIG_REPLACED, "10",
     "is not a number"},
    {"NumberRejectedButEqualToItsDefault", "HealthMonitorFlags", "0", ORB_CONFIG_TAKEN, "0", ""},
    {"NumberOutOfRange", "HealthMonitorFlags", R"("9223372036854775808")", ORB_CONFIG_ENDS_PROCESS,
     "", "is a number out of range, with which the daemon does not start"},
    {"LocationTaken", "ORBLogLocation", R"("/var/log/orb.log")", ORB_CONFIG_TAKEN,
     "/var/log/orb.log", ""},
    {"LocationEmpty", "DebugLogLocation", R"("")", ORB_CONFIG_REPLACED, "syslog",
     "is not a path or \"syslog\""},
    {"ResourcesTaken", "EnableResources", R"(["HostOSInfo","ethernetdevices"])", ORB_CONFIG_TAKEN,
     "HostOSInfo, ethernetdevices", ""},
    {"ResourcesAll", "EnableResources", R"(["all"])", ORB_CONFIG_TAKEN, "All", ""},
    {"ResourcesBehindAll", "EnableResources", R"(["All","HostOSInfo"])", ORB_CONFIG_TAKEN_IN_PART,
     "All", "only the entries up to \"All\" count"},
    {"ResourcesCut", "EnableResources", R"(["HostOSInfo","","StorageControllers"])",
     ORB_CONFIG_TAKEN_IN_PART, "HostOSInfo", "only the entries up to \"HostOSInfo\" count"},
    {"ResourcesWithoutManager", "EnableResources", R"(["HostOSInfo","NVMeControllers"])",
     ORB_CONFIG_TAKEN_IN_PART, "HostOSInfo, NVMeControllers", "\"NVMeControllers\" has no effect"},
    {"ResourcesEmpty", "EnableResources", "[]", ORB_CONFIG_REPLACED, "All", "begins with no name"},
    {"ResourcesBeginEmpty", "EnableResources", R"(["","HostOSInfo"])", ORB_CONFIG_REPLACED, "All",
     "begins with no name"},
    {"ResourcesBeginWithList", "EnableResources", "[[]]", ORB_CONFIG_REPLACED, "All",
     "begins with no name"},
    {"ResourcesText", "EnableResources", R"("All")", ORB_CONFIG_REPLACED, "All", "is not a list"},
    {"Reserved", "TelemetrySchemaOption", "3", ORB_CONFIG_IGNORED, "",
     "reserved, but not read by the daemon"},
    {"Unknown", "Volume", "11", ORB_CONFIG_UNKNOWN, "", "not a key of this file"},
    {"UnknownByItsLetters", "LOGGINGLEVEL", R"("Info")", ORB_CONFIG_UNKNOWN, "",
     "not a key of this file; \"LoggingLevel\" is"},
    {"IntervalsNoObject", "CacheRefreshInSeconds", "60", ORB_CONFIG_REPLACED, "",
     "is not an object with one member for each resource"},
};
void PrintTo(const VerdictCase &row, std::ostream *os) {
    *os << row.name;
}
class ConfigVerdict : public ::testing::TestWithParam<VerdictCase> {};

constexpr char INSTALLED[] = R"({
    "EnableResources": ["All"], "LoggingLevel": "Warning", "EnableDebugLog": "false",
    "CliMode": "test", "CacheRefreshInSeconds": {"Global": "30"},
    "PushInventoryFrequencyInMinutes": "1440", "ORBLogLocation": "syslog",
    "DebugLogLocation": "syslog", "IPMIDoorBellMonitorInterval": "10",
    "InventoryQueryIntervalInSeconds": "10", "CaptureUnhandledExceptionStack": "false",
    "SimulateUnhandledException": "-1", "ForwardAllMegaRAIDCriticalOrHigherEvents": "false",
    "ForwardAllSmartRAIDDegradedOrHigherEvents": "false", "LogResourceManagerStatistics": "false",
    "MicrochipEventQueueIndex": "0", "HealthMonitorFlags": "0"})";
} // namespace

TEST_P(ConfigVerdict, SaysWhatTheDaemonMakesOfIt) {
    const ORB_CONFIG_FINDING found = finding_of(GetParam().key, GetParam().json);
    EXPECT_EQ(found.verdict, GetParam().verdict);
    EXPECT_EQ(found.valueUsed, GetParam().used);
    EXPECT_EQ(found.reason, GetParam().reason);
}
INSTANTIATE_TEST_SUITE_P(Values, ConfigVerdict, ::testing::ValuesIn(VERDICT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(ConfigTrace, TextInTheFileIsShownAsItStands) {
    EXPECT_EQ(finding_of("LoggingLevel", R"("deb\"ug")").textInFile, "deb\"ug");
    EXPECT_EQ(finding_of("EnableDebugLog", "true").textInFile, "true");
    EXPECT_EQ(finding_of("CliMode", "null").textInFile, "null");
    EXPECT_EQ(finding_of("EnableResources", R"([ "HostOSInfo", 7 ])").textInFile,
              R"(["HostOSInfo",7])");
    EXPECT_EQ(finding_of("IPMIDoorBellMonitorInterval", R"("007")").textInFile, "007");
}

TEST(ConfigTrace, FileWithEveryDefaultIsTakenAsWritten) {
    const ORB_CONFIG_TRACE trace = trace_of(INSTALLED);
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_USED);
    EXPECT_EQ(trace.fileReason, "");
    for (const ORB_CONFIG_FINDING &row : trace.findings)
        EXPECT_TRUE(row.verdict == ORB_CONFIG_TAKEN || row.verdict == ORB_CONFIG_ABSENT)
            << row.key << ": " << row.reason;
    EXPECT_TRUE(trace.isTakenAsWritten());
}

TEST(ConfigTrace, ListsEveryKeyInTheOrderOfReading) {
    const ORB_CONFIG_TRACE trace = trace_of(R"({"Zebra": 1, "Ant": 2})");
    const char *const keys[] = {"EnableResources",
                                "LoggingLevel",
                                "EnableDebugLog",
                                "CliMode",
                                "CacheRefreshInSeconds.Global",
                                "CacheRefreshInSeconds.FibreChannelDevices",
                                "CacheRefreshInSeconds.StorageControllers",
                                "CacheRefreshInSeconds.NVMeControllers",
                                "CacheRefreshInSeconds.HostOSInfo",
                                "CacheRefreshInSeconds.EthernetDevices",
                                "CacheRefreshInSeconds.GPUDevices",
                                "CacheRefreshInSeconds.InfiniBandDevices",
                                "PushInventoryFrequencyInMinutes",
                                "ORBLogLocation",
                                "DebugLogLocation",
                                "IPMIDoorBellMonitorInterval",
                                "InventoryQueryIntervalInSeconds",
                                "CaptureUnhandledExceptionStack",
                                "SimulateUnhandledException",
                                "ForwardAllMegaRAIDCriticalOrHigherEvents",
                                "ForwardAllSmartRAIDDegradedOrHigherEvents",
                                "LogResourceManagerStatistics",
                                "MicrochipEventQueueIndex",
                                "HealthMonitorFlags",
                                "Ant",
                                "Zebra"};
    ASSERT_EQ(trace.findings.size(), std::size(keys));
    for (std::size_t i = 0; i < std::size(keys); ++i) {
        EXPECT_EQ(trace.findings[i].key, keys[i]);
        EXPECT_EQ(trace.findings[i].verdict,
                  i < std::size(keys) - 2 ? ORB_CONFIG_ABSENT : ORB_CONFIG_UNKNOWN);
    }
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.GPUDevices").valueUsed, "3600");
    EXPECT_EQ(finding(trace, "SimulateUnhandledException").valueUsed, "-1");
    EXPECT_FALSE(trace.isTakenAsWritten());
}

TEST(ConfigTrace, CommonIntervalHidesTheOthers) {
    const ORB_CONFIG_TRACE trace = trace_of(
        R"({"Note": 1, "CacheRefreshInSeconds": {"Global": 45, "EthernetDevices": 5, "Tape": 1}})");
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.Global").verdict, ORB_CONFIG_TAKEN);
    const ORB_CONFIG_FINDING hidden = finding(trace, "CacheRefreshInSeconds.EthernetDevices");
    EXPECT_EQ(hidden.verdict, ORB_CONFIG_IGNORED);
    EXPECT_EQ(hidden.textInFile, "5");
    EXPECT_EQ(hidden.valueUsed, "45");
    EXPECT_EQ(hidden.reason, "\"Global\" holds for every resource");
    const ORB_CONFIG_FINDING other = finding(trace, "CacheRefreshInSeconds.GPUDevices");
    EXPECT_EQ(other.verdict, ORB_CONFIG_ABSENT);
    EXPECT_EQ(other.valueUsed, "45");
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.Tape").verdict, ORB_CONFIG_UNKNOWN);
}

TEST(ConfigTrace, EmptyCommonIntervalIsSaidToBeReplaced) {
    const ORB_CONFIG_TRACE trace =
        trace_of(R"({"Note": 1, "CacheRefreshInSeconds": {"Global": "", "EthernetDevices": 5}})");
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.Global").verdict, ORB_CONFIG_REPLACED);
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.EthernetDevices").verdict, ORB_CONFIG_TAKEN);
}

TEST(ConfigTrace, MemberThatDiffersInLettersIsHintedAt) {
    const ORB_CONFIG_TRACE trace =
        trace_of(R"({"Note": 1, "CacheRefreshInSeconds": {"global": "5"}})");
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.global").reason,
              "not a key of this file; \"Global\" is");
}

TEST(ConfigTrace, MissingFile) {
    std::istringstream in;
    in.setstate(std::ios::failbit);
    const ORB_CONFIG_TRACE trace = check_config(in);
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_MISSING);
    EXPECT_EQ(trace.fileReason, "can't be opened");
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.HostOSInfo").valueUsed, "30");
    EXPECT_EQ(finding(trace, "SimulateUnhandledException").valueUsed, "0");
    EXPECT_EQ(finding(trace, "EnableResources").valueUsed, "All");
    EXPECT_EQ(finding(trace, "CliMode").verdict, ORB_CONFIG_ABSENT);
    EXPECT_FALSE(trace.isTakenAsWritten());
}

TEST(ConfigTrace, UnparsableFileComesWithTheParsersMessage) {
    const ORB_CONFIG_TRACE trace = trace_of("{\"LoggingLevel\": \n  Info}");
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_UNPARSABLE);
    EXPECT_NE(trace.fileReason.find("Line 2, Column 3"), std::string::npos) << trace.fileReason;
    EXPECT_FALSE(trace.isTakenAsWritten());
}

TEST(ConfigTrace, FileOfOneMemberIsNotUsed) {
    const ORB_CONFIG_TRACE trace = trace_of(R"({"LoggingLevel": "Info"})");
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_TOO_FEW);
    EXPECT_EQ(trace.fileReason, "has fewer than 2 members");
    const ORB_CONFIG_FINDING level = finding(trace, "LoggingLevel");
    EXPECT_EQ(level.verdict, ORB_CONFIG_IGNORED);
    EXPECT_EQ(level.textInFile, "Info");
    EXPECT_EQ(level.valueUsed, "Warning");
    EXPECT_EQ(level.reason, "the file is not used");
}

TEST(ConfigTrace, NumberOutOfRangeIsToldAmongAllOtherKeys) {
    const ORB_CONFIG_TRACE trace = trace_of(
        R"({"LoggingLevel": "Info", "CacheRefreshInSeconds": {"Global": 99999999999999999999999},
            "IPMIDoorBellMonitorInterval": "99999999999999999999", "HealthMonitorFlags": "3"})");
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_ENDS_PROCESS);
    EXPECT_EQ(trace.fileReason, "holds a number that is out of range");
    EXPECT_EQ(finding(trace, "IPMIDoorBellMonitorInterval").verdict, ORB_CONFIG_ENDS_PROCESS);
    EXPECT_EQ(finding(trace, "IPMIDoorBellMonitorInterval").textInFile, "99999999999999999999");
    EXPECT_EQ(finding(trace, "HealthMonitorFlags").verdict, ORB_CONFIG_TAKEN);
    EXPECT_FALSE(trace.isTakenAsWritten());
}

TEST(ConfigTrace, CommonIntervalOutOfRangeIsTold) {
    const ORB_CONFIG_TRACE trace =
        trace_of(R"({"Note": 1, "CacheRefreshInSeconds": {"Global": "9223372036854775808"}})");
    EXPECT_EQ(finding(trace, "CacheRefreshInSeconds.Global").verdict, ORB_CONFIG_ENDS_PROCESS);
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_ENDS_PROCESS);
}

TEST(ConfigTrace, ListOfTwoEndsTheDaemon) {
    const ORB_CONFIG_TRACE trace = trace_of(R"(["LoggingLevel", "Info"])");
    EXPECT_EQ(trace.fileVerdict, ORB_CONFIG_FILE_ENDS_PROCESS);
    EXPECT_EQ(trace.fileReason.rfind("is a list: ", 0), 0u);
    EXPECT_TRUE(trace.findings.empty());
    EXPECT_FALSE(trace.isTakenAsWritten());
}

TEST(ConfigTrace, ChangesNoSettingAndNoException) {
    for (const char *file :
         {INSTALLED, "", "{}", R"({"CliMode": "inject", "EnableResources": ["GPUDevices", []]})",
          R"({"CacheRefreshInSeconds": {"Global": "7", "x": 1}, "LoggingLevel": {}})"}) {
        std::istringstream one(file);
        std::istringstream two(file);
        ORB_CONFIG_SETTINGS plain;
        ORB_CONFIG_SETTINGS traced;
        ORB_CONFIG_TRACE trace;
        initConfigSettings(one, plain);
        initConfigSettings(two, traced, &trace);
        EXPECT_EQ(plain, traced) << file;
    }
    std::istringstream in(R"({"HealthMonitorFlags": "9223372036854775808", "CliMode": "test"})");
    ORB_CONFIG_SETTINGS settings;
    ORB_CONFIG_TRACE trace;
    EXPECT_THROW(initConfigSettings(in, settings, &trace), std::out_of_range);
}

TEST(ConfigTrace, VerdictsHaveWordsOfTheirOwn) {
    EXPECT_STREQ(verdict_text(ORB_CONFIG_TAKEN), "taken");
    EXPECT_STREQ(verdict_text(ORB_CONFIG_TAKEN_IN_PART), "taken in part");
    EXPECT_STREQ(verdict_text(ORB_CONFIG_REPLACED), "replaced");
    EXPECT_STREQ(verdict_text(ORB_CONFIG_ABSENT), "absent");
    EXPECT_STREQ(verdict_text(ORB_CONFIG_IGNORED), "ignored");
    EXPECT_STREQ(verdict_text(ORB_CONFIG_UNKNOWN), "unknown");
    EXPECT_STREQ(verdict_text(ORB_CONFIG_ENDS_PROCESS), "fatal");
}
