#include "network/NICResourceManager.h"

#include <ctime>
#include <utility>

#include "core/Logger.h"
#include "core/json_text.h"
#include "core/module_names.h"
#include "core/orbConfig.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "core/status_words.h"
#include "hostaccess/orbHostClock.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostProcess.h"
#include "network/NICPhysicalAdapter.h"
#include "network/nic_commands.h"
#include "network/nic_list.h"
#include "reporting/orbEventHandler.h"
#include "reporting/orbJsonAggregator.h"

orbKeptLock NICResourceManager::mlock;
constinit std::mutex NICResourceManager::prevInventoryLock;
constinit std::mutex NICResourceManager::rm_cmutex;
std::condition_variable NICResourceManager::rm_cond;
std::vector<PhyAdapterInventory> NICResourceManager::_NICInfo;
std::vector<PhyAdapterInventory> NICResourceManager::_prevNICInfo;
constinit std::atomic<std::size_t> NICResourceManager::adapterCount{0};
constinit std::atomic<bool> NICResourceManager::_cacheBuildInProgress{false};
constinit std::atomic<std::int64_t> NICResourceManager::lastRefreshTime{0};
constinit std::atomic<bool> NICResourceManager::refreshCache{true};
constinit std::atomic<bool> NICResourceManager::checkNICState{false};
constinit std::atomic<bool> NICResourceManager::stopNIC{false};

namespace {
constexpr char INTERFACES[] = "/opt/vantor/orb/data/orb_niclist.txt";
constexpr std::int64_t WAKE_UP_SECONDS = 10, SETTLED_SECONDS = 3, DEFAULT_REFRESH_SECONDS = 30;
constexpr int RUNNING_TRIES = 3;
constexpr std::int64_t RETRY_DELAY_MS = 5000;

constexpr int EVENT_INJECTED = 0, EVENT_ERRORS = 678, EVENT_WELL_AGAIN = 680;
constexpr char MODULE[] = "NICEVENT", PART_NUMBER[] = "Not Available";
} // namespace

NICResourceManager &NICResourceManager::getInstance() {
    static NICResourceManager instance;
    return instance;
}

// -- The manager's thread -----------------------------------------------------------------------

int NICResourceManager::init() {
    ORB_LOG_DEBUG(NIC_RM, "Initializing NICRM");
    if (const std::size_t count = adapterCount; count != 0) return static_cast<int>(count);
    return startInventory();
}

int NICResourceManager::startInventory() {
    ORB_LOG_DEBUG(NIC_RM, "Entry startInventory");
    if (lastRefreshTime != 0) {
        ORB_LOG_DEBUG(NIC_RM, "Attempting to refresh Cache.");
        if (present_second() - lastRefreshTime < SETTLED_SECONDS) {
            ORB_LOG_DEBUG(NIC_RM, "cache was recently refreshed. skipping the current refresh "
                                  "cycle");
            return 0;
        }
    }
    const std::int64_t interval = refreshSeconds(
        orbConfig::getInstance()->getrefreshInterval(ORB_MODULE_NAME_MAP.at(ORB_ETHERNET)));

    std::unique_lock<std::mutex> lock(rm_cmutex);
    for (;;) {
        if (!stopNIC && !refreshCache) {
            std::timespec now{};
            const ORB_SYSCALL_RESULT read = IorbHostClock::get().realTime(&now);
            if (read.rc != 0) {
                lock.unlock();
                ORB_LOG_ERROR(NIC_RM,
                              format_text("Failed to get current time! (errno: %d)", read.err));
                return 0;
            }
            const std::timespec deadline = deadline_after(now, WAKE_UP_SECONDS);
            const bool wanted = wait_until(rm_cond, lock, deadline,
                                           [] { return stopNIC.load() || refreshCache.load(); });
            // By the deadline, not by the time it is now: the first wake-up behind a rebuild is
            // exactly ten seconds away from it, and that one alone looks at the links.
            const std::int64_t elapsed = deadline.tv_sec - lastRefreshTime;
            if (!wanted && elapsed >= interval)
                refreshCache = true;
            else if (!wanted && elapsed == WAKE_UP_SECONDS)
                checkNICState = true;
        }
        const bool stop = stopNIC, refresh = refreshCache, poll = checkNICState;
        lock.unlock();
        if (stop) return 0;
        if (refresh) {
            ORB_LOG_DEBUG(NIC_RM, "Refreshing Ethernet cache");
            refreshCache = false;
            cacheBuild();
        } else if (poll) {
            ORB_LOG_DEBUG(NIC_RM, "Polling for interface link state change.");
            checkNICState = false;
            if (checkLinkState()) cacheBuild();
        }
        lock.lock();
    }
}

void NICResourceManager::cacheBuild() {
    ORB_LOG_DEBUG(NIC_RM, "Building NIC Cache");
    if (!mlock.lockUnlessCancelled()) return;
    {
        const std::unique_lock<orbKeptLock> lock(mlock, std::adopt_lock);
        _cacheBuildInProgress = true;
        backupInventory();
        _NICInfo.clear();
        adapterCount = 0;
        (void)getInventory(); // 0; a list that could not be read is an empty one
        createJsonStringUsingJsonCpp();
        _cacheBuildInProgress = false;
        lastRefreshTime = present_second();
    }
    if (cacheReady) compareStatusAndGenerateEvent();
    cacheReady = true;
    if (cachePushPending) {
        ORB_LOG_DEBUG(NIC_RM, "NICRM requesting cache push");
        orbJsonAggregator::getInstance().sendInventory(true);
        cachePushPending = false;
    }
    ORB_LOG_DEBUG(NIC_RM, "Exiting CacheBuild");
}

void NICResourceManager::backupInventory() {
    const orbMutexLocker<std::mutex> lock(prevInventoryLock);
    previousJson = currentJson;
    _prevNICInfo = _NICInfo;
}

int NICResourceManager::getInventory() {
    _NICInfo.clear();
    ROWS rows;
    if (getInterfaceDetails(rows) != 0) return 0;
    if (rows.empty()) {
        ORB_LOG_DEBUG(NIC_RM, "No NIC found!");
        return 0;
    }
    for (std::vector<std::string> &row : rows) {
        PhyAdapterInventory adapter;
        if (NICPhysicalAdapter::discoverPhyAdapterInventory(adapter, std::move(row)) >= 0)
            _NICInfo.push_back(std::move(adapter));
    }
    adapterCount = _NICInfo.size();
    return 0;
}

int NICResourceManager::getInterfaceDetails(ROWS &rows) {
    constexpr char FAILURE[] = "Error occurred in gathering network interface information.";
    rows.clear();
    const ORB_COMMAND_RESULT run =
        IorbHostCommands::get().system("localcli network nic list >> " + shell_path(INTERFACES));
    if (run.status != 0) {
        ORB_LOG_ERROR(NIC_RM, FAILURE);
        remove_data_file(INTERFACES);
        return -1;
    }
    std::string text;
    if (read_data_file(INTERFACES, text) != 0) {
        IorbHostProcess::get().writeStandardOutput(FAILURE + std::string("\n"));
        remove_data_file(INTERFACES);
        return -1;
    }
    switch (read_nic_list(text, rows)) {
    case 0:
        remove_data_file(INTERFACES);
        return 0;
    case -1:
        // The file stays, and the next list is appended to it: this goes on until somebody or a
        // link poll removes it.
        ORB_LOG_DEBUG(NIC_RM, "Unable to find NIC information.");
        return -1;
    default:
        ORB_LOG_DEBUG(NIC_RM, "An error occurred while trying to fetch NIC information");
        remove_data_file(INTERFACES);
        return -1;
    }
}

void NICResourceManager::createJsonStringUsingJsonCpp() {
    // A host that lost its last adapter goes on showing what it had.
    if (_NICInfo.empty()) return;
    currentJson.clear();
    for (const PhyAdapterInventory &adapter : _NICInfo) {
        Json::Value object = populateInventory(adapter);
        object["Status"]["State"] = adapter.getState();
        object["Status"]["Health"] = adapter.getHealth();
        ORB_LOG_DEBUG(NIC_RM, format_text("Printing Ethernet Instance %zu:    %s",
                                          currentJson.size(), compact_json(object).c_str()));
        currentJson.push_back(std::move(object));
    }
    currentCount = currentJson.size();
}

// -- Changes ------------------------------------------------------------------------------------

void NICResourceManager::compareStatusAndGenerateEvent() {
    // Only this thread changes the two lists, so that it may count them without their locks.
    ORB_LOG_DEBUG(NIC_RM, format_text("Entry compare size of current inventory %d, size of prev "
                                      "inventory %d",
                                      static_cast<int>(_NICInfo.size()),
                                      static_cast<int>(_prevNICInfo.size())));
    std::unique_lock<orbKeptLock> lock(mlock);
    if (_NICInfo.empty()) {
        (void)lock.release(); // stays held from here on, see the class
        return;
    }
    for (const PhyAdapterInventory &current : _NICInfo) {
        const orbMutexLocker<std::mutex> previous(prevInventoryLock);
        compareLocked(current);
    }
}

void NICResourceManager::compareLocked(const PhyAdapterInventory &current) {
    const std::string &health = current.getHealth();
    for (const PhyAdapterInventory &former : _prevNICInfo) {
        const std::string &formerHealth = former.getHealth();
        ORB_LOG_DEBUG(NIC_RM,
                      format_text("Curr Intf name %s Current health  %s Prev intrf name %s Prev "
                                  "health %s",
                                  current.getIntfName().c_str(), health.c_str(),
                                  former.getIntfName().c_str(), formerHealth.c_str()));
        if (former.getIntfName() != current.getIntfName()) continue;
        if (health == formerHealth) return;
        if (health == health_text(ORB_HEALTH_OK))
            generateEvent(EVENT_WELL_AGAIN, current.getPhyLocation(), false, current.getIntfName(),
                          current);
        else if (health != health_text(ORB_HEALTH_CRITICAL))
            ORB_LOG_DEBUG(NIC_RM, format_text("State change noticed from %s to %s", health.c_str(),
                                              formerHealth.c_str()));
        return;
    }
}

bool NICResourceManager::checkLinkState() {
    ORB_LOG_DEBUG(NIC_RM, "Getting list of interfaces");
    const bool changed = pollLinks();
    remove_data_file(INTERFACES);
    return changed;
}

bool NICResourceManager::pollLinks() {
    constexpr char FAILURE[] = "Error occurred in checking link state information : %s";
    const ORB_COMMAND_RESULT run = IorbHostCommands::get().system(
        "localcli network nic list | /usr/bin/awk '{print$1, $5}' >>" + shell_path(INTERFACES));
    std::string text;
    int err = run.err;
    if (run.status != 0 || (err = read_data_file(INTERFACES, text)) != 0) {
        ORB_LOG_ERROR(NIC_RM, format_text(FAILURE, orbUtils::getErrorDescription(err).c_str()));
        return false;
    }
    for (const auto &[name, link] : read_link_table(text)) {
        // For each line anew, so that readers never wait for the whole table.
        if (!mlock.lockUnlessCancelled()) return false;
        const std::unique_lock<orbKeptLock> lock(mlock, std::adopt_lock);
        for (const PhyAdapterInventory &adapter : _NICInfo) {
            if (adapter.getIntfName() != name || adapter.getLinkStatus() == link) continue;
            ORB_LOG_DEBUG(NIC_RM, "Found a status change");
            return true;
        }
    }
    ORB_LOG_DEBUG(NIC_RM, "No status change");
    return false;
}

// -- Readers and the stop -----------------------------------------------------------------------

void NICResourceManager::stopResourceManagerJob() {
    ORB_LOG_INFO(NIC_RM, "Resource manager stop called.");
    {
        const orbMutexLocker<std::mutex> lock(rm_cmutex);
        stopNIC = true;
        rm_cond.notify_all();
    }
    mlock.cancelWaits();
    ORB_LOG_INFO(NIC_RM, "Signalled for stop.");
}

int NICResourceManager::getInventoryJsonObject(std::vector<Json::Value> &objects) {
    if (!_cacheBuildInProgress) {
        if (const std::unique_lock<orbKeptLock> lock(mlock, std::try_to_lock); lock) {
            objects = currentJson;
            return 0;
        }
    }
    ORB_LOG_DEBUG(NIC_RM, "Cache build is in progress. Returning previous copy of inventory.");
    const orbMutexLocker<std::mutex> lock(prevInventoryLock);
    objects = previousJson;
    return 1;
}

bool NICResourceManager::isRunning() {
    for (int retryCount = 0; retryCount < RUNNING_TRIES; ++retryCount) {
        bool building = true;
        if (const std::unique_lock<orbKeptLock> lock(mlock, std::try_to_lock); lock)
            building = _cacheBuildInProgress;
        const std::size_t size = currentCount;
        if (!building && size != 0) return true;
        ORB_LOG_WARNING(NIC_RM, format_text("_cacheBuildInProgress = %d,NICInventory.size() =%zu, "
                                            "retryCount = %d",
                                            building ? 1 : 0, size, retryCount));
        IorbHostClock::get().sleepMs(RETRY_DELAY_MS);
    }
    return false;
}

bool NICResourceManager::isInventoryReady(int iteration) {
    ORB_LOG_INFO(NIC_RM, format_text("NIC resource status %d", cacheReady ? 1 : 0));
    return checkInventoryReady(iteration);
}

std::vector<std::string> NICResourceManager::getHealthOfIntf(const char *name) {
    if (name == nullptr || !mlock.lockUnlessCancelled()) return {};
    const std::unique_lock<orbKeptLock> lock(mlock, std::adopt_lock);
    for (const PhyAdapterInventory &adapter : _NICInfo)
        if (adapter.getIntfName() == name) return {adapter.getState(), adapter.getHealth()};
    return {};
}

void NICResourceManager::updateStateAndHealth(const char *name, std::string state,
                                              std::string health) {
    if (name == nullptr || !mlock.lockUnlessCancelled()) return;
    const std::unique_lock<orbKeptLock> lock(mlock, std::adopt_lock);
    for (PhyAdapterInventory &adapter : _NICInfo) {
        if (adapter.getIntfName() != name) continue;
        adapter.setState(std::move(state));
        adapter.setHealth(std::move(health));
        createJsonStringUsingJsonCpp();
        return;
    }
}

std::int64_t NICResourceManager::refreshSeconds(std::int64_t configured) {
    return configured < 1 ? DEFAULT_REFRESH_SECONDS : configured;
}

// -- Events -------------------------------------------------------------------------------------

void NICResourceManager::generateEvent(int id, std::string location, bool isServiceEvent,
                                       const std::string & /*interfaceName*/,
                                       const PhyAdapterInventory &inventory) {
    orbEventHandler().generateEvent(orbEvent(id, std::move(location), MODULE, isServiceEvent,
                                             orbUtils::getTime(), PART_NUMBER,
                                             getVariableData(inventory, id), "ORB"));
}

void NICResourceManager::generateTestEvent(int id, std::string location) {
    PhyAdapterInventory adapter;
    adapter.setNICModel("Vantor Ethernet 1Gb 2-port 900T Adapter");
    adapter.setFirmVersion("3.2d 0x80000b5c 0.0.0");
    adapter.setMACAddress("02:00:00:17:A1:64");
    adapter.setSpeed(1000);
    adapter.setDeviceName("/sys/class/net/eth0");
    adapter.setManufacturer("Intel Corporation");
    const std::string family = orbUtils::getPlatformFamily();
    if (family == "PLATFORM-ID-A01")
        adapter.setPCIDescription("PCI 0000:c3:00.0 r001u01p0i00");
    else if (family == "PLATFORM-ID-B02" || family == "PLATFORM-ID-B01")
        adapter.setPCIDescription("PCI 0000:c3:00.0 r001i01s00");
    adapter.setPhyLocation(location);
    orbEventHandler().generateEvent(orbEvent(id, std::move(location), MODULE, false,
                                             orbUtils::getTime(), PART_NUMBER,
                                             getVariableData(adapter, EVENT_INJECTED), "ORB-CLI"));
}

Json::Value NICResourceManager::populateInventory(const PhyAdapterInventory &inventory) {
    Json::Value object(Json::objectValue);
    object["Model"] = inventory.getNICModel();
    object["SerialNumber"] = inventory.getSerialNumber();
    object["PartNumber"] = inventory.getPartNumber();
    object["FirmwareVersion"] = inventory.getFirmVersion();
    object["MACAddress"] = inventory.getMACAddress();
    object["SpeedMbps"] = inventory.getSpeed();
    object["Manufacturer"] = inventory.getManufacturer();
    object["Oem"]["DeviceName"] = inventory.getDeviceName();
    object["Oem"]["Description"] = inventory.getPCIDescription();
    object["Oem"]["PhysicalLocation"] = inventory.getPhyLocation();
    return object;
}

Json::Value NICResourceManager::getVariableData(const PhyAdapterInventory &inventory, int eventId) {
    if (inventory.getDeviceName().empty()) return Json::Value();
    Json::Value data(Json::objectValue);
    data["Data"] = populateInventory(inventory);
    data["Type"] = "EthernetDevice";
    data["EventInfo"] = getDescription(eventId);
    return data;
}

std::string NICResourceManager::getDescription(int eventId) {
    if (eventId == EVENT_INJECTED) return "Injected Event";
    if (eventId == EVENT_ERRORS)
        return "Errors detected on NIC, use 'ip' command for status. Refer to syslog for further "
               "details.";
    return {};
}
