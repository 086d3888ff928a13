#include "storage/SASResourceManager.h"

#include <ctime>
#include <iterator>
#include <utility>

#include "core/Logger.h"
#include "core/json_text.h"
#include "core/module_names.h"
#include "core/orbConfig.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostProcess.h"
#include "reporting/orbEventHandler.h"
#include "reporting/orbJsonAggregator.h"
#include "storage/orbControllerList.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbRegistryManager.h"
#include "storage/orbStorageControllerInfo.h"
#include "storage/orbStorageEnclosureInfo.h"
#include "storage/storage_json.h"
#include "storage/storage_utils.h"

constinit std::mutex SASResourceManager::rm_cmutex;
std::condition_variable SASResourceManager::rm_cond;
constinit bool SASResourceManager::stopSAS = false;
constinit bool SASResourceManager::refreshCache = true;
constinit bool SASResourceManager::sendInventoryToRMC = false;
constinit std::mutex SASResourceManager::rmstop_cmutex;
std::condition_variable SASResourceManager::rmstop_cond;
constinit bool SASResourceManager::condSignal = false;
std::recursive_mutex SASResourceManager::cache_lock;
std::recursive_mutex SASResourceManager::prevInventoryLock;
constinit std::atomic<bool> SASResourceManager::_cacheBuildInProgress{false};
constinit std::atomic<std::int64_t> SASResourceManager::lastRefreshTime{0};
constinit std::atomic<std::int64_t> SASResourceManager::lastPollTime{0};
constinit std::atomic<bool> SASResourceManager::inited{false};

namespace {
using FACTORIES = orbRegistryManager<IorbStorageControllerFactory *>;

constexpr std::int64_t POLL_SECONDS = 10;
constexpr int RUNNING_TRIES = 3;
constexpr std::int64_t RETRY_DELAY_MS = 5000;
constexpr unsigned char ALL_FAMILIES = 255;
constexpr long NS_PER_HUNDREDTH = 10'000'000;

constexpr char MODULE[] = "SASHBA", PART_NUMBER[] = "NotAvailable", SOURCE[] = "ORB";
constexpr char THREAD_NAME[] = "StorageControllers";

/// Index of an inventory type's list; -1 for an unknown type.
int list_of_type(int type) {
    switch (type) {
    case 0:
    case 1:
        return 0;
    case 2:
    case 3:
    case 4:
        return type - 1;
    default:
        return -1;
    }
}

/// Copies the list of an inventory type; says so where there is none, and leaves `out` alone.
template <typename Lists>
void copy_of_type(const Lists &lists, int type, std::vector<Json::Value> &out) {
    if (const int list = list_of_type(type); list >= 0)
        out = lists[static_cast<std::size_t>(list)];
    else
        ORB_LOG_DEBUG(SAS_RM, "Unsupported inventory type");
}

/// Builds the objects of one kind anew and logs each. @param format  takes index and text
template <typename Record, typename Build>
void build_objects(std::vector<Json::Value> &objects, std::vector<Record> &records,
                   const char *format, Build build) {
    objects.clear();
    objects.reserve(records.size());
    for (Record &record : records) {
        Json::Value object = build(record);
        ORB_LOG_DEBUG(SAS_RM, format_text(format, objects.size(), compact_json(object).c_str()));
        objects.push_back(std::move(object));
    }
}

template <typename Record> void append_all(std::vector<Record> &to, std::vector<Record> &&from) {
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

/// The real-time clock with its fraction; zero where it can't be read.
std::timespec stop_watch() {
    std::timespec now{};
    if (IorbHostClock::get().realTime(&now).rc != 0) return {};
    return now;
}
} // namespace

SASResourceManager::SASResourceManager() = default;
SASResourceManager::~SASResourceManager() = default;

SASResourceManager &SASResourceManager::getInstance() {
    static SASResourceManager instance;
    return instance;
}

// -- The manager's thread -----------------------------------------------------------------------

int SASResourceManager::init() {
    // Whatever ends the loop, nobody waits for it in vain.
    struct HANDSHAKE {
        ~HANDSHAKE() { endHandshake(); }
    } const atTheEnd;
    ORB_LOG_DEBUG(SAS_RM, "Entered init");
    return inited ? 0 : startInventory();
}

int SASResourceManager::startInventory() {
    ORB_LOG_DEBUG(SAS_RM, "reached startInventory");
    const long refreshS =
        orbConfig::getInstance()->getrefreshInterval(ORB_MODULE_NAME_MAP.at(ORB_STORAGE));
    ORB_LOG_DEBUG(SAS_RM, format_text("SAS refresh interval: %ld", refreshS));
    ORB_LOG_DEBUG(SAS_RM, format_text("SAS poll interval: %ld", static_cast<long>(POLL_SECONDS)));
    const std::int64_t tickS = compute_gcd(refreshS, POLL_SECONDS);

    std::unique_lock<std::mutex> lock(rm_cmutex);
    for (;;) {
        bool build = true, poll = false;
        if (!stopSAS && !refreshCache && !waitForWork(lock, refreshS, tickS, build, poll)) return 0;
        const bool stop = stopSAS;
        refreshCache = false;
        lock.unlock();
        if (stop) {
            processResourceManagerStop();
            return 0;
        }
        if (build) cacheBuild();
        if (poll) pollDevices();
        lock.lock();
    }
}

bool SASResourceManager::waitForWork(std::unique_lock<std::mutex> &lock, std::int64_t refreshS,
                                     std::int64_t tickS, bool &build, bool &poll) {
    std::timespec now{};
    if (const ORB_SYSCALL_RESULT read = IorbHostClock::get().realTime(&now); read.rc != 0) {
        lock.unlock();
        ORB_LOG_ERROR(SAS_RM, format_text("Failed to get current time! (errno: %d)", read.err));
        return false;
    }
    const std::timespec deadline = deadline_after({now.tv_sec, 0}, tickS);
    // One wait for one turn: a wake-up before the deadline is a turn without a poll, whoever caused
    // it, and what is due waits for the next tick.
    const bool timedOut =
        IorbHostClock::get().waitUntil(rm_cond, lock, deadline) == std::cv_status::timeout;
    build = refreshCache || (timedOut && deadline.tv_sec - lastRefreshTime >= refreshS);
    poll = timedOut && deadline.tv_sec - lastPollTime >= POLL_SECONDS;
    return true;
}

void SASResourceManager::cacheBuild() {
    ORB_LOG_DEBUG(SAS_RM, "Building storage cache.");
    {
        const orbMutexLocker<std::recursive_mutex> lock(cache_lock);
        _cacheBuildInProgress = true;
        backupInventory();
        controllerInventory.clear();
        controllerCount = 0;
        physicalDrives.clear();
        logicalDisks.clear();
        storageEnclosures.clear();
        (void)getInventory(); // 0; what can't be told is left out
        createJsonStringUsingJsonCpp();
        _cacheBuildInProgress = false;
        lastRefreshTime = present_second();
    }
    cacheReady = true;
    bool push;
    {
        const std::lock_guard<std::mutex> lock(rm_cmutex);
        const bool pending = cachePushPending.exchange(false);
        push = pending || sendInventoryToRMC;
        sendInventoryToRMC = false;
    }
    if (!push) return;
    ORB_LOG_DEBUG(SAS_RM, "SASRM requesting cache push");
    orbJsonAggregator::getInstance().sendInventory(true);
}

void SASResourceManager::backupInventory() {
    const orbMutexLocker<std::recursive_mutex> lock(prevInventoryLock);
    previousJson = currentJson;
}

int SASResourceManager::getInventory() {
    for (IorbStorageControllerFactory *factory : FACTORIES::getRegistryList()) {
        orbControllerList controllers;
        if (const int rc = factory->discoverControllers(controllers.vector()); rc < 0) {
            ORB_LOG_DEBUG(SAS_RM, format_text("discoverControllers() completed with %d.", rc));
            continue;
        }
        for (IorbStorageController *controller : controllers) gatherController(*controller);
    }
    return 0;
}

void SASResourceManager::gatherController(IorbStorageController &controller) {
    const bool timed = orbConfig::getInstance()->isRMStatisticsLoggingEnabled();
    const std::timespec begin = timed ? stop_watch() : std::timespec{};
    orbStorageControllerInfo info;
    gatherSteps(controller, info);
    if (!timed) return;
    std::timespec taken{};
    orbUtils::diffTimespec(begin, stop_watch(), taken);
    ORB_LOG_INFO(SAS_RM, format_text("Time taken to gather complete inventory from [%s, SN %s] @ "
                                     "[%s]: [%ld.%.2ld] seconds",
                                     info.getModel().c_str(), info.getSerialNumber().c_str(),
                                     info.getDescription().c_str(), static_cast<long>(taken.tv_sec),
                                     taken.tv_nsec / NS_PER_HUNDREDTH));
}

void SASResourceManager::gatherSteps(IorbStorageController &controller,
                                     orbStorageControllerInfo &info) {
    if (controller.discoverInventory(info) < 0) return;
    controllerInventory.push_back(info);
    controllerCount = controllerInventory.size();
    std::vector<orbDiskInfo> drives;
    if (controller.discoverPhysicalDiskInventory(drives) < 0) return;
    append_all(physicalDrives, std::move(drives));
    std::vector<orbLogicalDiskInfo> volumes;
    if (controller.discoverLogicalDiskInventory(volumes) < 0) return;
    append_all(logicalDisks, std::move(volumes));
    std::vector<orbStorageEnclosureInfo> enclosures;
    if (controller.discoverStorageEnclosureInventory(enclosures) < 0) return;
    append_all(storageEnclosures, std::move(enclosures));
    (void)controller.enableEvents(); // false for a controller that went away meanwhile
}

void SASResourceManager::createJsonStringUsingJsonCpp() {
    build_objects(currentJson[0], controllerInventory, "Printing controller instance %zu:    %s",
                  storage_controller_object);
    build_objects(currentJson[1], physicalDrives, "Printing disk instance %zu:    %s",
                  drive_object);
    build_objects(currentJson[2], logicalDisks, "Printing logical disk instance %zu:    %s",
                  volume_object);
    build_objects(currentJson[3], storageEnclosures,
                  "Printing storage enclosure instance %zu:    %s",
                  [](orbStorageEnclosureInfo &enclosure) { return enclosure.getInventoryData(); });
}

void SASResourceManager::pollDevices() {
    ORB_LOG_DEBUG(SAS_RM, "Polling devices.");
    for (IorbStorageControllerFactory *factory : FACTORIES::getRegistryList()) {
        factory->poll();
        orbControllerList controllers;
        factory->getControllers(ALL_FAMILIES, controllers.vector());
        for (IorbStorageController *controller : controllers) controller->poll();
        lastPollTime = present_second();
    }
}

void SASResourceManager::processResourceManagerStop() {
    ORB_LOG_DEBUG(SAS_RM, "Resource manager stop in progress.");
    shutdownFactories();
    endHandshake();
}

void SASResourceManager::shutdownFactories() {
    for (IorbStorageControllerFactory *factory : FACTORIES::getRegistryList())
        factory->shutdownFactory();
}

void SASResourceManager::endHandshake() {
    const std::lock_guard<std::mutex> lock(rmstop_cmutex);
    condSignal = true;
    rmstop_cond.notify_all();
}

// -- Other threads ------------------------------------------------------------------------------

void SASResourceManager::stopResourceManagerJob() {
    ORB_LOG_DEBUG(SAS_RM, "Resource manager stop called.");
    {
        const std::lock_guard<std::mutex> lock(rm_cmutex);
        stopSAS = true;
        rm_cond.notify_all();
    }
    ORB_LOG_DEBUG(SAS_RM, "Signalled for stop.");
    {
        IorbHostProcess::get().waitingFor(THREAD_NAME);
        std::unique_lock<std::mutex> lock(rmstop_cmutex);
        rmstop_cond.wait(lock, [] { return condSignal; });
    }
    IorbHostProcess::get().waitingFor(nullptr);
    ORB_LOG_DEBUG(SAS_RM, "Resource manager stopped.");
}

int SASResourceManager::getInventoryJsonObject(std::vector<Json::Value> &) {
    return 0;
}

int SASResourceManager::getInventoryJsonObject2(int type, std::vector<Json::Value> &objects) {
    ORB_LOG_DEBUG(SAS_RM, "reached getInventoryJsonObject2");
    if (_cacheBuildInProgress) {
        ORB_LOG_DEBUG(SAS_RM, "Cache build is in progress. Returning previously saved inventory.");
        fetchPrevInventoryOfType(type, objects);
        return 1;
    }
    {
        const std::unique_lock<std::recursive_mutex> lock(cache_lock, std::try_to_lock);
        if (!lock) {
            ORB_LOG_DEBUG(SAS_RM,
                          "Cache build is in progress. Returning previously saved inventory. ");
            fetchPrevInventoryOfType(type, objects);
            return 1;
        }
        copy_of_type(currentJson, type, objects);
    }
    ORB_LOG_DEBUG(SAS_RM, format_text("returning Inventory size: %zu", objects.size()));
    return 0;
}

void SASResourceManager::fetchPrevInventoryOfType(int type, std::vector<Json::Value> &objects) {
    const orbMutexLocker<std::recursive_mutex> lock(prevInventoryLock);
    copy_of_type(previousJson, type, objects);
}

bool SASResourceManager::isInventoryReady(int type) {
    ORB_LOG_INFO(SAS_RM, format_text("SAS RM cache status %d", cacheReady ? 1 : 0));
    return checkInventoryReady(type);
}

bool SASResourceManager::isRunning() {
    std::unique_lock<std::recursive_mutex> lock(cache_lock, std::defer_lock);
    for (int retryCount = 0;; ++retryCount) {
        if (retryCount == RUNNING_TRIES) return false;
        bool building = true;
        if (lock.try_lock()) {
            building = _cacheBuildInProgress;
            // A machine without storage is in order; one whose controllers are known only while
            // the document still has none is not yet.
            if ((!building && !currentJson[0].empty()) || controllerInventory.empty()) break;
            lock.unlock();
        }
        ORB_LOG_WARNING(SAS_RM, format_text("_cacheBuildInProgress = %d,ControllerInventory.size() "
                                            "= %zu,retryCount = %d",
                                            building ? 1 : 0, controllerCount.load(), retryCount));
        IorbHostClock::get().sleepMs(RETRY_DELAY_MS);
    }
    for (IorbStorageControllerFactory *factory : FACTORIES::getRegistryList()) {
        orbControllerList controllers;
        factory->getControllers(ALL_FAMILIES, controllers.vector());
        for (IorbStorageController *controller : controllers) {
            if (controller->isEventsEnabled()) continue;
            ORB_LOG_INFO(SAS_RM,
                         "LSI Events are disabled.Hence Storage Controllers is                    "
                         "                   partially functional.");
            return false;
        }
    }
    return true;
}

// -- Any thread ---------------------------------------------------------------------------------

void SASResourceManager::invalidateInventoryCache() {
    ORB_LOG_DEBUG(SAS_RM, "Invalidating inventory cache.");
    {
        const std::lock_guard<std::mutex> lock(rm_cmutex);
        refreshCache = true;
        rm_cond.notify_all();
    }
    ORB_LOG_DEBUG(SAS_RM, "Inventory cache invalidated.");
}

void SASResourceManager::sendInventorytToRMCOnCacheBuild() {
    ORB_LOG_DEBUG(SAS_RM, "Signalling for inventory push to RMC on cache build.");
    {
        const std::lock_guard<std::mutex> lock(rm_cmutex);
        sendInventoryToRMC = true;
    }
    ORB_LOG_DEBUG(SAS_RM, "Signalled inventory push.");
}

bool SASResourceManager::isControllerModelSupported(std::uint32_t chipset, std::uint32_t board) {
    for (IorbStorageControllerFactory *factory : FACTORIES::getRegistryList())
        for (const auto &[modelChipset, modelBoard] : factory->getSupportedControllerModels())
            if (modelChipset == chipset && (modelBoard == 0 || modelBoard == board)) return true;
    return false;
}

void SASResourceManager::generateEvent(int id, std::string location, bool critical,
                                       orbInventoryBase &record) {
    orbEventHandler().generateEvent(orbEvent(id, std::move(location), MODULE, critical,
                                             orbUtils::getTime(), PART_NUMBER,
                                             record.getVariableData(), SOURCE));
}

void SASResourceManager::generateEvent(int id, bool critical, orbInventoryBase &record) {
    orbEventHandler().generateEvent(
        orbEvent(id, MODULE, critical, orbUtils::getTime(), record.getVariableData(), SOURCE));
}
