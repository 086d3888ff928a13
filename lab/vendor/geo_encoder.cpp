#include "vendor/geo_encoder.h"

#include <cstring>

#include "vendor/VendorWorld.h"
#include "vendor/location_code.h"

#ifndef ORB_LAB_GENERATION
#error "which platform generation this library is for"
#endif

namespace {
constexpr char PREPARED[8] = {'p', 'r', 'e', 'p', 'a', 'r', 'e', 'd'};
constexpr std::size_t PREPARED_AT = GEO_CALLERS_BYTES, VERSION_AT = PREPARED_AT + sizeof PREPARED;
static_assert(VERSION_AT + sizeof(int) <= GEO_RECORD_BYTES);

/// Bytes between the fields, which a caller leaves as they were prepared.
constexpr std::size_t SPARE[] = {6, 7, 9, 10, 12, 14, 15};
} // namespace

extern "C" __attribute__((visibility("default"))) void physloc_init_data(void *record,
                                                                         int version) {
    if (record == nullptr) return;
    auto *bytes = static_cast<unsigned char *>(record);
    std::memset(bytes, 0, GEO_RECORD_BYTES);
    std::memcpy(bytes + PREPARED_AT, PREPARED, sizeof PREPARED);
    std::memcpy(bytes + VERSION_AT, &version, sizeof version);
}

extern "C" __attribute__((visibility("default"))) int physloc_encode(void *record,
                                                                     std::uint64_t *value) {
    if (record == nullptr || value == nullptr) return GEO_NO_RECORD;
    const auto *bytes = static_cast<const unsigned char *>(record);
    if (std::memcmp(bytes + PREPARED_AT, PREPARED, sizeof PREPARED) != 0) return GEO_NOT_PREPARED;
    int version = 0;
    std::memcpy(&version, bytes + VERSION_AT, sizeof version);
    if (version != GEO_VERSION) return GEO_WRONG_VERSION;
    for (const std::size_t at : SPARE)
        if (bytes[at] != 0) return GEO_FOREIGN_BYTE;

    PHYSICAL_LOCATION location;
    location.generation = ORB_LAB_GENERATION;
    std::memcpy(&location.type, bytes + GEO_TYPE_AT, sizeof location.type);
    location.rack = bytes[GEO_RACK_AT];
    location.unit = bytes[GEO_UNIT_AT];
    location.partition = bytes[GEO_PARTITION_AT];
    location.slot = bytes[GEO_SLOT_AT];
    location.extra = bytes[GEO_EXTRA_AT];
    std::uint64_t code = 0;
    switch (encode_location(location, &code)) {
    case LOCATION_UNKNOWN_TYPE:
        return GEO_UNKNOWN_TYPE;
    case LOCATION_OUT_OF_RANGE:
        return GEO_OUT_OF_RANGE;
    default:
        break;
    }
    if (VendorWorld::get().encoderRefuses()) return GEO_REFUSED;
    *value = code;
    return GEO_GOOD;
}
