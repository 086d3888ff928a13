#include "world/Scenario.h"

#include <arpa/inet.h>

#include <fstream>
#include <sstream>

#include "core/format_text.h"
#include "core/json_text.h"
#include "world/ScenarioMembers.h"
#include "world/fc_changes.h"
#include "world/lab_command.h"
#include "world/nic_facts.h"
#include "world/scenario_fc.h"
#include "world/scenario_storage.h"
#include "world/storage_changes.h"

namespace {
constexpr int BASE_LIMIT = 8;
constexpr std::size_t SIZE_LIMIT = 4u << 20; // bytes of a file, which may be any device

bool require_object(const Json::Value &value, const std::string &place, std::string &error) {
    if (value.isObject()) return true;
    if (error.empty()) error = place + ": must be an object";
    return false;
}

SCENARIO_DEVICE read_device(const Json::Value &value, const std::string &place, bool isSlot,
                            std::string &error) {
    SCENARIO_DEVICE device;
    Members members(value, place, error);
    device.type = isSlot ? 0xA5 : 5;
    members.text("designation", device.designation, 120);
    members.number("type", device.type, 1, isSlot ? 255 : 127);
    if (isSlot) {
        members.only({"designation", "type", "width", "id", "short", "address", "length"});
        members.number("id", device.id, 1, 65535);
        members.flag("short", device.isShort);
        members.number("width", device.width, 1, 255);
    } else {
        members.only({"designation", "type", "instance", "enabled", "address", "length"});
        members.number("instance", device.instance, 0, 255);
        members.flag("enabled", device.enabled);
    }
    if (members.has("address")) {
        std::string address;
        members.text("address", address);
        members.address("address", address);
        device.address = address;
    }
    if (members.has("length")) {
        device.length = 0;
        members.number("length", *device.length, 0, 255);
    }
    if (!members.has("designation")) members.fail("designation", "must be given");
    return device;
}

void read_machine(const Json::Value &value, SCENARIO_MACHINE &machine, std::string &error) {
    Members members(value, "machine", error);
    members.only({"manufacturer", "product", "version", "serial", "uuid", "sku", "family", "slots",
                  "onboard", "imageBytes"});
    if (members.has("imageBytes")) {
        machine.imageBytes = 0;
        members.number("imageBytes", *machine.imageBytes, 0, 65536);
    }
    members.text("manufacturer", machine.manufacturer, 60);
    members.text("product", machine.product, 120);
    members.text("version", machine.version, 120);
    members.text("serial", machine.serial, 120);
    members.text("uuid", machine.uuid, 36);
    members.text("sku", machine.sku, 120);
    members.text("family", machine.family, 60);
    members.list("slots", [&](const Json::Value &each, const std::string &place) {
        machine.slots.push_back(read_device(each, place, true, error));
    });
    members.list("onboard", [&](const Json::Value &each, const std::string &place) {
        machine.onboard.push_back(read_device(each, place, false, error));
    });
}

SCENARIO_PCI read_pci(const Json::Value &value, const std::string &place, std::string &error) {
    SCENARIO_PCI device;
    Members members(value, place, error);
    members.only({"address", "vendor", "device", "subVendor", "subDevice", "class", "className",
                  "vendorName", "deviceName", "kernelName"});
    members.text("address", device.address);
    members.address("address", device.address);
    members.id("vendor", device.vendor);
    members.id("device", device.device);
    members.id("subVendor", device.subVendor);
    members.id("subDevice", device.subDevice);
    members.id("class", device.deviceClass);
    members.text("className", device.className);
    members.text("vendorName", device.vendorName);
    members.text("deviceName", device.deviceName);
    members.text("kernelName", device.kernelName);
    return device;
}

/// The tables of the host's commands are read by lines and words.
void check_nic_texts(Members &members, const SCENARIO_NIC &nic) {
    for (const auto &[name, text] : {std::pair{"driver", &nic.driver}, std::pair{"mac", &nic.mac}})
        if (text->empty() || !is_line(*text) || text->find(' ') != std::string::npos)
            members.fail(name, "must be one word");
    if (nic.description.find_first_not_of(' ') == std::string::npos)
        members.fail("description", "must be given, or vendorName and deviceName");
    for (const auto &[name, text] :
         {std::pair{"driverVersion", &nic.driverVersion}, std::pair{"firmware", &nic.firmware},
          std::pair{"cable", &nic.cable}, std::pair{"vendorName", &nic.vendorName},
          std::pair{"deviceName", &nic.deviceName}, std::pair{"description", &nic.description}})
        members.oneLine(name, *text);
}

SCENARIO_NIC read_nic(const Json::Value &value, const std::string &place, std::string &error) {
    SCENARIO_NIC nic;
    Members members(value, place, error);
    members.only({"name", "address", "driver", "driverVersion", "mac", "description", "firmware",
                  "cable", "vendorName", "deviceName", "vendor", "device", "subVendor", "subDevice",
                  "link", "adminUp", "present", "speedMbps", "mtu"});
    members.text("name", nic.name, 15);
    members.text("address", nic.address);
    members.text("driver", nic.driver);
    members.text("driverVersion", nic.driverVersion);
    members.text("mac", nic.mac);
    members.text("firmware", nic.firmware);
    members.text("cable", nic.cable);
    members.text("vendorName", nic.vendorName);
    members.text("deviceName", nic.deviceName);
    nic.description = nic.vendorName + " " + nic.deviceName;
    members.text("description", nic.description);
    check_nic_texts(members, nic);
    members.id("vendor", nic.vendor);
    members.id("device", nic.device);
    members.id("subVendor", nic.subVendor);
    members.id("subDevice", nic.subDevice);
    members.text("link", nic.link);
    members.flag("adminUp", nic.adminUp);
    members.flag("present", nic.present);
    members.number("speedMbps", nic.speedMbps, 0, 1'000'000'000);
    members.number("mtu", nic.mtu, 0, 65535);
    members.fileWord("name", nic.name); // it becomes part of a file's name
    if (nic.address != NO_PCI_DEVICE) members.address("address", nic.address);
    if (!is_link_word(nic.link)) members.fail("link", "must be Up, Down or Unknown");
    return nic;
}

void read_host(const Json::Value &value, SCENARIO_HOST &host, std::string &error) {
    Members members(value, "host", error);
    members.only({"name", "osName", "osVersion", "build", "update", "patch", "kernelName",
                  "kernelRelease", "kernelVersion", "kernelMachine", "memoryMBytes", "freeMBytes",
                  "uptimeSeconds", "addresses", "pci", "nics", "fc", "storage"});
    members.text("name", host.name, 64);
    members.text("osName", host.osName);
    members.text("osVersion", host.osVersion);
    members.text("build", host.build);
    members.text("update", host.update);
    members.text("patch", host.patch);
    members.text("kernelName", host.kernelName, 64);
    members.text("kernelRelease", host.kernelRelease, 64);
    members.text("kernelVersion", host.kernelVersion, 64);
    members.text("kernelMachine", host.kernelMachine, 64);
    members.number("memoryMBytes", host.memoryMBytes, 0, INT64_MAX);
    members.number("freeMBytes", host.freeMBytes, 0, INT64_MAX);
    members.number("uptimeSeconds", host.uptimeSeconds, 0, 1'000'000'000);
    members.list("addresses", [&](const Json::Value &each, const std::string &place) {
        Members entry(each, place, error);
        SCENARIO_ADDRESS address;
        entry.only({"interface", "address"});
        entry.text("interface", address.interface, 15);
        entry.text("address", address.address);
        in_addr parsed{};
        if (::inet_pton(AF_INET, address.address.c_str(), &parsed) != 1)
            entry.fail("address", "must be an IPv4 address");
        host.addresses.push_back(address);
    });
    members.list("pci", [&](const Json::Value &each, const std::string &place) {
        host.pci.push_back(read_pci(each, place, error));
    });
    members.list("nics", [&](const Json::Value &each, const std::string &place) {
        host.nics.push_back(read_nic(each, place, error));
        for (std::size_t i = 0; i + 1 < host.nics.size(); ++i)
            if (host.nics[i].name == host.nics.back().name && error.empty())
                error = place + ".name: is there twice";
    });
    if (members.has("fc")) read_scenario_fc(members.at("fc"), "host.fc", host.fc, error);
    if (members.has("storage"))
        read_scenario_storage(members.at("storage"), "host.storage", host.storage, error);
    if (host.name.empty()) members.fail("name", "must not be empty");
}

bool has_subject(const SCENARIO_HOST &host, const LAB_COMMAND &command, std::string &error) {
    if (command.kind == LAB_COMMAND::Kind::FC || command.kind == LAB_COMMAND::Kind::HBA) {
        SCENARIO_FC tried = host.fc;
        return change_fc(tried, command, error);
    }
    if (command.kind == LAB_COMMAND::Kind::STORAGE) {
        SCENARIO_STORAGE tried = host.storage;
        return change_storage(tried, command, error);
    }
    if (command.kind != LAB_COMMAND::Kind::NIC) return true;
    for (const SCENARIO_NIC &each : host.nics)
        if (each.name == command.subject) return true;
    error = "nic " + command.subject + ": no such adapter";
    return false;
}

std::string read_command(const Json::Value &value, const SCENARIO_HOST &host,
                         const std::string &place, std::string &error) {
    LAB_COMMAND command;
    std::string why = "must be a text";
    if (value.isString() && parse_lab_command(value.asString(), command, why) &&
        has_subject(host, command, why))
        return value.asString();
    if (error.empty()) error = place + ": " + why;
    return {};
}

void read_timeline(Members &members, SCENARIO &scenario, std::string &error) {
    members.list("timeline", [&](const Json::Value &each, const std::string &place) {
        Members entry(each, place, error);
        SCENARIO_STEP step;
        entry.only({"at", "inventories", "events", "log", "newLog", "wait", "do"});
        entry.text("log", step.log);
        entry.text("newLog", step.newLog);
        entry.seconds("at", step.at);
        entry.number("inventories", step.inventories, 0, 1'000'000);
        entry.number("events", step.events, 0, 1'000'000);
        entry.seconds("wait", step.wait);
        step.command = read_command(entry.at("do"), scenario.host, entry.path("do"), error);
        scenario.timeline.push_back(std::move(step));
    });
}

void read_expectation(const Json::Value &value, SCENARIO_EXPECTATION &expect, std::string &error) {
    Members members(value, "expect", error);
    members.only({"inventories", "events", "facts", "log"});
    members.number("inventories", expect.inventories, 0, 1'000'000);
    members.list("events", [&](const Json::Value &each, const std::string &place) {
        Json::Value wanted = each;
        if (each.isInt()) {
            wanted = Json::Value(Json::objectValue);
            wanted["ID"] = each;
        }
        require_object(wanted, place, error);
        expect.events.push_back(std::move(wanted));
    });
    members.list("log", [&](const Json::Value &each, const std::string &place) {
        if (!each.isString()) {
            if (error.empty()) error = place + ": must be a text";
            return;
        }
        expect.log.push_back(each.asString());
    });
    if (!members.has("facts")) return;
    const Json::Value &facts = members.at("facts");
    if (!require_object(facts, "expect.facts", error)) return;
    for (const std::string &path : facts.getMemberNames())
        expect.facts.emplace_back(path, facts[path]);
}

/// Objects are merged member by member, everything else replaces.
void merge(Json::Value &base, const Json::Value &changes, int depth = 0) {
    if (!base.isObject() || !changes.isObject() || depth > 100) {
        base = changes;
        return;
    }
    for (const std::string &name : changes.getMemberNames())
        merge(base[name], changes[name], depth + 1);
}

/// The parser's words without its line breaks and indents.
std::string one_line(const std::string &text) {
    std::istringstream words(text);
    std::string line;
    for (std::string word; words >> word;) {
        if (word == "*" && line.empty()) continue;
        if (!line.empty()) line += ' ';
        line += word;
    }
    return line;
}

bool load_merged(const std::string &path, int depth, Json::Value &root, std::string &error) {
    std::string text(SIZE_LIMIT + 1, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (!file.is_open() || file.bad()) {
        error = path + ": can't be read";
        return false;
    }
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (text.size() > SIZE_LIMIT) {
        error = path + ": longer than 4 MiB";
        return false;
    }
    Json::Value own;
    std::string why;
    if (!parse_json(text, own, &why)) {
        error = path + ": not JSON: " + one_line(why);
        return false;
    }
    if (!own.isObject()) {
        error = path + ": must be an object";
        return false;
    }
    if (!own.isMember("base")) {
        root = own;
        return true;
    }
    if (!own["base"].isString() || own["base"].asString().find('/') != std::string::npos) {
        error = path + ": base: must be a scenario's name";
        return false;
    }
    if (depth == BASE_LIMIT) {
        error = path + ": base: too many scenarios stand on each other";
        return false;
    }
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    if (!load_merged(folder + own["base"].asString() + ".json", depth + 1, root, error))
        return false;
    // What happens is each scenario's own; only the server is taken over.
    for (const char *name : {"timeline", "expect", "title", "commands", "runState"})
        root.removeMember(name);
    own.removeMember("base");
    merge(root, own);
    return true;
}
} // namespace

bool read_pci_address(const std::string &text, std::uint16_t &segment, std::uint8_t &bus,
                      std::uint8_t &deviceFunction) {
    constexpr const char *SHAPE = "hhhh:hh:hh.o";
    if (text.size() != 12) return false;
    unsigned long digits = 0;
    for (std::size_t i = 0; i < 12; ++i) {
        const char c = text[i];
        const bool isDigit = c >= '0' && c <= '9', isLetter = c >= 'a' && c <= 'f';
        if (SHAPE[i] == 'h' || SHAPE[i] == 'o') {
            if (!isDigit && !isLetter) return false;
            digits = digits << 4 | static_cast<unsigned long>(isDigit ? c - '0' : c - 'a' + 10);
        } else if (c != SHAPE[i]) {
            return false;
        }
    }
    const unsigned long function = digits & 0xF, device = digits >> 4 & 0xFF;
    if (function > 7 || device > 31) return false;
    segment = static_cast<std::uint16_t>(digits >> 20);
    bus = static_cast<std::uint8_t>(digits >> 12);
    deviceFunction = static_cast<std::uint8_t>(device << 3 | function);
    return true;
}

bool read_scenario_json(const Json::Value &root, SCENARIO &scenario, std::string &error) {
    error.clear();
    SCENARIO read;
    Members members(root, "", error);
    members.only({"title", "machine", "host", "esxtop", "nicList", "encoder", "ipmiDevice",
                  "runState", "config", "commands", "timeline", "expect", "limitSeconds"});
    members.text("title", read.title);
    read_machine(members.at("machine"), read.machine, error);
    read_host(members.at("host"), read.host, error);
    members.text("esxtop", read.esxtop);
    if (!is_esxtop_mode(read.esxtop))
        members.fail("esxtop", "must be works, fails, empty or garbled");
    members.text("nicList", read.nicList);
    if (!is_nic_list_mode(read.nicList))
        members.fail("nicList", std::string("must be ") + NIC_LIST_MODES);
    members.text("encoder", read.encoder);
    if (!is_encoder_mode(read.encoder))
        members.fail("encoder", std::string("must be ") + ENCODER_MODES);
    members.flag("ipmiDevice", read.ipmiDevice);
    if (members.has("runState")) {
        Members state(members.at("runState"), "runState", error);
        state.only({"lastStartAgo", "lastStopAgo"});
        read.lastStartAgo = read.lastStopAgo = 0;
        state.number("lastStartAgo", *read.lastStartAgo, 0, 1'000'000'000);
        state.number("lastStopAgo", *read.lastStopAgo, 0, 1'000'000'000);
    }
    read.config = members.has("config") ? members.at("config") : Json::Value(Json::objectValue);
    if (!read.config.isNull()) require_object(read.config, "config", error);
    members.list("commands", [&](const Json::Value &each, const std::string &place) {
        read.commands.push_back(read_command(each, read.host, place, error));
    });
    read_timeline(members, read, error);
    read_expectation(members.at("expect"), read.expect, error);
    members.number("limitSeconds", read.limitSeconds, 1, 86400);
    if (!error.empty()) return false;
    scenario = std::move(read);
    return true;
}

bool read_scenario(const std::string &path, SCENARIO &scenario, std::string &error) {
    Json::Value root;
    if (!load_merged(path, 0, root, error)) return false;
    if (!read_scenario_json(root, scenario, error)) {
        error = path + ": " + error;
        return false;
    }
    scenario.name = path.substr(path.rfind('/') + 1);
    if (scenario.name.ends_with(".json")) scenario.name.resize(scenario.name.size() - 5);
    return true;
}
