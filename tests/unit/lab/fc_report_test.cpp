#include "world/fc_report.h"

#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "world/DaemonLog.h"
#include "world/summary.h"

namespace {
const char SLOT_3[] = "0203010100030021", NOWHERE[] = "FFFFFFFFFFFFFFFF";

Json::Value adapter(const std::string &last, const std::string &location) {
    Json::Value value;
    value["Model"] = "Vantor Fabric 900Q 16Gb 2P FC HBA";
    value["WWNN"] = "20:00:02:00:5e:00:00:" + last;
    value["Oem"]["PhysicalLocation"] = location;
    value["Status"]["State"] = "Diagnostic mode";
    value["Status"]["Health"] = "Warning";
    return value;
}
std::string log_line(const Json::Value &value) {
    return "Jan 3 08:04:09 [DEBUG] 099 FC_RM: " + compact_json(value);
}
} // namespace

TEST(FcReport, TableHasARowAndAModelForEach) {
    Json::Value list;
    list.append(adapter("a1", SLOT_3));
    list.append(adapter("a2", NOWHERE));
    list[1]["Model"] = "";
    list[1]["Status"]["State"] = "Online";
    list[1]["Status"]["Health"] = "OK";
    EXPECT_EQ(fc_adapter_table(list),
              "\n"
              "  Fibre Channel adapter   State           Health    Place\n"
              "  20:00:02:00:5e:00:00:a1 Diagnostic mode Warning   rack 1, unit 1, partition 0, "
              "slot 3\n"
              "                          Vantor Fabric 900Q 16Gb 2P FC HBA\n"
              "  20:00:02:00:5e:00:00:a2 Online          OK        location unknown\n");
}

TEST(FcReport, TableOfNothingIsEmpty) {
    EXPECT_EQ(fc_adapter_table(Json::Value()), "");
    EXPECT_EQ(fc_adapter_table(Json::Value(Json::arrayValue)), "");
    EXPECT_EQ(fc_adapter_table("text"), "");
}

TEST(FcReport, LongTableIsCutAndCounted) {
    Json::Value list;
    for (int i = 0; i < 30; ++i) list.append(adapter(std::to_string(10 + i), SLOT_3));
    const std::string text = fc_adapter_table(list);
    EXPECT_NE(text.find(":33 "), std::string::npos);
    EXPECT_EQ(text.find(":34 "), std::string::npos);
    EXPECT_TRUE(text.ends_with("  and 6 more\n"));
}

TEST(FcReport, ForeignShapesAndControlCharactersAreShownSafely) {
    Json::Value list;
    list.append("text");
    list.append(adapter("\x1b[2J", "\x1b]0;x"));
    list[1]["Status"] = 3;
    const std::string text = fc_adapter_table(list);
    EXPECT_EQ(text.find('\x1b'), std::string::npos);
    EXPECT_NE(text.find(".[2J"), std::string::npos);
}

TEST(FcReport, SummaryEndsWithTheAdapters) {
    Json::Value document;
    document["HostDataCollection"]["FibreChannelDevices"].append(adapter("a7", SLOT_3));
    const std::string text = summary_text(document);
    EXPECT_NE(text.find("  FibreChannelDevices        1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  20:00:02:00:5e:00:00:a7 "), std::string::npos) << text;
}

TEST(FcReport, EventsAreToldInWords) {
    constexpr std::pair<int, const char *> MEANINGS[] = {
        {384, "   384  fc       a Fibre Channel port is online again"},
        {385, "   385  fc       a Fibre Channel port is offline"},
        {386, "   386  fc       a Fibre Channel port has no link"},
        {388, "   388  fc       a Fibre Channel port has failed"}};
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

TEST(FcProgress, TellsAnAdapterWhenItIsNewOrDifferent) {
    DaemonProgress progress;
    Json::Value one = adapter("a1", SLOT_3);
    EXPECT_EQ(progress.read(log_line(one)),
              "adapter 20:00:02:00:5e:00:00:a1: Diagnostic mode, Warning, rack 1, unit 1, "
              "partition 0, slot 3");
    EXPECT_EQ(progress.read(log_line(one)), std::nullopt);
    one["Status"]["State"] = "Online";
    one["Status"]["Health"] = "OK";
    EXPECT_EQ(progress.read(log_line(one)),
              "adapter 20:00:02:00:5e:00:00:a1: Online, OK, rack 1, unit 1, partition 0, slot 3");
}

TEST(FcProgress, LinesOfAnotherShapeSayNothing) {
    DaemonProgress progress;
    for (const char *line :
         {"FC_RM: ", "FC_RM: {", "FC_RM: {\"WWNN\":3}", "FC_RM: {\"Oem\":{}}",
          "FC_RM: Description is {\"WWNN\":\"x\"}", "ORB_UTILS: -----Printing FcNameMap-----"})
        EXPECT_EQ(progress.read(line), std::nullopt) << line;
}

TEST(FcProgress, FirstCacheIsToldWhenItIsReady) {
    DaemonProgress progress;
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [INFO] 099 FC_RM: FC cache status 0"), std::nullopt);
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [INFO] 099 FC_RM: FC cache status 1"),
              "manager FibreChannelDevices: first cache built");
    EXPECT_EQ(progress.read("Jan 3 08:04:09 [INFO] 099 FC_RM: FC cache status 1"), std::nullopt);
}
