#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/TemporaryRoot.h"
#include "fc/hba_loader.h"
#include "life/LabFiles.h"
#include "vendor/HbaCalls.h"
#include "vendor/hba_handlers.h"

namespace {
constexpr const char FABRIC[] = "libexamplefabric.so", LIGHT[] = "libexamplelight.so";
constexpr HBA_STATUS UNTOUCHED = 4242;

/// The built libraries below a world of their own.
class HbaLibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(::setenv("ORB_LAB_WORLD", file().c_str(), 1), 0);
        say(two_adapters());
    }
    void TearDown() override {
        ::unsetenv("ORB_LAB_WORLD");
        for (void *each : open) EXPECT_EQ(folder.close(each), 0);
    }

    std::string file() const { return root.path() + "/world.json"; }
    void say(const Json::Value &value) { sayText(compact_json(value)); }
    void sayText(const std::string &text) {
        std::ofstream(file() + ".new") << text;
        ASSERT_EQ(std::rename((file() + ".new").c_str(), file().c_str()), 0);
    }

    static Json::Value two_adapters() {
        Json::Value world;
        world["encoder"] = "works";
        Json::Value &list = world["hba"][FABRIC]["adapters"];
        for (const char *last : {"a1", "a2"}) {
            Json::Value adapter;
            adapter["name"] = std::string("com.example.fabric-") + last;
            adapter["manufacturer"] = "Example Fabric Corp.";
            adapter["serial"] = std::string(80, 's');
            adapter["model"] = "FC900Q";
            adapter["description"] = "an adapter";
            adapter["wwn"] = std::string("20:00:02:00:5e:00:00:") + last;
            adapter["rom"] = "3.54";
            adapter["firmware"] = "8.05.61 (d0d5)";
            for (const char *first : {"21:00", "21:01"}) {
                Json::Value port;
                port["wwn"] = std::string(first) + ":02:00:5e:00:00:" + last;
                port["state"] = "online";
                port["gbit"] = 16;
                port["id"] = 0x010600;
                adapter["ports"].append(port);
            }
            list.append(adapter);
        }
        return world;
    }

    /// Its table; the entry is missing where the library has no registration.
    HBA_ENTRYPOINTS table_of(const char *name, HBA_STATUS *status = nullptr) {
        HBA_ENTRYPOINTS table{};
        void *const handle = folder.open(name, RTLD_LAZY);
        EXPECT_NE(handle, nullptr) << name;
        if (handle == nullptr) return table;
        open.push_back(handle);
        const auto enter =
            reinterpret_cast<HBA_REGISTERLIBRARY>(folder.symbol(handle, "HBA_RegisterLibrary"));
        const HBA_STATUS result = enter != nullptr ? enter(&table) : UNTOUCHED;
        if (status != nullptr) *status = result;
        return table;
    }
    HBA_CALLS calls(const char *library = FABRIC) const {
        const auto read = read_hba_calls(root.path() + "/" + library + ".calls");
        EXPECT_TRUE(read) << library;
        return read.value_or(HBA_CALLS{});
    }
    static HBA_HANDLE open_by(const HBA_ENTRYPOINTS &table, const std::string &name) {
        std::string own = name;
        return table.OpenAdapterHandler(own.data());
    }

    TemporaryRoot root;
    LabLibraries folder{ORB_BINARY_DIR "/lab/vendor"};
    std::vector<void *> open;
};
} // namespace

TEST_F(HbaLibraryTest, EveryHandlerIsThere) {
    for (const char *name : {FABRIC, LIGHT}) {
        HBA_STATUS status = UNTOUCHED;
        const HBA_ENTRYPOINTS table = table_of(name, &status);
        EXPECT_EQ(status, HBA_STATUS_OK);
        void *handlers[HBA_HANDLERS];
        static_assert(sizeof handlers == sizeof table);
        std::memcpy(handlers, &table, sizeof handlers);
        for (std::size_t i = 0; i < HBA_HANDLERS; ++i)
            EXPECT_NE(handlers[i], nullptr) << HBA_HANDLER_NAMES[i];
        EXPECT_EQ(table.GetVersionHandler(), 1u);
        EXPECT_EQ(table.LoadLibraryHandler(), HBA_STATUS_OK);
        EXPECT_EQ(table.FreeLibraryHandler(), HBA_STATUS_OK);
    }
}

TEST_F(HbaLibraryTest, TellsTheWorldsAdaptersOfItsOwnFileAlone) {
    const HBA_ENTRYPOINTS fabric = table_of(FABRIC), light = table_of(LIGHT);
    EXPECT_EQ(light.GetNumberOfAdaptersHandler(), 0u);
    ASSERT_EQ(fabric.GetNumberOfAdaptersHandler(), 2u);
    char name[HBA_ADAPTER_NAME_BYTES] = {};
    ASSERT_EQ(fabric.GetAdapterNameHandler(1, name), HBA_STATUS_OK);
    EXPECT_STREQ(name, "com.example.fabric-a2");
    EXPECT_EQ(fabric.GetAdapterNameHandler(2, name), HBA_STATUS_ERROR_ILLEGAL_INDEX);

    const HBA_HANDLE handle = open_by(fabric, name);
    ASSERT_NE(handle & 0xFFFF, 0u);
    HBA_ADAPTERATTRIBUTES adapter{};
    ASSERT_EQ(fabric.GetAdapterAttributesHandler(handle, &adapter), HBA_STATUS_OK);
    EXPECT_EQ(std::string(adapter.SerialNumber, sizeof adapter.SerialNumber), std::string(64, 's'))
        << "a field that is full has no NUL";
    EXPECT_STREQ(adapter.Model, "FC900Q");
    EXPECT_STREQ(adapter.FirmwareVersion, "8.05.61 (d0d5)");
    EXPECT_EQ(adapter.NodeWWN.wwn[7], 0xA2);
    ASSERT_EQ(adapter.NumberOfPorts, 2u);
    HBA_PORTATTRIBUTES port{};
    ASSERT_EQ(fabric.GetAdapterPortAttributesHandler(handle, 1, &port), HBA_STATUS_OK);
    EXPECT_EQ(port.PortWWN.wwn[1], 0x01);
    EXPECT_EQ(port.PortState, HBA_PORTSTATE_ONLINE);
    EXPECT_EQ(port.PortSpeed, HBA_PORTSPEED_16GBIT);
    EXPECT_EQ(port.PortFcId, 0x010600u);
    EXPECT_EQ(fabric.GetAdapterPortAttributesHandler(handle, 2, &port),
              HBA_STATUS_ERROR_ILLEGAL_INDEX);
    HBA_PORTATTRIBUTES same{};
    EXPECT_EQ(fabric.GetPortAttributesByWWNHandler(handle, port.PortWWN, &same), HBA_STATUS_OK);
    EXPECT_EQ(std::memcmp(&same, &port, sizeof same), 0);
    EXPECT_EQ(fabric.GetPortAttributesByWWNHandler(handle, HBA_WWN{}, &same),
              HBA_STATUS_ERROR_ILLEGAL_WWN);
    EXPECT_EQ(open_by(fabric, "com.example.fabric-a3"), 0u);
}

TEST_F(HbaLibraryTest, PortsFollowTheWorld) {
    const HBA_ENTRYPOINTS table = table_of(FABRIC);
    const HBA_HANDLE handle = open_by(table, "com.example.fabric-a1");
    constexpr std::pair<const char *, HBA_PORTSTATE> STATES[] = {
        {"unknown", HBA_PORTSTATE_UNKNOWN},
        {"online", HBA_PORTSTATE_ONLINE},
        {"offline", HBA_PORTSTATE_OFFLINE},
        {"bypassed", HBA_PORTSTATE_BYPASSED},
        {"diagnostics", HBA_PORTSTATE_DIAGNOSTICS},
        {"linkdown", HBA_PORTSTATE_LINKDOWN},
        {"error", HBA_PORTSTATE_ERROR},
        {"loopback", HBA_PORTSTATE_LOOPBACK},
        {"sideways", HBA_PORTSTATE_UNKNOWN}};
    for (const auto &[word, state] : STATES) {
        Json::Value world = two_adapters();
        world["hba"][FABRIC]["adapters"][0]["ports"][0]["state"] = word;
        say(world);
        HBA_PORTATTRIBUTES port{};
        ASSERT_EQ(table.GetAdapterPortAttributesHandler(handle, 0, &port), HBA_STATUS_OK);
        EXPECT_EQ(port.PortState, state) << word;
        EXPECT_EQ(port.PortSpeed != 0, state == HBA_PORTSTATE_ONLINE) << word;
    }
}

TEST_F(HbaLibraryTest, AdapterThatLeftIsNeitherListedNorOpened) {
    const HBA_ENTRYPOINTS table = table_of(FABRIC);
    const HBA_HANDLE handle = open_by(table, "com.example.fabric-a1");
    Json::Value world = two_adapters();
    world["hba"][FABRIC]["adapters"][0]["present"] = false;
    say(world);
    EXPECT_EQ(table.GetNumberOfAdaptersHandler(), 1u);
    char name[HBA_ADAPTER_NAME_BYTES] = {};
    ASSERT_EQ(table.GetAdapterNameHandler(0, name), HBA_STATUS_OK);
    EXPECT_STREQ(name, "com.example.fabric-a2");
    EXPECT_EQ(open_by(table, "com.example.fabric-a1"), 0u);
    HBA_ADAPTERATTRIBUTES adapter{};
    EXPECT_EQ(table.GetAdapterAttributesHandler(handle, &adapter), HBA_STATUS_ERROR_INVALID_HANDLE);
    say(two_adapters());
    EXPECT_EQ(table.GetAdapterAttributesHandler(handle, &adapter), HBA_STATUS_OK);
}

TEST_F(HbaLibraryTest, EachCallCanBeToldToFail) {
    const HBA_ENTRYPOINTS table = table_of(FABRIC);
    const HBA_HANDLE handle = open_by(table, "com.example.fabric-a1");
    const auto status_when_failing = [&](const char *call, const auto &made) {
        Json::Value world = two_adapters();
        world["hba"][FABRIC]["fails"].append(call);
        say(world);
        return made();
    };
    HBA_WWN wwn{};
    HBA_ADAPTERATTRIBUTES adapter{};
    HBA_PORTATTRIBUTES port{};
    HBA_PORTSTATISTICS statistics{};
    HBA_FCPTARGETMAPPING mapping{};
    HBA_FCPBINDING binding{};
    HBA_EVENTINFO events{};
    HBA_MGMTINFO management{};
    HBA_UINT32 count = 1;
    char name[HBA_ADAPTER_NAME_BYTES] = {};
    const std::pair<const char *, std::function<HBA_UINT32()>> CALLS[] = {
        {"LoadLibrary", [&] { return table.LoadLibraryHandler(); }},
        {"FreeLibrary", [&] { return table.FreeLibraryHandler(); }},
        {"GetAdapterName", [&] { return table.GetAdapterNameHandler(0, name); }},
        {"GetAdapterAttributes",
         [&] { return table.GetAdapterAttributesHandler(handle, &adapter); }},
        {"GetAdapterPortAttributes",
         [&] { return table.GetAdapterPortAttributesHandler(handle, 0, &port); }},
        {"GetPortStatistics",
         [&] { return table.GetPortStatisticsHandler(handle, 0, &statistics); }},
        {"GetDiscoveredPortAttributes",
         [&] { return table.GetDiscoveredPortAttributesHandler(handle, 0, 0, &port); }},
        {"GetPortAttributesByWWN",
         [&] { return table.GetPortAttributesByWWNHandler(handle, wwn, &port); }},
        {"SendCTPassThru",
         [&] { return table.SendCTPassThruHandler(handle, nullptr, 0, nullptr, 0); }},
        {"GetFcpTargetMapping", [&] { return table.GetFcpTargetMappingHandler(handle, &mapping); }},
        {"GetFcpPersistentBinding",
         [&] { return table.GetFcpPersistentBindingHandler(handle, &binding); }},
        {"GetEventBuffer", [&] { return table.GetEventBufferHandler(handle, &events, &count); }},
        {"SetRNIDMgmtInfo", [&] { return table.SetRNIDMgmtInfoHandler(handle, &management); }},
        {"GetRNIDMgmtInfo", [&] { return table.GetRNIDMgmtInfoHandler(handle, &management); }},
        {"SendRNID", [&] { return table.SendRNIDHandler(handle, wwn, NODE_WWN, nullptr, &count); }},
        {"ScsiInquiry",
         [&] { return table.ScsiInquiryHandler(handle, wwn, 0, 0, 0, nullptr, 0, nullptr, 0); }},
        {"ReportLUNs",
         [&] { return table.ReportLUNsHandler(handle, wwn, nullptr, 0, nullptr, 0); }},
        {"ReadCapacity",
         [&] { return table.ReadCapacityHandler(handle, wwn, 0, nullptr, 0, nullptr, 0); }},
    };
    for (const auto &[call, made] : CALLS) {
        EXPECT_EQ(status_when_failing(call, made), HBA_STATUS_ERROR) << call;
        EXPECT_NE(status_when_failing("another", made), HBA_STATUS_ERROR) << call;
    }
    EXPECT_EQ(status_when_failing("GetVersion", [&] { return table.GetVersionHandler(); }), 0u);
    EXPECT_EQ(status_when_failing("GetNumberOfAdapters",
                                  [&] { return table.GetNumberOfAdaptersHandler(); }),
              0u);
    EXPECT_EQ(
        status_when_failing("OpenAdapter", [&] { return open_by(table, "com.example.fabric-a1"); }),
        0u);
    HBA_STATUS status = HBA_STATUS_OK;
    status_when_failing("RegisterLibrary",
                        [&] { return table_of(FABRIC, &status).GetVersionHandler == nullptr; });
    EXPECT_EQ(status, HBA_STATUS_ERROR);
}

TEST_F(HbaLibraryTest, CallsAreCountedByLibraryAndAdapterAndOutliveTheLoad) {
    {
        const HBA_ENTRYPOINTS table = table_of(FABRIC);
        for (int i = 0; i < 3; ++i) (void)open_by(table, "com.example.fabric-a2");
        table.CloseAdapterHandler(open_by(table, "com.example.fabric-a2"));
        table.CloseAdapterHandler(0);
        table.RefreshInformationHandler(1);
        table.ResetStatisticsHandler(1, 0);
        HBA_ADAPTERATTRIBUTES adapter{};
        (void)table.GetAdapterAttributesHandler(1, &adapter);
        EXPECT_EQ(folder.close(open.back()), 0);
        open.pop_back();
    }
    (void)table_of(FABRIC);
    const HBA_CALLS seen = calls();
    EXPECT_EQ(seen.registrations, 2u);
    EXPECT_EQ(seen.handlers[5], 4u);
    EXPECT_EQ(seen.handlers[6], 2u);
    EXPECT_EQ(seen.handlers[13], 1u);
    EXPECT_EQ(seen.handlers[14], 1u);
    EXPECT_EQ(seen.adapters[0].opened, 0u);
    EXPECT_EQ(seen.adapters[0].attributes, 1u);
    EXPECT_EQ(seen.adapters[1].opened, 4u);
    EXPECT_EQ(seen.adapters[1].closed, 1u);
    EXPECT_FALSE(read_hba_calls(root.path() + "/" + LIGHT + ".calls")) << "never loaded";
}

TEST_F(HbaLibraryTest, WithoutAWorldThereIsNoAdapterAndNoCount) {
    ::unsetenv("ORB_LAB_WORLD");
    const HBA_ENTRYPOINTS table = table_of(FABRIC);
    EXPECT_EQ(table.LoadLibraryHandler(), HBA_STATUS_OK);
    EXPECT_EQ(table.GetNumberOfAdaptersHandler(), 0u);
    EXPECT_FALSE(read_hba_calls(root.path() + "/" + FABRIC + ".calls"));
}

TEST_F(HbaLibraryTest, WorldOfAnotherShapeIsOneWithoutAdapters) {
    const HBA_ENTRYPOINTS table = table_of(FABRIC);
    for (const char *text : {"", "[]", "{", R"({"hba":3})", R"({"hba":{"libexamplefabric.so":[]}})",
                             R"({"hba":{"libexamplefabric.so":{"adapters":{},"fails":7}}})"}) {
        sayText(text);
        EXPECT_EQ(table.GetNumberOfAdaptersHandler(), 0u) << text;
    }
    sayText(
        R"({"hba":{"libexamplefabric.so":{"adapters":[3,{"name":4,"wwn":"x","ports":[5,{}]}]}}})");
    ASSERT_EQ(table.GetNumberOfAdaptersHandler(), 2u);
    HBA_PORTATTRIBUTES port{};
    EXPECT_EQ(table.GetAdapterPortAttributesHandler(2, 1, &port), HBA_STATUS_OK);
    EXPECT_EQ(port.PortState, HBA_PORTSTATE_UNKNOWN);
}

TEST_F(HbaLibraryTest, FilesThatAreNoCountsAreLeftAlone) {
    const std::string path = root.path() + "/foreign";
    std::ofstream(path) << "mine";
    {
        HbaCallCounter counter(path);
        counter.registration();
        counter.handler(HBA_HANDLERS);
        counter.adapter(HBA_COUNTED_ADAPTERS, &HBA_ADAPTER_CALLS::opened);
    }
    EXPECT_EQ(root.read("/foreign"), "mine");
    EXPECT_FALSE(read_hba_calls(path));
    EXPECT_FALSE(read_hba_calls(root.path()));
    HbaCallCounter folderCounter(root.path());
    folderCounter.registration();
}

TEST_F(HbaLibraryTest, BrokenOnesAreBrokenInTheirOwnWays) {
    HBA_STATUS status = UNTOUCHED;
    (void)table_of("libbrokenhba-entry.so", &status);
    EXPECT_EQ(status, UNTOUCHED) << "there is nothing to call";
    (void)table_of("libbrokenhba-refuses.so", &status);
    EXPECT_EQ(status, HBA_STATUS_ERROR);
    HBA_ENTRYPOINTS table = table_of("libbrokenhba-version.so", &status);
    EXPECT_EQ(status, HBA_STATUS_OK);
    EXPECT_EQ(table.GetVersionHandler(), 0u);
    table = table_of("libbrokenhba-load.so", &status);
    EXPECT_EQ(table.GetVersionHandler(), 1u);
    EXPECT_EQ(table.LoadLibraryHandler(), HBA_STATUS_ERROR);
    EXPECT_EQ(folder.open("libbrokenhba-text.so", RTLD_LAZY), nullptr);
}

TEST_F(HbaLibraryTest, LoaderTakesTheGoodOnesAmongTheBroken) {
    std::string conf;
    for (const char *name :
         {"libbrokenhba-entry.so", "libbrokenhba-text.so", FABRIC, "libbrokenhba-refuses.so",
          "libbrokenhba-version.so", "libbrokenhba-load.so", LIGHT, "libnowhere.so"})
        conf += std::string("com.example\t/usr/lib64/") + name + "\n";
    root.write(HBA_CONF_FILE, conf);
    Json::Value world = two_adapters();
    world["hba"][LIGHT]["adapters"].append(world["hba"][FABRIC]["adapters"][0]);
    world["hba"][LIGHT]["adapters"][0]["name"] = "com.example.light-b1";
    say(world);
    IorbHostLibraries *const former = IorbHostLibraries::replace(&folder);
    ASSERT_EQ(HBA_LoadLibrary(), HBA_STATUS_OK);
    ASSERT_EQ(HBA_GetNumberOfAdapters(), 3u);
    char name[HBA_ADAPTER_NAME_BYTES] = {};
    ASSERT_EQ(HBA_GetAdapterName(2, name), HBA_STATUS_OK);
    EXPECT_STREQ(name, "com.example.light-b1");
    const HBA_HANDLE handle = HBA_OpenAdapter(name);
    EXPECT_EQ(handle >> 16, 6u);
    HBA_ADAPTERATTRIBUTES adapter{};
    EXPECT_EQ(HBA_GetAdapterAttributes(handle, &adapter), HBA_STATUS_OK);
    EXPECT_EQ(adapter.NodeWWN.wwn[7], 0xA1);
    HBA_CloseAdapter(handle);
    EXPECT_EQ(HBA_FreeLibrary(), HBA_STATUS_OK);
    IorbHostLibraries::replace(former);
    EXPECT_EQ(calls(LIGHT).adapters[0].opened, 1u);
    EXPECT_EQ(calls(LIGHT).adapters[0].closed, 1u);
    EXPECT_EQ(calls(LIGHT).handlers[2], 1u) << "freed";
}
