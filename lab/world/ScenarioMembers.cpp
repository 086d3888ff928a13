#include "world/ScenarioMembers.h"

#include <algorithm>

#include "core/format_text.h"
#include "core/number_readers.h"
#include "world/Scenario.h"

bool is_line(const std::string &text) {
    return std::none_of(text.begin(), text.end(),
                        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

Members::Members(const Json::Value &object, std::string objectPlace, std::string &firstError)
    : value(object), place(std::move(objectPlace)), error(firstError) {
    if (!value.isNull() && !value.isObject()) fail("", "must be an object");
}

void Members::only(std::initializer_list<const char *> names) {
    if (!value.isObject()) return;
    for (const std::string &name : value.getMemberNames()) {
        bool known = false;
        for (const char *each : names) known = known || name == each;
        if (!known) fail(name, "unknown key");
    }
}

void Members::text(const char *name, std::string &out, std::size_t limit) {
    if (!has(name)) return;
    if (!at(name).isString()) return fail(name, "must be a text");
    if (at(name).asString().size() > limit)
        return fail(name, format_text("longer than %zu characters", limit));
    out = at(name).asString();
}

void Members::flag(const char *name, bool &out) {
    if (!has(name)) return;
    if (!at(name).isBool()) return fail(name, "must be true or false");
    out = at(name).asBool();
}

bool Members::isNumberFrom(const char *name, std::int64_t from, std::int64_t to) {
    const Json::Value &given = at(name);
    if (given.isInt64() && given.asInt64() >= from && given.asInt64() <= to) return true;
    fail(name, format_text("must be a whole number from %lld to %lld", static_cast<long long>(from),
                           static_cast<long long>(to)));
    return false;
}

void Members::id(const char *name, std::uint16_t &out) {
    if (!has(name) || !at(name).isString()) return number(name, out, 0, 0xFFFF);
    const std::string text = at(name).asString();
    if (!text.starts_with("0x") || text.size() < 3 || text.size() > 6 ||
        text.find_first_not_of("0123456789abcdefABCDEF", 2) != std::string::npos)
        return fail(name, "must be an id such as 0x8086");
    out = static_cast<std::uint16_t>(read_hexadecimal(text.substr(2)));
}

void Members::seconds(const char *name, double &out) {
    if (!has(name)) return;
    const Json::Value &given = at(name);
    if (!given.isNumeric() || given.asDouble() < 0 || given.asDouble() > 1e9)
        return fail(name, "must be a number of seconds, 0 or more");
    out = given.asDouble();
}

void Members::list(const char *name,
                   const std::function<void(const Json::Value &, std::string)> &each) {
    if (!has(name)) return;
    if (!at(name).isArray()) return fail(name, "must be an array");
    for (Json::ArrayIndex i = 0; i < at(name).size(); ++i)
        each(at(name)[i], path(name) + format_text("[%u]", i));
}

void Members::address(const char *name, const std::string &text) {
    std::uint16_t segment = 0;
    std::uint8_t bus = 0, deviceFunction = 0;
    if (!read_pci_address(text, segment, bus, deviceFunction))
        fail(name, "must be a PCI address such as 0000:24:00.0");
}

void Members::fileWord(const char *name, const std::string &text) {
    if (text.empty() ||
        text.find_first_not_of("0123456789abcdefghijklmnopqrstuvwxyz") != std::string::npos)
        fail(name, "must be small letters and digits");
}

void Members::oneLine(const char *name, const std::string &text) {
    if (!is_line(text)) fail(name, "must be one line");
}

std::string Members::path(const std::string &name) const {
    if (name.empty()) return place;
    return place.empty() ? name : place + "." + name;
}

void Members::fail(const std::string &name, const std::string &what) {
    if (error.empty()) error = (path(name).empty() ? "scenario" : path(name)) + ": " + what;
}
