#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <json/json.h>

#include "core/json_text.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/FakeProcess.h"
#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "host/HostResourceManager.h"
#include "hostaccess/orbHostFiles.h"

/// A host with a name, a version, memory, an address and a controller, and the host manager on it.
struct HostWorld {
    static constexpr char SCRATCH[] = "/opt/vantor/orb/data/orb-mem.txt";
    static constexpr char RUN_STATE[] = "/var/tmp/vantorORBStartup.txt";
    static constexpr char HEADS[] = "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\\\h\\Memory\\Machine MBytes\","
                                    "\"\\\\h\\Memory\\Free MBytes\",";

    explicit HostWorld(const std::string &moreConfiguration = "") : log(root, moreConfiguration) {
        commands.onPopen("localcli system version get | grep -i Product",
                         "   Product: VMware ESXi\n");
        commands.onPopen("localcli system version get | grep -i Version:", "   Version: 8.0.2\n");
        answerEsxtop(memoryText("65536", "1024"));
    }

    static std::string memoryText(const std::string &total, const std::string &free) {
        return std::string(HEADS) + "\n\"time\",\"" + total + "\",\"" + free + "\",\n";
    }
    std::string esxtopLine() const {
        return "esxtop -c " + shell_path("/opt/vantor/orb/data/esxtopconf") + " -b -n 1 >> " +
               shell_path(SCRATCH);
    }
    /// From now on esxtop appends this to the scratch file. @param during  done while it runs
    void answerEsxtop(const std::string &output, std::function<void()> during = {}) {
        commands.onSystem(esxtopLine(), {0, 0}, [this, output, during] {
            if (during) during();
            root.write(SCRATCH, root.read(SCRATCH) + output);
        });
    }
    void failEsxtop(int status, int err) {
        commands.onSystem(esxtopLine(), {status, err}, [this] { root.write(SCRATCH, "rest"); });
    }
    int builds() const { return log.count("DEBUG", "HOST_RM", "Exiting CacheBuild"); }

    Json::Value object() {
        std::vector<Json::Value> objects;
        (void)manager.getInventoryJsonObject(objects);
        return objects.size() == 1 ? objects[0] : Json::Value();
    }
    Json::Value memory() { return object()["HostOSInfo"]["OSMemorySummary"]; }

    /// The events that arrived, in order.
    std::vector<Json::Value> events() const {
        std::vector<Json::Value> all;
        for (const auto &[command, text] : rmc.transfers()) {
            Json::Value event;
            if (command == "MPEventGen" && parse_json(text, event)) all.push_back(event);
        }
        return all;
    }
    std::vector<int> eventIds() const {
        std::vector<int> ids;
        for (const Json::Value &event : events()) ids.push_back(event["ID"].asInt());
        return ids;
    }

    TemporaryRoot root;
    LogFile log;
    CapturedSyslog syslog;
    VirtualClock clock;
    ScriptedCommands commands;
    FakeIdentity identity;
    FakeProcess process;
    FakeRmc rmc;
    HostResourceManager &manager = HostResourceManager::getInstance();
};
