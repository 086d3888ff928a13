#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "linuxhost/smbios_image.h"
#include "support/smbios_tables.h"

namespace {
SmbiosBytes goodTable() {
    return smbios_join({smbios_structure(0, {0}, {"Firmware"}), smbios_system("PLATFORM-ID-A01"),
                        smbios_slot("PCI 0000:24:00.0 r001u01p0i03", 0x24, 0),
                        smbios_onboard("PCI 0000:c3:00.0 r001u01p0i00", 0xc3, 0), smbios_end()});
}

unsigned field16(const SmbiosBytes &bytes, std::size_t at) {
    return bytes.at(at) | static_cast<unsigned>(bytes.at(at + 1)) << 8;
}

/// The types in an image, in order, by the walk that its reader does: length, then past the next
/// pair of NUL bytes, to the table's end.
std::vector<int> types(const SmbiosBytes &image) {
    std::vector<int> found;
    for (std::size_t at = 0x1F; at < image.size();) {
        found.push_back(image[at]);
        at += image.at(at + 1);
        while (image.at(at) != 0 || image.at(at + 1) != 0) ++at;
        at += 2;
    }
    return found;
}

void expectGoodEntry(const SmbiosBytes &image) {
    ASSERT_GT(image.size(), 0x1Fu);
    EXPECT_EQ(std::string(image.begin(), image.begin() + 4), "_SM_");
    EXPECT_EQ(std::string(image.begin() + 0x10, image.begin() + 0x15), "_DMI_");
    const std::span<const std::uint8_t> bytes(image);
    EXPECT_EQ(smbios_sum(bytes.first(0x1F)), 0);
    EXPECT_EQ(smbios_sum(bytes.subspan(0x10, 0x0F)), 0);
    EXPECT_EQ(image[5], 0x1F);
    EXPECT_EQ(field16(image, 0x16), image.size() - 0x1F);
    EXPECT_EQ(field16(image, 0x18), 0x1Fu) << "the table's place in the image";
    EXPECT_EQ(field16(image, 0x1C), types(image).size());
}

TEST(SmbiosImage, WideEntryPointBecomesTheOldForm) {
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(smbios_entry_64(0x10000), goodTable());
    EXPECT_EQ(image.error, "");
    expectGoodEntry(image.bytes);
    EXPECT_EQ(image.bytes[6], 3);
    EXPECT_EQ(image.bytes[7], 4);
    EXPECT_EQ(image.bytes[0x1E], 0x34);
    EXPECT_EQ(types(image.bytes), (std::vector<int>{0, 1, 9, 41}));
    EXPECT_EQ(image.structures, 4u);
    EXPECT_EQ(image.leftOut, 0u);
    EXPECT_FALSE(image.cutOff);
    EXPECT_EQ(field16(image.bytes, 8), smbios_system("PLATFORM-ID-A01").size())
        << "size of the largest structure";
}

TEST(SmbiosImage, OldEntryPointIsMadeAnew) {
    const SmbiosBytes table = goodTable();
    SmbiosBytes entry = smbios_entry_32(static_cast<std::uint16_t>(table.size()));
    entry[4] ^= 0xFF;
    entry[0x15] ^= 0xFF;
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(entry, table);
    expectGoodEntry(image.bytes);
    EXPECT_EQ(image.bytes[0x1E], 0x28);
    EXPECT_EQ(types(image.bytes), (std::vector<int>{0, 1, 9, 41}));
}

TEST(SmbiosImage, StructuresAreTheSameBytes) {
    const SmbiosBytes table = goodTable();
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(smbios_entry_64(0x10000), table);
    const std::size_t length = image.bytes.size() - 0x1F;
    EXPECT_EQ(length, table.size() - smbios_end().size());
    EXPECT_TRUE(std::equal(image.bytes.begin() + 0x1F, image.bytes.end(), table.begin()));
}

TEST(SmbiosImage, NothingFollowsTheEndMark) {
    const SmbiosBytes table =
        smbios_join({smbios_system("A"), smbios_end(), smbios_slot("b", 1, 0), SmbiosBytes(64, 0)});
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(smbios_entry_64(0x10000), table);
    EXPECT_EQ(types(image.bytes), std::vector<int>{1});
    EXPECT_FALSE(image.cutOff);
}

TEST(SmbiosImage, TheEntryPointsLengthBoundsTheTable) {
    const SmbiosBytes first = smbios_system("A");
    const SmbiosBytes table = smbios_join({first, smbios_slot("b", 1, 0)});
    const auto bound = static_cast<std::uint16_t>(first.size());
    EXPECT_EQ(types(pack_smbios_image(smbios_entry_32(bound), table).bytes), std::vector<int>{1});
    EXPECT_EQ(types(pack_smbios_image(smbios_entry_64(bound), table).bytes), std::vector<int>{1});
    EXPECT_EQ(types(pack_smbios_image(smbios_entry_64(0), table).bytes), (std::vector<int>{1, 9}))
        << "0 bounds nothing";
}

TEST(SmbiosImage, VersionBeyondItsDigitsHasNoCodedForm) {
    SmbiosBytes entry = smbios_entry_64(0);
    entry[8] = 10;
    EXPECT_EQ(pack_smbios_image(entry, goodTable()).bytes.at(0x1E), 0);
}

/// `count` structures of one type with 1000 bytes each.
SmbiosBytes many(std::uint8_t type, int count) {
    SmbiosBytes table;
    for (int i = 0; i < count; ++i) {
        const SmbiosBytes one = smbios_structure(type, SmbiosBytes(10, 1), {std::string(984, 'x')});
        EXPECT_EQ(one.size(), 1000u);
        table.insert(table.end(), one.begin(), one.end());
    }
    return table;
}

TEST(SmbiosImage, TheLargestTableThatFitsKeepsItsOrder) {
    // 65505 bytes have room: 65 of 1000 and one of 505.
    const SmbiosBytes last = smbios_structure(1, SmbiosBytes(10, 1), {std::string(489, 'x')});
    ASSERT_EQ(last.size(), 505u);
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(
        smbios_entry_64(0x20000), smbios_join({many(17, 65), last, smbios_end()}));
    EXPECT_EQ(image.bytes.size(), 65536u);
    expectGoodEntry(image.bytes);
    EXPECT_EQ(types(image.bytes).back(), 1);
    EXPECT_EQ(image.leftOut, 0u);
}

TEST(SmbiosImage, ATableBeyondTheLimitKeepsTheTypesThatAreRead) {
    const SmbiosBytes table =
        smbios_join({many(17, 60), smbios_onboard("c", 3, 0), many(4, 20), smbios_slot("b", 2, 0),
                     smbios_slot("d", 4, 0), smbios_system("A"), smbios_end()});
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(smbios_entry_64(0x20000), table);
    expectGoodEntry(image.bytes);
    const std::vector<int> found = types(image.bytes);
    ASSERT_EQ(found.size(), 4u + 65u);
    EXPECT_EQ(std::vector<int>(found.begin(), found.begin() + 4), (std::vector<int>{1, 9, 9, 41}));
    EXPECT_EQ(std::count(found.begin(), found.end(), 17), 60) << "then in the table's order";
    EXPECT_EQ(std::count(found.begin(), found.end(), 4), 5);
    EXPECT_EQ(image.leftOut, 15u);
    EXPECT_FALSE(image.cutOff);
    const std::string text = smbios_text(image.bytes);
    EXPECT_LT(text.find(std::string("b\0\0", 3)), text.find(std::string("d\0\0", 3)));
}

TEST(SmbiosImage, EvenTheTypesThatAreReadEndAtAStructure) {
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(
        smbios_entry_64(0x20000), smbios_join({many(9, 70), smbios_system("A"), smbios_end()}));
    expectGoodEntry(image.bytes);
    EXPECT_EQ(types(image.bytes).front(), 1);
    EXPECT_EQ(image.leftOut, 5u);
    EXPECT_LE(image.bytes.size(), 65536u);
}

TEST(SmbiosImage, AStructureLargerThanTheImageGivesNone) {
    const SmbiosBytes huge = smbios_structure(11, {1}, {std::string(70000, 'x')});
    const ORB_SMBIOS_IMAGE image = pack_smbios_image(smbios_entry_64(0x20000), huge);
    EXPECT_TRUE(image.bytes.empty());
    EXPECT_EQ(image.error, "the first structure alone exceeds the image");
}

TEST(SmbiosImage, ATableCutAnywhereGivesItsWholeStructures) {
    const SmbiosBytes table = goodTable();
    const SmbiosBytes entry = smbios_entry_64(0x10000);
    for (std::size_t length = 0; length <= table.size(); ++length) {
        const ORB_SMBIOS_IMAGE image = pack_smbios_image(entry, std::span(table).first(length));
        EXPECT_EQ(image.bytes.empty(), image.structures == 0) << length;
        EXPECT_EQ(image.bytes.empty(), !image.error.empty()) << length;
        if (!image.bytes.empty()) expectGoodEntry(image.bytes);
    }
    const ORB_SMBIOS_IMAGE cut =
        pack_smbios_image(entry, std::span(table).first(table.size() - 20));
    EXPECT_TRUE(cut.cutOff);
    EXPECT_EQ(types(cut.bytes), (std::vector<int>{0, 1, 9}));
}

TEST(SmbiosImage, AnImpossibleLengthEndsTheTable) {
    SmbiosBytes bad = smbios_slot("b", 1, 0);
    bad[1] = 3;
    const ORB_SMBIOS_IMAGE image =
        pack_smbios_image(smbios_entry_64(0), smbios_join({smbios_system("A"), bad}));
    EXPECT_EQ(types(image.bytes), std::vector<int>{1});
    EXPECT_TRUE(image.cutOff);
}

TEST(SmbiosImage, NoStructureNoImage) {
    for (const SmbiosBytes &table : {SmbiosBytes{}, smbios_end(), SmbiosBytes(100, 0)}) {
        const ORB_SMBIOS_IMAGE image = pack_smbios_image(smbios_entry_64(0), table);
        EXPECT_TRUE(image.bytes.empty());
        EXPECT_EQ(image.error, "no complete SMBIOS structure");
    }
}

TEST(SmbiosImage, NoEntryPointNoImage) {
    const SmbiosBytes wide = smbios_entry_64(0), narrow = smbios_entry_32(100);
    SmbiosBytes foreign = wide;
    foreign[1] = 'X';
    for (const SmbiosBytes &entry :
         {SmbiosBytes{}, foreign, SmbiosBytes(wide.begin(), wide.end() - 1),
          SmbiosBytes(narrow.begin(), narrow.end() - 1), SmbiosBytes(4096, 0xFF)}) {
        const ORB_SMBIOS_IMAGE image = pack_smbios_image(entry, goodTable());
        EXPECT_TRUE(image.bytes.empty());
        EXPECT_EQ(image.error, "no complete SMBIOS entry point");
    }
}
} // namespace
