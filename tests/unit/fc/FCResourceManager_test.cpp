#include "fc/FCResourceManager.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "tables/fc_part_numbers.h"
#include "unit/fc/FcWorld.h"

namespace {
using Texts = std::vector<std::string>;
constexpr char TAG[] = "FC_RM";

class FcManager : public ::testing::Test {
protected:
    void SetUp() override {
        world.clock.setAutoAdvance(true);
        FcWorld::gatherNames();
    }
    int debugLines(const std::string &text) const { return world.log.count("DEBUG", TAG, text); }
    /// The manager's debug lines so far, in order.
    Texts debugTexts() const {
        Texts texts;
        for (const LogFile::Line &line : world.log.lines())
            if (line.level == "DEBUG" && line.module == TAG) texts.push_back(line.text);
        return texts;
    }

    FcWorld world;
    FCResourceManager &manager = world.manager;
};

constexpr char OBJECT[] =
    R"({"FirmwareVersion":"8.05.61","Manufacturer":"Intel Corporation",)"
    R"("Model":"Vantor Fabric 900X 16Gb 2P FC HBA",)"
    R"("Oem":{"Description":"PCI 0000:24:00.0 r001u01p0i03",)"
    R"("PhysicalLocation":"0123456789ABCDEF"},"PartNumber":"000000-001","RomVersion":"3.54",)"
    R"("SerialNumber":"FC0000001","Status":{"Health":"OK","State":"Online"},)"
    R"("WWNN":"20:00:02:00:5e:00:00:a1","WWPN":"10:00:02:00:5e:00:00:a0"})";

// -- A rebuild ----------------------------------------------------------------------------------

TEST_F(FcManager, RebuildDescribesTheAdapter) {
    manager.cacheBuild();
    ASSERT_EQ(world.objects().size(), 1u);
    EXPECT_EQ(compact_json(world.objects()[0]), OBJECT);
}

TEST_F(FcManager, RebuildTellsItsSteps) {
    manager.cacheBuild();
    EXPECT_EQ(debugTexts(),
              (Texts{"Building FC Cache", "FC HBA vendor library loaded successfully",
                     "Inside discoverInstances", "1 FC instances found!!", "openAdapter() start...",
                     "Adapter name is com.example-FC900X-0", "Status of OpenAdapter is 0",
                     "Os Device Name is vmhba1", "Bus info is 0000:24:00.0",
                     "Description is PCI 0000:24:00.0 r001u01p0i03", "Phy Loc is 0123456789ABCDEF",
                     "Status of getdata is 0", OBJECT}));
}

TEST_F(FcManager, RebuildCallsTheLibraryInOrderAndClosesWhatItOpens) {
    world.hba.setAdapters({FcWorld::adapter(1, {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(2, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    const Texts once{"load",         "count",    "name 0",   "name 1",  "open com.example-FC900X-1",
                     "attributes 1", "port 1 0", "port 1 1", "close 1", "open com.example-FC900X-2",
                     "attributes 2", "port 2 0", "close 2"};
    EXPECT_EQ(world.hba.takeCalls(), once);
    manager.cacheBuild();
    EXPECT_EQ(world.hba.takeCalls(), once) << "the library is loaded anew each time";
    EXPECT_EQ(world.libraries.opened(FcWorld::LIBRARY), 2) << "and never let go";
}

TEST_F(FcManager, AdaptersKeepTheirOrder) {
    world.hba.setAdapters({FcWorld::adapter(0xA3, {HBA_PORTSTATE_ONLINE}),
                           FcWorld::adapter(0xA1, {HBA_PORTSTATE_OFFLINE}),
                           FcWorld::adapter(0xA2, {HBA_PORTSTATE_ERROR})});
    manager.cacheBuild();
    EXPECT_EQ(world.words(0), "Online OK");
    EXPECT_EQ(world.words(1), "Offline Warning");
    EXPECT_EQ(world.words(2), "Error Critical");
}

TEST_F(FcManager, LastReadablePortDecides) {
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_OFFLINE})});
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Offline Warning");
    EXPECT_EQ(world.objects()[0]["WWPN"], Json::Value("10:00:02:00:5e:00:00:b1"));

    FAKE_HBA_ADAPTER half = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_OFFLINE});
    half.ports[1].readable = false;
    world.hba.setAdapters({half});
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Online OK");
    EXPECT_EQ(world.objects()[0]["WWPN"], Json::Value("10:00:02:00:5e:00:00:b0"));
}

TEST_F(FcManager, AdapterWithoutPortsHasNoState) {
    world.hba.setAdapters({FcWorld::adapter(0xA1, {})});
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Unknown Unknown");
    EXPECT_EQ(world.objects()[0]["WWPN"], Json::Value("Not Available"));
}
TEST_F(FcManager, AdapterWhosePortsCantBeReadHasNoState) {
    FAKE_HBA_ADAPTER adapter = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE});
    adapter.ports[0].readable = false;
    world.hba.setAdapters({adapter});
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Unknown Unknown");
}

TEST_F(FcManager, AskedPortsAreBounded) {
    FAKE_HBA_ADAPTER adapter = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE});
    adapter.claimedPorts = 0xFFFFFFFF;
    world.hba.setAdapters({adapter});
    manager.cacheBuild();
    const Texts calls = world.hba.takeCalls();
    ASSERT_EQ(calls.size(), 5u + 256 + 1);
    EXPECT_EQ(calls[calls.size() - 2], "port 1 255");
    EXPECT_EQ(world.words(), "Online OK");
}

TEST_F(FcManager, TextsWithoutATerminatorEndWithTheirFields) {
    FAKE_HBA_ADAPTER adapter;
    adapter.description = std::string(256, 'D');
    adapter.serial = std::string(64, 'S');
    adapter.firmware = std::string(256, 'F');
    adapter.rom = std::string(256, '%');
    adapter.model = std::string(250, 'M') + "FC900X"; // the token up to the last byte
    world.hba.setAdapters({adapter});
    manager.cacheBuild();
    const Json::Value object = world.objects().at(0);
    EXPECT_EQ(object["Model"].asString(), adapter.description);
    EXPECT_EQ(object["SerialNumber"].asString(), adapter.serial);
    EXPECT_EQ(object["FirmwareVersion"].asString(), adapter.firmware);
    EXPECT_EQ(object["RomVersion"].asString(), adapter.rom);
    EXPECT_EQ(object["PartNumber"], Json::Value("000000-001"));
}

TEST_F(FcManager, LaterAdapterHasNothingOfAnEarlierOne) {
    FAKE_HBA_ADAPTER bare = FcWorld::adapter(0xA9, {});
    bare.model = bare.description = bare.serial = bare.firmware = bare.rom = "x";
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE}), bare});
    manager.cacheBuild();
    EXPECT_EQ(compact_json(world.objects().at(1)),
              R"({"FirmwareVersion":"x","Manufacturer":"","Model":"x","Oem":{"Description":"",)"
              R"("PhysicalLocation":"FFFFFFFFFFFFFFFF"},"PartNumber":"","RomVersion":"x",)"
              R"("SerialNumber":"x","Status":{"Health":"Unknown","State":"Unknown"},)"
              R"("WWNN":"20:00:02:00:5e:00:00:a9","WWPN":"Not Available"})");
}

TEST_F(FcManager, NameIsKeptShortAndOpenedWhole) {
    FAKE_HBA_ADAPTER adapter;
    adapter.name = std::string(255, 'n');
    world.hba.setAdapters({adapter});
    manager.cacheBuild();
    ASSERT_EQ(manager.getFCInventory().size(), 1u);
    EXPECT_EQ(manager.getFCInventory()[0].adapterName, std::string(131, 'n'));
    const Texts calls = world.hba.takeCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "open " + adapter.name), calls.end());
}
TEST_F(FcManager, NameWithoutATerminatorEndsWithItsBuffer) {
    FAKE_HBA_ADAPTER adapter;
    adapter.name = std::string(256, 'n');
    world.hba.setAdapters({adapter});
    manager.cacheBuild();
    const Texts calls = world.hba.takeCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "open " + std::string(255, 'n')), calls.end());
}

TEST_F(FcManager, SixtyFourAdaptersAreAsManyAsThereCanBe) {
    std::vector<FAKE_HBA_ADAPTER> many;
    for (int i = 0; i < 70; ++i)
        many.push_back(FcWorld::adapter(static_cast<std::uint8_t>(i), {HBA_PORTSTATE_ONLINE}));
    world.hba.setAdapters(many);
    manager.cacheBuild();
    EXPECT_EQ(world.objects().size(), 64u);
    EXPECT_EQ(debugLines("64 FC instances found!!"), 1);
    EXPECT_FALSE(manager.waitOnPortState(0));
}

// -- Places and makers --------------------------------------------------------------------------

TEST_F(FcManager, AdapterInNoKnownPlaceHasNeitherGeoIdNorMaker) {
    world.hba.setAdapters({FcWorld::adapter(0xA3, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    const Json::Value object = world.objects().at(0);
    EXPECT_EQ(object["Oem"]["Description"], Json::Value("PCI 0000:26:00.0 "));
    EXPECT_EQ(object["Oem"]["PhysicalLocation"], Json::Value("FFFFFFFFFFFFFFFF"));
    EXPECT_EQ(object["Manufacturer"], Json::Value(""));
}
TEST_F(FcManager, AdapterThatTheHostDoesntKnowHasNoDescription) {
    world.hba.setAdapters({FcWorld::adapter(0xA9, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    const Json::Value object = world.objects().at(0);
    EXPECT_EQ(object["Oem"]["Description"], Json::Value(""));
    EXPECT_EQ(object["Oem"]["PhysicalLocation"], Json::Value("FFFFFFFFFFFFFFFF"));
    EXPECT_EQ(object["Manufacturer"], Json::Value("")) << "not \"Not Available\"";
    EXPECT_EQ(debugLines("Os Device Name is NotAvailable"), 1);
    EXPECT_EQ(debugLines("Bus info is NotAvailable"), 1);
    EXPECT_EQ(debugLines("Description is "), 1);
    EXPECT_EQ(debugLines("Phy Loc is FFFFFFFFFFFFFFFF"), 1);
}
TEST_F(FcManager, PlacesOfAddresses) {
    using Pair = std::pair<std::string, std::string>;
    const Pair none{"FFFFFFFFFFFFFFFF", ""};
    EXPECT_EQ(FCResourceManager::getOemValues("NotAvailable"), none);
    EXPECT_EQ(FCResourceManager::getOemValues(""), none);
    EXPECT_EQ(FCResourceManager::getOemValues("0000:25:00.0"),
              (Pair{FcWorld::LOCATION, "PCI 0000:25:00.0 r001u01p0i04"}));
    EXPECT_EQ(FCResourceManager::getOemValues("0000:99:00.0"),
              (Pair{"FFFFFFFFFFFFFFFF", "PCI 0000:99:00.0 "}));
}
TEST(FcNames, AreGatheredAtTheStart) {
    FcWorld world;
    world.manager.cacheBuild();
    EXPECT_EQ(world.objects().at(0)["Oem"]["Description"], Json::Value("")) << "not before";
    EXPECT_EQ(world.manager.init(), 1) << "the count of adapters";
    EXPECT_EQ(world.commands.calls(), (Texts{FcWorld::topologyLine(), FcWorld::namesLine()}));
    EXPECT_EQ(world.log.count("DEBUG", TAG, "Initializing FCRM"), 1);
    world.manager.cacheBuild();
    EXPECT_EQ(world.objects().at(0)["Oem"]["PhysicalLocation"], Json::Value(FcWorld::LOCATION));
}

TEST(FcPartNumbers, AreSixThatEachGiveTheirOwn) {
    EXPECT_EQ(std::size(FC_PART_NUMBERS), 6u);
    std::set<std::string_view> numbers;
    for (const FC_PART_NUMBERS_ROW &row : FC_PART_NUMBERS) {
        std::string partNumber = "of a former call";
        FCResourceManager::getFcaHostCntlrPartNumber("a " + std::string(row.token) + " card",
                                                     partNumber);
        EXPECT_EQ(partNumber, row.partNumber);
        numbers.insert(row.partNumber);
    }
    EXPECT_EQ(numbers.size(), 6u);
}
TEST(FcPartNumbers, EarlierOfTwoTokensWins) {
    for (std::size_t i = 0; i < std::size(FC_PART_NUMBERS); ++i)
        for (std::size_t j = i + 1; j < std::size(FC_PART_NUMBERS); ++j) {
            std::string partNumber;
            FCResourceManager::getFcaHostCntlrPartNumber(std::string(FC_PART_NUMBERS[j].token) +
                                                             std::string(FC_PART_NUMBERS[i].token),
                                                         partNumber);
            EXPECT_EQ(partNumber, FC_PART_NUMBERS[i].partNumber);
        }
}
TEST(FcPartNumbers, OtherModelsHaveNone) {
    for (const char *model : {"", "FC900", "fc900x", "FC 900X", "Not Available"}) {
        std::string partNumber = "of a former call";
        FCResourceManager::getFcaHostCntlrPartNumber(model, partNumber);
        EXPECT_EQ(partNumber, "") << model;
    }
}

// -- What fails ---------------------------------------------------------------------------------

TEST_F(FcManager, AdapterThatCantBeOpenedIsLeftOut) {
    FAKE_HBA_ADAPTER closed = FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE});
    closed.opens = false;
    world.hba.setAdapters({closed, FcWorld::adapter(0xA2, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    ASSERT_EQ(world.objects().size(), 1u);
    EXPECT_EQ(world.objects()[0]["WWNN"], Json::Value("20:00:02:00:5e:00:00:a2"));
    EXPECT_EQ(debugLines("HBA_OpenAdapter() " + closed.name + " Failed()\n"), 1);
    EXPECT_EQ(debugLines("Status of OpenAdapter is 1"), 1);
    EXPECT_EQ(debugLines("openAdapter() for FcaEntry %d Failed!"), 1) << "never filled in";
    for (const std::string &call : world.hba.takeCalls()) EXPECT_NE(call, "close 1");
}
TEST_F(FcManager, AdapterBeyondTheListHasNoName) {
    orbFCDeviceInfo info;
    info.adapterIndex = 1;
    manager.discoverInstances();
    EXPECT_EQ(manager.openAdapter(info), 1);
    EXPECT_EQ(info.adapterName, "");
    EXPECT_EQ(info.handle, 0u);
    EXPECT_EQ(debugLines("HBA_GetAdapterName() Failed\n"), 1);
    EXPECT_EQ(debugLines("Status of OpenAdapter is 1"), 1);
}
TEST_F(FcManager, AdapterThatTellsNothingStaysInTheListAndIsClosed) {
    FAKE_HBA_ADAPTER silent;
    silent.readable = false;
    world.hba.setAdapters({silent});
    manager.cacheBuild();
    EXPECT_EQ(compact_json(world.objects().at(0)),
              R"({"FirmwareVersion":"Not Available","Manufacturer":"Not Available",)"
              R"("Model":"Not Available","Oem":{"Description":"",)"
              R"("PhysicalLocation":"Not Available"},"PartNumber":"Not Available",)"
              R"("RomVersion":"Not Available","SerialNumber":"Not Available",)"
              R"("Status":{"Health":"Unknown","State":"Unknown"},"WWNN":"Not Available",)"
              R"("WWPN":"Not Available"})");
    EXPECT_EQ(debugLines("HBA_GetAdapterAttributes() Failed\n"), 1);
    EXPECT_EQ(debugLines("getFcHbaData() for FcaEntry %d Failed!"), 1) << "never filled in";
    EXPECT_EQ(debugLines("Status of getdata is 0"), 0);
    EXPECT_EQ(world.hba.takeCalls().back(), "close 1");
}
TEST_F(FcManager, AdapterWhoseLibraryCantTellItsNameIsLeftOut) {
    FAKE_HBA_ADAPTER nameless;
    nameless.named = false;
    world.hba.setAdapters({nameless, FcWorld::adapter(0xA2, {HBA_PORTSTATE_ONLINE})});
    manager.cacheBuild();
    ASSERT_EQ(world.objects().size(), 1u);
    EXPECT_EQ(world.objects()[0]["WWNN"], Json::Value("20:00:02:00:5e:00:00:a2"));
    EXPECT_EQ(debugLines("HBA_OpenAdapter()  Failed()\n"), 1);
}

/// A library in the place of FcWorld's that has the same adapters and tells less of them.
struct FcTaciturn : FcManager {
    static HBA_ENTRYPOINTS &whole() {
        static HBA_ENTRYPOINTS table;
        return table;
    }
    /// Has no call for an adapter's attributes.
    static HBA_STATUS withoutAttributes(HBA_ENTRYPOINTS *table) {
        (void)FakeHba::registerLibrary(table);
        table->GetAdapterAttributesHandler = nullptr;
        return HBA_STATUS_OK;
    }
    /// Has no call for a port's attributes.
    static HBA_STATUS withoutPorts(HBA_ENTRYPOINTS *table) {
        (void)FakeHba::registerLibrary(table);
        table->GetAdapterPortAttributesHandler = nullptr;
        return HBA_STATUS_OK;
    }
    /// Tells of the first port, and leaves the records of others as they come in.
    static HBA_STATUS withOnePort(HBA_ENTRYPOINTS *table) {
        (void)FakeHba::registerLibrary(&whole());
        *table = whole();
        table->GetAdapterPortAttributesHandler = [](HBA_HANDLE handle, HBA_UINT32 port,
                                                    HBA_PORTATTRIBUTES *out) -> HBA_STATUS {
            if (port != 0) return HBA_STATUS_OK;
            return whole().GetAdapterPortAttributesHandler(handle, port, out);
        };
        return HBA_STATUS_OK;
    }
    Json::Value objectFrom(HBA_STATUS (*registration)(HBA_ENTRYPOINTS *)) {
        constexpr char OTHER[] = "/usr/lib64/libtaciturn.so";
        world.libraries.add(OTHER, {{"HBA_RegisterLibrary", FakeLibraries::entry(registration)}});
        world.root.write(FcWorld::CONF, std::string("com.example.taciturn\t") + OTHER + "\n");
        manager.cacheBuild();
        return world.objects().at(0);
    }
};
TEST_F(FcTaciturn, LibraryWithoutAttributesGivesAnEmptyAdapter) {
    EXPECT_EQ(compact_json(objectFrom(withoutAttributes)),
              R"({"FirmwareVersion":"","Manufacturer":"","Model":"","Oem":{"Description":"",)"
              R"("PhysicalLocation":"FFFFFFFFFFFFFFFF"},"PartNumber":"","RomVersion":"",)"
              R"("SerialNumber":"","Status":{"Health":"Unknown","State":"Unknown"},)"
              R"("WWNN":"00:00:00:00:00:00:00:00","WWPN":"Not Available"})");
    EXPECT_EQ(debugLines("Status of getdata is 0"), 1) << "a missing call is no failure";
}
TEST_F(FcTaciturn, LibraryWithoutPortsGivesAnEmptyPort) {
    const Json::Value object = objectFrom(withoutPorts);
    EXPECT_EQ(object["WWPN"], Json::Value("00:00:00:00:00:00:00:00"));
    EXPECT_EQ(object["Status"]["State"], Json::Value("Unknown"));
    EXPECT_EQ(object["WWNN"], Json::Value("20:00:02:00:5e:00:00:a1"));
}
TEST_F(FcTaciturn, PortThatIsNotFilledInIsEmptyAndNotTheOneBefore) {
    world.hba.setAdapters({FcWorld::adapter(0xA1, {HBA_PORTSTATE_ONLINE, HBA_PORTSTATE_ONLINE})});
    const Json::Value object = objectFrom(withOnePort);
    EXPECT_EQ(object["WWPN"], Json::Value("00:00:00:00:00:00:00:00"));
    EXPECT_EQ(object["Status"]["State"], Json::Value("Unknown"));
}

TEST_F(FcManager, HostWithoutAdapters) {
    world.hba.setAdapters({});
    (void)manager.isInventoryReady(8);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("No FCA Entries Found! Cache build terminating!!!"), 1);
    EXPECT_TRUE(manager.isInventoryReady(0));
    EXPECT_TRUE(world.objects().empty());
    EXPECT_EQ(debugLines("FCRM requesting cache push"), 0) << "the wish stays";
    world.setState(HBA_PORTSTATE_ONLINE);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("FCRM requesting cache push"), 1);
}
TEST(FcWithoutAList, HasNoAdapters) {
    FcWorld world;
    std::filesystem::remove(world.root.path() + FcWorld::CONF);
    world.manager.cacheBuild();
    EXPECT_EQ(world.log.count("WARNING", TAG, "Could not load FC HBA vendor library"), 1);
    EXPECT_EQ(world.log.count("DEBUG", TAG, "0 FC instances found!!"), 1);
    EXPECT_TRUE(world.manager.isInventoryReady(0));
    EXPECT_TRUE(world.hba.takeCalls().empty());
}
TEST_F(FcManager, LostAdaptersStayInTheDocument) {
    manager.cacheBuild();
    world.hba.setAdapters({});
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Online OK");
    EXPECT_TRUE(manager.getFCInventory().empty());
}
TEST_F(FcManager, AdaptersThatCantBeOpenedAnyMoreStayInTheDocument) {
    manager.cacheBuild();
    FAKE_HBA_ADAPTER closed;
    closed.opens = false;
    world.hba.setAdapters({closed});
    manager.cacheBuild();
    EXPECT_EQ(world.words(), "Online OK");
}
TEST_F(FcManager, LibrariesThatWereLoadedOutliveTheirList) {
    manager.cacheBuild();
    std::filesystem::remove(world.root.path() + FcWorld::CONF);
    world.setState(HBA_PORTSTATE_LINKDOWN);
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("WARNING", TAG, "Could not load FC HBA vendor library"), 1);
    EXPECT_EQ(world.words(), "Linkdown Critical");
}

// -- Readers ------------------------------------------------------------------------------------

TEST_F(FcManager, FirstRebuildMakesItReady) {
    EXPECT_FALSE(manager.isInventoryReady(0));
    EXPECT_EQ(world.log.count("INFO", TAG, "FC cache status 0"), 1);
    manager.cacheBuild();
    EXPECT_TRUE(manager.isInventoryReady(0));
    EXPECT_EQ(world.log.count("INFO", TAG, "FC cache status 1"), 1);
}
TEST_F(FcManager, LastLookArmsAPush) {
    for (int iteration = 0; iteration < 8; ++iteration) (void)manager.isInventoryReady(iteration);
    EXPECT_FALSE(manager.isInventoryReady(8));
    manager.cacheBuild();
    EXPECT_EQ(debugLines("FCRM requesting cache push"), 1);
    EXPECT_EQ(world.log.count("DEBUG", "JSON_AGGR", "Dropping inventory send request"), 1);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("FCRM requesting cache push"), 1) << "once";
}
TEST_F(FcManager, NoPushWithoutALastLook) {
    (void)manager.isInventoryReady(7);
    manager.cacheBuild();
    EXPECT_EQ(debugLines("FCRM requesting cache push"), 0);
}
TEST_F(FcManager, WithoutAdaptersItRuns) {
    EXPECT_TRUE(manager.isRunning()) << "nothing was counted yet";
    world.hba.setAdapters({});
    manager.cacheBuild();
    EXPECT_TRUE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 0);
}
TEST_F(FcManager, RunsOnceThereIsAnInventory) {
    manager.cacheBuild();
    EXPECT_TRUE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 0);
}
TEST_F(FcManager, WithAdaptersAndWithoutAnInventoryItDoesNotRun) {
    FAKE_HBA_ADAPTER closed;
    closed.opens = false;
    world.hba.setAdapters({closed});
    manager.cacheBuild();
    EXPECT_FALSE(manager.isRunning());
    EXPECT_EQ(world.clock.sleptMs(), 9000);
    for (int retry = 0; retry < 3; ++retry)
        EXPECT_EQ(world.log.count("WARNING", TAG,
                                  "_cacheBuildInProgress = 0,FCInventory.size() =0,retryCount = " +
                                      std::to_string(retry)),
                  1);
}
TEST_F(FcManager, OtherInventoriesAreLeftAlone) {
    std::vector<Json::Value> objects{Json::Value("kept")};
    Json::Value object("kept");
    EXPECT_EQ(manager.getInventoryJsonObject2(1, objects), 0);
    EXPECT_EQ(manager.getFileServiceJsonObject(objects), 0);
    EXPECT_EQ(manager.getTelemetryJsonObject(object), 0);
    EXPECT_EQ(objects, std::vector<Json::Value>{Json::Value("kept")});
}
TEST_F(FcManager, ObjectsReplaceWhatTheCallerHad) {
    manager.cacheBuild();
    std::vector<Json::Value> objects(3);
    EXPECT_EQ(manager.getInventoryJsonObject(objects), 0);
    EXPECT_EQ(objects.size(), 1u);
}
TEST_F(FcManager, AdaptersCanBeCopied) {
    EXPECT_TRUE(manager.getFCInventory().empty());
    manager.cacheBuild();
    ASSERT_EQ(manager.getFCInventory().size(), 1u);
    EXPECT_EQ(manager.getFCInventory()[0].getorbFCWWNN(), "20:00:02:00:5e:00:00:a1");
}

TEST(FcInterval, BelowOneIsThirty) {
    for (const std::int64_t low : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{INT64_MIN}})
        EXPECT_EQ(FCResourceManager::refreshSeconds(low), 30);
    for (const std::int64_t given : {std::int64_t{1}, std::int64_t{30}, std::int64_t{INT64_MAX}})
        EXPECT_EQ(FCResourceManager::refreshSeconds(given), given);
}

// -- States -------------------------------------------------------------------------------------

struct StateCase {
    int port;
    int state, health;
    const char *words;
};
const StateCase STATE_CASES[] = {
    {HBA_PORTSTATE_ONLINE, 15, 2, "Online OK"},
    {HBA_PORTSTATE_OFFLINE, 14, 3, "Offline Warning"},
    {HBA_PORTSTATE_BYPASSED, 1, 3, "Bypassed Warning"},
    {HBA_PORTSTATE_DIAGNOSTICS, 8, 3, "Diagnostic mode Warning"},
    {HBA_PORTSTATE_LINKDOWN, 12, 1, "Linkdown Critical"},
    {HBA_PORTSTATE_ERROR, 10, 1, "Error Critical"},
    {HBA_PORTSTATE_LOOPBACK, 13, 3, "Loopback Warning"},
    {HBA_PORTSTATE_UNKNOWN, 0, 0, "Unknown Unknown"},
    {0, 0, 0, "Unknown Unknown"},
    {9, 0, 0, "Unknown Unknown"},
    {-1, 0, 0, "Unknown Unknown"},
    {INT32_MIN, 0, 0, "Unknown Unknown"},
};
void PrintTo(const StateCase &row, std::ostream *os) {
    *os << row.port;
}
class FcState : public ::testing::TestWithParam<StateCase> {};
TEST_P(FcState, FollowsFromThePort) {
    const ORB_RESOURCE_STATE state = FCResourceManager::getState(GetParam().port);
    EXPECT_EQ(state, GetParam().state);
    EXPECT_EQ(FCResourceManager::getHealth(state), GetParam().health);
    FcWorld world;
    world.setState(static_cast<HBA_PORTSTATE>(GetParam().port));
    world.manager.cacheBuild();
    EXPECT_EQ(world.words(), GetParam().words);
}
INSTANTIATE_TEST_SUITE_P(Ports, FcState, ::testing::ValuesIn(STATE_CASES));

TEST(FcHealth, IsUnknownInEveryOtherState) {
    for (int state = 0; state < 256; ++state) {
        bool known = false;
        for (const StateCase &row : STATE_CASES) known = known || row.state == state;
        if (!known) {
            EXPECT_EQ(FCResourceManager::getHealth(static_cast<ORB_RESOURCE_STATE>(state)), 0)
                << state;
        }
    }
}
} // namespace
