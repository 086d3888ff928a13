#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/Logger.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

using namespace CPlusPlusLogging;

namespace {
constexpr int THREADS = 8, LINES = 400;

class LogThreads : public ::testing::Test {
protected:
    /// Starts all threads at once; each logs its number and a counter on both channels.
    void startWriters() {
        for (int number = 0; number < THREADS; ++number)
            writers.emplace_back([number] {
                for (int i = 0; i < LINES; ++i) {
                    ORB_LOG_INFO(IPMI, format_text("writer %d line %d end", number, i));
                    ORB_LOG_DEBUG(IPMI, format_text("writer %d line %d end", number, i));
                }
            });
    }
    void joinWriters() {
        for (std::thread &writer : writers) writer.join();
    }
    /// Fails on a line that isn't whole. @return the counters of each writer, in order
    static std::map<int, std::vector<int>> decode(const std::string &text) {
        std::map<int, std::vector<int>> counters;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) {
            // The line number is the caller's; all else has to stand as it was written.
            const std::size_t said = line.find(" IPMI: ");
            int writer = -1;
            int counter = -1;
            if (said != std::string::npos)
                static_cast<void>(std::sscanf(line.c_str() + said, " IPMI: writer %d line %d",
                                              &writer, &counter));
            const std::string end = format_text(" IPMI: writer %d line %d end", writer, counter);
            const bool head = line.starts_with("Jan 3 08:04:09 [INFO]    ") ||
                              line.starts_with("Jan 3 08:04:09 [DEBUG] ");
            if (head && line.ends_with(end) && said <= std::strlen("Jan 3 08:04:09 [INFO]    123"))
                counters[writer].push_back(counter);
            else
                ADD_FAILURE() << "torn: " << line;
        }
        return counters;
    }
    TemporaryRoot root;
    VirtualClock clock;
    CapturedSyslog syslog;
    LogFile log{root};
    std::vector<std::thread> writers;
};
} // namespace

TEST_F(LogThreads, FirstUseByManyMakesOneLogger) {
    std::vector<Logger *> seen(THREADS);
    for (Logger *&place : seen) writers.emplace_back([&place] { place = Logger::getInstance(); });
    joinWriters();
    for (const Logger *logger : seen) EXPECT_EQ(logger, Logger::getInstance());
}

TEST_F(LogThreads, LinesStayWholeAndInOrder) {
    startWriters();
    joinWriters();
    for (const char *path : {LogFile::MAIN, LogFile::DEBUG}) {
        const auto counters = decode(root.read(path));
        ASSERT_EQ(counters.size(), static_cast<std::size_t>(THREADS));
        for (const auto &[number, lines] : counters) {
            ASSERT_EQ(lines.size(), static_cast<std::size_t>(LINES)) << number;
            for (int i = 0; i < LINES; ++i) EXPECT_EQ(lines[static_cast<std::size_t>(i)], i);
        }
    }
}

TEST_F(LogThreads, RotationUnderTheLockLosesNothingBehindIt) {
    root.makeDirectory("/scratch/log/vantor/orb/backup_log");
    std::filesystem::create_symlink("/dev/null",
                                    root.map("/scratch/log/vantor/orb/backup_log/orb.log_J_a_n_ "));
    Logger &logger = *Logger::getInstance();
    startWriters();
    logger.lock();
    std::filesystem::resize_file(root.map(LogFile::MAIN), 500'000'000);
    EXPECT_TRUE(logger.isFileExceeded(LogFile::MAIN));
    logger.unlock();
    joinWriters();
    for (const auto &[number, lines] : decode(root.read(LogFile::MAIN))) {
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), LINES - 1) << number;
        for (std::size_t i = 1; i < lines.size(); ++i) EXPECT_EQ(lines[i], lines[i - 1] + 1);
    }
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(LogThreads, LevelsMayChangeWhileOthersLog) {
    startWriters();
    Logger &logger = *Logger::getInstance();
    for (int i = 0; i < 100; ++i) {
        logger.disableLog();
        logger.updateLogLevel(LOG_LEVEL_INFO);
    }
    joinWriters();
    decode(root.read(LogFile::MAIN));
    EXPECT_EQ(logger.getLoglevel(), 2);
}
