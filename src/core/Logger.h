#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "core/format_text.h"
#include "core/log_file.h"
#include "core/orbModuleTags.h"

namespace CPlusPlusLogging {

enum LOG_LEVEL : std::int32_t {
    LOG_LEVEL_DEBUG = 1,
    LOG_LEVEL_INFO = 2,
    LOG_LEVEL_WARNING = 3,
    LOG_LEVEL_ERROR = 4,
    LOG_LEVEL_ENABLED = 6,
    LOG_LEVEL_DISABLED = 12,
};

/// The daemon's one log sink, with a main and a debug channel that each go to a file or to syslog.
/// Created on first use, on the heap, and never destroyed, so that late threads may still log.
/// Any thread may log. Nothing may log before `main`: a debug build asserts it.
class Logger {
public:
    /// The logger; the first call reads the configuration, makes the log directories (a failure
    /// ends the process with status -10 for the main log's, -11 for the debug log's) and opens the
    /// files.
    static Logger *getInstance();
    static void loggerInit(); ///< creates the logger where there is none yet

    /// Takes and releases the lock of all writes, for isFileExceeded(). Between the two the caller
    /// must not log: the lock is not recursive.
    void lock();
    void unlock();

    /// One line each. @param module a tag of orbModuleTags.h @param line the caller's line number
    void error(const std::string &msg, const char *module, int line);   ///< main level below 5
    void warning(const std::string &msg, const char *module, int line); ///< main level below 4
    void info(const std::string &msg, const char *module, int line);    ///< main level below 3
    void always(const std::string &msg, const char *module, int line);  ///< tag "[INFO]", any level
    void debug(const std::string &msg, const char *module, int line);   ///< debug level 1

    void updateLogLevel(LOG_LEVEL level);
    std::int32_t getLoglevel() const { return logLevel; }
    std::int32_t getDebugLoglevel() const { return debugLogLevel; }
    void enaleLog();          ///< level 6: neither error nor info lines pass
    void disableLog();        ///< level 12
    void enableFileLogging(); ///< the main channel becomes a file

    /// Moves a log file of 500,000,000 bytes or more to the backup directory and starts it anew.
    /// Takes no lock: call between lock() and unlock(). Its own failures go to syslog.
    /// @param path  getLogPath() or the debug log's; any path but the first acts on the debug log
    /// @return true when the file was rotated
    bool isFileExceeded(const std::string &path);

    const std::string &getLogPath() const { return logPath; }
    const std::string &getDebugLogPath() const { return debugLogPath; }
    bool isLogFile() const { return logType == TYPE_FILE; }
    bool isDebugLogFile() const { return debugLogType == TYPE_FILE; }

private:
    static constexpr std::int32_t TYPE_FILE = 2, TYPE_SYSLOG = 3;

    Logger();
    void openLogs();
    void openMain();
    void openDebug();
    void log(const char *tag, const std::string &msg, const char *module, int line);
    void logIntoFile(const char *tag, const std::string &msg, const char *module, int line);
    void logIntoSyslog(const char *tag, const std::string &msg, const char *module, int line);
    static int createSymbolicLink(const std::string &target, const std::string &directory);

    static std::atomic<Logger *> m_Instance;

    orbLogFile mainFile;                                         // guarded by mutex
    orbLogFile debugFile;                                        // guarded by mutex
    std::string debugLogPath;                                    // set by the constructor
    std::string logPath;                                         // set by the constructor
    std::mutex mutex;                                            // serialises all writes
    std::atomic<std::int32_t> logLevel{LOG_LEVEL_WARNING};       // any thread reads
    std::atomic<std::int32_t> debugLogLevel{LOG_LEVEL_DISABLED}; // any thread reads
    std::atomic<std::int32_t> logType{TYPE_SYSLOG};              // any thread reads
    std::int32_t debugLogType = TYPE_SYSLOG;                     // set by the constructor
};

/// The level that a configured text stands for: by the first of "error", "warning" and "info" that
/// it holds, in any letters; warnings for any other text.
std::int32_t log_level_of(const std::string &text);

/// Tells that `main` runs, after which logging is allowed. Called once, first thing.
void log_after_main_began();

/// Whether a text of a level is worth building. A debug text is built, and then dropped, where the
/// debug channel is off but the main level is down to 1.
inline bool log_wants_debug() {
    const Logger *logger = Logger::getInstance();
    return logger->getDebugLoglevel() == LOG_LEVEL_DEBUG || logger->getLoglevel() <= 1;
}
inline bool log_wants_info() {
    return Logger::getInstance()->getLoglevel() < 3;
}
inline bool log_wants_warning() {
    return Logger::getInstance()->getLoglevel() <= 3;
}
inline bool log_wants_error() {
    return Logger::getInstance()->getLoglevel() < 5;
}

} // namespace CPlusPlusLogging

/// One log line each; `text`, usually format_text(...), is only evaluated where it is wanted.
#define ORB_LOG_AT(wanted, method, module, text)                                                   \
    do {                                                                                           \
        if (CPlusPlusLogging::wanted())                                                            \
            CPlusPlusLogging::Logger::getInstance()->method((text), (module), __LINE__);           \
    } while (false)
#define ORB_LOG_ERROR(module, text) ORB_LOG_AT(log_wants_error, error, module, text)
#define ORB_LOG_WARNING(module, text) ORB_LOG_AT(log_wants_warning, warning, module, text)
#define ORB_LOG_INFO(module, text) ORB_LOG_AT(log_wants_info, info, module, text)
#define ORB_LOG_DEBUG(module, text) ORB_LOG_AT(log_wants_debug, debug, module, text)
