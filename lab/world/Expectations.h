#pragma once

#include <string>
#include <vector>

#include "world/Scenario.h"

/// Holds what the RMC and the log showed against what a scenario expects.
class Expectations {
public:
    explicit Expectations(SCENARIO_EXPECTATION expected)
        : expect(std::move(expected)), logSeen(expect.log.size(), false) {}

    void inventory(const Json::Value &document);
    void event(const Json::Value &document);
    void logLine(const std::string &line);

    std::size_t inventories() const { return inventoryCount; }
    std::size_t events() const { return eventCount; }
    bool isComplete() const; ///< everything that was waited for has come
    /// What is wrong or missing, a line each; empty where all is as expected.
    std::vector<std::string> faults() const;
    bool hasFailed() const { return !failure.empty(); } ///< an event that must not come has come

private:
    SCENARIO_EXPECTATION expect;
    std::vector<bool> logSeen;
    std::size_t inventoryCount = 0, eventCount = 0;
    Json::Value latest;
    std::string failure; // of the first event that differs
};
