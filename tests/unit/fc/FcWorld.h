#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <json/json.h>

#include "core/json_text.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/ScriptedCommands.h"
#include "fc/FCResourceManager.h"
#include "hostaccess/orbHostFiles.h"
#include "reporting/orbJsonAggregator.h"
#include "support/LocationWorld.h"
#include "support/fake_hba.h"

/// A server with Fibre Channel adapters behind one vendor library, an encoder for its locations,
/// and a controller. The host knows the adapters with node names that end in a1, a2, a3 as vmhba1
/// to vmhba3, in the slots of 0000:24:00.0 (a1), 0000:25:00.0 (a2), and in a place that the
/// firmware doesn't name (a3). The encoder's code for any place is LOCATION.
struct FcWorld : LocationWorld {
    static constexpr char CONF[] = "/etc/config/vantor/orb/hba.conf";
    static constexpr char LIBRARY[] = "/usr/lib64/libexamplefc.so";
    static constexpr char LOCATION[] = "0123456789ABCDEF";
    static constexpr char TOPOLOGY_FILE[] = "/opt/vantor/orb/data/fc_topology.txt";
    static constexpr char NAMES_FILE[] = "/opt/vantor/orb/data/fc_name.txt";

    /// @param configuration  further members of the configuration, as with LogFile
    explicit FcWorld(const std::string &configuration = "",
                     const std::string &family = "PLATFORM-ID-A01") {
        (void)LogFile(root, configuration); // writes the configuration anew
        libraries.add("libgeoenc02.so", {{"physloc_init_data", FakeLibraries::entry(prepare)},
                                         {"physloc_encode", FakeLibraries::entry(encode)}});
        libraries.add(LIBRARY,
                      {{"HBA_RegisterLibrary", FakeLibraries::entry(FakeHba::registerLibrary)}});
        root.write(CONF, std::string("com.example.fclib\t") + LIBRARY + "\n");
        boot(family, {{"PCI 0000:24:00.0 r001u01p0i03", 0, 0x24, 0},
                      {"PCI 0000:25:00.0 r001u01p0i04", 0, 0x25, 0}});
        commands.onPopen("localcli system version get | grep -i Version:", "   Version: 8.0.2\n");
        commands.onSystem(topologyLine(), {0, 0}, [this] {
            root.write(TOPOLOGY_FILE, "   Address: 0000:24:00.0\n   VMkernel Name: vmhba1\n"
                                      "   Address: 0000:25:00.0\n   VMkernel Name: vmhba2\n"
                                      "   Address: 0000:26:00.0\n   VMkernel Name: vmhba3\n");
        });
        commands.onSystem(namesLine(), {0, 0}, [this] {
            root.write(NAMES_FILE, "   Adapter: vmhba1\n   Node Name: 20:00:02:00:5e:00:00:a1\n"
                                   "   Adapter: vmhba2\n   Node Name: 20:00:02:00:5e:00:00:a2\n"
                                   "   Adapter: vmhba3\n   Node Name: 20:00:02:00:5e:00:00:a3\n");
        });
        for (const char *address : {"0000:24:00.0", "0000:25:00.0"})
            commands.onPopen(makerLine(address), "0x8086\n");
    }

    // -- Lines, to the letter on a host whose files are where they are --------------------------
    static std::string topologyLine() {
        return "localcli hardware pci list | grep -e 'Address: ' -e 'VMkernel Name:'>> " +
               shell_path(TOPOLOGY_FILE);
    }
    static std::string namesLine() {
        return "localcli storage san fc list | grep -e 'Adapter: ' -e 'Node Name:'>> " +
               shell_path(NAMES_FILE);
    }
    static std::string makerLine(const std::string &address) {
        return "cat " + shell_path("/opt/vantor/orb/data/orb_hwlist.txt") + " | awk '/" + address +
               ":/,/^$/' | grep -w 'SubVendor ID' | awk '{print $3}'";
    }

    // -- What the library tells from now on -----------------------------------------------------
    /// An adapter whose node name ends in this byte, with one port for each state.
    static FAKE_HBA_ADAPTER adapter(std::uint8_t wwnEnd, const std::vector<HBA_PORTSTATE> &states) {
        FAKE_HBA_ADAPTER made;
        made.name = "com.example-FC900X-" + std::to_string(wwnEnd);
        made.wwnEnd = wwnEnd;
        made.ports.clear();
        for (const HBA_PORTSTATE state : states)
            made.ports.push_back({state, static_cast<std::uint8_t>(0xB0 + made.ports.size())});
        return made;
    }
    /// One adapter of one port.
    void setState(HBA_PORTSTATE state) { hba.setAdapters({adapter(0xA1, {state})}); }

    /// The manager's first step, which asks the host for names and addresses.
    static void gatherNames() {
        orbUtils::initFcInfoMap();
        orbUtils::initFcNameMap();
    }

    // -- What came of it ------------------------------------------------------------------------
    int builds() const { return log.count("DEBUG", "FC_RM", "Building FC Cache"); }
    int polls() const { return log.count("DEBUG", "FC_RM", "Inside waitOnPortState"); }
    std::vector<Json::Value> objects() {
        std::vector<Json::Value> all;
        (void)manager.getInventoryJsonObject(all);
        return all;
    }
    /// State and health in the inventory of an adapter, joined by a blank.
    std::string words(std::size_t index = 0) {
        const std::vector<Json::Value> all = objects();
        if (all.size() <= index) return "";
        const Json::Value &status = all[index]["Status"];
        return status["State"].asString() + " " + status["Health"].asString();
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
    /// Numbers of the events so far.
    std::vector<int> eventIds() const {
        std::vector<int> ids;
        for (const Json::Value &event : events()) ids.push_back(event["ID"].asInt());
        return ids;
    }

    ScriptedCommands commands;
    FakeIdentity identity;
    FakeProcess process;
    FakeRmc rmc;
    FakeHba &hba = FakeHba::get();
    FCResourceManager &manager = FCResourceManager::getInstance();

private:
    static void prepare(void *, int) {}
    static int encode(void *, std::uint64_t *value) {
        *value = 0x0123456789ABCDEF;
        return 0;
    }
};
