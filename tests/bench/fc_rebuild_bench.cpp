// A rebuild, and a look at the ports, of 32 Fibre Channel adapters of two ports, each in a slot of
// its own: what the daemon spends beside the vendor's library and the host's commands, which are
// answered in process, from memory.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>

#include "core/format_text.h"
#include "core/orbUtils.h"
#include "fc/FCResourceManager.h"
#include "fc/hba_loader.h"
#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "hostaccess/orbHostLibraries.h"
#include "support/SmbiosImage.h"
#include "support/fake_hba.h"
#include "support/quiet_world.h"

namespace {
constexpr unsigned ADAPTERS = 32;

/// A server with that many adapters, an encoder for their places and a vendor's library, all in
/// this process; its data files lie in a private directory.
class ManyAdapters final : public IorbHostFiles, public IorbHostCommands, public IorbHostLibraries {
public:
    ManyAdapters() {
        if (::mkdtemp(directory) == nullptr) std::abort();
        IorbHostFiles::replace(this);
        IorbHostCommands::replace(this);
        IorbHostLibraries::replace(this);

        SmbiosImage image;
        Bytes system(23, 0);
        system[22] = 1;
        image.add(1, system, {"PLATFORM-ID-A01"});
        std::vector<FAKE_HBA_ADAPTER> adapters(ADAPTERS);
        for (unsigned i = 0; i < ADAPTERS; ++i) {
            Bytes slot(13, 0);
            slot[0] = 1;
            slot[11] = static_cast<std::uint8_t>(i + 1);
            image.add(9, slot, {format_text("PCI r001u01p0i%02u", i + 1)});
            adapters[i].name = "com.example-FC900X-" + std::to_string(i);
            adapters[i].wwnEnd = static_cast<std::uint8_t>(i + 1);
            adapters[i].ports.resize(2);
            topology += format_text("   Address: 0000:%02x:00.0\n   VMkernel Name: vmhba%u\n",
                                    i + 1, i + 1);
            names += format_text("   Adapter: vmhba%u\n   Node Name: 20:00:02:00:5e:00:00:%02x\n",
                                 i + 1, i + 1);
        }
        FakeHba::get().setAdapters(adapters);
        FakeHba::get().keepCalls(false);
        write(SMBIOS_DEVICE, image.text());
        write(HBA_CONF_FILE, "com.example.fclib\t/libexamplefc.so\n");
        orbUtils::initializeSMBIOS();
        orbUtils::initGeoIDMap();
        orbUtils::initFcInfoMap();
        orbUtils::initFcNameMap();
    }
    ~ManyAdapters() override { std::filesystem::remove_all(directory); }
    ManyAdapters(const ManyAdapters &) = delete;
    ManyAdapters &operator=(const ManyAdapters &) = delete;

    std::size_t lines = 0;

    std::string map(const std::string &hostPath) override {
        return directory + hostPath.substr(hostPath.rfind('/'));
    }

    ORB_COMMAND_RESULT system(const std::string &line) override {
        const bool isTopology = line.find("hardware pci list") != std::string::npos;
        std::ofstream(line.substr(line.rfind(' ') + 1)) << (isTopology ? topology : names);
        return {0, 0};
    }
    std::FILE *popen(const std::string &, int *err) override {
        ++lines;
        *err = 0;
        char *const answer = makersId;
        return ::fmemopen(answer, std::strlen(answer), "r");
    }
    int pclose(std::FILE *stream) override { return std::fclose(stream); }

    void *open(const char *, int) override { return this; }
    void *symbol(void *, const char *name) override {
        const std::string_view symbol(name);
        if (symbol == "HBA_RegisterLibrary")
            return reinterpret_cast<void *>(FakeHba::registerLibrary);
        if (symbol == "physloc_init_data") return reinterpret_cast<void *>(prepare);
        if (symbol == "physloc_encode") return reinterpret_cast<void *>(encode);
        std::abort();
    }
    int close(void *) override { return 0; }
    char *error() override { return nullptr; }

private:
    void write(const std::string &hostPath, const std::string &content) {
        std::ofstream(map(hostPath), std::ios::binary) << content;
    }
    static void prepare(void *, int) {}
    static int encode(void *, std::uint64_t *value) {
        *value = 0x0123456789ABCDEF;
        return 0;
    }

    char directory[32] = "/tmp/orb-fc-bench-XXXXXX";
    char makersId[8] = "0x8086\n";
    std::string topology, names;
};

ManyAdapters &host() {
    static const QuietWorld quiet; // both to the end of the process
    static ManyAdapters one;
    return one;
}

/// Fails the bench unless every adapter is there, online, with place and maker.
void check(benchmark::State &state, std::size_t linesBefore) {
    std::vector<Json::Value> objects;
    (void)FCResourceManager::getInstance().getInventoryJsonObject(objects);
    std::size_t whole = 0;
    for (const Json::Value &object : objects)
        whole += object["Oem"]["PhysicalLocation"] == "0123456789ABCDEF" &&
                 object["Manufacturer"] == "Intel Corporation" &&
                 object["Status"]["State"] == "Online";
    if (whole != ADAPTERS) state.SkipWithError("adapters are missing");
    state.counters["adapters"] = static_cast<double>(whole);
    state.counters["shellLines"] =
        static_cast<double>(host().lines - linesBefore) / static_cast<double>(state.iterations());
}

void rebuild(benchmark::State &state) {
    FCResourceManager &manager = (void(host()), FCResourceManager::getInstance());
    manager.cacheBuild(); // later ones compare
    const std::size_t before = host().lines;
    for (auto _ : state) manager.cacheBuild();
    check(state, before);
}
void poll(benchmark::State &state) {
    FCResourceManager &manager = (void(host()), FCResourceManager::getInstance());
    manager.cacheBuild();
    const std::size_t before = host().lines;
    for (auto _ : state)
        if (manager.waitOnPortState(0)) state.SkipWithError("a port has changed");
    check(state, before);
}
// One round: what takes the outside's place goes away with it.
BENCHMARK(rebuild)->Unit(benchmark::kMicrosecond)->Iterations(1000);
BENCHMARK(poll)->Unit(benchmark::kMicrosecond)->Iterations(1000);
} // namespace

BENCHMARK_MAIN();
