#include "world/World.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "core/format_text.h"
#include "life/DaemonLife.h"
#include "world/host_facts.h"
#include "world/summary.h"

namespace {
constexpr std::int64_t NS = 1'000'000'000;
constexpr int LOG_EVERY_MS = 50; // how often the daemon's log is looked at
constexpr std::size_t FAULT_LIMIT = 1000;
} // namespace

World::World(WORLD_SETTINGS wanted)
    : settings(std::move(wanted)), scenario(settings.scenario),
      root(std::filesystem::absolute(settings.outputFolder).lexically_normal() / "root",
           settings.speed),
      sysfs(root.path()), outputs(settings.style),
      expectations(scenario.expect), logs{LogTail(root.path() + LAB_LOG_FILE),
                                          LogTail(root.path() + LAB_DEBUG_LOG_FILE)} {
    for (const SCENARIO_STEP &each : scenario.timeline) stepLogSeen.push_back(each.log.empty());
}

World::~World() {
    if (life > 0) {
        ::kill(life, SIGKILL);
        ::waitpid(life, nullptr, 0);
    }
    closeConnections();
    if (control >= 0) ::close(control);
}

bool World::prepare(std::string &error) {
    // What a former run left is touched only when nothing else can be in the way.
    if (settings.readStandardInput) inputs.useStandardInput();
    if (!signals.take(error) || !folder.take(settings.outputFolder, error) ||
        !rmc.loadSchemas(settings.places.schemas, error) ||
        (!settings.commandFifo.empty() && !inputs.useFifo(settings.commandFifo, error)) ||
        !root.prepare(settings.keep, error) || !outputs.open(settings.outputFolder, error))
        return false;

    time = LabTime::startingNow(settings.speed);
    const std::int64_t second = time.nowNs() / NS;
    bootTime = second - scenario.host.uptimeSeconds;
    if (!root.writeHost(scenario, settings.keep, error) ||
        (!settings.realHost && !sysfs.make(scenario.host.storage, second, error)) ||
        (settings.realHost && !makeRealHost(error)) ||
        !root.writeIdentity(scenario.host, bootTime, settings.realHost, error) ||
        (!settings.keep && !root.writeRunState(scenario, second, error)))
        return false;

    for (const std::string &line : scenario.commands)
        if (!runCommand(line, error)) return false;
    return true;
}

int World::run() {
    std::string error;
    if (!prepare(error) || !startLife()) {
        outputs.result(0, false,
                       error.empty() ? std::string("daemon: could not be started") : error);
        return 1;
    }
    startedNs = monotonic_ns();
    outputs.progress(now(), "scenario " + scenario.name + ": " + scenario.title);
    loop();
    conclude();
    return good && !outputs.hasFailed() ? 0 : 1;
}

int World::pollTimeoutMs() const {
    std::int64_t ns = LOG_EVERY_MS * 1'000'000;
    const std::int64_t present = monotonic_ns();
    for (const CONNECTION &each : connections)
        if (each.answer && !each.withheld)
            ns = std::min(ns, std::max<std::int64_t>(each.dueNs - present, 0));
    double untilSeconds = 1e9;
    if (state == Life::DOWN) untilSeconds = nextAt - now();
    if (step < scenario.timeline.size() && stepReady)
        untilSeconds = std::min(untilSeconds, *stepReady + scenario.timeline[step].wait - now());
    for (const RESET &each : resets) untilSeconds = std::min(untilSeconds, each.endsAt - now());
    if (untilSeconds < 1e9)
        ns = std::min(
            ns, time.realWaitNs(static_cast<std::int64_t>(std::max(untilSeconds, 0.0) * 1e9)));
    return static_cast<int>((ns + 999'999) / 1'000'000);
}

void World::loop() {
    while (state != Life::ENDED) {
        std::vector<pollfd> wanted{{signals.descriptor(), POLLIN, 0}};
        if (control >= 0) wanted.push_back({control, POLLIN, 0});
        for (const CONNECTION &each : connections) wanted.push_back({each.fd, POLLIN, 0});
        inputs.addTo(wanted);
        ::poll(wanted.data(), wanted.size(), pollTimeoutMs());

        if (signals.isAskedToEnd()) finish(true, "asked to end");
        acceptConnections();
        for (std::size_t i = 0; i < connections.size();) {
            if (serve(connections[i])) {
                ++i;
                continue;
            }
            if (connections[i].ownsTransfer) rmc.wire().forgetTransfer();
            ::close(connections[i].fd);
            connections.erase(connections.begin() + static_cast<std::ptrdiff_t>(i));
        }
        sendDueAnswers();
        receive();
        readLog();
        for (const std::string &line : inputs.read(wanted)) {
            std::string error;
            if (!runCommand(line, error)) LabOutputs::complain(error);
        }
        reapLife();
        watchStop();
        if (!bootIfDue()) finish(false, "daemon: could not be started");
        endResets();
        runTimeline();
        if (outputs.hasFailed()) finish(false, "output is lost");

        if (!finishing && settings.watch &&
            !settings.watch(now(), life, expectations.inventories()))
            finish(true, "measured");
        if (!settings.once || finishing) continue;
        if (expectations.hasFailed()) {
            finish(false, "not as expected");
        } else if (step == scenario.timeline.size() && state == Life::RUNNING &&
                   expectations.isComplete()) {
            finish(true, "everything expected has come");
        } else if (monotonic_ns() - startedNs > scenario.limitSeconds * NS) {
            finish(false, format_text("time limit: %lld seconds are over",
                                      static_cast<long long>(scenario.limitSeconds)));
        }
    }
}

void World::finish(bool wasGood, const std::string &why) {
    if (finishing) {
        // Asked twice: the daemon's own stop is not waited for.
        if (wasGood && life > 0) ::kill(life, SIGKILL);
        return;
    }
    finishing = true;
    good = good && wasGood;
    reason = why;
    if (state == Life::RUNNING) {
        endLife(SIGTERM, Next::NOTHING, 0);
    } else if (state == Life::STOPPING) {
        next = Next::NOTHING;
    } else {
        state = Life::ENDED;
    }
}

void World::conclude() {
    readLog();
    receive();
    if (settings.once)
        for (const std::string &fault : expectations.faults()) faults.push_back(fault);
    for (const std::string &fault : faults) LabOutputs::complain(fault);
    if (good && settings.once && !faults.empty()) {
        good = false;
        reason = "not as expected";
    }
    if (!good) {
        outputs.result(now(), false, scenario.name + ": " + (reason.empty() ? "failed" : reason));
        return;
    }
    outputs.result(now(), true,
                   scenario.name + ": " +
                       received_text(expectations.inventories(), expectations.events()));
}

// -- The wire
// ---------------------------------------------------------------------------------------

void World::acceptConnections() {
    if (control < 0) return;
    for (;;) {
        const int fd = receive_descriptor(control);
        if (fd == -2) {
            ::close(control);
            control = -1;
        }
        if (fd < 0) return;
        connections.push_back({fd, std::nullopt});
    }
}

bool World::serve(CONNECTION &connection) {
    WIRE_REQUEST request{};
    for (;;) {
        const ssize_t got = ::recv(connection.fd, &request, sizeof request, MSG_DONTWAIT);
        if (got < 0) return errno == EAGAIN || errno == EINTR;
        if (got != sizeof request) return false;

        if (request.addressType != 0x0C || request.channel != 0x0F || request.lun != 0 ||
            request.addressLength != 8 || request.messageId != 0)
            rmc.violate(
                format_text("address: type 0x%x, channel 0x%x, lun %u, length %u, message %lld",
                            static_cast<unsigned>(request.addressType),
                            static_cast<unsigned>(request.channel), unsigned{request.lun},
                            request.addressLength, static_cast<long long>(request.messageId)));
        if (connection.answer) rmc.violate("a request before the former one was answered");
        const std::span<const std::uint8_t> data(request.data, request.dataLength);
        const RMC_REPLY reply = rmc.message(request.netfn, request.cmd, data);
        transferMessages = rmc.wire().messagesOfTransfer();
        for (CONNECTION &each : connections) each.ownsTransfer = false;
        connection.ownsTransfer = rmc.wire().isTransferOpen();
        outputs.message(now(), lives, request.netfn, request.cmd, data, reply,
                        rmc.wire().lastMeaning());

        WIRE_ANSWER answer{};
        answer.messageId = request.messageId;
        answer.netfn = request.netfn;
        answer.cmd = request.cmd;
        answer.data[0] = reply.answer.completionCode;
        const std::size_t length = std::min(reply.answer.data.size(), sizeof answer.data - 1);
        std::copy_n(reply.answer.data.begin(), length, answer.data + 1);
        answer.length = static_cast<std::uint16_t>(length + 1);
        connection.answer = answer;
        connection.withheld = reply.withheld;
        connection.dueNs = monotonic_ns() + reply.delayMs * 1'000'000;
        if (!reply.withheld && reply.delayMs == 0) handOut(connection);
    }
}

void World::handOut(CONNECTION &connection) {
    // The daemon may have closed its end meanwhile; the next read of this connection tells.
    static_cast<void>(::send(connection.fd, &*connection.answer, sizeof(WIRE_ANSWER),
                             MSG_NOSIGNAL | MSG_DONTWAIT));
    connection.answer.reset();
}

void World::sendDueAnswers() {
    const std::int64_t present = monotonic_ns();
    for (CONNECTION &each : connections)
        if (each.answer && !each.withheld && each.dueNs <= present) handOut(each);
}

void World::receive() {
    for (const std::string &violation : rmc.takeViolations()) {
        outputs.violation(now(), violation);
        received.violation(violation);
        if (faults.size() < FAULT_LIMIT) faults.push_back("message to the RMC: " + violation);
    }
    for (const RMC_DOCUMENT &each : rmc.takeInventories()) {
        expectations.inventory(each.value);
        received.inventory(each.text);
        unexpectedEnds = 0;
        outputs.inventory(now(), each, transferMessages);
    }
    for (const RMC_DOCUMENT &each : rmc.takeEvents()) {
        expectations.event(each.value);
        received.event(each.text);
        outputs.event(now(), each);
    }
}

void World::readLog() {
    for (LogTail &log : logs) {
        for (const std::string &line : log.newLines()) {
            expectations.logLine(line);
            for (std::size_t i = step; i < scenario.timeline.size(); ++i)
                if (line.find(scenario.timeline[i].log) != std::string::npos) stepLogSeen[i] = true;
            if (step < scenario.timeline.size() &&
                line.find(scenario.timeline[step].newLog) != std::string::npos)
                stepNewLogSeen = true;
            if (const auto text = progress.read(line)) outputs.progress(now(), *text);
        }
    }
}
