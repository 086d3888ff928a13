#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/format_text.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "storage/orbControllerList.h"
#include "storage/orbRegistryManager.h"
#include "storage/orbStorageControllerFactory.h"
#include "support/RecordedController.h"
#include "support/ScsiTree.h"

/// A factory whose list can be looked at and filled. The list owns what is put in.
class OpenFactory final : public orbStorageControllerFactory {
public:
    void put(IorbStorageController *controller) { _controllerList.push_back(controller); }
    std::vector<IorbStorageController *> listed() {
        const std::lock_guard<std::recursive_mutex> lock(mutex);
        return _controllerList;
    }
    IorbStorageController *find(std::uint32_t chipset, std::uint32_t board,
                                const std::string &location) {
        const std::lock_guard<std::recursive_mutex> lock(mutex);
        return FindExistingController(chipset, board, location, "");
    }
};

/// A host with SCSI hosts, a log with the debug channel, a factory, and a class of controllers that
/// takes every card of one vendor and writes down what happens to it. One at a time.
class FactoryWorld {
public:
    static constexpr std::uint32_t OURS = 0x0001ABCD, BOARD = 0x0002ABCD; ///< of the vendor 0xABCD

    FactoryWorld() { current = this; }
    ~FactoryWorld() { current = nullptr; }
    FactoryWorld(const FactoryWorld &) = delete;
    FactoryWorld &operator=(const FactoryWorld &) = delete;

    TemporaryRoot root;
    LogFile log{root};
    ScsiTree tree{root};
    Journal journal;
    OpenFactory factory;
    std::function<void()> onClaim, onRefresh; ///< done first in each

    /// Enters the class in the registry.
    static void registerClass() {
        const orbRegistryManager<_ORB_STORAGE_CONTROLLER_CLASS_METADATA> entered(
            {"recorded", claim, refresh});
    }
    /// A card of ours and a host on it. The card is number `slot` of "pci0000:00".
    void addOurs(const std::string &host, unsigned slot) {
        tree.addCard(card(slot), OURS, BOARD);
        tree.addHost(host, card(slot));
    }
    static std::string location(unsigned slot) { return format_text("0000:%02x:00.0", slot); }
    static std::string card(unsigned slot) { return "pci0000:00/" + location(slot); }
    static std::string port(const std::string &host) { return ScsiTree::hostPath(host); }

    /// A walk whose result goes back at once. @return how many controllers were handed out
    std::size_t walk() {
        orbControllerList controllers;
        if (factory.discoverControllers(controllers.vector()) != 0) return 4711;
        return controllers.vector().size();
    }
    RecordedController *recorded(std::size_t index) {
        return dynamic_cast<RecordedController *>(factory.listed().at(index));
    }
    int pushesAsked() const {
        return log.count("DEBUG", "SAS_RM", "Signalling for inventory push to RMC on cache build.");
    }
    int rebuildsAsked() const {
        return log.count("DEBUG", "SAS_RM", "Invalidating inventory cache.");
    }
    bool logged(const std::string &text) const {
        return log.count("DEBUG", "STOR_FACT", text) == 1;
    }

private:
    static bool claim(std::uint32_t chipset, std::uint32_t board, std::string &pciLocation,
                      bool firstPass, orbStorageController **out) {
        if (current->onClaim) current->onClaim();
        if ((chipset & 0xFFFF) != 0xABCD) return false;
        auto made = std::make_unique<RecordedController>(
            current->journal, pciLocation, std::uint8_t{1}, chipset, board, pciLocation);
        made->setFirstPass(firstPass);
        *out = made.release();
        return true;
    }
    static void refresh() {
        if (current->onRefresh) current->onRefresh();
    }

    static inline FactoryWorld *current = nullptr;
};
