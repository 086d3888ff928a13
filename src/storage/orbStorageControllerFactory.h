#pragma once

#include <cstdint>
#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include "storage/IorbStorageControllerFactory.h"

/// Finds storage controllers by the SCSI hosts of the machine: each host is offered to the classes
/// of the registry and, after them, to the generic one, which takes what stands in the table of
/// controllers. Base of factories that find theirs another way.
///
/// Threads: discoverControllers(), poll() and shutdownFactory() are the storage manager's;
///          getControllers() and deleteControllers() any thread.
/// Locks:   the factory's mutex, then a controller's. shutdownFactory() ends controllers without
///          it, since that may wait for a thread that asks for a list.
class orbStorageControllerFactory : public IorbStorageControllerFactory {
public:
    orbStorageControllerFactory() = default;
    /// Gives back what the list still owns; events are not ended.
    ~orbStorageControllerFactory() override;
    orbStorageControllerFactory(const orbStorageControllerFactory &) = delete;
    orbStorageControllerFactory &operator=(const orbStorageControllerFactory &) = delete;

    static orbStorageControllerFactory *getInstance();
    /// Enters the one object in the registry, behind those that are there. It doesn't enter itself:
    /// an entry program decides, before its first thread.
    static void registerInstance();

    /// Walks the SCSI hosts. A host that can't be told or is nobody's is passed over, and a
    /// controller without hosts is removed. A controller that comes or goes has the next rebuild
    /// end with a push. @return 0
    int discoverControllers(std::vector<IorbStorageController *> &controllers) override;
    /// Of the list are those that are orbStorageController objects: no other has a family.
    void getControllers(unsigned char familyMask,
                        std::vector<IorbStorageController *> &controllers) override;
    void shutdownFactory() override;
    /// Asks for a rebuild of the inventory where the folders of SCSI hosts or devices have changed
    /// since the last look; the first look is no change.
    void poll() override;
    void deleteControllers(unsigned char familyMask) override;
    const MODELS &getSupportedControllerModels() override; ///< none

protected:
    /// The first controller of the list that says it is this one, null where none does. The caller
    /// holds the mutex.
    IorbStorageController *FindExistingController(std::uint32_t chipset, std::uint32_t board,
                                                  const std::string &pciLocation,
                                                  const std::string &port);

    std::recursive_mutex mutex;
    /// Guarded by mutex. Owns one reference of each, given back when the pointer leaves the list.
    std::vector<IorbStorageController *> _controllerList;

private:
    /// What is remembered of a folder; all zero before the first look.
    struct FOLDER_TIMES {
        std::time_t modified = 0, changed = 0;
    };

    bool processHostLocked(const std::string &hostPath, bool firstPass);
    bool addControllerLocked(const std::string &hostPath, std::uint32_t chipset,
                             std::uint32_t board, std::string &pciLocation, bool firstPass);
    bool removeLostControllersLocked();
    static bool hasChanged(const char *folder, const char *name, FOLDER_TIMES &saved);

    FOLDER_TIMES scsiHostTimes, scsiDeviceTimes; // as poll() saw them last; its thread's
};
