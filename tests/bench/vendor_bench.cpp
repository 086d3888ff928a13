#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "platform/PCIeManufacturerResolver.h"
#include "platform/orbPCIVendorsMap.h"
#include "support/quiet_world.h"

namespace {
/// All ids in an order that no cache foresees.
std::vector<std::string> shuffled_ids() {
    std::vector<std::string> ids;
    for (const auto &[id, name] : orbPCIVendorsMap) ids.push_back(id);
    std::shuffle(ids.begin(), ids.end(), std::mt19937(1));
    return ids;
}

void lookUpVendor(benchmark::State &state) {
    const std::vector<std::string> ids = shuffled_ids();
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(orbPCIVendorsMap.find(ids[next]));
        if (++next == ids.size()) next = 0;
    }
}
BENCHMARK(lookUpVendor);

/// The name of a card whose sub vendor is known, as the caller gets it.
void nameCardMaker(benchmark::State &state) {
    static QuietWorld world;
    constexpr int inSlot = 3;
    const std::string address = "0000:c3:00.0";
    std::vector<std::string> ids = shuffled_ids();
    std::string manufacturer;
    std::size_t next = 0;
    for (auto _ : state) {
        PCIeManufacturerResolver::fetchManufacturerAt(inSlot, address, ids[next], manufacturer);
        benchmark::DoNotOptimize(manufacturer.data());
        if (++next == ids.size()) next = 0;
    }
}
BENCHMARK(nameCardMaker);
} // namespace

BENCHMARK_MAIN();
