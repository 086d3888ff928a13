#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "LabRun.h"
#include "core/json_text.h"

namespace {
struct UsageCase {
    const char *name;
    std::vector<std::string> arguments;
    const char *error;
};
const UsageCase USAGES[] = {
    {"UnknownOption",
     {"--colour"},
     "orblab: --colour: unknown option, or not unique\nTry orblab --help.\n"},
    {"AmbiguousOption",
     {"--s", "5"},
     "orblab: --s: unknown option, or not unique\nTry orblab --help.\n"},
    {"ShortOptions", {"-xy"}, "orblab: -x: unknown option\nTry orblab --help.\n"},
    {"FlagWithValue", {"--once=3"}, "orblab: --once=3: takes no value\nTry orblab --help.\n"},
    {"EmptyCommands", {"--commands", ""}, "orblab: --commands: needs a FIFO\nTry orblab --help.\n"},
    {"EmptyData", {"--data", ""}, "orblab: --data: needs a folder\nTry orblab --help.\n"},
    {"Argument", {"now"}, "orblab: now: unexpected argument\nTry orblab --help.\n"},
    {"NoValue", {"--speed"}, "orblab: --speed: needs a value\nTry orblab --help.\n"},
    {"SpeedText",
     {"--speed", "fast"},
     "orblab: --speed fast: must be a number from 0.1 to 1000000\nTry orblab --help.\n"},
    {"SpeedZero",
     {"--speed", "0"},
     "orblab: --speed 0: must be a number from 0.1 to 1000000\nTry orblab --help.\n"},
    {"OtherHost",
     {"--host", "bsd"},
     "orblab: --host bsd: only linux is known\nTry orblab --help.\n"},
    {"LocationWithoutCode",
     {"--decode-location"},
     "orblab: --decode-location: needs a value\nTry orblab --help.\n"},
    {"BmcWithoutPort", {"--bmc"}, "orblab: --bmc: needs a value\nTry orblab --help.\n"},
    {"BmcPort",
     {"--bmc", "65536"},
     "orblab: --bmc 65536: must be a port from 0 to 65535\nTry orblab --help.\n"},
    {"BmcOnce",
     {"--bmc", "0", "--once"},
     "orblab: --bmc: has no simulated server, so --once means nothing with it\n"
     "Try orblab --help.\n"},
    {"BmcKeep",
     {"--keep", "--bmc", "0"},
     "orblab: --bmc: has no simulated server, so --keep means nothing with it\n"
     "Try orblab --help.\n"},
    {"BmcScenario",
     {"--bmc", "0", "--scenario", "small"},
     "orblab: --bmc: has no simulated server, so --scenario means nothing with it\n"
     "Try orblab --help.\n"},
    {"BmcListScenarios",
     {"--bmc", "0", "--list-scenarios"},
     "orblab: --bmc: has no simulated server, so --list-scenarios means nothing with it\n"
     "Try orblab --help.\n"},
    {"BmcHost",
     {"--bmc", "0", "--host", "linux"},
     "orblab: --bmc: has no simulated server, so --host means nothing with it\n"
     "Try orblab --help.\n"},
    {"BmcSpeed",
     {"--speed", "1", "--bmc", "0"},
     "orblab: --bmc: has no simulated server, so --speed means nothing with it\n"
     "Try orblab --help.\n"},
    {"EmptyOutput", {"--output", ""}, "orblab: --output: needs a folder\nTry orblab --help.\n"},
};
void PrintTo(const UsageCase &row, std::ostream *os) {
    *os << row.name;
}
class LabUsage : public ::testing::TestWithParam<UsageCase> {};
TEST_P(LabUsage, IsToldAndGivesTwo) {
    LabRun lab;
    EXPECT_EQ(lab.run(GetParam().arguments), 2);
    EXPECT_EQ(lab.err(), GetParam().error);
    EXPECT_EQ(lab.out(), "");
    EXPECT_FALSE(std::filesystem::exists(lab.output()));
}
INSTANTIATE_TEST_SUITE_P(Lines, LabUsage, ::testing::ValuesIn(USAGES),
                         [](const auto &row) { return std::string(row.param.name); });
} // namespace

TEST(LabProgram, Version) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--version"}), 0);
    EXPECT_EQ(lab.out(), "orblab " ORB_VERSION "\n");
}

TEST(LabProgram, HelpNamesEveryOption) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--help"}), 0);
    for (const char *option : {"--scenario", "--list-scenarios", "--host linux", "--speed",
                               "--once", "--output", "--keep", "--commands", "--data", "--quiet",
                               "--json", "--bmc", "--decode-location", "--version", "--help"})
        EXPECT_NE(lab.out().find(option), std::string::npos) << option;
}

TEST(LabProgram, DecodesALocation) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--decode-location", "0203010100030021"}), 0);
    EXPECT_EQ(lab.out(), "Generation  first\n"
                         "Unit        I/O slot\n"
                         "Place       rack 1, unit 1, partition 0, slot 3\n"
                         "GeoID       r001u01p0i03\n");
    EXPECT_EQ(lab.run({"--json", "--decode-location", "0203010100030021"}), 0);
    Json::Value read;
    ASSERT_TRUE(parse_json(lab.out(), read)) << lab.out();
    EXPECT_EQ(read["slot"].asInt(), 3);
    EXPECT_EQ(lab.run({"--decode-location", "FFFFFFFFFFFFFFFF"}), 1);
    EXPECT_EQ(lab.err(), "orblab: --decode-location FFFFFFFFFFFFFFFF: is the code of an unknown "
                         "location\n");
    EXPECT_EQ(lab.run({"--decode-location", "\x1b[31m"}), 1);
    EXPECT_EQ(lab.err(), "orblab: --decode-location .[31m: must have 16 hexadecimal digits, not 5 "
                         "characters\n");
    EXPECT_EQ(lab.out(), "");
    EXPECT_FALSE(std::filesystem::exists(lab.output()));
}

TEST(LabProgram, ListsEveryScenario) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--list-scenarios"}), 0);
    std::size_t files = 0, width = 0;
    for (const auto &entry : std::filesystem::directory_iterator(ORB_SCENARIOS)) {
        ++files;
        const std::string name = entry.path().stem().string();
        EXPECT_NE(lab.out().find(name + " "), std::string::npos);
        width = std::max(width, name.size());
    }
    EXPECT_GE(files, 20u);
    std::istringstream lines(lab.out());
    for (std::string line; std::getline(lines, line);) {
        ASSERT_GT(line.size(), width + 1) << line;
        EXPECT_TRUE(line[width] == ' ' && line[width + 1] != ' ') << "the titles' column: " << line;
    }
    EXPECT_EQ(lab.err(), "");
}

TEST(LabProgram, OutputThatCannotBeWrittenIsTold) {
    LabRun lab;
    for (const char *option : {"--version", "--help", "--list-scenarios"})
        for (const char *output : {">/dev/full", ">&-"}) {
            const std::string line = std::string(ORBLAB_PROGRAM " ") + option + " " + output +
                                     " 2>" + lab.folder() + "/stderr";
            EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 1) << line;
            EXPECT_EQ(lab.err().find("orblab: standard output: "), 0u) << line << lab.err();
        }
}

TEST(LabProgram, ClosedOutputIsNoPlaceForAFile) {
    LabRun lab;
    const std::string line = ORBLAB_PROGRAM " --once --speed 100 --scenario boot-after-crash "
                                            "--output " +
                             lab.output() + " >&- 2>" + lab.folder() + "/stderr";
    EXPECT_EQ(WEXITSTATUS(std::system(line.c_str())), 1);
    EXPECT_EQ(lab.err().find("orblab: standard output: Bad file descriptor\n"), 0u) << lab.err();
    for (const Json::Value &event : lab.lines("events.jsonl")) EXPECT_TRUE(event.isMember("ID"));
}

TEST(LabProgram, UnknownScenario) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--scenario", "nowhere"}), 1);
    EXPECT_EQ(lab.err(), "orblab: --scenario nowhere: not in " ORB_SCENARIOS
                         ", --list-scenarios names those that are\n");
    EXPECT_EQ(lab.run({"--scenario", "nowhere.json"}), 1);
    EXPECT_EQ(lab.err(), "orblab: nowhere.json: can't be read\n");
    EXPECT_FALSE(std::filesystem::exists(lab.output()));
}

TEST(LabProgram, ScenarioWithoutAnEndIsRefused) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--scenario", "/dev/zero"}), 1);
    EXPECT_EQ(lab.err(), "orblab: /dev/zero: longer than 4 MiB\n");
    EXPECT_EQ(lab.run({"--scenario", lab.folder() + "/"}), 1);
    EXPECT_EQ(lab.err(), "orblab: " + lab.folder() + "/: can't be read\n");
}

TEST(LabProgram, ScenarioThatIsNoJsonIsToldInOneLine) {
    LabRun lab;
    lab.write("bad.json", "{\"host\":\n x}");
    EXPECT_EQ(lab.run({"--scenario", lab.folder() + "/bad.json"}), 1);
    EXPECT_EQ(lab.err().find("orblab: " + lab.folder() +
                             "/bad.json: not JSON: Line 2, Column 2 "
                             "Syntax error: value, object or array expected.\n"),
              0u)
        << lab.err();
}

TEST(LabProgram, BrokenScenarioNamesThePlace) {
    LabRun lab;
    lab.write("bad.json", R"({"host":{"name":"a","colour":1}})");
    EXPECT_EQ(lab.run({"--scenario", lab.folder() + "/bad.json"}), 1);
    EXPECT_EQ(lab.err(), "orblab: " + lab.folder() + "/bad.json: host.colour: unknown key\n");
}

TEST(LabProgram, ForeignRootIsLeftAlone) {
    LabRun lab;
    std::filesystem::create_directories(lab.output() + "/root");
    std::ofstream(lab.output() + "/root" + "/precious") << "text";
    EXPECT_EQ(lab.run({"--once"}), 1);
    EXPECT_EQ(lab.err(),
              "orblab: " + lab.output() + "/root: is there already and was not made by orblab\n");
    EXPECT_EQ(lab.read("root/precious"), "text");
}

TEST(LabProgram, OutputThatCannotBeMade) {
    LabRun lab("file/out");
    lab.write("file", "");
    EXPECT_EQ(lab.run({"--once"}), 1);
    EXPECT_EQ(lab.err().find("orblab: " + lab.output() + ": "), 0u);
}

TEST(LabProgram, CommandsFileThatIsNoFifo) {
    LabRun lab;
    lab.write("plain", "");
    EXPECT_EQ(lab.run({"--once", "--commands", lab.folder() + "/plain"}), 1);
    EXPECT_EQ(lab.err(), "orblab: " + lab.folder() + "/plain: is no FIFO\n");
}

TEST(LabProgram, DataFolderWithoutSchemas) {
    LabRun lab;
    std::filesystem::create_directories(lab.folder() + "/data/scenarios");
    std::filesystem::copy_file(ORB_SCENARIOS "/first-generation.json",
                               lab.folder() + "/data/scenarios/first-generation.json");
    EXPECT_EQ(lab.run({"--once", "--data", lab.folder() + "/data"}), 1);
    EXPECT_EQ(lab.err(),
              "orblab: " + lab.folder() + "/data/schemas/inventory.schema.json: can't be read\n");
}
