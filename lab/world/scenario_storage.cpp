#include "world/scenario_storage.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "world/ScenarioMembers.h"

namespace {
constexpr std::size_t CONTROLLER_LIMIT = 1024, HOST_LIMIT = 16384;
constexpr unsigned HIGHEST_NUMBER = 99999;
constexpr const char *LINK_WORDS[] = {"long", "short", "folder"};
constexpr const char *STATE_WORDS[] = {
    "created",           "running",          "cancel",  "deleted", "recovery",
    "cancel/recovery",   "deleted/recovery", "quiesce", "offline", "blocked",
    "transport-offline", "created-blocked",  "online",  "optimal", "unreadable"};

SCENARIO_STORAGE_HOST read_host(const Json::Value &value, const std::string &place,
                                std::string &error) {
    SCENARIO_STORAGE_HOST host;
    Members members(value, place, error);
    members.only({"number", "ata", "state", "present"});
    members.number("number", host.number, 0, HIGHEST_NUMBER);
    if (members.has("ata")) {
        host.ata = 0;
        members.number("ata", *host.ata, 0, HIGHEST_NUMBER);
    }
    members.text("state", host.state);
    members.flag("present", host.present);
    if (!members.has("number")) members.fail("number", "must be given");
    if (!is_storage_state(host.state))
        members.fail("state", std::string("must be ") + STORAGE_STATES);
    return host;
}

SCENARIO_STORAGE_CONTROLLER read_controller(const Json::Value &value, const std::string &place,
                                            std::string &error) {
    SCENARIO_STORAGE_CONTROLLER controller;
    Members members(value, place, error);
    members.only({"name", "address", "bridge", "driver", "firmware", "tracer", "class", "className",
                  "vendorName", "deviceName", "vendor", "device", "subVendor", "subDevice",
                  "present", "hosts"});
    members.text("name", controller.name, 15);
    members.text("address", controller.address);
    members.text("bridge", controller.bridge);
    members.text("driver", controller.driver);
    members.text("firmware", controller.firmware);
    members.text("tracer", controller.tracer);
    members.text("className", controller.className);
    members.text("vendorName", controller.vendorName);
    members.text("deviceName", controller.deviceName);
    members.id("class", controller.deviceClass);
    members.id("vendor", controller.vendor);
    members.id("device", controller.device);
    members.id("subVendor", controller.subVendor);
    members.id("subDevice", controller.subDevice);
    members.flag("present", controller.present);
    members.list("hosts", [&](const Json::Value &each, const std::string &hostPlace) {
        if (controller.hosts.size() < HOST_LIMIT)
            controller.hosts.push_back(read_host(each, hostPlace, error));
        else
            members.fail("hosts", "are too many");
    });
    for (const auto &[name, text] :
         {std::pair{"driver", &controller.driver}, std::pair{"firmware", &controller.firmware},
          std::pair{"tracer", &controller.tracer}, std::pair{"className", &controller.className},
          std::pair{"vendorName", &controller.vendorName},
          std::pair{"deviceName", &controller.deviceName}})
        members.oneLine(name, *text);
    members.fileWord("name", controller.name);
    members.address("address", controller.address);
    if (!controller.bridge.empty()) members.address("bridge", controller.bridge);
    return controller;
}
} // namespace

bool is_storage_link(const std::string &text) {
    return std::find(std::begin(LINK_WORDS), std::end(LINK_WORDS), text) != std::end(LINK_WORDS);
}

bool is_storage_state(const std::string &text) {
    return std::find(std::begin(STATE_WORDS), std::end(STATE_WORDS), text) != std::end(STATE_WORDS);
}

void read_scenario_storage(const Json::Value &value, const std::string &place,
                           SCENARIO_STORAGE &storage, std::string &error) {
    Members members(value, place, error);
    members.only({"links", "foldersKeepTimes", "controllers"});
    members.text("links", storage.links);
    if (!is_storage_link(storage.links))
        members.fail("links", std::string("must be ") + STORAGE_LINKS);
    members.flag("foldersKeepTimes", storage.foldersKeepTimes);
    members.list("controllers", [&](const Json::Value &each, const std::string &controllerPlace) {
        if (storage.controllers.size() < CONTROLLER_LIMIT)
            storage.controllers.push_back(read_controller(each, controllerPlace, error));
        else
            members.fail("controllers", "are too many");
    });
    std::set<std::string> names;
    std::set<unsigned> numbers;
    const auto twice = [&](const std::string &what) {
        members.fail("controllers", what + ": is there twice");
    };
    for (const SCENARIO_STORAGE_CONTROLLER &controller : storage.controllers) {
        for (const std::string &word : {controller.name, controller.address})
            if (!names.insert(word).second) twice(word);
        for (const SCENARIO_STORAGE_HOST &host : controller.hosts)
            if (!numbers.insert(host.number).second) twice("host" + std::to_string(host.number));
    }
}
