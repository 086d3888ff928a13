#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "storage/IorbStorageControllerFactory.h"

class orbStorageController;

/// A class of controllers, as it stands in the registry of classes.
struct _ORB_STORAGE_CONTROLLER_CLASS_METADATA {
    std::string name; ///< of the class; the key
    /// Makes an object for a SCSI host's PCI card where the class serves it.
    /// @param chipset, board, pciLocation  as IorbStorageController::isMatchingController()
    /// @param firstPass  whether the card was found in the first walk of all
    /// @param out        null; takes the object, whose one reference becomes the caller's
    /// @return whether the class serves it; with `out` null where there was no memory
    bool (*claim)(std::uint32_t chipset, std::uint32_t board, std::string &pciLocation,
                  bool firstPass, orbStorageController **out);
    void (*refresh)(); ///< called before each walk
};

/// The list of what has registered itself: classes of controllers, or factories. A registrar is a
/// static object of the registered class's own source file. The list fills before the first thread
/// runs and doesn't change afterwards.
template <typename T> class orbRegistryManager {
public:
    /// Appends an entry; one of the same key (equal name, equal factory) makes place for it.
    explicit orbRegistryManager(T entry);

    static const std::vector<T> &getRegistryList(); ///< in the order of registration

private:
    static std::vector<T> &list();

    /// Made on first use and kept to the end, since static objects use it in any order.
    static std::vector<T> *_registryList;
};

extern template class orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA>;
extern template class orbRegistryManager<IorbStorageControllerFactory *>;
