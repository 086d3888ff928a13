// What the records of a very large server cost when they are told: one event's view of each.
#include <cstddef>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbStorageControllerInfo.h"

namespace {
constexpr std::size_t CONTROLLERS = 32, PORTS = 8, DRIVES = 4096, VOLUMES = 512, MEMBERS = 8;

std::string numbered(const char *text, std::size_t number) {
    return text + std::to_string(100000 + number);
}

orbStorageControllerInfo make_controller(std::size_t number) {
    orbStorageControllerInfo info;
    info.setState(ORB_STATE_RUNNING);
    info.setHealth(ORB_HEALTH_OK);
    info.setPhysicalLocation("0123456789ABCDEF");
    info.setDescription("PCI 0000:24:00.0 r001u01p0i03");
    info.setModel("Twelve-port SAS host bus adapter");
    info.setSerialNumber(numbered("SP", number));
    info.setPartNumber("VT-1000-01");
    info.setFirmwareVersion("16.00.10.00");
    info.setManufacturer("Example Adapters Incorporated");
    info.setProtocol("SAS/SATA");
    info.setEventInfoString("All ports of the controller are online again.");
    for (std::size_t i = 0; i < PORTS; ++i) {
        orbStorageControllerPortInfo port;
        port.setOSInstanceName(numbered("/sys/class/scsi_host/host", i));
        info.addControllerPort(port);
    }
    return info;
}

orbDiskInfo make_drive(std::size_t number) {
    orbDiskInfo info;
    info.setState(ORB_STATE_ONLINE);
    info.setHealth(ORB_HEALTH_OK);
    info.setSlot(std::to_string(number % 24));
    info.setPhysicalLocation("0123456789ABCDEF");
    info.setSerialNumber(numbered("WD-WX11A", number));
    info.setPartNumber("VT-2000-07");
    info.setModel("EXAMPLE 10K SAS 2.5-inch");
    info.setCapacityBytes(1000204886016 + number);
    info.setProtocol("SAS");
    info.setManufacturer("Example Drives");
    info.setMediaType("HDD");
    info.setRevision("SN03");
    info.setEventInfoString("The drive's temperature is within its limits again.");
    return info;
}

orbLogicalDiskInfo make_volume(std::size_t number) {
    orbLogicalDiskInfo info;
    info.setState(ORB_STATE_OPTIMAL);
    info.setHealth(ORB_HEALTH_OK);
    info.setDeviceName("/dev/sde");
    info.setDurableName(numbered("600605B00C70BA40220AE7772B", number));
    info.setRAIDLevel("RAID6");
    info.setCapacityBytes(999653638144 + number);
    for (std::size_t i = 0; i < MEMBERS; ++i)
        info.addPhysicalDisk(numbered("WD-WX11A", number * MEMBERS + i));
    info.setEventInfoString("The volume is optimal again.");
    return info;
}

template <typename Record>
std::vector<Record> make_all(std::size_t count, Record (*make)(std::size_t)) {
    std::vector<Record> all;
    for (std::size_t i = 0; i < count; ++i) all.push_back(make(i));
    return all;
}

/// The storage records of one server.
struct Server {
    std::vector<orbStorageControllerInfo> controllers = make_all(CONTROLLERS, make_controller);
    std::vector<orbDiskInfo> drives = make_all(DRIVES, make_drive);
    std::vector<orbLogicalDiskInfo> volumes = make_all(VOLUMES, make_volume);
};

/// As an event's sender sees a record.
Json::Value view_of(orbInventoryBase &record) {
    return record.getVariableData();
}

void event_views(benchmark::State &state) {
    static Server server;
    std::vector<Json::Value> views;
    for (auto _ : state) {
        views.clear();
        for (auto &controller : server.controllers) views.push_back(view_of(controller));
        for (auto &drive : server.drives) views.push_back(view_of(drive));
        for (auto &volume : server.volumes) views.push_back(view_of(volume));
        benchmark::DoNotOptimize(views.data());
    }
    std::size_t members = 0;
    for (const Json::Value &view : views) members += view["Data"].size();
    if (members != CONTROLLERS * 7 + DRIVES * 9 + VOLUMES * 5)
        state.SkipWithError("members are missing");
    state.counters["records"] = static_cast<double>(views.size());
}
BENCHMARK(event_views)->Unit(benchmark::kMillisecond);

/// The last-known copies that each rebuild makes.
void copies(benchmark::State &state) {
    static const Server server;
    Server copy;
    for (auto _ : state) {
        copy = server;
        benchmark::DoNotOptimize(copy.drives.data());
    }
    if (copy.drives.back().getSerialNumber() != server.drives.back().getSerialNumber())
        state.SkipWithError("the copy differs");
}
BENCHMARK(copies)->Unit(benchmark::kMillisecond);
} // namespace

BENCHMARK_MAIN();
