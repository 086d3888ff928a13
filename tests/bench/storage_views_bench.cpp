// What the records of a very large server cost when they are told: one event's view of each, one
// entry of the document of each, and a whole rebuild of the document's storage sections.
#include <cstddef>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "storage/SASResourceManager.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbStorageControllerInfo.h"
#include "storage/storage_json.h"
#include "support/quiet_world.h"
#include "unit/storage/FakeStorage.h"

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

void document_entries(benchmark::State &state) {
    static Server server;
    std::vector<Json::Value> entries;
    for (auto _ : state) {
        entries.clear();
        for (auto &one : server.controllers) entries.push_back(storage_controller_object(one));
        for (auto &one : server.drives) entries.push_back(drive_object(one));
        for (auto &one : server.volumes) entries.push_back(volume_object(one));
        benchmark::DoNotOptimize(entries.data());
    }
    std::size_t members = 0;
    for (const Json::Value &entry : entries) members += entry.size();
    if (members != CONTROLLERS * 8 + DRIVES * 10 + VOLUMES * 6)
        state.SkipWithError("members are missing");
    state.counters["records"] = static_cast<double>(entries.size());
}
BENCHMARK(document_entries)->Unit(benchmark::kMillisecond);

/// A rebuild by the manager, with controllers that answer at once: records gathered, the former
/// entries kept, new ones made. The document's reader copies them.
void rebuild_and_read(benchmark::State &state) {
    static const QuietWorld quiet; // to the end of the process
    static CallList calls;
    static FakeStorageFactory factory("F", calls);
    Server server;
    for (std::size_t i = 0; i < CONTROLLERS; ++i) {
        FakeStorageController &controller = factory.add("C");
        controller.info = server.controllers[i];
        for (std::size_t n = i; n < DRIVES; n += CONTROLLERS)
            controller.drives.push_back(server.drives[n]);
        for (std::size_t n = i; n < VOLUMES; n += CONTROLLERS)
            controller.volumes.push_back(server.volumes[n]);
    }
    SASResourceManager &manager = SASResourceManager::getInstance();
    std::size_t records = 0;
    for (auto _ : state) {
        manager.cacheBuild();
        records = 0;
        for (const int type : {1, 2, 3, 4}) {
            std::vector<Json::Value> objects;
            (void)manager.getInventoryJsonObject2(type, objects); // 0: nothing is being rebuilt
            records += objects.size();
        }
        (void)calls.take(); // who was called doesn't count here
    }
    if (records != CONTROLLERS + DRIVES + VOLUMES) state.SkipWithError("records are missing");
    state.counters["records"] = static_cast<double>(records);
}
// One round: the controllers are made once.
BENCHMARK(rebuild_and_read)->Unit(benchmark::kMillisecond)->Iterations(50);

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
