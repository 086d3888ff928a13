#include "physloc/smbios_reader.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FakeProcess.h"
#include "fakes/TemporaryRoot.h"
#include "support/SmbiosImage.h"

// The largest arrays are refused by a limit on the process, under the sanitizers, which reserve
// more addresses than any limit leaves, by their own.
extern "C" const char *__asan_default_options();
extern "C" const char *__asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=8192";
}
#ifdef __SANITIZE_ADDRESS__
constexpr bool ADDRESSES_LIMITED = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool ADDRESSES_LIMITED = true;
#else
constexpr bool ADDRESSES_LIMITED = false;
#endif
#else
constexpr bool ADDRESSES_LIMITED = false;
#endif

namespace {
using Array = std::unique_ptr<void, decltype(&std::free)>;

/// What a fetch gives; the array is released with it.
struct Fetched {
    int result = 0;
    int count = -7;
    Array array{nullptr, &std::free};

    explicit Fetched(int type) {
        void *records = &result; // anything but null
        result = getSmbiosRecordsByType(type, &records, &count);
        array.reset(records);
    }
    template <typename Record> const Record *as() const {
        return static_cast<const Record *>(array.get());
    }
};

class SmbiosReader : public ::testing::Test {
protected:
    void put(const Bytes &image) { root.write(SMBIOS_DEVICE, SmbiosImage::as_text(image)); }

    TemporaryRoot root;
    CapturedSyslog syslog;
};

TEST_F(SmbiosReader, ReadsTheExampleServer) {
    put(SmbiosImage::exampleServer());
    ASSERT_EQ(SmBiosInit(), 0);

    const Fetched systems(1), slots(9), devices(41);
    ASSERT_EQ(systems.result, 0);
    ASSERT_EQ(systems.count, 1);
    EXPECT_STREQ(systems.as<DmiSystemInfo>()->family, "PLATFORM-ID-A01");
    ASSERT_EQ(slots.result, 0);
    ASSERT_EQ(slots.count, 2);
    EXPECT_STREQ(slots.as<DmiSystemSlot>()[0].designation, "PCI 0000:24:00.0 r001u01p0i03");
    EXPECT_EQ(slots.as<DmiSystemSlot>()[0].busNum, 0x24);
    EXPECT_STREQ(slots.as<DmiSystemSlot>()[1].designation, "PCI empty r001u01p0i04");
    EXPECT_EQ(slots.as<DmiSystemSlot>()[1].segmentGroupNum, 0xFFFF);
    EXPECT_EQ(slots.as<DmiSystemSlot>()[1].devFuncNum, 0xFF);
    ASSERT_EQ(devices.result, 0);
    ASSERT_EQ(devices.count, 1);
    EXPECT_EQ(devices.as<DmiOnboardDevicesEx>()->handle, 0x2900);
    EXPECT_EQ(devices.as<DmiOnboardDevicesEx>()->deviceType, 5);
    EXPECT_EQ(devices.as<DmiOnboardDevicesEx>()->busNum, 0xC3);
}

TEST_F(SmbiosReader, NotStartedGivesNothing) {
    const Fetched slots(9);
    EXPECT_EQ(slots.result, -1);
    EXPECT_EQ(slots.count, 0);
    EXPECT_EQ(slots.array, nullptr);
}

TEST_F(SmbiosReader, CountMayBeNull) {
    put(SmbiosImage::exampleServer());
    ASSERT_EQ(SmBiosInit(), 0);
    void *records = nullptr;
    EXPECT_EQ(getSmbiosRecordsByType(9, &records, nullptr), 0);
    const Array owner(records, &std::free);
    EXPECT_NE(records, nullptr);
}

TEST_F(SmbiosReader, TypeThatIsNotThereGivesNothing) {
    put(SmbiosImage().add(9, Bytes(13)).image());
    ASSERT_EQ(SmBiosInit(), 0);
    const Fetched devices(41);
    EXPECT_EQ(devices.result, -1);
    EXPECT_EQ(devices.count, 0);
    EXPECT_EQ(devices.array, nullptr);
}

TEST_F(SmbiosReader, OtherTypeWithStructuresGivesNothing) {
    put(SmbiosImage().add(4, Bytes(13)).image());
    ASSERT_EQ(SmBiosInit(), 0);
    const Fetched processors(4);
    EXPECT_EQ(processors.result, -1);
    EXPECT_EQ(processors.count, 0);
    EXPECT_EQ(processors.array, nullptr);
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(SmbiosReader, SecondStartKeepsTheTable) {
    put(SmbiosImage::exampleServer());
    ASSERT_EQ(SmBiosInit(), 0);
    put(SmbiosImage().add(4, {}).image());
    EXPECT_EQ(SmBiosInit(), 0);
    EXPECT_EQ(Fetched(9).count, 2);
}

TEST_F(SmbiosReader, StopForgetsAndStartReadsAgain) {
    put(SmbiosImage::exampleServer());
    ASSERT_EQ(SmBiosInit(), 0);
    SmBiosDeinit();
    EXPECT_EQ(Fetched(9).result, -1);

    put(SmbiosImage().add(9, Bytes(13), {"new"}).image());
    EXPECT_EQ(SmBiosInit(), 0);
    EXPECT_EQ(Fetched(9).count, 1);
}

TEST_F(SmbiosReader, StopWithoutStartIsHarmless) {
    SmBiosDeinit();
    SmBiosDeinit();
    EXPECT_EQ(Fetched(1).result, -1);
}

TEST_F(SmbiosReader, MissingDeviceFailsWithItsErrno) {
    EXPECT_EQ(SmBiosInit(), -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(SmbiosReader, UnreadableDeviceFailsWithItsErrno) {
    root.makeDirectory(SMBIOS_DEVICE);
    EXPECT_EQ(SmBiosInit(), -1);
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(SmbiosReader, EmptyDeviceFailsWithoutErrno) {
    put({});
    errno = EPERM;
    EXPECT_EQ(SmBiosInit(), -1);
    EXPECT_EQ(errno, 0);
}

TEST_F(SmbiosReader, DeviceWithoutAnchorFailsAndCanBeTriedAgain) {
    put(Bytes(4096, 0x5A));
    errno = EPERM;
    EXPECT_EQ(SmBiosInit(), -1);
    EXPECT_EQ(errno, 0);
    EXPECT_EQ(Fetched(1).result, -1);
    put(SmbiosImage::exampleServer());
    EXPECT_EQ(SmBiosInit(), 0);
}

TEST_F(SmbiosReader, EveryStartClosesTheDevice) {
    const auto next = [] {
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(fd);
        return fd;
    };
    const int before = next();
    put({});
    EXPECT_EQ(SmBiosInit(), -1);
    put(Bytes(64, 1));
    EXPECT_EQ(SmBiosInit(), -1);
    put(SmbiosImage::exampleServer());
    EXPECT_EQ(SmBiosInit(), 0);
    EXPECT_EQ(next(), before);
}

TEST_F(SmbiosReader, AnchorOffTheBoundaryIsNotFound) {
    Bytes image = SmbiosImage::exampleServer();
    image.insert(image.begin(), 2, 0);
    put(image);
    EXPECT_EQ(SmBiosInit(), -1);
}

TEST_F(SmbiosReader, AnchorAsLastBytesStartsWithAnEmptyTable) {
    put({'_', 'S', 'M', '_'});
    EXPECT_EQ(SmBiosInit(), 0);
    EXPECT_EQ(Fetched(1).result, -1);
}

TEST_F(SmbiosReader, ReadsSixtyFourKibibytesAtMost) {
    SmbiosImage image;
    image.add(9, Bytes(13), {std::string(65000, 'x')});
    image.add(9, Bytes(13), {std::string(1000, 'y')}); // begins within and ends behind the limit
    image.add(9, Bytes(13), {"never read"});
    put(image.image(0xFFFF));
    ASSERT_EQ(SmBiosInit(), 0);
    const Fetched slots(9);
    ASSERT_EQ(slots.count, 2);
    EXPECT_STREQ(slots.as<DmiSystemSlot>()[1].designation, "Undefined");
}

TEST_F(SmbiosReader, FetchTwiceGivesTheSame) {
    put(SmbiosImage()
            .addRaw(9, 1, {}, {"\x01\x02\x03"}) // its text begins within its own header
            .add(9, Bytes(13, 1), {"a\tb"})
            .image());
    ASSERT_EQ(SmBiosInit(), 0);
    const Fetched first(9), second(9);
    ASSERT_EQ(first.count, 2);
    ASSERT_EQ(second.count, 2);
    EXPECT_STREQ(first.as<DmiSystemSlot>()[1].designation, "a.b");
    EXPECT_STREQ(second.as<DmiSystemSlot>()[1].designation, "a.b");
}

TEST_F(SmbiosReader, ImageCutAnywhereIsSafe) {
    const Bytes image = SmbiosImage::exampleServer();
    for (std::size_t size = 0; size <= image.size(); ++size) {
        put(Bytes(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_EQ(SmBiosInit(), size >= 4 ? 0 : -1) << size;
        EXPECT_LE(Fetched(1).count, 1);
        EXPECT_LE(Fetched(9).count, 2);
        EXPECT_LE(Fetched(41).count, 1);
        SmBiosDeinit();
    }
}

// -- Arrays -------------------------------------------------------------------------------------

TEST(SmbiosArrays, AreClearedAndOfTheTypesSize) {
    for (const int type : {1, 9, 41}) {
        void *records = nullptr;
        ASSERT_EQ(allocMemForRecords(type, &records, 3), 0) << type;
        const Array owner(records, &std::free);
        const std::size_t size = type == 1   ? sizeof(DmiSystemInfo)
                                 : type == 9 ? sizeof(DmiSystemSlot)
                                             : sizeof(DmiOnboardDevicesEx);
        const auto *bytes = static_cast<const char *>(records);
        EXPECT_EQ(std::string(bytes, 3 * size), std::string(3 * size, '\0')) << type;
    }
}

TEST(SmbiosArrays, NoCountOrOtherTypeGivesNone) {
    CapturedSyslog syslog;
    void *records = nullptr;
    EXPECT_EQ(allocMemForRecords(9, &records, 0), -1);
    EXPECT_EQ(allocMemForRecords(9, &records, -1), -1);
    EXPECT_EQ(allocMemForRecords(4, &records, 1), -1);
    EXPECT_EQ(allocMemForRecords(127, &records, 1), -1);
    EXPECT_EQ(records, nullptr);
    EXPECT_TRUE(syslog.lines().empty());
}

struct NoMemoryCase {
    int type;
    const char *text;
};
class SmbiosNoMemory : public ::testing::TestWithParam<NoMemoryCase> {};
TEST_P(SmbiosNoMemory, GoesToTheSystemLog) {
    CapturedSyslog syslog;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    rlimit tight = before;
    if (!ADDRESSES_LIMITED) tight.rlim_cur = std::min<rlim_t>(rlim_t{1} << 33, before.rlim_max);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    void *records = nullptr;
    const int result = allocMemForRecords(GetParam().type, &records, INT_MAX);
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);

    EXPECT_EQ(result, -1);
    EXPECT_EQ(records, nullptr);
    const auto lines = syslog.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].ident, "orb");
    EXPECT_EQ(lines[0].facility, LOG_USER);
    EXPECT_EQ(lines[0].priority, LOG_WARNING);
    EXPECT_EQ(lines[0].text, GetParam().text);
}
INSTANTIATE_TEST_SUITE_P(
    Types, SmbiosNoMemory,
    ::testing::Values(
        NoMemoryCase{9, "Malloc failed for SystemSlots table with pSlotTbl : 0x0 "},
        NoMemoryCase{41,
                     "Malloc failed for Onboard Devices Extended Info table with pDevice : 0x0"},
        NoMemoryCase{1, "Malloc failed for SystemInfo table with SystemInfo : 0x0 "}),
    [](const auto &row) { return "Type" + std::to_string(row.param.type); });

// -- Printing -----------------------------------------------------------------------------------

TEST(SmbiosPrint, WritesARecordsLines) {
    FakeProcess process;
    const Bytes image = SmbiosImage::exampleServer();
    DmiSystemSlot slots[2] = {};
    orbSmbiosWalk walk(*find_smbios_table(image));
    (void)walk.next(); // type 1
    ASSERT_EQ(DmiSystemSlot_Decode(slots, walk.next(), 0), 0);
    ASSERT_EQ(DmiSystemSlot_Decode(slots, walk.next(), 1), 0);
    DmiSystemSlot_Print(slots, 2);

    const std::string output = process.output();
    for (const char *line : {"System Slot record #0  (Type 9)\n",
                             "   designation         : PCI 0000:24:00.0 r001u01p0i03\n",
                             "   segmentGroupNum     : 0x0\n", "   busNum              : 0x24\n",
                             "   devFuncNum          : 0x0\n", "System Slot record #1  (Type 9)\n",
                             "   segmentGroupNum     : 0xffff\n", "   busNum              : 0xff\n",
                             "   devFuncNum          : 0xff\n"})
        EXPECT_NE(output.find(line), std::string::npos) << line;
}

TEST(SmbiosPrint, NothingToPrintWritesNothing) {
    FakeProcess process;
    const DmiSystemSlot slot{};
    DmiSystemSlot_Print(nullptr, 3);
    DmiSystemSlot_Print(&slot, 0);
    EXPECT_EQ(process.output(), "");
}
} // namespace
