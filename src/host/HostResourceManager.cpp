#include "host/HostResourceManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <optional>

#include <ext/stdio_filebuf.h>

#include "core/Logger.h"
#include "core/host_addresses.h"
#include "core/orbConfig.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "core/run_state_file.h"
#include "host/boot_decision.h"
#include "host/esxtop_memory.h"
#include "host/host_json.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "platform/platformCheck.h"
#include "reporting/orbEventHandler.h"
#include "reporting/orbJsonAggregator.h"

constinit std::mutex HostResourceManager::cmutex;
std::condition_variable HostResourceManager::cond;
constinit std::mutex HostResourceManager::mlock;
constinit std::mutex HostResourceManager::prevInventoryLock;
constinit std::atomic<bool> HostResourceManager::stopHost{false};
constinit std::atomic<bool> HostResourceManager::refreshCache{true};
constinit std::atomic<bool> HostResourceManager::_cacheBuildInProgress{false};
constinit std::atomic<std::int64_t> HostResourceManager::lastRefreshTime{0};
constinit std::atomic<bool> HostResourceManager::getTotalPhysicalMemoryFailureLogged{false};

namespace {
constexpr std::int64_t REFRESH_SECONDS = 60, SETTLED_SECONDS = 3;
constexpr std::int64_t BOOT_DELAY_MS = 20000, RETRY_DELAY_MS = 3000;
constexpr int RUNNING_TRIES = 3;
constexpr std::int64_t MBYTES_PER_GIB = 1024;

constexpr int EVENT_BOOTED = 356, EVENT_GRACEFUL_SHUTDOWN = 359, EVENT_UNGRACEFUL_SHUTDOWN = 360;

constexpr char LOCATION[] = "NotApplicable", MODULE[] = "Host", PART_NUMBER[] = "Not-Available";

void raise_boot_event(int id) {
    orbEventHandler().generateEvent(
        orbEvent(id, LOCATION, MODULE, false, orbUtils::getTime(), PART_NUMBER, "ORB"));
}
} // namespace

HostResourceManager &HostResourceManager::getInstance() {
    static HostResourceManager instance;
    return instance;
}

int HostResourceManager::init() {
    if (hostInventoryCount != 0) {
        ORB_LOG_DEBUG(HOST_RM, "ORB thread for host already active. Cannot spawn another one.");
        return 0;
    }
    genOSBootLogic();
    return startInventory();
}

int HostResourceManager::startInventory() {
    IorbHostClock &clock = IorbHostClock::get();
    if (lastRefreshTime != 0) {
        ORB_LOG_DEBUG(HOST_RM, "Attempting to refresh Cache.");
        if (clock.now() - lastRefreshTime < SETTLED_SECONDS) {
            ORB_LOG_DEBUG(HOST_RM, "cache was recently refreshed. skipping the current refresh "
                                   "cycle");
            return 0;
        }
    }

    std::unique_lock<std::mutex> lock(cmutex);
    for (;;) {
        if (!stopHost && !refreshCache) {
            std::timespec now{};
            const ORB_SYSCALL_RESULT read = clock.realTime(&now);
            if (read.rc != 0) {
                lock.unlock();
                ORB_LOG_ERROR(HOST_RM,
                              format_text("Failed to get current time! (errno: %d)", read.err));
                return 0;
            }
            const std::timespec deadline = deadline_after(now, REFRESH_SECONDS);
            const bool wanted = wait_until(cond, lock, deadline,
                                           [] { return stopHost.load() || refreshCache.load(); });
            // A build that ran since then, other than this loop's own, puts the next one off.
            if (!wanted && deadline.tv_sec - lastRefreshTime > REFRESH_SECONDS - 1)
                refreshCache = true;
        }
        const bool stop = stopHost, refresh = refreshCache;
        lock.unlock();
        if (stop) return 0;
        if (refresh) {
            refreshCache = false;
            cacheBuild();
        }
        lock.lock();
    }
}

void HostResourceManager::stopResourceManagerJob() {
    ORB_LOG_INFO(HOST_RM, "Resource manager stop called.");
    {
        const orbMutexLocker<std::mutex> lock(cmutex);
        stopHost = true;
        cond.notify_all();
    }
    ORB_LOG_INFO(HOST_RM, "Signalled for stop.");
}

void HostResourceManager::cacheBuild() {
    ORB_LOG_DEBUG(HOST_RM, "Starting Host resource manager cache build.");
    {
        const orbMutexLocker<std::mutex> lock(mlock);
        _cacheBuildInProgress = true;
        backupInventory();
        hostInventory.clear();
        hostInventoryCount = 0;
        populateHostInfo();
        populateCollectionInfo();
        createJsonStringUsingJsonCpp();
        _cacheBuildInProgress = false;
        lastRefreshTime = IorbHostClock::get().now();
    }
    cacheReady = true;
    if (cachePushPending) {
        ORB_LOG_DEBUG(HOST_RM, "hostRM Requesting cache push");
        orbJsonAggregator::getInstance().sendInventory(true);
        cachePushPending = false;
    }
    ORB_LOG_DEBUG(HOST_RM, "Exiting CacheBuild");
}

void HostResourceManager::backupInventory() {
    const orbMutexLocker<std::mutex> lock(prevInventoryLock);
    previousJson = currentJson;
}

void HostResourceManager::populateHostInfo() {
    orbHostOSInfo host;
    host.setHostName(orbUtils::readHostName());
    host.setOSName(orbUtils::readHostOSName());
    host.setOSVersion(orbUtils::readHostOSVersion());
    host.setOSDescription(orbUtils::readHostOSDescription());
    int type = 0;
    (void)orbUtils::getOSType(&type); // always 1
    host.setOSType(type);

    orbHostMemorySummary memory;
    if (const std::vector<double> sizes = getTotalPhysicalMemory(); sizes.size() >= 2) {
        memory.setTotalSystemMemGiB(sizes[0]);
        memory.setTotalFreeSystemMemGiB(sizes[1]);
    }
    host.setOSMemorySummary(memory);

    orbHostIPv4Addresses addresses;
    addresses.setIPv4Address(orbUtils::updateAndFetchIPAddresses());
    host.setIPv4Addresses(addresses);

    hostInventory.push_back(std::move(host));
    hostInventoryCount = hostInventory.size();
}

void HostResourceManager::populateCollectionInfo() {
    const long minutes = orbConfig::getInstance()->getInventoryPushIntervalSettings();
    collectionInfo.setCollectionType("RemoteSupport");
    // The RMC's number has 32 bits: of a longer interval the lower ones go out.
    collectionInfo.setCollectionFrequencyMin(static_cast<std::int32_t>(minutes));
    collectionInfo.setLastCollection(orbUtils::getDateTime());
}

void HostResourceManager::createJsonStringUsingJsonCpp() {
    currentJson.clear();
    root.clear();
    for (const orbHostOSInfo &host : hostInventory) root = host_object(host, collectionInfo);
    currentJson.push_back(root);
}

std::vector<double> HostResourceManager::getTotalPhysicalMemory() {
    const std::string data = platformCheck::getDirectoryPath() + "/data/";
    const std::string scratch = data + "orb-mem.txt";
    const std::string scratchPath = IorbHostFiles::get().map(scratch);

    const ORB_COMMAND_RESULT run = IorbHostCommands::get().system(
        "esxtop -c " + shell_path(data + "esxtopconf") + " -b -n 1 >> " + shell_path(scratch));
    if (run.status != 0) {
        if (!getTotalPhysicalMemoryFailureLogged.exchange(true))
            ORB_LOG_ERROR(HOST_RM,
                          format_text("Error occurred in fetching physical memory information : %s",
                                      orbUtils::getErrorDescription(run.err).c_str()));
        ::unlink(scratchPath.c_str());
        return {};
    }

    const int fd = ::open(scratchPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        ORB_LOG_ERROR(HOST_RM, "Unable to fetch physical memory information.");
        return {};
    }
    ORB_ESXTOP_MEMORY memory;
    {
        __gnu_cxx::stdio_filebuf<char> buffer(fd, std::ios::in | std::ios::binary);
        std::istream in(&buffer);
        memory = read_esxtop_memory(in);
    }
    ::unlink(scratchPath.c_str());
    return {static_cast<double>(memory.totalMBytes / MBYTES_PER_GIB),
            static_cast<double>(memory.freeMBytes / MBYTES_PER_GIB)};
}

int HostResourceManager::getInventoryJsonObject(std::vector<Json::Value> &objects) {
    if (!_cacheBuildInProgress) {
        if (const std::unique_lock<std::mutex> lock(mlock, std::try_to_lock); lock) {
            objects = currentJson;
            return 0;
        }
    }
    ORB_LOG_DEBUG(HOST_RM, "Cache build is in progress. Returning previous copy of inventory.");
    const orbMutexLocker<std::mutex> lock(prevInventoryLock);
    objects = previousJson;
    return 1;
}

std::vector<orbHostOSInfo> HostResourceManager::getHostInventory() {
    if (_cacheBuildInProgress) return {};
    const std::unique_lock<std::mutex> lock(mlock, std::try_to_lock);
    if (!lock) return {};
    return hostInventory;
}

bool HostResourceManager::isRunning() {
    for (int retryCount = 0; retryCount < RUNNING_TRIES; ++retryCount) {
        bool building = true;
        if (const std::unique_lock<std::mutex> lock(mlock, std::try_to_lock); lock)
            building = _cacheBuildInProgress;
        const std::size_t size = hostInventoryCount;
        if (!building && size != 0) return true;
        ORB_LOG_WARNING(HOST_RM, format_text("_cacheBuildInProgress = %d,HostInventory.size() "
                                             "=%zu,retryCount =%d",
                                             building ? 1 : 0, size, retryCount));
        IorbHostClock::get().sleepMs(RETRY_DELAY_MS);
    }
    return false;
}

bool HostResourceManager::isInventoryReady(int iteration) {
    return checkInventoryReady(iteration);
}

void HostResourceManager::generateTestEvent(int id) {
    orbEventHandler().generateEvent(orbEvent(id, LOCATION, MODULE, false, orbUtils::getTime(),
                                             PART_NUMBER, Json::Value(), "ORB-CLI"));
}

void HostResourceManager::genOSBootLogic() {
    IorbHostClock::get().sleepMs(BOOT_DELAY_MS);
    const std::int64_t boot = orbUtils::getSystemCurrentBootTime();
    const std::int64_t lastStart = readStartupValue("last_start");
    const std::int64_t lastStop = readStartupValue("last_stop");

    switch (decide_boot_case(boot, lastStart, lastStop)) {
    case ORB_BOOT_CASE::FIRST_RUN:
    case ORB_BOOT_CASE::NOTHING_TO_TELL:
        break;
    case ORB_BOOT_CASE::RESTARTED: // said of a clean restart too; the number tells them apart
        ORB_LOG_DEBUG(HOST_RM, "ORB crashed in current boot so do nothing in point 2");
        break;
    case ORB_BOOT_CASE::CRASHED:
        ORB_LOG_DEBUG(HOST_RM, "ORB crashed in current boot so do nothing in point 3");
        break;
    case ORB_BOOT_CASE::GRACEFUL_SHUTDOWN:
        ORB_LOG_DEBUG(HOST_RM, "In gen OS boot logic.Last shutdown was graceful.");
        raise_boot_event(EVENT_GRACEFUL_SHUTDOWN);
        raise_boot_event(EVENT_BOOTED);
        break;
    case ORB_BOOT_CASE::UNGRACEFUL_SHUTDOWN:
        ORB_LOG_DEBUG(HOST_RM, "In gen OS boot logic.Last shutdown was not-graceful.");
        raise_boot_event(EVENT_UNGRACEFUL_SHUTDOWN);
        raise_boot_event(EVENT_BOOTED);
        break;
    }
    copyCurrentStartToLastStart();
}

std::int64_t HostResourceManager::readStartupValue(const std::string &key) {
    ORB_LOG_DEBUG(HOST_RM, "content to match =" + key);
    std::optional<std::int64_t> value;
    if (!read_run_state(key, value)) {
        ORB_LOG_ERROR(HOST_RM, "Error occurred in opening orb startup file");
        return 0;
    }
    ORB_LOG_DEBUG(HOST_RM, "Successful in opening orb startup file");
    if (!value) return 0;
    ORB_LOG_DEBUG(HOST_RM, format_text("Found a match %ld", static_cast<long>(*value)));
    return *value;
}

void HostResourceManager::copyCurrentStartToLastStart() {
    std::optional<std::int64_t> value;
    if (!read_run_state("current_start", value)) return;
    ORB_LOG_DEBUG(HOST_RM, "After sending OS boots events, we can set current_start to last_start "
                           "otherwise it will happen during ORB shutdown. And in case of crash it "
                           "won't happen.");
    // 0 is a clean stop's, where this run's start could not be recorded: the last_start beside it
    // belongs to the run that stopped.
    if (value == 0) value.reset();
    (void)rewrite_run_state("last_start", value); // a failed rewrite keeps the file as it is
}

std::vector<std::string> HostResourceManager::getIPAddress() {
    std::vector<std::string> addresses;
    for (const ORB_HOST_ADDRESS &each : host_ipv4_addresses()) addresses.push_back(each.address);
    return addresses;
}
