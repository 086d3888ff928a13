#include <cerrno>
#include <cstdlib>
#include <memory>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "physloc/geoid_text.h"
#include "physloc/pci_address.h"
#include "physloc/platform_family.h"
#include "physloc/smbios_reader.h"

constinit std::atomic<bool> orbUtils::smbiosVmwareInit{false};
std::map<std::string, std::string> orbUtils::geoIDMap;

namespace {
constinit std::mutex platformFamilyMutex;
constinit std::atomic<bool> platformFamilyRead{false}; // set once, after the family was stored
std::string platformFamily; // written once under platformFamilyMutex, before the flag

/// All records of a type, released with their owner.
template <typename Record> class orbSmbiosRecords {
public:
    explicit orbSmbiosRecords(int type) {
        void *array = nullptr;
        status = getSmbiosRecordsByType(type, &array, &number);
        records.reset(static_cast<Record *>(array));
    }
    bool isFetched() const { return status == 0; }
    const Record *begin() const { return records.get(); }
    const Record *end() const { return records.get() + number; }

private:
    struct Free {
        void operator()(Record *array) const { std::free(array); }
    };
    int status = -1;
    int number = 0;
    std::unique_ptr<Record, Free> records;
};
} // namespace

void orbUtils::initializeSMBIOS() {
    if (SmBiosInit() == 0) {
        smbiosVmwareInit = true;
        ORB_LOG_DEBUG(ORB_UTILS, "SMBIOS table initiated");
        return;
    }
    const int err = errno;
    ORB_LOG_DEBUG(ORB_UTILS, format_text("Error starting SMBIOS table, Error : %d , Reason : %s",
                                         err, getErrorDescription(err).c_str()));
}

/// Enters each record of a type, by its device's address. A later one replaces an earlier one.
/// @param longestGeoID  of a designation of the second generation, characters behind are dropped
/// @param expression    finds a GeoID of the first generation; compiled once for all records,
///                      because the compilation costs more than all else
template <typename Records>
void orbUtils::enterGeoIDs(const Records &records, std::size_t longestGeoID,
                           const orbExpression &expression) {
    for (const auto &record : records) {
        ORB_LOG_DEBUG(ORB_UTILS,
                      format_text("designation: %s, segmentGroupNum: 0x%x, busNum: 0x%x, "
                                  "evFuncNum: 0x%x",
                                  record.designation, unsigned{record.segmentGroupNum},
                                  unsigned{record.busNum}, unsigned{record.devFuncNum}));
        const std::string address =
            pci_address_text(record.segmentGroupNum, record.busNum, record.devFuncNum);
        if (address.empty()) {
            ORB_LOG_WARNING(ORB_UTILS, "Encountered incorrect parsing of BDF characters");
            continue;
        }
        // The first record has the family read, as long as the SMBIOS reader runs.
        const bool isSecond =
            platform_generation(getPlatformFamily()) == PLATFORM_GENERATION_SECOND;
        geoIDMap[address] = isSecond ? geoid_behind_blank(record.designation, longestGeoID)
                                     : findGeoID(record.designation, expression);
    }
}

void orbUtils::initGeoIDMap() {
    if (smbiosVmwareInit) {
        const orbSmbiosRecords<DmiSystemSlot> slots(TYPE_SYSTEM_SLOT);
        if (!slots.isFetched()) ORB_LOG_DEBUG(ORB_UTILS, "Unable to fetch smbios type 9 record");
        const orbSmbiosRecords<DmiOnboardDevicesEx> devices(TYPE_ONBOARD_DEVICE);
        if (!devices.isFetched()) ORB_LOG_DEBUG(ORB_UTILS, "Unable to fetch smbios type 41 record");
        const orbExpression expression(GEOID_IN_DESIGNATION);
        enterGeoIDs(slots, std::string::npos, expression);
        enterGeoIDs(devices, SECOND_GEOID_SIZE, expression);
        SmBiosDeinit();
    } else {
        ORB_LOG_WARNING(ORB_UTILS,
                        "Unable to fetch SMBIOS record, so could not populate GeoID values");
    }
    printGeoIDMap();
}

void orbUtils::printGeoIDMap() {
    ORB_LOG_DEBUG(ORB_UTILS, "-----Printing GEoID PCIe location map-----");
    for (const auto &[address, geoID] : geoIDMap)
        ORB_LOG_DEBUG(ORB_UTILS, address + "       " + geoID);
}

std::string orbUtils::getPlatformFamily() {
    if (!platformFamilyRead) {
        const orbMutexLocker<std::mutex> lock(platformFamilyMutex);
        if (!platformFamilyRead) {
            setPlatformFamily();
            platformFamilyRead = true; // whatever the result: the machine doesn't change
        }
    }
    return platformFamily;
}

void orbUtils::setPlatformFamily() {
    if (!smbiosVmwareInit) {
        ORB_LOG_WARNING(ORB_UTILS,
                        "SMBIOS could not be initialized hence geoId will not be populated");
        return;
    }
    const orbSmbiosRecords<DmiSystemInfo> systems(TYPE_SYSTEM_INFO);
    if (!systems.isFetched()) {
        ORB_LOG_DEBUG(ORB_UTILS, "Could not detect the platform family of this system");
        return;
    }
    platformFamily = systems.begin()->family;
    ORB_LOG_DEBUG(ORB_UTILS, format_text("platformFamily is %s", platformFamily.c_str()));
}
