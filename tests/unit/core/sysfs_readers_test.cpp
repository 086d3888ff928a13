#include "core/sysfs_readers.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace {
struct Freed {
    void operator()(void *pointer) const { std::free(pointer); }
};
using Text = std::unique_ptr<char, Freed>;
using Bytes = std::unique_ptr<unsigned char, Freed>;

constexpr char VALUE[] = "/sys/class/net/vmnic0/speed";

class SysfsFile : public ::testing::Test {
protected:
    /// Path of a file with this content.
    std::string holding(const std::string &content) {
        root.write(VALUE, content);
        return root.map(VALUE);
    }
    std::string missing() { return root.map("/sys/none"); }
    std::string directory() {
        root.makeDirectory("/sys/folder");
        return root.map("/sys/folder");
    }

    TemporaryRoot root;
};
} // namespace

TEST_F(SysfsFile, TextEndsBeforeItsNewline) {
    EXPECT_STREQ(Text(get_sysfs_str(holding("10000\nmore\n").c_str())).get(), "10000");
}
TEST_F(SysfsFile, TextWithoutNewlineComesBackWhole) {
    EXPECT_STREQ(Text(get_sysfs_str(holding("up and running").c_str())).get(), "up and running");
}
TEST_F(SysfsFile, LoneNewlineIsAnEmptyText) {
    EXPECT_STREQ(Text(get_sysfs_str(holding("\n").c_str())).get(), "");
}
TEST_F(SysfsFile, EmptyFileGivesNoText) {
    EXPECT_EQ(get_sysfs_str(holding("").c_str()), nullptr);
}
TEST_F(SysfsFile, LeadingNulGivesNoText) {
    EXPECT_EQ(get_sysfs_str(holding(std::string("\0abc\n", 5)).c_str()), nullptr);
}
TEST_F(SysfsFile, NulInsideEndsTheText) {
    EXPECT_STREQ(Text(get_sysfs_str(holding(std::string("ab\0cd", 5)).c_str())).get(), "ab");
}
TEST_F(SysfsFile, MissingFileGivesNoText) {
    EXPECT_EQ(get_sysfs_str(missing().c_str()), nullptr);
}
TEST_F(SysfsFile, DirectoryGivesNoText) {
    EXPECT_EQ(get_sysfs_str(directory().c_str()), nullptr);
}
TEST_F(SysfsFile, TextIsCutAfter4096Bytes) {
    const Text text(get_sysfs_str(holding(std::string(4096, 'a') + "b").c_str()));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text.get()), std::string(4096, 'a'));
}
TEST_F(SysfsFile, TextOf4096BytesIsWhole) {
    const Text text(get_sysfs_str(holding(std::string(4095, 'a') + "z").c_str()));
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::string(text.get()), std::string(4095, 'a') + "z");
}

TEST_F(SysfsFile, BufferHoldsAllBytesOfTheRead) {
    const std::string content("a\nb\0c\n", 6);
    std::size_t size = 0;
    const Bytes buffer(get_sysfs_buf(holding(content).c_str(), &size));
    ASSERT_NE(buffer, nullptr);
    ASSERT_EQ(size, 6u);
    EXPECT_EQ(std::memcmp(buffer.get(), content.data(), 6), 0);
}
TEST_F(SysfsFile, BufferTakesAtMost4096Bytes) {
    std::size_t size = 0;
    const Bytes buffer(get_sysfs_buf(holding(std::string(5000, 'q')).c_str(), &size));
    ASSERT_NE(buffer, nullptr);
    ASSERT_EQ(size, 4096u);
    EXPECT_EQ(buffer.get()[4095], 'q');
}
TEST_F(SysfsFile, EmptyFileIsABufferOfNothing) {
    std::size_t size = 42;
    const Bytes buffer(get_sysfs_buf(holding("").c_str(), &size));
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(size, 0u);
}
TEST_F(SysfsFile, MissingFileGivesNoBuffer) {
    std::size_t size = 42;
    EXPECT_EQ(get_sysfs_buf(missing().c_str(), &size), nullptr);
    EXPECT_EQ(size, 0u);
}
TEST_F(SysfsFile, DirectoryGivesNoBuffer) {
    std::size_t size = 42;
    EXPECT_EQ(get_sysfs_buf(directory().c_str(), &size), nullptr);
    EXPECT_EQ(size, 0u);
}

namespace {
/// What every reader of the family makes of one file, widened without a sign.
struct ReaderCase {
    const char *name;
    const char *content; ///< null: no such file
    std::uint64_t llhex, lhex, ihex, shex, chex, uint, ullong, sint, llong;
};
constexpr std::uint64_t ALL64 = ~std::uint64_t{0}, ALL32 = 0xFFFFFFFF, ALL16 = 0xFFFF, ALL8 = 0xFF;
constexpr std::uint64_t TOP63 = 0x7FFFFFFFFFFFFFFF;
const ReaderCase READER_CASES[] = {
    {"Number", "12\n", 0x12, 0x12, 0x12, 0x12, 0x12, 12, 12, 12, 12},
    {"WithPrefix", "0x1f\n", 0x1F, 0x1F, 0x1F, 0x1F, 0x1F, 0, 0, 0, 0},
    {"BlanksAhead", " \t7", 7, 7, 7, 7, 7, 7, 7, 7, 7},
    {"JunkBehind", "9 Gb/s", 9, 9, 9, 9, 9, 9, 9, 9, 9},
    {"Zero", "0\n", 0, 0, 0, 0, 0, 0, 0, 0, 0},
    {"Negative", "-1\n", ALL64, ALL64, ALL32, ALL16, ALL8, ALL32, ALL64, ALL32, ALL64},
    {"WiderThanSomeTypes", "4294967297\n", 0x4294967297, 0x4294967297, 0x94967297, 0x7297, 0x97, 1,
     4294967297, 1, 4294967297},
    {"BeyondAllTypes", "99999999999999999999999999\n", ALL64, ALL64, ALL32, ALL16, ALL8, ALL32,
     ALL64, ALL32, TOP63},
    {"NoNumber", "unknown\n", ALL64, ALL64, ALL32, ALL16, ALL8, ALL32, ALL64, ALL32, ALL64},
    {"EmptyLine", "\n", ALL64, ALL64, ALL32, ALL16, ALL8, ALL32, ALL64, ALL32, ALL64},
    {"EmptyFile", "", ALL64, ALL64, ALL32, ALL16, ALL8, ALL32, ALL64, ALL32, ALL64},
    {"NoFile", nullptr, ALL64, ALL64, ALL32, ALL16, ALL8, ALL32, ALL64, ALL32, ALL64},
};
void PrintTo(const ReaderCase &row, std::ostream *os) {
    *os << row.name;
}
class TypedReaders : public ::testing::TestWithParam<ReaderCase> {};
} // namespace

TEST_P(TypedReaders, GiveTheNumberInTheirWidth) {
    const ReaderCase &row = GetParam();
    TemporaryRoot root;
    if (row.content != nullptr) root.write(VALUE, row.content);
    const std::string mapped = root.map(VALUE);
    const char *const path = mapped.c_str();
    EXPECT_EQ(get_sysfs_llhex(path), row.llhex);
    EXPECT_EQ(get_sysfs_lhex(path), row.lhex);
    EXPECT_EQ(get_sysfs_ihex(path), row.ihex);
    EXPECT_EQ(get_sysfs_shex(path), row.shex);
    EXPECT_EQ(get_sysfs_chex(path), row.chex);
    EXPECT_EQ(get_sysfs_uint(path), row.uint);
    EXPECT_EQ(get_sysfs_ullong(path), row.ullong);
    EXPECT_EQ(static_cast<std::uint32_t>(get_sysfs_int(path)), row.sint);
    EXPECT_EQ(static_cast<std::uint64_t>(get_sysfs_llong(path)), row.llong);
}
INSTANTIATE_TEST_SUITE_P(Contents, TypedReaders, ::testing::ValuesIn(READER_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(SysfsFile, IntIsMinusOneWithoutANumber) {
    EXPECT_EQ(get_sysfs_int(missing().c_str()), -1);
    EXPECT_EQ(get_sysfs_int(holding("n/a\n").c_str()), -1);
}
TEST_F(SysfsFile, NumericIsZeroAsSoonAsThereIsText) {
    std::uint32_t number = 4711;
    EXPECT_EQ(_get_sysfs_numeric(holding("n/a\n").c_str(), "%u", &number), 0);
    EXPECT_EQ(number, 4711u);
    EXPECT_EQ(_get_sysfs_numeric(holding("815\n").c_str(), "%u", &number), 0);
    EXPECT_EQ(number, 815u);
}
TEST_F(SysfsFile, NumericIsMinusOneWithoutText) {
    std::uint32_t number = 4711;
    EXPECT_EQ(_get_sysfs_numeric(missing().c_str(), "%u", &number), -1);
    EXPECT_EQ(_get_sysfs_numeric(holding("").c_str(), "%u", &number), -1);
    EXPECT_EQ(number, 4711u);
}
TEST_F(SysfsFile, NumericKnowsNineFormatsOnly) {
    std::uint64_t number = 4711;
    for (const char *format : {"%i", "%lu", "%lld", "%s", "%n", "", "x", "%llx "})
        EXPECT_EQ(_get_sysfs_numeric(holding("815\n").c_str(), format, &number), -1) << format;
    EXPECT_EQ(_get_sysfs_numeric(holding("815\n").c_str(), nullptr, &number), -1);
    EXPECT_EQ(number, 4711u);
}

TEST(DecodeSysfsNumber, WritesItsWidthOnly) {
    struct Row {
        const char *format;
        std::size_t widthBytes;
    };
    for (const Row &row :
         {Row{"%llx", 8}, Row{"%lx", 8}, Row{"%x", 4}, Row{"%hx", 2}, Row{"%hhx", 1}, Row{"%u", 4},
          Row{"%llu", 8}, Row{"%d", 4}, Row{"%ld", 8}}) {
        unsigned char bytes[16];
        std::memset(bytes, 0xA5, sizeof bytes);
        EXPECT_EQ(decode_sysfs_number("0", row.format, bytes), 0);
        for (std::size_t i = 0; i < sizeof bytes; ++i)
            EXPECT_EQ(bytes[i], i < row.widthBytes ? 0 : 0xA5) << row.format << " byte " << i;
    }
}
