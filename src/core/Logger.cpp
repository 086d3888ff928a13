#include "core/Logger.h"

#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "core/config_settings.h"
#include "core/orbConfig.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostProcess.h"
#include "hostaccess/orbHostSyslog.h"

namespace CPlusPlusLogging {
namespace {
constexpr char SYSLOG_IDENTITY[] = "orb";
constexpr char LINK_DIRECTORY[] = "/opt/vantor/orb/log";
constexpr char BACKUP_DIRECTORY[] = "/scratch/log/vantor/orb/backup_log";
constexpr long LARGEST_LOG_BYTES = 499'999'999;
constexpr std::size_t STAMP_CHARACTERS_IN_BACKUP_NAME = 4;
constexpr int EXIT_NO_LOG_DIRECTORY = -10, EXIT_NO_DEBUG_LOG_DIRECTORY = -11;

constexpr char TAG_ERROR[] = "[ERROR]  ";
constexpr char TAG_WARNING[] = "[WARNING]";
constexpr char TAG_INFO[] = "[INFO]   ";
constexpr char TAG_ALWAYS[] = "[INFO]";
constexpr char TAG_DEBUG[] = "[DEBUG]";

constinit std::atomic<bool> mainBegan{false};

std::string mapped(const std::string &hostPath) {
    return IorbHostFiles::get().map(hostPath);
}

void write_syslog(int priority, const std::string &text) {
    IorbHostSyslog::get().write(SYSLOG_IDENTITY, LOG_USER, priority, text.c_str());
}

void tell_open_failure(const char *head, const std::string &path, int err) {
    write_syslog(LOG_ERR, format_text("%s[%s]: %d - %s", head, path.c_str(), err,
                                      orbUtils::getErrorDescription(err).c_str()));
}

bool tag_holds(std::string_view tag, std::string_view word) {
    return tag.find(word) != std::string_view::npos;
}

int syslog_priority_of(std::string_view tag) {
    if (tag_holds(tag, "ERROR")) return LOG_ERR;
    if (tag_holds(tag, "WARNING")) return LOG_WARNING;
    if (tag_holds(tag, "INFO")) return LOG_INFO;
    if (tag_holds(tag, "DEBUG")) return LOG_DEBUG;
    return LOG_INFO;
}

/// Tag, line number, module and message, as both kinds of channel have them.
std::string line_text(const char *tag, const std::string &msg, const char *module, int line) {
    char number[5]; // a number of more digits is cut
    static_cast<void>(std::snprintf(number, sizeof number, line < 100 ? "%03d" : "%d", line));
    std::string text(tag);
    return text.append(" ").append(number).append(" ").append(module).append(": ").append(msg);
}
} // namespace

std::int32_t log_level_of(const std::string &text) {
    std::string lower = text;
    for (char &letter : lower)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    if (tag_holds(lower, "error")) return LOG_LEVEL_ERROR;
    if (tag_holds(lower, "warning")) return LOG_LEVEL_WARNING;
    if (tag_holds(lower, "info")) return LOG_LEVEL_INFO;
    return LOG_LEVEL_WARNING;
}

void log_after_main_began() {
    mainBegan = true;
}

constinit std::atomic<Logger *> Logger::m_Instance{nullptr};

Logger *Logger::getInstance() {
    Logger *instance = m_Instance;
    if (instance == nullptr) {
        assert(mainBegan && "nothing logs before main");
        static Logger *const created = new Logger();
        instance = created;
        m_Instance = instance;
    }
    return instance;
}

void Logger::loggerInit() {
    static_cast<void>(getInstance());
}

Logger::Logger() {
    const orbConfig *config = orbConfig::getInstance();
    debugLogPath = config->getORBDebugLogFileLocation();
    logPath = config->getORBLogFileLocation();
    logType = isEquals(logPath, "syslog") ? TYPE_SYSLOG : TYPE_FILE;
    debugLogType = isEquals(debugLogPath, "syslog") ? TYPE_SYSLOG : TYPE_FILE;
    debugLogLevel = config->getDebugLogSettings() ? LOG_LEVEL_DEBUG : LOG_LEVEL_DISABLED;
    logLevel = log_level_of(config->getORBLoggingLevel());
    openLogs();
    if (logType == TYPE_FILE) createSymbolicLink(logPath, LINK_DIRECTORY);
    if (debugLogType == TYPE_FILE) createSymbolicLink(debugLogPath, LINK_DIRECTORY);
    createSymbolicLink(BACKUP_DIRECTORY, LINK_DIRECTORY);
}

void Logger::openLogs() {
    if (logType == TYPE_FILE) {
        if (const int err = make_directories_of(mapped(logPath)); err != 0) {
            tell_open_failure("Failed to create directory path for ORB log file ", logPath, err);
            IorbHostProcess::get().exitNow(EXIT_NO_LOG_DIRECTORY);
        }
        // Also where the debug log goes to syslog: a location without "/" needs no directory.
        if (const int err = make_directories_of(mapped(debugLogPath)); err != 0) {
            tell_open_failure("Failed to create directory path for ORB debug log file ",
                              debugLogPath, err);
            IorbHostProcess::get().exitNow(EXIT_NO_DEBUG_LOG_DIRECTORY);
        }
        openMain();
    }
    if (debugLogType == TYPE_FILE && debugLogLevel == LOG_LEVEL_DEBUG) openDebug();
}

void Logger::openMain() {
    if (const int err = mainFile.open(mapped(logPath)); err != 0)
        tell_open_failure("Error opening ORB log file ", logPath, err);
}

void Logger::openDebug() {
    if (const int err = debugFile.open(mapped(debugLogPath)); err != 0)
        tell_open_failure("Error opening the ORB debug log file", debugLogPath, err);
}

void Logger::lock() {
    mutex.lock();
}

void Logger::unlock() {
    mutex.unlock();
}

void Logger::error(const std::string &msg, const char *module, int line) {
    if (logLevel < 5) log(TAG_ERROR, msg, module, line);
}

void Logger::warning(const std::string &msg, const char *module, int line) {
    if (logLevel < 4) log(TAG_WARNING, msg, module, line);
}

void Logger::info(const std::string &msg, const char *module, int line) {
    if (logLevel < 3) log(TAG_INFO, msg, module, line);
}

void Logger::always(const std::string &msg, const char *module, int line) {
    log(TAG_ALWAYS, msg, module, line);
}

void Logger::debug(const std::string &msg, const char *module, int line) {
    if (debugLogLevel != LOG_LEVEL_DEBUG) return;
    if (debugLogType == TYPE_FILE)
        logIntoFile(TAG_DEBUG, msg, module, line);
    else
        logIntoSyslog(TAG_DEBUG, msg, module, line);
}

void Logger::log(const char *tag, const std::string &msg, const char *module, int line) {
    if (logType == TYPE_FILE)
        logIntoFile(tag, msg, module, line);
    else
        logIntoSyslog(tag, msg, module, line);
}

void Logger::updateLogLevel(LOG_LEVEL level) {
    logLevel = level;
}

void Logger::enaleLog() {
    logLevel = LOG_LEVEL_ENABLED;
}

void Logger::disableLog() {
    logLevel = LOG_LEVEL_DISABLED;
}

void Logger::enableFileLogging() {
    logType = TYPE_FILE;
}

void Logger::logIntoFile(const char *tag, const std::string &msg, const char *module, int line) {
    const orbMutexLocker<std::mutex> locker(mutex);
    const std::string text =
        orbUtils::getDateTime() + ' ' + line_text(tag, msg, module, line) + '\n';
    if (tag_holds(tag, "DEBUG"))
        debugFile.write(text);
    else
        mainFile.write(text);
}

void Logger::logIntoSyslog(const char *tag, const std::string &msg, const char *module, int line) {
    const orbMutexLocker<std::mutex> locker(mutex);
    write_syslog(syslog_priority_of(tag), line_text(tag, msg, module, line));
}

int Logger::createSymbolicLink(const std::string &target, const std::string &directory) {
    const std::string realTarget = mapped(target);
    if (::access(realTarget.c_str(), R_OK) != 0) return 0;
    const std::string name = base_name(target, "/");
    if (name.empty()) {
        write_syslog(LOG_WARNING, format_text("basename(%s) returned NULL", target.c_str()));
        return -1;
    }
    const std::string link = directory + '/' + name;
    const std::string realLink = mapped(link);
    if (std::remove(realLink.c_str()) != 0 && errno != ENOENT) {
        const int err = errno;
        write_syslog(LOG_WARNING,
                     format_text("remove(%s) completed with errno [%d]", link.c_str(), err));
        return -1;
    }
    // A log that is configured to lie in the link directory has just lost its name.
    if (target == link) {
        write_syslog(LOG_WARNING, format_text("Target path(%s) matches symbolic link path(%s). "
                                              "Hence, symbolic link will not be created.",
                                              target.c_str(), link.c_str()));
        return -1;
    }
    if (::symlink(realTarget.c_str(), realLink.c_str()) != 0 && errno != EEXIST) {
        const int err = errno;
        write_syslog(LOG_WARNING, format_text("symlink(%s, %s) completed with errno [%d]",
                                              target.c_str(), link.c_str(), err));
        return -1;
    }
    return 0;
}

bool Logger::isFileExceeded(const std::string &path) {
    const std::string source = mapped(path);
    struct stat state = {};
    if (::stat(source.c_str(), &state) != 0 || state.st_size <= LARGEST_LOG_BYTES) return false;

    const std::string stamp = orbUtils::getDateTime();
    const std::string directory = mapped(BACKUP_DIRECTORY);
    if (::access(directory.c_str(), F_OK) != 0 && errno == ENOENT) {
        static_cast<void>(::mkdir(directory.c_str(), 0700)); // the copy tells where it failed
        createSymbolicLink(BACKUP_DIRECTORY, LINK_DIRECTORY);
    }
    // One name per month, with a blank at its end: a later backup of the month takes its place.
    std::string backup = std::string(BACKUP_DIRECTORY) + '/' + base_name(path, "/\\");
    for (std::size_t i = 0; i < STAMP_CHARACTERS_IN_BACKUP_NAME; ++i) (backup += '_') += stamp[i];

    if (const int err = copy_file(source, mapped(backup)); err != 0) {
        write_syslog(LOG_ERR, "Error backing up ORB log file [" + path + "] to [" + backup + "]: " +
                                  std::to_string(err) + " - " + orbUtils::getErrorDescription(err));
        return false;
    }
    if (path == logPath) {
        mainFile.close();
        static_cast<void>(::unlink(source.c_str())); // if it stays, the log goes on behind it
        openMain();
    } else {
        debugFile.close();
        static_cast<void>(::unlink(mapped(debugLogPath).c_str()));
        openDebug();
    }
    return true;
}

} // namespace CPlusPlusLogging
