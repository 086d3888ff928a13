#pragma once

#include <string>
#include <vector>

/// What the RMC has received, kept for the command "show": the latest inventory, and the last 1000
/// each of events and of broken rules. Pure. One thread.
class ReceivedSoFar {
public:
    void inventory(const std::string &text) { latestInventory = text; }
    void event(const std::string &text) { keep(events, text); }
    void violation(const std::string &text) { keep(violations, text); }

    /// @param subject  inventory, summary, events or violations
    /// @return lines for a person
    std::string shown(const std::string &subject) const;

private:
    static void keep(std::vector<std::string> &list, const std::string &text);

    std::string latestInventory;
    std::vector<std::string> events, violations;
};
