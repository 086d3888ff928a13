#include "fc/FCResourceManager.h"

#include <algorithm>
#include <ctime>

#include "core/Logger.h"
#include "core/json_text.h"
#include "core/module_names.h"
#include "core/orbConfig.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "fc/fc_attributes.h"
#include "fc/hba_loader.h"
#include "hostaccess/orbHostClock.h"
#include "physloc/orbPhysLocFactory.h"
#include "platform/PCIeManufacturerResolver.h"
#include "reporting/orbEventHandler.h"
#include "reporting/orbJsonAggregator.h"
#include "tables/fc_part_numbers.h"

constinit std::mutex FCResourceManager::mlock;
constinit std::mutex FCResourceManager::prevInventoryLock;
constinit std::mutex FCResourceManager::cmutex;
std::condition_variable FCResourceManager::cond;
constinit std::atomic<int> FCResourceManager::NumAdapters{0};
constinit std::atomic<int> FCResourceManager::NumFcaEntries{0};
constinit std::atomic<bool> FCResourceManager::_cacheBuildInProgress{false};
constinit std::atomic<std::int64_t> FCResourceManager::lastRefreshTime{0};
constinit std::atomic<bool> FCResourceManager::refreshCache{true};
constinit std::atomic<bool> FCResourceManager::checkPortState{false};
constinit std::atomic<bool> FCResourceManager::stopFC{false};

namespace {
constexpr std::int64_t WAKE_UP_SECONDS = 10, SETTLED_SECONDS = 3, DEFAULT_REFRESH_SECONDS = 30;
constexpr int RUNNING_TRIES = 3;
constexpr std::int64_t RETRY_DELAY_MS = 3000;

constexpr int EVENT_INJECTED = 0, EVENT_ONLINE = 384, EVENT_OFFLINE = 385, EVENT_LINK_DOWN = 386,
              EVENT_FAILED = 388;
constexpr char MODULE[] = "FCHBA", NO_ADDRESS[] = "NotAvailable";
} // namespace

FCResourceManager &FCResourceManager::getInstance() {
    static FCResourceManager instance;
    return instance;
}

// -- The manager's thread -----------------------------------------------------------------------

int FCResourceManager::init() {
    ORB_LOG_DEBUG(FC_RM, "Initializing FCRM");
    orbUtils::initFcInfoMap();
    orbUtils::initFcNameMap();
    if (const std::size_t count = fcCount; count != 0) return static_cast<int>(count);
    return startInventory();
}

int FCResourceManager::startInventory() {
    ORB_LOG_DEBUG(FC_RM, "Entry startInventory");
    if (lastRefreshTime != 0 && present_second() - lastRefreshTime < SETTLED_SECONDS) {
        ORB_LOG_DEBUG(FC_RM, "Cache was recently refreshed. skipping the current refresh cycle");
        return 0;
    }
    const std::int64_t interval = refreshSeconds(
        orbConfig::getInstance()->getrefreshInterval(ORB_MODULE_NAME_MAP.at(ORB_FIBRE_CHANNEL)));
    while (waitForWork(interval)) {
        if (refreshCache.exchange(false)) {
            cacheBuild();
        } else if (checkPortState && fcCount != 0) {
            checkPortState = false;
            if (waitOnPortState(0)) cacheBuild();
        }
    }
    return 0;
}

/// Waits for the next wake-up, unless a rebuild is due, and marks what is due then.
/// @return false at a stop, and where the clock can't be read
bool FCResourceManager::waitForWork(std::int64_t interval) {
    std::unique_lock<std::mutex> lock(cmutex);
    if (stopFC || refreshCache) return !stopFC;
    std::timespec now{};
    if (const ORB_SYSCALL_RESULT read = IorbHostClock::get().realTime(&now); read.rc != 0) {
        lock.unlock();
        ORB_LOG_ERROR(FC_RM, format_text("Failed to get current time! (errno: %d)", read.err));
        return false;
    }
    const std::timespec deadline = deadline_after(now, WAKE_UP_SECONDS);
    if (wait_until(cond, lock, deadline, [] { return stopFC.load(); })) return false;
    // By the deadline, not by the time it is now: the first wake-up behind a rebuild is exactly ten
    // seconds away from it, and that one alone looks at the ports.
    const std::int64_t elapsed = deadline.tv_sec - lastRefreshTime;
    if (elapsed >= interval)
        refreshCache = true;
    else if (elapsed == WAKE_UP_SECONDS)
        checkPortState = true;
    return true;
}

void FCResourceManager::cacheBuild() {
    ORB_LOG_DEBUG(FC_RM, "Building FC Cache");
    const bool found = rebuild();
    cacheReady = true;
    if (!found || !cachePushPending) return;
    ORB_LOG_DEBUG(FC_RM, "FCRM requesting cache push");
    orbJsonAggregator::getInstance().sendInventory(true);
    cachePushPending = false;
}

/// @return false for a host without adapters, whose objects, pending push and time of the last
///         rebuild stay as they are
bool FCResourceManager::rebuild() {
    const orbMutexLocker<std::mutex> lock(mlock);
    _cacheBuildInProgress = true;
    if (!fcList.empty()) prevFcList = std::move(fcList);
    fcList.clear();
    fcCount = 0;
    (void)loadLibrary(); // what was loaded before still counts
    discoverInstances();
    const int entries = NumFcaEntries;
    if (entries <= 0) {
        ORB_LOG_DEBUG(FC_RM, "No FCA Entries Found! Cache build terminating!!!");
        _cacheBuildInProgress = false;
        return false;
    }
    for (int index = 0; index < entries; ++index) addAdapter(index);
    createJsonStringUsingJsonCpp();
    _cacheBuildInProgress = false;
    lastRefreshTime = present_second();
    return true;
}

void FCResourceManager::addAdapter(int index) {
    orbFCDeviceInfo info;
    info.adapterIndex = index;
    if (openAdapter(info) != 0) {
        ORB_LOG_DEBUG(FC_RM, "openAdapter() for FcaEntry %d Failed!");
        return;
    }
    // One that tells nothing stays in the list, in an unknown state.
    if (getFcHbaData(info) != 0) ORB_LOG_DEBUG(FC_RM, "getFcHbaData() for FcaEntry %d Failed!");
    const orbFCDeviceStatusInfo status = info.getorbFCStatus();
    lastPortState = status.getFCDeviceState();
    fcList.push_back(info);
    fcCount = fcList.size();
    const int event =
        compareStatus(info.getorbFCWWNN(), status.getFCDeviceHealth(), status.getFCDeviceState())
            .second;
    if (event != 0) orbEventHandler().generateEvent(eventOf(event, info));
    closeAdapter(info.handle);
}

void FCResourceManager::createJsonStringUsingJsonCpp() {
    // A host whose adapters can no longer be opened goes on showing what it had.
    if (fcList.empty()) return;
    currentJson.clear();
    for (const orbFCDeviceInfo &info : fcList) {
        const orbFCDeviceStatusInfo status = info.getorbFCStatus();
        Json::Value object = jsonInventory(info);
        object["Status"]["State"] = state_text(status.getFCDeviceState());
        object["Status"]["Health"] = health_text(status.getFCDeviceHealth());
        ORB_LOG_DEBUG(FC_RM, compact_json(object));
        currentJson.push_back(std::move(object));
    }
    currentCount = currentJson.size();
}

// -- Calls to vendors' libraries ----------------------------------------------------------------

bool FCResourceManager::loadLibrary() {
    if (HBA_LoadLibrary() == 0) {
        ORB_LOG_DEBUG(FC_RM, "FC HBA vendor library loaded successfully");
        return true;
    }
    ORB_LOG_WARNING(FC_RM, "Could not load FC HBA vendor library");
    return false;
}

void FCResourceManager::discoverInstances() {
    ORB_LOG_DEBUG(FC_RM, "Inside discoverInstances");
    NumAdapters = static_cast<int>(HBA_GetNumberOfAdapters());
    NumFcaEntries = NumAdapters.load();
    ORB_LOG_DEBUG(FC_RM, format_text("%d FC instances found!!", NumAdapters.load()));
}

int FCResourceManager::openAdapter(orbFCDeviceInfo &info) {
    ORB_LOG_DEBUG(FC_RM, "openAdapter() start...");
    int status = 1;
    char name[HBA_ADAPTER_NAME_BYTES] = {};
    if (HBA_GetAdapterName(static_cast<unsigned>(info.adapterIndex), name) != 0) {
        ORB_LOG_DEBUG(FC_RM, "HBA_GetAdapterName() Failed\n");
    } else {
        info.adapterName = std::string(name).substr(0, orbFCDeviceInfo::NAME_LIMIT);
        ORB_LOG_DEBUG(FC_RM, format_text("Adapter name is %s", info.adapterName.c_str()));
        if (const HBA_HANDLE handle = HBA_OpenAdapter(name); handle != 0) {
            info.handle = handle;
            status = 0;
        } else {
            ORB_LOG_DEBUG(FC_RM, format_text("HBA_OpenAdapter() %s Failed()\n", name));
        }
    }
    ORB_LOG_DEBUG(FC_RM, format_text("Status of OpenAdapter is %d", status));
    return status;
}

void FCResourceManager::closeAdapter(unsigned int handle) {
    HBA_CloseAdapter(handle);
}

int FCResourceManager::getFcHbaData(orbFCDeviceInfo &info) {
    HBA_ADAPTERATTRIBUTES attributes{};
    if (HBA_GetAdapterAttributes(info.handle, &attributes) != 0) {
        ORB_LOG_DEBUG(FC_RM, "HBA_GetAdapterAttributes() Failed\n");
        return 1;
    }
    store_adapter_attributes(attributes, info);

    int portState = 0;
    for (std::uint32_t index = 0; index < fc_ports_to_ask(attributes); ++index) {
        HBA_PORTATTRIBUTES port{};
        if (HBA_GetAdapterPortAttributes(info.handle, index, &port) != 0) continue;
        info.setorbFCWWPN(WWNtoString(port.PortWWN));
        portState = static_cast<int>(port.PortState);
    }

    const std::string osDeviceName = orbUtils::getFcOsDevicename(info.getorbFCWWNN());
    ORB_LOG_DEBUG(FC_RM, format_text("Os Device Name is %s", osDeviceName.c_str()));
    std::string partNumber;
    getFcaHostCntlrPartNumber(fc_field_text(attributes.Model), partNumber);
    info.setorbFCPartNumber(partNumber);
    const std::string busInfo = orbUtils::getFcPciStr(osDeviceName);
    ORB_LOG_DEBUG(FC_RM, format_text("Bus info is %s", busInfo.c_str()));
    std::string subVendor, manufacturer;
    PCIeManufacturerResolver::fetchManufacturer(busInfo, subVendor, manufacturer);
    info.setorbFCManufacturer(manufacturer);

    const auto [location, description] = getOemValues(busInfo);
    orbFCDevicePhyLoc place;
    place.setFCPhysicalLocation(location);
    info.setorbOemPhyLoc(place);
    info.setorbFCDescription(description);
    ORB_LOG_DEBUG(FC_RM, format_text("Description is %s", description.c_str()));
    ORB_LOG_DEBUG(FC_RM, format_text("Phy Loc is %s", location.c_str()));

    orbFCDeviceStatusInfo status;
    status.setFCDeviceState(getState(portState));
    status.setFCDeviceHealth(getHealth(status.getFCDeviceState()));
    info.setorbFCStatus(status);
    ORB_LOG_DEBUG(FC_RM, format_text("Status of getdata is %d", 0));
    return 0;
}

std::pair<std::string, std::string> FCResourceManager::getOemValues(std::string busInfo) {
    std::string geoID = orbUtils::getGeoIDStr(busInfo);
    if (geoID == NO_ADDRESS) geoID.clear();
    if (busInfo.empty() || busInfo == NO_ADDRESS) return {UNKNOWN_LOCATION, ""};
    return {orbPhysLocFactory::getPhysLocInterface()->getPhysLocForIOSlot(busInfo),
            "PCI " + busInfo + " " + geoID};
}

// -- Changes ------------------------------------------------------------------------------------

bool FCResourceManager::waitOnPortState(int) {
    ORB_LOG_DEBUG(FC_RM, "Inside waitOnPortState");
    if (!loadLibrary()) {
        const orbMutexLocker<std::mutex> lock(mlock);
        fcList.clear();
        fcCount = 0;
    }
    discoverInstances();
    const int entries = NumFcaEntries;
    // One record for all: an adapter that tells nothing is taken to be as the one before it.
    orbFCDeviceInfo info;
    for (int index = 0; index < entries; ++index) {
        info.adapterIndex = index;
        if (openAdapter(info) != 0) {
            ORB_LOG_DEBUG(FC_RM, format_text("openAdapter() for FcaEntry %d Failed!", index));
            continue;
        }
        if (getFcHbaData(info) != 0)
            ORB_LOG_DEBUG(FC_RM, format_text("getFcHbaData() for FcaEntry %d Failed!", index));
        if (lastPortState && *lastPortState != info.getorbFCStatus().getFCDeviceState())
            return true;
    }
    return false;
}

std::pair<std::string, int> FCResourceManager::compareStatus(std::string wwnn,
                                                             ORB_RESOURCE_HEALTH health,
                                                             ORB_RESOURCE_STATE state) const {
    const auto former =
        std::find_if(prevFcList.begin(), prevFcList.end(),
                     [&wwnn](const orbFCDeviceInfo &info) { return info.getorbFCWWNN() == wwnn; });
    if (former == prevFcList.end() || former->getorbFCStatus().getFCDeviceHealth() == health)
        return {"", 0};
    const char *const before = state_text(former->getorbFCStatus().getFCDeviceState());
    switch (state) {
    case ORB_STATE_ONLINE:
        return {before, EVENT_ONLINE};
    case ORB_STATE_OFFLINE:
        return {before, EVENT_OFFLINE};
    case ORB_STATE_LINKDOWN:
        return {before, EVENT_LINK_DOWN};
    case ORB_STATE_ERROR:
        return {before, EVENT_FAILED};
    default:
        return {"", 0};
    }
}

// -- Readers and the stop -----------------------------------------------------------------------

void FCResourceManager::stopResourceManagerJob() {
    ORB_LOG_INFO(FC_RM, "Resource manager stop called.");
    {
        const orbMutexLocker<std::mutex> lock(cmutex);
        stopFC = true;
        cond.notify_all();
    }
    ORB_LOG_INFO(FC_RM, "Signalled for stop.");
}

int FCResourceManager::getInventoryJsonObject(std::vector<Json::Value> &objects) {
    if (!_cacheBuildInProgress) {
        if (const std::unique_lock<std::mutex> lock(mlock, std::try_to_lock); lock) {
            objects = currentJson;
            return 0;
        }
    }
    ORB_LOG_DEBUG(FC_RM, "Cache build is in progress. Returning previous copy of inventory.");
    const orbMutexLocker<std::mutex> lock(prevInventoryLock);
    objects = previousJson;
    return 1;
}

std::vector<orbFCDeviceInfo> FCResourceManager::getFCInventory() {
    if (!_cacheBuildInProgress) {
        if (const std::unique_lock<std::mutex> lock(mlock, std::try_to_lock); lock) return fcList;
    }
    return {};
}

void FCResourceManager::backupInventory() {
    const orbMutexLocker<std::mutex> lock(prevInventoryLock);
    previousJson = currentJson;
}

bool FCResourceManager::isRunning() {
    for (int retryCount = 0; retryCount < RUNNING_TRIES; ++retryCount) {
        bool building = true;
        if (const std::unique_lock<std::mutex> lock(mlock, std::try_to_lock); lock)
            building = _cacheBuildInProgress;
        const std::size_t size = currentCount;
        if ((!building && size != 0) || NumFcaEntries < 1) return true;
        ORB_LOG_WARNING(FC_RM, format_text("_cacheBuildInProgress = %d,FCInventory.size() =%zu,"
                                           "retryCount = %d",
                                           building ? 1 : 0, size, retryCount));
        IorbHostClock::get().sleepMs(RETRY_DELAY_MS);
    }
    return false;
}

bool FCResourceManager::isInventoryReady(int iteration) {
    ORB_LOG_INFO(FC_RM, format_text("FC cache status %d", cacheReady ? 1 : 0));
    return checkInventoryReady(iteration);
}

std::int64_t FCResourceManager::refreshSeconds(std::int64_t configured) {
    return configured < 1 ? DEFAULT_REFRESH_SECONDS : configured;
}

ORB_RESOURCE_STATE FCResourceManager::getState(int portState) {
    switch (portState) {
    case HBA_PORTSTATE_ONLINE:
        return ORB_STATE_ONLINE;
    case HBA_PORTSTATE_OFFLINE:
        return ORB_STATE_OFFLINE;
    case HBA_PORTSTATE_BYPASSED:
        return ORB_STATE_BYPASSED;
    case HBA_PORTSTATE_DIAGNOSTICS:
        return ORB_STATE_DIAGNOSTIC_MODE;
    case HBA_PORTSTATE_LINKDOWN:
        return ORB_STATE_LINKDOWN;
    case HBA_PORTSTATE_ERROR:
        return ORB_STATE_ERROR;
    case HBA_PORTSTATE_LOOPBACK:
        return ORB_STATE_LOOPBACK;
    default:
        return ORB_STATE_UNKNOWN;
    }
}

ORB_RESOURCE_HEALTH FCResourceManager::getHealth(ORB_RESOURCE_STATE state) {
    switch (state) {
    case ORB_STATE_ONLINE:
        return ORB_HEALTH_OK;
    case ORB_STATE_LINKDOWN:
    case ORB_STATE_ERROR:
        return ORB_HEALTH_CRITICAL;
    case ORB_STATE_OFFLINE:
    case ORB_STATE_BYPASSED:
    case ORB_STATE_DIAGNOSTIC_MODE:
    case ORB_STATE_LOOPBACK:
        return ORB_HEALTH_WARNING;
    default:
        return ORB_HEALTH_UNKNOWN;
    }
}

void FCResourceManager::getFcaHostCntlrPartNumber(const std::string &model,
                                                  std::string &partNumber) {
    partNumber.clear();
    for (const FC_PART_NUMBERS_ROW &row : FC_PART_NUMBERS) {
        if (model.find(row.token) == std::string::npos) continue;
        partNumber = row.partNumber;
        return;
    }
}

// -- Events -------------------------------------------------------------------------------------

Json::Value FCResourceManager::jsonInventory(const orbFCDeviceInfo &info) {
    Json::Value object(Json::objectValue);
    object["Model"] = info.getorbFCModel();
    object["SerialNumber"] = info.getorbFCSerialNumber();
    object["PartNumber"] = info.getorbFCPartNumber();
    object["FirmwareVersion"] = info.getorbFCFirmwareVersion();
    object["RomVersion"] = info.getorbFCRomVersion();
    object["WWPN"] = info.getorbFCWWPN();
    object["WWNN"] = info.getorbFCWWNN();
    object["Manufacturer"] = info.getorbFCManufacturer();
    object["Oem"]["Description"] = info.getorbFCDescription();
    object["Oem"]["PhysicalLocation"] = info.getorbFCOemPhyLoc().getFCPhysicalLocation();
    return object;
}

Json::Value FCResourceManager::getVariableData(const orbFCDeviceInfo &info, int id) {
    Json::Value data(Json::objectValue);
    data["Data"] = jsonInventory(info);
    data["Type"] = "FibreChannelDevice";
    data["EventInfo"] = getDescription(id);
    return data;
}

std::string FCResourceManager::getDescription(int id) {
    switch (id) {
    case EVENT_INJECTED:
        return "Injected Event";
    case EVENT_OFFLINE:
        return "The Fibre Channel device port has gone offline. Refer to /var/log/messages for "
               "further details.";
    case EVENT_LINK_DOWN:
        return "Fibre channel device port has changed to a state of link down. Check the FC "
               "cabling to this port.";
    case EVENT_FAILED:
        return "The Fibre Channel device port has failed. Refer to /var/log/messages for further "
               "details.";
    default:
        return {};
    }
}

bool FCResourceManager::isServiceEvent(int id) {
    return id == EVENT_LINK_DOWN || id == EVENT_FAILED;
}

orbEvent FCResourceManager::eventOf(int id, const orbFCDeviceInfo &info) {
    return {id,
            info.getorbFCOemPhyLoc().getFCPhysicalLocation(),
            MODULE,
            isServiceEvent(id),
            orbUtils::getTime(),
            info.getorbFCPartNumber(),
            getVariableData(info, id),
            "ORB"};
}

void FCResourceManager::generateTestEvent(int id, std::string location) {
    orbFCDeviceInfo info;
    info.setorbFCModel("Vantor Fabric 900Q 16Gb 2P FC HBA");
    info.setorbFCSerialNumber("ZZ00000A0Z");
    info.setorbFCPartNumber("Z9Z99Z");
    info.setorbFCFirmwareVersion("8.05.61 (d0d5)");
    info.setorbFCRomVersion("3.54");
    info.setorbFCWWPN("50:00:00:00:00:a1:77:b0");
    info.setorbFCWWNN("50:00:00:00:00:a1:77:b1");
    orbFCDevicePhyLoc place;
    place.setFCPhysicalLocation(location);
    info.setorbOemPhyLoc(place);
    orbEventHandler().generateEvent(orbEvent(id, std::move(location), MODULE, isServiceEvent(id),
                                             orbUtils::getTime(), "NOT AVAILABLE",
                                             getVariableData(info, EVENT_INJECTED), "ORB-CLI"));
}
