#include "core/orbUtils.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "hostaccess/orbHostClock.h"

namespace {
using Texts = std::vector<std::string>;

/// A clock that can't tell calendar time.
class NoCalendar final : public IorbHostClock {
public:
    NoCalendar() : outer(replace(this)) {}
    ~NoCalendar() override { replace(outer); }
    std::time_t now() override { return VirtualClock::START; }
    ORB_SYSCALL_RESULT realTime(std::timespec *) override { return {-1, EINVAL}; }
    bool localTime(std::time_t, std::tm *) override { return false; }
    void sleepMs(std::int64_t) override { ADD_FAILURE() << "no time text sleeps"; }
    std::cv_status waitUntil(std::condition_variable &, std::unique_lock<std::mutex> &,
                             const std::timespec &) override {
        ADD_FAILURE() << "no time text waits";
        return std::cv_status::timeout;
    }

private:
    IorbHostClock *outer;
};

void setZone(const char *zone) {
    ::setenv("TZ", zone, 1);
    ::tzset();
}
} // namespace

// -- Time ---------------------------------------------------------------------------------------

TEST(TimeTexts, LogStampHasNoLeadingZeroInItsDay) {
    const VirtualClock clock;
    EXPECT_EQ(orbUtils::getDateTime(), "Jan 3 08:04:09");
}

TEST(TimeTexts, LogStampKnowsAllMonths) {
    const char *const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                  "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    for (int month = 0; month < 12; ++month) {
        std::tm day{};
        day.tm_year = 126;
        day.tm_mon = month;
        day.tm_mday = 21;
        day.tm_hour = 23;
        const VirtualClock clock(::timegm(&day));
        EXPECT_EQ(orbUtils::getDateTime(), std::string(months[month]) + " 21 23:00:00");
    }
}

TEST(TimeTexts, LogStampNeitherLogsNorReadsTheConfiguration) {
    const TemporaryRoot root;
    const VirtualClock clock;
    orbUtils::getDateTime();
    EXPECT_TRUE(std::filesystem::is_empty(root.path())) << "a logger would have made its folders";
}

TEST(TimeTexts, LogStampWithoutACalendar) {
    const NoCalendar clock;
    EXPECT_EQ(orbUtils::getDateTime(), "Jan 1 00:00:00");
}

TEST(TimeTexts, EventTimeIsDateAndTime) {
    const VirtualClock clock;
    EXPECT_EQ(orbUtils::getTime(), "2026-01-03 08:04:09");
}

TEST(TimeTexts, ZoneIsTheLocalTimesAbbreviation) {
    const VirtualClock clock;
    EXPECT_EQ(orbUtils::getTimeZone(), "GMT");
}

TEST(Stamp, IsReadAsLocalTime) {
    setZone("UTC0");
    EXPECT_EQ(orbUtils::toEpoc("2016-01-12T08:04:09Z"), 1452585849);
    setZone("XYZ-3");
    EXPECT_EQ(orbUtils::toEpoc("2016-01-12T08:04:09Z"), 1452585849 - 3 * 3600);
}

TEST(Stamp, FollowsDaylightSaving) {
    setZone("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(orbUtils::toEpoc("2016-01-12T08:04:09Z"), 1452585849 - 3600);
    EXPECT_EQ(orbUtils::toEpoc("2016-07-12T08:04:09Z"), 1468310649 - 2 * 3600);
}

TEST(Stamp, NeedsNothingBehindTheSeconds) {
    setZone("UTC0");
    EXPECT_EQ(orbUtils::toEpoc("2016-01-12T08:04:09"), 1452585849);
    EXPECT_EQ(orbUtils::toEpoc("2016-01-12T08:04:09.123Z and more"), 1452585849);
    EXPECT_EQ(orbUtils::toEpoc("2016/01/12 08.04.09"), 1452585849) << "any separators";
}

TEST(Stamp, EveryShorterTextThrows) {
    const std::string stamp = "2016-01-12T08:04:09";
    for (std::size_t length = 1; length < stamp.size(); ++length)
        EXPECT_THROW(orbUtils::toEpoc(stamp.substr(0, length)), std::out_of_range) << length;
}

TEST(Stamp, NonDigitsReadAsTheirPrefix) {
    setZone("UTC0");
    EXPECT_EQ(orbUtils::toEpoc("2016-01-12Txx:0y:z9Z"), orbUtils::toEpoc("2016-01-12T00:00:00Z"));
    EXPECT_EQ(orbUtils::toEpoc("20x6-01-12T00:00:00Z"), orbUtils::toEpoc("0020-01-12T00:00:00Z"));
}

TEST(TimeDifference, IsStopMinusStartWithABorrow) {
    struct Row {
        std::timespec start, stop, difference;
    };
    const Row rows[] = {
        {{10, 100}, {12, 300}, {2, 200}}, {{10, 900'000'000}, {12, 100'000'000}, {1, 200'000'000}},
        {{10, 5}, {10, 5}, {0, 0}},       {{10, 5}, {10, 4}, {-1, 999'999'999}},
        {{12, 0}, {10, 0}, {-2, 0}},
    };
    for (const Row &row : rows) {
        std::timespec difference{};
        orbUtils::diffTimespec(row.start, row.stop, difference);
        EXPECT_EQ(difference.tv_sec, row.difference.tv_sec);
        EXPECT_EQ(difference.tv_nsec, row.difference.tv_nsec);
    }
}

TEST(TimeDifference, MayReplaceItsOperand) {
    std::timespec start{10, 900'000'000};
    orbUtils::diffTimespec(start, {12, 100'000'000}, start);
    EXPECT_EQ(start.tv_sec, 1);
    EXPECT_EQ(start.tv_nsec, 200'000'000);
}

TEST(KeptTimes, AreZeroUntilSet) {
    EXPECT_EQ(orbUtils::getSystemCurrentBootTime(), 0);
    EXPECT_EQ(orbUtils::getCacheRefreshTimeInterval(), 0);
    orbUtils::setSystemCurrentBootTime(1767341049);
    orbUtils::setCacheRefreshTimeInterval(30);
    EXPECT_EQ(orbUtils::getSystemCurrentBootTime(), 1767341049);
    EXPECT_EQ(orbUtils::getCacheRefreshTimeInterval(), 30);
}

// -- Directories --------------------------------------------------------------------------------

namespace {
class Directories : public ::testing::Test {
protected:
    Directories() : path(root.map("/sys/devices")) {
        for (const char *name :
             {"ib0", "ib10", "rib1", "mlx5_0", "0000:3b:00.0", "0000:3b:00.1:pcie001",
              "10000:00:00.0", "0000:3b:00", "0000:3b:00.", "nvme0n1", "nvme12n34", "nvme0",
              "nvme0n1p1", "nvme0c0n1", "nvmen1", "Zeta", ".hidden"})
            root.write(std::string("/sys/devices/") + name, "");
    }
    Texts below(const Texts &entries) const {
        Texts whole;
        for (const std::string &name : entries) whole.push_back(path + "/" + name);
        return whole;
    }

    TemporaryRoot root;
    const std::string path;
    Texts names = {"of a former call"};
};
} // namespace

TEST_F(Directories, ListsAllInByteOrder) {
    EXPECT_EQ(orbUtils::dirList(path, names), 0);
    EXPECT_EQ(names,
              below({".hidden", "0000:3b:00", "0000:3b:00.", "0000:3b:00.0", "0000:3b:00.1:pcie001",
                     "10000:00:00.0", "Zeta", "ib0", "ib10", "mlx5_0", "nvme0", "nvme0c0n1",
                     "nvme0n1", "nvme0n1p1", "nvme12n34", "nvmen1", "rib1"}));
}
TEST_F(Directories, PciListKeepsPciAddresses) {
    EXPECT_EQ(orbUtils::dirPciList(path, names), 0);
    EXPECT_EQ(names, below({"0000:3b:00.", "0000:3b:00.0"}));
}
TEST_F(Directories, IbListKeepsNamesThatBeginWithIb) {
    EXPECT_EQ(orbUtils::dirListIB(path, names), 0);
    EXPECT_EQ(names, below({"ib0", "ib10"}));
}
TEST_F(Directories, NvmeListKeepsNameSpaces) {
    EXPECT_EQ(orbUtils::dirListNvmeNameSpaces(path, names), 0);
    EXPECT_EQ(names, below({"nvme0n1", "nvme12n34"}));
}
TEST_F(Directories, MissingOneIsMinusOneAndEmpty) {
    EXPECT_EQ(orbUtils::dirList(path + "/none", names), -1);
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(orbUtils::dirPciList(path + "/none", names), -1);
    EXPECT_EQ(orbUtils::dirListIB(path + "/none", names), -1);
    EXPECT_EQ(orbUtils::dirListNvmeNameSpaces(path + "/none", names), -1);
    EXPECT_EQ(orbUtils::dirList(path + "/ib0", names), -1) << "a file is none";
}
TEST_F(Directories, EmptyOneIsZeroAndEmpty) {
    root.makeDirectory("/sys/empty");
    EXPECT_EQ(orbUtils::dirList(root.map("/sys/empty"), names), 0);
    EXPECT_TRUE(names.empty());
}

// -- Texts --------------------------------------------------------------------------------------

TEST(LineFromFile, IsTheFirstThatHoldsTheText) {
    TemporaryRoot root;
    root.write("/etc/release", "NAME=one\nVERSION=1\nVERSION_ID=1.2\nlast");
    const std::string path = root.map("/etc/release");
    EXPECT_EQ(orbUtils::getLineFromFile(path, "VERSION"), "VERSION=1");
    EXPECT_EQ(orbUtils::getLineFromFile(path, "_ID"), "VERSION_ID=1.2");
    EXPECT_EQ(orbUtils::getLineFromFile(path, "last"), "last");
    EXPECT_EQ(orbUtils::getLineFromFile(path, "none"), "");
    EXPECT_EQ(orbUtils::getLineFromFile(path, ""), "NAME=one");
    EXPECT_EQ(orbUtils::getLineFromFile(root.map("/etc/none"), "VERSION"), "");
    EXPECT_EQ(orbUtils::getLineFromFile(root.map("/etc"), ""), "") << "a directory has no lines";
}

namespace {
struct TrimCase {
    const char *name, *text, *in, *out;
};
const TrimCase TRIM_CASES[] = {
    {"BothEnds", "  a b \t\n", "  a b", "a b"},
    {"NothingToCut", "ab", "ab", "ab"},
    {"LeadingOnly", "\v\fab", "\v\fab", "ab"},
    {"TrailingOnly", "ab\r\n", "ab", "ab"},
    {"OnlyBlanks", " \t\n ", "", ""},
    {"Empty", "", "", ""},
    {"BytesAbove127Stay", "\xA0x\xA0", "\xA0x\xA0", "\xA0x\xA0"},
};
void PrintTo(const TrimCase &row, std::ostream *os) {
    *os << row.name;
}
class Trim : public ::testing::TestWithParam<TrimCase> {};

struct SubStrCase {
    const char *name, *from, *to, *text, *part;
};
const SubStrCase SUBSTR_CASES[] = {
    {"BetweenMarkers", "r", "i", "r001i02s03", "001"},
    {"NoFromStartsAtTheFront", "x", "i", "r001i02", "r001"},
    {"NoToRunsToTheEnd", "r", "x", "r001i02", "001i02"},
    {"ToAheadOfFromRunsToTheEnd", "i", "r", "r001i02", "02"},
    {"ToRightBehindFrom", "a", "b", "xabx", ""},
    {"LongMarkers", "<<", ">>", "a<<b>>c", "b"},
    {"FirstOfEach", "r", "i", "rrii", "r"},
    {"FromAtTheEnd", "i", "x", "abci", ""},
    {"EmptyText", "a", "b", "", ""},
    {"EmptyFrom", "", "i", "001i", "001"},
    {"EmptyTo", "r", "", "r001", "001"},
};
void PrintTo(const SubStrCase &row, std::ostream *os) {
    *os << row.name;
}
class SubStr : public ::testing::TestWithParam<SubStrCase> {};
} // namespace

TEST_P(Trim, CutsInPlaceAndGivesTheRest) {
    std::string in = GetParam().text, out = "former";
    orbUtils::trimLeadingTrailingSpaces(in, out);
    EXPECT_EQ(in, GetParam().in);
    EXPECT_EQ(out, GetParam().out);
}
TEST_P(Trim, WorksOnOneObjectForBoth) {
    std::string text = GetParam().text;
    orbUtils::trimLeadingTrailingSpaces(text, text);
    EXPECT_EQ(text, GetParam().out);
}
INSTANTIATE_TEST_SUITE_P(Texts, Trim, ::testing::ValuesIn(TRIM_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_P(SubStr, LiesBetweenTheMarkers) {
    const SubStrCase &row = GetParam();
    EXPECT_EQ(orbUtils::getSubStr(row.from, row.to, row.text), row.part);
}
INSTANTIATE_TEST_SUITE_P(Texts, SubStr, ::testing::ValuesIn(SUBSTR_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(ErrorDescription, IsTheSystemsText) {
    EXPECT_EQ(orbUtils::getErrorDescription(ENOENT), "No such file or directory");
    EXPECT_EQ(orbUtils::getErrorDescription(0), "Success");
    EXPECT_EQ(orbUtils::getErrorDescription(99999), "Unknown error 99999");
}
