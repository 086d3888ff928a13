#pragma once

#include <string_view>

/// Generations of machines. They write GeoIDs in different forms and have encoders of their own.
enum PLATFORM_GENERATION {
    PLATFORM_GENERATION_UNKNOWN,
    PLATFORM_GENERATION_FIRST,  ///< rack, unit, partition, I/O slot: "r001u01p0i03"
    PLATFORM_GENERATION_SECOND, ///< rack, I/O element, slot: "r001i01s03"
};

/// The generation of a family, as orbUtils::getPlatformFamily() gives it. Pure; any thread.
constexpr PLATFORM_GENERATION platform_generation(std::string_view family) {
    if (family == "PLATFORM-ID-A01") return PLATFORM_GENERATION_FIRST;
    if (family == "PLATFORM-ID-B01" || family == "PLATFORM-ID-B02")
        return PLATFORM_GENERATION_SECOND;
    return PLATFORM_GENERATION_UNKNOWN;
}
