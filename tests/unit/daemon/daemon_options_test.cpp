#include "daemon/daemon_options.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {
using Mode = ORB_DAEMON_OPTIONS::MODE;

bool parse(std::vector<std::string> arguments, ORB_DAEMON_OPTIONS &out, std::string &fault) {
    arguments.insert(arguments.begin(), "orbd");
    std::vector<char *> argv;
    for (std::string &argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    return parse_options(static_cast<int>(arguments.size()), argv.data(), out, fault);
}

struct GoodCase {
    const char *name;
    std::vector<std::string> arguments;
    ORB_DAEMON_OPTIONS expected;
};
void PrintTo(const GoodCase &row, std::ostream *os) {
    *os << row.name;
}
const GoodCase GOOD_CASES[] = {
    {"Nothing", {}, {}},
    {"Foreground", {"--foreground"}, {.mode = Mode::FOREGROUND, .configFile = ""}},
    {"Shortened", {"--fore"}, {.mode = Mode::FOREGROUND, .configFile = ""}},
    {"StopTimeout", {"--stop-timeout", "1"}, {.configFile = "", .stopTimeoutS = 1}},
    {"StopTimeoutJoined",
     {"--stop-timeout=900", "--foreground"},
     {.mode = Mode::FOREGROUND, .configFile = "", .stopTimeoutS = 900}},
    {"PrintInventory", {"--print-inventory"}, {.mode = Mode::PRINT_INVENTORY, .configFile = ""}},
    {"CompactFirst",
     {"--compact", "--print-inventory"},
     {.mode = Mode::PRINT_INVENTORY, .compact = true, .configFile = ""}},
    {"NoGenericStorage", {"--no-generic-storage"}, {.configFile = "", .genericStorage = false}},
    {"NoGenericStorageInTheForeground",
     {"--foreground", "--no-generic-storage"},
     {.mode = Mode::FOREGROUND, .configFile = "", .genericStorage = false}},
    {"PrintInventoryWithoutGenericStorage",
     {"--no-generic-storage", "--print-inventory"},
     {.mode = Mode::PRINT_INVENTORY, .configFile = "", .genericStorage = false}},
    {"CheckConfig", {"--check-config"}, {.mode = Mode::CHECK_CONFIG, .configFile = ""}},
    {"CheckConfigFile", {"--check-config", "a"}, {.mode = Mode::CHECK_CONFIG, .configFile = "a"}},
    {"CheckConfigJoined", {"--check-config=a"}, {.mode = Mode::CHECK_CONFIG, .configFile = "a"}},
    {"CheckConfigDashes",
     {"--check-config", "--", "-a"},
     {.mode = Mode::CHECK_CONFIG, .configFile = "-a"}},
    {"Version", {"--version"}, {.mode = Mode::VERSION, .configFile = ""}},
    {"Help", {"--help"}, {.mode = Mode::HELP, .configFile = ""}},
};
class GoodCommandLine : public ::testing::TestWithParam<GoodCase> {};
TEST_P(GoodCommandLine, IsUnderstood) {
    ORB_DAEMON_OPTIONS out;
    std::string fault;
    ASSERT_TRUE(parse(GetParam().arguments, out, fault)) << fault;
    EXPECT_EQ(out.mode, GetParam().expected.mode);
    EXPECT_EQ(out.compact, GetParam().expected.compact);
    EXPECT_EQ(out.configFile, GetParam().expected.configFile);
    EXPECT_EQ(out.stopTimeoutS, GetParam().expected.stopTimeoutS);
    EXPECT_EQ(out.genericStorage, GetParam().expected.genericStorage);
}
INSTANTIATE_TEST_SUITE_P(Lines, GoodCommandLine, ::testing::ValuesIn(GOOD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

struct BadCase {
    const char *name;
    std::vector<std::string> arguments;
    const char *fault;
};
void PrintTo(const BadCase &row, std::ostream *os) {
    *os << row.name;
}
const BadCase BAD_CASES[] = {
    {"Unknown", {"--frob"}, "--frob: no such option, or not unique"},
    {"Ambiguous", {"--c"}, "--c: no such option, or not unique"},
    {"ShortOption", {"-x"}, "-x: no such option"},
    {"ValueForFlag", {"--foreground=1"}, "--foreground=1: takes no value"},
    {"ValueForCompact", {"--compact=1"}, "--compact=1: takes no value"},
    {"NoTimeout", {"--stop-timeout"}, "--stop-timeout: a value is missing"},
    {"TimeoutZero", {"--stop-timeout", "0"}, "--stop-timeout 0: not a number from 1 to 900"},
    {"TimeoutTooLong", {"--stop-timeout", "901"}, "--stop-timeout 901: not a number from 1 to 900"},
    {"TimeoutHuge",
     {"--stop-timeout", "99999999999999999999"},
     "--stop-timeout 99999999999999999999: not a number from 1 to 900"},
    {"TimeoutText", {"--stop-timeout", "5s"}, "--stop-timeout 5s: not a number from 1 to 900"},
    {"TimeoutEmpty", {"--stop-timeout", ""}, "--stop-timeout : not a number from 1 to 900"},
    {"TwoModes",
     {"--foreground", "--print-inventory"},
     "--print-inventory: can't be combined with --foreground"},
    {"CompactAlone", {"--compact"}, "--compact: only with --print-inventory"},
    {"TimeoutForPrint",
     {"--print-inventory", "--stop-timeout", "5"},
     "--stop-timeout: only where the daemon runs"},
    {"NoGenericStorageForCheck",
     {"--check-config", "--no-generic-storage"},
     "--no-generic-storage: only where an inventory is built"},
    {"NoGenericStorageForVersion",
     {"--version", "--no-generic-storage"},
     "--no-generic-storage: only where an inventory is built"},
    {"ValueForNoGenericStorage",
     {"--no-generic-storage=1"},
     "--no-generic-storage=1: takes no value"},
    {"Operand", {"file"}, "file: not expected here"},
    {"TwoFiles", {"--check-config", "a", "b"}, "b: not expected here"},
    {"FileWithoutName", {"--check-config", ""}, "--check-config: the name of the file is empty"},
    {"FileWithoutNameJoined", {"--check-config="}, "--check-config: the name of the file is empty"},
    {"TwoFilesJoined", {"--check-config=a", "b"}, "b: not expected here"},
};
class BadCommandLine : public ::testing::TestWithParam<BadCase> {};
TEST_P(BadCommandLine, IsRefusedWithItsReason) {
    ORB_DAEMON_OPTIONS out;
    std::string fault;
    EXPECT_FALSE(parse(GetParam().arguments, out, fault));
    EXPECT_EQ(fault, GetParam().fault);
}
INSTANTIATE_TEST_SUITE_P(Lines, BadCommandLine, ::testing::ValuesIn(BAD_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(DaemonOptions, SecondCommandLineOfAProcessIsReadAnew) {
    ORB_DAEMON_OPTIONS out;
    std::string fault;
    EXPECT_FALSE(parse({"--foreground", "file"}, out, fault));
    EXPECT_TRUE(parse({"--foreground"}, out, fault));
    EXPECT_EQ(out.mode, Mode::FOREGROUND);
}
} // namespace
