#include "reporting/orbJsonAggregator.h"

#include <cstdint>
#include <vector>

#include "core/Logger.h"
#include "core/json_text.h"
#include "core/module_names.h"
#include "core/orbConfig.h"
#include "core/orbFactory.h"
#include "core/orbResourceManager.h"
#include "hostaccess/orbHostClock.h"
#include "reporting/orbipmi.h"

namespace {
constexpr int RESOURCE_COUNT = 7;
constexpr int READINESS_PASSES = 9;
constexpr char ENVELOPE_KEY[] = "HostDataCollection";

// The storage manager's four inventories, by the kind it is asked for.
struct STORAGE_SECTION {
    int kind;
    const char *key;
};
constexpr STORAGE_SECTION STORAGE_SECTIONS[] = {
    {1, "StorageControllers"}, {2, "Drives"}, {3, "Volumes"}, {4, "StorageEnclosures"}};

/// A manager of an enabled resource; null where there is none.
orbResourceManager *enabled_manager(int id) {
    return orbConfig::getInstance()->isResourceEnabled(id) ? orbFactory().createInstance(id)
                                                           : nullptr;
}

/// Moves the objects to the end of a section, which comes into being with its first object.
void append_objects(Json::Value &sections, const std::string &key,
                    std::vector<Json::Value> &objects) {
    if (objects.empty()) return;
    Json::Value &section = sections[key];
    for (Json::Value &object : objects) section.append(std::move(object));
}

long seconds_of_minutes(long minutes) {
    long seconds = 0;
    return __builtin_mul_overflow(minutes, 60L, &seconds) ? INT64_MAX : seconds;
}
} // namespace

orbThread orbJsonAggregator::thread{"aggregator"};
std::mutex orbJsonAggregator::cmutex;
std::condition_variable orbJsonAggregator::cond;
std::mutex orbJsonAggregator::mlock;
bool orbJsonAggregator::pushInventory = true; // so that the first send waits for nothing
std::uint64_t orbJsonAggregator::wakeCount = 0;
std::atomic<bool> orbJsonAggregator::stopAggr{false};
std::atomic<bool> orbJsonAggregator::firstInventoryPushComplete{false};
const std::map<int, std::string> orbJsonAggregator::orb_RM_to_string = {
    {ORB_FIBRE_CHANNEL, "FibreChannelDevices"},
    {ORB_HOST, "Oem"},
    {ORB_STORAGE, "StorageControllers"},
    {ORB_ETHERNET, "EthernetDevices"},
    {5, "Processors"},
    {ORB_INFINIBAND, "InfiniBandDevices"}};

orbJsonAggregator::orbJsonAggregator() = default;

orbJsonAggregator &orbJsonAggregator::getInstance() {
    static orbJsonAggregator instance;
    return instance;
}

void orbJsonAggregator::sendInventory(bool request) {
    if (!request) {
        ORB_LOG_DEBUG(JSON_AGGR, "Creating Json Aggregator thread");
        if (const int rc = thread.create(startInventoryPushThread, nullptr); rc != 0)
            ORB_LOG_ERROR(JSON_AGGR, format_text("Error: Unable to create thread: %d", rc));
        return;
    }
    const std::lock_guard<std::mutex> lock(cmutex);
    pushInventory = true;
    if (firstInventoryPushComplete) {
        ORB_LOG_DEBUG(JSON_AGGR, "Request to send inventory");
        ++wakeCount;
        cond.notify_all();
    } else {
        // The first send is due anyway and serves this request too.
        ORB_LOG_DEBUG(JSON_AGGR, "Dropping inventory send request");
    }
}

void orbJsonAggregator::stoporbJsonAggregator() {
    ORB_LOG_DEBUG(JSON_AGGR, "Stopping orbJsonAggr");
    {
        const std::lock_guard<std::mutex> lock(cmutex);
        stopAggr = true;
        cond.notify_all();
    }
    ORB_LOG_DEBUG(JSON_AGGR, "Signaled for stop.");
    if (const int rc = thread.join(); rc != 0)
        ORB_LOG_ERROR(JSON_AGGR, format_text("Error: Unable to join thread: %d", rc));
}

bool orbJsonAggregator::isInventorySent() {
    return firstInventoryPushComplete;
}

bool orbJsonAggregator::checkIfInventoryReady() {
    ORB_LOG_DEBUG(JSON_AGGR, "Entry checkIfInventoryReady");
    const long intervalS = orbConfig::getInstance()->getInventoryQueryInterval();
    for (int iteration = 0; iteration < READINESS_PASSES; ++iteration) {
        ORB_LOG_DEBUG(JSON_AGGR,
                      format_text("Aggregator thread sleeping for %ld sec iteration no. %d",
                                  intervalS, iteration + 1));
        if (!aggrThreadSleep(intervalS) || stopAggr) return false;

        // Every manager is asked in every pass: the last one makes those that aren't ready ask for
        // a send themselves.
        bool allReady = true;
        for (int id = 0; id < RESOURCE_COUNT; ++id) {
            orbResourceManager *manager = enabled_manager(id);
            if (manager == nullptr || manager->isInventoryReady(iteration)) continue;
            ORB_LOG_INFO(JSON_AGGR, format_text("RM %d not ready with inventory", id));
            allReady = false;
        }
        if (allReady) break;
    }
    return true;
}

bool orbJsonAggregator::aggrThreadSleep(long seconds) {
    std::timespec now{};
    if (const ORB_SYSCALL_RESULT clock = IorbHostClock::get().realTime(&now); clock.rc != 0) {
        ORB_LOG_ERROR(JSON_AGGR, format_text("Failed to get current time! (errno: %d)", clock.err));
        return false;
    }
    std::unique_lock<std::mutex> lock(cmutex, std::adopt_lock);
    const std::uint64_t before = wakeCount;
    wait_until(cond, lock, deadline_after(now, seconds),
               [before] { return wakeCount != before || stopAggr; });
    (void)lock.release(); // the caller's again, still held
    ORB_LOG_DEBUG(JSON_AGGR, "Thread signaled");
    return true;
}

void orbJsonAggregator::collectDocument() {
    sections = Json::Value();
    for (int id = 0; id < RESOURCE_COUNT; ++id) {
        orbResourceManager *manager = enabled_manager(id);
        if (manager == nullptr) continue;

        std::vector<Json::Value> objects;
        const int rc = manager->getInventoryJsonObject(objects);
        switch (id) {
        case ORB_FIBRE_CHANNEL:
        case ORB_ETHERNET:
        case ORB_INFINIBAND:
            append_objects(sections, orb_RM_to_string.at(id), objects);
            break;
        case ORB_HOST:
            if (!objects.empty()) sections[orb_RM_to_string.at(id)] = std::move(objects.back());
            break;
        case ORB_STORAGE:
            for (const STORAGE_SECTION &section : STORAGE_SECTIONS) {
                std::vector<Json::Value> kindObjects;
                (void)manager->getInventoryJsonObject2(section.kind, kindObjects);
                append_objects(sections, section.key, kindObjects);
            }
            break;
        default:
            break;
        }
        ORB_LOG_DEBUG(JSON_AGGR, format_text("RM inventory type: [%d]", rc));
    }
}

void orbJsonAggregator::createInventoryJsonString() {
    collectDocument();
    if (sections.empty()) {
        ORB_LOG_WARNING(JSON_AGGR, "No inventory information found!");
    } else {
        envelope = Json::Value(Json::objectValue);
        envelope[ENVELOPE_KEY].swap(sections);
        sendJsonString();
    }
    // Whatever became of the send: events have waited for it long enough.
    firstInventoryPushComplete = true;
}

void orbJsonAggregator::sendJsonString() {
    const std::string text = compact_json(envelope);
    envelope = Json::Value(); // a long delivery need not keep both forms in memory
    ORB_LOG_INFO(JSON_AGGR, "*************printing final Json String*******");
    ORB_LOG_INFO(JSON_AGGR, text);
    ipmi::IPMIUtils ipmi;
    if (ipmi.RMC_CLI_Cmd_Execution("WriteInventory", text) == 1)
        ORB_LOG_ERROR(JSON_AGGR, "An Error occurred in delivering inventory string to RMC!");
    else
        ORB_LOG_DEBUG(JSON_AGGR, "Success in delivering inventory string to RMC!");
}

void orbJsonAggregator::initializeCachePush() {
    const long intervalS =
        seconds_of_minutes(orbConfig::getInstance()->getInventoryPushIntervalSettings());
    std::unique_lock<std::mutex> lock(cmutex);
    if (!checkIfInventoryReady()) return;
    while (true) {
        if (!pushInventory && (stopAggr || !aggrThreadSleep(intervalS))) return;
        if (stopAggr) return;
        pushInventory = false;
        lock.unlock();
        createInventoryJsonString();
        lock.lock();
    }
}

void *startInventoryPushThread(void *) {
    orbJsonAggregator aggregator;
    aggregator.initializeCachePush();
    return nullptr;
}
