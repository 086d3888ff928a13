#pragma once

#include <cstdint>
#include <tuple>
#include <vector>

#include "storage/IorbStorageController.h"

/// What finds the controllers of one kind and keeps their list. The storage manager knows factories
/// only by orbRegistryManager<IorbStorageControllerFactory *>. Lists that are handed out carry a
/// reference for each controller, which the caller gives back (orbControllerList).
class IorbStorageControllerFactory {
public:
    /// Chipset and board ids of a model; board 0 stands for any board.
    using MODELS = std::vector<std::tuple<std::uint32_t, std::uint32_t>>;

    /// Brings the list up to date and replaces `controllers` by a copy. Manager's thread.
    /// @return 0; negative on failure, and then nothing is handed out
    virtual int discoverControllers(std::vector<IorbStorageController *> &controllers) = 0;
    /// Replaces `controllers` by those whose family meets the mask. Any thread.
    virtual void getControllers(unsigned char familyMask,
                                std::vector<IorbStorageController *> &controllers) = 0;
    /// Takes all controllers off the list, with their events ended. Manager's thread.
    virtual void shutdownFactory() = 0;
    /// Looks for a change of the set of controllers. Manager's thread.
    virtual void poll() = 0;
    /// Takes the controllers whose family meets the mask off the list. Any thread.
    virtual void deleteControllers(unsigned char familyMask) = 0;
    /// The models that this factory alone looks after. Any thread.
    virtual const MODELS &getSupportedControllerModels() = 0;

    virtual ~IorbStorageControllerFactory() = default;
};
