#include <algorithm>
#include <cstdlib>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "physloc/smbios_reader.h"
#include "support/LocationWorld.h"

namespace {
constexpr char TAG[] = "ORB_UTILS";
constexpr char MAP_HEAD[] = "-----Printing GEoID PCIe location map-----";
constexpr char NO_READER[] = "SMBIOS could not be initialized hence geoId will not be populated";

class Location : public ::testing::Test, protected LocationWorld {
protected:
    using Place = LocationWorld::Place;

    void put(const Bytes &image) { root.write(SMBIOS_DEVICE, SmbiosImage::as_text(image)); }
    static bool readerRuns() {
        void *records = nullptr;
        const bool runs = getSmbiosRecordsByType(1, &records, nullptr) == 0;
        std::free(records);
        return runs;
    }
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

// -- The table of places ------------------------------------------------------------------------

/// The lines of the dump, in order, without its head.
std::vector<std::string> dumped(const LogFile &log) {
    std::vector<std::string> found;
    bool inDump = false;
    for (const LogFile::Line &line : log.lines()) {
        if (inDump) found.push_back(line.text);
        if (line.text == MAP_HEAD) inDump = true;
    }
    return found;
}

struct DesignationCase {
    const char *name;
    const char *family;
    const char *designation;
    const char *ofSlot;
    const char *ofDevice;
};
const DesignationCase DESIGNATION_CASES[] = {
    {"First", "PLATFORM-ID-A01", "PCI 0000:24:00.0 r001u01p0i03", "r001u01p0i03", "r001u01p0i03"},
    {"FirstWithTextTouching", "PLATFORM-ID-A01", "PCIr001u01p0i03", "", ""},
    {"FirstAtTheStart", "PLATFORM-ID-A01", "r001u01p0i03 x", "r001u01p0i03", "r001u01p0i03"},
    {"FirstOfTwo", "PLATFORM-ID-A01", "r001u01p0i03-r002u02p1i04", "r001u01p0i03", "r001u01p0i03"},
    {"FirstOfSecondForm", "PLATFORM-ID-A01", "PCI r001i01s03", "", ""},
    {"FirstOfUnderscore", "PLATFORM-ID-A01", "x_r001u01p0i03", "", ""},
    {"Second", "PLATFORM-ID-B01", "PCI r001i01s03", "r001i01s03", "r001i01s03"},
    {"SecondOtherId", "PLATFORM-ID-B02", "PCI r001i01s03", "r001i01s03", "r001i01s03"},
    {"SecondWithMoreBehind", "PLATFORM-ID-B02", "PCI r001i01s03 port 1 of 2, x16, riser 1",
     "r001i01s03 port 1 of 2, x16, riser 1", "r001i01s03"},
    {"SecondWithoutBlank", "PLATFORM-ID-B02", "PCIr001i01s03", "PCIr001i01s03", "PCIr001i01"},
    {"SecondWithLetters", "PLATFORM-ID-B02", "PCI rABCi01s03", "rABCi01s03", "rABCi01s03"},
    {"SecondWithBlankAtTheEnd", "PLATFORM-ID-B01", "PCI ", "", ""},
    {"UnknownFamilyReadsAsFirst", "PLATFORM-ID-C01", "PCI r001u01p0i03", "r001u01p0i03",
     "r001u01p0i03"},
    {"UnknownFamilyWithSecondForm", "PLATFORM-ID-C01", "PCI r001i01s03", "", ""},
};
void PrintTo(const DesignationCase &row, std::ostream *os) {
    *os << row.name;
}
class Designation : public Location, public ::testing::WithParamInterface<DesignationCase> {};
TEST_P(Designation, GivesTheGeoIDOfSlotAndDevice) {
    boot(GetParam().family, {{GetParam().designation, 0, 0x24}},
         {{GetParam().designation, 0, 0xC3, 1}});
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:24:00.0"), GetParam().ofSlot);
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:c3:00.1"), GetParam().ofDevice);
    EXPECT_EQ(dumped(log),
              (std::vector<std::string>{std::string("0000:24:00.0       ") + GetParam().ofSlot,
                                        std::string("0000:c3:00.1       ") + GetParam().ofDevice}));
}
INSTANTIATE_TEST_SUITE_P(Rows, Designation, ::testing::ValuesIn(DESIGNATION_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(Location, AddressesHaveSegmentBusDeviceAndFunction) {
    boot("PLATFORM-ID-B01", {{"a r001i01s01", 0xABCD, 0xEF, 0xFF}, {"b r001i01s02", 1, 2, 0x0B}});
    EXPECT_EQ(orbUtils::getGeoIDStr("abcd:ef:1f.7"), "r001i01s01");
    EXPECT_EQ(orbUtils::getGeoIDStr("0001:02:01.3"), "r001i01s02");
}

TEST_F(Location, LaterRecordOfTheSameAddressReplacesWhateverItsType) {
    boot("PLATFORM-ID-A01",
         {{"r001u01p0i01", 0, 1}, {"r001u01p0i02", 0, 1}, {"r001u01p0i03", 0, 2}},
         {{"r001u01p0i04", 0, 2}, {"nothing", 0, 3}, {"r001u01p0i05", 0, 4}, {"none", 0, 4}});
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:01:00.0"), "r001u01p0i02");
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:02:00.0"), "r001u01p0i04");
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:04:00.0"), ""); // also by an empty one
    EXPECT_EQ(dumped(log).size(), 4u);
}

TEST_F(Location, AddressesAreLookedUpToTheLetter) {
    boot("PLATFORM-ID-A01", {}, {{"r001u01p0i00", 0, 0xC3}});
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:c3:00.0"), "r001u01p0i00");
    for (const char *other : {"0000:C3:00.0", "0000:c3:00.1", "c3:00.0", "", "0000:c3:00.0 "})
        EXPECT_EQ(orbUtils::getGeoIDStr(other), "NotAvailable") << other;
}

TEST_F(Location, EmptyTableKnowsNoAddress) {
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:c3:00.0"), "NotAvailable");
}

TEST_F(Location, ShortSlotRecordIsAtTheFirstAddress) {
    put(SmbiosImage()
            .add(1, familyBytes(), {"PLATFORM-ID-A01"})
            .add(9, Bytes(9, 1), {"r001u01p0i03"})
            .image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:00:00.0"), "r001u01p0i03");
}

TEST_F(Location, BothTypesAreFetchedBeforeTheFirstIsRead) {
    put(SmbiosImage().add(9, slotBytes({"a", 0, 1, 0}), {"a"}).image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap();
    std::vector<std::string> texts;
    for (const LogFile::Line &line : log.lines()) texts.push_back(line.text.substr(0, 22));
    const auto fetch = std::find(texts.begin(), texts.end(), "Unable to fetch smbios");
    const auto read = std::find(texts.begin(), texts.end(), "designation: a, segmen");
    ASSERT_NE(read, texts.end());
    EXPECT_LT(fetch, read);
}

TEST_F(Location, TableOfManyRecordsIsWhole) {
    std::vector<Place> slots, devices;
    for (int i = 0; i < 900; ++i) {
        const auto bus = static_cast<std::uint8_t>(i / 4),
                   function = static_cast<std::uint8_t>(i % 4);
        slots.push_back({"r001u01p0i03", 0, bus, function});
        devices.push_back({"r002u01p0i00", 1, bus, function});
    }
    boot("PLATFORM-ID-A01", slots, devices);
    EXPECT_EQ(dumped(log).size(), 1800u);
    EXPECT_EQ(orbUtils::getGeoIDStr("0000:e0:00.3"), "r001u01p0i03");
    EXPECT_EQ(orbUtils::getGeoIDStr("0001:e0:00.3"), "r002u01p0i00");
}
} // namespace
