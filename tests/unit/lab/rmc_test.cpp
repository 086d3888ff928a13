#include "rmc/Rmc.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "reporting/orbipmi.h"
#include "unit/lab/InProcessRmc.h"

namespace {
const std::string SCHEMAS = ORB_SOURCE_DIR "/schema";

Json::Value parsed(const std::string &text) {
    Json::Value value;
    EXPECT_TRUE(parse_json(text, value)) << text;
    return value;
}

const char INVENTORY[] =
    R"({"HostDataCollection":{"Oem":{"CollectionInfo":{"CollectionFrequencyMin":1440,)"
    R"("CollectionType":"RemoteSupport","LastCollection":"Jan 3 08:04:09"},"HostOSInfo":{)"
    R"("HostName":"a","IPv4Addresses":[{"Address":"127.0.0.1"}],"OSDescription":"a b c d e",)"
    R"("OSMemorySummary":{"TotalFreeSystemMemoryGiB":961.0,"TotalSystemMemoryGiB":1023.0},)"
    R"("OSName":"VMwareESXi","OSType":104,"OSVersion":"7.0.3"}}}})";
const char EVENT[] =
    R"({"EventTime":"2026-01-03 08:04:09","HostName":"a","ID":356,)"
    R"("IPv4Addresses":[{"Address":"192.0.2.10"}],"OSType":104,"OSVersion":"7.0.3",)"
    R"("Source":"ORB"})";

std::vector<std::string> violations_of(const char *command, const Json::Value &document) {
    RmcDocuments documents;
    std::string error;
    EXPECT_TRUE(documents.load(SCHEMAS, error)) << error;
    Json::Value value;
    std::vector<std::string> violations;
    documents.check({command, compact_json(document)}, value, violations);
    return violations;
}

struct DocumentCase {
    const char *name;
    const char *command;
    void (*change)(Json::Value &);
    bool good;
};
Json::Value &host_of(Json::Value &v) {
    return v["HostDataCollection"]["Oem"]["HostOSInfo"];
}
Json::Value &add_controller(Json::Value &v) {
    return v["HostDataCollection"]["StorageControllers"].append(parsed(
        R"({"FirmwareVersion":"","Manufacturer":"","Model":"m","PartNumber":"",)"
        R"("Oem":{"Description":"PCI 0000:51:00.0","PhysicalLocation":"0203010100090045"},)"
        R"("Protocol":"SAS/SATA","SerialNumber":"s","Status":{"Health":"OK","State":"Running"}})"));
}
const DocumentCase DOCUMENTS[] = {
    {"Inventory", "WriteInventory", [](Json::Value &) {}, true},
    {"MoreAtTheRoot", "WriteInventory", [](Json::Value &v) { v["More"] = 1; }, false},
    {"UnknownSection", "WriteInventory",
     [](Json::Value &v) { v["HostDataCollection"]["Processors"].append(Json::objectValue); },
     false},
    {"EmptySection", "WriteInventory",
     [](Json::Value &v) { v["HostDataCollection"]["Drives"] = Json::arrayValue; }, false},
    {"Units", "WriteInventory", [](Json::Value &v) { add_controller(v); }, true},
    {"UnitWithMore", "WriteInventory", [](Json::Value &v) { add_controller(v)["Slot"] = "1"; },
     false},
    {"UnitWithLess", "WriteInventory",
     [](Json::Value &v) { add_controller(v).removeMember("Model"); }, false},
    {"NoSection", "WriteInventory",
     [](Json::Value &v) { v["HostDataCollection"] = Json::objectValue; }, false},
    {"HostWithoutName", "WriteInventory",
     [](Json::Value &v) { host_of(v).removeMember("HostName"); }, false},
    {"HostWithMore", "WriteInventory", [](Json::Value &v) { host_of(v)["KernelCmdLine"] = ""; },
     false},
    {"BlankInOSName", "WriteInventory",
     [](Json::Value &v) { host_of(v)["OSName"] = "VMware ESXi"; }, false},
    {"EmptyOSName", "WriteInventory", [](Json::Value &v) { host_of(v)["OSName"] = ""; }, true},
    {"HugeOSName", "WriteInventory",
     [](Json::Value &v) { host_of(v)["OSName"] = std::string(1 << 20, 'x'); }, true},
    {"OSTypeText", "WriteInventory", [](Json::Value &v) { host_of(v)["OSType"] = "104"; }, false},
    {"OtherOSType", "WriteInventory", [](Json::Value &v) { host_of(v)["OSType"] = 105; }, false},
    {"HalfGiB", "WriteInventory",
     [](Json::Value &v) { host_of(v)["OSMemorySummary"]["TotalSystemMemoryGiB"] = 1.5; }, false},
    {"NoAddress", "WriteInventory",
     [](Json::Value &v) { host_of(v)["IPv4Addresses"] = Json::arrayValue; }, false},
    {"BadAddress", "WriteInventory",
     [](Json::Value &v) { host_of(v)["IPv4Addresses"][0]["Address"] = "1.2.3.256"; }, false},
    {"BadStamp", "WriteInventory",
     [](Json::Value &v) {
         v["HostDataCollection"]["Oem"]["CollectionInfo"]["LastCollection"] = "Jan 03 08:04:09";
     },
     false},
    {"Event", "MPEventGen", [](Json::Value &) {}, true},
    {"EventAsInventory", "WriteInventory", [](Json::Value &v) { v = parsed(EVENT); }, false},
    {"EventWithoutAddress", "MPEventGen", [](Json::Value &v) { v.removeMember("IPv4Addresses"); },
     true},
    {"TwoAddresses", "MPEventGen",
     [](Json::Value &v) { v["IPv4Addresses"].append(v["IPv4Addresses"][0]); }, false},
    {"Place", "MPEventGen", [](Json::Value &v) { v["PhysicalLocation"] = "FFFFFFFFFFFFFFFF"; },
     true},
    {"NoPlaceToTell", "MPEventGen", [](Json::Value &v) { v["PhysicalLocation"] = "NotApplicable"; },
     false},
    {"PlaceInOtherLetters", "MPEventGen",
     [](Json::Value &v) { v["PhysicalLocation"] = "not applicable"; }, true},
    {"NullVariableData", "MPEventGen", [](Json::Value &v) { v["VariableData"] = Json::nullValue; },
     false},
    {"EmptyVariableData", "MPEventGen",
     [](Json::Value &v) { v["VariableData"] = Json::objectValue; }, true},
    {"EventWithMore", "MPEventGen", [](Json::Value &v) { v["PartNumber"] = "1"; }, false},
    {"EventTime", "MPEventGen", [](Json::Value &v) { v["EventTime"] = "2026-01-03T08:04:09"; },
     false},
    {"IdText", "MPEventGen", [](Json::Value &v) { v["ID"] = "356"; }, false},
};
void PrintTo(const DocumentCase &row, std::ostream *os) {
    *os << row.name;
}
} // namespace

class RmcDocumentCases : public ::testing::TestWithParam<DocumentCase> {};
TEST_P(RmcDocumentCases, AreHeldAgainstTheSchema) {
    const std::string command = GetParam().command;
    Json::Value document = parsed(command == "MPEventGen" ? EVENT : INVENTORY);
    GetParam().change(document);
    const auto violations = violations_of(GetParam().command, document);
    EXPECT_EQ(violations.empty(), GetParam().good)
        << (violations.empty() ? std::string() : violations[0]);
}
INSTANTIATE_TEST_SUITE_P(Documents, RmcDocumentCases, ::testing::ValuesIn(DOCUMENTS),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(RmcDocuments, TextThatIsNoJson) {
    RmcDocuments documents;
    Json::Value value = 1;
    std::vector<std::string> violations;
    documents.check({"MPEventGen", "{"}, value, violations);
    EXPECT_TRUE(value.isNull());
    ASSERT_EQ(violations.size(), 1u);
    EXPECT_EQ(violations[0].find("MPEventGen: not JSON: "), 0u);
}

TEST(RmcDocuments, LineBreaksAreTold) {
    RmcDocuments documents;
    Json::Value value;
    std::vector<std::string> violations;
    documents.check({"MPEventGen", "{}\n"}, value, violations);
    EXPECT_EQ(violations, std::vector<std::string>{"MPEventGen: line breaks in the text"});
}

TEST(RmcDocuments, MissingSchemaIsTold) {
    RmcDocuments documents;
    std::string error;
    EXPECT_FALSE(documents.load("/nowhere", error));
    EXPECT_EQ(error, "/nowhere/inventory.schema.json: can't be read");
}

TEST(RmcTransfer, EveryArgumentLengthArrives) {
    InProcessRmc device;
    for (std::size_t length = 57; length < 400; ++length) {
        const std::string text = "\"" + std::string(length - 2, 'x') + "\"";
        ipmi::IPMIUtils transport;
        ASSERT_EQ(transport.RMC_CLI_Cmd_Execution("WriteInventory", text), 0) << length;
        const auto received = device.rmc.takeInventories();
        ASSERT_EQ(received.size(), 1u);
        EXPECT_EQ(received[0].text, text);
        EXPECT_TRUE(device.rmc.takeViolations().empty());
    }
    EXPECT_EQ(device.sleptMs, 343 * 500);
}

TEST(RmcTransfer, InventoriesAndEventsAreKeptApart) {
    InProcessRmc device;
    std::string error;
    ASSERT_TRUE(device.rmc.loadSchemas(SCHEMAS, error)) << error;
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", INVENTORY), 0);
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("MPEventGen", EVENT), 0);
    EXPECT_EQ(device.rmc.takeInventories().size(), 1u);
    const auto events = device.rmc.takeEvents();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].value["ID"].asInt(), 356);
    EXPECT_TRUE(device.rmc.takeViolations().empty());
}

struct StatusCase {
    int status;
    int result;
    std::size_t received;
};
class RmcStatuses : public ::testing::TestWithParam<StatusCase> {};
TEST_P(RmcStatuses, ReachTheCaller) {
    InProcessRmc device;
    RMC_BEHAVIOUR behaviour;
    behaviour.force.transferStatus = static_cast<std::uint8_t>(GetParam().status);
    behaviour.skip = 1;
    device.rmc.behave(behaviour);
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", INVENTORY),
              GetParam().result);
    EXPECT_EQ(device.rmc.takeInventories().size(), GetParam().received);
    EXPECT_TRUE(device.rmc.takeViolations().empty());
}
INSTANTIATE_TEST_SUITE_P(Statuses, RmcStatuses,
                         ::testing::Values(StatusCase{0, 0, 1}, StatusCase{1, 0, 1},
                                           StatusCase{2, 0, 1}, StatusCase{3, 1, 0},
                                           StatusCase{4, 1, 0}, StatusCase{5, 1, 0},
                                           StatusCase{6, 1, 0}, StatusCase{7, 1, 0},
                                           StatusCase{8, 1, 0}, StatusCase{255, 1, 0}),
                         [](const auto &row) {
                             return "Status" + std::to_string(row.param.status);
                         });

TEST(RmcTransfer, ShortAnswersStillCarryTheHandle) {
    for (const std::size_t left : {0u, 1u, 2u, 3u}) {
        InProcessRmc device;
        RMC_BEHAVIOUR behaviour;
        behaviour.force.shortTo = left;
        device.rmc.behave(behaviour);
        EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", INVENTORY), 0);
        EXPECT_EQ(device.rmc.takeInventories().size(), 1u) << left;
        EXPECT_TRUE(device.rmc.takeViolations().empty());
    }
}

TEST(RmcTransfer, RejectedTransferLooksLikeSuccess) {
    InProcessRmc device;
    RMC_BEHAVIOUR behaviour;
    behaviour.force.completionCode = 0xC0;
    device.rmc.behave(behaviour);
    EXPECT_EQ(ipmi::IPMIUtils().RMC_CLI_Cmd_Execution("WriteInventory", INVENTORY), 0);
    EXPECT_TRUE(device.rmc.takeInventories().empty());
    EXPECT_TRUE(device.rmc.takeViolations().empty());
}

TEST(RmcBehaviour, CountsWhatItBends) {
    Rmc rmc;
    RMC_BEHAVIOUR behaviour;
    behaviour.silent = true;
    behaviour.times = 2;
    rmc.behave(behaviour);
    EXPECT_TRUE(rmc.message(0x3A, 0x81, {}).withheld);
    EXPECT_TRUE(rmc.message(0x3A, 0x81, {}).withheld);
    EXPECT_FALSE(rmc.message(0x3A, 0x81, {}).withheld);
}

TEST(RmcBehaviour, TransferStatusLeavesTheDoorBellAlone) {
    Rmc rmc;
    RMC_BEHAVIOUR behaviour;
    behaviour.force.transferStatus = 3;
    behaviour.times = 1;
    rmc.behave(behaviour);
    EXPECT_EQ(rmc.message(0x3A, 0x81, {}).answer.data, std::vector<std::uint8_t>{0});
    EXPECT_EQ(rmc.currentBehaviour().times, 1);
}

TEST(RmcBehaviour, DelayIsToldWithTheAnswer) {
    Rmc rmc;
    RMC_BEHAVIOUR behaviour;
    behaviour.delayMs = 20;
    rmc.behave(behaviour);
    EXPECT_EQ(rmc.message(0x3A, 0x81, {}).delayMs, 20);
    rmc.behave({});
    EXPECT_EQ(rmc.message(0x3A, 0x81, {}).delayMs, 0);
}

TEST(RmcBehaviour, ViolationsThatNobodyTakesAreBounded) {
    Rmc rmc;
    for (int i = 0; i < 1500; ++i)
        rmc.message(0x3A, 0x81, {reinterpret_cast<const std::uint8_t *>("x"), 1});
    EXPECT_EQ(rmc.takeViolations().size(), 1000u);
    rmc.violate("another");
    EXPECT_EQ(rmc.takeViolations(), std::vector<std::string>{"another"});
}
