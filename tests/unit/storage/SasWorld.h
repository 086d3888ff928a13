#pragma once

#include <string>
#include <vector>

#include <json/json.h>

#include "core/json_text.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/ScriptedCommands.h"
#include "reporting/orbJsonAggregator.h"
#include "storage/SASResourceManager.h"
#include "support/LocationWorld.h"
#include "support/RaisedEvents.h"
#include "unit/storage/FakeStorage.h"

/// A machine with one registered factory, which has no controllers until a test adds them.
struct SasWorld : LocationWorld {
    static constexpr char TAG[] = "SAS_RM";
    static constexpr char LOCATION[] = "0123456789ABCDEF";

    /// @param configuration  further members of the configuration, as with LogFile
    explicit SasWorld(const std::string &family = "PLATFORM-ID-A01",
                      const std::string &configuration = "") {
        (void)LogFile(root, configuration); // writes the configuration anew
        boot(family, {{"PCI 0000:24:00.0 r001u01p0i03", 0, 0x24, 0}});
        commands.onPopen("localcli system version get | grep -i Version:", "   Version: 8.0.2\n");
    }

    static orbDiskInfo drive(const std::string &serial) {
        orbDiskInfo disk;
        disk.setSerialNumber(serial);
        disk.setPhysicalLocation(LOCATION);
        return disk;
    }
    static orbLogicalDiskInfo volume(const std::string &durableName) {
        orbLogicalDiskInfo disk;
        disk.setDurableName(durableName);
        return disk;
    }

    // -- What came of it ------------------------------------------------------------------------
    int builds() const { return log.count("DEBUG", TAG, "Building storage cache."); }
    int polls() const { return log.count("DEBUG", TAG, "Polling devices."); }
    int pushes() const { return log.count("DEBUG", TAG, "SASRM requesting cache push"); }
    /// The objects of an inventory type.
    std::vector<Json::Value> objects(int type) {
        std::vector<Json::Value> all;
        (void)manager.getInventoryJsonObject2(type, all);
        return all;
    }
    /// One text of each object of a type.
    std::vector<std::string> texts(int type, const char *key) {
        std::vector<std::string> all;
        for (const Json::Value &object : objects(type)) all.push_back(object[key].asString());
        return all;
    }
    /// Opens the gate for events. Time must pass by itself or be moved by somebody else.
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

    ScriptedCommands commands;
    FakeIdentity identity;
    FakeProcess process;
    RaisedEvents raised;
    FakeRmc rmc;
    CallList calls;
    FakeStorageFactory factory{"F", calls};
    SASResourceManager &manager = SASResourceManager::getInstance();
};
