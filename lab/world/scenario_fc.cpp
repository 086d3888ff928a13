#include "world/scenario_fc.h"

#include <set>
#include <utility>

#include "vendor/hba_handlers.h"
#include "world/ScenarioMembers.h"

namespace {
constexpr std::size_t LIBRARY_LIMIT = 1100, ADAPTER_LIMIT = 256, PORT_LIMIT = 256;

void check_wwn(Members &members, const std::string &wwn) {
    unsigned char bytes[8];
    if (!read_wwn(wwn, bytes))
        members.fail("wwn", "must be a name such as 20:00:02:00:5e:00:00:a1");
}

SCENARIO_FC_PORT read_port(const Json::Value &value, const std::string &place, std::string &error) {
    SCENARIO_FC_PORT port;
    Members members(value, place, error);
    members.only({"wwn", "state", "id", "name", "address"});
    members.text("wwn", port.wwn);
    members.text("state", port.state);
    members.number("id", port.id, 0, 0xFFFFFF);
    members.text("name", port.name, 15);
    members.text("address", port.address);
    check_wwn(members, port.wwn);
    if (!is_hba_state(port.state))
        members.fail("state", "must be online, offline, bypassed, diagnostics, linkdown, error, "
                              "loopback or unknown");
    if (port.name.empty() != port.address.empty()) members.fail("name", "and address go together");
    if (!port.name.empty()) members.fileWord("name", port.name);
    if (!port.address.empty()) members.address("address", port.address);
    return port;
}

SCENARIO_FC_ADAPTER read_adapter(const Json::Value &value, const std::string &place,
                                 std::string &error) {
    SCENARIO_FC_ADAPTER adapter;
    Members members(value, place, error);
    members.only({"name",          "address",    "wwn",        "model",    "description",
                  "serial",        "hardware",   "rom",        "firmware", "driver",
                  "driverVersion", "vendorName", "deviceName", "vendor",   "device",
                  "subVendor",     "subDevice",  "speedGbps",  "present",  "ports"});
    members.text("name", adapter.name, 15);
    members.text("address", adapter.address);
    members.text("wwn", adapter.wwn);
    members.text("model", adapter.model);
    members.text("description", adapter.description);
    members.text("serial", adapter.serial);
    members.text("hardware", adapter.hardware);
    members.text("rom", adapter.rom);
    members.text("firmware", adapter.firmware);
    members.text("driver", adapter.driver);
    members.text("driverVersion", adapter.driverVersion);
    members.text("vendorName", adapter.vendorName);
    members.text("deviceName", adapter.deviceName);
    members.id("vendor", adapter.vendor);
    members.id("device", adapter.device);
    members.id("subVendor", adapter.subVendor);
    members.id("subDevice", adapter.subDevice);
    members.number("speedGbps", adapter.speedGbps, 0, 32);
    members.flag("present", adapter.present);
    members.list("ports", [&](const Json::Value &each, const std::string &portPlace) {
        if (adapter.ports.size() < PORT_LIMIT)
            adapter.ports.push_back(read_port(each, portPlace, error));
        else
            members.fail("ports", "are too many");
    });
    for (const auto &[name, text] :
         {std::pair{"model", &adapter.model}, std::pair{"description", &adapter.description},
          std::pair{"serial", &adapter.serial}, std::pair{"hardware", &adapter.hardware},
          std::pair{"rom", &adapter.rom}, std::pair{"firmware", &adapter.firmware},
          std::pair{"driver", &adapter.driver}, std::pair{"driverVersion", &adapter.driverVersion},
          std::pair{"vendorName", &adapter.vendorName},
          std::pair{"deviceName", &adapter.deviceName}})
        members.oneLine(name, *text);
    members.fileWord("name", adapter.name);
    members.address("address", adapter.address);
    check_wwn(members, adapter.wwn);
    return adapter;
}

SCENARIO_FC_LIBRARY read_library(const Json::Value &value, const std::string &place,
                                 std::string &error) {
    SCENARIO_FC_LIBRARY library;
    Members members(value, place, error);
    members.only({"name", "path", "fails", "adapters"});
    members.text("name", library.name);
    members.text("path", library.path);
    members.list("fails", [&](const Json::Value &each, const std::string &) {
        if (each.isString() && is_hba_call(each.asString()))
            library.fails.push_back(each.asString());
        else
            members.fail("fails", "must be calls such as OpenAdapter");
    });
    members.list("adapters", [&](const Json::Value &each, const std::string &adapterPlace) {
        if (library.adapters.size() < ADAPTER_LIMIT)
            library.adapters.push_back(read_adapter(each, adapterPlace, error));
        else
            members.fail("adapters", "are too many");
    });
    if (library.name.empty() || !is_line(library.name))
        members.fail("name", "must be given, in one line");
    if (library.file().empty() || !is_line(library.path))
        members.fail("path", "must name a file, in one line");
    return library;
}
} // namespace

void read_scenario_fc(const Json::Value &value, const std::string &place, SCENARIO_FC &fc,
                      std::string &error) {
    Members members(value, place, error);
    members.only({"conf", "libraries"});
    if (members.has("conf")) {
        fc.hasConf = !members.at("conf").isNull();
        std::string text;
        if (fc.hasConf) members.text("conf", text, 100'000);
        if (fc.hasConf) fc.conf = text;
    }
    members.list("libraries", [&](const Json::Value &each, const std::string &libraryPlace) {
        if (fc.libraries.size() < LIBRARY_LIMIT)
            fc.libraries.push_back(read_library(each, libraryPlace, error));
        else
            members.fail("libraries", "are too many");
    });
    std::set<std::string> names;
    for (const SCENARIO_FC_LIBRARY &library : fc.libraries)
        for (const SCENARIO_FC_ADAPTER &adapter : library.adapters)
            if (!names.insert(adapter.wwn).second || !names.insert(adapter.name).second)
                members.fail("libraries", adapter.name + ", " + adapter.wwn + ": is there twice");
}
