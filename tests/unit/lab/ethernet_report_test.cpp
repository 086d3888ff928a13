#include "world/ethernet_report.h"

#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "world/DaemonLog.h"
#include "world/summary.h"

namespace {
Json::Value adapter(const std::string &name, const std::string &location) {
    Json::Value value;
    value["Model"] = "Vantor Ethernet 10Gb 2-port 900X Adapter";
    value["SpeedMbps"] = 10000;
    value["Oem"]["DeviceName"] = name;
    value["Oem"]["PhysicalLocation"] = location;
    value["Status"]["State"] = "Running";
    value["Status"]["Health"] = "OK";
    return value;
}
const char SLOT_3[] = "0203010100030021", NOWHERE[] = "FFFFFFFFFFFFFFFF";

std::string log_line(const Json::Value &value) {
    return "Jan 3 08:04:09 [DEBUG] 099 NIC_RM: Printing Ethernet Instance 0:    " +
           compact_json(value);
}
} // namespace

TEST(EthernetReport, TableHasARowAndAModelForEach) {
    Json::Value list;
    list.append(adapter("vmnic0", SLOT_3));
    list.append(adapter("vmnic1", NOWHERE));
    list[1]["Model"] = "";
    list[1]["SpeedMbps"] = 0;
    EXPECT_EQ(adapter_table(list),
              "\n  Adapter  State    Health      Mbit/s  Place\n"
              "  vmnic0   Running  OK           10000  rack 1, unit 1, partition 0, slot 3\n"
              "           Vantor Ethernet 10Gb 2-port 900X Adapter\n"
              "  vmnic1   Running  OK               0  location unknown\n");
}

TEST(EthernetReport, TableOfNothingIsEmpty) {
    EXPECT_EQ(adapter_table(Json::Value()), "");
    EXPECT_EQ(adapter_table(Json::Value(Json::arrayValue)), "");
    EXPECT_EQ(adapter_table("text"), "");
}

TEST(EthernetReport, LongTableIsCutAndCounted) {
    Json::Value list;
    for (int i = 0; i < 30; ++i) list.append(adapter("n" + std::to_string(i), SLOT_3));
    const std::string text = adapter_table(list);
    EXPECT_NE(text.find("  n23 "), std::string::npos);
    EXPECT_EQ(text.find("  n24 "), std::string::npos);
    EXPECT_TRUE(text.ends_with("  and 6 more\n"));
}

TEST(EthernetReport, ForeignShapesAndControlCharactersAreShownSafely) {
    Json::Value list;
    list.append("text");
    list.append(Json::Value(Json::objectValue));
    list.append(adapter("\x1b[2J", "\x1b]0;x"));
    list[2]["Status"] = 3;
    list[2]["SpeedMbps"] = "fast";
    const std::string text = adapter_table(list);
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_NE(text.find(".[2J"), std::string::npos);
}

TEST(EthernetReport, SummaryEndsWithTheAdapters) {
    Json::Value document;
    document["HostDataCollection"]["EthernetDevices"].append(adapter("vmnic7", SLOT_3));
    const std::string text = summary_text(document);
    EXPECT_NE(text.find("  EthernetDevices            1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  vmnic7 "), std::string::npos) << text;
}

TEST(EthernetReport, EventTellsThePlaceInWords) {
    Json::Value event;
    event["ID"] = 680;
    event["HostName"] = "h";
    event["PhysicalLocation"] = SLOT_3;
    event["Source"] = "ORB";
    EXPECT_NE(event_line(event).find("   680  network  an Ethernet adapter is well again"),
              std::string::npos)
        << event_line(event);
    EXPECT_TRUE(event_line(event).ends_with("h  at rack 1, unit 1, partition 0, slot 3"));
    event["PhysicalLocation"] = NOWHERE;
    EXPECT_TRUE(event_line(event).ends_with("h  location unknown"));
    event["PhysicalLocation"] = "elsewhere";
    EXPECT_TRUE(event_line(event).ends_with("h  at elsewhere"));
}

TEST(EthernetProgress, TellsAnAdapterWhenItIsNewOrDifferent) {
    DaemonProgress progress;
    Json::Value one = adapter("vmnic0", SLOT_3), two = adapter("vmnic1", NOWHERE);
    EXPECT_EQ(progress.read(log_line(one)),
              "adapter vmnic0: Running, OK, rack 1, unit 1, partition 0, slot 3");
    EXPECT_EQ(progress.read(log_line(two)), "adapter vmnic1: Running, OK, location unknown");
    EXPECT_EQ(progress.read(log_line(one)), std::nullopt);
    one["Status"]["State"] = "Down";
    one["Status"]["Health"] = "Unknown";
    EXPECT_EQ(progress.read(log_line(one)),
              "adapter vmnic0: Down, Unknown, rack 1, unit 1, partition 0, slot 3");
    EXPECT_EQ(progress.read(log_line(one)), std::nullopt);
}

TEST(EthernetProgress, LinesOfAnotherShapeSayNothing) {
    DaemonProgress progress;
    for (const char *line :
         {"NIC_RM: Printing Ethernet Instance 0:    ", "NIC_RM: Printing Ethernet Instance {",
          "NIC_RM: Printing Ethernet Instance 0: []",
          "NIC_RM: Printing Ethernet Instance 0: {\"Oem\":{\"DeviceName\":3}}"})
        EXPECT_EQ(progress.read(line), std::nullopt) << line;
}

TEST(EthernetProgress, FirstCacheNamesTheManager) {
    DaemonProgress progress;
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [DEBUG] 099 NIC_RM: Exiting CacheBuild"),
              "manager EthernetDevices: first cache built");
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [DEBUG] 099 NIC_RM: Exiting CacheBuild"), std::nullopt);
}
