#include "reporting/orbEventHandler.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "fakes/FakeRmc.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
const ORB_EVENT_HOST HOST{"orb-host-01", "8.0.2", 104, "192.0.2.17"};

orbEvent event_at(const std::string &location) {
    return {384, location, "FCHBA", true, "2026-01-03 08:04:09", "P-17", "ORB"};
}
orbEvent event_with(const Json::Value &data) {
    return {356, "HostOS", false, "2026-01-03 08:04:09", data, "ORB"};
}
} // namespace

TEST(EventObject, HasAllKeysInTheirTypes) {
    Json::Value data;
    data["Speed"] = 16;
    const orbEvent event(384, "0A0B", "FCHBA", true, "2026-01-03 08:04:09", "P-17", data, "ORB");
    EXPECT_EQ(compact_json(event_object(event, HOST)),
              R"({"EventTime":"2026-01-03 08:04:09","HostName":"orb-host-01","ID":384,)"
              R"("IPv4Addresses":[{"Address":"192.0.2.17"}],"OSType":104,"OSVersion":"8.0.2",)"
              R"("PhysicalLocation":"0A0B","Source":"ORB","VariableData":{"Speed":16}})");
}

TEST(EventObject, NegativeIdStaysNegative) {
    const orbEvent event(-5, "HostOS", false, "", Json::Value(), "ORB-CLI");
    EXPECT_EQ(event_object(event, HOST)["ID"], Json::Value(-5));
}

TEST(EventObject, HostWithoutAddressHasNoList) {
    ORB_EVENT_HOST host = HOST;
    host.primaryAddress.clear();
    EXPECT_FALSE(event_object(event_at("0A0B"), host).isMember("IPv4Addresses"));
}

TEST(EventObject, EmptyTextsOfTheHostAreKept) {
    const Json::Value object = event_object(event_at("0A0B"), ORB_EVENT_HOST{});
    EXPECT_EQ(object["HostName"], Json::Value(""));
    EXPECT_EQ(object["OSVersion"], Json::Value(""));
    EXPECT_EQ(object["OSType"], Json::Value(0));
}

namespace {
struct LocationCase {
    const char *name;
    const char *location;
    bool sent;
};
const LocationCase LOCATION_CASES[] = {
    {"Code", "FFFFFFFFFFFFFFFF", true},
    {"Empty", "", false},
    {"NotApplicableInTwo", "Not Applicable", false},
    {"NotAvailableInTwo", "Not Available", false},
    {"NotApplicableInOne", "NotApplicable", false},
    {"NotAvailableInOne", "NotAvailable", false},
    {"SmallLetters", "not applicable", true},
    {"CapitalLetters", "NOTAVAILABLE", true},
    {"Hyphen", "Not-Available", true},
    {"BlankBehind", "NotAvailable ", true},
    {"BlankAlone", " ", true},
};
void PrintTo(const LocationCase &row, std::ostream *os) {
    *os << row.name;
}
class EventLocation : public ::testing::TestWithParam<LocationCase> {};
} // namespace

TEST_P(EventLocation, IsSentUnlessItSaysNothing) {
    const Json::Value object = event_object(event_at(GetParam().location), HOST);
    EXPECT_EQ(object.isMember("PhysicalLocation"), GetParam().sent);
    if (GetParam().sent) {
        EXPECT_EQ(object["PhysicalLocation"], Json::Value(GetParam().location));
    }
}
INSTANTIATE_TEST_SUITE_P(Texts, EventLocation, ::testing::ValuesIn(LOCATION_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(EventObject, NullDataHasNoKeyButEmptyDataHas) {
    EXPECT_FALSE(event_object(event_with(Json::Value()), HOST).isMember("VariableData"));
    for (const Json::Value &data : {Json::Value(Json::objectValue), Json::Value(Json::arrayValue),
                                    Json::Value(""), Json::Value(0), Json::Value(false)}) {
        const Json::Value object = event_object(event_with(data), HOST);
        ASSERT_TRUE(object.isMember("VariableData"));
        EXPECT_EQ(object["VariableData"], data);
    }
}

// -- One prepared text --------------------------------------------------------------------------

namespace {
struct World {
    World() { clock.setAutoAdvance(true); }
    TemporaryRoot root;
    LogFile log{root};
    VirtualClock clock;
};
const std::string TEXT = R"({"ID":708,"Note":")" + std::string(80, 'n') + R"("})";
} // namespace

TEST(EventText, DeliveredTextGivesZero) {
    World world;
    FakeRmc rmc;
    EXPECT_EQ(orbEventHandler().sendEventToRMC(TEXT), 0);
    ASSERT_EQ(rmc.transfers().size(), 1u);
    EXPECT_EQ(rmc.transfers()[0].first, "MPEventGen");
    EXPECT_EQ(rmc.transfers()[0].second, TEXT);
    EXPECT_EQ(rmc.opens(), 2);
    EXPECT_LOGGED(world.log, "DEBUG", "EVT_HANDLER", "SUCCESS in delivering event to RMC");
    EXPECT_EQ(world.log.countHolding("ERROR", "EVT_HANDLER", ""), 0);
}

TEST(EventText, RefusedTextGivesOne) {
    World world;
    FakeRmc rmc([](const FakeRmc::Sent &, std::size_t) { return FakeRmc::transferAnswer(5); });
    EXPECT_EQ(orbEventHandler().sendEventToRMC(TEXT), 1);
    EXPECT_EQ(rmc.sent().size(), 1u); // no second try
    EXPECT_LOGGED(world.log, "ERROR", "EVT_HANDLER", "FAILURE in logging event to RMC");
    EXPECT_NOT_LOGGED(world.log, "DEBUG", "EVT_HANDLER", "SUCCESS in delivering event to RMC");
}
