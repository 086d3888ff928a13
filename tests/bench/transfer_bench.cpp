// What a transfer costs us, beside the controller's own time: the device answers at once.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

#include "bench/counting_heap.h"
#include "hostaccess/orbHostDevices.h"
#include "reporting/ipmi_wire.h"
#include "reporting/orbipmi.h"
#include "reporting/rmc_transfer.h"
#include "support/quiet_world.h"

namespace {
constexpr std::size_t MIB = 1024 * 1024;

/// Accepts every message with handle 1 and counts them.
class InstantDevice final : public IorbHostDevices {
public:
    InstantDevice() { replace(this); }
    std::size_t messages = 0;

    ORB_SYSCALL_RESULT open(const char *, int) override { return {7, 0}; }
    ORB_SYSCALL_RESULT datagramSocket() override { return {-1, EAFNOSUPPORT}; }
    ORB_SYSCALL_RESULT close(int) override { return {0, 0}; }
    ORB_SYSCALL_RESULT waitReadable(int) override { return {1, 0}; }
    ORB_SYSCALL_RESULT ioctl(int, unsigned long request, void *arg) override {
        if (request == IPMICTL_SEND_COMMAND) {
            ++messages;
            return {0, 0};
        }
        auto *received = static_cast<ORB_IPMI_RECEIVED *>(arg);
        const std::uint8_t answer[] = {0, 0, 1, 0, 0};
        std::memcpy(received->message.data, answer, sizeof answer);
        received->message.dataLength = sizeof answer;
        return {0, 0};
    }
};
InstantDevice *device = nullptr;

/// The messages of one argument, each from the cut to the decoded answer.
void transfer(benchmark::State &state) {
    const std::string argument(static_cast<std::size_t>(state.range(0)), 'x');
    ipmi::IPMIUtils ipmi;
    unsigned char transferStatus = 0, exitStatus = 0;
    const std::size_t messagesBefore = device->messages;
    const std::size_t allocationsBefore = counting_heap::allocations;
    for (auto _ : state) {
        if (ipmi.RMC_CLI_Exec("WriteInventory", argument.c_str(), &transferStatus, &exitStatus) !=
            1)
            state.SkipWithError("transfer failed");
    }
    const auto messages = static_cast<double>(device->messages - messagesBefore);
    state.SetBytesProcessed(state.iterations() * state.range(0));
    state.counters["s_per_message"] =
        benchmark::Counter(messages, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["allocations_per_message"] =
        static_cast<double>(counting_heap::allocations - allocationsBefore) / messages;
}
BENCHMARK(transfer)->Arg(100)->Arg(4096)->Arg(MIB);

/// What a whole execution holds at most, beside the argument itself.
void execution_memory(benchmark::State &state) {
    const std::string argument(static_cast<std::size_t>(state.range(0)), 'x');
    const std::size_t before = counting_heap::inUse;
    counting_heap::resetPeak();
    for (auto _ : state) {
        if (ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", argument) != 0)
            state.SkipWithError("transfer failed");
    }
    state.counters["peak_bytes_above_argument"] = static_cast<double>(counting_heap::peak - before);
}
BENCHMARK(execution_memory)->Arg(MIB);

/// The cut alone.
void cut_messages(benchmark::State &state) {
    const std::string argument(MIB, 'x');
    std::size_t messages = 0;
    for (auto _ : state) {
        orbRmcTransfer cut("WriteInventory", argument);
        RMC_MESSAGE message;
        for (; !cut.done(); ++messages) {
            cut.next(1, message);
            benchmark::DoNotOptimize(message);
        }
    }
    state.counters["s_per_message"] = benchmark::Counter(
        static_cast<double>(messages), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(cut_messages);
} // namespace

int main(int argc, char **argv) {
    QuietWorld world;
    InstantDevice instant;
    device = &instant;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
