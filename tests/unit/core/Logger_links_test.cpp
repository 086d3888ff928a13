#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

using namespace CPlusPlusLogging;

namespace {
constexpr char LINKS[] = "/opt/vantor/orb/log";
constexpr char BACKUP[] = "/scratch/log/vantor/orb/backup_log";
constexpr char MAIN_LOG[] = "/var/log/orb/orb.log";
constexpr char DEBUG_LOG[] = "/var/log/orb/orb-debug.log";

/// The links that the logger makes at its start.
class LogLinks : public ::testing::Test {
protected:
    LogLinks() { root.makeDirectory(LINKS); }
    void start(const std::string &mainLog, bool debug, const std::string &debugLog) {
        root.write("/etc/config/vantor/orb/orb.conf",
                   R"({"ORBLogLocation": ")" + mainLog + R"(", "EnableDebugLog": ")" +
                       (debug ? "true" : "false") + R"(", "DebugLogLocation": ")" + debugLog +
                       "\"}");
        Logger::loggerInit();
    }
    std::string targetOf(const std::string &name) {
        std::error_code none;
        return std::filesystem::read_symlink(root.map(LINKS + ("/" + name)), none);
    }
    void expectOneWarning(const std::string &text) {
        ASSERT_EQ(syslog.lines().size(), 1u);
        EXPECT_EQ(syslog.lines()[0].ident, "orb");
        EXPECT_EQ(syslog.lines()[0].facility, 8);
        EXPECT_EQ(syslog.lines()[0].priority, 4);
        EXPECT_EQ(syslog.lines()[0].text, text);
    }
    TemporaryRoot root;
    VirtualClock clock;
    CapturedSyslog syslog;
};
} // namespace

TEST_F(LogLinks, LeadToBothLogsAndTheBackups) {
    root.makeDirectory(BACKUP);
    start(MAIN_LOG, true, DEBUG_LOG);
    EXPECT_EQ(targetOf("orb.log"), root.map(MAIN_LOG));
    EXPECT_EQ(targetOf("orb-debug.log"), root.map(DEBUG_LOG));
    EXPECT_EQ(targetOf("backup_log"), root.map(BACKUP));
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogLinks, LeadToTheBackupsUnderASystemLogToo) {
    root.makeDirectory(BACKUP);
    start("syslog", true, "syslog");
    EXPECT_EQ(targetOf("backup_log"), root.map(BACKUP));
    EXPECT_TRUE(std::filesystem::is_directory(root.map(std::string(LINKS) + "/backup_log")));
}

TEST_F(LogLinks, TargetThatIsNotThereIsNoFailure) {
    start(MAIN_LOG, false, DEBUG_LOG); // neither a debug log nor a backup directory
    EXPECT_EQ(targetOf("orb.log"), root.map(MAIN_LOG));
    EXPECT_FALSE(root.exists(std::string(LINKS) + "/orb-debug.log"));
    EXPECT_FALSE(root.exists(std::string(LINKS) + "/backup_log"));
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogLinks, DebugLogFromBeforeIsLinkedThoughItIsOff) {
    root.write(DEBUG_LOG, "old\n");
    start(MAIN_LOG, false, DEBUG_LOG);
    EXPECT_EQ(targetOf("orb-debug.log"), root.map(DEBUG_LOG));
}

TEST_F(LogLinks, OldLinkIsReplaced) {
    std::filesystem::create_symlink("/nowhere", root.map(std::string(LINKS) + "/orb.log"));
    start(MAIN_LOG, false, "syslog");
    EXPECT_EQ(targetOf("orb.log"), root.map(MAIN_LOG));
}

TEST_F(LogLinks, RealFileInThePlaceIsRemoved) {
    root.write(std::string(LINKS) + "/orb.log", "a real file");
    start(MAIN_LOG, false, "syslog");
    EXPECT_EQ(targetOf("orb.log"), root.map(MAIN_LOG));
}

TEST_F(LogLinks, EmptyDirectoryInThePlaceIsRemoved) {
    root.makeDirectory(std::string(LINKS) + "/orb.log");
    start(MAIN_LOG, false, "syslog");
    EXPECT_EQ(targetOf("orb.log"), root.map(MAIN_LOG));
}

TEST_F(LogLinks, DirectoryWithContentInThePlaceStays) {
    root.write(std::string(LINKS) + "/orb.log/content", "");
    start(MAIN_LOG, false, "syslog");
    expectOneWarning("remove(/opt/vantor/orb/log/orb.log) completed with errno [39]");
    EXPECT_TRUE(root.exists(std::string(LINKS) + "/orb.log/content"));
}

TEST_F(LogLinks, LogThatLiesAmongTheLinksLosesItsName) {
    start("/opt/vantor/orb/log/orb.log", false, "syslog");
    expectOneWarning("Target path(/opt/vantor/orb/log/orb.log) matches symbolic link path("
                     "/opt/vantor/orb/log/orb.log). Hence, symbolic link will not be created.");
    EXPECT_FALSE(root.exists("/opt/vantor/orb/log/orb.log"));
}

TEST_F(LogLinks, MissingLinkDirectoryIsNotMade) {
    std::filesystem::remove(root.map(LINKS));
    start(MAIN_LOG, false, "syslog");
    expectOneWarning("symlink(/var/log/orb/orb.log, /opt/vantor/orb/log/orb.log) completed with "
                     "errno [2]");
    EXPECT_FALSE(root.exists(LINKS));
}

TEST_F(LogLinks, TargetWithoutBaseNameIsNotLinked) {
    start("/var/log/orb/", false, "syslog");
    ASSERT_EQ(syslog.lines().size(), 2u);
    EXPECT_EQ(syslog.lines()[0].priority, 3);
    EXPECT_EQ(syslog.lines()[0].text,
              "Error opening ORB log file [/var/log/orb/]: 21 - Is a directory");
    EXPECT_EQ(syslog.lines()[1].priority, 4);
    EXPECT_EQ(syslog.lines()[1].text, "basename(/var/log/orb/) returned NULL");
}
