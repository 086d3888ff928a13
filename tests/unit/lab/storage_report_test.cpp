#include "world/storage_report.h"

#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "world/DaemonLog.h"
#include "world/summary.h"

namespace {
const char SLOT_3[] = "0203010100030021", NOWHERE[] = "FFFFFFFFFFFFFFFF";

Json::Value controller(const std::string &bus, const std::string &location) {
    Json::Value value;
    value["Model"] = "Example SAS Controller";
    value["Oem"]["Description"] = "PCI 0000:" + bus + ":00.0 r001u01p0i03";
    value["Oem"]["PhysicalLocation"] = location;
    value["Status"]["State"] = "Degraded";
    value["Status"]["Health"] = "Warning";
    return value;
}
std::string log_line(const Json::Value &value) {
    return "Jan 3 08:04:09 [DEBUG] 099 SAS_RM: Printing controller instance 0:    " +
           compact_json(value);
}
} // namespace

TEST(StorageReport, TableHasARowAndAModelForEach) {
    Json::Value list;
    list.append(controller("51", SLOT_3));
    list.append(controller("52", NOWHERE));
    list[1]["Model"] = "";
    list[1]["Oem"]["Description"] = "PCI 0000:52:00.0";
    list[1]["Status"]["State"] = "Recovering";
    EXPECT_EQ(controller_table(list),
              "\n"
              "  Storage controller State      Health    Place\n"
              "  0000:51:00.0       Degraded   Warning   rack 1, unit 1, partition 0, slot 3\n"
              "                     Example SAS Controller\n"
              "  0000:52:00.0       Recovering Warning   location unknown\n");
}

TEST(StorageReport, TableOfNothingIsEmpty) {
    EXPECT_EQ(controller_table(Json::Value()), "");
    EXPECT_EQ(controller_table(Json::Value(Json::arrayValue)), "");
    EXPECT_EQ(controller_table("text"), "");
}

TEST(StorageReport, LongTableIsCutAndCounted) {
    Json::Value list;
    for (int i = 0; i < 30; ++i) list.append(controller(std::to_string(10 + i), SLOT_3));
    const std::string text = controller_table(list);
    EXPECT_NE(text.find("0000:33:"), std::string::npos);
    EXPECT_EQ(text.find("0000:34:"), std::string::npos);
    EXPECT_TRUE(text.ends_with("  and 6 more\n"));
}

TEST(StorageReport, ForeignShapesAndControlCharactersAreShownSafely) {
    Json::Value list;
    list.append("text");
    list.append(controller("\x1b[2J", "\x1b]0;x"));
    list[1]["Status"] = 3;
    list.append(controller("51", SLOT_3));
    list[2]["Oem"]["Description"] = "\x1b";
    const std::string text = controller_table(list);
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_NE(text.find(".[2J"), std::string::npos);
}

TEST(StorageReport, SummaryEndsWithTheControllers) {
    Json::Value document;
    document["HostDataCollection"]["StorageControllers"].append(controller("51", SLOT_3));
    const std::string text = summary_text(document);
    EXPECT_NE(text.find("  StorageControllers         1\n"), std::string::npos) << text;
    EXPECT_TRUE(text.ends_with("                     Example SAS Controller\n")) << text;
}

TEST(StorageReport, EventsAreToldInWords) {
    constexpr std::pair<int, const char *> MEANINGS[] = {
        {397, "   397  storage  a storage controller is well again"},
        {398, "   398  storage  a storage controller is in trouble"}};
    for (const auto &[id, text] : MEANINGS) {
        Json::Value event;
        event["ID"] = id;
        event["HostName"] = "h";
        event["PhysicalLocation"] = SLOT_3;
        event["Source"] = "ORB";
        EXPECT_NE(event_line(event).find(text), std::string::npos) << event_line(event);
        EXPECT_TRUE(event_line(event).ends_with("h  at rack 1, unit 1, partition 0, slot 3"));
    }
}

TEST(StorageProgress, TellsAControllerWhenItIsNewOrDifferent) {
    DaemonProgress progress;
    Json::Value one = controller("51", SLOT_3);
    EXPECT_EQ(progress.read(log_line(one)),
              "controller 0000:51:00.0: Degraded, Warning, rack 1, unit 1, partition 0, slot 3");
    EXPECT_EQ(progress.read(log_line(one)), std::nullopt);
    EXPECT_EQ(progress.read(log_line(controller("52", NOWHERE))),
              "controller 0000:52:00.0: Degraded, Warning, location unknown");
    one["Status"]["State"] = "Running";
    one["Status"]["Health"] = "OK";
    EXPECT_EQ(progress.read(log_line(one)),
              "controller 0000:51:00.0: Running, OK, rack 1, unit 1, partition 0, slot 3");
}

TEST(StorageProgress, LinesOfAnotherShapeSayNothing) {
    DaemonProgress progress;
    for (const char *line :
         {"SAS_RM: Printing controller instance 0:    ",
          "SAS_RM: Printing controller instance 0:    {",
          "SAS_RM: Printing controller instance 0:    {\"Oem\":{}}",
          "SAS_RM: Printing controller instance 0:    {\"Oem\":{\"Description\":3}}",
          "SAS_RM: Printing disk instance 0:    {\"Oem\":{\"Description\":\"x\"}}"})
        EXPECT_EQ(progress.read(line), std::nullopt) << line;
}

TEST(StorageProgress, FirstCacheIsToldWhenItIsReady) {
    DaemonProgress progress;
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [INFO] 099 SAS_RM: SAS RM cache status 0"),
              std::nullopt);
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [INFO] 099 SAS_RM: SAS RM cache status 1"),
              "manager StorageControllers: first cache built");
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [INFO] 099 SAS_RM: SAS RM cache status 1"),
              std::nullopt);
}
