#include "world/RmcAlone.h"

#include <poll.h>

#include <utility>
#include <vector>

#include "core/format_text.h"
#include "world/lab_command.h"
#include "world/summary.h"

RmcAlone::RmcAlone(RMC_ALONE_SETTINGS wanted)
    : settings(std::move(wanted)), outputs(settings.style), time(LabTime::startingNow(1)),
      wire(rmc) {
    wire.controller().observer = [this](const BMC_REQUEST &request, const RMC_REPLY &reply) {
        outputs.message(now(), static_cast<int>(connections), request.netfn, request.cmd,
                        request.data, reply, rmc.wire().lastMeaning());
    };
}

bool RmcAlone::prepare(std::string &error) {
    inputs.useStandardInput();
    // The files last: a start that fails leaves those of the former run.
    return signals.take(error) && folder.take(settings.outputFolder, error) &&
           rmc.loadSchemas(settings.schemas, error) &&
           (settings.commandFifo.empty() || inputs.useFifo(settings.commandFifo, error)) &&
           wire.open(settings.port, error) && outputs.open(settings.outputFolder, error);
}

int RmcAlone::run() {
    std::string error;
    if (!prepare(error)) {
        outputs.result(0, false, error);
        return 1;
    }
    // Told in a pipe too: whoever starts the emulator needs the number.
    if (!settings.style.quiet || settings.style.json)
        outputs.note(now(), format_text("controller at 127.0.0.1:%u", unsigned{wire.port()}));
    while (!finishing && !outputs.hasFailed()) {
        std::vector<pollfd> wanted{{signals.descriptor(), POLLIN, 0}};
        wire.addTo(wanted);
        inputs.addTo(wanted);
        ::poll(wanted.data(), wanted.size(), wire.timeoutMs());
        if (signals.isAskedToEnd()) finishing = true;
        for (const std::string &line : inputs.read(wanted)) runCommand(line);
        wire.serve(wanted);
        tellConnections();
        receive();
    }
    wire.close();
    const bool good = !outputs.hasFailed();
    outputs.result(now(), good, good ? received_text(inventories, events) : "output is lost");
    return good && !outputs.hasFailed() ? 0 : 1;
}

void RmcAlone::tellConnections() {
    const std::size_t count = wire.controller().statistics().connections;
    if (std::exchange(connections, count) != count)
        outputs.progress(now(), format_text("machine connected, connection %zu", count));
}

void RmcAlone::receive() {
    for (const std::string &violation : rmc.takeViolations()) {
        outputs.violation(now(), violation);
        received.violation(violation);
    }
    for (const RMC_DOCUMENT &each : rmc.takeInventories()) {
        ++inventories;
        received.inventory(each.text);
        outputs.inventory(now(), each, rmc.wire().messagesOfTransfer());
    }
    for (const RMC_DOCUMENT &each : rmc.takeEvents()) {
        ++events;
        received.event(each.text);
        outputs.event(now(), each);
    }
}

void RmcAlone::runCommand(const std::string &line) {
    using Kind = LAB_COMMAND::Kind;
    LAB_COMMAND command;
    std::string error;
    if (!parse_lab_command(line, command, error)) return LabOutputs::complain(error);
    if (is_about_server(command))
        return LabOutputs::complain(line + ": there is no simulated server with --bmc");
    if (command.kind != Kind::NOTHING && command.kind != Kind::HELP && command.kind != Kind::SHOW)
        outputs.progress(now(), "command: " + line);
    switch (command.kind) {
    case Kind::HELP:
        return outputs.note(now(), lab_command_help(false));
    case Kind::DOOR_BELL:
        return rmc.wire().ringDoorBell();
    case Kind::GENERIC_DOOR_BELL:
        return rmc.wire().ringGenericDoorBell();
    case Kind::RMC:
        return rmc.behave(command.behaviour);
    case Kind::SHOW:
        return outputs.note(now(), received.shown(command.subject));
    case Kind::QUIT:
        finishing = true;
        return;
    default:
        return; // nothing was asked
    }
}
