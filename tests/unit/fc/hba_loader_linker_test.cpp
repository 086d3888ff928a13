// The loader over the host's own dynamic linker: real libraries, and what only calls itself one.
#include <dlfcn.h>
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "fc/hba_loader.h"

namespace {
/// A host on which the libraries of the tests lie under paths of plain characters.
class LinkerHost {
public:
    explicit LinkerHost(const std::string &library = HBA_VENDOR_LIBRARY) {
        std::filesystem::copy_file(library, path("first.so"));
        std::filesystem::copy_file(library, path("second.so"));
        root.write("/text.so", "This is no library.\n");
        root.write("/empty.so", "");
        root.makeDirectory("/directory.so");
    }
    std::string path(const std::string &name) const { return root.path() + "/" + name; }
    void configure(const std::vector<std::string> &names) {
        std::string text;
        for (const std::string &name : names) text += name + "\t" + path(name) + "\n";
        root.write(HBA_CONF_FILE, text);
    }
    TemporaryRoot root;
};

std::ptrdiff_t open_descriptors() {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
}

/// What the manager does at each of its polls.
void poll() {
    ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    const HBA_UINT32 number = HBA_GetNumberOfAdapters();
    ASSERT_EQ(number, 6u);
    for (HBA_UINT32 index = 0; index < number; ++index) {
        char name[HBA_ADAPTER_NAME_BYTES] = {};
        ASSERT_EQ(HBA_GetAdapterName(index, name), HBA_STATUS_OK);
        const HBA_HANDLE handle = HBA_OpenAdapter(name);
        ASSERT_NE(handle, 0u);
        HBA_ADAPTERATTRIBUTES attributes{};
        ASSERT_EQ(HBA_GetAdapterAttributes(handle, &attributes), HBA_STATUS_OK);
        ASSERT_EQ(attributes.NumberOfPorts, 1u);
    }
}

/// The library with C names, and with C++ names.
class HbaLinker : public ::testing::TestWithParam<const char *> {};
INSTANTIATE_TEST_SUITE_P(Names, HbaLinker,
                         ::testing::Values(HBA_VENDOR_LIBRARY, HBA_VENDOR_LIBRARY_CXX),
                         [](const auto &row) {
                             return row.index == 0 ? std::string("C") : std::string("Cxx");
                         });

TEST_P(HbaLinker, LibrarysNamesAndOursNeverMeet) {
    LinkerHost host(GetParam());
    host.configure({"first.so"});
    ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    ASSERT_EQ(librarytable[0].status, HBA_LIBRARY_LOADED);
    // The library's handlers call its own functions, not ours of the same names.
    EXPECT_EQ(librarytable[0].entryPoints.GetVersionHandler(), 2u);
    EXPECT_EQ(librarytable[0].entryPoints.GetNumberOfAdaptersHandler(), 3u);
    char name[HBA_ADAPTER_NAME_BYTES] = {};
    EXPECT_EQ(librarytable[0].entryPoints.GetAdapterNameHandler(2, name), HBA_STATUS_OK);
    EXPECT_STREQ(name, "com.example-FC900X-2");
    // And we call ours.
    EXPECT_EQ(HBA_GetVersion(), 1u);
    EXPECT_EQ(HBA_GetAdapterName(0, name), HBA_STATUS_ERROR_ILLEGAL_INDEX); // no list yet
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_ERROR_INCAPABLE);
    EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_LET_GO);
}

TEST_P(HbaLinker, LibraryLoadedBeforeItsTurnChangesNothing) {
    LinkerHost host(GetParam());
    void *const early = ::dlopen(host.path("first.so").c_str(), RTLD_NOW | RTLD_GLOBAL);
    ASSERT_NE(early, nullptr);
    EXPECT_EQ(HBA_GetVersion(), 1u);
    host.configure({"first.so", "second.so"});
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 6u);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_ERROR_INCAPABLE);
    EXPECT_EQ(::dlclose(early), 0);
}

TEST(HbaLinkerNames, OfOursAreNotForOthers) {
    for (const char *name :
         {"HBA_GetVersion", "HBA_LoadLibrary", "HBA_OpenAdapter", "HBA_RegisterLibrary",
          "librarytable", "adaptertable", "number_of_total_adapters", "_Z14HBA_GetVersionv",
          "_Z15HBA_LoadLibraryv", "_Z15HBA_OpenAdapterPKc"})
        EXPECT_EQ(::dlsym(RTLD_DEFAULT, name), nullptr) << name;
    // This very program does show names to libraries: of a function that nobody hides.
    EXPECT_NE(::dlsym(RTLD_DEFAULT, "orb_hba_test_is_visible"), nullptr);
}

TEST(HbaLinkerRows, CallsGoThrough) {
    LinkerHost host;
    host.configure({"first.so", "second.so"});
    ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 6u);
    const HBA_HANDLE handle = HBA_OpenAdapter("com.example-FC900X-2");
    EXPECT_EQ(handle, 0x0102u);
    HBA_ADAPTERATTRIBUTES attributes{};
    EXPECT_EQ(HBA_GetAdapterAttributes(handle, &attributes), HBA_STATUS_OK);
    EXPECT_STREQ(attributes.SerialNumber, "beef0102");
    const HBA_WWN wwn = {{0x50, 0, 0, 0, 0, 0xA1, 0x77, 0xB0}};
    HBA_PORTATTRIBUTES port{};
    EXPECT_EQ(HBA_GetPortAttributesByWWN(handle, wwn, &port), HBA_STATUS_OK);
    EXPECT_EQ(std::memcmp(&port.PortWWN, &wwn, sizeof wwn), 0);
    EXPECT_EQ(port.PortState, HBA_PORTSTATE_ONLINE);
    HBA_PORTATTRIBUTES untouched{};
    untouched.PortFcId = 7;
    EXPECT_EQ(HBA_GetAdapterPortAttributes(handle, 0, &untouched), HBA_STATUS_OK); // it has none
    EXPECT_EQ(untouched.PortFcId, 7u);
    HBA_CloseAdapter(handle);
    char path[HBA_LIBRARY_PATH_BYTES] = {};
    HBA_HANDLE vendorHandle = 0;
    EXPECT_EQ(HBA_GetLibraryPath(3, path, &vendorHandle), librarytable[1].handle);
    EXPECT_EQ(path, host.path("second.so"));
}

TEST(HbaLinkerRows, WhatIsNoLibraryIsPassedOver) {
    LinkerHost host;
    host.configure({"text.so", "empty.so", "directory.so", "missing.so", "second.so"});
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    for (std::size_t row = 0; row < 4; ++row) {
        EXPECT_EQ(librarytable[row].handle, nullptr) << row;
        EXPECT_EQ(librarytable[row].status, HBA_LIBRARY_NOT_LOADED) << row;
    }
    EXPECT_EQ(librarytable[4].status, HBA_LIBRARY_LOADED);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    EXPECT_EQ(HBA_OpenAdapter("com.example-FC900X-0"), 0x40100u);
}

TEST(HbaLinkerRows, LibraryOfAnotherKindStaysOpenUnused) {
    LinkerHost host;
    host.root.write(HBA_CONF_FILE, "math\tlibm.so.6\nnone\t$\nvendor\t" + host.path("first.so"));
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_NE(librarytable[0].handle, nullptr);
    EXPECT_EQ(librarytable[0].status, HBA_LIBRARY_NOT_LOADED);
    // An empty path is the program itself to the linker: no vendor's library either.
    EXPECT_STREQ(librarytable[1].path, "");
    EXPECT_EQ(librarytable[1].status, HBA_LIBRARY_NOT_LOADED);
    EXPECT_EQ(librarytable[2].status, HBA_LIBRARY_LOADED);
}

TEST(HbaLinkerRows, LibraryThatIsRemovedServesOn) {
    LinkerHost host;
    host.configure({"first.so"});
    ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    std::filesystem::remove(host.path("first.so"));
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK); // the linker finds it by its name still
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    host.configure({"gone.so"});
    EXPECT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    EXPECT_EQ(librarytable[0].handle, nullptr);
    EXPECT_EQ(HBA_GetNumberOfAdapters(), 3u);
    EXPECT_EQ(HBA_OpenAdapter("com.example-FC900X-1"), 0x0101u);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_ERROR_INCAPABLE);
}

TEST(HbaLinkerRows, PollsLeaveMemoryAndDescriptorsAsTheyWere) {
    LinkerHost host;
    host.configure({"first.so", "missing.so", "text.so", "second.so"});
    for (int time = 0; time < 20; ++time) ASSERT_NO_FATAL_FAILURE(poll());
    const std::ptrdiff_t descriptors = open_descriptors();
    const std::size_t heapBytes = ::mallinfo2().uordblks; // 0 where a checking heap is in place
    for (int time = 0; time < 2000; ++time) ASSERT_NO_FATAL_FAILURE(poll());
    EXPECT_EQ(::mallinfo2().uordblks, heapBytes);
    EXPECT_EQ(open_descriptors(), descriptors);
}
} // namespace

extern "C" int orb_hba_test_is_visible() {
    return 1;
}
