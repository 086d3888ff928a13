// The road from the managers' objects to the document's text, with 100,000 objects.
#include <string>

#include <benchmark/benchmark.h>

#include "core/json_text.h"
#include "reporting/orbJsonAggregator.h"
#include "support/quiet_world.h"
#include "unit/reporting/FakeManagers.h"

namespace {
constexpr int OBJECTS = 100'000;

/// An object like a drive's, numbered.
Json::Value drive(int number) {
    const std::string id = std::to_string(1'000'000 + number);
    Json::Value object;
    object["AssetTag"] = "";
    object["BlockSizeBytes"] = 512;
    object["CapacityBytes"] = Json::UInt64{1'920'383'410'176};
    object["Description"] = "Solid state drive behind a RAID controller";
    object["FailurePredicted"] = false;
    object["FirmwareVersion"] = "HPD" + id.substr(4);
    object["Id"] = number;
    object["Location"]["Bay"] = number % 24;
    object["Location"]["Enclosure"] = number / 24;
    object["Manufacturer"] = "Example \"Drives\" Ltd.";
    object["MediaType"] = "SSD";
    object["Model"] = "EX1920S4-" + id;
    object["PartNumber"] = "P0" + id;
    object["PhysicalLocation"] = "FFFFFFFF0" + id;
    object["PredictedMediaLifeLeftPercent"] = 97.5;
    object["Protocol"] = "SAS";
    object["SerialNumber"] = "S3R1ALNUM" + id;
    object["Status"]["Health"] = "OK";
    object["Status"]["State"] = "Online";
    object["TemperatureCelsius"] = 31;
    return object;
}

struct Fixture {
    FakeManagers managers;
    Fixture() {
        const auto fill = [](std::vector<Json::Value> &objects, int count) {
            for (int i = 0; i < count; ++i) objects.push_back(drive(i));
        };
        fill(managers.fc.objects, OBJECTS / 20);
        fill(managers.host.objects, 1);
        fill(managers.nic.objects, OBJECTS / 20);
        fill(managers.storage.byKind[1], OBJECTS / 20);
        fill(managers.storage.byKind[2], OBJECTS * 3 / 5);
        fill(managers.storage.byKind[3], OBJECTS / 5);
        fill(managers.storage.byKind[4], OBJECTS / 20);
    }
};

void collect(benchmark::State &state) {
    orbJsonAggregator aggregator;
    for (auto _ : state) aggregator.collectDocument();
    const std::size_t bytes = compact_json(aggregator.document()).size();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(collect)->Unit(benchmark::kMillisecond);

void serialise(benchmark::State &state) {
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    std::size_t bytes = 0;
    for (auto _ : state) bytes = compact_json(aggregator.document()).size();
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(serialise)->Unit(benchmark::kMillisecond);

void collect_and_serialise(benchmark::State &state) {
    orbJsonAggregator aggregator;
    std::size_t bytes = 0;
    for (auto _ : state) {
        aggregator.collectDocument();
        bytes = compact_json(aggregator.document()).size();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
    state.counters["objects"] = OBJECTS;
    state.counters["document_bytes"] = static_cast<double>(bytes);
}
BENCHMARK(collect_and_serialise)->Unit(benchmark::kMillisecond);
} // namespace

int main(int argc, char **argv) {
    QuietWorld world;
    Fixture objects;
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
