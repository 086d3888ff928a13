// A rebuild of the list of 64 Ethernet adapters, apart from the time that the host's commands take:
// they are answered in process, from memory.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "hostaccess/orbHostCommands.h"
#include "hostaccess/orbHostFiles.h"
#include "network/NICResourceManager.h"
#include "support/quiet_world.h"

namespace {
constexpr int ADAPTERS = 64;

/// Answers as a host with many adapters would; its data files lie in a private directory.
class ManyAdapters final : public IorbHostFiles, public IorbHostCommands {
public:
    ManyAdapters() {
        if (::mkdtemp(directory) == nullptr) std::abort();
        table = "Name PCI Device Driver\n---- ----------\n";
        for (int i = 0; i < ADAPTERS; ++i) {
            char row[160];
            std::snprintf(
                row, sizeof row,
                "vmnic%d  0000:%02x:00.0  igbn    Up            Up            1000  Full  "
                "  02:00:5e:10:20:30  1500  Intel Corporation I350\n",
                i, static_cast<unsigned>(i) & 0xFF);
            table += row;
        }
        IorbHostFiles::replace(this);
        IorbHostCommands::replace(this);
    }
    ~ManyAdapters() override { ::rmdir(directory); }
    ManyAdapters(const ManyAdapters &) = delete;
    ManyAdapters &operator=(const ManyAdapters &) = delete;

    std::size_t lines = 0;

    std::string map(const std::string &hostPath) override {
        return directory + hostPath.substr(hostPath.rfind('/'));
    }
    ORB_COMMAND_RESULT system(const std::string &line) override {
        ++lines;
        std::ofstream(line.substr(line.rfind(' ') + 1), std::ios::app) << table;
        return {0, 0};
    }
    std::FILE *popen(const std::string &line, int *err) override {
        ++lines;
        *err = 0;
        const char *answer = "";
        if (line.find("Firmware") != std::string::npos)
            answer = "         Firmware Version: 1.63.0:0x800009fa\n";
        else if (line.find("Cable") != std::string::npos)
            answer = "   Cable Type: Twisted Pair\n";
        else if (line.find("SubVendor") != std::string::npos)
            answer = "   SubVendor ID: 0xfff0\n   SubDevice ID: 0x0001\n";
        else
            answer = "\n";
        return ::fmemopen(const_cast<char *>(answer), std::strlen(answer), "r");
    }
    int pclose(std::FILE *stream) override { return std::fclose(stream); }

private:
    char directory[32] = "/tmp/orb-nic-bench-XXXXXX";
    std::string table;
};

void rebuild(benchmark::State &state) {
    static const QuietWorld quiet; // both to the end of the process
    static ManyAdapters host;
    NICResourceManager &manager = NICResourceManager::getInstance();
    manager.cacheBuild(); // later ones know the sub-ids and compare
    const std::size_t before = host.lines;
    for (auto _ : state) manager.cacheBuild();
    std::vector<Json::Value> objects;
    (void)manager.getInventoryJsonObject(objects);
    if (objects.size() != ADAPTERS) state.SkipWithError("adapters are missing");
    state.counters["adapters"] = static_cast<double>(objects.size());
    state.counters["shellLines"] =
        static_cast<double>(host.lines - before) / static_cast<double>(state.iterations());
}
// One round: what takes the outside's place goes away with it.
BENCHMARK(rebuild)->Unit(benchmark::kMicrosecond)->Iterations(200);
} // namespace

BENCHMARK_MAIN();
