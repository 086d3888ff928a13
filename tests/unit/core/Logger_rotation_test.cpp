#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

using namespace CPlusPlusLogging;

namespace {
constexpr std::uintmax_t LARGEST = 499'999'999;
constexpr char LINKS[] = "/opt/vantor/orb/log";
constexpr char BACKUP[] = "/scratch/log/vantor/orb/backup_log";
constexpr char MAIN_BACKUP[] = "/scratch/log/vantor/orb/backup_log/orb.log_J_a_n_ ";
constexpr char DEBUG_BACKUP[] = "/scratch/log/vantor/orb/backup_log/orb-debug.log_J_a_n_ ";

class LogRotation : public ::testing::Test {
protected:
    /// The file grows by a hole, which costs nothing.
    void grow(const char *path, std::uintmax_t bytes) {
        std::filesystem::resize_file(root.map(path), bytes);
    }
    /// What is copied to this backup vanishes at once, so that only one test copies it all.
    void swallow(const char *backup) {
        root.makeDirectory(BACKUP);
        std::filesystem::create_symlink("/dev/null", root.map(backup));
    }
    bool rotate(const char *path) {
        Logger &logger = *Logger::getInstance();
        logger.lock();
        const bool rotated = logger.isFileExceeded(path);
        logger.unlock();
        return rotated;
    }
    TemporaryRoot root;
    VirtualClock clock;
    CapturedSyslog syslog;
    LogFile log{root};
};
} // namespace

TEST_F(LogRotation, LargestSizeStaysAndOneByteMoreGoes) {
    swallow(MAIN_BACKUP);
    Logger::getInstance()->info("old", IPMI, 1);
    grow(LogFile::MAIN, LARGEST);
    EXPECT_FALSE(rotate(LogFile::MAIN));
    EXPECT_EQ(std::filesystem::file_size(root.map(LogFile::MAIN)), LARGEST);
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_TRUE(rotate(LogFile::MAIN));
    EXPECT_EQ(root.read(LogFile::MAIN), "");
    Logger::getInstance()->info("new", IPMI, 2);
    EXPECT_EQ(root.read(LogFile::MAIN), "Jan 3 08:04:09 [INFO]    002 IPMI: new\n");
    EXPECT_FALSE(rotate(LogFile::MAIN));
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogRotation, CopiesTheWholeLogAndLinksTheNewBackupDirectory) {
    Logger::getInstance()->info("first line", IPMI, 1);
    const std::string head = root.read(LogFile::MAIN);
    grow(LogFile::MAIN, LARGEST);
    Logger::getInstance()->info("last line", IPMI, 2);
    const std::uintmax_t size = std::filesystem::file_size(root.map(LogFile::MAIN));
    ASSERT_FALSE(root.exists(BACKUP));
    ASSERT_TRUE(rotate(LogFile::MAIN));
    EXPECT_EQ(std::filesystem::file_size(root.map(MAIN_BACKUP)), size);
    std::ifstream backup(root.map(MAIN_BACKUP), std::ios::binary);
    std::string text(head.size(), ' ');
    backup.read(text.data(), static_cast<std::streamsize>(text.size()));
    EXPECT_EQ(text, head);
    backup.seekg(static_cast<std::streamoff>(LARGEST));
    std::getline(backup, text);
    EXPECT_EQ(text, "Jan 3 08:04:09 [INFO]    002 IPMI: last line");
    EXPECT_EQ(std::filesystem::read_symlink(root.map(std::string(LINKS) + "/backup_log")),
              root.map(BACKUP));
    EXPECT_EQ(std::filesystem::status(root.map(BACKUP)).permissions(),
              std::filesystem::perms::owner_all);
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogRotation, BackupDirectoryThatIsThereIsNotLinkedAgain) {
    swallow(MAIN_BACKUP);
    Logger::loggerInit();
    ASSERT_TRUE(std::filesystem::remove(root.map(std::string(LINKS) + "/backup_log")));
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_TRUE(rotate(LogFile::MAIN));
    EXPECT_FALSE(std::filesystem::exists(
        std::filesystem::symlink_status(root.map(std::string(LINKS) + "/backup_log"))));
}

TEST_F(LogRotation, LaterRotationOfTheMonthTakesTheSameName) {
    swallow(MAIN_BACKUP);
    Logger::loggerInit();
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_TRUE(rotate(LogFile::MAIN));
    clock.advance(20 * 86400); // the 23rd
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_TRUE(rotate(LogFile::MAIN));
    const std::filesystem::directory_iterator backups(root.map(BACKUP));
    EXPECT_EQ(std::distance(begin(backups), end(backups)), 1);
}

TEST_F(LogRotation, DebugLogHasItsOwnBackup) {
    swallow(DEBUG_BACKUP);
    Logger &logger = *Logger::getInstance();
    logger.info("stays", IPMI, 1);
    logger.debug("goes", IPMI, 1);
    grow(LogFile::DEBUG, LARGEST + 1);
    EXPECT_TRUE(rotate(LogFile::DEBUG));
    logger.debug("new", IPMI, 2);
    EXPECT_EQ(root.read(LogFile::DEBUG), "Jan 3 08:04:09 [DEBUG] 002 IPMI: new\n");
    EXPECT_EQ(root.read(LogFile::MAIN), "Jan 3 08:04:09 [INFO]    001 IPMI: stays\n");
}

TEST_F(LogRotation, AnyThirdPathActsOnTheDebugLog) {
    root.write("/var/log/orb/third", "");
    root.makeDirectory(BACKUP);
    std::filesystem::create_symlink("/dev/null", root.map(std::string(BACKUP) + "/third_J_a_n_ "));
    Logger &logger = *Logger::getInstance();
    logger.debug("goes without a copy", IPMI, 1);
    grow("/var/log/orb/third", LARGEST + 1);
    EXPECT_TRUE(rotate("/var/log/orb/third"));
    EXPECT_EQ(root.read(LogFile::DEBUG), "");
    EXPECT_EQ(std::filesystem::file_size(root.map("/var/log/orb/third")), LARGEST + 1);
}

TEST_F(LogRotation, BackupNameFollowsTheLastSlashOfEitherKind) {
    const std::string path = "/var/log/orb/win\\name.log";
    const std::string backup = std::string(BACKUP) + "/name.log_J_a_n_ ";
    root.write(path, "");
    swallow(backup.c_str());
    Logger::loggerInit();
    grow(path.c_str(), LARGEST + 1);
    EXPECT_TRUE(rotate(path.c_str()));
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogRotation, MissingFileIsNoReasonToRotate) {
    Logger::loggerInit();
    std::filesystem::remove(root.map(LogFile::MAIN));
    EXPECT_FALSE(rotate(LogFile::MAIN));
    EXPECT_FALSE(root.exists(BACKUP));
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogRotation, BackupThatCantBeWrittenKeepsTheLog) {
    root.makeDirectory(MAIN_BACKUP);
    Logger &logger = *Logger::getInstance();
    logger.info("kept", IPMI, 1);
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_FALSE(rotate(LogFile::MAIN));
    EXPECT_EQ(std::filesystem::file_size(root.map(LogFile::MAIN)), LARGEST + 1);
    ASSERT_EQ(syslog.lines().size(), 1u);
    EXPECT_EQ(syslog.lines()[0].priority, 3);
    EXPECT_EQ(syslog.lines()[0].text,
              "Error backing up ORB log file [/var/log/orb/orb.log] to "
              "[/scratch/log/vantor/orb/backup_log/orb.log_J_a_n_ ]: 21 - Is a directory");
    logger.info("goes on", IPMI, 2);
    EXPECT_GT(std::filesystem::file_size(root.map(LogFile::MAIN)), LARGEST + 1);
}

TEST_F(LogRotation, DiskThatFillsUpKeepsTheLogAndDropsThePiece) {
    root.makeDirectory(BACKUP);
    std::filesystem::create_symlink("/dev/full", root.map(MAIN_BACKUP));
    Logger::getInstance()->info("kept", IPMI, 1);
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_FALSE(rotate(LogFile::MAIN));
    EXPECT_EQ(std::filesystem::file_size(root.map(LogFile::MAIN)), LARGEST + 1);
    EXPECT_EQ(syslog.count(3, ": 28 - No space left on device"), 1);
    EXPECT_FALSE(root.exists(MAIN_BACKUP));
}

TEST_F(LogRotation, BackupDirectoryThatCantBeMadeKeepsTheLog) {
    Logger::getInstance()->info("kept", IPMI, 1);
    std::filesystem::remove(root.map("/scratch/log/vantor/orb"));
    grow(LogFile::MAIN, LARGEST + 1);
    EXPECT_FALSE(rotate(LogFile::MAIN));
    EXPECT_EQ(syslog.count(3, ": 2 - No such file or directory"), 1);
    EXPECT_EQ(std::filesystem::file_size(root.map(LogFile::MAIN)), LARGEST + 1);
}
