#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/orbUtils.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/FakeLibraries.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "support/SmbiosImage.h"

/// A machine whose firmware tells where devices are, without libraries until a test adds them.
class LocationWorld {
public:
    /// A slot or an on-board device.
    struct Place {
        std::string designation;
        std::uint16_t segment = 0;
        std::uint8_t bus = 0;
        std::uint8_t devFunc = 0;
    };

    /// The formatted part of a type 1 record whose first string is the family.
    static Bytes familyBytes() {
        Bytes formatted(23, 0);
        formatted[22] = 1;
        return formatted;
    }
    static Bytes slotBytes(const Place &place) {
        Bytes formatted(13, 0);
        formatted[0] = 1;
        formatted[9] = static_cast<std::uint8_t>(place.segment);
        formatted[10] = static_cast<std::uint8_t>(place.segment >> 8);
        formatted[11] = place.bus;
        formatted[12] = place.devFunc;
        return formatted;
    }
    static Bytes deviceBytes(const Place &place) {
        return {1,
                0x85,
                1,
                static_cast<std::uint8_t>(place.segment),
                static_cast<std::uint8_t>(place.segment >> 8),
                place.bus,
                place.devFunc};
    }

    /// Writes the firmware's table and reads it as the daemon does at its start.
    void boot(const std::string &family, const std::vector<Place> &slots,
              const std::vector<Place> &devices = {}) {
        SmbiosImage image;
        image.add(1, familyBytes(), {family});
        for (const Place &place : slots) image.add(9, slotBytes(place), {place.designation});
        for (const Place &place : devices) image.add(41, deviceBytes(place), {place.designation});
        root.write(SMBIOS_DEVICE, image.text());
        orbUtils::initializeSMBIOS();
        orbUtils::initGeoIDMap();
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    LogFile log{root};
    FakeLibraries libraries;
};
