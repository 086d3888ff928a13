#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "core/orbUtils.h"
#include "support/SmbiosImage.h"
#include "support/quiet_world.h"

namespace {
constexpr int SLOTS = 1000, DEVICES = 1000;

/// A world whose firmware tells of 2,000 places, which fills the table's 64 KiB nearly.
class FirmwareWorld {
public:
    FirmwareWorld() {
        SmbiosImage image;
        Bytes system(23, 0);
        system[22] = 1;
        image.add(1, system, {"PLATFORM-ID-A01"});
        const auto low = [](int value) { return static_cast<std::uint8_t>(value); };
        for (int i = 0; i < SLOTS; ++i) {
            Bytes slot(13, 0);
            slot[0] = 1;
            slot[11] = low(i / 8);
            slot[12] = low(i % 8);
            image.add(9, slot, {"PCI r001u01p0i03"});
        }
        for (int i = 0; i < DEVICES; ++i)
            image.add(41, {1, 0x85, 1, 1, 0, low(i / 8), low(i % 8)}, {"PCI r001u01p0i03"});
        files.write(image.text());
    }
    /// What initGeoIDMap() costs after the firmware's table was read.
    void build(benchmark::State &state) {
        for (auto _ : state) {
            state.PauseTiming();
            orbUtils::initializeSMBIOS();
            state.ResumeTiming();
            orbUtils::initGeoIDMap();
        }
        state.counters["records"] = SLOTS + DEVICES;
    }

private:
    class Files final : public IorbHostFiles {
    public:
        Files() {
            char name[] = "/tmp/orb-bench-XXXXXX";
            if (::mkdtemp(name) == nullptr) std::abort();
            folder = name;
            replace(this);
        }
        ~Files() override {
            replace(nullptr);
            std::filesystem::remove_all(folder);
        }
        std::string map(const std::string &path) override {
            return folder + "/" + std::filesystem::path(path).filename().string();
        }
        void write(const std::string &text) {
            std::ofstream(map(SMBIOS_DEVICE), std::ios::binary) << text;
        }

    private:
        std::string folder;
    };
    QuietWorld quiet;
    Files files;
};

/// The daemon builds the table once in its life, with an empty map.
void buildPlaces(benchmark::State &state) {
    static FirmwareWorld world;
    world.build(state);
}
BENCHMARK(buildPlaces)->Name("buildPlaces/first")->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(buildPlaces)->Name("buildPlaces/again")->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
