#include "core/run_state_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <limits>
#include <optional>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FullDisk.h"
#include "fakes/TemporaryRoot.h"

namespace {
constexpr char FILE_PATH[] = "/var/tmp/vantorORBStartup.txt";
constexpr char TWIN_PATH[] = "/var/tmp/vantorORBStartuptmp.txt";
constexpr char SECRET_PATH[] = "/etc/secret";

class RunStateFile : public ::testing::Test {
protected:
    RunStateFile() { root.makeDirectory("/var/tmp"); }

    mode_t modeOf(const char *hostPath) {
        struct stat status = {};
        EXPECT_EQ(::lstat(root.map(hostPath).c_str(), &status), 0);
        return status.st_mode;
    }
    void link(const char *hostPath) {
        root.write(SECRET_PATH, "secret\n");
        ASSERT_EQ(::symlink(root.map(SECRET_PATH).c_str(), root.map(hostPath).c_str()), 0);
    }
    void pipe(const char *hostPath) { ASSERT_EQ(::mkfifo(root.map(hostPath).c_str(), 0666), 0); }

    TemporaryRoot root;
    CapturedSyslog syslog; // the paths' first reader finds no SMBIOS and says so
};

struct ReadCase {
    const char *name;
    std::string content;
    std::optional<std::int64_t> value;
};
const ReadCase READ_CASES[] = {
    {"FirstLine", "last_start 17\nlast_stop 4\ncurrent_start 0\n", 17},
    {"LastLineWithoutNewline", "current_start 5\nlast_start 99", 99},
    {"TokensNotLines", "last_start\n\n  12 ", 12},
    {"FirstOfTwoCounts", "last_start 1\nlast_start 2\n", 1},
    {"ForeignLines", "# a comment\nlast_start 8\n", 8},
    {"KeyWithinAToken", "my_last_start 1\nlast_starts 2\n", std::nullopt},
    {"KeyAsAValue", "current_start last_start\n3\n", 3},
    {"Absent", "current_start 5\nlast_stop 6\n", std::nullopt},
    {"NoTokenBehind", "current_start 5\nlast_start", std::nullopt},
    {"NoTokenButBlanks", "last_start \n\n", std::nullopt},
    {"NoNumber", "last_start soon\n", 0},
    {"NumberThenJunk", "last_start 12abc\n", 12},
    {"Negative", "last_start -3\n", -3},
    {"Saturates", "last_start 99999999999999999999\n", std::numeric_limits<std::int64_t>::max()},
    {"Empty", "", std::nullopt},
    {"Binary", std::string("\0\x01last_start 4\0 last_start 7 \xFF", 30), 7},
};
void PrintTo(const ReadCase &row, std::ostream *os) {
    *os << row.name;
}
class ReadRunState : public ::testing::TestWithParam<ReadCase> {};

struct CopyCase {
    const char *name;
    std::string content;
    std::optional<std::int64_t> value;
    std::string copy;
};
const CopyCase COPY_CASES[] = {
    {"Replaced", "current_start 1\nlast_start 2\n", 9, "current_start 9\nlast_start 2\n"},
    {"ContainsIsEnough", "x current_start_y 1\n", 9, "current_start 9\n"},
    {"EveryLineThatContainsIt", "current_start 1\ncurrent_start 2\n", 9,
     "current_start 9\ncurrent_start 9\n"},
    {"NoneGainsNone", "last_start 2\nlast_stop 3\n", 9, "last_start 2\nlast_stop 3\n"},
    {"ForeignLinesStay", "# kept\n\ncurrent_start 1\n", 9, "# kept\n\ncurrent_start 9\n"},
    {"LastLineGainsANewline", "last_start 2\nlast_stop 3", 9, "last_start 2\nlast_stop 3\n"},
    {"WithoutAValueAllAsTheyAre", "current_start 1\nx", std::nullopt, "current_start 1\nx\n"},
    {"ZeroIsAValue", "current_start 1\n", 0, "current_start 0\n"},
    {"Empty", "", 9, ""},
    {"BinaryStays", std::string("a\0b\r\n", 5), 9, std::string("a\0b\r\n", 5)},
};
void PrintTo(const CopyCase &row, std::ostream *os) {
    *os << row.name;
}
class CopyRunState : public ::testing::TestWithParam<CopyCase> {};
} // namespace

TEST_P(ReadRunState, GivesTheTokenBehindTheKey) {
    std::istringstream in(GetParam().content);
    EXPECT_EQ(read_run_state_value(in, "last_start"), GetParam().value);
}
INSTANTIATE_TEST_SUITE_P(Contents, ReadRunState, ::testing::ValuesIn(READ_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(ReadRunStateHuge, GetsThroughTenMegabytes) {
    // Made here, not in the table, which every case's process builds.
    for (const char filler : {'x', '\n'}) {
        std::istringstream in(std::string(10'000'000, filler) + "\nlast_start 6\n");
        EXPECT_EQ(read_run_state_value(in, "last_start"), 6);
    }
}

TEST_P(CopyRunState, ReplacesLinesThatContainTheKey) {
    std::istringstream in(GetParam().content);
    std::ostringstream out;
    copy_run_state(in, out, "current_start", GetParam().value);
    EXPECT_EQ(out.str(), GetParam().copy);
}
INSTANTIATE_TEST_SUITE_P(Contents, CopyRunState, ::testing::ValuesIn(COPY_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(RunStateFile, LiesDirectlyInVarTmp) {
    EXPECT_EQ(run_state_path(), FILE_PATH);
    EXPECT_EQ(run_state_temporary_path(), TWIN_PATH);
}

TEST_F(RunStateFile, ReadGivesAValueOfTheFile) {
    root.write(FILE_PATH, "current_start 1\nlast_start 2\n");
    std::optional<std::int64_t> value;
    EXPECT_TRUE(read_run_state("last_start", value));
    EXPECT_EQ(value, 2);
    EXPECT_TRUE(read_run_state("last_stop", value)) << "read, but without the key";
    EXPECT_EQ(value, std::nullopt);
}

TEST_F(RunStateFile, ReadOfAMissingFileLeavesTheValue) {
    std::optional<std::int64_t> value = 5;
    EXPECT_FALSE(read_run_state("last_start", value));
    EXPECT_EQ(value, 5);
}

TEST_F(RunStateFile, ReadFollowsNeitherLinkNorPipe) {
    std::optional<std::int64_t> value;
    pipe(FILE_PATH);
    EXPECT_FALSE(read_run_state("last_start", value));
    ASSERT_EQ(::unlink(root.map(FILE_PATH).c_str()), 0);
    link(FILE_PATH);
    EXPECT_FALSE(read_run_state("secret", value));
}

TEST_F(RunStateFile, RewriteReplacesTheFile) {
    root.write(FILE_PATH, "current_start 1\nlast_start 2\nlast_stop 3");
    EXPECT_EQ(rewrite_run_state("last_start", 7), 0);
    EXPECT_EQ(root.read(FILE_PATH), "current_start 1\nlast_start 7\nlast_stop 3\n");
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(RunStateFile, RewriteIsForItsOwnerAlone) {
    root.write(FILE_PATH, "current_start 1\n");
    const mode_t former = ::umask(0);
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    ::umask(former);
    EXPECT_EQ(modeOf(FILE_PATH), mode_t{S_IFREG | 0600});
}

TEST_F(RunStateFile, StaleTwinStaysAheadOfTheNewLines) {
    root.write(FILE_PATH, "current_start 1\n");
    root.write(TWIN_PATH, "current_start 5\nstale\n");
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    EXPECT_EQ(root.read(FILE_PATH), "current_start 5\nstale\ncurrent_start 7\n");
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(RunStateFile, StaleTwinWithoutNewlineJoinsTheFirstLine) {
    root.write(FILE_PATH, "current_start 1\n");
    root.write(TWIN_PATH, "cut");
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    EXPECT_EQ(root.read(FILE_PATH), "cutcurrent_start 7\n");
}

TEST_F(RunStateFile, MissingFileIsMinusOneAndMakesNothing) {
    EXPECT_EQ(rewrite_run_state("current_start", 7), -1);
    EXPECT_FALSE(root.exists(FILE_PATH));
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(RunStateFile, MissingFileLeavesAStaleTwinAlone) {
    root.write(TWIN_PATH, "stale\n");
    EXPECT_EQ(rewrite_run_state("current_start", 7), -1);
    EXPECT_EQ(root.read(TWIN_PATH), "stale\n");
}

TEST_F(RunStateFile, FullDiskKeepsTheFileAndDropsTheTwin) {
    const std::string content = "current_start 1\nlast_start 2\nlast_stop 3\n";
    root.write(FILE_PATH, content);
    {
        const FullDisk full(10);
        EXPECT_EQ(rewrite_run_state("current_start", 7), -2);
    }
    EXPECT_EQ(root.read(FILE_PATH), content);
    EXPECT_FALSE(root.exists(TWIN_PATH));
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0) << "with room again";
    EXPECT_EQ(root.read(FILE_PATH), "current_start 7\nlast_start 2\nlast_stop 3\n");
}

TEST_F(RunStateFile, FullDiskFarIntoALongFileKeepsIt) {
    std::string content;
    while (content.size() < 1'000'000) content += "a foreign line\n";
    root.write(FILE_PATH, content);
    {
        const FullDisk full(500'000);
        EXPECT_EQ(rewrite_run_state("current_start", 7), -2);
    }
    EXPECT_EQ(root.read(FILE_PATH), content);
    EXPECT_FALSE(root.exists(TWIN_PATH));
}

TEST_F(RunStateFile, LongLinesAreCopiedWhole) {
    const std::string content = std::string(10'000'000, 'x');
    root.write(FILE_PATH, content + "\ncurrent_start 1\n");
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    EXPECT_EQ(root.read(FILE_PATH), content + "\ncurrent_start 7\n");
}

TEST_F(RunStateFile, TwinThatIsADirectoryKeepsTheFile) {
    root.write(FILE_PATH, "current_start 1\n");
    root.makeDirectory(std::string(TWIN_PATH) + "/inside");
    EXPECT_EQ(rewrite_run_state("current_start", 7), -2);
    EXPECT_EQ(root.read(FILE_PATH), "current_start 1\n");
}

TEST_F(RunStateFile, LinkInTheTwinsPlaceIsReplacedNotFollowed) {
    root.write(FILE_PATH, "current_start 1\n");
    link(TWIN_PATH);
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    EXPECT_EQ(root.read(FILE_PATH), "current_start 7\n");
    EXPECT_EQ(modeOf(FILE_PATH), mode_t{S_IFREG | 0600});
    EXPECT_EQ(root.read(SECRET_PATH), "secret\n");
}

TEST_F(RunStateFile, PipeInTheTwinsPlaceHoldsNobodyUp) {
    root.write(FILE_PATH, "current_start 1\n");
    pipe(TWIN_PATH);
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    EXPECT_EQ(modeOf(FILE_PATH), mode_t{S_IFREG | 0600});
    EXPECT_EQ(root.read(FILE_PATH), "current_start 7\n");
}

TEST_F(RunStateFile, LinkInTheFilesPlaceIsNotRead) {
    link(FILE_PATH);
    EXPECT_EQ(rewrite_run_state("current_start", 7), -1);
    EXPECT_EQ(root.read(SECRET_PATH), "secret\n");
}

TEST_F(RunStateFile, PipeInTheFilesPlaceHoldsNobodyUp) {
    pipe(FILE_PATH);
    EXPECT_EQ(rewrite_run_state("current_start", 7), -1);
}

TEST_F(RunStateFile, EnsureMakesAnEmptyFileForItsOwner) {
    const mode_t former = ::umask(0);
    EXPECT_TRUE(ensure_private_file(root.map(FILE_PATH)));
    ::umask(former);
    EXPECT_EQ(modeOf(FILE_PATH), mode_t{S_IFREG | 0600});
    EXPECT_EQ(root.read(FILE_PATH), "");
}

TEST_F(RunStateFile, EnsureLeavesAFileAsItIs) {
    root.write(FILE_PATH, "kept\n");
    EXPECT_TRUE(ensure_private_file(root.map(FILE_PATH)));
    EXPECT_EQ(root.read(FILE_PATH), "kept\n");
}

TEST_F(RunStateFile, EnsureReplacesALink) {
    link(FILE_PATH);
    EXPECT_TRUE(ensure_private_file(root.map(FILE_PATH)));
    EXPECT_TRUE(S_ISREG(modeOf(FILE_PATH)));
    EXPECT_EQ(root.read(SECRET_PATH), "secret\n");
}

TEST_F(RunStateFile, HardLinkInTheFilesPlaceIsNeitherReadNorKept) {
    root.write(SECRET_PATH, "current_start 1\n");
    std::filesystem::create_hard_link(root.map(SECRET_PATH), root.map(FILE_PATH));
    std::optional<std::int64_t> value;
    EXPECT_FALSE(read_run_state("current_start", value));
    EXPECT_EQ(rewrite_run_state("current_start", 7), -1);
    EXPECT_TRUE(ensure_private_file(root.map(FILE_PATH)));
    EXPECT_EQ(root.read(FILE_PATH), "");
    EXPECT_EQ(root.read(SECRET_PATH), "current_start 1\n");
}

TEST_F(RunStateFile, HardLinkInTheTwinsPlaceIsReplaced) {
    root.write(FILE_PATH, "current_start 1\n");
    root.write(SECRET_PATH, "secret\n");
    std::filesystem::create_hard_link(root.map(SECRET_PATH), root.map(TWIN_PATH));
    EXPECT_EQ(rewrite_run_state("current_start", 7), 0);
    EXPECT_EQ(root.read(FILE_PATH), "current_start 7\n");
    EXPECT_EQ(root.read(SECRET_PATH), "secret\n");
}

TEST_F(RunStateFile, EnsureFailsOnADirectoryAndWithoutAFolder) {
    root.makeDirectory(FILE_PATH);
    EXPECT_FALSE(ensure_private_file(root.map(FILE_PATH)));
    EXPECT_FALSE(ensure_private_file(root.map("/none/file")));
}
