// vm_bench KERNEL IMAGE FOLDER MESSAGES: boots a machine and lets each tool send the messages in
// turns. The time runs at the controller. A tool that fails, a message that is lost and a rule of
// the transfer that is broken end it with status 1; no rate does.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "VmFailure.h"
#include "VmMachine.h"
#include "VmRmc.h"
#include "bench/vm/bench_table.h"
#include "bench/vm/raw_requests.h"

namespace {
constexpr std::size_t ROUNDS = 3;
constexpr VmMachine::SECONDS SEND_LIMIT{120};

// Whether an answer's interrupt has to wake the other processor makes more difference than the tool
// does, and where a tool starts is chance. So all of them share the processor with the interrupt.
constexpr char ON_THE_INTERRUPTS_PROCESSOR[] = "taskset 1 ";
constexpr char MOVE_INTERRUPT[] = "echo 1 >/proc/irq/5/smp_affinity";

struct CANDIDATE {
    const char *name, *command;
};
// What the tools print costs them least this way.
const CANDIDATE CANDIDATES[] = {
    {"orb", "/usr/local/bin/vm_transfer send /tmp/document"},
    {"ipmitool exec", "/usr/local/bin/ipmitool -I open exec /tmp/ipmitool.list >/dev/null"},
    {"ipmi-raw --file",
     "/usr/local/bin/ipmi-raw --driver-type=OPENIPMI --file=/tmp/freeipmi.list >/dev/null"},
};

double one_run(VmMachine &machine, VmRmc &rmc, const CANDIDATE &candidate,
               const std::string &document, std::size_t messages) {
    rmc.forget();
    rmc.server().resetStatistics();
    machine.ask(std::string(ON_THE_INTERRUPTS_PROCESSOR) + candidate.command, SEND_LIMIT);

    const std::string who = std::string(candidate.name) + ": ";
    for (const std::string &violation : rmc.violations()) throw VmFailure(who + violation);
    const std::vector<RMC_DOCUMENT> received = rmc.inventories();
    const BMC_STATISTICS statistics = rmc.server().statistics();
    if (received.size() != 1 || received.front().text != document ||
        statistics.transferMessages != messages)
        throw VmFailure(who + std::to_string(statistics.transferMessages) + " of " +
                        std::to_string(messages) + " messages came, and " +
                        std::to_string(received.size()) + " documents");
    return bench_rate(
        messages, std::chrono::nanoseconds(statistics.lastTransferNs - statistics.firstTransferNs));
}

void bench(const VM_PLACES &places, std::size_t messages) {
    VmRmc rmc(ORB_SOURCE_DIR "/schema");
    RMC_BEHAVIOUR behaviour;
    behaviour.force.handle = BENCH_HANDLE;
    rmc.behave(behaviour);

    VmMachine machine(places, {}, rmc.port());
    machine.boot();
    machine.ask("modprobe ipmi_si && modprobe ipmi_devintf");
    machine.ask(MOVE_INTERRUPT);
    machine.ask("/usr/local/bin/vm_transfer write " + std::to_string(messages) + " /tmp",
                SEND_LIMIT);
    const std::string document = bench_document(messages);

    std::vector<BENCH_TOOL> tools;
    for (const CANDIDATE &candidate : CANDIDATES) tools.push_back({candidate.name, {}});
    // Each round begins with another tool, so that none always has the same one before it.
    for (std::size_t round = 0; round < ROUNDS; ++round)
        for (std::size_t turn = 0; turn < tools.size(); ++turn) {
            const std::size_t which = (round + turn) % tools.size();
            tools[which].messagesPerSecond.push_back(
                one_run(machine, rmc, CANDIDATES[which], document, messages));
        }
    machine.end();

    std::cout << "An inventory transfer of " << messages << " messages of " << RMC_MESSAGE_BYTES
              << " bytes, and the same as raw requests, over the\n"
                 "OpenIPMI driver in one machine, each tool on the processor that has the "
                 "interrupt; from\n"
                 "the first message's arrival at the controller to the last one's.\n"
              << bench_table(tools) << std::flush;
}
} // namespace

int main(int argc, char **argv) {
    if (argc != 5) {
        std::cerr << "usage: vm_bench KERNEL IMAGE FOLDER MESSAGES\n";
        return 2;
    }
    try {
        bench({argv[1], argv[2], argv[3]}, std::strtoul(argv[4], nullptr, 10));
    } catch (const std::exception &failure) {
        std::cerr << "vm_bench: " << failure.what() << '\n';
        return 1;
    }
    return std::cout ? 0 : 1;
}
