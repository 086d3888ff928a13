#include "rmc/Rmc.h"

#include <utility>

namespace {
constexpr std::size_t VIOLATION_LIMIT = 1000;
} // namespace

bool RMC_BEHAVIOUR::isNormal() const {
    return !force.transferStatus && !force.exitStatus && !force.completionCode && !force.handle &&
           !force.shortTo && delayMs == 0 && !silent;
}

RMC_REPLY Rmc::message(std::uint8_t netfn, std::uint8_t cmd, std::span<const std::uint8_t> data) {
    const bool isTransfer = RmcDecoder::isTransfer(netfn, cmd);
    const bool beginsTransfer = isTransfer && data.size() > 2 && data[2] != 0;
    const std::size_t before = beginsTransfer ? 0 : decoder.messagesOfTransfer();

    bool bent =
        !behaviour.isNormal() && behaviour.times != 0 && (!isTransfer || before >= behaviour.skip);
    RMC_FORCE force;
    if (bent) {
        force = behaviour.force;
        // Statuses and handles exist in a transfer's answers alone; a bent transfer is what was
        // asked for, so the door bell doesn't use the count up.
        if (!isTransfer && !behaviour.silent && behaviour.delayMs == 0 && !force.completionCode)
            bent = false;
    }
    RMC_REPLY reply;
    reply.answer = decoder.message(netfn, cmd, data, bent ? force : RMC_FORCE{});
    if (bent) {
        reply.delayMs = behaviour.delayMs;
        reply.withheld = behaviour.silent;
        if (behaviour.times > 0) --behaviour.times;
    }
    for (std::string &text : decoder.takeViolations()) violate(text);
    for (RMC_COMMAND &command : decoder.takeCommands()) {
        RMC_DOCUMENT document;
        std::vector<std::string> found;
        documents.check(command, document.value, found);
        for (const std::string &text : found) violate(text);
        document.text = std::move(command.argument);
        (command.name == "WriteInventory" ? inventories : events).push_back(std::move(document));
    }
    return reply;
}

void Rmc::violate(const std::string &text) {
    if (violations.size() < VIOLATION_LIMIT) violations.push_back(text);
}

std::vector<RMC_DOCUMENT> Rmc::takeInventories() {
    return std::exchange(inventories, {});
}

std::vector<RMC_DOCUMENT> Rmc::takeEvents() {
    return std::exchange(events, {});
}

std::vector<std::string> Rmc::takeViolations() {
    return std::exchange(violations, {});
}
