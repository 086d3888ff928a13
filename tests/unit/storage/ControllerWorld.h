#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <json/json.h>

#include "core/json_text.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/ScriptedCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "reporting/orbJsonAggregator.h"
#include "storage/orbStorageController.h"
#include "support/LocationWorld.h"
#include "support/RaisedEvents.h"

/// A first-generation server with one storage adapter in a slot, an encoder for its locations, and
/// a management controller. Sleeps and waits pass at once.
struct ControllerWorld : LocationWorld {
    static constexpr char ADDRESS[] = "0000:3b:00.0";       // of the adapter
    static constexpr char OTHER_ADDRESS[] = "0000:99:00.0"; // nothing is known of this place
    static constexpr char LOCATION[] = "0123456789ABCDEF";  // the encoder's code for any place
    static constexpr unsigned CHIPSET = 0x00971000, BOARD = 0x30e01000; // a row of the table
    static constexpr char TAG[] = "STOR_CTLR";

    /// @param answers  the management controller's; none: it takes everything
    explicit ControllerWorld(FakeRmc::Responder answers = {}) : rmc(std::move(answers)) {
        libraries.add("libgeoenc02.so", {{"physloc_init_data", FakeLibraries::entry(prepare)},
                                         {"physloc_encode", FakeLibraries::entry(encode)}});
        boot("PLATFORM-ID-A01", {{"PCI 0000:3b:00.0 r001u01p0i03", 0, 0x3b, 0}});
        commands.onPopen("localcli system version get | grep -i Version:", "   Version: 8.0.2\n");
        setMaker("0x8086\n");
        clock.setAutoAdvance(true);
    }
    static std::string port(int host) { return "/sys/class/scsi_host/host" + std::to_string(host); }
    /// What the host's device list tells about the adapter's subsystem vendor.
    void setMaker(const std::string &line) {
        commands.onPopen("cat " + shell_path("/opt/vantor/orb/data/orb_hwlist.txt") + " | awk '/" +
                             ADDRESS + ":/,/^$/' | grep -w 'SubVendor ID' | awk '{print $3}'",
                         line);
    }
    /// A SCSI host as a link to its device, as the kernel makes it.
    void addHost(int host, const std::string &state) {
        const std::string name = "host" + std::to_string(host);
        const std::string below = "devices/pci0000:3a/0000:3b:00.0/ata" + std::to_string(host + 1) +
                                  "/" + name + "/scsi_host/" + name;
        root.makeDirectory("/sys/class/scsi_host");
        root.makeDirectory("/sys/" + below);
        std::filesystem::create_symlink("../../" + below, root.map(port(host)));
        setState(host, state);
    }
    void setState(int host, const std::string &state) { set(host, "state", state); }
    void set(int host, const std::string &attribute, const std::string &value) {
        root.write(port(host) + "/" + attribute, value + "\n");
    }
    void unset(int host, const std::string &attribute) {
        std::filesystem::remove(root.map(port(host) + "/" + attribute));
    }

    /// Opens the gate for events.
    static void sendFirstInventory() {
        orbJsonAggregator::getInstance().createInventoryJsonString();
    }
    std::vector<Json::Value> events() const {
        std::vector<Json::Value> all;
        for (const auto &[command, text] : rmc.transfers()) {
            Json::Value event;
            if (command == "MPEventGen" && parse_json(text, event)) all.push_back(event);
        }
        return all;
    }
    std::vector<int> ids() const {
        std::vector<int> all;
        for (const Json::Value &event : events()) all.push_back(event["ID"].asInt());
        return all;
    }
    int info(const std::string &text) const { return log.count("INFO", TAG, text); }
    int debug(const std::string &text) const { return log.count("DEBUG", TAG, text); }
    int invalidations() const {
        return log.count("DEBUG", "SAS_RM", "Invalidating inventory cache.");
    }
    int pushes() const {
        return log.count("DEBUG", "SAS_RM", "Signalling for inventory push to RMC on cache build.");
    }

    ScriptedCommands commands;
    FakeIdentity identity;
    FakeProcess process;
    RaisedEvents raised;
    FakeRmc rmc;

private:
    static void prepare(void *, int) {}
    static int encode(void *, std::uint64_t *value) {
        *value = 0x0123456789ABCDEF;
        return 0;
    }
};

/// A generic controller whose inside a test sees and sets. Its drives' status comes from the test.
class OpenController : public orbStorageController {
public:
    explicit OpenController(const std::string &address = ControllerWorld::ADDRESS,
                            unsigned chipset = ControllerWorld::CHIPSET,
                            unsigned board = ControllerWorld::BOARD) {
        chipsetID = chipset;
        boardID = board;
        pciLocation = address;
    }
    ~OpenController() override {
        if (gone) gone();
    }

    int discoverPhysicalDiskStatus(orbDiskInfo &disk) override {
        ++looks;
        if (diskStatus) diskStatus(disk);
        return 0;
    }
    std::size_t getMaxSupportedControllerPorts() override { return maxPorts; }
    void addHostPorts(const std::vector<int> &hosts) {
        for (const int host : hosts) addPort(ControllerWorld::port(host));
    }

    using orbStorageController::boardID;
    using orbStorageController::chipsetID;
    using orbStorageController::controllerInventory;
    using orbStorageController::deviceNameMap;
    using orbStorageController::eventFlags;
    using orbStorageController::foundOnFirstDiscoveryPass;
    using orbStorageController::generateEventOnStatusChange;
    using orbStorageController::lastControllerEventCritical;
    using orbStorageController::lastControllerInventory;
    using orbStorageController::lastLogicalDisks;
    using orbStorageController::lastPhysicalDrives;
    using orbStorageController::logicalDisks;
    using orbStorageController::mutex;
    using orbStorageController::newDevice;
    using orbStorageController::physicalDrives;
    using orbStorageController::removed;
    using orbStorageController::storageEnclosures;

    std::function<void(orbDiskInfo &)> diskStatus; ///< judges a drive
    std::function<void()> gone;                    ///< called by the destructor
    std::size_t maxPorts = 0;
    int looks = 0; ///< at drives
};

inline orbDiskInfo make_disk(const std::string &serial, ORB_RESOURCE_STATE state,
                             ORB_RESOURCE_HEALTH health,
                             const std::string &location = "00000000000000D1") {
    orbDiskInfo disk;
    disk.setSerialNumber(serial);
    disk.setState(state);
    disk.setHealth(health);
    disk.setPhysicalLocation(location);
    return disk;
}
