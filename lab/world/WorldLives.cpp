// The daemon's lives, and what the timeline and commands do to them and to the server.

#include <fcntl.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sstream>

#include "core/format_text.h"
#include "core/number_readers.h"
#include "life/DaemonLife.h"
#include "world/World.h"
#include "world/fc_changes.h"
#include "world/fc_facts.h"
#include "world/storage_changes.h"

namespace {
constexpr std::int64_t NS = 1'000'000'000;
constexpr double RESTART_SECONDS = 5;             // between the daemon's end and its next start
constexpr std::int64_t STOP_PATIENCE_NS = 2 * NS; // then the wire is cut
constexpr std::int64_t STOP_LIMIT_NS = 60 * NS;   // then the daemon is ended by force
constexpr int UNEXPECTED_ENDS_LIMIT = 3;

std::string ending_of(int status) {
    if (WIFSIGNALED(status)) return format_text("ended by signal %d", WTERMSIG(status));
    return format_text("ended with status %d", WEXITSTATUS(status));
}

/// Runs a program to its end with nothing shown. @return whether it ended well
bool run_program(const std::string &program, const std::vector<std::string> &arguments) {
    const pid_t pid = ::fork();
    if (pid < 0) return false;
    if (pid == 0) {
        sigset_t nothing;
        sigemptyset(&nothing);
        ::sigprocmask(SIG_SETMASK, &nothing, nullptr);
        const int none = ::open("/dev/null", O_RDWR);
        for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
            if (none >= 0) ::dup2(none, stream);
        std::vector<char *> words{const_cast<char *>(program.c_str())};
        for (const std::string &each : arguments) words.push_back(const_cast<char *>(each.c_str()));
        words.push_back(nullptr);
        ::execv(program.c_str(), words.data());
        ::_exit(127);
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}
} // namespace

bool World::makeRealHost(std::string &error) {
    utsname names{};
    struct sysinfo times {};
    if (::uname(&names) != 0 || ::sysinfo(&times) != 0) {
        error = std::string("this machine's identity: ") + std::strerror(errno);
        return false;
    }
    bootTime = time.nowNs() / NS - times.uptime;
    expectations = Expectations([&] {
        SCENARIO_EXPECTATION expect;
        const std::string name = names.nodename;
        expect.facts.emplace_back("Oem.HostOSInfo.HostName", name);
        expect.facts.emplace_back("Oem.HostOSInfo.OSDescription",
                                  std::string(names.sysname) + " " + name + " " + names.release +
                                      " " + names.version + " " + names.machine);
        return expect;
    }());
    const std::string image = root.path() + "/vmfs/devices/char/mem/smbios";
    ::unlink(image.c_str());
    // Its tables are for root alone, and many virtual machines have none; the daemon then goes
    // without, as it would on such a host.
    if (!run_program(settings.places.libexec + "/orb-smbios-image", {"--output", image}))
        outputs.progress(0, "this machine's SMBIOS tables can't be read; going on without");
    return true;
}

bool World::startLife() {
    int ends[2];
    if (!make_wire(ends)) return false;
    LIFE_SETTINGS its;
    its.root = root.path();
    its.commandFolders = settings.realHost ? settings.places.libexec : settings.places.commands;
    its.hostFacts = root.factsFolder();
    its.vendorFolder = its.encoderFolder = settings.places.vendor;
    its.realSysfs = settings.realHost;
    // A daemon looks for its encoder once, so this holds for the whole of its life.
    if (scenario.encoder == "missing") its.encoderFolder += "/missing";
    if (scenario.encoder == "incomplete") its.encoderFolder += "/incomplete";
    its.vendorWorld = root.vendorWorld();
    its.outputFile = root.path() + "/var/log/orbd.out";
    its.time = time;
    its.controlSocket = ends[0];
    its.answerFromMemory = settings.answerFromMemory;
    its.lineCount = settings.lineCount;
    its.countedStart = settings.countedStart;
    // A request to end that comes before the daemon is ready for it waits until it is.
    its.signalMask = signals.formerMask();
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaddset(&its.signalMask, signal);
    life = begin_life(its);
    ::close(ends[0]);
    if (life < 0) {
        ::close(ends[1]);
        return false;
    }
    control = ends[1];
    state = Life::RUNNING;
    next = Next::UNEXPECTED;
    progress = DaemonProgress();
    ++lives;
    outputs.progress(now(), format_text("daemon started, run %d", lives));
    return true;
}

void World::endLife(int signal, Next then, double afterSeconds) {
    state = Life::STOPPING;
    next = then;
    downSeconds = afterSeconds;
    killed = signal == SIGKILL;
    stopBeganNs = monotonic_ns();
    ::kill(life, signal);
}

void World::watchStop() {
    if (state != Life::STOPPING || life <= 0) return;
    const std::int64_t passed = monotonic_ns() - stopBeganNs;
    // A daemon that waits for an answer can't stop; a wire that is cut lets it go on.
    if (passed > STOP_PATIENCE_NS) closeConnections();
    if (passed <= STOP_LIMIT_NS || killed) return;
    faults.push_back("daemon: did not stop when asked, ended by force");
    if (good) reason = "the daemon did not stop";
    good = false;
    killed = true;
    ::kill(life, SIGKILL);
}

void World::closeConnections() {
    for (const CONNECTION &each : connections) ::close(each.fd);
    connections.clear();
    rmc.wire().forgetTransfer();
}

void World::reapLife() {
    int status = 0;
    if (life <= 0 || ::waitpid(life, &status, WNOHANG) != life) return;
    life = -1;
    closeConnections();
    if (control >= 0) ::close(control);
    control = -1;
    readLog();

    const bool clean = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (next == Next::UNEXPECTED) {
        faults.push_back("daemon: " + ending_of(status) + ", not asked to");
        LabOutputs::complain(faults.back() + "; its output is in " + root.path() +
                             "/var/log/orbd.out");
        next = Next::RESTART;
        downSeconds = RESTART_SECONDS;
        if (settings.once || ++unexpectedEnds == UNEXPECTED_ENDS_LIMIT) {
            state = Life::ENDED;
            finishing = true;
            good = false;
            reason = "the daemon does not run";
            return;
        }
    } else if (!clean && !killed) {
        faults.push_back("daemon: " + ending_of(status) + " when stopped");
        if (good) reason = "the daemon did not stop in order";
        good = false;
    }
    if (next == Next::NOTHING) {
        state = Life::ENDED;
        return;
    }
    if (next == Next::BOOT) root.forgetVolatileFiles();
    state = Life::DOWN;
    nextAt = now() + downSeconds;
    outputs.progress(now(), format_text("%s is down for %.0f s",
                                        next == Next::BOOT ? "host" : "daemon", downSeconds));
}

bool World::bootIfDue() {
    if (state != Life::DOWN || now() < nextAt) return true;
    if (next == Next::BOOT) {
        bootTime = time.nowNs() / NS;
        std::string error;
        if (!root.writeIdentity(scenario.host, bootTime, settings.realHost, error)) {
            LabOutputs::complain(error);
            return false;
        }
        outputs.progress(now(), "host boots");
    }
    return startLife();
}

void World::runTimeline() {
    while (!finishing && step < scenario.timeline.size()) {
        const SCENARIO_STEP &due = scenario.timeline[step];
        if (now() < due.at || expectations.inventories() < due.inventories ||
            expectations.events() < due.events || !stepLogSeen[step] ||
            (!due.newLog.empty() && !stepNewLogSeen))
            return;
        if (!stepReady) stepReady = now();
        if (now() < *stepReady + due.wait) return;
        std::string error;
        if (!runCommand(due.command, error)) {
            // A daemon that is on its way down or up is waited for.
            if (state != Life::RUNNING) return;
            finish(false, error);
            return;
        }
        ++step;
        stepReady.reset();
        stepNewLogSeen = false;
    }
}

bool World::runCommand(const std::string &line, std::string &error) {
    using Kind = LAB_COMMAND::Kind;
    LAB_COMMAND command;
    if (!parse_lab_command(line, command, error)) return false;
    if (command.kind != Kind::NOTHING && command.kind != Kind::HELP && command.kind != Kind::SHOW)
        outputs.progress(now(), "command: " + line);
    switch (command.kind) {
    case Kind::NOTHING:
        return true;
    case Kind::HELP:
        outputs.note(now(), lab_command_help(true));
        return true;
    case Kind::DOOR_BELL:
        rmc.wire().ringDoorBell();
        return true;
    case Kind::GENERIC_DOOR_BELL:
        rmc.wire().ringGenericDoorBell();
        return true;
    case Kind::RMC:
        rmc.behave(command.behaviour);
        // What it kept to itself goes out late, as from a controller that was busy.
        if (!command.behaviour.silent)
            for (CONNECTION &each : connections) each.withheld = false;
        return true;
    case Kind::SET:
        return setFact(command, error);
    case Kind::NIC:
        return changeNic(command, error);
    case Kind::FC:
    case Kind::HBA:
        return changeFc(command, error);
    case Kind::STORAGE:
        return changeStorage(command, error);
    case Kind::SHOW:
        outputs.note(now(), command.subject == "hba"
                                ? hba_calls_text(scenario.host.fc, root.factsFolder())
                                : received.shown(command.subject));
        return true;
    case Kind::QUIT:
        finish(true, "asked to end");
        return true;
    default:
        return runLifeCommand(command, error);
    }
}

bool World::runLifeCommand(const LAB_COMMAND &command, std::string &error) {
    if (state != Life::RUNNING) {
        error = "daemon: is not running at the moment";
        return false;
    }
    using Kind = LAB_COMMAND::Kind;
    if (command.kind == Kind::RESTART_DAEMON) {
        endLife(SIGTERM, Next::RESTART, RESTART_SECONDS);
    } else if (command.kind == Kind::CRASH_DAEMON) {
        endLife(SIGKILL, Next::RESTART, RESTART_SECONDS);
    } else if (command.kind == Kind::REBOOT_HOST) {
        endLife(SIGTERM, Next::BOOT, command.downSeconds);
    } else {
        endLife(SIGKILL, Next::BOOT, command.downSeconds);
    }
    return true;
}

bool World::changeNic(const LAB_COMMAND &command, std::string &error) {
    if (settings.realHost) {
        error = "nic " + command.subject + ": this machine's own adapters are in use";
        return false;
    }
    for (SCENARIO_NIC &each : scenario.host.nics) {
        if (each.name != command.subject) continue;
        if (command.value == "remove" || command.value == "add") {
            each.present = command.value == "add";
        } else {
            each.link = command.value;
        }
        return root.writeFacts(scenario, error);
    }
    error = "nic " + command.subject + ": no such adapter";
    return false;
}

bool World::changeFc(const LAB_COMMAND &command, std::string &error) {
    const bool isCall = command.kind == LAB_COMMAND::Kind::HBA;
    if (settings.realHost) {
        error = (isCall ? "hba " : "fc ") + command.subject +
                ": this machine's own adapters are in use";
        return false;
    }
    return change_fc(scenario.host.fc, command, error) && root.writeFacts(scenario, error);
}

bool World::changeStorage(const LAB_COMMAND &command, std::string &error) {
    if (settings.realHost) {
        error = "storage " + command.subject + ": this machine's own controllers are in use";
        return false;
    }
    if (!change_storage(scenario.host.storage, command, error)) return false;
    const std::string &name = find_controller(scenario.host.storage, command.subject)->name;
    // Whoever takes a controller out, puts it in or resets it anew ends a reset that runs.
    if (command.detail.empty() &&
        (command.value == "remove" || command.value == "add" || command.value == "reset"))
        std::erase_if(resets, [&](const RESET &each) { return each.controller == name; });
    if (command.value == "reset") resets.push_back({name, now() + command.downSeconds});
    return root.writeFacts(scenario, error) &&
           sysfs.change(scenario.host.storage, time.nowNs() / NS, error);
}

void World::endResets() {
    for (std::size_t i = 0; i < resets.size();) {
        if (resets[i].endsAt > now()) {
            ++i;
            continue;
        }
        const std::string line = "storage " + resets[i].controller + " add";
        resets.erase(resets.begin() + static_cast<std::ptrdiff_t>(i));
        std::string error;
        if (!runCommand(line, error)) LabOutputs::complain(error);
    }
}

bool World::setFact(const LAB_COMMAND &command, std::string &error) {
    const std::string &subject = command.subject, &value = command.value;
    if (subject == "ipmi") return root.setIpmiDevice(value == "on", error);
    if (settings.realHost) {
        error = "set " + subject + ": this machine's own facts are in use";
        return false;
    }
    SCENARIO_HOST &host = scenario.host;
    if (subject == "name") {
        host.name = value;
    } else if (subject == "os") {
        host.osName = value;
    } else if (subject == "version") {
        host.osVersion = value;
    } else if (subject == "memory") {
        host.memoryMBytes = read_decimal(value);
    } else if (subject == "free") {
        host.freeMBytes = read_decimal(value);
    } else if (subject == "esxtop") {
        scenario.esxtop = value;
    } else if (subject == "nics") {
        scenario.nicList = value;
    } else if (subject == "encoder") {
        scenario.encoder = value;
    } else if (subject == "address") {
        host.addresses.clear();
        std::istringstream list(value == "none" ? "" : value);
        for (std::string each; std::getline(list, each, ',');)
            host.addresses.push_back({format_text("vmk%zu", host.addresses.size()), each});
    }
    return root.writeFacts(scenario, error) &&
           root.writeIdentity(host, bootTime, settings.realHost, error);
}
