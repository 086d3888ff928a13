#include "core/json_text.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {
const std::string BAD_TEXTS[] = {"",         "{",    "{\"a\":}", "nonsense",
                                 "{\"a\":1", "[1,2", "\x01\x02", std::string(2000, '[')};
}

TEST(ParseJson, ReadsATextAndAStream) {
    Json::Value root;
    std::string error = "untouched";
    EXPECT_TRUE(parse_json(R"({"a": [1, "two"]})", root, &error));
    EXPECT_EQ(root["a"][1].asString(), "two");
    EXPECT_EQ(error, "untouched");
    std::istringstream in("[3]");
    EXPECT_TRUE(parse_json(in, root));
    EXPECT_EQ(root[0].asInt(), 3);
}

TEST(ParseJson, BadTextGivesANullRootAndAMessage) {
    for (const std::string &text : BAD_TEXTS) {
        Json::Value root("of a former call");
        std::string error;
        EXPECT_FALSE(parse_json(text, root, &error)) << text;
        EXPECT_TRUE(root.isNull()) << text;
        EXPECT_FALSE(error.empty()) << text;
        EXPECT_FALSE(parse_json(text, root)) << "a message nobody asked for";
    }
}

TEST(ParseJson, NestingBeyondTheParsersLimitIsABadText) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + std::string(depth, ']');
    };
    Json::Value root;
    EXPECT_TRUE(parse_json(nested(900), root));
    EXPECT_FALSE(parse_json(nested(1100), root));
    EXPECT_TRUE(root.isNull());
}

TEST(CompactJson, IsOneLineSortedByKey) {
    Json::Value value;
    value["b"] = 1;
    value["a"]["list"].append("x");
    EXPECT_EQ(compact_json(value), R"({"a":{"list":["x"]},"b":1})");
    EXPECT_EQ(compact_json(Json::Value()), "null");
}

TEST(CompactJson, WholeDoublesKeepTheirPoint) {
    Json::Value value;
    value["GiB"] = 1023.0;
    EXPECT_EQ(compact_json(value), R"({"GiB":1023.0})");
}

TEST(CompactJson, NewlinesInTextsAreEscaped) {
    Json::Value value;
    value["t"] = "a\nb\n";
    EXPECT_EQ(compact_json(value), R"({"t":"a\nb\n"})");
}
