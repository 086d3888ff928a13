#include "reporting/orbIPMIDBService.h"

#include "core/Logger.h"
#include "core/orbConfig.h"
#include "hostaccess/orbHostClock.h"
#include "reporting/orbJsonAggregator.h"
#include "reporting/orbipmi.h"

orbThread orbIPMIDBService::thread{"door bell"};
std::mutex orbIPMIDBService::cmutex;
std::condition_variable orbIPMIDBService::cond;
bool orbIPMIDBService::stopMoni = false;
bool orbIPMIDBService::checkIPMIDevice = false;

orbIPMIDBService &orbIPMIDBService::getInstance() {
    static orbIPMIDBService instance;
    return instance;
}

void orbIPMIDBService::startorbIPMIDBService() {
    if (const int rc = thread.create(startIPMIDBMonitor, nullptr); rc != 0)
        ORB_LOG_ERROR(IPMI_DB, format_text("Error: Unable to create thread: %d", rc));
}

void orbIPMIDBService::stoporbIPMIDBService() {
    ORB_LOG_DEBUG(IPMI_DB, "Stopping orbIPMIDBService");
    {
        const std::lock_guard<std::mutex> lock(cmutex);
        stopMoni = true;
        cond.notify_all();
    }
    ORB_LOG_DEBUG(IPMI_DB, "Signaled for stop.");
    if (const int rc = thread.join(); rc != 0)
        ORB_LOG_ERROR(IPMI_DB, format_text("Error: Unable to join thread: %d", rc));
}

void orbIPMIDBService::startMonitoring() {
    const long intervalS = orbConfig::getInstance()->getDoorBellSleepInterval();
    std::unique_lock<std::mutex> lock(cmutex);
    while (true) {
        if (!stopMoni && !checkIPMIDevice) {
            std::timespec now{};
            if (const ORB_SYSCALL_RESULT clock = IorbHostClock::get().realTime(&now);
                clock.rc != 0) {
                ORB_LOG_ERROR(IPMI_DB,
                              format_text("Failed to get current time! (error no: %d)", clock.err));
                return;
            }
            wait_until(cond, lock, deadline_after(now, intervalS), [] { return stopMoni; });
            ORB_LOG_DEBUG(IPMI_DB, "DB service thread up.");
            if (!stopMoni) checkIPMIDevice = true;
        }
        if (stopMoni) return;
        const bool pollIsDue = checkIPMIDevice;
        checkIPMIDevice = false;

        lock.unlock();
        if (pollIsDue) {
            ipmi::IPMIUtils ipmi;
            if (ipmi.checkIPMIDBRequest()) orbJsonAggregator::getInstance().sendInventory(true);
        }
        lock.lock();
    }
}

void *startIPMIDBMonitor(void *) {
    orbIPMIDBService::getInstance().startMonitoring();
    return nullptr;
}
