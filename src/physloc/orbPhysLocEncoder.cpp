#include "physloc/orbPhysLocEncoder.h"

#include <dlfcn.h>

#include <array>
#include <cstdlib>
#include <cstring>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "hostaccess/orbHostLibraries.h"
#include "physloc/pci_address.h"

namespace {
constexpr physloc_type_t IO_SLOT = 3; // the same for all platforms
constexpr char NO_EXTRA[] = "NA", ON_BOARD_SLOT[] = "00", UNKNOWN_SLOT[] = "0";
constexpr int FIRST_BOX = 1, LAST_BOX = 2;

// The library prepares the record and may know fields that we don't, so it gets room for them.
constexpr std::size_t RECORD_SIZE = 256, TYPE_AT = 0, EXTRA_AT = 13;
constexpr int RECORD_VERSION = 2;
struct alignas(8) ENCODER_RECORD {
    std::array<std::uint8_t, RECORD_SIZE> bytes{};
};

std::uint8_t low_byte(const std::string &decimal) {
    return static_cast<std::uint8_t>(std::strtoull(decimal.c_str(), nullptr, 10));
}

std::string joined(const std::vector<std::string> &texts, const char *between) {
    std::string all;
    for (const std::string &text : texts) {
        if (&text != &texts.front()) all += between;
        all += text;
    }
    return all;
}

std::string loader_error() {
    const char *const text = IorbHostLibraries::get().error();
    return text != nullptr ? text : "";
}
} // namespace

// -- The library --------------------------------------------------------------------------------

int orbPhysLocEncoder::Initialize() {
    const orbMutexLocker<std::mutex> lock(interfaceLock);
    if (initialized) return 1;
    IorbHostLibraries &libraries = IorbHostLibraries::get();
    (void)libraries.error(); // forgets an older failure's text
    libraryHandle = libraries.open(platform.library, RTLD_LAZY | RTLD_GLOBAL);
    if (libraryHandle == nullptr) {
        ORB_LOG_ERROR(platform.tag,
                      format_text("Failed to load physical location library [%s]: (%s)",
                                  platform.library, loader_error().c_str()));
        return 0;
    }
    physloc_init_data = reinterpret_cast<INIT_DATA>(findSymbol("physloc_init_data"));
    if (physloc_init_data != nullptr)
        physloc_encode = reinterpret_cast<ENCODE>(findSymbol("physloc_encode"));
    if (physloc_init_data == nullptr || physloc_encode == nullptr) {
        (void)libraries.close(libraryHandle); // a library that can't be used is forgotten
        libraryHandle = nullptr;
        return 0;
    }
    ORB_LOG_DEBUG(platform.tag, "Successfully loaded physical location library.");
    initialized = true;
    return 1;
}

void *orbPhysLocEncoder::findSymbol(const char *name) const {
    void *const symbol = IorbHostLibraries::get().symbol(libraryHandle, name);
    if (symbol == nullptr)
        ORB_LOG_ERROR(PL_INTF, format_text("Failed to find address of symbol [%s]: (%s)", name,
                                           loader_error().c_str()));
    return symbol;
}

void orbPhysLocEncoder::UnInitialize() {
    const orbMutexLocker<std::mutex> lock(interfaceLock);
    if (!initialized) return;
    initialized = false;
    (void)IorbHostLibraries::get().close(libraryHandle); // nothing could be done about a failure
    libraryHandle = nullptr;
}

std::string orbPhysLocEncoder::getPhysLocLibraryName() {
    return platform.library;
}

// -- Checks -------------------------------------------------------------------------------------

bool orbPhysLocEncoder::isAddress(const std::string &address, const char *what) const {
    if (is_pci_address_text(address)) return true;
    ORB_LOG_DEBUG(platform.tag, format_text("%s controller PCI address is invalid. ([%s])", what,
                                            address.c_str()));
    return false;
}

bool orbPhysLocEncoder::isSplit(const std::vector<std::string> &geoID) const {
    return geoID.size() == platform.elementOffsets.size();
}

int orbPhysLocEncoder::checkPCIDevicesLocatedInSameChassis(const std::string &first,
                                                           const std::string &second) {
    if (!is_pci_address_text(first) || !is_pci_address_text(second)) {
        ORB_LOG_DEBUG(platform.tag, format_text("Either or both PCI addresses specified are not "
                                                "valid. ([%s], [%s])",
                                                first.c_str(), second.c_str()));
        return -1;
    }
    const std::vector<std::string> one = orbUtils::getGeoIDInfo(first);
    const std::vector<std::string> other = orbUtils::getGeoIDInfo(second);
    if (!isSplit(one) || !isSplit(other)) {
        ORB_LOG_DEBUG(platform.tag,
                      format_text("Split size of either or both GeoIDs are invalid [%zu, %zu], at "
                                  "PCI addresses [%s, %s], respectively.",
                                  one.size(), other.size(), first.c_str(), second.c_str()));
        return -2;
    }
    return one[0] == other[0] && one[1] == other[1] ? 1 : 0;
}

int orbPhysLocEncoder::checkIfPCICardIsOnBoard(const std::string &address) {
    const std::string slot = getPCIeSlotForIOSlot(address);
    if (slot == UNKNOWN_SLOT) return -4;
    return slot == ON_BOARD_SLOT ? 2 : 3;
}

// -- Places -------------------------------------------------------------------------------------

std::string orbPhysLocEncoder::getPCIeSlotForIOSlot(const std::string &address) {
    if (!isAddress(address, "I/O")) return UNKNOWN_SLOT;
    const std::vector<std::string> geoID = orbUtils::getGeoIDInfo(address);
    const std::string slot = isSplit(geoID) ? geoID[platform.slotElement] : UNKNOWN_SLOT;
    ORB_LOG_DEBUG(platform.tag,
                  format_text("PCI address: [%s]; GeoID split size: [%zu]; Slot #: [%s]",
                              address.c_str(), geoID.size(), slot.c_str()));
    return slot;
}

std::string orbPhysLocEncoder::getPhysLocForIOSlot(const std::string &address) {
    if (!isAddress(address, "I/O")) return UNKNOWN_LOCATION;
    return physlocEncode(address, orbUtils::getGeoIDInfo(address), IO_SLOT, nullptr, NO_EXTRA);
}

std::string orbPhysLocEncoder::getPhysLocForNetworkAdapter(const std::string &address) {
    if (!isAddress(address, "Network")) return UNKNOWN_LOCATION;
    const std::vector<std::string> geoID = orbUtils::getGeoIDInfo(address);
    if (!isSplit(geoID)) {
        ORB_LOG_DEBUG(platform.tag, format_text("Unexpected GeoID split size [%zu] at PCI address "
                                                "[%s] for network adapter.",
                                                geoID.size(), address.c_str()));
        return UNKNOWN_LOCATION;
    }
    if (geoID[platform.slotElement] != ON_BOARD_SLOT)
        return physlocEncode(address, geoID, IO_SLOT, nullptr, NO_EXTRA);
    const std::string function = address.substr(address.find('.') + 1);
    return physlocEncode(address, geoID, platform.onBoardNetworkAdapter, nullptr, function);
}

std::string orbPhysLocEncoder::getPhysLocForExternalDrive(const std::string &address) {
    if (!isAddress(address, "Storage")) return UNKNOWN_LOCATION;
    return physlocEncode(address, orbUtils::getGeoIDInfo(address), platform.externalDrive, nullptr,
                         NO_EXTRA);
}

std::string orbPhysLocEncoder::getPhysLocForChassisDriveSlot(const std::string &address, int bay) {
    if (!isAddress(address, "Storage")) return UNKNOWN_LOCATION;
    if (bay < platform.firstBay || bay > platform.lastBay) {
        ORB_LOG_DEBUG(platform.tag,
                      format_text("Invalid internal drive bay # [%d] for physical location "
                                  "encoding at PCI address [%s].",
                                  bay, address.c_str()));
        return UNKNOWN_LOCATION;
    }
    return encodeChassisUnit(address, platform.chassisDriveSlot, std::to_string(bay),
                             "chassis drive slot");
}

std::string orbPhysLocEncoder::getPhysLocForChassisStorageBackplane(const std::string &address,
                                                                    int box) {
    if (!isAddress(address, "Storage")) return UNKNOWN_LOCATION;
    if (platform.numbersBoxes && (box < FIRST_BOX || box > LAST_BOX)) {
        ORB_LOG_DEBUG(platform.tag, format_text("Invalid box number [%d] for storage backplane "
                                                "connected to PCI address [%s].",
                                                box, address.c_str()));
        return UNKNOWN_LOCATION;
    }
    return encodeChassisUnit(address, platform.chassisStorageBackplane,
                             platform.numbersBoxes ? std::to_string(box) : NO_EXTRA,
                             "storage backplane");
}

std::string orbPhysLocEncoder::encodeChassisUnit(const std::string &address, physloc_type_t type,
                                                 const std::string &extra, const char *what) {
    const std::vector<std::string> geoID = orbUtils::getGeoIDInfo(address);
    if (isSplit(geoID)) return physlocEncode(address, geoID, type, nullptr, extra);
    ORB_LOG_DEBUG(platform.tag,
                  format_text("Unexpected GeoID split size [%zu] at PCI address [%s] for %s.",
                              geoID.size(), address.c_str(), what));
    return UNKNOWN_LOCATION;
}

std::string orbPhysLocEncoder::physlocEncode(const std::string &address,
                                             const std::vector<std::string> &geoID,
                                             physloc_type_t type, physloc_rtn_t *rtn,
                                             const std::string &extra) {
    if (rtn != nullptr) *rtn = 1;
    if (!isSplit(geoID)) {
        ORB_LOG_DEBUG(platform.tag,
                      format_text("Failed to determine physical location for PCI address [%s]. "
                                  "(%zu, [%s])",
                                  address.c_str(), geoID.size(), joined(geoID, " ").c_str()));
        return UNKNOWN_LOCATION;
    }
    if (!initialized) return UNKNOWN_LOCATION;

    ENCODER_RECORD record;
    auto &bytes = record.bytes;
    physloc_init_data(&record, RECORD_VERSION);
    std::memcpy(&bytes[TYPE_AT], &type, sizeof type);
    std::vector<std::string> stored;
    for (std::size_t element = 0; element < geoID.size(); ++element) {
        std::uint8_t &byte = bytes[platform.elementOffsets[element]];
        byte = low_byte(geoID[element]);
        stored.push_back(std::to_string(byte));
    }
    if (extra != NO_EXTRA) bytes[EXTRA_AT] = low_byte(extra);

    std::uint64_t value = 0;
    const physloc_rtn_t status = physloc_encode(&record, &value);
    if (rtn != nullptr) *rtn = status;
    if (status != 0) {
        ORB_LOG_DEBUG(platform.tag, format_text("Failed to encode physical location for PCI "
                                                "address [%s]. (%d) [%s, %s]",
                                                address.c_str(), status,
                                                joined(stored, ", ").c_str(), extra.c_str()));
        return UNKNOWN_LOCATION;
    }
    const std::string location =
        format_text("%016llX", static_cast<unsigned long long>(value)); // always 16 digits
    ORB_LOG_DEBUG(platform.tag,
                  format_text("PCI address [%s]: [%d] - {%s, %s} - PL: [%s]", address.c_str(),
                              static_cast<int>(type), joined(geoID, ", ").c_str(), extra.c_str(),
                              location.c_str()));
    return location;
}
