#include "core/orbJobManager.h"

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <stdexcept>

#include "core/Logger.h"
#include "core/module_names.h"
#include "core/orbConfig.h"
#include "core/orbFactory.h"
#include "core/orbResourceManager.h"
#include "core/orbUtils.h"
#include "core/run_state_file.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostIdentity.h"
#include "hostaccess/orbHostProcess.h"
#include "platform/platformCheck.h"
#include "reporting/orbServer.h"

constinit orbThread orbJobManager::threads[RESOURCE_COUNT] = {
    orbThread("FibreChannelDevices"), orbThread("HostOSInfo"),      orbThread("StorageControllers"),
    orbThread("EthernetDevices"),     orbThread("NVMeControllers"), orbThread("GPUDevices"),
    orbThread("InfiniBandDevices"),
};
constinit std::int32_t orbJobManager::retval[RESOURCE_COUNT] = {-1, -1, -1, -1, -1, -1, -1};
constinit orbThread orbJobManager::TelemetryThreads[TELEMETRY_COUNT] = {
    orbThread("ProcessorTelemetry"),   orbThread("MemoryTelemetry"),
    orbThread("NetworkTelemetry"),     orbThread("StorageTelemetry"),
    orbThread("FileServiceTelemetry"), orbThread("NumastatTelemetry"),
};
constinit std::int32_t orbJobManager::trm_retval[TELEMETRY_COUNT] = {-1, -1, -1, -1, -1, -1};

namespace {
constexpr int RESOURCE_IDS[] = {ORB_FIBRE_CHANNEL, ORB_HOST, ORB_STORAGE,   ORB_ETHERNET,
                                ORB_NVME,          ORB_GPU,  ORB_INFINIBAND};
constexpr int STOP_ORDER[] = {ORB_HOST, ORB_STORAGE, ORB_ETHERNET, ORB_FIBRE_CHANNEL};
constexpr long SIMULATE_SIGSEGV = 11, SIMULATE_SIGABRT = 6;

/// The boot time, 0 where the host doesn't tell how long it is up.
long boot_time(std::int64_t now) {
    struct sysinfo info = {};
    const ORB_SYSCALL_RESULT result = IorbHostIdentity::get().sysinfo(&info);
    if (result.rc != 0) {
        ORB_LOG_WARNING(JOB_MGR, format_text("Unable to fetch system Up Time - %d, %d : %s",
                                             static_cast<int>(result.rc), result.err,
                                             orbUtils::getErrorDescription(result.err).c_str()));
        return 0;
    }
    return static_cast<long>(now - info.uptime);
}
} // namespace

std::string run_state_path() {
    return platformCheck::getStartupFilePath() + "ORBStartup.txt";
}
std::string run_state_temporary_path() {
    return platformCheck::getStartupFilePath() + "ORBStartuptmp.txt";
}

orbJobManager::orbJobManager() : server(std::make_unique<ORBServer>()) {}
orbJobManager::~orbJobManager() = default;

orbJobManager &orbJobManager::getInstance() {
    static orbJobManager instance;
    return instance;
}

int orbJobManager::startResourceManagers() {
    orbStartFileOperations(0);
    std::fill(std::begin(retval), std::end(retval), -1);
    for (const int id : RESOURCE_IDS) {
        if (id >= ORB_NVME && id <= ORB_INFINIBAND) continue;
        void *const arg = reinterpret_cast<void *>(static_cast<std::intptr_t>(id));
        retval[id] = threads[id].create(initializeResourceManager, arg);
        if (retval[id] != 0) {
            ORB_LOG_ERROR(JOB_MGR, "Error:unable to create thread");
            return 0;
        }
        simulateUnhandledExceptions();
    }
    return 1;
}

void orbJobManager::stopResourceManagers() {
    ORB_LOG_INFO(JOB_MGR, "stopping all the RM");
    for (const int id : STOP_ORDER) {
        // A manager whose thread never ran has nobody who would answer its stop.
        if (retval[id] != 0 || !orbConfig::getInstance()->isResourceEnabled(id)) continue;
        orbFactory().createInstance(id)->stopResourceManagerJob();
    }
    for (const int id : STOP_ORDER)
        (void)threads[id].join(); // one that never ran has nothing to wait for
    ORB_LOG_INFO(JOB_MGR, "ORB Exiting Gracefully!");
    writeStopRecord();
}

int orbJobManager::startORBServer() {
    server->initializeORBServer();
    return 1;
}

void orbJobManager::stopORBServer() {
    server->stopORBServer();
}

void orbJobManager::orbStartFileOperations(int mode) {
    if (mode != 0) {
        writeStopRecord();
        return;
    }
    startTime = IorbHostClock::get().now();
    orbUtils::setSystemCurrentBootTime(boot_time(startTime));
    if (rewrite_run_state("current_start", startTime) == -1) createRunState();
}

void orbJobManager::createRunState() {
    const std::string path = IorbHostFiles::get().map(run_state_path());
    if (ensure_private_file(path)) startupFile.open(path, std::ios::in | std::ios::app);
    if (!startupFile.is_open()) {
        ORB_LOG_ERROR(JOB_MGR, "Error opening the orb startup file");
        return;
    }
    ORB_LOG_INFO(JOB_MGR, "Successful in creating a file");
    startupFile << "current_start " << startTime << "\nlast_start 0\nlast_stop 0\n";
    startupFile.close();
    // Half a file would never gain its missing lines; the next start makes a new one.
    if (startupFile.fail()) (void)std::remove(path.c_str());
}

void orbJobManager::writeStopRecord() {
    const std::string path = IorbHostFiles::get().map(run_state_path());
    if (!ensure_private_file(path)) return;
    startupFile.open(path, std::ios::out | std::ios::trunc);
    startupFile << "last_start " << startTime << std::endl;
    startupFile << "last_stop " << static_cast<std::int64_t>(IorbHostClock::get().now())
                << std::endl;
    startupFile << "current_start 0" << std::endl;
    startupFile.close();
}

void *initializeResourceManager(void *resourceId) {
    const int id = static_cast<int>(reinterpret_cast<std::intptr_t>(resourceId));
    const auto name = ORB_MODULE_NAME_MAP.find(static_cast<MODULE_NAME>(id));
    if (name == ORB_MODULE_NAME_MAP.end()) {
        ORB_LOG_WARNING(JOB_MGR,
                        format_text("Unable to find module name for Resource Manager [%d].", id));
        return nullptr;
    }
    if (!orbConfig::getInstance()->isResourceEnabled(id)) {
        ORB_LOG_DEBUG(JOB_MGR,
                      format_text("Resource manager %s [%d] is disabled.", name->second, id));
        return nullptr;
    }
    ORB_LOG_DEBUG(JOB_MGR, format_text("Creating thread for %s", name->second));
    (void)orbFactory().createInstance(id)->init(); // a count that says nothing about the run
    return nullptr;
}

void simulateUnhandledExceptions() {
    const long wanted = orbConfig::getInstance()->getUnhandledExceptionToSimulate();
    if (wanted == SIMULATE_SIGSEGV) {
        ORB_LOG_DEBUG(JOB_MGR,
                      format_text("Simulating unhandled exception SIGSEGV. (%ld)", wanted));
        IorbHostProcess::get().raiseDefault(SIGSEGV);
    } else if (wanted == SIMULATE_SIGABRT) {
        ORB_LOG_DEBUG(JOB_MGR,
                      format_text("Simulating unhandled exception SIGABRT. (%ld)", wanted));
        throw std::invalid_argument("Simulated C++ Exception");
    }
}
