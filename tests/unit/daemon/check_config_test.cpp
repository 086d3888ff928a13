#include "daemon/check_config.h"

#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>
#include <json/json.h>

#include "core/json_text.h"
#include "daemon/orb_main.h"
#include "fakes/FakeProcess.h"
#include "fakes/TemporaryRoot.h"
#include "support/json_schema.h"

namespace {
constexpr char CONFIG[] = "/etc/config/vantor/orb/orb.conf";

/// The line of a key in the table, its columns joined by one "|".
std::string row(const std::string &table, const std::string &key) {
    std::size_t at = table.find("\n" + key + " ");
    if (at == std::string::npos) return "";
    const std::string line = table.substr(at + 1, table.find('\n', at + 1) - at - 1);
    std::string joined;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line.compare(i, 2, "  ") != 0) {
            joined += line[i];
            continue;
        }
        joined += '|';
        i = line.find_first_not_of(' ', i) - 1;
    }
    return joined;
}

struct Check {
    int status;
    std::string output;
};
Check check(const TemporaryRoot &root, const std::string &hostPath) {
    FakeProcess process;
    const int status = print_config_check(root.path() + hostPath);
    return {status, process.output()};
}
Check check_text(const std::string &text) {
    TemporaryRoot root;
    root.write("/c", text);
    return check(root, "/c");
}

TEST(CheckConfig, TellsWhatBecameOfEachKey) {
    const Check result = check_text(
        R"({"LoggingLevel": "loud", "EnableDebugLog": "true", "CliMode": "INJECT",
            "PushInventoryFrequencyInMinutes": "12abc", "IPMIDoorBellMonitorInterval": -5,
            "CacheRefreshInSeconds": {"Global": 60, "HostOSInfo": 5},
            "EnableTelemetryLogging": true, "Frob": 1})");
    EXPECT_EQ(result.status, 3);
    const std::string &table = result.output;
    EXPECT_EQ(row(table, "KEY"), "KEY|IN FILE|USED|RESULT|REASON");
    EXPECT_EQ(row(table, "LoggingLevel"),
              R"(LoggingLevel|loud|Warning|replaced|is not "Info", "Warning" or "Error")");
    EXPECT_EQ(row(table, "EnableDebugLog"), "EnableDebugLog|true|true|taken");
    EXPECT_EQ(row(table, "CliMode"), "CliMode|INJECT|INJECT|taken");
    EXPECT_EQ(row(table, "PushInventoryFrequencyInMinutes"),
              "PushInventoryFrequencyInMinutes|12abc|12|taken in part|only the number at its "
              "beginning counts");
    EXPECT_EQ(row(table, "IPMIDoorBellMonitorInterval"),
              "IPMIDoorBellMonitorInterval|-5|10|replaced|is not above 0");
    EXPECT_EQ(row(table, "CacheRefreshInSeconds.Global"),
              "CacheRefreshInSeconds.Global|60|60|taken");
    EXPECT_TRUE(row(table, "CacheRefreshInSeconds.HostOSInfo").find("|5|60|ignored|") !=
                std::string::npos);
    EXPECT_TRUE(row(table, "ORBLogLocation").starts_with("ORBLogLocation|-|syslog|absent"));
    EXPECT_TRUE(row(table, "EnableTelemetryLogging").find("|true|-|ignored|") != std::string::npos);
    EXPECT_TRUE(row(table, "Frob").find("|1|-|unknown|") != std::string::npos);
}

TEST(CheckConfig, AbsentKeysAreNoFault) {
    EXPECT_EQ(check_text(R"({"LoggingLevel": "Info", "CliMode": "test"})").status, 0);
}

TEST(CheckConfig, TwoKeysOfWhichOneIsUnknown) {
    const Check result = check_text(R"({"LoggingLevel": "Info", "logginglevel": "Info"})");
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(row(result.output, "LoggingLevel"), "LoggingLevel|Info|Info|taken");
    EXPECT_NE(row(result.output, "logginglevel").find("\"LoggingLevel\" is"), std::string::npos);
}

struct UnusableCase {
    const char *name;
    std::string text;
    const char *told; ///< in the first lines
};
void PrintTo(const UnusableCase &one, std::ostream *os) {
    *os << one.name;
}
const UnusableCase UNUSABLE_CASES[] = {
    {"Empty", "", "not valid JSON"},
    {"Binary", std::string("\x00\xff\x1b[2J\x07", 8), "not valid JSON"},
    {"Truncated", R"({"LoggingLevel": "Info", "CliMode": )", "not valid JSON"},
    {"Nested", std::string(100000, '['), "not valid JSON"},
    {"OneMember", R"({"LoggingLevel": "Info"})", "fewer than 2 members"},
    {"Text", R"("LoggingLevel")", "fewer than 2 members"},
};
class UnusableConfig : public ::testing::TestWithParam<UnusableCase> {};
TEST_P(UnusableConfig, DefaultsAreUsed) {
    const Check result = check_text(GetParam().text);
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.output.find("is not used, the built-in defaults are"), std::string::npos);
    EXPECT_NE(result.output.find(GetParam().told), std::string::npos) << result.output;
    EXPECT_NE(row(result.output, "CacheRefreshInSeconds.HostOSInfo").find("|30|"),
              std::string::npos);
    EXPECT_EQ(result.output.find('\x1b'), std::string::npos) << "nothing reaches the terminal raw";
    EXPECT_EQ(result.output.find('\0'), std::string::npos);
}
INSTANTIATE_TEST_SUITE_P(Files, UnusableConfig, ::testing::ValuesIn(UNUSABLE_CASES),
                         [](const auto &one) { return std::string(one.param.name); });

TEST(CheckConfig, MissingFile) {
    const TemporaryRoot root;
    const Check result = check(root, "/nothing");
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.output.find("can't be opened"), std::string::npos);
}

TEST(CheckConfig, DirectoryInPlaceOfTheFile) {
    const TemporaryRoot root;
    EXPECT_EQ(check(root, "/").status, 3);
}

TEST(CheckConfig, FileThatEndsTheDaemon) {
    const Check number =
        check_text(R"({"LoggingLevel": "Info", "HealthMonitorFlags": "99999999999999999999"})");
    EXPECT_EQ(number.status, 3);
    EXPECT_NE(number.output.find("keeps the daemon from starting"), std::string::npos);
    EXPECT_NE(row(number.output, "HealthMonitorFlags")
                  .find("|fatal|is a number out of range, with which the daemon does not start"),
              std::string::npos)
        << "a reason is told in full";
    const Check list = check_text(R"(["LoggingLevel", "Info"])");
    EXPECT_EQ(list.status, 3);
    EXPECT_NE(list.output.find("keeps the daemon from starting"), std::string::npos);
    EXPECT_EQ(list.output.find("..."), std::string::npos) << list.output;
}

TEST(CheckConfig, HugeAndHostileTextsStayOneShortLine) {
    const Check result = check_text(R"({"LoggingLevel": ")" + std::string(5'000'000, 'x') +
                                    R"(", "CliMode": "a\nb\u001b[31m", "\u00e4)" +
                                    std::string(100, 'k') + R"(": "1"})");
    EXPECT_EQ(result.status, 3);
    EXPECT_LT(result.output.size(), 10'000u);
    EXPECT_NE(result.output.find("xxx..."), std::string::npos);
    EXPECT_NE(row(result.output, "CliMode").find(R"(|a\x0ab\x1b[31m|test|)"), std::string::npos);
}

TEST(CheckConfig, WithoutAFileItIsTheDaemons) {
    TemporaryRoot root;
    root.write(CONFIG, R"({"LoggingLevel": "Info", "CliMode": "test"})");
    FakeProcess process;
    std::string name = "orbd", option = "--check-config";
    char *argv[] = {name.data(), option.data(), nullptr};
    EXPECT_EQ(orb_main(2, argv), 0);
    EXPECT_TRUE(process.output().starts_with(root.map(CONFIG) + " is used.\n"));
}

TEST(CheckConfig, InstalledFileIsTakenAndChangesNothing) {
    FakeProcess process;
    const std::string file = std::string(ORB_SOURCE_DIR) + "/packaging/orb.conf";
    EXPECT_EQ(print_config_check(file), 0);
    const std::string table = process.output();
    EXPECT_EQ(table.find("replaced"), std::string::npos);
    // What is used with the file is what is used without one. No exception is simulated by either
    // number.
    const TemporaryRoot root;
    const Check without = check(root, "/nothing");
    std::size_t keys = 0;
    for (std::size_t at = without.output.find("\nEnableResources"); at != std::string::npos;
         at = without.output.find('\n', at + 1)) {
        const std::string key =
            without.output.substr(at + 1, without.output.find(' ', at) - at - 1);
        if (key.empty()) continue;
        ++keys;
        const auto used = [&key](const std::string &text) {
            const std::string line = row(text, key);
            const std::size_t second = line.find('|', line.find('|') + 1);
            return line.substr(second, line.find('|', second + 1) - second);
        };
        if (key == "SimulateUnhandledException") {
            EXPECT_EQ(used(table), "|-1");
            EXPECT_EQ(used(without.output), "|0");
        } else {
            EXPECT_EQ(used(table), used(without.output)) << key;
        }
        EXPECT_NE(row(table, key).find("|taken"), std::string::npos) << key;
    }
    EXPECT_EQ(keys, 23u);
}

Json::Value parsed(const std::string &text) {
    Json::Value value;
    EXPECT_TRUE(parse_json(text, value)) << text;
    return value;
}

TEST(ConfigSchema, AcceptsTheInstalledFile) {
    std::ostringstream text;
    text << std::ifstream(std::string(ORB_SOURCE_DIR) + "/packaging/orb.conf").rdbuf();
    EXPECT_EQ(schema_faults("config", parsed(text.str())), "");
}

/// What the schema accepts is taken as it is written, and the other way round. The level fills the
/// file up to two members.
const char *const MEMBERS[] = {
    R"("EnableResources": ["All"])",
    R"("EnableResources": ["HostOSInfo", "EthernetDevices"])",
    R"("EnableResources": ["GPUDevices"])",
    R"("EnableResources": [])",
    R"("EnableResources": [""])",
    R"("EnableResources": ["HostOSInfo", "", "All"])",
    R"("EnableResources": "All")",
    R"("EnableResources": [{}])",
    R"("EnableDebugLog": true)",
    R"("EnableDebugLog": "False")",
    R"("EnableDebugLog": "yes")",
    R"("EnableDebugLog": [])",
    R"("CliMode": "Inject")",
    R"("CliMode": "other")",
    R"("CacheRefreshInSeconds": {})",
    R"("CacheRefreshInSeconds": {"Global": 5})",
    R"("CacheRefreshInSeconds": {"Global": "5", "HostOSInfo": 5})",
    R"("CacheRefreshInSeconds": {"HostOSInfo": 5, "GPUDevices": "7"})",
    R"("CacheRefreshInSeconds": {"HostOSInfo": 0})",
    R"("CacheRefreshInSeconds": {"Frob": 5})",
    R"("CacheRefreshInSeconds": 60)",
    R"("PushInventoryFrequencyInMinutes": 1)",
    R"("PushInventoryFrequencyInMinutes": "0012")",
    R"("PushInventoryFrequencyInMinutes": "12abc")",
    R"("PushInventoryFrequencyInMinutes": "")",
    R"("PushInventoryFrequencyInMinutes": 0)",
    R"("PushInventoryFrequencyInMinutes": -3)",
    R"("PushInventoryFrequencyInMinutes": 1.5)",
    R"("PushInventoryFrequencyInMinutes": {})",
    R"("ORBLogLocation": "SYSLOG")",
    R"("ORBLogLocation": "/var/log/orb/orb.log")",
    R"("ORBLogLocation": "")",
    R"("ORBLogLocation": [])",
    R"("SimulateUnhandledException": 6)",
    R"("SimulateUnhandledException": -1)",
    R"("SimulateUnhandledException": 0)",
    R"("MicrochipEventQueueIndex": 0)",
    R"("HealthMonitorFlags": "0")",
    R"("HealthMonitorFlags": -1)",
    R"("Frob": 1)",
};
class SchemaAgrees : public ::testing::TestWithParam<const char *> {};
TEST_P(SchemaAgrees, WithTheCheck) {
    const std::string text = R"({"LoggingLevel": "Info", )" + std::string(GetParam()) + "}";
    const bool taken = check_text(text).status == 0;
    const std::string faults = schema_faults("config", parsed(text));
    EXPECT_EQ(faults.empty(), taken) << faults << check_text(text).output;
}
INSTANTIATE_TEST_SUITE_P(Members, SchemaAgrees, ::testing::ValuesIn(MEMBERS));
} // namespace
