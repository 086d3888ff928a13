#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "physloc/smbios_decode.h"

namespace {
/// A full table: 2,000 structures in just under 64 KiB, mostly slots and on-board devices.
std::vector<std::uint8_t> full_table() {
    std::vector<std::uint8_t> table;
    const auto add = [&table](std::uint8_t type, std::size_t length, const char *text) {
        std::vector<std::uint8_t> structure(length, 1);
        structure[0] = type;
        structure[1] = static_cast<std::uint8_t>(length);
        table.insert(table.end(), structure.begin(), structure.end());
        for (; *text != '\0'; ++text) table.push_back(static_cast<std::uint8_t>(*text));
        table.insert(table.end(), {0, 0});
    };
    add(1, 27, "Example");
    for (int i = 0; i < 1000; ++i) add(9, 17, "r001u01p0i03x");
    for (int i = 0; i < 999; ++i) add(41, 11, "PCI r001u01p0i03 1x");
    return table;
}

void decodeThreeTypes(benchmark::State &state) {
    const std::vector<std::uint8_t> table = full_table();
    for (auto _ : state) {
        const auto decodeAll = [&table](auto decode, int type, auto record) {
            std::vector<decltype(record)> records(
                static_cast<std::size_t>(count_smbios_structures(table, type)));
            std::size_t index = 0;
            orbSmbiosWalk walk(table);
            for (auto structure = walk.next(); !structure.empty(); structure = walk.next())
                if (structure[0] == type) (void)decode(records.data(), structure, index++);
            benchmark::DoNotOptimize(records.data());
        };
        decodeAll(DmiSystemInfo_decode, 1, DmiSystemInfo{});
        decodeAll(DmiSystemSlot_Decode, 9, DmiSystemSlot{});
        decodeAll(DmiOnboardDevicesEx_decode, 41, DmiOnboardDevicesEx{});
    }
    state.counters["tableBytes"] = static_cast<double>(table.size());
}
BENCHMARK(decodeThreeTypes)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
