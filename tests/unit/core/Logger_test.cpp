#include "core/Logger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FakeProcess.h"
#include "fakes/FullDisk.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

using namespace CPlusPlusLogging;

namespace {
constexpr char MAIN_LOG[] = "/var/log/orb/orb.log";
constexpr char DEBUG_LOG[] = "/var/log/orb-debug/orb-debug.log";

class LoggerTest : public ::testing::Test {
protected:
    LoggerTest() {
        root.makeDirectory("/opt/vantor/orb/log");
        root.makeDirectory("/scratch/log/vantor/orb");
    }
    /// The logger under a configuration of these members.
    Logger &under(const std::string &level, const std::string &mainLog, bool debug,
                  const std::string &debugLog) {
        root.write("/etc/config/vantor/orb/orb.conf",
                   R"({"LoggingLevel": ")" + level + R"(", "ORBLogLocation": ")" + mainLog +
                       R"(", "EnableDebugLog": ")" + (debug ? "true" : "false") +
                       R"(", "DebugLogLocation": ")" + debugLog + "\"}");
        return *Logger::getInstance();
    }
    Logger &inFiles() { return under("Info", MAIN_LOG, true, DEBUG_LOG); }

    TemporaryRoot root;
    VirtualClock clock; // stands at Jan 3 08:04:09
    CapturedSyslog syslog;
};
using LoggerDeathTest = LoggerTest;

struct LineNumberCase {
    const char *name;
    int number;
    const char *text;
};
const LineNumberCase LINE_NUMBER_CASES[] = {
    {"OneDigit", 7, "007"},       {"TwoDigits", 99, "099"},      {"ThreeDigits", 100, "100"},
    {"FourDigits", 1234, "1234"}, {"FiveDigits", 12345, "1234"}, {"Zero", 0, "000"},
};
void PrintTo(const LineNumberCase &row, std::ostream *os) {
    *os << row.name;
}
class LoggerLineNumber : public LoggerTest, public ::testing::WithParamInterface<LineNumberCase> {};

struct LevelTextCase {
    const char *text;
    int level;
};
const LevelTextCase LEVEL_TEXT_CASES[] = {
    {"Error", 4},
    {"ERRORS", 4},
    {"Warning", 3},
    {"no warnings", 3},
    {"Info", 2},
    {"Information", 2},
    {"informative error", 4},
    {"info and WARNING", 3},
    {"", 3},
    {"debug", 3},
    {"inf", 3},
};

/// Which methods write at a main level.
struct LevelCase {
    int level;
    bool error, warning, info;
};
const LevelCase LEVEL_CASES[] = {
    {1, true, true, true},   {2, true, true, true},    {3, true, true, false},
    {4, true, false, false}, {6, false, false, false}, {12, false, false, false},
};
} // namespace

TEST_F(LoggerTest, FileLineHasTimeTagLineModuleAndMessage) {
    Logger &logger = inFiles();
    logger.error("broken", JOB_MGR, 7);
    logger.warning("odd", HOST_RM, 42);
    logger.info("fine", FC_RM, 100);
    logger.always("said", SAS_RM, 1234);
    logger.debug("detail", NIC_RM, 12345);
    EXPECT_EQ(root.read(MAIN_LOG), "Jan 3 08:04:09 [ERROR]   007 JOB_MGR: broken\n"
                                   "Jan 3 08:04:09 [WARNING] 042 HOST_RM: odd\n"
                                   "Jan 3 08:04:09 [INFO]    100 FC_RM: fine\n"
                                   "Jan 3 08:04:09 [INFO] 1234 SAS_RM: said\n");
    EXPECT_EQ(root.read(DEBUG_LOG), "Jan 3 08:04:09 [DEBUG] 1234 NIC_RM: detail\n");
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LoggerTest, SyslogLineIsTheSameWithoutTime) {
    Logger &logger = under("Info", "syslog", true, "syslog");
    logger.error("broken", JOB_MGR, 7);
    logger.warning("odd", HOST_RM, 42);
    logger.info("fine", FC_RM, 100);
    logger.always("said", SAS_RM, 1234);
    logger.debug("detail", NIC_RM, 12345);
    const std::pair<int, const char *> wanted[] = {
        {3, "[ERROR]   007 JOB_MGR: broken"}, {4, "[WARNING] 042 HOST_RM: odd"},
        {6, "[INFO]    100 FC_RM: fine"},     {6, "[INFO] 1234 SAS_RM: said"},
        {7, "[DEBUG] 1234 NIC_RM: detail"},
    };
    const auto lines = syslog.lines();
    ASSERT_EQ(lines.size(), std::size(wanted));
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].ident, "orb");
        EXPECT_EQ(lines[i].facility, 8);
        EXPECT_EQ(lines[i].priority, wanted[i].first);
        EXPECT_EQ(lines[i].text, wanted[i].second);
    }
}

TEST_F(LoggerTest, TextIsNeverAFormatAndKeepsItsNewlines) {
    Logger &logger = inFiles();
    logger.error("100%s %n\nsecond line", IPMI, 1);
    EXPECT_EQ(root.read(MAIN_LOG), "Jan 3 08:04:09 [ERROR]   001 IPMI: 100%s %n\nsecond line\n");
}

TEST_F(LoggerTest, LongMessageIsWrittenWhole) {
    Logger &logger = inFiles();
    const std::string text(3'000'000, 'x');
    logger.info(text, JSON_AGGR, 1);
    EXPECT_EQ(root.read(MAIN_LOG), "Jan 3 08:04:09 [INFO]    001 JSON_AGGR: " + text + "\n");
}

TEST_P(LoggerLineNumber, HasThreeToFourDigits) {
    under("Error", "syslog", false, "syslog").error("x", IPMI, GetParam().number);
    EXPECT_EQ(syslog.lines().at(0).text, std::string("[ERROR]   ") + GetParam().text + " IPMI: x");
}
INSTANTIATE_TEST_SUITE_P(Numbers, LoggerLineNumber, ::testing::ValuesIn(LINE_NUMBER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(LogLevel, IsTheFirstWordThatTheTextHolds) {
    for (const LevelTextCase &row : LEVEL_TEXT_CASES)
        EXPECT_EQ(log_level_of(row.text), row.level) << row.text;
}

TEST(LogLevel, NumbersAreFixed) {
    EXPECT_EQ(LOG_LEVEL_DEBUG, 1);
    EXPECT_EQ(LOG_LEVEL_INFO, 2);
    EXPECT_EQ(LOG_LEVEL_WARNING, 3);
    EXPECT_EQ(LOG_LEVEL_ERROR, 4);
    EXPECT_EQ(LOG_LEVEL_ENABLED, 6);
    EXPECT_EQ(LOG_LEVEL_DISABLED, 12);
}

TEST_F(LoggerTest, LevelDecidesWhatIsWritten) {
    Logger &logger = under("Info", "syslog", false, "syslog");
    for (const LevelCase &row : LEVEL_CASES) {
        logger.updateLogLevel(static_cast<LOG_LEVEL>(row.level));
        EXPECT_EQ(logger.getLoglevel(), row.level);
        const auto writes = [&](void (Logger::*method)(const std::string &, const char *, int)) {
            const std::size_t before = syslog.lines().size();
            (logger.*method)("text", IPMI, 1);
            return syslog.lines().size() == before + 1;
        };
        EXPECT_EQ(writes(&Logger::error), row.error) << row.level;
        EXPECT_EQ(writes(&Logger::warning), row.warning) << row.level;
        EXPECT_EQ(writes(&Logger::info), row.info) << row.level;
        EXPECT_TRUE(writes(&Logger::always)) << row.level;
        EXPECT_FALSE(writes(&Logger::debug)) << row.level;
    }
}

TEST_F(LoggerTest, WarningLevelDropsInfoAndPassesWarnings) {
    Logger &logger = under("Warning", MAIN_LOG, false, "syslog");
    EXPECT_EQ(logger.getLoglevel(), 3);
    logger.info("gone", IPMI, 1);
    logger.warning("kept", IPMI, 2);
    EXPECT_EQ(root.read(MAIN_LOG), "Jan 3 08:04:09 [WARNING] 002 IPMI: kept\n");
}

TEST_F(LoggerTest, DisabledLogDropsErrorsToo) {
    Logger &logger = inFiles();
    logger.disableLog();
    EXPECT_EQ(logger.getLoglevel(), 12);
    logger.error("gone", IPMI, 1);
    EXPECT_EQ(root.read(MAIN_LOG), "");
    logger.enaleLog();
    EXPECT_EQ(logger.getLoglevel(), 6);
    logger.error("gone", IPMI, 1);
    logger.info("gone", IPMI, 1);
    EXPECT_EQ(root.read(MAIN_LOG), "");
    logger.debug("the debug log goes on", IPMI, 1);
    EXPECT_NE(root.read(DEBUG_LOG), "");
}

TEST_F(LoggerTest, SyslogInAnyLettersIsTheSystemLog) {
    Logger &logger = under("Info", "SYSLOG", true, "SysLog");
    EXPECT_FALSE(logger.isLogFile());
    EXPECT_FALSE(logger.isDebugLogFile());
    logger.info("one", IPMI, 1);
    logger.debug("two", IPMI, 2);
    EXPECT_EQ(syslog.count(6, "[INFO]    001 IPMI: one"), 1);
    EXPECT_EQ(syslog.count(7, "[DEBUG] 002 IPMI: two"), 1);
}

TEST_F(LoggerTest, DebugChannelStaysClosedWhileItIsOff) {
    Logger &logger = under("Info", MAIN_LOG, false, DEBUG_LOG);
    EXPECT_EQ(logger.getDebugLoglevel(), 12);
    logger.debug("gone", IPMI, 1);
    EXPECT_FALSE(root.exists(DEBUG_LOG));
    EXPECT_TRUE(root.exists("/var/log/orb-debug")); // its directories come with the main log's
    EXPECT_EQ(root.read(MAIN_LOG), "");
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LoggerTest, DebugLinesGoToTheSystemLogAtPrioritySeven) {
    Logger &logger = under("Error", MAIN_LOG, true, "syslog");
    EXPECT_EQ(logger.getDebugLoglevel(), 1);
    logger.debug("detail", IPMI, 1);
    EXPECT_EQ(syslog.count(7, "[DEBUG] 001 IPMI: detail"), 1);
    EXPECT_EQ(root.read(MAIN_LOG), "");
}

TEST_F(LoggerTest, FilesAreAppendedTo) {
    root.write(MAIN_LOG, "from before\n");
    inFiles().error("now", IPMI, 1);
    EXPECT_EQ(root.read(MAIN_LOG), "from before\nJan 3 08:04:09 [ERROR]   001 IPMI: now\n");
}

TEST_F(LoggerTest, DirectoriesAreForTheOwnerAlone) {
    ::umask(0);
    inFiles();
    for (const char *directory : {"/var", "/var/log", "/var/log/orb", "/var/log/orb-debug"})
        EXPECT_EQ(std::filesystem::status(root.map(directory)).permissions(),
                  std::filesystem::perms::owner_all)
            << directory;
    EXPECT_EQ(Logger::getInstance()->getLogPath(), MAIN_LOG);
    EXPECT_EQ(Logger::getInstance()->getDebugLogPath(), DEBUG_LOG);
}

TEST_F(LoggerTest, LogFilesAreNotInheritedByCommands) {
    inFiles();
    int found = 0;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(entry.path(), gone);
        if (target != root.map(MAIN_LOG) && target != root.map(DEBUG_LOG)) continue;
        ++found;
        const int flags = ::fcntl(std::stoi(entry.path().filename()), F_GETFD);
        EXPECT_NE(flags & FD_CLOEXEC, 0) << target;
    }
    EXPECT_EQ(found, 2);
}

TEST_F(LoggerTest, MainLogDirectoryThatCantBeMadeEndsTheProcess) {
    root.write("/var/log", "a file in the way");
    FakeProcess process;
    try {
        inFiles();
        ADD_FAILURE() << "the process went on";
    } catch (const ProcessExit &end) {
        EXPECT_EQ(end.status, -10);
    }
    ASSERT_EQ(syslog.lines().size(), 1u);
    EXPECT_EQ(syslog.lines()[0].priority, 3);
    EXPECT_EQ(syslog.lines()[0].ident, "orb");
    EXPECT_EQ(syslog.lines()[0].facility, 8);
    EXPECT_EQ(syslog.lines()[0].text, "Failed to create directory path for ORB log file "
                                      "[/var/log/orb/orb.log]: 20 - Not a directory");
}

TEST_F(LoggerTest, DebugLogDirectoryThatCantBeMadeEndsTheProcess) {
    root.write("/srv", "a file in the way");
    FakeProcess process;
    try {
        under("Info", MAIN_LOG, false, "/srv/orb/debug.log"); // even with the debug log off
        ADD_FAILURE() << "the process went on";
    } catch (const ProcessExit &end) {
        EXPECT_EQ(end.status, -11);
    }
    ASSERT_EQ(syslog.lines().size(), 1u);
    EXPECT_EQ(syslog.lines()[0].priority, 3);
    EXPECT_EQ(syslog.lines()[0].text, "Failed to create directory path for ORB debug log file "
                                      "[/srv/orb/debug.log]: 20 - Not a directory");
}

TEST_F(LoggerDeathTest, ShellSees246ForTheMainLog) {
    root.write("/var/log", "a file in the way");
    EXPECT_EXIT(inFiles(), ::testing::ExitedWithCode(246), "");
}
TEST_F(LoggerDeathTest, ShellSees245ForTheDebugLog) {
    root.write("/var/log/orb-debug", "a file in the way");
    EXPECT_EXIT(under("Info", MAIN_LOG, true, "/var/log/orb-debug/more/orb-debug.log"),
                ::testing::ExitedWithCode(245), "");
}

TEST_F(LoggerTest, FileThatCantBeOpenedCostsItsLinesOnly) {
    root.makeDirectory(MAIN_LOG);
    root.makeDirectory(DEBUG_LOG);
    Logger &logger = inFiles();
    EXPECT_EQ(
        syslog.count(3, "Error opening ORB log file [/var/log/orb/orb.log]: 21 - Is a directory"),
        1);
    EXPECT_EQ(syslog.count(3, "Error opening the ORB debug log file"
                              "[/var/log/orb-debug/orb-debug.log]: 21 - Is a directory"),
              1);
    const std::size_t before = syslog.lines().size();
    logger.error("lost", IPMI, 1);
    logger.debug("lost", IPMI, 1);
    EXPECT_EQ(syslog.lines().size(), before);
}

TEST_F(LoggerTest, OwnTroubleIsToldIn4095Characters) {
    under("Info", '/' + std::string(5000, 'x'), false, "syslog");
    ASSERT_EQ(syslog.lines().size(), 1u);
    const std::string head = "Error opening ORB log file [/";
    EXPECT_EQ(syslog.lines()[0].text, head + std::string(4095 - head.size(), 'x'));
}

TEST_F(LoggerTest, DebugFileHasNoDirectoriesOfItsOwnUnderASystemLog) {
    Logger &logger = under("Info", "syslog", true, DEBUG_LOG);
    ASSERT_EQ(syslog.lines().size(), 1u);
    EXPECT_EQ(syslog.lines()[0].priority, 3);
    EXPECT_EQ(syslog.lines()[0].text, "Error opening the ORB debug log file"
                                      "[/var/log/orb-debug/orb-debug.log]: 2 - No such file or "
                                      "directory");
    logger.debug("lost", IPMI, 1);
    EXPECT_EQ(syslog.lines().size(), 1u);
}

TEST_F(LoggerTest, FileLoggingWithoutAnOpenFileLosesItsLines) {
    Logger &logger = under("Info", "syslog", false, "syslog");
    logger.enableFileLogging();
    EXPECT_TRUE(logger.isLogFile());
    logger.error("lost", IPMI, 1);
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LoggerTest, FullDiskCostsTheLinesOfThatTimeOnly) {
    Logger &logger = inFiles();
    logger.error("before", IPMI, 1);
    {
        const FullDisk full(std::filesystem::file_size(root.map(MAIN_LOG)));
        logger.error("lost", IPMI, 2);
    }
    logger.error("after", IPMI, 3);
    EXPECT_EQ(root.read(MAIN_LOG), "Jan 3 08:04:09 [ERROR]   001 IPMI: before\n"
                                   "Jan 3 08:04:09 [ERROR]   003 IPMI: after\n");
}

TEST_F(LoggerTest, InstanceIsOneAndTheSame) {
    Logger::loggerInit();
    Logger *first = Logger::getInstance();
    Logger::loggerInit();
    EXPECT_EQ(Logger::getInstance(), first);
}

TEST_F(LoggerTest, TextsAreOnlyBuiltWhereTheyAreWanted) {
    Logger &logger = under("Info", "syslog", false, "syslog");
    for (const LevelCase &row : LEVEL_CASES) {
        logger.updateLogLevel(static_cast<LOG_LEVEL>(row.level));
        int built = 0;
        const auto text = [&built] {
            ++built;
            return std::string("text");
        };
        const std::size_t before = syslog.lines().size();
        ORB_LOG_ERROR(IPMI, text());
        EXPECT_EQ(built, row.error ? 1 : 0) << row.level;
        ORB_LOG_WARNING(IPMI, text());
        EXPECT_EQ(built, row.error + row.warning) << row.level;
        ORB_LOG_INFO(IPMI, text());
        EXPECT_EQ(built, row.error + row.warning + row.info) << row.level;
        EXPECT_EQ(syslog.lines().size() - before, static_cast<std::size_t>(built)) << row.level;
        // At level 1 a debug text is built, and dropped because the debug log is off.
        ORB_LOG_DEBUG(IPMI, text());
        EXPECT_EQ(built, row.error + row.warning + row.info + (row.level == 1 ? 1 : 0));
    }
    EXPECT_EQ(syslog.count(7, ""), 0);
}

TEST_F(LoggerTest, DebugTextIsBuiltWhereTheDebugLogIsOn) {
    under("Error", "syslog", true, "syslog");
    ORB_LOG_DEBUG(IPMI, format_text("%d pieces", 3));
    EXPECT_EQ(syslog.count(7, "IPMI: 3 pieces"), 1);
}

TEST_F(LoggerTest, LineNumberIsTheCallers) {
    under("Error", "syslog", false, "syslog");
    const int line = __LINE__ + 1;
    ORB_LOG_ERROR(IPMI, "here");
    EXPECT_EQ(syslog.lines().at(0).text, "[ERROR]   " + std::to_string(line) + " IPMI: here");
}
