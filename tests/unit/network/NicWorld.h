#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <json/json.h>

#include "core/json_text.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/ScriptedCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "network/NICResourceManager.h"
#include "reporting/orbJsonAggregator.h"
#include "support/LocationWorld.h"

/// An interface of the made-up host, as its commands tell about it.
struct NIC_ON_HOST {
    std::string name = "vmnic0";
    std::string address = "0000:c3:00.0";
    std::string link = "Up";
    std::string speed = "1000";
    std::string firmware = "         Firmware Version: 1.63.0:0x800009fa\n"; // what grep finds
    std::string cable = "   Cable Type: Twisted Pair\n";                     // so here
    std::string subIds = "   SubVendor ID: 0xfff0\n   SubDevice ID: 0x0001\n";

    /// The row of the interface table.
    std::string row() const {
        return name + "  " + address + "  igbn    Up            " + link + "  " + speed +
               "  Full    02:00:5e:10:20:30  1500  Intel Corporation I350\n";
    }
};

/// A first-generation server with network interfaces, an encoder for its locations, and a
/// controller. The encoder's code for any place is LOCATION.
struct NicWorld : LocationWorld {
    static constexpr char LIST_FILE[] = "/opt/vantor/orb/data/orb_niclist.txt";
    static constexpr char DETAILS_FILE[] = "/opt/vantor/orb/data/orb_nicAddDetails.txt";
    static constexpr char PCI_LIST_FILE[] = "/opt/vantor/orb/data/orb_hwlist.txt";
    static constexpr char HEADS[] = "Name    PCI Device    Driver  Admin Status  Link Status  Speed"
                                    "  Duplex  MAC Address         MTU  Description\n------\n";
    static constexpr char LOCATION[] = "0123456789ABCDEF";

    /// @param configuration  further members of the configuration, as with LogFile
    explicit NicWorld(const std::string &family = "PLATFORM-ID-A01",
                      const std::string &configuration = "") {
        (void)LogFile(root, configuration); // writes the configuration anew
        libraries.add("libgeoenc02.so", {{"physloc_init_data", FakeLibraries::entry(prepare)},
                                         {"physloc_encode", FakeLibraries::entry(encode)}});
        boot(family, {{"PCI 0000:24:00.0 r001u01p0i03", 0, 0x24, 0}},
             {{"PCI 0000:c3:00.0 r001u01p0i00", 0, 0xc3, 0}});
        commands.onPopen("localcli system version get | grep -i Version:", "   Version: 8.0.2\n");
        answerDetails(nics);
        answerList();
    }

    // -- Lines, to the letter on a host whose files are where they are --------------------------
    static std::string listLine() {
        return "localcli network nic list >> " + shell_path(LIST_FILE);
    }
    static std::string pollLine() {
        return "localcli network nic list | /usr/bin/awk '{print$1, $5}' >>" +
               shell_path(LIST_FILE);
    }
    static std::string detailsLine(const std::string &name) {
        return "localcli network nic get -n " + name + " >> " + shell_path(DETAILS_FILE);
    }
    static std::string firmwareLine() {
        return "grep \"Firmware Version\" " + shell_path(DETAILS_FILE);
    }
    static std::string cableLine() { return "grep \"Cable \" " + shell_path(DETAILS_FILE); }
    static std::string subIdsLine(const std::string &address) {
        return "cat " + shell_path(PCI_LIST_FILE) + " | awk '/" + address +
               "/,/^$/' | grep -e SubVendor -e SubDevice";
    }
    static std::string makerLine(const std::string &address) {
        return "cat " + shell_path(PCI_LIST_FILE) + " | awk '/" + address +
               ":/,/^$/' | grep -w 'SubVendor ID' | awk '{print $3}'";
    }

    // -- What the host answers from now on ------------------------------------------------------
    void setNics(const std::vector<NIC_ON_HOST> &now) {
        nics = now;
        answerDetails(nics);
        answerList();
    }
    /// All interfaces share one answer to the two looks at the details: the first one's.
    void answerDetails(const std::vector<NIC_ON_HOST> &all) {
        for (const NIC_ON_HOST &nic : all) {
            commands.onPopen(detailsLine(nic.name), "");
            commands.onPopen(subIdsLine(nic.address), nic.subIds);
            commands.onPopen(makerLine(nic.address), "0x8086\n");
        }
        const NIC_ON_HOST first = all.empty() ? NIC_ON_HOST() : all.front();
        commands.onPopen(firmwareLine(), first.firmware);
        commands.onPopen(cableLine(), first.cable);
    }
    std::string table() const {
        std::string text = HEADS;
        for (const NIC_ON_HOST &nic : nics) text += nic.row();
        return text;
    }
    std::string linkTable() const {
        std::string text = "Name Admin\n------ -----------\n";
        for (const NIC_ON_HOST &nic : nics) text += nic.name + " " + nic.link + "\n";
        return text;
    }
    /// The list, and the table of links, are those of `nics`. @param during  done while it runs
    void answerList(std::function<void()> during = {}) {
        answerListWith(table(), during);
        answerPollWith(linkTable());
    }
    void answerListWith(const std::string &text, std::function<void()> during = {}) {
        commands.onSystem(listLine(), {0, 0}, [this, text, during] {
            if (during) during();
            append(text);
        });
    }
    void answerPollWith(const std::string &text, std::function<void()> during = {}) {
        commands.onSystem(pollLine(), {0, 0}, [this, text, during] {
            if (during) during();
            append(text);
        });
    }
    void append(const std::string &text) { root.write(LIST_FILE, root.read(LIST_FILE) + text); }

    // -- What came of it ------------------------------------------------------------------------
    int builds() const { return log.count("DEBUG", "NIC_RM", "Exiting CacheBuild"); }
    int polls() const {
        return log.count("DEBUG", "NIC_RM", "Polling for interface link state change.");
    }
    std::vector<Json::Value> objects() {
        std::vector<Json::Value> all;
        (void)manager.getInventoryJsonObject(all);
        return all;
    }
    /// State and health in the inventory of the first adapter, joined by a blank.
    std::string words() {
        const std::vector<Json::Value> all = objects();
        if (all.empty()) return "";
        const Json::Value &status = all[0]["Status"];
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

    std::vector<NIC_ON_HOST> nics{NIC_ON_HOST()};
    ScriptedCommands commands;
    FakeIdentity identity;
    FakeProcess process;
    FakeRmc rmc;
    NICResourceManager &manager = NICResourceManager::getInstance();

private:
    static void prepare(void *, int) {}
    static int encode(void *, std::uint64_t *value) {
        *value = 0x0123456789ABCDEF;
        return 0;
    }
};
