#include "world/fc_changes.h"

#include <algorithm>

namespace {
/// Whether the command means that port, by its own names or by its place.
bool means_port(const LAB_COMMAND &command, const SCENARIO_FC_ADAPTER &adapter, std::size_t index) {
    const SCENARIO_FC_PORT &port = adapter.ports[index];
    if (!command.detail.empty()) return command.detail == std::to_string(index);
    const bool isAdapter = command.subject == adapter.name || command.subject == adapter.wwn;
    return isAdapter || command.subject == port.wwn || command.subject == port.name;
}

bool means_adapter(const LAB_COMMAND &command, const SCENARIO_FC_ADAPTER &adapter) {
    return command.subject == adapter.name || command.subject == adapter.wwn ||
           std::any_of(adapter.ports.begin(), adapter.ports.end(),
                       [&](const SCENARIO_FC_PORT &each) {
                           return command.subject == each.wwn || command.subject == each.name;
                       });
}

bool change_adapter(SCENARIO_FC &fc, const LAB_COMMAND &command, std::string &error) {
    for (SCENARIO_FC_LIBRARY &library : fc.libraries)
        for (SCENARIO_FC_ADAPTER &adapter : library.adapters) {
            if (!means_adapter(command, adapter)) continue;
            if (command.value == "remove" || command.value == "add") {
                adapter.present = command.value == "add";
                return true;
            }
            bool found = false;
            for (std::size_t i = 0; i < adapter.ports.size(); ++i) {
                if (!means_port(command, adapter, i)) continue;
                adapter.ports[i].state = command.value;
                found = true;
            }
            if (!found) error = "fc " + command.subject + ": has no such port";
            return found;
        }
    error = "fc " + command.subject + ": no such adapter";
    return false;
}

bool change_call(SCENARIO_FC &fc, const LAB_COMMAND &command, std::string &error) {
    const std::string &library = command.subject, &call = command.detail;
    bool found = false;
    for (SCENARIO_FC_LIBRARY &each : fc.libraries) {
        if (library != "all" && library != each.name && library != each.file()) continue;
        found = true;
        std::erase(each.fails, call);
        if (command.value == "fails") each.fails.push_back(call);
    }
    if (!found) error = "hba " + library + ": no such library";
    return found;
}
} // namespace

bool change_fc(SCENARIO_FC &fc, const LAB_COMMAND &command, std::string &error) {
    return command.kind == LAB_COMMAND::Kind::HBA ? change_call(fc, command, error)
                                                  : change_adapter(fc, command, error);
}
