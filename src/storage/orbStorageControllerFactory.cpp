#include "storage/orbStorageControllerFactory.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <iterator>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "hostaccess/orbHostFiles.h"
#include "storage/SASResourceManager.h"
#include "storage/orbRegistryManager.h"
#include "storage/orbStorageController.h"
#include "storage/scsi_hosts.h"

namespace {
using ControllerClasses = orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>;
using ControllerReference = orbReference<IorbStorageController>;

/// Null for an object of another kind: it has neither ports nor a family.
orbStorageController *with_ports(IorbStorageController *controller) {
    return dynamic_cast<orbStorageController *>(controller);
}

bool meets_family(IorbStorageController *listed, unsigned char familyMask) {
    orbStorageController *const controller = with_ports(listed);
    return controller != nullptr && (controller->getFamilyFlags() & familyMask) != 0;
}

void take_references(const std::vector<IorbStorageController *> &controllers) {
    // A removed one is handed out too: it answers with what it knew last.
    for (IorbStorageController *const controller : controllers)
        (void)controller->acquireReference();
}

/// Offers a card to the registered classes, then to the generic one, until one takes it.
bool claim(std::uint32_t chipset, std::uint32_t board, std::string &pciLocation, bool firstPass,
           orbStorageController **out) {
    for (const auto &row : ControllerClasses::getRegistryList()) {
        *out = nullptr;
        if (row.claim(chipset, board, pciLocation, firstPass, out)) return true;
    }
    return orbStorageController::claimDevice(chipset, board, pciLocation, firstPass, out);
}
} // namespace

orbStorageControllerFactory::~orbStorageControllerFactory() {
    for (IorbStorageController *const controller : _controllerList) controller->releaseReference();
}

orbStorageControllerFactory *orbStorageControllerFactory::getInstance() {
    static orbStorageControllerFactory instance;
    return &instance;
}

void orbStorageControllerFactory::registerInstance() {
    const orbRegistryManager<IorbStorageControllerFactory *> registered(getInstance());
}

int orbStorageControllerFactory::discoverControllers(
    std::vector<IorbStorageController *> &controllers) {
    // One for the process: whatever a second factory finds later was added while the daemon ran.
    static std::atomic<bool> firstDiscoveryPass{true};

    for (const auto &row : ControllerClasses::getRegistryList()) row.refresh();

    const orbMutexLocker<std::recursive_mutex> lock(mutex);
    ORB_LOG_DEBUG(STOR_FACT, "Searching for storage controllers.");
    for (IorbStorageController *const listed : _controllerList) {
        if (orbStorageController *const controller = with_ports(listed)) {
            controller->clearPortList();
            controller->setNewDevice(false);
        }
    }
    bool hasNews = false;
    for (const std::string &name : list_scsi_hosts())
        if (processHostLocked(std::string(SCSI_HOST_CLASS) + "/" + name, firstDiscoveryPass))
            hasNews = true;
    if (removeLostControllersLocked()) hasNews = true;
    if (hasNews) SASResourceManager::sendInventorytToRMCOnCacheBuild();

    controllers = _controllerList;
    take_references(controllers);
    firstDiscoveryPass = false;
    return 0;
}

/// @return whether a controller has come that wasn't there before
bool orbStorageControllerFactory::processHostLocked(const std::string &hostPath, bool firstPass) {
    ORB_LOG_DEBUG(STOR_FACT, format_text("Processing %s", hostPath.c_str()));
    ORB_PCI_CARD_IDS ids;
    if (!read_pci_card_ids(hostPath, ids)) {
        ORB_LOG_DEBUG(STOR_FACT, format_text("Unable to access PCI card information for %s.",
                                             hostPath.c_str()));
        return false;
    }
    if (SASResourceManager::isControllerModelSupported(ids.chipsetID, ids.boardID)) {
        ORB_LOG_DEBUG(STOR_FACT, format_text("Skipping controller model [0x%08x 0x%08x], since it "
                                             "is handled by another factory instance.",
                                             ids.chipsetID, ids.boardID));
        return false;
    }
    std::string link, pciLocation;
    if (read_device_link(hostPath, link)) {
        ORB_LOG_DEBUG(STOR_FACT, format_text("Scsi Link %s -- buffer %s",
                                             (hostPath + "/device").c_str(), link.c_str()));
        pciLocation = pci_location_of_host(hostPath, link);
    }
    if (pciLocation.empty()) {
        ORB_LOG_DEBUG(STOR_FACT,
                      format_text("Skipping host port [%s 0x%x 0x%x] due to absence of PCI "
                                  "location.",
                                  hostPath.c_str(), ids.chipsetID, ids.boardID));
        return false;
    }
    return addControllerLocked(hostPath, ids.chipsetID, ids.boardID, pciLocation, firstPass);
}

/// Adds a host to its controller, which a class makes where there is none or a removed one.
/// @return as above
bool orbStorageControllerFactory::addControllerLocked(const std::string &hostPath,
                                                      std::uint32_t chipset, std::uint32_t board,
                                                      std::string &pciLocation, bool firstPass) {
    IorbStorageController *const old =
        FindExistingController(chipset, board, pciLocation, hostPath);
    if (old != nullptr && !old->isRemoved()) {
        ORB_LOG_DEBUG(STOR_FACT, format_text("Found port %s on controller @ %s.", hostPath.c_str(),
                                             pciLocation.c_str()));
        if (orbStorageController *const controller = with_ports(old)) controller->addPort(hostPath);
        return false;
    }
    ORB_LOG_DEBUG(STOR_FACT, format_text("Claim processing for %s [0x%x 0x%x] @ %s",
                                         hostPath.c_str(), chipset, board, pciLocation.c_str()));
    orbStorageController *controller = nullptr;
    const bool isClaimed = claim(chipset, board, pciLocation, firstPass, &controller);
    if (!isClaimed || controller == nullptr) {
        ORB_LOG_DEBUG(STOR_FACT, format_text("Skipping port %s [0x%X, 0x%X %s] - Claim status: "
                                             "[%d]; Device object: [%p]",
                                             hostPath.c_str(), chipset, board, pciLocation.c_str(),
                                             isClaimed ? 1 : 0, static_cast<void *>(controller)));
        return false;
    }
    ORB_LOG_DEBUG(STOR_FACT, format_text("%s [0x%X, 0x%X %s] managed by device object: [%p]",
                                         hostPath.c_str(), chipset, board, pciLocation.c_str(),
                                         static_cast<void *>(controller)));
    controller->processDeviceAddition(old);
    controller->addPort(hostPath);
    _controllerList.push_back(controller);
    if (old == nullptr) return true;
    // What the new one has taken over must not be found again by the next host or walk.
    _controllerList.erase(std::find(_controllerList.begin(), _controllerList.end(), old));
    old->releaseReference();
    return false;
}

/// @return whether a controller has gone
bool orbStorageControllerFactory::removeLostControllersLocked() {
    bool hasGone = false;
    for (std::size_t i = 0; i < _controllerList.size();) {
        orbStorageController *const controller = with_ports(_controllerList[i]);
        if (controller == nullptr || controller->getPortListSize() != 0 ||
            controller->isRemoved()) {
            ++i;
            continue;
        }
        // The list's reference lasts until the controller has told of its loss.
        const auto lost = ControllerReference::adopt(controller);
        _controllerList.erase(_controllerList.begin() + static_cast<std::ptrdiff_t>(i));
        controller->processDeviceRemoval();
        hasGone = true;
    }
    return hasGone;
}

IorbStorageController *
orbStorageControllerFactory::FindExistingController(std::uint32_t chipset, std::uint32_t board,
                                                    const std::string &pciLocation,
                                                    const std::string &port) {
    std::string location = pciLocation, hostPath = port;
    const auto found = std::find_if(_controllerList.begin(), _controllerList.end(),
                                    [&](IorbStorageController *controller) {
                                        return controller->isMatchingController(
                                            chipset, board, location.data(), hostPath.data());
                                    });
    return found == _controllerList.end() ? nullptr : *found;
}

void orbStorageControllerFactory::getControllers(
    unsigned char familyMask, std::vector<IorbStorageController *> &controllers) {
    controllers.clear();
    const orbMutexLocker<std::recursive_mutex> lock(mutex);
    std::copy_if(_controllerList.begin(), _controllerList.end(), std::back_inserter(controllers),
                 [familyMask](IorbStorageController *controller) {
                     return meets_family(controller, familyMask);
                 });
    take_references(controllers);
}

void orbStorageControllerFactory::deleteControllers(unsigned char familyMask) {
    const orbMutexLocker<std::recursive_mutex> lock(mutex);
    std::vector<IorbStorageController *> leaving, staying;
    std::partition_copy(_controllerList.begin(), _controllerList.end(), std::back_inserter(leaving),
                        std::back_inserter(staying),
                        [familyMask](IorbStorageController *controller) {
                            return meets_family(controller, familyMask);
                        });
    _controllerList.swap(staying);
    for (IorbStorageController *const controller : leaving) controller->releaseReference();
}

void orbStorageControllerFactory::shutdownFactory() {
    ORB_LOG_DEBUG(STOR_FACT, "Initiating shutdown sequence.");
    std::vector<IorbStorageController *> controllers;
    {
        const orbMutexLocker<std::recursive_mutex> lock(mutex);
        controllers.swap(_controllerList);
    }
    for (IorbStorageController *const controller : controllers) {
        const auto held = ControllerReference::adopt(controller);
        if (controller->isRemoved()) continue;
        (void)controller->disableEvents(); // false for one that was removed meanwhile
        controller->processDeviceRemoval();
    }
}

void orbStorageControllerFactory::poll() {
    const bool hostsChanged = hasChanged(SCSI_HOST_CLASS, "scsi_host", scsiHostTimes);
    const bool devicesChanged = hasChanged(SCSI_DEVICE_CLASS, "scsi_device", scsiDeviceTimes);
    if (!hostsChanged && !devicesChanged) return;
    ORB_LOG_DEBUG(STOR_FACT, "Detected change in SCSI hosts/devices.");
    SASResourceManager::invalidateInventoryCache();
}

bool orbStorageControllerFactory::hasChanged(const char *folder, const char *name,
                                             FOLDER_TIMES &saved) {
    struct stat now {};
    const int rc = ::lstat(IorbHostFiles::get().map(folder).c_str(), &now);
    if (rc != 0) {
        const int err = errno;
        ORB_LOG_DEBUG(STOR_FACT, format_text("lstat(%s) completed with %d (%d).", name, rc, err));
        return false;
    }
    if (now.st_mtim.tv_sec == saved.modified && now.st_ctim.tv_sec == saved.changed) return false;
    const bool isFirstLook = saved.modified == 0 && saved.changed == 0;
    saved = {now.st_mtim.tv_sec, now.st_ctim.tv_sec};
    return !isFirstLook;
}

const IorbStorageControllerFactory::MODELS &
orbStorageControllerFactory::getSupportedControllerModels() {
    static const MODELS none;
    return none;
}
