#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "physloc/smbios_reader.h"
#include "support/SmbiosImage.h"

namespace {
constexpr char TAG[] = "ORB_UTILS";
constexpr char MAP_HEAD[] = "-----Printing GEoID PCIe location map-----";
constexpr char NO_READER[] = "SMBIOS could not be initialized hence geoId will not be populated";

class Location : public ::testing::Test {
protected:
    void put(const Bytes &image) { root.write(SMBIOS_DEVICE, SmbiosImage::as_text(image)); }
    /// The formatted part of a type 1 record whose first string is the family.
    static Bytes familyBytes() {
        Bytes formatted(23, 0);
        formatted[22] = 1;
        return formatted;
    }
    static bool readerRuns() {
        void *records = nullptr;
        const bool runs = getSmbiosRecordsByType(1, &records, nullptr) == 0;
        std::free(records);
        return runs;
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    LogFile log{root};
};

TEST_F(Location, ReaderStarts) {
    put(SmbiosImage::exampleServer());
    orbUtils::initializeSMBIOS();
    EXPECT_EQ(log.count("DEBUG", TAG, "SMBIOS table initiated"), 1);
    EXPECT_TRUE(readerRuns());
}

TEST_F(Location, ReaderThatCannotStartIsLoggedWithItsReason) {
    orbUtils::initializeSMBIOS();
    EXPECT_EQ(log.count("DEBUG", TAG,
                        "Error starting SMBIOS table, Error : 2 , Reason : No such file or "
                        "directory"),
              1);
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "initiated"), 0);
}

TEST_F(Location, DeviceWithoutTableIsLoggedWithoutReason) {
    put(Bytes(64, 1));
    orbUtils::initializeSMBIOS();
    EXPECT_EQ(log.count("DEBUG", TAG, "Error starting SMBIOS table, Error : 0 , Reason : Success"),
              1);
}

TEST_F(Location, EachRecordIsLoggedThenTheReaderStops) {
    put(SmbiosImage::exampleServer());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();

    std::vector<std::string> designations;
    for (const LogFile::Line &line : log.lines())
        if (line.text.starts_with("designation: ")) {
            EXPECT_EQ(line.level, "DEBUG");
            EXPECT_EQ(line.module, TAG);
            designations.push_back(line.text);
        }
    EXPECT_EQ(designations,
              (std::vector<std::string>{
                  "designation: PCI 0000:24:00.0 r001u01p0i03, segmentGroupNum: 0x0, busNum: 0x24, "
                  "evFuncNum: 0x0",
                  "designation: PCI empty r001u01p0i04, segmentGroupNum: 0xffff, busNum: 0xff, "
                  "evFuncNum: 0xff",
                  "designation: PCI 0000:c3:00.0 r001u01p0i00, segmentGroupNum: 0x0, busNum: 0xc3, "
                  "evFuncNum: 0x0"}));
    EXPECT_EQ(log.count("DEBUG", TAG, MAP_HEAD), 1);
    EXPECT_FALSE(readerRuns());
}

TEST_F(Location, MissingSlotsAreLoggedAndDevicesStillRead) {
    put(SmbiosImage().add(41, {1, 0x85, 1, 0, 0, 0xC3, 0}, {"LAN"}).image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(log.count("DEBUG", TAG, "Unable to fetch smbios type 9 record"), 1);
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "type 41 record"), 0);
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "designation: LAN, "), 1);
}

TEST_F(Location, FamilyIsReadDuringTheMapBuildOfDevicesAloneToo) {
    put(SmbiosImage()
            .add(1, familyBytes(), {"PLATFORM-ID-B02"})
            .add(41, {1, 0x85, 1, 0, 0, 0xC3, 0}, {"LAN"})
            .image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(log.count("DEBUG", TAG, "platformFamily is PLATFORM-ID-B02"), 1);
}

TEST_F(Location, MissingDevicesAreLogged) {
    put(SmbiosImage().add(9, Bytes(13, 1), {"Slot"}).image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "type 9 record"), 0);
    EXPECT_EQ(log.count("DEBUG", TAG, "Unable to fetch smbios type 41 record"), 1);
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "designation: Slot, "), 1);
}

TEST_F(Location, WithoutReaderAWarningAndTheEmptyMap) {
    orbUtils::initGeoIDMap();
    EXPECT_EQ(log.count("WARNING", TAG,
                        "Unable to fetch SMBIOS record, so could not populate GeoID values"),
              1);
    EXPECT_EQ(log.count("DEBUG", TAG, MAP_HEAD), 1);
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "Unable to fetch smbios type"), 0);
}

TEST_F(Location, FamilyIsThatOfTheFirstRecord) {
    put(SmbiosImage()
            .add(1, familyBytes(), {"PLATFORM-ID-B02 "}) // copied as it stands
            .add(1, familyBytes(), {"PLATFORM-ID-A01"})
            .image());
    orbUtils::initializeSMBIOS();
    EXPECT_EQ(orbUtils::getPlatformFamily(), "PLATFORM-ID-B02 ");
    EXPECT_EQ(log.count("DEBUG", TAG, "platformFamily is PLATFORM-ID-B02 "), 1);
}

TEST_F(Location, FamilyIsReadDuringTheMapBuildAndKept) {
    put(SmbiosImage::exampleServer());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(log.count("DEBUG", TAG, "platformFamily is PLATFORM-ID-A01"), 1);
    EXPECT_EQ(orbUtils::getPlatformFamily(), "PLATFORM-ID-A01");
    EXPECT_EQ(log.count("DEBUG", TAG, "platformFamily is PLATFORM-ID-A01"), 1);
}

TEST_F(Location, FamilyWithoutSlotsIsReadOnceTheReaderRunsAgain) {
    put(SmbiosImage().add(1, familyBytes(), {"PLATFORM-ID-B01"}).image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "platformFamily"), 0);

    ASSERT_EQ(SmBiosInit(), 0);
    EXPECT_EQ(orbUtils::getPlatformFamily(), "PLATFORM-ID-B01");
}

TEST_F(Location, FamilyWithStoppedReaderIsEmptyForGood) {
    put(SmbiosImage().add(1, Bytes(23)).image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
    EXPECT_EQ(log.count("DEBUG", TAG, "Could not detect the platform family of this system"), 1);
    ASSERT_EQ(SmBiosInit(), 0);
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "platform family"), 1);
}

TEST_F(Location, FamilyWithoutRecordIsEmpty) {
    put(SmbiosImage().add(9, Bytes(13)).image());
    orbUtils::initializeSMBIOS();
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
    EXPECT_EQ(log.count("DEBUG", TAG, "Could not detect the platform family of this system"), 1);
}

TEST_F(Location, FamilyWithoutReaderIsEmptyAfterOneWarning) {
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
    EXPECT_EQ(log.count("WARNING", TAG, NO_READER), 1);
}

TEST_F(Location, FamilyAskedBeforeTheStartStaysEmpty) {
    put(SmbiosImage::exampleServer());
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
    orbUtils::initializeSMBIOS();
    EXPECT_EQ(orbUtils::getPlatformFamily(), "");
}
} // namespace
