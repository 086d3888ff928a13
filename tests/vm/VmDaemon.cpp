#include "VmDaemon.h"

#include <cstdlib>
#include <sstream>

#include "VmFailure.h"
#include "core/json_text.h"

namespace {
constexpr const char *STATUS_FILE = "/run/orbd.status", *STARTED_WITH = "/run/orbd.members",
                     *INSTALLED = "/run/orb.conf.installed";
} // namespace

Json::Value VmDaemon::talkative() {
    Json::Value members;
    members["LoggingLevel"] = "Info";
    members["EnableDebugLog"] = true;
    members["ORBLogLocation"] = LOG;
    members["DebugLogLocation"] = LOG;
    members["IPMIDoorBellMonitorInterval"] = 1;
    // Nine passes must last until the boot report is through and the host's own facts are there,
    // which takes 20 seconds: behind the ninth comes the first send, of whatever there is, and it
    // opens the gate for all events.
    members["InventoryQueryIntervalInSeconds"] = 3;
    return members;
}

void VmDaemon::configureAsInstalled() {
    const std::string copy = shell_word(INSTALLED);
    machine.ask("[ -e " + copy + " ] || cp " + CONFIG + " " + copy);
    machine.ask("cp " + copy + " " + CONFIG);
}

void VmDaemon::start(const Json::Value &members) {
    configureAsInstalled();
    Json::Value config;
    std::string why;
    if (!parse_json(machine.ask(std::string("cat ") + CONFIG), config, &why))
        throw VmFailure(std::string(CONFIG) + ": " + why);
    for (const std::string &key : members.getMemberNames()) config[key] = members[key];
    machine.write(CONFIG, compact_json(config));
    machine.write(STARTED_WITH, compact_json(members));
    machine.ask(std::string("rm -f ") + LOG);
    machine.ask("orb-service start");
    if (!machine.waitFor(std::string("[ -s ") + PID_FILE + " ] && kill -0 $(cat " + PID_FILE + ")",
                         START_LIMIT))
        throw VmFailure("the daemon does not start: " + printed());
}

bool VmDaemon::isRunning() {
    return machine.run(std::string("kill -0 $(cat ") + PID_FILE + ")").status == 0;
}

bool VmDaemon::runsWith(const Json::Value &members) {
    return isRunning() &&
           machine.run(std::string("cat ") + STARTED_WITH).text == compact_json(members);
}

std::string VmDaemon::pid() {
    return machine.ask(std::string("cat ") + PID_FILE);
}

int VmDaemon::stop() {
    machine.ask("orb-service stop", STOP_LIMIT);
    if (!machine.waitFor(std::string("[ -s ") + STATUS_FILE + " ]", START_LIMIT))
        throw VmFailure("the daemon leaves no exit status");
    return std::atoi(machine.ask(std::string("cat ") + STATUS_FILE).c_str());
}

void VmDaemon::kill() {
    machine.ask("kill -KILL " + pid());
    if (!machine.waitFor(std::string("[ -s ") + STATUS_FILE + " ]", START_LIMIT))
        throw VmFailure("the daemon outlives SIGKILL");
}

void VmDaemon::makeSure() {
    if (isRunning()) kill();
    machine.ask(std::string("rm -f ") + RUN_STATE);
}

std::string VmDaemon::printed() {
    return machine.ask("cat /run/orbd.out");
}

Json::Value VmDaemon::runState() {
    std::istringstream lines(machine.ask(std::string("cat ") + RUN_STATE));
    Json::Value state(Json::objectValue);
    std::string key;
    for (Json::Int64 value = 0; lines >> key >> value;) state[key] = value;
    return state;
}

std::int64_t VmDaemon::bootTime() {
    return std::atoll(machine.ask("echo $(($(date +%s) - $(cut -d. -f1 /proc/uptime)))").c_str());
}

std::size_t VmDaemon::mark(const std::string &log) {
    return std::strtoul(
        machine.ask("stat -c %s " + shell_word(log) + " 2>/dev/null || echo 0").c_str(), nullptr,
        10);
}

std::string VmDaemon::since(std::size_t mark, const std::string &log) {
    return machine.ask("tail -c +" + std::to_string(mark + 1) + " " + shell_word(log));
}

std::string VmDaemon::toldSince(std::size_t mark) {
    return machine.ask("tail -c +" + std::to_string(mark + 1) + " " + LOG +
                       " | grep -vE 'DB service thread up|Checking IPMI door bell|door bell: $'"
                       " | tail -n 100");
}

bool VmDaemon::logHolds(const std::string &text) {
    return machine.run("grep -qF -- " + shell_word(text) + " " + LOG).status == 0;
}

bool VmDaemon::awaitLog(const std::string &text, std::size_t mark, SECONDS limit,
                        const std::string &log) {
    return machine.waitFor("tail -c +" + std::to_string(mark + 1) + " " + shell_word(log) +
                               " | grep -qF -- " + shell_word(text),
                           limit);
}

bool VmDaemon::awaitPolls(unsigned count, std::size_t mark, SECONDS limit) {
    return machine.waitFor("[ $(tail -c +" + std::to_string(mark + 1) + " " + LOG +
                               " | grep -c 'from door bell') -ge " + std::to_string(count) + " ]",
                           limit);
}
