#include <utility>

#include "core/orbUtils.h"
#include "reporting/orbEventHandler.h"
#include "storage/SASResourceManager.h"
#include "storage/orbDiskInfo.h"
#include "storage/orbLogicalDiskInfo.h"
#include "storage/orbStorageControllerInfo.h"

namespace {
constexpr char MODULE[] = "SASHBA", PART_NUMBER[] = "NotAvailable", SOURCE[] = "ORB-CLI";
constexpr char INJECTED[] = "Injected Event";

/// Where a controller at a PCI address sits, by the machine's family; "" for an unknown one.
std::string description(const char *firstGeneration, const char *secondGeneration) {
    const std::string family = orbUtils::getPlatformFamily();
    if (family == "PLATFORM-ID-A01") return firstGeneration;
    if (family == "PLATFORM-ID-B01" || family == "PLATFORM-ID-B02") return secondGeneration;
    return {};
}

Json::Value sata_controller(const std::string &location) {
    orbStorageControllerInfo controller;
    controller.setModel("Intel C600/X79 series chipset SATA RAID Controller");
    controller.setFirmwareVersion("5.0.0.1139");
    controller.setProtocol("SAS/SATA");
    controller.setManufacturer("Intel Corporation");
    controller.setPhysicalLocation(location);
    controller.setEventInfoString(INJECTED);
    controller.setDescription(
        description("PCI 0000:00:17.0 r001u01p0i00", "PCI 0000:00:17.0 r001i01s00"));
    return controller.getVariableData();
}

Json::Value raid_controller(const std::string &location) {
    orbStorageControllerInfo controller;
    controller.setModel("Adaptec SmartRAID 3154-24i Controller");
    controller.setSerialNumber("9A48G300DD7");
    controller.setFirmwareVersion("1.98-0");
    controller.setProtocol("SAS/SATA");
    controller.setPhysicalLocation(location);
    controller.setEventInfoString(INJECTED);
    controller.setDescription(
        description("PCI 0000:24:00.0 r001u01p0i03", "PCI 0000:24:00.0 r001i01s03"));
    return controller.getVariableData();
}

Json::Value drive(const std::string &location) {
    orbDiskInfo disk;
    disk.setSerialNumber("9XG3EKS5");
    disk.setModel("ST91000640NS");
    disk.setCapacityBytes(1000204886016);
    disk.setProtocol("SAS/SATA");
    disk.setManufacturer("Vantor");
    disk.setMediaType("HDD");
    disk.setRevision("SN03");
    disk.setSlot("2");
    disk.setPhysicalLocation(location);
    disk.setEventInfoString(INJECTED);
    return disk.getVariableData();
}

Json::Value volume() {
    orbLogicalDiskInfo disk;
    disk.setDurableName("600605B00C70BA40220AE7772BABEEB3");
    disk.setRAIDLevel("RAID1");
    disk.setCapacityBytes(999653638144);
    disk.addPhysicalDisk("9XG3EKS5");
    disk.setDeviceName("/dev/sde");
    disk.setEventInfoString(INJECTED);
    return disk.getVariableData();
}

/// What an event of this id tells; null for one that no unit of storage raises.
Json::Value made_up_unit(int id, const std::string &location) {
    switch (id) {
    case 397:
    case 398:
        return sata_controller(location);
    case 538:
    case 539:
    case 540:
        return drive(location);
    case 681:
    case 683:
        return volume();
    case 1179:
    case 1180:
    case 1181:
    case 1182:
    case 1183:
        return raid_controller(location);
    default:
        return Json::Value();
    }
}
} // namespace

void SASResourceManager::generateTestEvent(int id, std::string location, bool critical) {
    Json::Value data = made_up_unit(id, location);
    orbEventHandler().generateEvent(orbEvent(id, std::move(location), MODULE, critical,
                                             orbUtils::getTime(), PART_NUMBER, std::move(data),
                                             SOURCE));
}
