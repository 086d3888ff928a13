#include "world/storage_changes.h"

namespace {
/// Whether the command means that host: each, or one by its place or its name.
bool means_host(const LAB_COMMAND &command, std::size_t index, unsigned number) {
    return command.detail.empty() || command.detail == std::to_string(index) ||
           command.detail == "host" + std::to_string(number);
}

void change_host(SCENARIO_STORAGE_HOST &host, const std::string &value) {
    if (value == "remove" || value == "reset") {
        host.present = false;
    } else if (value == "add") {
        host.present = true;
        host.state = "running";
    } else {
        host.state = value;
    }
}
} // namespace

SCENARIO_STORAGE_CONTROLLER *find_controller(SCENARIO_STORAGE &storage,
                                             const std::string &subject) {
    for (SCENARIO_STORAGE_CONTROLLER &each : storage.controllers)
        if (subject == each.name || subject == each.address) return &each;
    return nullptr;
}

bool change_storage(SCENARIO_STORAGE &storage, const LAB_COMMAND &command, std::string &error) {
    SCENARIO_STORAGE_CONTROLLER *const controller = find_controller(storage, command.subject);
    const std::string place = "storage " + command.subject + ": ";
    if (controller == nullptr) {
        error = place + "no such controller";
        return false;
    }
    if (command.value == "reset" && !controller->present) {
        error = place + "is not there";
        return false;
    }
    const bool isWhole = command.detail.empty();
    if (isWhole && (command.value == "remove" || command.value == "add"))
        controller->present = command.value == "add";
    bool found = isWhole;
    for (std::size_t i = 0; i < controller->hosts.size(); ++i) {
        if (!means_host(command, i, controller->hosts[i].number)) continue;
        change_host(controller->hosts[i], command.value);
        found = true;
    }
    if (!found) error = place + "has no such port";
    return found;
}
