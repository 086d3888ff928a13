#include "world/Expectations.h"

#include "core/format_text.h"
#include "core/json_text.h"
#include "world/summary.h"

namespace {
/// Equal values; 1023 and 1023.0 are.
bool same(const Json::Value &one, const Json::Value &other) {
    if (one.isNumeric() && other.isNumeric()) return one.asDouble() == other.asDouble();
    return one == other;
}
} // namespace

void Expectations::inventory(const Json::Value &document) {
    ++inventoryCount;
    latest = document;
}

void Expectations::event(const Json::Value &document) {
    const std::size_t index = eventCount++;
    if (!failure.empty()) return;
    if (index >= expect.events.size()) {
        failure = "event not expected: " + compact_json(document);
        return;
    }
    const Json::Value &wanted = expect.events[index];
    for (const std::string &name : wanted.getMemberNames()) {
        const Json::Value got = member_at(document, name);
        if (same(got, wanted[name])) continue;
        failure = format_text("event %zu: ", index + 1) + name + " is " + compact_json(got) +
                  ", expected " + compact_json(wanted[name]);
        return;
    }
}

void Expectations::logLine(const std::string &line) {
    for (std::size_t i = 0; i < expect.log.size(); ++i)
        if (!logSeen[i] && line.find(expect.log[i]) != std::string::npos) logSeen[i] = true;
}

bool Expectations::isComplete() const {
    if (inventoryCount < expect.inventories || eventCount < expect.events.size()) return false;
    for (const bool seen : logSeen)
        if (!seen) return false;
    return true;
}

std::vector<std::string> Expectations::faults() const {
    std::vector<std::string> all;
    if (!failure.empty()) all.push_back(failure);
    if (inventoryCount < expect.inventories)
        all.push_back(
            format_text("inventories: %zu came, %zu expected", inventoryCount, expect.inventories));
    if (eventCount < expect.events.size())
        all.push_back(
            format_text("events: %zu came, %zu expected", eventCount, expect.events.size()));
    for (std::size_t i = 0; i < expect.log.size(); ++i)
        if (!logSeen[i]) all.push_back("log: never said: " + expect.log[i]);
    if (inventoryCount == 0) return all;
    for (const auto &[path, wanted] : expect.facts) {
        const Json::Value got = member_at(latest, "HostDataCollection." + path);
        if (!same(got, wanted))
            all.push_back(path + ": is " + compact_json(got) + ", expected " +
                          compact_json(wanted));
    }
    return all;
}
