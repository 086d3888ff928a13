#include "fc/hba_loader.h"

#include <dlfcn.h>
#include <fcntl.h>

#include <filesystem>
#include <optional>
#include <ostream>

#include <gtest/gtest.h>

#include "unit/fc/HbaVendors.h"

namespace {
using Calls = std::vector<std::string>;

std::string open_call(const std::string &path) {
    return "open " + path + " " + std::to_string(RTLD_LAZY);
}

bool is_empty(const HBA_ENTRYPOINTS &table) {
    const HBA_ENTRYPOINTS none{};
    return std::memcmp(&table, &none, sizeof none) == 0;
}

bool is_zero(const HBA_LIBRARY_ROW &row) {
    const HBA_LIBRARY_ROW none{};
    return std::memcmp(&row, &none, sizeof none) == 0;
}

// -- The file -----------------------------------------------------------------------------------

TEST(HbaLoader, BeginsWithNothing) {
    for (const HBA_LIBRARY_ROW &row : librarytable) EXPECT_TRUE(is_zero(row));
    EXPECT_EQ(librarytable.size(), 33u);
    EXPECT_EQ(adaptertable.size(), 64u);
    EXPECT_EQ(number_of_total_adapters, 0u);
    EXPECT_EQ(HBA_GetVersion(), 1u);
}

TEST(HbaLoader, WithoutAFileThereIsNothing) {
    HbaVendors host;
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_ERROR);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_TRUE(host.libraries.calls().empty());
}

TEST(HbaLoader, AFileThatWentAwayLeavesTheLibrariesAsTheyWere) {
    HbaVendors host;
    host.vendors[0].count = 2;
    host.load(1);
    ASSERT_EQ(std::remove(host.root.map(HBA_CONF_FILE).c_str()), 0);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_ERROR);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 2u);
}

TEST(HbaLoader, AnEmptyFileIsFine) {
    HbaVendors host;
    host.configure("");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_TRUE(host.libraries.calls().empty());
}

TEST(HbaLoader, FileIsOpenWhileItIsReadAndForThisProcessAlone) {
    HbaVendors host;
    const std::filesystem::path conf = host.root.map(HBA_CONF_FILE);
    const auto flags = [&conf] { // of the descriptor that the file is open by, none where it isn't
        std::optional<int> found;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
            std::error_code gone; // the descriptor of the listing itself, for one
            if (std::filesystem::read_symlink(entry, gone) == conf)
                found = ::fcntl(std::stoi(entry.path().filename()), F_GETFD);
        }
        return found;
    };
    std::optional<int> during;
    host.libraries.onOpen([&] { during = flags(); });
    host.load(1);
    EXPECT_EQ(during, FD_CLOEXEC); // no command inherits it
    EXPECT_EQ(flags(), std::nullopt);
}

TEST(HbaLoader, ADirectoryInTheFilesPlaceHasNoLines) {
    HbaVendors host;
    host.root.makeDirectory(HBA_CONF_FILE);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_TRUE(host.libraries.calls().empty());
}

struct FileCase {
    const char *what;
    std::string text;
    Calls paths; // opened, in this order
};
std::string lines(int number) {
    std::string text;
    for (int line = 0; line < number; ++line) text += "v\t/" + std::to_string(line) + ".so\n";
    return text;
}
Calls paths(int number) {
    Calls all;
    for (int line = 0; line < number; ++line) all.push_back("/" + std::to_string(line) + ".so");
    return all;
}
const FileCase FILES[] = {
    {"OneLine", "v\t/a.so\n", {"/a.so"}},
    {"TwoLines", "v\t/a.so\nw /b.so\n", {"/a.so", "/b.so"}},
    {"TheSameTwice", "v\t/a.so\nv\t/a.so\n", {"/a.so", "/a.so"}},
    {"NoFinalNewline", "v\t/a.so\nw\t/b.so", {"/a.so", "/b.so"}},
    {"CarriageReturns", "# libraries\r\n\r\nv\t/a.so\r\nw\t/b.so\r\n", {"/a.so", "/b.so"}},
    {"CommentsAndEmptyLines", "# v\t/x.so\n\nv\t/a.so\n\n#\nw\t/b.so\n", {"/a.so", "/b.so"}},
    {"LinesWithoutPath", "v\nv\t\n v\nv\t/a.so\n", {"/a.so"}},
    {"BlankInThePath", "v\t/opt/my libs/a.so\n", {"/opt/my"}},
    {"OddBytesInThePath", "v\t/\x80 \n w\nw\t/b\x7F.so\n", {"/", "/b"}},
    {"PathThatIsCleanedAway", "v\t$LIB/a.so\nw\t/b.so\n", {"", "/b.so"}},
    {"NulEndsALine", std::string("v\t/a\0.so\nw\t/b.so\n", 18), {"/a", "/b.so"}},
    {"NulAtTheStartOfALine", std::string("\0v\t/a.so\nw\t/b.so\n", 17), {"/b.so"}},
    {"NulBeforeThePath", std::string("v\t\0/a.so\nw\t/b.so\n", 17), {"/b.so"}},
    {"LineOf511",
     "v\t/" + std::string(508, 'p') + "\nw\t/b.so\n",
     {"/" + std::string(254, 'p'), "/b.so"}},
    {"LineOf510",
     "v\t/" + std::string(507, 'p') + "\nw\t/b.so\n",
     {"/" + std::string(254, 'p'), "/b.so"}},
    {"LongLineGoesOnAsTheNext", "#" + std::string(510, 'c') + "v\t/a.so\n", {"/a.so"}},
    {"LongLineGoesOnAsAComment", "v\t/a.so" + std::string(503, ' ') + "#\t/b.so\n", {"/a.so"}},
    {"VeryLongPath",
     "v\t/" + std::string(100000, 'p') + "\nw\t/b.so\n",
     {"/" + std::string(254, 'p'), "/b.so"}},
    {"VeryLongName", std::string(100000, 'n') + "\t/a.so\nw\t/b.so\n", {"/a.so", "/b.so"}},
    {"AllBytesZero", std::string(4096, '\0'), {}},
    {"Lines32", lines(32), paths(32)},
    {"Lines33", lines(33), paths(32)},
    {"Lines1000", lines(1000), paths(32)},
    {"OtherLinesDoNotCount", std::string(100, '\n') + "#\n#\nv\n" + lines(32), paths(32)},
};
void PrintTo(const FileCase &row, std::ostream *os) {
    *os << row.what;
}
class HbaConfFile : public ::testing::TestWithParam<FileCase> {};
INSTANTIATE_TEST_SUITE_P(Files, HbaConfFile, ::testing::ValuesIn(FILES),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_P(HbaConfFile, NamesTheLibrariesToOpen) {
    HbaVendors host;
    host.configure(GetParam().text);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    Calls expected;
    for (const std::string &path : GetParam().paths) expected.push_back(open_call(path));
    EXPECT_EQ(host.libraries.calls(), expected);
    for (std::size_t row = 0; row < librarytable.size(); ++row) {
        if (row < GetParam().paths.size()) {
            EXPECT_EQ(librarytable[row].path, GetParam().paths[row]);
            EXPECT_EQ(librarytable[row].status, HBA_LIBRARY_NOT_LOADED);
        } else {
            EXPECT_TRUE(is_zero(librarytable[row])) << row;
        }
    }
}

TEST(HbaLoader, RowsBeyondTheLastAreNotLoaded) {
    HbaVendors host;
    std::string text;
    for (int line = 0; line < 33; ++line) text += "v\t/lib/" + std::to_string(line % 4) + ".so\n";
    host.install(4);
    host.configure(text);
    for (HbaVendor &vendor : host.vendors) vendor.count = 1;
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    for (std::size_t row = 0; row < HBA_LIBRARIES; ++row)
        EXPECT_EQ(librarytable[row].status, HBA_LIBRARY_LOADED) << row;
    EXPECT_TRUE(is_zero(librarytable[HBA_LIBRARIES]));
    EXPECT_EQ(host.opens().size(), 32u);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 32u);
    EXPECT_EQ(adaptertable[31].library, 31u);
    EXPECT_EQ(HBA_OpenAdapter("com.example0-0"), 0x1234u); // the first of many
}

// -- A library ----------------------------------------------------------------------------------

TEST(HbaLoader, LibraryIsRegisteredAskedItsVersionAndLoaded) {
    HbaVendors host;
    host.load(2);
    EXPECT_EQ(host.libraries.calls(),
              (Calls{open_call("/lib/0.so"), "symbol HBA_RegisterLibrary", open_call("/lib/1.so"),
                     "symbol HBA_RegisterLibrary"}));
    EXPECT_EQ(host.vendors[0].calls, (Calls{"register", "version", "load"}));
    EXPECT_EQ(host.vendors[1].calls, host.vendors[0].calls);
    const HBA_LIBRARY_ROW &row = librarytable[1];
    EXPECT_STREQ(row.name, "vendor1");
    EXPECT_STREQ(row.path, "/lib/1.so");
    EXPECT_NE(row.handle, nullptr);
    EXPECT_NE(row.handle, librarytable[0].handle);
    EXPECT_NE(row.entryPoints.OpenAdapterHandler, nullptr);
    EXPECT_EQ(row.entryPoints.ReadCapacityHandler, nullptr);
    EXPECT_EQ(row.status, 1u);
    EXPECT_EQ(row.vendorHandle, 0u);
}

TEST(HbaLoader, AnyVersionButZeroIsGood) {
    for (const HBA_UINT32 version : {1u, 2u, 77u, 0x80000000u, 0xFFFFFFFFu}) {
        HbaVendors host;
        host.vendors[0].version = version;
        host.load(1);
        EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_LOADED) << version;
    }
}

TEST(HbaLoader, LibraryThatIsMissingTakesItsRow) {
    HbaVendors host;
    host.install(1);
    host.configure("gone\t/lib/gone.so\nvendor0\t/lib/0.so\n");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_STREQ(librarytable[0].name, "gone");
    EXPECT_EQ(librarytable[0].handle, nullptr);
    EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_NOT_LOADED);
    EXPECT_EQ(librarytable[1].status, HBA_LIBRARY_LOADED);
}

TEST(HbaLoader, LibraryWithoutTheSymbolStaysOpenUnused) {
    HbaVendors host;
    host.libraries.add("/lib/other.so",
                       {{"HBA_GetVersion", FakeLibraries::entry(&HBA_GetVersion)}});
    host.configure("other\t/lib/other.so\n");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_NOT_LOADED);
    EXPECT_NE(librarytable[0].handle, nullptr);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(host.libraries.opened("/lib/other.so"), 1);
}

/// How a library can turn out, and what becomes of its row.
struct RowCase {
    const char *what;
    void (*change)(HbaVendor &);
    Calls calls;
    HBA_UINT32 status;
    int open; // handles that stay open
};
const RowCase ROWS[] = {
    {"Good", [](HbaVendor &) {}, {"register", "version", "load"}, 1, 1},
    {"RefusesToRegister",
     [](HbaVendor &vendor) { vendor.registration = HBA_STATUS_ERROR; },
     {"register"},
     2,
     0},
    {"RefusesWithAnUnknownCode",
     [](HbaVendor &vendor) { vendor.registration = 0xFFFFFFFF; },
     {"register"},
     2,
     0},
    {"HasVersionZero",
     [](HbaVendor &vendor) { vendor.version = 0; },
     {"register", "version"},
     2,
     0},
    {"RefusesToLoad",
     [](HbaVendor &vendor) { vendor.loading = HBA_STATUS_ERROR_BUSY; },
     {"register", "version", "load"},
     2,
     0},
    {"HasNoVersion",
     [](HbaVendor &vendor) {
         vendor.leaving = [](HBA_ENTRYPOINTS &table) { table.GetVersionHandler = nullptr; };
     },
     {"register"},
     0,
     1},
    {"HasNoLoad",
     [](HbaVendor &vendor) {
         vendor.leaving = [](HBA_ENTRYPOINTS &table) { table.LoadLibraryHandler = nullptr; };
     },
     {"register", "version"},
     0,
     1},
    {"HasNothing",
     [](HbaVendor &vendor) { vendor.leaving = [](HBA_ENTRYPOINTS &table) { table = {}; }; },
     {"register"},
     0,
     1},
};
void PrintTo(const RowCase &row, std::ostream *os) {
    *os << row.what;
}
class HbaLibraryRow : public ::testing::TestWithParam<RowCase> {};
INSTANTIATE_TEST_SUITE_P(Libraries, HbaLibraryRow, ::testing::ValuesIn(ROWS),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_P(HbaLibraryRow, HasTheStatusThatItsLibraryEarned) {
    HbaVendors host;
    librarytable[0].vendorHandle = 99; // of an earlier life
    host.vendors[0].count = 3;
    GetParam().change(host.vendors[0]);
    host.load(2);
    const HBA_LIBRARY_ROW &row = librarytable[0];
    EXPECT_EQ(host.vendors[0].calls, GetParam().calls);
    EXPECT_EQ(row.status, GetParam().status);
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), GetParam().open);
    EXPECT_EQ(row.handle != nullptr, GetParam().open > 0);
    EXPECT_EQ(row.vendorHandle, 0u);
    if (GetParam().status == HBA_LIBRARY_LET_GO) {
        EXPECT_TRUE(is_empty(row.entryPoints));
    }

    EXPECT_EQ(librarytable[1].status, HBA_LIBRARY_LOADED) << "the next library is its own affair";
    const HBA_UINT32 adapters = GetParam().status == HBA_LIBRARY_LOADED ? 3 : 0;
    EXPECT_EQ(HBA_GetNumberOfAdapters(), adapters);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    const int left = GetParam().status == HBA_LIBRARY_LOADED ? 0 : GetParam().open;
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), left);
}

// -- Loading again ------------------------------------------------------------------------------

TEST_P(HbaLibraryRow, AgainWhenItIsLoadedOnceMore) {
    HbaVendors host;
    host.load(1);
    ASSERT_EQ(librarytable[0].status, HBA_LIBRARY_LOADED);
    host.vendors[0].calls.clear();
    GetParam().change(host.vendors[0]);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(host.vendors[0].calls, GetParam().calls);
    // What leaves the status alone leaves it at 1 this time.
    const bool letGo = GetParam().status == HBA_LIBRARY_LET_GO;
    EXPECT_EQ(librarytable[0].status, letGo ? HBA_LIBRARY_LET_GO : HBA_LIBRARY_LOADED);
    EXPECT_EQ(is_empty(librarytable[0].entryPoints),
              letGo || std::string(GetParam().what) == "HasNothing");
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), letGo ? 1 : 2);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    host.vendors[0].count = 1;
    // Nothing is called that the library did not register this time.
    EXPECT_EQ(HBA_GetNumberOfAdapters(), is_empty(librarytable[0].entryPoints) ? 0u : 1u);
}

TEST(HbaLoader, EachLoadOpensTheSameLibrariesOverTheSameRows) {
    HbaVendors host;
    host.vendors[0].count = host.vendors[1].count = 2;
    host.load(2);
    void *const handle = librarytable[1].handle;
    for (int time = 2; time <= 100; ++time) {
        ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
        ASSERT_EQ(HBA_GetNumberOfAdapters(), 4u);
        ASSERT_EQ(host.libraries.opened("/lib/1.so"), time);
    }
    EXPECT_EQ(librarytable[1].handle, handle);
    EXPECT_TRUE(is_zero(librarytable[2]));
    EXPECT_EQ(host.times("close /lib/1.so"), 0u);
}

TEST(HbaLoader, LoadForgetsTheVendorsHandle) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    ASSERT_EQ(HBA_GetNumberOfAdapters(), 1u);
    ASSERT_EQ(HBA_OpenAdapter("com.example0-0"), 0x1234u);
    EXPECT_EQ(librarytable[0].vendorHandle, 0x1234u);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(librarytable[0].vendorHandle, 0u);
}

TEST(HbaLoader, LibraryThatIsGoneLaterServesOn) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    ASSERT_EQ(HBA_GetNumberOfAdapters(), 1u);
    ASSERT_EQ(HBA_OpenAdapter("com.example0-0"), 0x1234u);
    host.configure("renamed\t/lib/gone.so\n");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);

    const HBA_LIBRARY_ROW &row = librarytable[0];
    EXPECT_STREQ(row.name, "renamed");
    EXPECT_STREQ(row.path, "/lib/gone.so");
    EXPECT_EQ(row.handle, nullptr);
    EXPECT_EQ(row.status, HBA_LIBRARY_LOADED);
    EXPECT_EQ(row.vendorHandle, 0x1234u);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);

    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(host.vendors[0].calls.back(), "free");
    EXPECT_EQ(row.status, HBA_LIBRARY_LET_GO);
    EXPECT_EQ(host.times("close /lib/0.so"), 0u); // there is no handle to close
}

TEST(HbaLoader, LibraryWithoutTheSymbolInAnothersRowLeavesThatOnesEntries) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    ASSERT_EQ(HBA_GetNumberOfAdapters(), 1u);
    ASSERT_EQ(HBA_OpenAdapter("com.example0-0"), 0x1234u);
    host.libraries.add("/lib/other.so", {});
    host.configure("other\t/lib/other.so\n");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_LOADED);
    EXPECT_EQ(librarytable[0].vendorHandle, 0x1234u);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), 1); // so its entries are good
}

TEST_P(HbaLibraryRow, ThatWasLetGoStaysSoUntilItsLibraryIsLoaded) {
    HbaVendors host;
    host.load(1);
    ASSERT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    host.vendors[0].count = 1;
    GetParam().change(host.vendors[0]);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    const bool isLoaded = GetParam().status == HBA_LIBRARY_LOADED;
    EXPECT_EQ(librarytable[0].status, isLoaded ? HBA_LIBRARY_LOADED : HBA_LIBRARY_LET_GO);
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), GetParam().open);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), isLoaded ? 1u : 0u);
}

TEST(HbaLoader, RowThatWasLetGoStaysSoWithoutALibrary) {
    HbaVendors host;
    host.load(2);
    ASSERT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    host.libraries.add("/lib/other.so", {});
    host.configure("gone\t/lib/gone.so\nother\t/lib/other.so\n");
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    for (const std::size_t row : {0u, 1u}) {
        EXPECT_EQ(librarytable[row].status, HBA_LIBRARY_LET_GO);
        EXPECT_TRUE(is_empty(librarytable[row].entryPoints));
    }
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(host.times("close /lib/other.so"), 0u);
}

TEST(HbaLoader, ShorterFileLeavesTheRowsBehindIt) {
    HbaVendors host;
    host.vendors[0].count = host.vendors[1].count = 1;
    host.load(2);
    host.configure(1);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(librarytable[1].status, HBA_LIBRARY_LOADED);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 2u);
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), 2);
    EXPECT_EQ(host.libraries.opened("/lib/1.so"), 1);
}

// -- Letting go ---------------------------------------------------------------------------------

TEST(HbaLoader, FreeAsksAndClosesWhatIsLoaded) {
    HbaVendors host;
    host.vendors[1].loading = HBA_STATUS_ERROR;
    host.load(3);
    host.vendors[0].freeing = HBA_STATUS_ERROR_BUSY;
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK); // the last one's answer
    for (const int loaded : {0, 2}) {
        const HBA_LIBRARY_ROW &row = librarytable[static_cast<std::size_t>(loaded)];
        EXPECT_EQ(row.status, HBA_LIBRARY_LET_GO);
        EXPECT_EQ(row.handle, nullptr);
        EXPECT_TRUE(is_empty(row.entryPoints));
        EXPECT_EQ(host.vendors[static_cast<std::size_t>(loaded)].calls.back(), "free");
        EXPECT_EQ(host.libraries.opened("/lib/" + std::to_string(loaded) + ".so"), 0);
    }
    EXPECT_EQ(host.vendors[1].calls.back(), "load"); // was let go before
    EXPECT_EQ(host.times("close /lib/1.so"), 1u);
}

TEST(HbaLoader, FreeGivesTheLastLibrarysStatus) {
    HbaVendors host;
    host.load(2);
    host.vendors[1].freeing = HBA_STATUS_ERROR_UNAVAILABLE;
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_ERROR_UNAVAILABLE);
    EXPECT_EQ(librarytable[1].status, HBA_LIBRARY_LET_GO); // let go in any case
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);           // nothing is left to free
    EXPECT_EQ(host.times("close /lib/1.so"), 1u);
}

TEST(HbaLoader, LibraryWithoutFreeIsClosedUnasked) {
    HbaVendors host;
    host.vendors[1].leaving = [](HBA_ENTRYPOINTS &table) { table.FreeLibraryHandler = nullptr; };
    host.vendors[0].freeing = HBA_STATUS_ERROR_BUSY;
    host.load(2);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_ERROR_BUSY); // of the last one that was asked
    EXPECT_EQ(librarytable[1].status, HBA_LIBRARY_LET_GO);
    EXPECT_EQ(host.libraries.opened("/lib/1.so"), 0);
}

TEST(HbaLoader, FreeWithoutLibrariesIsFine) {
    HbaVendors host;
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_TRUE(host.libraries.calls().empty());
}

TEST(HbaLoader, LibraryIsAskedBeforeItIsClosed) {
    HbaVendors host;
    static HbaVendors *asked;
    asked = &host;
    host.vendors[0].leaving = [](HBA_ENTRYPOINTS &table) {
        table.FreeLibraryHandler = []() -> HBA_STATUS {
            EXPECT_EQ(asked->libraries.opened("/lib/0.so"), 1);
            return HBA_STATUS_ERROR_STALE_DATA;
        };
    };
    host.load(1);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_ERROR_STALE_DATA);
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), 0);
}

TEST(HbaLoader, FreeClosesOnceWhatWasLoadedTwice) {
    HbaVendors host;
    host.load(1);
    ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(host.libraries.opened("/lib/0.so"), 1);
}

TEST(HbaLoader, LibrariesCanBeLoadedAfterTheyWereFreed) {
    HbaVendors host;
    host.vendors[0].count = 1;
    host.load(1);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 0u);
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_LOADED);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 1u);
}
} // namespace
