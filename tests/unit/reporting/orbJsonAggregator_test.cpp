#include "reporting/orbJsonAggregator.h"

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "unit/reporting/FakeManagers.h"

namespace {
constexpr char ALL[] = R"("EnableResources": ["All"])";
constexpr char NONE[] = R"("EnableResources": ["None"])";

/// The world of an aggregator that runs on the test's own thread.
struct World {
    explicit World(const std::string &config = ALL) : log(root, config) {
        clock.setAutoAdvance(true);
    }
    TemporaryRoot root;
    LogFile log;
    VirtualClock clock;
    ScriptedCommands commands;
    FakeManagers managers;
};

std::vector<std::string> names(const Json::Value &section) {
    std::vector<std::string> all;
    for (const Json::Value &object : section) all.push_back(object["Name"].asString());
    return all;
}
using Names = std::vector<std::string>;

void fill(FakeManagers &managers) {
    managers.fc.objects = {unit("fc0"), unit("fc1")};
    managers.host.objects = {unit("host")};
    managers.nic.objects = {unit("nic0"), unit("nic1"), unit("nic2")};
    managers.storage.byKind = {{1, {unit("ctrl0"), unit("ctrl1")}},
                               {2, {unit("drive0"), unit("drive1"), unit("drive2")}},
                               {3, {unit("volume0")}},
                               {4, {unit("enclosure0")}}};
}
} // namespace

TEST(AggregatorDocument, EverySectionHasItsObjectsInOrder) {
    World world;
    fill(world.managers);
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    const Json::Value &document = aggregator.document();
    EXPECT_EQ(document.getMemberNames(),
              (Names{"Drives", "EthernetDevices", "FibreChannelDevices", "Oem",
                     "StorageControllers", "StorageEnclosures", "Volumes"}));
    EXPECT_EQ(names(document["FibreChannelDevices"]), (Names{"fc0", "fc1"}));
    EXPECT_EQ(names(document["EthernetDevices"]), (Names{"nic0", "nic1", "nic2"}));
    EXPECT_EQ(names(document["StorageControllers"]), (Names{"ctrl0", "ctrl1"}));
    EXPECT_EQ(names(document["Drives"]), (Names{"drive0", "drive1", "drive2"}));
    EXPECT_EQ(names(document["Volumes"]), (Names{"volume0"}));
    EXPECT_EQ(names(document["StorageEnclosures"]), (Names{"enclosure0"}));
    EXPECT_TRUE(document["Oem"].isObject());
    EXPECT_EQ(document["Oem"], unit("host"));
}

TEST(AggregatorDocument, LastOfSeveralHostsStays) {
    World world;
    world.managers.host.objects = {unit("first"), unit("second"), unit("third")};
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    EXPECT_EQ(aggregator.document()["Oem"], unit("third"));
}

TEST(AggregatorDocument, SectionWithoutObjectsIsAbsent) {
    World world;
    world.managers.storage.byKind = {{2, {unit("drive0")}}, {3, {}}};
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    EXPECT_EQ(aggregator.document().getMemberNames(), (Names{"Drives"}));
}

TEST(AggregatorDocument, StorageObjectsOfTheSingleListAreNotTaken) {
    World world;
    world.managers.storage.objects = {unit("stray")};
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    EXPECT_TRUE(aggregator.document().empty());
    EXPECT_EQ(world.managers.storage.collected(), 1);
}

TEST(AggregatorDocument, ResultOfEachManagerIsLogged) {
    World world;
    fill(world.managers);
    world.managers.fc.rc = 1;
    world.managers.nic.rc = 7;
    orbJsonAggregator().collectDocument();
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "RM inventory type: [0]"), 2); // host, storage
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "RM inventory type: [1]"), 1);
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "RM inventory type: [7]"), 1);
}

TEST(AggregatorDocument, DisabledManagerIsLeftOut) {
    World world(R"("EnableResources": ["HostOSInfo", "EthernetDevices"])");
    fill(world.managers);
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    EXPECT_EQ(aggregator.document().getMemberNames(), (Names{"EthernetDevices", "Oem"}));
    EXPECT_EQ(world.managers.fc.collected(), 0);
    EXPECT_EQ(world.managers.storage.collected(), 0);
}

TEST(AggregatorDocument, MissingManagerIsSkipped) {
    World world;
    fill(world.managers);
    NICClassObj = nullptr;
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    EXPECT_FALSE(aggregator.document().isMember("EthernetDevices"));
    EXPECT_TRUE(aggregator.document().isMember("Oem"));
    EXPECT_EQ(world.log.countHolding("DEBUG", "JSON_AGGR", "RM inventory type"), 3);
}

TEST(AggregatorDocument, SecondCollectionStartsAnew) {
    World world;
    fill(world.managers);
    orbJsonAggregator aggregator;
    aggregator.collectDocument();
    world.managers.fc.objects.clear();
    aggregator.collectDocument();
    EXPECT_FALSE(aggregator.document().isMember("FibreChannelDevices"));
    EXPECT_EQ(names(aggregator.document()["EthernetDevices"]), (Names{"nic0", "nic1", "nic2"}));
}

TEST(AggregatorSend, DocumentGoesOutInItsEnvelope) {
    World world;
    fill(world.managers);
    FakeRmc rmc;
    orbJsonAggregator aggregator;
    EXPECT_FALSE(aggregator.isInventorySent());
    aggregator.createInventoryJsonString();
    EXPECT_TRUE(aggregator.isInventorySent());

    ASSERT_EQ(rmc.transfers().size(), 1u);
    EXPECT_EQ(rmc.transfers()[0].first, "WriteInventory");
    const std::string text = rmc.transfers()[0].second;
    EXPECT_EQ(text.find('\n'), std::string::npos);
    Json::Value root;
    ASSERT_TRUE(parse_json(text, root));
    EXPECT_EQ(root.getMemberNames(), (Names{"HostDataCollection"}));
    EXPECT_EQ(root["HostDataCollection"]["Oem"], unit("host"));
    EXPECT_EQ(names(root["HostDataCollection"]["Drives"]), (Names{"drive0", "drive1", "drive2"}));

    EXPECT_LOGGED(world.log, "INFO", "JSON_AGGR", "*************printing final Json String*******");
    EXPECT_LOGGED(world.log, "INFO", "JSON_AGGR", text);
    EXPECT_LOGGED(world.log, "DEBUG", "JSON_AGGR",
                  "Success in delivering inventory string to RMC!");
    EXPECT_EQ(rmc.opens(), 2); // one by the aggregator, one by the transfer
}

TEST(AggregatorSend, LongDocumentIsLoggedInOneLine) {
    World world;
    for (int i = 0; i < 200; ++i) world.managers.fc.objects.push_back(unit("fc"));
    FakeRmc rmc;
    orbJsonAggregator aggregator;
    aggregator.createInventoryJsonString();
    ASSERT_EQ(rmc.transfers().size(), 1u);
    EXPECT_GT(rmc.transfers()[0].second.size(), 4096u);
    EXPECT_LOGGED(world.log, "INFO", "JSON_AGGR", rmc.transfers()[0].second);
}

TEST(AggregatorSend, FailedDeliveryIsAnErrorAndOpensTheGate) {
    World world;
    fill(world.managers);
    FakeRmc rmc([](const FakeRmc::Sent &, std::size_t) { return FakeRmc::transferAnswer(4); });
    orbJsonAggregator aggregator;
    aggregator.createInventoryJsonString();
    EXPECT_TRUE(aggregator.isInventorySent());
    EXPECT_EQ(rmc.sent().size(), 1u);
    EXPECT_LOGGED(world.log, "ERROR", "JSON_AGGR",
                  "An Error occurred in delivering inventory string to RMC!");
}

TEST(AggregatorSend, NothingToSendWarnsAndOpensTheGate) {
    World world(NONE);
    fill(world.managers);
    FakeRmc rmc;
    orbJsonAggregator aggregator;
    aggregator.createInventoryJsonString();
    EXPECT_TRUE(aggregator.isInventorySent());
    EXPECT_EQ(rmc.opens(), 0);
    EXPECT_LOGGED(world.log, "WARNING", "JSON_AGGR", "No inventory information found!");
}

TEST(AggregatorSend, EachSendIsOfTheMomentsInventory) {
    World world;
    fill(world.managers);
    FakeRmc rmc;
    orbJsonAggregator aggregator;
    aggregator.createInventoryJsonString();
    world.managers.host.objects = {unit("renamed")};
    world.managers.fc.objects.clear();
    aggregator.createInventoryJsonString();
    ASSERT_EQ(rmc.transfers().size(), 2u);
    Json::Value root;
    ASSERT_TRUE(parse_json(rmc.transfers()[1].second, root));
    EXPECT_EQ(root["HostDataCollection"]["Oem"], unit("renamed"));
    EXPECT_FALSE(root["HostDataCollection"].isMember("FibreChannelDevices"));
}

// -- Waits that somebody else ends -------------------------------------------------------------

namespace {
/// A clock whose waits end by nothing but what the test says.
class WakefulClock final : public IorbHostClock {
public:
    using Wait = std::function<std::cv_status(std::unique_lock<std::mutex> &, std::timespec)>;
    explicit WakefulClock(Wait answer) : wait(std::move(answer)), outer(replace(this)) {}
    ~WakefulClock() override { replace(outer); }
    std::time_t now() override { return 1000; }
    ORB_SYSCALL_RESULT realTime(std::timespec *out) override {
        *out = {1000, 0};
        return {0, 0};
    }
    bool localTime(std::time_t second, std::tm *out) override {
        return ::gmtime_r(&second, out) != nullptr;
    }
    void sleepMs(std::int64_t) override {}
    std::cv_status waitUntil(std::condition_variable &, std::unique_lock<std::mutex> &lock,
                             const std::timespec &deadline) override {
        return wait(lock, deadline);
    }

private:
    Wait wait;
    IorbHostClock *outer;
};
} // namespace

TEST(AggregatorWait, WakeUpThatNobodyAskedForEndsNothing) {
    World world;
    fill(world.managers);
    world.managers.setReady();
    FakeRmc rmc;
    int waits = 0;
    std::vector<std::size_t> sendsAt;
    WakefulClock clock([&](std::unique_lock<std::mutex> &lock, std::timespec) {
        sendsAt.push_back(rmc.transfers().size());
        if (++waits == 5) return std::cv_status::timeout; // the readiness wait
        if (waits == 10) {
            lock.unlock();
            orbJsonAggregator::getInstance().stoporbJsonAggregator();
            lock.lock();
        }
        return std::cv_status::no_timeout;
    });
    startInventoryPushThread(nullptr);
    EXPECT_EQ(waits, 10);
    EXPECT_EQ(sendsAt, (std::vector<std::size_t>{0, 0, 0, 0, 0, 1, 1, 1, 1, 1}));
    EXPECT_EQ(rmc.transfers().size(), 1u);
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "Thread signaled"), 2);
}

TEST(AggregatorWait, HugeIntervalsAreNever) {
    World world(R"("PushInventoryFrequencyInMinutes": "9223372036854775807")");
    world.managers.setReady();
    std::vector<std::timespec> deadlines;
    WakefulClock clock([&](std::unique_lock<std::mutex> &lock, std::timespec deadline) {
        deadlines.push_back(deadline);
        if (deadlines.size() == 1) return std::cv_status::timeout;
        lock.unlock();
        orbJsonAggregator::getInstance().stoporbJsonAggregator();
        lock.lock();
        return std::cv_status::no_timeout;
    });
    startInventoryPushThread(nullptr);
    ASSERT_EQ(deadlines.size(), 2u);
    EXPECT_EQ(deadlines[0].tv_sec, 1010);
    EXPECT_GT(deadlines[1].tv_sec, 9'000'000'000);
}
