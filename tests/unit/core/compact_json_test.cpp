#include <cmath>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "core/json_text.h"

namespace {
/// jsoncpp's own text of a value.
std::string reference(const Json::Value &value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    std::string text = Json::writeString(builder, value);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

Json::Value parsed(const std::string &text) {
    Json::Value root;
    EXPECT_TRUE(parse_json(text, root)) << text;
    return root;
}

/// A value of at most `depth` levels, from every type and with texts of every byte.
Json::Value random_value(std::mt19937 &random, int depth) {
    const auto below = [&random](unsigned limit) { return static_cast<int>(random() % limit); };
    const auto text = [&] {
        std::string bytes;
        const bool plain = below(2) == 0;
        for (int i = below(12); i > 0; --i)
            bytes += static_cast<char>(plain ? ' ' + below(95) : below(256));
        return bytes;
    };
    switch (below(depth > 0 ? 8 : 6)) {
    case 0:
        return {};
    case 1:
        return Json::Value(below(2) == 0);
    case 2:
        return Json::Value(Json::Int64(random()) * (below(2) == 0 ? 1 : -1));
    case 3:
        return Json::Value(Json::UInt64(random()) << below(33));
    case 4:
        return Json::Value(std::ldexp(static_cast<double>(random()), below(200) - 120));
    case 5:
        return Json::Value(text());
    case 6: {
        Json::Value array(Json::arrayValue);
        for (int i = below(5); i > 0; --i) array.append(random_value(random, depth - 1));
        return array;
    }
    default: {
        Json::Value object(Json::objectValue);
        for (int i = below(5); i > 0; --i) object[text()] = random_value(random, depth - 1);
        return object;
    }
    }
}
} // namespace

TEST(CompactJson, IsOneLineWithoutBlanks) {
    EXPECT_EQ(compact_json(parsed(R"({ "b" : [ 1 , -2, 2.5, true, null ], "a" : { } , "c":[ ] })")),
              R"({"a":{},"b":[1,-2,2.5,true,null],"c":[]})");
}

TEST(CompactJson, ScalarsAreAsTheLibraryWritesThem) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const Json::Value &value : {Json::Value(),
                                     Json::Value(true),
                                     Json::Value(false),
                                     Json::Value(0),
                                     Json::Value(-1),
                                     Json::Value(Json::Value::minLargestInt),
                                     Json::Value(Json::Value::maxLargestInt),
                                     Json::Value(Json::Value::maxLargestUInt),
                                     Json::Value(1023.0),
                                     Json::Value(0.1),
                                     Json::Value(-0.0),
                                     Json::Value(1e300),
                                     Json::Value(5e-324),
                                     Json::Value(1.0 / 3),
                                     Json::Value(123456789012345680.0),
                                     Json::Value(infinity),
                                     Json::Value(-infinity),
                                     Json::Value(std::nan("")),
                                     Json::Value(""),
                                     Json::Value("text"),
                                     Json::Value(Json::stringValue),
                                     Json::Value(Json::arrayValue),
                                     Json::Value(Json::objectValue)})
        EXPECT_EQ(compact_json(value), reference(value));
    EXPECT_EQ(compact_json(Json::Value(1023.0)), "1023.0");
}

TEST(CompactJson, EveryByteIsEscapedAsTheLibraryDoes) {
    for (int byte = 0; byte < 256; ++byte) {
        const std::string text = std::string("a") + static_cast<char>(byte) + "b";
        Json::Value object;
        object[text] = text;
        EXPECT_EQ(compact_json(object), reference(object)) << byte;
    }
    EXPECT_EQ(compact_json(Json::Value("a\"b\\c\n\x7F")), "\"a\\\"b\\\\c\\n\x7F\"");
}

TEST(CompactJson, TextsBeyondAsciiAreEscaped) {
    for (const std::string &text :
         {std::string("Müller"), std::string("日本"), std::string("😀"), std::string("\xC3"),
          std::string("\xF0\x9F\x98"), std::string("\xED\xA0\x80"), std::string("a\0b", 3)})
        EXPECT_EQ(compact_json(Json::Value(text)), reference(Json::Value(text)));
    EXPECT_EQ(compact_json(Json::Value("Müller")), "\"M\\u00fcller\"");
}

TEST(CompactJson, GapsOfAnArrayAreNull) {
    Json::Value gaps;
    gaps[3] = "x";
    gaps[6] = 1;
    EXPECT_EQ(compact_json(gaps), R"([null,null,null,"x",null,null,1])");
    EXPECT_EQ(compact_json(gaps), reference(gaps));
    Json::Value resized(Json::arrayValue);
    resized.resize(3);
    EXPECT_EQ(compact_json(resized), reference(resized));
}

TEST(CompactJson, CommentsStay) {
    for (const char *text :
         {"// before\n{\"a\":1}", "{\"a\":1} // behind\n", "{\"a\":/* inside */[1,2]}",
          "[1, // one\n2]", "{\"a\":{\"b\":[1,{\"c\":2 /* deep */}]}}"}) {
        const Json::Value value = parsed(text);
        EXPECT_EQ(compact_json(value), reference(value)) << text;
    }
}

TEST(CompactJson, DeepNesting) {
    Json::Value value;
    for (int level = 0; level < 900; ++level) {
        Json::Value outer;
        if (level % 2 == 0)
            outer["k"] = std::move(value);
        else
            outer.append(std::move(value));
        value = std::move(outer);
    }
    EXPECT_EQ(compact_json(value), reference(value));
}

TEST(CompactJson, AnyValueIsAsTheLibraryWritesIt) {
    std::mt19937 random(20260103);
    for (int i = 0; i < 3000; ++i) {
        const Json::Value value = random_value(random, 4);
        ASSERT_EQ(compact_json(value), reference(value)) << i;
    }
}
