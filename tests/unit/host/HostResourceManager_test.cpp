#include "host/HostResourceManager.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "unit/host/HostWorld.h"

namespace {
using Texts = std::vector<std::string>;
constexpr char TAG[] = "HOST_RM";
constexpr char SCRATCH_FAILURE[] = "Unable to fetch physical memory information.";
constexpr char COMMAND_FAILURE[] = "Error occurred in fetching physical memory information : ";

class HostManager : public ::testing::Test {
protected:
    void SetUp() override { world.clock.setAutoAdvance(true); }

    HostWorld world;
    HostResourceManager &manager = world.manager;
};

// -- A build ------------------------------------------------------------------------------------

TEST_F(HostManager, BuildDescribesTheHost) {
    manager.cacheBuild();
    EXPECT_EQ(
        compact_json(world.object()),
        R"({"CollectionInfo":{"CollectionFrequencyMin":1440,"CollectionType":"RemoteSupport",)"
        R"("LastCollection":"Jan 3 08:04:09"},"HostOSInfo":{"HostName":"orb-host-01",)"
        R"("IPv4Addresses":[{"Address":"192.0.2.17"}],)"
        R"("OSDescription":"Linux orb-host-01 6.1.0 #1 SMP 2026-01-01 x86_64",)"
        R"("OSMemorySummary":{"TotalFreeSystemMemoryGiB":1.0,"TotalSystemMemoryGiB":64.0},)"
        R"("OSName":"VMwareESXi","OSType":104,"OSVersion":"8.0.2"}})");
}

TEST_F(HostManager, BuildAsksNameThenVersionThenMemory) {
    manager.cacheBuild();
    EXPECT_EQ(world.commands.calls(),
              (Texts{"localcli system version get | grep -i Product",
                     "localcli system version get | grep -i Version:", world.esxtopLine()}));
}

TEST_F(HostManager, BuildFillsTheInventory) {
    EXPECT_TRUE(manager.getHostInventory().empty());
    manager.cacheBuild();
    manager.cacheBuild();
    const std::vector<orbHostOSInfo> inventory = manager.getHostInventory();
    ASSERT_EQ(inventory.size(), 1u);
    EXPECT_EQ(inventory[0].getHostName(), "orb-host-01");
    EXPECT_EQ(inventory[0].getOSType(), 104);
    EXPECT_EQ(inventory[0].getOSMemorySummary().getTotalSystemMemGiB(), 64.0);
    EXPECT_EQ(inventory[0].getOSMemorySummary().getTotalFreeSystemMemGiB(), 1.0);
    EXPECT_EQ(inventory[0].getIPv4Addresses().getIPv4Address(), Texts{"192.0.2.17"});
    EXPECT_EQ(inventory[0].getKernelCmdLine(), "");
    EXPECT_EQ(inventory[0].getCrashKernelMemBytes(), 0);
    EXPECT_EQ(inventory[0].getTelemetrySchemaVersion(), "");
}

TEST_F(HostManager, BuildIsLoggedFromStartToEnd) {
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Starting Host resource manager cache build."), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Exiting CacheBuild"), 1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Requesting"), 0);
}

TEST_F(HostManager, EveryBuildAsksAnew) {
    manager.cacheBuild();
    world.identity.node = "renamed";
    world.identity.addresses = {{"vmk0", "198.51.100.9"}, {"vmk1", "198.51.100.10"}};
    manager.cacheBuild();
    EXPECT_EQ(world.object()["HostOSInfo"]["HostName"], Json::Value("renamed"));
    EXPECT_EQ(compact_json(world.object()["HostOSInfo"]["IPv4Addresses"]),
              R"([{"Address":"198.51.100.9"},{"Address":"198.51.100.10"}])");
}

TEST_F(HostManager, HostWithoutAddressIsReportedAtLoopback) {
    world.identity.addresses = {{"lo", "127.0.0.1"}};
    manager.cacheBuild();
    EXPECT_EQ(compact_json(world.object()["HostOSInfo"]["IPv4Addresses"]),
              R"([{"Address":"127.0.0.1"}])");
}

TEST(HostManagerConfigured, FrequencyIsThePushInterval) {
    HostWorld world(R"("PushInventoryFrequencyInMinutes": "2880")");
    world.manager.cacheBuild();
    EXPECT_EQ(world.object()["CollectionInfo"]["CollectionFrequencyMin"], Json::Value(2880));
}

TEST(HostManagerConfigured, LongFrequencyKeepsItsLower32Bits) {
    HostWorld world(R"("PushInventoryFrequencyInMinutes": "6442450945")"); // 2^32 + 2^31 + 1
    world.manager.cacheBuild();
    EXPECT_EQ(world.object()["CollectionInfo"]["CollectionFrequencyMin"], Json::Value(-2147483647));
}

// -- Memory -------------------------------------------------------------------------------------

struct MemoryCase {
    const char *name, *total, *free;
    double totalGiB, freeGiB;
};
void PrintTo(const MemoryCase &row, std::ostream *os) {
    *os << row.name;
}
const MemoryCase MEMORY_CASES[] = {
    {"JustBelowATebibyte", "1048575", "984255", 1023, 961},
    {"OneTebibyte", "1048576", "1048575.99", 1024, 1023},
    {"JustBelowAGibibyte", "1023", "0", 0, 0},
    {"OneGibibyte", "1024.00", "1023.99", 1, 0},
    {"NegativeTruncatesTowardZero", "-1025", "-1023", -1, 0},
    {"Words", "unknown", "", 0, 0},
};
class HostMemory : public ::testing::TestWithParam<MemoryCase> {};
TEST_P(HostMemory, IsGivenInWholeGibibytes) {
    HostWorld world;
    world.answerEsxtop(HostWorld::memoryText(GetParam().total, GetParam().free));
    world.manager.cacheBuild();
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), GetParam().totalGiB);
    EXPECT_EQ(world.memory()["TotalFreeSystemMemoryGiB"].asDouble(), GetParam().freeGiB);
    EXPECT_TRUE(world.memory()["TotalSystemMemoryGiB"].isDouble());
}
INSTANTIATE_TEST_SUITE_P(Sizes, HostMemory, ::testing::ValuesIn(MEMORY_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(HostManager, ScratchFileIsRemovedAfterReading) {
    manager.cacheBuild();
    EXPECT_FALSE(world.root.exists(HostWorld::SCRATCH));
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, ""), 0);
}

TEST_F(HostManager, BuildLeavesNoDescriptorOpen) {
    const auto next = [] {
        const int fd = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(fd);
        return fd;
    };
    manager.cacheBuild(); // opens what stays open, such as the log
    const int before = next();
    manager.cacheBuild();
    EXPECT_EQ(next(), before);
}

TEST_F(HostManager, LeftOverScratchFileIsReadFirst) {
    // Its heads decide where the values of the present output are looked for.
    world.root.write(HostWorld::SCRATCH, R"("time","\\h\Memory\Free MBytes",)"
                                         R"("\\h\Memory\Machine MBytes",)"
                                         "\n\"t\",\"5120\",\"6144\",\n");
    manager.cacheBuild();
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), 1.0);
    EXPECT_EQ(world.memory()["TotalFreeSystemMemoryGiB"].asDouble(), 64.0);
    EXPECT_FALSE(world.root.exists(HostWorld::SCRATCH));
}

TEST_F(HostManager, EsxtopFailureIsLoggedOnceAndMemoryIsZero) {
    world.failEsxtop(127 << 8, 0);
    manager.cacheBuild();
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), 0.0);
    EXPECT_EQ(world.memory()["TotalFreeSystemMemoryGiB"].asDouble(), 0.0);
    EXPECT_FALSE(world.root.exists(HostWorld::SCRATCH));
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("ERROR", TAG, std::string(COMMAND_FAILURE) + "Success"), 1);
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, ""), 1);

    world.answerEsxtop(HostWorld::memoryText("2048", "1024"));
    manager.cacheBuild();
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), 2.0);
}

TEST_F(HostManager, ShellThatCannotStartIsLoggedWithItsErrno) {
    world.failEsxtop(-1, ENOMEM);
    manager.cacheBuild();
    EXPECT_EQ(
        world.log.count("ERROR", TAG, std::string(COMMAND_FAILURE) + "Cannot allocate memory"), 1);
}

TEST_F(HostManager, MissingScratchFileIsLoggedEachTime) {
    world.commands.onSystem(world.esxtopLine(), {0, 0});
    manager.cacheBuild();
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("ERROR", TAG, SCRATCH_FAILURE), 2);
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), 0.0);
}

TEST_F(HostManager, ScratchThatIsADirectoryGivesZero) {
    world.commands.onSystem(world.esxtopLine(), {0, 0});
    world.root.makeDirectory(HostWorld::SCRATCH);
    manager.cacheBuild();
    EXPECT_EQ(world.memory()["TotalSystemMemoryGiB"].asDouble(), 0.0);
}

// -- Readers ------------------------------------------------------------------------------------

TEST_F(HostManager, ObjectsReplaceTheCallersList) {
    std::vector<Json::Value> objects(3);
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 0);
    EXPECT_TRUE(objects.empty());
    manager.cacheBuild();
    objects.resize(3);
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 0);
    EXPECT_EQ(objects.size(), 1u);
}

TEST_F(HostManager, OtherInventoriesAreNone) {
    manager.cacheBuild();
    std::vector<Json::Value> objects(3);
    Json::Value object("kept");
    EXPECT_EQ(manager.getInventoryJsonObject2(1, objects), 0);
    EXPECT_EQ(manager.getFileServiceJsonObject(objects), 0);
    EXPECT_EQ(manager.getTelemetryJsonObject(object), 0);
    EXPECT_EQ(objects.size(), 3u);
    EXPECT_EQ(object, Json::Value("kept"));
}

TEST_F(HostManager, ReadyAfterTheFirstBuild) {
    EXPECT_FALSE(manager.isInventoryReady(0));
    EXPECT_FALSE(manager.isInventoryReady(7));
    manager.cacheBuild();
    EXPECT_TRUE(manager.isInventoryReady(0));
    EXPECT_TRUE(manager.isInventoryReady(8));
    manager.cacheBuild(); // neither 7 nor a look at a ready inventory leaves a wish behind
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Requesting cache push"), 0);
}

TEST_F(HostManager, LastLookLeavesAWishForTheNextBuild) {
    EXPECT_FALSE(manager.isInventoryReady(8));
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("DEBUG", TAG, "hostRM Requesting cache push"), 1);
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "Dropping inventory send request"), 1);
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("DEBUG", TAG, "hostRM Requesting cache push"), 1);
}

TEST_F(HostManager, RunsAfterABuild) {
    manager.cacheBuild();
    EXPECT_TRUE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 0);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, ""), 0);
}

TEST_F(HostManager, DoesNotRunBeforeABuildWhichTakesNineSeconds) {
    EXPECT_FALSE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 9000);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(world.log.count("WARNING", TAG,
                                  "_cacheBuildInProgress = 0,HostInventory.size() =0,retryCount "
                                  "=" +
                                      std::to_string(i)),
                  1);
    EXPECT_EQ(world.log.countHolding("WARNING", TAG, ""), 3);
}

TEST_F(HostManager, AddressesOfAllInterfacesButLo) {
    world.identity.addresses = {{"lo", "127.0.0.1"},
                                {"lo", "192.0.2.1"},
                                {"vmk0", "192.0.2.17"},
                                {"vmk1", ""},
                                {"lo0", "127.0.0.1"}};
    EXPECT_EQ(manager.getIPAddress(), (Texts{"192.0.2.17", "127.0.0.1"}));
    EXPECT_EQ(world.identity.listsOut(), 0);
    world.identity.getifaddrsError = ENOMEM;
    EXPECT_TRUE(manager.getIPAddress().empty());
}

// -- Values of the run-state file ---------------------------------------------------------------

struct ValueCase {
    const char *name, *content;
    std::int64_t value;
    const char *found; ///< the log line, null for none
};
void PrintTo(const ValueCase &row, std::ostream *os) {
    *os << row.name;
}
const ValueCase VALUE_CASES[] = {
    {"First", "last_start 100\nlast_stop 5\n", 100, "Found a match 100"},
    {"LastWithoutNewline", "last_stop 5\nlast_start 100", 100, "Found a match 100"},
    {"Negative", "last_start -7\n", -7, "Found a match -7"},
    {"NoNumber", "last_start soon\n", 0, "Found a match 0"},
    {"KeyWithoutValue", "last_stop 5\nlast_start", 0, nullptr},
    {"KeyMissing", "last_stop 5\n", 0, nullptr},
    {"Empty", "", 0, nullptr},
    {"TokenThatOnlyContainsTheKey", "xlast_start 1\nlast_startx 2\nlast_start 3\n", 3,
     "Found a match 3"},
    {"TooLarge", "last_start 99999999999999999999\n", 9223372036854775807,
     "Found a match 9223372036854775807"},
};
class StartupValue : public ::testing::TestWithParam<ValueCase> {};
TEST_P(StartupValue, IsReadAndLogged) {
    HostWorld world;
    world.root.write(HostWorld::RUN_STATE, GetParam().content);
    EXPECT_EQ(world.manager.readStartupValue("last_start"), GetParam().value);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "content to match =last_start"), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Successful in opening orb startup file"), 1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Found a match"),
              GetParam().found != nullptr ? 1 : 0);
    if (GetParam().found != nullptr) {
        EXPECT_EQ(world.log.count("DEBUG", TAG, GetParam().found), 1);
    }
}
INSTANTIATE_TEST_SUITE_P(Files, StartupValue, ::testing::ValuesIn(VALUE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST_F(HostManager, MissingRunStateFileReadsZero) {
    EXPECT_EQ(manager.readStartupValue("last_stop"), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "content to match =last_stop"), 1);
    EXPECT_EQ(world.log.count("ERROR", TAG, "Error occurred in opening orb startup file"), 1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "Successful"), 0);
}

// -- Start and stop on one thread ---------------------------------------------------------------

TEST_F(HostManager, SecondStartReturnsAtOnce) {
    manager.cacheBuild();
    EXPECT_EQ(manager.init(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG,
                              "ORB thread for host already active. Cannot spawn another one."),
              1);
    EXPECT_EQ(world.clock.sleptMs(), 0); // no boot logic
}

TEST_F(HostManager, StopIsLoggedAndEndsTheLoopBeforeABuild) {
    manager.stopResourceManagerJob();
    EXPECT_EQ(world.log.count("INFO", TAG, "Resource manager stop called."), 1);
    EXPECT_EQ(world.log.count("INFO", TAG, "Signalled for stop."), 1);
    EXPECT_EQ(manager.startInventory(), 0);
    EXPECT_EQ(world.builds(), 0);
}

TEST_F(HostManager, LoopSkipsARecentlyRefreshedCache) {
    manager.cacheBuild();
    world.clock.advanceMs(1000 * (VirtualClock::START + 3 - world.clock.now()) - 1);
    EXPECT_EQ(manager.startInventory(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Attempting to refresh Cache."), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG,
                              "cache was recently refreshed. skipping the current refresh cycle"),
              1);
    EXPECT_EQ(world.builds(), 1);
}

TEST_F(HostManager, LoopRunsThreeSecondsAfterARefresh) {
    manager.cacheBuild();
    world.clock.advance(3);
    manager.stopResourceManagerJob();
    EXPECT_EQ(manager.startInventory(), 0);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Attempting to refresh Cache."), 1);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "recently refreshed"), 0);
}

TEST_F(HostManager, FirstLoopDoesNotSpeakOfARefresh) {
    manager.stopResourceManagerJob();
    EXPECT_EQ(manager.startInventory(), 0);
    EXPECT_EQ(world.log.countHolding("DEBUG", TAG, "refresh"), 0);
}

TEST_F(HostManager, UnreadableClockEndsTheLoopAfterTheFirstBuild) {
    world.clock.failRealTime(EINVAL);
    EXPECT_EQ(manager.startInventory(), 0);
    EXPECT_EQ(world.builds(), 1);
    EXPECT_EQ(world.log.count("ERROR", TAG, "Failed to get current time! (errno: 22)"), 1);
    manager.stopResourceManagerJob(); // the condition's mutex was given back
}
} // namespace
