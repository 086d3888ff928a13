// The adapters' loader: finding the library of a handle, and polls as the manager makes them, with
// real libraries and the host's own linker.
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <benchmark/benchmark.h>

#include "fc/hba_loader.h"
#include "hostaccess/orbHostFiles.h"

namespace {
constexpr int POLLS_OF_A_YEAR = 365 * 24 * 3600 / 10;

/// An hba.conf in a private directory that names as many libraries, all copies of the tests' one.
class VendorHost final : public IorbHostFiles {
public:
    explicit VendorHost(std::size_t libraries) {
        if (::mkdtemp(directory) == nullptr) std::abort();
        std::ofstream conf(map(HBA_CONF_FILE));
        for (std::size_t index = 0; index < libraries; ++index) {
            const std::string path = std::string(directory) + "/" + std::to_string(index) + ".so";
            std::filesystem::copy_file(HBA_VENDOR_LIBRARY, path);
            conf << "com.example.fclib" << index << "\t" << path << "\n";
        }
        IorbHostFiles::replace(this);
    }
    ~VendorHost() override {
        (void)HBA_FreeLibrary(); // for the next one's rows to be its own
        librarytable = {};
        IorbHostFiles::replace(nullptr);
        std::filesystem::remove_all(directory);
    }
    VendorHost(const VendorHost &) = delete;
    VendorHost &operator=(const VendorHost &) = delete;

    std::string map(const std::string &hostPath) override {
        return directory + hostPath.substr(hostPath.rfind('/'));
    }

private:
    char directory[32] = "/tmp/orb-hba-bench-XXXXXX";
};

/// One poll: everything is loaded again, each adapter is opened and asked.
HBA_UINT32 poll() {
    if (HBA_LoadLibrary() != HBA_STATUS_OK) return 0;
    const HBA_UINT32 number = HBA_GetNumberOfAdapters();
    for (HBA_UINT32 index = 0; index < number; ++index) {
        char name[HBA_ADAPTER_NAME_BYTES] = {};
        (void)HBA_GetAdapterName(index, name); // below the number
        HBA_ADAPTERATTRIBUTES attributes{};
        if (HBA_GetAdapterAttributes(HBA_OpenAdapter(name), &attributes) != HBA_STATUS_OK) return 0;
        benchmark::DoNotOptimize(attributes);
    }
    return number;
}

double resident_kib() {
    std::ifstream text("/proc/self/statm");
    double total = 0, resident = 0;
    text >> total >> resident;
    return resident * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1024;
}

double descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<double>(std::distance(begin(all), end(all)));
}

/// The library of a handle, for the first row and for the last.
void checkHandle(benchmark::State &state) {
    const VendorHost host(HBA_LIBRARIES);
    if (poll() == 0) state.SkipWithError("nothing was loaded");
    const auto handle = static_cast<HBA_HANDLE>(state.range(0) << 16 | 1);
    HBA_UINT32 library = 0;
    HBA_HANDLE vendorHandle = 0;
    for (auto _ : state) {
        if (HBA_CheckLibrary(handle, &library, &vendorHandle) != HBA_STATUS_OK)
            state.SkipWithError("no such library");
        benchmark::DoNotOptimize(vendorHandle);
    }
}
BENCHMARK(checkHandle)->ArgName("row")->Arg(0)->Arg(31);

/// A call that goes through to a handler that does nothing.
void passOn(benchmark::State &state) {
    const VendorHost host(HBA_LIBRARIES);
    if (poll() == 0) state.SkipWithError("nothing was loaded");
    const auto handle = static_cast<HBA_HANDLE>(state.range(0) << 16 | 1);
    for (auto _ : state) HBA_CloseAdapter(handle);
}
BENCHMARK(passOn)->ArgName("row")->Arg(0)->Arg(31);

/// What is in use at one moment.
struct Usage {
    double heapBytes, residentKiB, descriptors;
};
Usage usage() {
    const double fds = descriptors(); // first, since looking takes room of its own
    return {static_cast<double>(::mallinfo2().uordblks), resident_kib(), fds};
}

/// The polls of a year: what one costs, and what stays behind of all.
void polls(benchmark::State &state) {
    const VendorHost host(2);
    HBA_UINT32 adapters = 0;
    for (int warm = 0; warm < 1000; ++warm) adapters = poll();
    if (adapters == 0) state.SkipWithError("nothing was loaded");
    (void)usage(); // what looking takes is there before
    const Usage start = usage();
    for (auto _ : state)
        if (poll() != adapters) state.SkipWithError("adapters are missing");
    const Usage end = usage();
    state.counters["adapters"] = adapters;
    state.counters["heapBytesGrown"] = end.heapBytes - start.heapBytes;
    state.counters["residentKiBAtStart"] = start.residentKiB;
    state.counters["residentKiBAtEnd"] = end.residentKiB;
    state.counters["descriptorsAtStart"] = start.descriptors;
    state.counters["descriptorsAtEnd"] = end.descriptors;
}
BENCHMARK(polls)->Unit(benchmark::kMicrosecond)->Iterations(POLLS_OF_A_YEAR);
} // namespace

BENCHMARK_MAIN();
