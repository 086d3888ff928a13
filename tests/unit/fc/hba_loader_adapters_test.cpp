#include <climits>
#include <ostream>

#include <gtest/gtest.h>

#include "unit/fc/HbaVendors.h"

namespace {
using Calls = std::vector<std::string>;
constexpr HBA_UINT32 UNTOUCHED = 424242;

/// The names of the list, as HBA_GetAdapterName() tells them.
Calls names() {
    Calls all;
    for (HBA_UINT32 index = 0; index < number_of_total_adapters; ++index) {
        char name[HBA_ADAPTER_NAME_BYTES] = {};
        EXPECT_EQ(HBA_GetAdapterName(index, name), HBA_STATUS_OK);
        EXPECT_NE(std::memchr(name, '\0', sizeof name), nullptr);
        all.emplace_back(name);
    }
    return all;
}

// -- The list -----------------------------------------------------------------------------------

TEST(HbaAdapters, AreListedInTheOrderOfTheirLibraries) {
    HbaVendors host;
    host.vendors[0].count = 2;
    host.vendors[2].count = 1;
    host.load(3);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    EXPECT_EQ(number_of_total_adapters, 3u);
    EXPECT_EQ(names(), (Calls{"com.example0-0", "com.example0-1", "com.example2-0"}));
    EXPECT_EQ(adaptertable[0].library, 0u);
    EXPECT_EQ(adaptertable[1].library, 0u);
    EXPECT_EQ(adaptertable[2].library, 2u);
    EXPECT_EQ(host.vendors[0].calls,
              (Calls{"register", "version", "load", "count", "name 0", "name 1"}));
    EXPECT_EQ(host.vendors[1].calls.back(), "count");
}

TEST(HbaAdapters, AreListedAnewEachTime) {
    HbaVendors host;
    host.vendors[0].count = 3;
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    host.vendors[0].count = 1;
    host.vendors[0].naming = [](HBA_UINT32, char *name) {
        name[0] = 'n';
        return HBA_STATUS_OK;
    };
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(names(), Calls{"n"}); // nothing of the longer name before
    host.vendors[0].count = 0;
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_EQ(HBA_OpenAdapter("n"), 0u);
}

TEST(HbaAdapters, LibrariesThatAreNotLoadedAreNotAsked) {
    HbaVendors host;
    for (HbaVendor &vendor : host.vendors) vendor.count = 1;
    host.vendors[0].loading = HBA_STATUS_ERROR;
    host.vendors[1].leaving = [](HBA_ENTRYPOINTS &table) { table.LoadLibraryHandler = nullptr; };
    host.load(3);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(host.vendors[0].calls.back(), "load");
    EXPECT_EQ(host.vendors[1].calls.back(), "version");
    EXPECT_EQ(names(), Calls{"com.example2-0"});
}

TEST(HbaAdapters, LibraryWithoutACountHasNone) {
    HbaVendors host;
    host.vendors[0].leaving = [](HBA_ENTRYPOINTS &table) {
        table.GetNumberOfAdaptersHandler = nullptr;
    };
    host.vendors[1].count = 1;
    host.load(2);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(host.vendors[0].calls.back(), "load");
    EXPECT_EQ(adaptertable[0].library, 1u);
}

TEST(HbaAdapters, LibraryWithoutNamesHasNone) {
    HbaVendors host;
    host.vendors[0].leaving = [](HBA_ENTRYPOINTS &table) { table.GetAdapterNameHandler = nullptr; };
    host.vendors[0].count = 7;
    host.vendors[1].count = 1;
    host.load(2);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(host.vendors[0].calls.back(), "count"); // asked all the same
}

struct CountCase {
    const char *what;
    HBA_UINT32 first, second; // what the two libraries say
    HBA_UINT32 total, ofFirst;
};
const CountCase COUNTS[] = {
    {"None", 0, 0, 0, 0},
    {"MinusOne", 0xFFFFFFFF, 0, 0, 0},
    {"MostNegative", 0x80000000, 5, 5, 0},
    {"NegativeSecond", 5, 0xFFFFFFFE, 5, 5},
    {"SixtyThreeAndTwo", 63, 2, 64, 63},
    {"SixtyFour", 64, 0, 64, 64},
    {"SixtyFourAndOne", 64, 1, 64, 64},
    {"SixtyFive", 65, 0, 64, 64},
    {"Huge", INT_MAX, 0, 64, 64},
    {"HugeTwice", INT_MAX, INT_MAX, 64, 64},
    {"HugeSecond", 1, INT_MAX, 64, 1},
};
void PrintTo(const CountCase &row, std::ostream *os) {
    *os << row.what;
}
class HbaCounts : public ::testing::TestWithParam<CountCase> {};
INSTANTIATE_TEST_SUITE_P(Counts, HbaCounts, ::testing::ValuesIn(COUNTS),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_P(HbaCounts, FillAtMostTheList) {
    HbaVendors host;
    host.vendors[0].count = GetParam().first;
    host.vendors[1].count = GetParam().second;
    host.load(2);
    for (int time = 0; time < 2; ++time) { // a repeated count overruns nothing either
        for (HbaVendor &vendor : host.vendors) vendor.calls.clear();
        EXPECT_EQ(HBA_GetNumberOfAdapters(), GetParam().total);
        EXPECT_EQ(number_of_total_adapters, GetParam().total);
        std::size_t named = 0;
        for (const HbaVendor &vendor : host.vendors)
            for (const std::string &call : vendor.calls) named += call.starts_with("name ");
        EXPECT_EQ(named, GetParam().total) << "a name is asked for that nobody keeps";
        for (HBA_UINT32 index = 0; index < GetParam().total; ++index)
            EXPECT_EQ(adaptertable[index].library, index < GetParam().ofFirst ? 0u : 1u);
    }
}

// -- Names --------------------------------------------------------------------------------------

TEST(HbaAdapters, NamesGoIntoZeroedRoomAndEndWithANul) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.vendors[0].naming = [](HBA_UINT32, char *name) {
        for (std::size_t at = 0; at < HBA_ADAPTER_NAME_BYTES; ++at) EXPECT_EQ(name[at], '\0');
        std::memset(name, 'x', HBA_ADAPTER_NAME_BYTES); // no NUL at all
        return HBA_STATUS_OK;
    };
    host.load(1);
    for (int time = 0; time < 2; ++time) {
        EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
        EXPECT_EQ(names(), Calls{std::string(255, 'x')});
    }
    EXPECT_EQ(HBA_OpenAdapter(std::string(255, 'x').c_str()), 0x1234u);
    EXPECT_EQ(host.vendors[0].calls.back(), "open " + std::string(255, 'x'));
    EXPECT_EQ(HBA_OpenAdapter(std::string(256, 'x').c_str()), 0u);
}

TEST(HbaAdapters, AdapterThatCannotBeNamedCountsAllTheSame) {
    HbaVendors host;
    host.vendors[0].count = 3;
    host.vendors[0].naming = [](HBA_UINT32 index, char *name) {
        if (index == 1) return HBA_STATUS_ERROR;
        name[0] = static_cast<char>('a' + index);
        return HBA_STATUS_OK;
    };
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    EXPECT_EQ(names(), (Calls{"a", "", "c"}));
}

TEST(HbaAdapters, WhatAFailedNamingWroteIsTheName) {
    HbaVendors host;
    host.vendors[0].count = 2;
    host.vendors[0].naming = [](HBA_UINT32 index, char *name) {
        name[0] = static_cast<char>('a' + index);
        return HBA_STATUS_ERROR;
    };
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 2u);
    EXPECT_EQ(names(), (Calls{"a", "b"}));
    EXPECT_EQ(HBA_OpenAdapter("b"), 0x1234u);
}

TEST(HbaAdapters, OneWithoutANameIsOpenedByAnEmptyName) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.vendors[0].naming = [](HBA_UINT32, char *) { return HBA_STATUS_ERROR; };
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(HBA_OpenAdapter(""), 0x1234u); // the library is asked all the same
    EXPECT_EQ(host.vendors[0].calls.back(), "open ");
}

TEST(HbaAdapters, NameFillsTheCallersRoom) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    HBA_GetNumberOfAdapters();
    char name[HBA_ADAPTER_NAME_BYTES];
    std::memset(name, 'u', sizeof name);
    EXPECT_EQ(HBA_GetAdapterName(0, name), HBA_STATUS_OK);
    std::string expected = "com.example0-0";
    expected.resize(sizeof name, '\0');
    EXPECT_EQ(std::string(name, sizeof name), expected);
}

TEST(HbaAdapters, NameBeyondTheEndOfTheListIsAnIllegalIndex) {
    HbaVendors host;
    char name[HBA_ADAPTER_NAME_BYTES] = "untouched";
    EXPECT_EQ(HBA_GetAdapterName(0, name), 6u); // before any list
    host.vendors[0].count = 64;
    host.load(1);
    HBA_GetNumberOfAdapters();
    EXPECT_EQ(HBA_GetAdapterName(64, name), 6u);
    EXPECT_EQ(HBA_GetAdapterName(65, name), 6u);
    EXPECT_EQ(HBA_GetAdapterName(0xFFFFFFFF, name), 6u);
    EXPECT_STREQ(name, "untouched");
    EXPECT_EQ(HBA_GetAdapterName(63, name), 0u);
    EXPECT_STREQ(name, "com.example0-63");
}

// -- Opening ------------------------------------------------------------------------------------

TEST(HbaOpen, GivesTheLibraryAboveTheVendorsHandle) {
    HbaVendors host;
    host.vendors[1].count = 2;
    host.vendors[1].opening = [](char *) { return 0xABCD5678; };
    host.load(2);
    HBA_GetNumberOfAdapters();
    EXPECT_EQ(HBA_OpenAdapter("com.example1-1"), 0x00015678u);
    EXPECT_EQ(host.vendors[1].calls.back(), "open com.example1-1");
    EXPECT_EQ(librarytable[1].vendorHandle, 0xABCD5678u); // the row keeps all of it
}

struct HandleCase {
    const char *what;
    HBA_HANDLE vendors, first, second; // what an open gives of library 0 and 1
};
const HandleCase HANDLES[] = {
    {"One", 1, 1, 0x10001},
    {"Zero", 0, 0, 0x10000},
    {"LowerHalfZero", 0x10000, 0, 0x10000},
    {"UpperHalfIsCut", 0xFFFF0001, 1, 0x10001},
    {"AllBits", 0xFFFFFFFF, 0xFFFF, 0x1FFFF},
};
void PrintTo(const HandleCase &row, std::ostream *os) {
    *os << row.what;
}
class HbaHandles : public ::testing::TestWithParam<HandleCase> {};
INSTANTIATE_TEST_SUITE_P(Handles, HbaHandles, ::testing::ValuesIn(HANDLES),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_P(HbaHandles, KeepTheLowerHalfOfTheVendors) {
    HbaVendors host;
    for (HbaVendor &vendor : host.vendors) {
        vendor.count = 1;
        vendor.opening = [](char *) { return GetParam().vendors; };
    }
    host.load(2);
    HBA_GetNumberOfAdapters();
    EXPECT_EQ(HBA_OpenAdapter("com.example0-0"), GetParam().first);
    EXPECT_EQ(HBA_OpenAdapter("com.example1-0"), GetParam().second);
    EXPECT_EQ(librarytable[0].vendorHandle, GetParam().vendors);
    EXPECT_EQ(librarytable[1].vendorHandle, GetParam().vendors);
}

TEST(HbaOpen, WithoutAdaptersFails) {
    EXPECT_EQ(HBA_OpenAdapter("com.example0-0"), 0u);
    EXPECT_EQ(HBA_OpenAdapter(""), 0u); // the rows of the table are empty, not adapters
    EXPECT_EQ(HBA_OpenAdapter(nullptr), 0u);
}

TEST(HbaOpen, UnknownNameFails) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    HBA_GetNumberOfAdapters();
    for (const char *name : {"com.example0-1", "com.example0-", "com.example0-00", "COM.EXAMPLE0-0",
                             "", static_cast<const char *>(nullptr)})
        EXPECT_EQ(HBA_OpenAdapter(name), 0u);
    EXPECT_EQ(host.vendors[0].calls.back(), "name 0");
}

TEST(HbaOpen, FirstOfTheSameNameIsOpened) {
    HbaVendors host;
    for (HbaVendor &vendor : host.vendors) {
        vendor.count = 1;
        vendor.naming = [](HBA_UINT32, char *name) {
            std::strcpy(name, "twin");
            return HBA_STATUS_OK;
        };
    }
    host.load(2);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 2u);
    EXPECT_EQ(HBA_OpenAdapter("twin"), 0x1234u);
    EXPECT_EQ(host.vendors[1].calls.back(), "name 0");
}

TEST(HbaOpen, LibraryThatCannotOpenFails) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.vendors[0].leaving = [](HBA_ENTRYPOINTS &table) { table.OpenAdapterHandler = nullptr; };
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(HBA_OpenAdapter("com.example0-0"), 0u);
}

TEST(HbaOpen, ThatFailsTakesTheVendorsHandleAway) {
    HbaVendors host;
    host.vendors[0].count = 2;
    host.vendors[0].opening = [](char *name) { return name[13] == '0' ? 101u : 0u; };
    host.load(1);
    HBA_GetNumberOfAdapters();
    const HBA_HANDLE first = HBA_OpenAdapter("com.example0-0");
    EXPECT_EQ(first, 101u);
    EXPECT_EQ(HBA_OpenAdapter("com.example0-1"), 0u);
    EXPECT_EQ(librarytable[0].vendorHandle, 0u);
    HBA_CloseAdapter(first); // its own handle is not known any more
    EXPECT_EQ(host.vendors[0].calls.back(), "close 0");
}

TEST(HbaOpen, LibraryThatWasFreedFails) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_OpenAdapter("com.example0-0"), 0u); // the list is still the old one
    EXPECT_EQ(host.vendors[0].calls.back(), "free");
}

TEST(HbaOpen, VendorMayWriteToTheName) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.vendors[0].opening = [](char *name) {
        std::memset(name, 'w', HBA_ADAPTER_NAME_BYTES);
        return 0x42u;
    };
    host.load(1);
    HBA_GetNumberOfAdapters();
    const std::string name = "com.example0-0";
    EXPECT_EQ(HBA_OpenAdapter(name.c_str()), 0x42u);
    EXPECT_EQ(name, "com.example0-0");
    EXPECT_EQ(names(), Calls{name});
    EXPECT_EQ(HBA_OpenAdapter(name.c_str()), 0x42u);
}

// -- Handles ------------------------------------------------------------------------------------

TEST(HbaCheckLibrary, SplitsAHandle) {
    HbaVendors host;
    host.vendors[1].count = 1;
    host.vendors[1].opening = [](char *) { return 0xABCD5678; };
    host.vendors[2].loading = HBA_STATUS_ERROR; // status 2
    host.load(3);
    HBA_GetNumberOfAdapters();
    ASSERT_EQ(HBA_OpenAdapter("com.example1-0"), 0x15678u);

    const struct {
        HBA_HANDLE handle;
        HBA_STATUS status;
        HBA_UINT32 library;
        HBA_HANDLE vendorHandle;
    } cases[] = {
        {0x00015678, 0, 1, 0xABCD5678},
        {0x00010000, 0, 1, 0xABCD5678}, // the lower half is not looked at
        {0x0001FFFF, 0, 1, 0xABCD5678},
        {0x00000001, 0, 0, 0},          // loaded, nothing opened
        {0x00020001, 1, 2, UNTOUCHED},  // let go
        {0x00030001, 1, 3, UNTOUCHED},  // no library
        {0x001F0001, 1, 31, UNTOUCHED}, // the last row
        {0x00200000, 1, 32, UNTOUCHED}, // the spare row
        {0x0020FFFF, 1, 32, UNTOUCHED},
        {0x00210000, 3, 33, UNTOUCHED},
        {0xFFFFFFFF, 3, 0xFFFF, UNTOUCHED},
    };
    for (const auto &row : cases) {
        HBA_UINT32 library = UNTOUCHED;
        HBA_HANDLE vendorHandle = UNTOUCHED;
        EXPECT_EQ(HBA_CheckLibrary(row.handle, &library, &vendorHandle), row.status) << row.handle;
        EXPECT_EQ(library, row.library) << row.handle;
        EXPECT_EQ(vendorHandle, row.vendorHandle) << row.handle;
    }
}

TEST(HbaClose, OfTheFirstOfTwoClosesTheSecond) {
    HbaVendors host;
    host.vendors[0].count = 2;
    host.vendors[0].opening = [](char *name) { return name[13] == '0' ? 101u : 102u; };
    host.load(1);
    HBA_GetNumberOfAdapters();
    const HBA_HANDLE first = HBA_OpenAdapter("com.example0-0");
    const HBA_HANDLE second = HBA_OpenAdapter("com.example0-1");
    EXPECT_EQ(first, 101u);
    EXPECT_EQ(second, 102u);
    // A library has one handle at a time, that of its last open.
    HBA_CloseAdapter(first);
    EXPECT_EQ(host.vendors[0].calls.back(), "close 102");
    HBA_CloseAdapter(second);
    EXPECT_EQ(host.vendors[0].calls.back(), "close 102");
}

TEST(HbaGetLibraryPath, TellsWhereAnAdaptersLibraryComesFrom) {
    HbaVendors host;
    host.vendors[1].count = 2;
    host.vendors[1].opening = [](char *) { return 0xABCD5678; };
    host.load(2);
    HBA_GetNumberOfAdapters();
    char path[HBA_LIBRARY_PATH_BYTES];
    std::memset(path, 'u', sizeof path);
    HBA_HANDLE vendorHandle = UNTOUCHED;
    EXPECT_EQ(HBA_GetLibraryPath(1, path, &vendorHandle), librarytable[1].handle);
    std::string expected = "/lib/1.so";
    expected.resize(sizeof path, '\0');
    EXPECT_EQ(std::string(path, sizeof path), expected);
    EXPECT_EQ(vendorHandle, 0u);
    ASSERT_NE(HBA_OpenAdapter("com.example1-0"), 0u);
    EXPECT_NE(HBA_GetLibraryPath(0, path, &vendorHandle), nullptr);
    EXPECT_EQ(vendorHandle, 0xABCD5678u);
}

TEST(HbaGetLibraryPath, GivesNothingBeyondTheEndOfTheList) {
    HbaVendors host;
    host.vendors[0].count = 64;
    host.load(1);
    HBA_GetNumberOfAdapters();
    char path[HBA_LIBRARY_PATH_BYTES] = "untouched";
    HBA_HANDLE vendorHandle = UNTOUCHED;
    for (const HBA_UINT32 index : {64u, 65u, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_EQ(HBA_GetLibraryPath(index, path, &vendorHandle), nullptr);
    EXPECT_STREQ(path, "untouched");
    EXPECT_EQ(vendorHandle, UNTOUCHED);
}

TEST(HbaGetLibraryPath, LibraryThatWasFreedHasNoHandle) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    HBA_GetNumberOfAdapters();
    HBA_FreeLibrary();
    char path[HBA_LIBRARY_PATH_BYTES] = {};
    HBA_HANDLE vendorHandle = UNTOUCHED;
    EXPECT_EQ(HBA_GetLibraryPath(0, path, &vendorHandle), nullptr);
    EXPECT_STREQ(path, "/lib/0.so");
}
} // namespace
