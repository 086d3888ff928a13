#include "daemon/daemon_life.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <exception>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>

#include "core/Logger.h"
#include "core/orbConfig.h"
#include "core/orbJobManager.h"
#include "core/orbUtils.h"
#include "daemon/command_path.h"
#include "daemon/daemon_signals.h"
#include "daemon/daemon_texts.h"
#include "daemon/daemon_time.h"
#include "daemon/exit_status.h"
#include "daemon/orbBackground.h"
#include "daemon/orbPidFile.h"
#include "daemon/orbReadiness.h"
#include "daemon/orbStopWatch.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostProcess.h"
#include "hostaccess/orbHostSyslog.h"
#include "platform/orbSystemInterfaceFactory.h"
#include "reporting/orbIPMIDBService.h"
#include "reporting/orbJsonAggregator.h"
#include "storage/orbStorageControllerFactory.h"

namespace {
using CPlusPlusLogging::Logger;

constexpr char SYSLOG_IDENT[] = "orb";
constexpr std::int64_t LOG_CHECK_MS = 60 * 1000;
constexpr mode_t NO_WRITE_BY_OTHERS = 022;

/// Descriptors 0 to 2 must be taken, else the next file to be opened would get what others print.
void occupy_standard_streams() {
    int fd;
    while ((fd = ::open("/dev/null", O_RDWR)) >= 0 && fd <= STDERR_FILENO) {
    }
    if (fd >= 0) ::close(fd);
}

/// Starts the log files anew where they have grown too large.
void check_log_files() {
    Logger *const logger = Logger::getInstance();
    const std::lock_guard<Logger> lock(*logger); // nobody may log while a file is moved
    if (logger->isLogFile()) (void)logger->isFileExceeded(logger->getLogPath());
    if (logger->isDebugLogFile()) (void)logger->isFileExceeded(logger->getDebugLogPath());
}

void wait_for_stop_request() {
    std::int64_t nextCheck = daemon_time_ms() + LOG_CHECK_MS;
    while (true) {
        const std::int64_t left = nextCheck - daemon_time_ms();
        switch (wait_for_signal(left > 0 ? daemon_wait_ms(left) : 0)) {
        case ORB_WAKE_STOP:
            return;
        case ORB_WAKE_HANGUP:
            check_log_files();
            break;
        case ORB_WAKE_TIMEOUT:
            if (daemon_time_ms() < nextCheck) break;
            check_log_files();
            nextCheck = daemon_time_ms() + LOG_CHECK_MS;
            break;
        }
    }
}

/// A manager's thread could not be created: those that were run on, and nobody will stop them.
[[noreturn]] void end_failed_start(orbStopWatch &watch) {
    const std::string why = "a resource manager's thread could not be created";
    print_error("start", why);
    ORB_LOG_ERROR(JOB_MGR, "Start failed: " + why + ".");
    watch.begin();
    orbSystemInterfaceFactory::getSystemInterface()->UnInitialize();
    orbJobManager::getInstance().stopORBServer();
    IorbHostProcess::get().exitNow(ORB_EXIT_FAILED);
    __builtin_unreachable();
}

/// Makes the logger, which reads the configuration. A fault of the file that keeps both from coming
/// into being is told on standard error and in the system log.
bool start_logger() {
    std::string fault;
    if (read_config(fault) != nullptr) {
        (void)Logger::getInstance();
        return true;
    }
    const std::string file = IorbHostFiles::get().map(ORB_CONFIG_FILE);
    print_error(file, fault);
    IorbHostSyslog::get().write(SYSLOG_IDENT, LOG_USER, LOG_ERR,
                                ("orbd: " + file + ": " + fault).c_str());
    return false;
}

int live(const ORB_DAEMON_OPTIONS &options, orbBackground *background) {
    const orbReadiness readiness;
    orbStopWatch watch(options.stopTimeoutS);
    if (!start_logger()) return ORB_EXIT_FAILED;
    if (options.genericStorage) orbStorageControllerFactory::registerInstance();
    prepare_host_facts();
    orbJobManager &jobManager = orbJobManager::getInstance();
    (void)jobManager.startORBServer(); // always 1
    if (jobManager.startResourceManagers() == 0) end_failed_start(watch);
    orbJsonAggregator::getInstance().sendInventory(false);
    orbIPMIDBService::getInstance().startorbIPMIDBService();

    if (background != nullptr) background->ready();
    (void)readiness.ready(); // a service manager that isn't there needs no word
    wait_for_stop_request();

    (void)readiness.stopping();
    watch.begin();
    orbIPMIDBService::getInstance().stoporbIPMIDBService();
    orbJsonAggregator::getInstance().stoporbJsonAggregator();
    jobManager.stopORBServer();
    jobManager.stopResourceManagers();
    orbSystemInterfaceFactory::getSystemInterface()->UnInitialize();
    watch.end();
    return ORB_EXIT_DONE;
}
} // namespace

const orbConfig *read_config(std::string &fault) {
    try {
        return orbConfig::getInstance();
    } catch (const std::out_of_range &error) {
        fault = std::string("a number is out of range (") + error.what() + ")";
    } catch (const std::exception &error) {
        fault = error.what();
    }
    return nullptr;
}

void prepare_host_facts() {
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    // Without the list its look-ups find nothing; the host is reported all the same.
    (void)orbSystemInterfaceFactory::getSystemInterface()->populateHardwarePCIDetails();
}

int run_daemon(const ORB_DAEMON_OPTIONS &options) {
    occupy_standard_streams();
    block_signals();
    ::umask(NO_WRITE_BY_OTHERS);
    append_commands_to_path(own_program());

    orbPidFile pidFile;
    if (std::string why; !pidFile.take(why)) {
        print_error(pidFile.getPath(), why);
        return ORB_EXIT_FAILED;
    }
    if (options.mode == ORB_DAEMON_OPTIONS::FOREGROUND) return live(options, nullptr);

    orbBackground background;
    if (const std::optional<int> status = background.enter()) {
        // A child that lives has the file; one that doesn't has removed it.
        pidFile.disown();
        return *status;
    }
    if (!pidFile.write()) print_error(pidFile.getPath(), "the process id could not be written");
    const int status = live(options, &background);
    pidFile.release();         // who hears of a failed start may start again at once
    background.failed(status); // says nothing where the start was fine
    return status;
}
