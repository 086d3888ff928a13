// A walk over the SCSI hosts of a very large server, and a poll: 32 controllers of 8 hosts, and
// 10,000 hosts that stand on no PCI card. The tree lies in a private directory, so the walk pays
// for real file system calls; "own" is the processor time that is not the kernel's.
#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "core/format_text.h"
#include "storage/orbControllerList.h"
#include "storage/orbStorageControllerFactory.h"
#include "storage/orbStorageControllerInfo.h"
#include "support/quiet_world.h"

namespace {
constexpr int CONTROLLERS = 32, HOSTS_EACH = 8, OTHER_HOSTS = 10000;

class LargeServer final : public QuietWorld {
public:
    LargeServer() {
        if (::mkdtemp(directory) == nullptr) std::abort();
        base = std::string(directory);
        std::filesystem::create_directories(base + "/sys/class/scsi_host");
        std::filesystem::create_directories(base + "/sys/class/scsi_device");
        int host = 0;
        for (int i = 0; i < CONTROLLERS; ++i) {
            const std::string card =
                format_text("/sys/devices/pci0000:%02x/0000:%02x:00.0/", i, i + 64);
            for (int j = 0; j < HOSTS_EACH; ++j) addHost(card, host++);
            fill(card + "device", "0x0097\n");
            fill(card + "vendor", "0x1000\n");
            fill(card + "subsystem_device", "0x30e0\n");
            fill(card + "subsystem_vendor", "0x1000\n");
        }
        // They are links to one and the same host, so that the tree is made and gone in a moment.
        addHost("/sys/devices/pseudo_0/adapter0/", host++);
        for (int i = 1; i < OTHER_HOSTS; ++i)
            std::filesystem::create_symlink(
                format_text("host%d", CONTROLLERS * HOSTS_EACH),
                format_text("%s/sys/class/scsi_host/host%d", directory, host++));
    }
    ~LargeServer() { std::filesystem::remove_all(directory); }

    std::string map(const std::string &hostPath) override {
        return base.empty() ? QuietWorld::map(hostPath) : base + hostPath;
    }

private:
    void fill(const std::string &path, const char *text) { std::ofstream(base + path) << text; }
    void addHost(const std::string &parent, int number) {
        const std::string name = "host" + std::to_string(number);
        const std::string folder = parent + name + "/scsi_host/" + name;
        std::filesystem::create_directories(base + folder);
        std::filesystem::create_symlink("../../../" + name, base + folder + "/device");
        std::filesystem::create_symlink("../.." + folder.substr(4),
                                        base + "/sys/class/scsi_host/" + name);
        fill(folder + "/state", "running\n");
    }

    char directory[40] = "/tmp/orb-storage-bench-XXXXXX";
    std::string base;
};

double own_seconds() {
    rusage usage{};
    (void)::getrusage(RUSAGE_SELF, &usage); // can't fail for the own process
    return static_cast<double>(usage.ru_utime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec) / 1e6;
}

void tell_own(benchmark::State &state, double before) {
    state.counters["ownMs"] =
        (own_seconds() - before) * 1000 / static_cast<double>(state.iterations());
}

orbStorageControllerFactory &factory() {
    static const LargeServer server;
    return *orbStorageControllerFactory::getInstance();
}

void discovery(benchmark::State &state) {
    orbControllerList controllers;
    (void)factory().discoverControllers(controllers.vector()); // always 0; later ones find
    const double before = own_seconds();
    for (auto _ : state) {
        controllers.clear();
        (void)factory().discoverControllers(controllers.vector()); // as above
    }
    tell_own(state, before);
    if (controllers.vector().size() != CONTROLLERS) state.SkipWithError("controllers are missing");
}

/// The factory's look at the folders, and the list of its controllers for their polls.
void poll(benchmark::State &state) {
    orbControllerList controllers;
    (void)factory().discoverControllers(controllers.vector()); // always 0
    const double before = own_seconds();
    for (auto _ : state) {
        controllers.clear();
        factory().poll();
        factory().getControllers(255, controllers.vector());
        for (IorbStorageController *const controller : controllers) controller->poll();
    }
    tell_own(state, before);
    if (controllers.vector().size() != CONTROLLERS) state.SkipWithError("controllers are missing");
}

/// The same where the controllers have their ports' states and look at them anew.
void pollOfPorts(benchmark::State &state) {
    orbControllerList controllers;
    (void)factory().discoverControllers(controllers.vector()); // always 0
    std::size_t ports = 0;
    for (IorbStorageController *const controller : controllers) {
        orbStorageControllerInfo info;
        (void)controller->discoverInventory(info); // always 0 for these
        (void)controller->enableEvents();          // none is removed
        ports += info.getControllerPortListSize();
    }
    if (ports != CONTROLLERS * HOSTS_EACH) state.SkipWithError("ports are missing");
    const double before = own_seconds();
    for (auto _ : state) {
        factory().poll();
        for (IorbStorageController *const controller : controllers) controller->poll();
    }
    tell_own(state, before);
}
BENCHMARK(discovery)->Unit(benchmark::kMillisecond);
BENCHMARK(poll)->Unit(benchmark::kMillisecond);
BENCHMARK(pollOfPorts)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
