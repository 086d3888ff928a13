#include "physloc/smbios_decode.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/SmbiosImage.h"

namespace {
using Texts = std::vector<std::string>;

std::vector<int> walked_types(std::span<const std::uint8_t> table) {
    std::vector<int> types;
    orbSmbiosWalk walk(table);
    for (auto structure = walk.next(); !structure.empty(); structure = walk.next())
        types.push_back(structure[0]);
    return types;
}

/// Type 9 with every field told apart; `size` bytes of the whole.
Bytes slot_bytes(std::size_t size) {
    Bytes bytes = {9,    0,    0x34, 0x12, 1,    0xA5, 0x0D, 4,   3,
                   0x02, 0x01, 0x04, 0x05, 0xCD, 0xAB, 0x24, 0x1B};
    bytes.resize(size);
    bytes[1] = static_cast<std::uint8_t>(size);
    return bytes;
}

Bytes with_strings(Bytes bytes, const Texts &strings) {
    for (const std::string &text : strings) {
        bytes.insert(bytes.end(), text.begin(), text.end());
        bytes.push_back(0);
    }
    bytes.push_back(0);
    if (strings.empty()) bytes.push_back(0);
    return bytes;
}

DmiSystemSlot decode_slot(const Bytes &bytes) {
    DmiSystemSlot slot{};
    EXPECT_EQ(DmiSystemSlot_Decode(&slot, bytes, 0), 0);
    return slot;
}

DmiOnboardDevicesEx decode_device(const Bytes &bytes) {
    DmiOnboardDevicesEx device{};
    EXPECT_EQ(DmiOnboardDevicesEx_decode(&device, bytes, 0), 0);
    return device;
}

DmiSystemInfo decode_system(const Bytes &bytes) {
    DmiSystemInfo system{};
    EXPECT_EQ(DmiSystemInfo_decode(&system, bytes, 0), 0);
    return system;
}

/// Type 1 of a length; strings 1 to 6 are "Maker", "Product", "Version", "Serial", "SKU", "Family".
Bytes system_bytes(std::size_t length, const Bytes &uuid = Bytes(16, 0x11)) {
    Bytes bytes = {1, static_cast<std::uint8_t>(length), 0, 1, 1, 2, 3, 4};
    bytes.insert(bytes.end(), uuid.begin(), uuid.end());
    bytes.insert(bytes.end(), {6, 5, 6});
    bytes.resize(length);
    return with_strings(bytes, {"Maker", "Product", "Version", "Serial", "SKU", "Family"});
}

// -- Where the table is -------------------------------------------------------------------------

TEST(FindSmbiosTable, FollowsTheEntryPointDirectly) {
    const Bytes image = SmbiosImage::exampleServer();
    const auto table = find_smbios_table(image);
    ASSERT_TRUE(table);
    EXPECT_EQ(table->data(), image.data() + 0x1F);
    EXPECT_EQ(table->size(), 224u);
}

class AnchorPlace : public ::testing::TestWithParam<std::size_t> {};
TEST_P(AnchorPlace, IsFoundOnFourByteBoundariesOnly) {
    Bytes image = SmbiosImage().add(1, Bytes(23)).image();
    image.insert(image.begin(), GetParam(), 0xEE);
    EXPECT_EQ(find_smbios_table(image).has_value(), GetParam() % 4 == 0);
}
INSTANTIATE_TEST_SUITE_P(Offsets, AnchorPlace,
                         ::testing::Values(0, 1, 2, 3, 4, 5, 6, 8, 10, 12, 16, 20, 4096));

TEST(FindSmbiosTable, WrongChecksumIsAccepted) {
    Bytes image = SmbiosImage::exampleServer();
    image[4] ^= 0xFF;
    image[21] ^= 0xFF;
    EXPECT_TRUE(find_smbios_table(image));
}

TEST(FindSmbiosTable, FirstAnchorCounts) {
    Bytes image = SmbiosImage().add(1, Bytes(23)).image(); // 62 bytes
    const Bytes second = SmbiosImage().add(9, Bytes(13)).image();
    image.resize(64);
    image.insert(image.end(), second.begin(), second.end());
    EXPECT_EQ(find_smbios_table(image)->data(), image.data() + 0x1F);
}

TEST(FindSmbiosTable, SixtyFourBitEntryPointAloneIsNone) {
    Bytes image = SmbiosImage().add(1, Bytes(23)).image();
    std::memcpy(image.data(), "_SM3_", 5);
    EXPECT_FALSE(find_smbios_table(image));
}

TEST(FindSmbiosTable, EmptyImageHasNone) {
    EXPECT_FALSE(find_smbios_table({}));
    const Bytes three = {'_', 'S', 'M'};
    EXPECT_FALSE(find_smbios_table(three));
}

TEST(FindSmbiosTable, AnchorAsLastBytesGivesAnEmptyTable) {
    const Bytes image = {0, 0, 0, 0, '_', 'S', 'M', '_'};
    ASSERT_TRUE(find_smbios_table(image));
    EXPECT_TRUE(find_smbios_table(image)->empty());
}

TEST(FindSmbiosTable, EntryLengthBeyondTheImageGivesAnEmptyTable) {
    Bytes image = SmbiosImage().add(1, Bytes(23)).image();
    image[5] = 0xFF;
    ASSERT_TRUE(find_smbios_table(image));
    EXPECT_TRUE(find_smbios_table(image)->empty());
}

TEST(FindSmbiosTable, TableLengthBeyondTheImageIsCutToIt) {
    const SmbiosImage built = SmbiosImage().add(1, Bytes(23));
    EXPECT_EQ(find_smbios_table(built.image(0xFFFF))->size(), built.table().size());
}

TEST(FindSmbiosTable, ShorterTableLengthHidesWhatIsBehind) {
    EXPECT_EQ(find_smbios_table(SmbiosImage::exampleServer())->size(), 224u);
    Bytes image = SmbiosImage::exampleServer();
    image[22] = 100;
    EXPECT_EQ(find_smbios_table(image)->size(), 100u);
}

// -- The walk -----------------------------------------------------------------------------------

TEST(SmbiosWalk, VisitsEveryStructureInOrder) {
    const Bytes image = SmbiosImage::exampleServer();
    EXPECT_EQ(walked_types(*find_smbios_table(image)), (std::vector{1, 9, 9, 41, 127}));
}

TEST(SmbiosWalk, EndOfTableStructureIsWalkedOver) {
    const Bytes table = SmbiosImage().add(127, {}).add(9, Bytes(13), {"behind"}).table();
    EXPECT_EQ(walked_types(table), (std::vector{127, 9}));
}

TEST(SmbiosWalk, EmptyTableHasNone) {
    EXPECT_TRUE(walked_types({}).empty());
}

TEST(SmbiosWalk, FewerThanFourBytesAreNoStructure) {
    for (std::size_t left = 1; left < 4; ++left) {
        Bytes table = SmbiosImage().add(1, Bytes(4)).table();
        table.insert(table.end(), left, 9);
        EXPECT_EQ(walked_types(table), std::vector{1}) << left;
    }
}

TEST(SmbiosWalk, StructureWithoutEndPairIsTheLast) {
    Bytes table = SmbiosImage().add(1, Bytes(4)).table();
    const Bytes cut = {9, 5, 0, 1, 1, 'n', 'o', ' ', 'e', 'n', 'd', 0};
    table.insert(table.end(), cut.begin(), cut.end());
    EXPECT_EQ(walked_types(table), (std::vector{1, 9}));
}

TEST(SmbiosWalk, StructureLongerThanTheTableIsTheLast) {
    const Bytes table = SmbiosImage().addRaw(9, 200, Bytes(13, 1), {"x"}).table();
    EXPECT_EQ(walked_types(table), std::vector{9});
}

TEST(SmbiosWalk, NulPairInTheFormattedPartDoesNotEndIt) {
    const Bytes table = SmbiosImage().add(9, Bytes(13, 0), {"x"}).add(1, Bytes(4)).table();
    EXPECT_EQ(walked_types(table), (std::vector{9, 1}));
}

class ShortLength : public ::testing::TestWithParam<int> {};
TEST_P(ShortLength, StillMovesOn) {
    // Header bytes are not NUL, so that the pair behind the string ends the structure.
    const Bytes table = SmbiosImage()
                            .addRaw(9, static_cast<std::uint8_t>(GetParam()), {}, {"text"})
                            .add(41, Bytes(7, 1), {"next"})
                            .table();
    EXPECT_EQ(walked_types(table), (std::vector{9, 41}));
}
INSTANTIATE_TEST_SUITE_P(BelowFour, ShortLength, ::testing::Values(0, 1, 2, 3));

TEST(SmbiosWalk, AllZeroesEnd) {
    const Bytes zeroes(65536, 0);
    EXPECT_EQ(walked_types(zeroes).size(), 65536u / 2 - 1);
}

TEST(SmbiosWalk, CutAnywhereEndsAndKeepsWhatIsWhole) {
    const Bytes image = SmbiosImage::exampleServer();
    const auto whole = walked_types(*find_smbios_table(image));
    for (std::size_t size = 0x1F; size <= image.size(); ++size) {
        const Bytes cut(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size));
        const auto types = walked_types(*find_smbios_table(cut));
        ASSERT_LE(types.size(), whole.size()) << size;
        EXPECT_TRUE(std::equal(types.begin(), types.end(), whole.begin())) << size;
    }
}

TEST(CountSmbiosStructures, CountsOneType) {
    const Bytes image = SmbiosImage::exampleServer();
    const auto table = *find_smbios_table(image);
    EXPECT_EQ(count_smbios_structures(table, 1), 1);
    EXPECT_EQ(count_smbios_structures(table, 9), 2);
    EXPECT_EQ(count_smbios_structures(table, 41), 1);
    EXPECT_EQ(count_smbios_structures(table, 4), 0);
    EXPECT_EQ(count_smbios_structures(table, 256 + 9), 0);
}

// -- Strings ------------------------------------------------------------------------------------

struct StringCase {
    const char *name;
    std::string area; ///< behind the four bytes of the header
    std::uint8_t number;
    std::string text;
};
void PrintTo(const StringCase &row, std::ostream *os) {
    *os << row.name;
}
const std::string TWO("first\0second\0\0", 14);
const StringCase STRING_CASES[] = {
    {"First", TWO, 1, "first"},
    {"Second", TWO, 2, "second"},
    {"NumberZero", TWO, 0, "Undefined"},
    {"PastTheLast", TWO, 3, "Undefined"},
    {"FarPastTheLast", TWO, 255, "Undefined"},
    {"NoStrings", std::string("\0\0", 2), 1, "Undefined"},
    {"NoStringsSecond", std::string("\0\0next\0", 7), 2, "Undefined"},
    {"EmptySkipped", std::string("\0second\0\0", 9), 2, "Undefined"},
    {"NothingThere", "", 1, "Undefined"},
    {"NoEnd", "first", 1, "Undefined"},
    {"SecondHasNoEnd", std::string("first\0second", 12), 2, "Undefined"},
    {"SecondIsMissing", std::string("first\0", 6), 2, "Undefined"},
    {"ControlBytes", std::string("a\tb\x1F\x7F\0\0", 7), 1, "a.b.."},
    {"EdgesOfPrintable", std::string(" ~\0\0", 4), 1, " ~"},
    {"HighBytes", std::string("caf\xC3\xA9\xFF\0\0", 8), 1, "caf..."},
    {"OnlyControl", std::string("\x01\0\0", 3), 1, "."},
};
class SmbiosString : public ::testing::TestWithParam<StringCase> {};
TEST_P(SmbiosString, IsFoundAndCleaned) {
    Bytes bytes = {1, 4, 0, 1};
    bytes.insert(bytes.end(), GetParam().area.begin(), GetParam().area.end());
    EXPECT_EQ(_toString(bytes, 4, GetParam().number), GetParam().text);
}
INSTANTIATE_TEST_SUITE_P(Areas, SmbiosString, ::testing::ValuesIn(STRING_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(SmbiosString, LengthBeyondTheTableIsUndefined) {
    const Bytes bytes = {1, 200, 0, 1, 'a', 0, 0};
    EXPECT_EQ(_toString(bytes, 200, 1), "Undefined");
}

// -- Type 9 -------------------------------------------------------------------------------------

TEST(DecodeSlot, TakesEveryField) {
    const DmiSystemSlot slot = decode_slot(with_strings(slot_bytes(17), {"Slot 3"}));
    EXPECT_EQ(slot.type, 9);
    EXPECT_EQ(slot.length, 17);
    EXPECT_EQ(slot.handle, 0x1234);
    EXPECT_STREQ(slot.designation, "Slot 3");
    EXPECT_EQ(slot.slotType, 0xA5);
    EXPECT_EQ(slot.busDataWidth, 0x0D);
    EXPECT_EQ(slot.currentUsage, 4);
    EXPECT_EQ(slot.slotLength, 3);
    EXPECT_EQ(slot.id, 0x0102);
    EXPECT_EQ(slot.characteristics1, 4);
    EXPECT_EQ(slot.characteristics2, 5);
    EXPECT_EQ(slot.segmentGroupNum, 0xABCD);
    EXPECT_EQ(slot.busNum, 0x24);
    EXPECT_EQ(slot.devFuncNum, 0x1B);
}

TEST(DecodeSlot, LengthThirteenHasNoAddress) {
    const DmiSystemSlot slot = decode_slot(with_strings(slot_bytes(13), {"Slot 3"}));
    EXPECT_EQ(slot.characteristics2, 5);
    EXPECT_EQ(slot.segmentGroupNum, 0);
    EXPECT_EQ(slot.busNum, 0);
    EXPECT_EQ(slot.devFuncNum, 0);
}

TEST(DecodeSlot, LengthFourteenTakesTheAddressFromTheStrings) {
    const DmiSystemSlot slot = decode_slot(with_strings(slot_bytes(14), {"Slot 3"}));
    EXPECT_EQ(slot.segmentGroupNum, 'S' << 8 | 0xCD);
    EXPECT_EQ(slot.busNum, 'l');
    EXPECT_EQ(slot.devFuncNum, 'o');
}

TEST(DecodeSlot, BytesBeyondTheTableReadZero) {
    Bytes bytes = slot_bytes(14);
    const DmiSystemSlot slot = decode_slot(bytes);
    EXPECT_EQ(slot.segmentGroupNum, 0x00CD);
    EXPECT_EQ(slot.busNum, 0);
    EXPECT_EQ(slot.devFuncNum, 0);
    EXPECT_STREQ(slot.designation, "Undefined");
}

TEST(DecodeSlot, HeaderAloneReadsZeroBehindIt) {
    const DmiSystemSlot slot = decode_slot({9, 17, 2, 1});
    EXPECT_EQ(slot.handle, 0x0102);
    EXPECT_EQ(slot.slotType, 0);
    EXPECT_EQ(slot.devFuncNum, 0);
}

TEST(DecodeSlot, DesignationNumberPastTheLastStringIsUndefined) {
    Bytes bytes = slot_bytes(17);
    bytes[4] = 2;
    EXPECT_STREQ(decode_slot(with_strings(bytes, {"Slot 3"})).designation, "Undefined");
}

TEST(DecodeSlot, LongDesignationIsCutAndEnded) {
    const std::string text(300, 'x');
    const DmiSystemSlot slot = decode_slot(with_strings(slot_bytes(17), {text}));
    EXPECT_EQ(std::string(slot.designation), text.substr(0, 127));
    EXPECT_EQ(slot.slotType, 0xA5);
}

TEST(DecodeSlot, FillsTheElementOfItsIndexAlone) {
    DmiSystemSlot slots[3] = {};
    EXPECT_EQ(DmiSystemSlot_Decode(slots, slot_bytes(17), 1), 0);
    EXPECT_EQ(slots[0].type, 0);
    EXPECT_EQ(slots[1].type, 9);
    EXPECT_EQ(slots[2].type, 0);
}

// -- Type 41 ------------------------------------------------------------------------------------

TEST(DecodeOnboardDevice, TakesEveryFieldWithoutTheEnabledBit) {
    const DmiOnboardDevicesEx device = decode_device(
        with_strings({41, 11, 0x34, 0x12, 1, 0x85, 2, 0xCD, 0xAB, 0xC3, 0xFF}, {"Onboard LAN"}));
    EXPECT_EQ(device.type, 41);
    EXPECT_EQ(device.length, 11);
    EXPECT_EQ(device.handle, 0x1234);
    EXPECT_STREQ(device.designation, "Onboard LAN");
    EXPECT_EQ(device.deviceType, 5);
    EXPECT_EQ(device.deviceTypeInstance, 2);
    EXPECT_EQ(device.segmentGroupNum, 0xABCD);
    EXPECT_EQ(device.busNum, 0xC3);
    EXPECT_EQ(device.devFuncNum, 0xFF);
}

TEST(DecodeOnboardDevice, ShortStructureTakesTheAddressFromTheStrings) {
    const DmiOnboardDevicesEx device = decode_device({41, 5, 0, 1, 1, 'a', 'b', 0, 0});
    EXPECT_STREQ(device.designation, "ab");
    EXPECT_EQ(device.deviceType, 'a');
    EXPECT_EQ(device.deviceTypeInstance, 'b');
    EXPECT_EQ(device.segmentGroupNum, 0);
}

TEST(DecodeOnboardDevice, BytesBeyondTheTableReadZero) {
    const DmiOnboardDevicesEx device = decode_device({41, 11, 0, 1, 1, 0x85, 1, 0xCD});
    EXPECT_EQ(device.segmentGroupNum, 0x00CD);
    EXPECT_EQ(device.busNum, 0);
    EXPECT_EQ(device.devFuncNum, 0);
}

// -- Type 1 -------------------------------------------------------------------------------------

TEST(DecodeSystem, ExampleServer) {
    const Bytes image = SmbiosImage::exampleServer();
    const auto table = *find_smbios_table(image);
    DmiSystemInfo system{};
    ASSERT_EQ(DmiSystemInfo_decode(&system, table, 0), 0);
    EXPECT_EQ(system.handle, 0x0100);
    EXPECT_STREQ(system.manufacturer, "Vantor");
    EXPECT_STREQ(system.productName, "Example Server");
    EXPECT_STREQ(system.version, "A");
    EXPECT_STREQ(system.serialNumber, "EX00000001");
    EXPECT_STREQ(system.uuid, "12345678-9abc-4ef0-8123-456789abcdef");
    EXPECT_EQ(system.wakeUpType, 6);
    EXPECT_STREQ(system.sku, "EXSKU01");
    EXPECT_STREQ(system.family, "PLATFORM-ID-A01");
}

struct SystemCase {
    std::size_t length;
    const char *maker, *uuid;
    int wakeUpType;
    const char *sku, *family;
};
constexpr char ELEVENS[] = "11111111-1111-1111-1111-111111111111";
const SystemCase SYSTEM_CASES[] = {
    {7, "", "", 0, "", ""},
    {8, "Maker", "", 0, "", ""},
    {24, "Maker", "", 0, "", ""},
    {25, "Maker", ELEVENS, 6, ".", ""},
    {26, "Maker", ELEVENS, 6, ".", ""},
    {27, "Maker", ELEVENS, 6, "SKU", "Family"},
    {40, "Maker", ELEVENS, 6, "SKU", "Family"},
};
void PrintTo(const SystemCase &row, std::ostream *os) {
    *os << row.length;
}
class SystemLength : public ::testing::TestWithParam<SystemCase> {};
TEST_P(SystemLength, DecidesWhichFieldsThereAre) {
    const DmiSystemInfo system = decode_system(system_bytes(GetParam().length));
    EXPECT_STREQ(system.manufacturer, GetParam().maker);
    EXPECT_STREQ(system.productName, GetParam().length < 8 ? "" : "Product");
    EXPECT_STREQ(system.version, GetParam().length < 8 ? "" : "Version");
    EXPECT_STREQ(system.serialNumber, GetParam().length < 8 ? "" : "Serial");
    EXPECT_STREQ(system.uuid, GetParam().uuid);
    EXPECT_EQ(system.wakeUpType, GetParam().wakeUpType);
    EXPECT_STREQ(system.sku, GetParam().sku);
    EXPECT_STREQ(system.family, GetParam().family);
}
INSTANTIATE_TEST_SUITE_P(Lengths, SystemLength, ::testing::ValuesIn(SYSTEM_CASES),
                         [](const auto &row) {
                             return "Length" + std::to_string(row.param.length);
                         });

TEST(DecodeSystem, LongTextsAreCutToTheirFields) {
    const std::string text(400, 'x');
    Bytes bytes = system_bytes(27);
    bytes.resize(27);
    const DmiSystemInfo system =
        decode_system(with_strings(bytes, {text, text, text, text, text, text}));
    EXPECT_EQ(std::strlen(system.manufacturer), 63u);
    EXPECT_EQ(std::strlen(system.productName), 127u);
    EXPECT_EQ(std::strlen(system.version), 127u);
    EXPECT_EQ(std::strlen(system.serialNumber), 127u);
    EXPECT_EQ(std::strlen(system.sku), 127u);
    EXPECT_EQ(std::strlen(system.family), 63u);
}

TEST(DecodeSystem, CutOffUuidReadsZeroes) {
    const DmiSystemInfo system = decode_system({1, 27, 0, 1, 0, 0, 0, 0, 0xAA, 0xBB});
    EXPECT_STREQ(system.uuid, "0000bbaa-0000-0000-0000-000000000000");
    EXPECT_STREQ(system.family, "Undefined");
}

struct UuidCase {
    const char *name;
    std::uint16_t third;
    const char *text;
};
void PrintTo(const UuidCase &row, std::ostream *os) {
    *os << row.name;
}
const UuidCase UUID_CASES[] = {
    {"ThirdFieldZeroStays", 0x0000, "44332211-6655-0000"},
    {"OrdinaryStays", 0x4EF0, "44332211-6655-4ef0"},
    {"ReversedWithOneMaskAlone", 0xD011, "11223344-5566-11d0"},
    {"ReversedWithMoreBits", 0xF03F, "11223344-5566-3ff0"},
    {"OtherMaskAloneStays", 0x11D0, "44332211-6655-11d0"},
    {"BothMasksStay", 0xD1D1, "44332211-6655-d1d1"},
    {"AllOnesStay", 0xFFFF, "44332211-6655-ffff"},
    {"OneBitMissingStays", 0xD010, "44332211-6655-d010"},
};
class SystemUuid : public ::testing::TestWithParam<UuidCase> {};
TEST_P(SystemUuid, IsReversedByItsThirdField) {
    Bytes uuid = {0x11, 0x22, 0x33, 0x44, 0x55, 0x66};
    uuid.push_back(static_cast<std::uint8_t>(GetParam().third));
    uuid.push_back(static_cast<std::uint8_t>(GetParam().third >> 8));
    uuid.insert(uuid.end(), {0x81, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF});
    EXPECT_EQ(std::string(decode_system(system_bytes(27, uuid)).uuid),
              std::string(GetParam().text) + "-8123-456789abcdef");
}
INSTANTIATE_TEST_SUITE_P(ThirdFields, SystemUuid, ::testing::ValuesIn(UUID_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(DecodeSmbios, NullArrayAndEmptyStructureAreRefused) {
    const Bytes bytes = slot_bytes(17);
    DmiSystemSlot slot{};
    DmiOnboardDevicesEx device{};
    DmiSystemInfo system{};
    EXPECT_EQ(DmiSystemSlot_Decode(nullptr, bytes, 0), -1);
    EXPECT_EQ(DmiSystemSlot_Decode(&slot, {}, 0), -1);
    EXPECT_EQ(DmiOnboardDevicesEx_decode(nullptr, bytes, 0), -1);
    EXPECT_EQ(DmiOnboardDevicesEx_decode(&device, {}, 0), -1);
    EXPECT_EQ(DmiSystemInfo_decode(nullptr, bytes, 0), -1);
    EXPECT_EQ(DmiSystemInfo_decode(&system, {}, 0), -1);
}
} // namespace
