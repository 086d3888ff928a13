#include "vendor/geo_encoder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "hostaccess/orbHostFiles.h"
#include "life/LabFiles.h"
#include "vendor/location_code.h"

namespace {
using Record = std::array<unsigned char, 256>;

/// One of the built libraries, loaded as the daemon does it.
class Library {
public:
    explicit Library(const char *name)
        : folder(ORB_BINARY_DIR "/lab/vendor"), handle(folder.open(name, RTLD_LAZY | RTLD_GLOBAL)) {
        EXPECT_NE(handle, nullptr) << name;
        if (handle == nullptr) return;
        init = reinterpret_cast<void (*)(void *, int)>(folder.symbol(handle, "physloc_init_data"));
        encode = reinterpret_cast<int (*)(void *, std::uint64_t *)>(
            folder.symbol(handle, "physloc_encode"));
        EXPECT_NE(init, nullptr);
        EXPECT_NE(encode, nullptr);
    }
    ~Library() {
        if (handle != nullptr) {
            EXPECT_EQ(folder.close(handle), 0);
        }
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    /// A prepared record with its fields.
    Record record(std::uint32_t type, int rack, int unit, int partition, int slot,
                  int extra) const {
        Record bytes{};
        init(bytes.data(), 2);
        std::memcpy(bytes.data(), &type, sizeof type);
        bytes[4] = static_cast<unsigned char>(rack);
        bytes[5] = static_cast<unsigned char>(unit);
        bytes[8] = static_cast<unsigned char>(partition);
        bytes[11] = static_cast<unsigned char>(slot);
        bytes[13] = static_cast<unsigned char>(extra);
        return bytes;
    }

private:
    LabLibraries folder;
    void *handle;

public:
    void (*init)(void *, int) = nullptr;
    int (*encode)(void *, std::uint64_t *) = nullptr;
};

int result_of(const Library &library, Record record) {
    std::uint64_t value = 42;
    const int status = library.encode(record.data(), &value);
    if (status != 0) {
        EXPECT_EQ(value, 42u);
    }
    return status;
}
} // namespace

TEST(GeoEncoder, WritesTheLabsCodes) {
    const Library first("libgeoenc02.so"), second("libgeoenc03.so");
    std::uint64_t expected = 0, value = 0;
    Record record = first.record(59, 1, 2, 3, 0, 1);
    ASSERT_EQ(encode_location({1, 59, 1, 2, 3, 0, 1}, &expected), 0);
    EXPECT_EQ(first.encode(record.data(), &value), GEO_GOOD);
    EXPECT_EQ(value, expected);
    record = second.record(48, 1, 2, 0, 3, 1);
    ASSERT_EQ(encode_location({2, 48, 1, 2, 0, 3, 1}, &expected), 0);
    EXPECT_EQ(second.encode(record.data(), &value), GEO_GOOD);
    EXPECT_EQ(value, expected);
}

TEST(GeoEncoder, RecordHasToBePreparedWithVersionTwo) {
    const Library library("libgeoenc02.so");
    EXPECT_EQ(result_of(library, Record{}), GEO_NOT_PREPARED);
    for (const int version : {0, 1, 3, -2}) {
        Record record = library.record(3, 1, 1, 0, 3, 0);
        const Record fields = record;
        library.init(record.data(), version);
        for (const std::size_t at : {0u, 4u, 5u, 8u, 11u, 13u}) record[at] = fields[at];
        EXPECT_EQ(result_of(library, record), GEO_WRONG_VERSION) << version;
    }
}

TEST(GeoEncoder, PreparingClearsTheFieldsAndLeavesTheRestOfTheRecord) {
    const Library library("libgeoenc03.so");
    Record record;
    record.fill(0xEE);
    library.init(record.data(), 2);
    for (std::size_t at = 0; at < GEO_CALLERS_BYTES; ++at) EXPECT_EQ(record[at], 0) << at;
    for (std::size_t at = GEO_RECORD_BYTES; at < record.size(); ++at) EXPECT_EQ(record[at], 0xEE);
}

TEST(GeoEncoder, FieldsAreChecked) {
    const Library first("libgeoenc02.so"), second("libgeoenc03.so");
    EXPECT_EQ(result_of(first, first.record(48, 1, 1, 0, 3, 0)), GEO_UNKNOWN_TYPE);
    EXPECT_EQ(result_of(second, second.record(59, 1, 1, 0, 3, 0)), GEO_UNKNOWN_TYPE);
    EXPECT_EQ(result_of(first, first.record(3, 1, 100, 0, 3, 0)), GEO_OUT_OF_RANGE);
    EXPECT_EQ(result_of(second, second.record(3, 1, 1, 1, 3, 0)), GEO_OUT_OF_RANGE);
    EXPECT_EQ(result_of(first, first.record(3, 1, 1, 0, 3, 1)), GEO_OUT_OF_RANGE);
    for (const std::size_t at : {6u, 7u, 9u, 10u, 12u, 14u, 15u}) {
        Record record = first.record(3, 1, 1, 0, 3, 0);
        record[at] = 1;
        EXPECT_EQ(result_of(first, record), GEO_FOREIGN_BYTE) << at;
    }
}

TEST(GeoEncoder, NothingToWorkOnIsNoCrash) {
    const Library library("libgeoenc02.so");
    std::uint64_t value = 0;
    library.init(nullptr, 2);
    EXPECT_EQ(library.encode(nullptr, &value), GEO_NO_RECORD);
    Record record = library.record(3, 1, 1, 0, 3, 0);
    EXPECT_EQ(library.encode(record.data(), nullptr), GEO_NO_RECORD);
}

TEST(GeoEncoder, IncompleteOneLacksAnEntry) {
    LabLibraries folder(ORB_BINARY_DIR "/lab/vendor/incomplete");
    for (const char *name : {"libgeoenc02.so", "libgeoenc03.so"}) {
        void *handle = folder.open(name, RTLD_LAZY | RTLD_GLOBAL);
        ASSERT_NE(handle, nullptr) << name;
        EXPECT_NE(folder.symbol(handle, "physloc_init_data"), nullptr);
        EXPECT_EQ(folder.symbol(handle, "physloc_encode"), nullptr);
        EXPECT_EQ(folder.close(handle), 0);
    }
}

TEST(GeoEncoder, RefusesWhileTheWorldSaysSo) {
    const TemporaryRoot root;
    const std::string file = root.path() + "/vendor.json";
    ASSERT_EQ(::setenv("ORB_LAB_WORLD", file.c_str(), 1), 0);
    const Library library("libgeoenc02.so");
    const auto say = [&](const std::string &text) {
        std::ofstream(file + ".new") << text;
        ASSERT_EQ(std::rename((file + ".new").c_str(), file.c_str()), 0);
    };
    const Record record = library.record(3, 1, 1, 0, 3, 0);
    EXPECT_EQ(result_of(library, record), GEO_GOOD) << "no file";
    say(R"({"encoder":"refuses"})");
    EXPECT_EQ(result_of(library, record), GEO_REFUSED);
    EXPECT_EQ(result_of(library, record), GEO_REFUSED) << "from memory";
    for (const char *text : {R"({"encoder":"works"})", "", "[]", "{", R"({"encoder":3})", "{}",
                             R"({"other":"refuses"})"}) {
        say(text);
        EXPECT_EQ(result_of(library, record), GEO_GOOD) << text;
        say(R"({"encoder":"refuses"})");
        EXPECT_EQ(result_of(library, record), GEO_REFUSED) << text;
    }
    say(std::string(5000, '['));
    EXPECT_EQ(result_of(library, record), GEO_GOOD) << "nested too deep";
    ::unsetenv("ORB_LAB_WORLD");
}

TEST(GeoEncoder, SeesEachWayInWhichTheWorldChanges) {
    const TemporaryRoot root;
    const std::string file = root.path() + "/vendor.json", other = root.path() + "/other.json";
    ASSERT_EQ(::setenv("ORB_LAB_WORLD", file.c_str(), 1), 0);
    const Library library("libgeoenc03.so");
    const Record record = library.record(3, 1, 1, 0, 3, 0);
    const std::string refuses = R"({"encoder":"refuses"})", works = R"({"encoder":"do work"})";
    ASSERT_EQ(refuses.size(), works.size());
    const auto write = [](const std::string &path, const std::string &text, timespec at) {
        std::ofstream(path) << text;
        const timespec times[2] = {at, at};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    };
    write(file, refuses, {1000, 1});
    EXPECT_EQ(result_of(library, record), GEO_REFUSED);
    write(file, works, {1000, 2});
    EXPECT_EQ(result_of(library, record), GEO_GOOD) << "by the nanosecond alone";
    write(file, refuses, {1001, 2});
    EXPECT_EQ(result_of(library, record), GEO_REFUSED) << "by the second alone";
    write(file, works + " ", {1001, 2});
    EXPECT_EQ(result_of(library, record), GEO_GOOD) << "by the size alone";
    write(other, refuses + " ", {1001, 2});
    ASSERT_EQ(std::rename(other.c_str(), file.c_str()), 0);
    EXPECT_EQ(result_of(library, record), GEO_REFUSED) << "by being another file alone";
    ASSERT_EQ(std::rename(file.c_str(), other.c_str()), 0);
    EXPECT_EQ(result_of(library, record), GEO_GOOD) << "by going away";
    ASSERT_EQ(std::rename(other.c_str(), file.c_str()), 0);
    EXPECT_EQ(result_of(library, record), GEO_REFUSED) << "by coming back as it was";
    ::unsetenv("ORB_LAB_WORLD");
    EXPECT_EQ(result_of(library, record), GEO_GOOD) << "without a world";
}
