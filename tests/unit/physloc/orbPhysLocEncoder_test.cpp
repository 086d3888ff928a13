#include "physloc/orbPhysLocEncoder.h"

#include <dlfcn.h>

#include <array>
#include <cstring>
#include <ostream>

#include <gtest/gtest.h>

#include "physloc/orbQLPhysLocInterface.h"
#include "physloc/orbZRTKPhysLocInterface.h"
#include "support/LocationWorld.h"

namespace {
constexpr char UNKNOWN[] = "FFFFFFFFFFFFFFFF";

// The library of the tests: it prepares all of the record's room, keeps what it was asked, and
// answers as it was told to.
std::array<std::uint8_t, 256> asked;
int askedVersion, prepared, encoded, answer;
std::uint64_t answeredValue;
bool aligned;

void physloc_init_data(void *record, int version) {
    ++prepared;
    askedVersion = version;
    aligned = reinterpret_cast<std::uintptr_t>(record) % 8 == 0;
    const auto *const bytes = static_cast<const std::uint8_t *>(record);
    for (std::size_t at = 0; at < asked.size(); ++at) EXPECT_EQ(bytes[at], 0) << at;
    std::memset(record, 0xA5, asked.size());
}
int physloc_encode(void *record, std::uint64_t *value) {
    ++encoded;
    std::memcpy(asked.data(), record, asked.size());
    *value = answeredValue;
    return answer;
}

struct EncoderUnderTest {
    const char *name;
    orbPhysLocEncoder *(*get)();
    const char *family;
    const char *library;
    const char *tag;
    const char *slotGeoID; // rack 2, element 3, in slot 7
    const char *boardGeoID;
};
const EncoderUnderTest QL = {
    "QL",
    []() -> orbPhysLocEncoder * { return __orbQLPhysLocInterface__getInstance(); },
    "PLATFORM-ID-A01",
    "libgeoenc02.so",
    "QLPL_INTF",
    "r002u03p4i07",
    "r002u03p4i00"};
const EncoderUnderTest ZRTK = {
    "ZRTK",
    []() -> orbPhysLocEncoder * { return __orbZRTKPhysLocInterface__getInstance(); },
    "PLATFORM-ID-B02",
    "libgeoenc03.so",
    "ZRTKPL_INTF",
    "r002i03s07",
    "r002i03s00"};
void PrintTo(const EncoderUnderTest &row, std::ostream *os) {
    *os << row.name;
}

constexpr char SLOT[] = "0000:24:00.0", BOARD[] = "0000:c3:00.1", NOWHERE[] = "0000:99:00.0";
constexpr char OTHER_RACK[] = "0000:25:00.0", BROKEN[] = "0000:26:00.0";
constexpr char OTHER_ELEMENT[] = "0000:27:00.0";

/// A world in which both kinds of place are known.
class EncoderWorld : public LocationWorld {
public:
    explicit EncoderWorld(const EncoderUnderTest &encoderUnderTest) : under(encoderUnderTest) {
        std::string otherRack = under.slotGeoID;
        otherRack[3] = '9';
        std::string otherElement = under.slotGeoID;
        otherElement[6] = '9';
        boot(under.family,
             {{std::string("PCI ") + under.slotGeoID, 0, 0x24},
              {"PCI " + otherRack, 0, 0x25},
              {"PCI none", 0, 0x26},
              {"PCI " + otherElement, 0, 0x27}},
             {{std::string("LAN ") + under.boardGeoID, 0, 0xC3, 1}});
        asked.fill(0);
        askedVersion = prepared = encoded = answer = 0;
        answeredValue = 0x0123456789ABCDEF;
    }
    orbPhysLocEncoder &load() {
        libraries.add(under.library,
                      {{"physloc_init_data", FakeLibraries::entry(physloc_init_data)},
                       {"physloc_encode", FakeLibraries::entry(physloc_encode)}});
        EXPECT_EQ(under.get()->Initialize(), 1);
        return *under.get();
    }
    int debugLines(const std::string &text) { return log.count("DEBUG", under.tag, text); }

    const EncoderUnderTest &under;
};

class Encoders : public ::testing::TestWithParam<EncoderUnderTest> {};
INSTANTIATE_TEST_SUITE_P(Both, Encoders, ::testing::Values(QL, ZRTK),
                         [](const auto &row) { return std::string(row.param.name); });

// -- The library --------------------------------------------------------------------------------

TEST_P(Encoders, ThereIsOneOfEach) {
    EXPECT_EQ(GetParam().get(), GetParam().get());
    EXPECT_NE(static_cast<orbPhysLocEncoder *>(orbQLPhysLocInterface::getInstance()),
              static_cast<orbPhysLocEncoder *>(orbZRTKPhysLocInterface::getInstance()));
    EXPECT_EQ(__orbQLPhysLocInterface__getInstance(), orbQLPhysLocInterface::getInstance());
    EXPECT_EQ(__orbZRTKPhysLocInterface__getInstance(), orbZRTKPhysLocInterface::getInstance());
    EXPECT_EQ(GetParam().get()->getPhysLocLibraryName(), GetParam().library);
}

TEST_P(Encoders, LoadTheLibraryOnce) {
    EncoderWorld world(GetParam());
    EXPECT_EQ(world.load().Initialize(), 1);
    EXPECT_EQ(world.libraries.calls(),
              (std::vector<std::string>{"error",
                                        std::string("open ") + GetParam().library + " " +
                                            std::to_string(RTLD_LAZY | RTLD_GLOBAL),
                                        "symbol physloc_init_data", "symbol physloc_encode"}));
    EXPECT_EQ(world.debugLines("Successfully loaded physical location library."), 1);
}

TEST_P(Encoders, LibraryThatIsMissingIsToldWithTheLoadersText) {
    EncoderWorld world(GetParam());
    EXPECT_EQ(GetParam().get()->Initialize(), 0);
    const std::string name = GetParam().library;
    EXPECT_EQ(world.log.count("ERROR", GetParam().tag,
                              "Failed to load physical location library [" + name + "]: (" + name +
                                  ": cannot open shared object file)"),
              1);
    EXPECT_EQ(GetParam().get()->getPhysLocForIOSlot(SLOT), UNKNOWN);

    EXPECT_EQ(world.load().getPhysLocForIOSlot(SLOT), "0123456789ABCDEF"); // asked again
}

TEST_P(Encoders, EachSymbolIsNeeded) {
    EncoderWorld world(GetParam());
    const std::string library = GetParam().library;
    for (const std::string missing : {"physloc_init_data", "physloc_encode"}) {
        FakeLibraries::SYMBOLS symbols = {
            {"physloc_init_data", FakeLibraries::entry(physloc_init_data)},
            {"physloc_encode", FakeLibraries::entry(physloc_encode)}};
        symbols.erase(missing);
        world.libraries.add(library, symbols);
        EXPECT_EQ(GetParam().get()->Initialize(), 0);
        EXPECT_EQ(world.log.count("ERROR", "PL_INTF",
                                  "Failed to find address of symbol [" + missing + "]: (" +
                                      library + ": undefined symbol: " + missing + ")"),
                  1);
        EXPECT_EQ(world.libraries.opened(library), 0);
        EXPECT_EQ(GetParam().get()->getPhysLocForIOSlot(SLOT), UNKNOWN);
    }
    EXPECT_EQ(prepared, 0);
}

TEST_P(Encoders, WithNeitherSymbolTheFirstIsTold) {
    EncoderWorld world(GetParam());
    world.libraries.add(GetParam().library, {});
    EXPECT_EQ(GetParam().get()->Initialize(), 0);
    EXPECT_EQ(world.log.countHolding("ERROR", "PL_INTF", "[physloc_init_data]"), 1);
    EXPECT_EQ(world.log.countHolding("ERROR", "PL_INTF", ""), 1);
}

TEST_P(Encoders, AfterTheEndPlacesAreUnknownUntilTheNextStart) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    encoder.UnInitialize();
    encoder.UnInitialize(); // nothing more to close
    EXPECT_EQ(world.libraries.opened(GetParam().library), 0);
    physloc_rtn_t rtn = 77;
    EXPECT_EQ(encoder.physlocEncode(SLOT, orbUtils::getGeoIDInfo(SLOT), 3, &rtn, "NA"), UNKNOWN);
    EXPECT_EQ(rtn, 1);
    EXPECT_EQ(prepared, 0);
    EXPECT_EQ(encoder.Initialize(), 1);
    EXPECT_EQ(encoder.getPhysLocForIOSlot(SLOT), "0123456789ABCDEF");
}

// -- Addresses ----------------------------------------------------------------------------------

TEST_P(Encoders, InvalidAddressesAreToldPerOperation) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    for (const std::string address : {"0000:24:00.00", "0000:24:00", ""}) {
        EXPECT_EQ(encoder.getPCIeSlotForIOSlot(address), "0");
        EXPECT_EQ(encoder.getPhysLocForIOSlot(address), UNKNOWN);
        EXPECT_EQ(encoder.getPhysLocForNetworkAdapter(address), UNKNOWN);
        EXPECT_EQ(encoder.getPhysLocForExternalDrive(address), UNKNOWN);
        EXPECT_EQ(encoder.getPhysLocForChassisDriveSlot(address, 99), UNKNOWN);
        EXPECT_EQ(encoder.getPhysLocForChassisStorageBackplane(address, 99), UNKNOWN);
        EXPECT_EQ(encoder.checkIfPCICardIsOnBoard(address), -4);
        const std::string tail = " controller PCI address is invalid. ([" + address + "])";
        EXPECT_EQ(world.debugLines("I/O" + tail), 3);
        EXPECT_EQ(world.debugLines("Network" + tail), 1);
        EXPECT_EQ(world.debugLines("Storage" + tail), 3);
    }
    EXPECT_EQ(prepared, 0);
    EXPECT_EQ(world.log.countHolding("DEBUG", GetParam().tag, "Invalid "), 0);
}

TEST_P(Encoders, UnknownPlaceIsUnknownEverywhere) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    EXPECT_EQ(encoder.getPCIeSlotForIOSlot(NOWHERE), "0");
    EXPECT_EQ(encoder.getPhysLocForIOSlot(NOWHERE), UNKNOWN);
    EXPECT_EQ(encoder.getPhysLocForExternalDrive(NOWHERE), UNKNOWN);
    EXPECT_EQ(encoder.getPhysLocForNetworkAdapter(NOWHERE), UNKNOWN);
    EXPECT_EQ(encoder.getPhysLocForChassisDriveSlot(NOWHERE, 1), UNKNOWN);
    EXPECT_EQ(encoder.getPhysLocForChassisStorageBackplane(NOWHERE, 1), UNKNOWN);
    EXPECT_EQ(encoder.checkIfPCICardIsOnBoard(NOWHERE), -4);

    EXPECT_EQ(world.debugLines("PCI address: [0000:99:00.0]; GeoID split size: [0]; Slot #: [0]"),
              2);
    EXPECT_EQ(world.debugLines("Failed to determine physical location for PCI address "
                               "[0000:99:00.0]. (0, [])"),
              2);
    const std::string unexpected =
        "Unexpected GeoID split size [0] at PCI address [0000:99:00.0] for ";
    EXPECT_EQ(world.debugLines(unexpected + "network adapter."), 1);
    EXPECT_EQ(world.debugLines(unexpected + "chassis drive slot."), 1);
    EXPECT_EQ(world.debugLines(unexpected + "storage backplane."), 1);
    EXPECT_EQ(prepared, 0);
}

// -- Tests of places ----------------------------------------------------------------------------

TEST_P(Encoders, SlotIsTheLastElement) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    const std::string size = std::to_string(GetParam().tag == std::string("QLPL_INTF") ? 4 : 3);
    EXPECT_EQ(encoder.getPCIeSlotForIOSlot(SLOT), "07");
    EXPECT_EQ(encoder.getPCIeSlotForIOSlot(BOARD), "00");
    EXPECT_EQ(world.debugLines("PCI address: [0000:24:00.0]; GeoID split size: [" + size +
                               "]; Slot #: [07]"),
              1);
    EXPECT_EQ(encoder.checkIfPCICardIsOnBoard(SLOT), 3);
    EXPECT_EQ(encoder.checkIfPCICardIsOnBoard(BOARD), 2);
    EXPECT_EQ(prepared, 0);
}

TEST_P(Encoders, SameChassisIsSameFirstTwoElements) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(SLOT, BOARD), 1);
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(SLOT, SLOT), 1);
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(SLOT, OTHER_RACK), 0);
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(SLOT, OTHER_ELEMENT), 0);
}

TEST_P(Encoders, SameChassisOfInvalidAddressesIsToldOnce) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    const std::string text = "Either or both PCI addresses specified are not valid. ";
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis("x", SLOT), -1);
    EXPECT_EQ(world.debugLines(text + "([x], [0000:24:00.0])"), 1);
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(SLOT, "y"), -1);
    EXPECT_EQ(world.debugLines(text + "([0000:24:00.0], [y])"), 1);
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis("x", "y"), -1);
    EXPECT_EQ(world.debugLines(text + "([x], [y])"), 1);
}

TEST_P(Encoders, SameChassisOfUnknownPlacesIsToldWithTheirSizes) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    const std::string size = std::to_string(orbUtils::getGeoIDInfo(SLOT).size());
    const std::string text = "Split size of either or both GeoIDs are invalid [";
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(SLOT, NOWHERE), -2);
    EXPECT_EQ(world.debugLines(text + size +
                               ", 0], at PCI addresses [0000:24:00.0, 0000:99:00.0], "
                               "respectively."),
              1);
    EXPECT_EQ(encoder.checkPCIDevicesLocatedInSameChassis(BROKEN, SLOT), -2);
    EXPECT_EQ(world.debugLines(text + "0, " + size +
                               "], at PCI addresses [0000:26:00.0, 0000:24:00.0], respectively."),
              1);
}

// -- Encoding -----------------------------------------------------------------------------------

struct UnitCase {
    const char *name;
    const EncoderUnderTest *under;
    std::string (*locate)(orbPhysLocEncoder &);
    std::uint32_t type;
    int slot;          // 7 or 0
    const char *extra; // as the log tells it
    int extraByte;     // -1 where the library's preparation stays
};
const UnitCase UNIT_CASES[] = {
    {"QLIOSlot", &QL, [](auto &e) { return e.getPhysLocForIOSlot(SLOT); }, 3, 7, "NA", -1},
    {"QLIOSlotOnBoard", &QL, [](auto &e) { return e.getPhysLocForIOSlot(BOARD); }, 3, 0, "NA", -1},
    {"QLAdapter", &QL, [](auto &e) { return e.getPhysLocForNetworkAdapter(SLOT); }, 3, 7, "NA", -1},
    {"QLAdapterOnBoard", &QL, [](auto &e) { return e.getPhysLocForNetworkAdapter(BOARD); }, 59, 0,
     "1", 1},
    {"QLExternalDrive", &QL, [](auto &e) { return e.getPhysLocForExternalDrive(SLOT); }, 69, 7,
     "NA", -1},
    {"QLFirstBay", &QL, [](auto &e) { return e.getPhysLocForChassisDriveSlot(SLOT, 1); }, 56, 7,
     "1", 1},
    {"QLLastBay", &QL, [](auto &e) { return e.getPhysLocForChassisDriveSlot(SLOT, 10); }, 56, 7,
     "10", 10},
    {"QLBox1", &QL, [](auto &e) { return e.getPhysLocForChassisStorageBackplane(SLOT, 1); }, 64, 7,
     "1", 1},
    {"QLBox2", &QL, [](auto &e) { return e.getPhysLocForChassisStorageBackplane(SLOT, 2); }, 64, 7,
     "2", 2},
    {"ZRTKIOSlot", &ZRTK, [](auto &e) { return e.getPhysLocForIOSlot(SLOT); }, 3, 7, "NA", -1},
    {"ZRTKAdapter", &ZRTK, [](auto &e) { return e.getPhysLocForNetworkAdapter(SLOT); }, 3, 7, "NA",
     -1},
    {"ZRTKAdapterOnBoard", &ZRTK, [](auto &e) { return e.getPhysLocForNetworkAdapter(BOARD); }, 48,
     0, "1", 1},
    {"ZRTKExternalDrive", &ZRTK, [](auto &e) { return e.getPhysLocForExternalDrive(SLOT); }, 61, 7,
     "NA", -1},
    {"ZRTKBay0", &ZRTK, [](auto &e) { return e.getPhysLocForChassisDriveSlot(SLOT, 0); }, 45, 7,
     "0", 0},
    {"ZRTKLastBay", &ZRTK, [](auto &e) { return e.getPhysLocForChassisDriveSlot(SLOT, 3); }, 45, 7,
     "3", 3},
    {"ZRTKNegativeBay", &ZRTK, [](auto &e) { return e.getPhysLocForChassisDriveSlot(SLOT, -1); },
     45, 7, "-1", 0xFF},
    {"ZRTKAnyBox", &ZRTK, [](auto &e) { return e.getPhysLocForChassisStorageBackplane(SLOT, 99); },
     53, 7, "NA", -1},
};
void PrintTo(const UnitCase &row, std::ostream *os) {
    *os << row.name;
}
class EncodedUnit : public ::testing::TestWithParam<UnitCase> {
protected:
    /// What the library is asked: its own preparation, with our fields in their places.
    std::array<std::uint8_t, 256> expected() const {
        std::array<std::uint8_t, 256> bytes{};
        bytes.fill(0xA5);
        const std::uint32_t type = GetParam().type;
        std::memcpy(bytes.data(), &type, sizeof type);
        bytes[4] = 2;
        bytes[5] = 3;
        if (GetParam().under == &QL) bytes[8] = 4;
        bytes[11] = static_cast<std::uint8_t>(GetParam().slot);
        if (GetParam().extraByte >= 0) bytes[13] = static_cast<std::uint8_t>(GetParam().extraByte);
        return bytes;
    }
};
INSTANTIATE_TEST_SUITE_P(Units, EncodedUnit, ::testing::ValuesIn(UNIT_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(EncodedUnit, IsAskedByteForByteAndTold) {
    EncoderWorld world(*GetParam().under);
    EXPECT_EQ(GetParam().locate(world.load()), "0123456789ABCDEF");
    EXPECT_EQ(asked, expected());
    EXPECT_EQ(askedVersion, 2);
    EXPECT_TRUE(aligned);
    EXPECT_EQ(prepared, 1);
    EXPECT_EQ(encoded, 1);
    const std::string address = GetParam().slot == 7 ? SLOT : BOARD;
    const std::string slot = GetParam().slot == 7 ? "07" : "00";
    const std::string elements = GetParam().under == &QL ? "002, 03, 4, " : "002, 03, ";
    EXPECT_EQ(world.debugLines("PCI address [" + address + "]: [" +
                               std::to_string(GetParam().type) + "] - {" + elements + slot + ", " +
                               GetParam().extra + "} - PL: [0123456789ABCDEF]"),
              1);
}

TEST_P(EncodedUnit, IsUnknownWhereTheLibraryRefuses) {
    EncoderWorld world(*GetParam().under);
    answer = -5;
    EXPECT_EQ(GetParam().locate(world.load()), UNKNOWN);
    const std::string address = GetParam().slot == 7 ? SLOT : BOARD;
    const std::string elements = GetParam().under == &QL ? "2, 3, 4, " : "2, 3, ";
    EXPECT_EQ(world.debugLines("Failed to encode physical location for PCI address [" + address +
                               "]. (-5) [" + elements + std::to_string(GetParam().slot) + ", " +
                               GetParam().extra + "]"),
              1);
    EXPECT_EQ(world.log.countHolding("DEBUG", GetParam().under->tag, "- PL: "), 0);
}

TEST(QLEncoder, BaysBeyondTheChassisAreRefusedBeforeThePlaceIsLookedUp) {
    EncoderWorld world(QL);
    orbPhysLocEncoder &encoder = world.load();
    for (int bay : {-1, 0, 11, 1000}) {
        EXPECT_EQ(encoder.getPhysLocForChassisDriveSlot(NOWHERE, bay), UNKNOWN);
        EXPECT_EQ(world.debugLines("Invalid internal drive bay # [" + std::to_string(bay) +
                                   "] for physical location encoding at PCI address "
                                   "[0000:99:00.0]."),
                  1);
    }
    EXPECT_EQ(world.log.countHolding("DEBUG", "ORB_UTILS", "GeoID not available"), 0);
}

TEST(QLEncoder, BoxesBeyondTwoAreRefusedBeforeThePlaceIsLookedUp) {
    EncoderWorld world(QL);
    orbPhysLocEncoder &encoder = world.load();
    for (int box : {-1, 0, 3}) {
        EXPECT_EQ(encoder.getPhysLocForChassisStorageBackplane(NOWHERE, box), UNKNOWN);
        EXPECT_EQ(world.debugLines("Invalid box number [" + std::to_string(box) +
                                   "] for storage backplane connected to PCI address "
                                   "[0000:99:00.0]."),
                  1);
    }
    EXPECT_EQ(world.log.countHolding("DEBUG", "ORB_UTILS", "GeoID not available"), 0);
}

TEST(ZRTKEncoder, FourthBayIsRefused) {
    EncoderWorld world(ZRTK);
    EXPECT_EQ(world.load().getPhysLocForChassisDriveSlot(SLOT, 4), UNKNOWN);
    EXPECT_EQ(world.debugLines("Invalid internal drive bay # [4] for physical location encoding "
                               "at PCI address [0000:24:00.0]."),
              1);
}

TEST_P(Encoders, ElementsOfAnySizeGoInByTheirLowByte) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    std::vector<std::string> geoID = orbUtils::getGeoIDInfo(SLOT);
    geoID[0] = "999";                        // 3 * 256 + 231
    geoID[1] = "99999999999999999999999999"; // stays at its type's limit
    physloc_rtn_t rtn = 77;
    EXPECT_EQ(encoder.physlocEncode(SLOT, geoID, 0x89ABCDEF, &rtn, "256"), "0123456789ABCDEF");
    EXPECT_EQ(rtn, 0);
    EXPECT_EQ(asked[4], 231);
    EXPECT_EQ(asked[5], 255);
    EXPECT_EQ(asked[13], 0);
    const std::uint32_t type = 0x89ABCDEF;
    EXPECT_EQ(std::memcmp(asked.data(), &type, sizeof type), 0);
    answer = 9;
    EXPECT_EQ(encoder.physlocEncode(SLOT, geoID, 3, &rtn, "NA"), UNKNOWN);
    EXPECT_EQ(rtn, 9);
    EXPECT_EQ(world.log.countHolding("DEBUG", GetParam().tag, "(9) [231, 255, "), 1);
}

TEST_P(Encoders, WrongCountOfElementsIsToldAndNotAsked) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    physloc_rtn_t rtn = 77;
    EXPECT_EQ(encoder.physlocEncode(SLOT, {"1", "2"}, 3, &rtn, "NA"), UNKNOWN);
    EXPECT_EQ(rtn, 1);
    EXPECT_EQ(encoder.physlocEncode(SLOT, {"1", "2", "3", "4", "5"}, 3, nullptr, "NA"), UNKNOWN);
    const std::string text =
        "Failed to determine physical location for PCI address [0000:24:00.0]. ";
    EXPECT_EQ(world.debugLines(text + "(2, [1 2])"), 1);
    EXPECT_EQ(world.debugLines(text + "(5, [1 2 3 4 5])"), 1);
    EXPECT_EQ(prepared, 0);
}

TEST_P(Encoders, CodesHaveSixteenDigits) {
    EncoderWorld world(GetParam());
    orbPhysLocEncoder &encoder = world.load();
    answeredValue = 0;
    EXPECT_EQ(encoder.getPhysLocForIOSlot(SLOT), "0000000000000000");
    answeredValue = 0xAB;
    EXPECT_EQ(encoder.getPhysLocForIOSlot(SLOT), "00000000000000AB");
    answeredValue = ~0ull;
    EXPECT_EQ(encoder.getPhysLocForIOSlot(SLOT), UNKNOWN);
}
} // namespace
