#include "VmRmc.h"

#include "VmFailure.h"

namespace {
void append(std::vector<RMC_DOCUMENT> &to, std::vector<RMC_DOCUMENT> from) {
    for (RMC_DOCUMENT &document : from) to.push_back(std::move(document));
}

int id_of(const RMC_DOCUMENT &event) {
    const Json::Value &id =
        event.value.isObject() ? event.value["ID"] : Json::Value::nullSingleton();
    return id.isInt() ? id.asInt() : -1;
}
} // namespace

VmRmc::VmRmc(const std::string &schemaFolder) {
    std::string error;
    if (!rmc.loadSchemas(schemaFolder, error) || !link.start(0, error)) throw VmFailure(error);
    number = link.port();
}

void VmRmc::ring() {
    link.use([](Rmc &each) { each.wire().ringDoorBell(); });
}

bool VmRmc::awaitPoll(SECONDS limit) {
    ring();
    return link.waitFor(limit, [](Rmc &each) { return !each.wire().isDoorBellRung(); });
}

void VmRmc::behave(const RMC_BEHAVIOUR &behaviour) {
    link.use([&](Rmc &each) { each.behave(behaviour); });
}

bool VmRmc::behaveWithin(const RMC_BEHAVIOUR &behaviour, SECONDS limit) {
    ring();
    return link.waitFor(limit, [&](Rmc &each) {
        if (!each.wire().isTransferOpen()) return false;
        each.behave(behaviour);
        return true;
    });
}

void VmRmc::forget() {
    link.use([this](Rmc &each) {
        collect(each);
        receivedInventories.clear();
        receivedEvents.clear();
        receivedOrder.clear();
        brokenRules.clear();
    });
}

void VmRmc::cut() {
    link.stop();
}

void VmRmc::mend() {
    std::string error;
    if (!link.start(number, error)) throw VmFailure(error);
}

bool VmRmc::awaitInventories(std::size_t count, SECONDS limit) {
    return await(limit, [&] { return receivedInventories.size() >= count; });
}

bool VmRmc::awaitEvents(std::size_t count, SECONDS limit) {
    return await(limit, [&] { return receivedEvents.size() >= count; });
}

std::vector<RMC_DOCUMENT> VmRmc::inventories() {
    std::vector<RMC_DOCUMENT> copy;
    link.use([&](Rmc &each) {
        collect(each);
        copy = receivedInventories;
    });
    return copy;
}

std::vector<RMC_DOCUMENT> VmRmc::events() {
    std::vector<RMC_DOCUMENT> copy;
    link.use([&](Rmc &each) {
        collect(each);
        copy = receivedEvents;
    });
    return copy;
}

std::vector<int> VmRmc::eventIds() {
    std::vector<int> ids;
    for (const RMC_DOCUMENT &event : events()) ids.push_back(id_of(event));
    return ids;
}

std::vector<std::string> VmRmc::order() {
    std::vector<std::string> copy;
    link.use([&](Rmc &each) {
        collect(each);
        copy = receivedOrder;
    });
    return copy;
}

std::vector<std::string> VmRmc::violations() {
    std::vector<std::string> copy;
    link.use([&](Rmc &each) {
        collect(each);
        copy = brokenRules;
    });
    return copy;
}

void VmRmc::collect(Rmc &from) {
    std::vector<RMC_DOCUMENT> inventories = from.takeInventories(), events = from.takeEvents();
    for (std::size_t i = 0; i < inventories.size(); ++i) receivedOrder.emplace_back("inventory");
    for (const RMC_DOCUMENT &event : events) receivedOrder.push_back(std::to_string(id_of(event)));
    append(receivedInventories, std::move(inventories));
    append(receivedEvents, std::move(events));
    for (std::string &text : from.takeViolations()) brokenRules.push_back(std::move(text));
}

bool VmRmc::await(SECONDS limit, const std::function<bool()> &holds) {
    return link.waitFor(limit, [&](Rmc &each) {
        collect(each);
        return holds();
    });
}
