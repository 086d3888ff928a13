#include "core/json_text.h"

#include <charconv>
#include <memory>
#include <sstream>
#include <string>

namespace {
Json::StreamWriterBuilder compact_settings() {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return builder;
}

/// The text of jsoncpp's stream writer without indentation, byte for byte. The inventory of a large
/// machine is tens of megabytes, and that writer spends most of its time on copies of member names
/// and on a stream operation for each token. It still writes what is rare: texts that need escapes.
class orbCompactWriter {
public:
    std::string text;

    /// @return false for a value with a comment, which this writer does not write
    bool append(const Json::Value &value) {
        if (value.hasComment(Json::commentBefore) ||
            value.hasComment(Json::commentAfterOnSameLine) || value.hasComment(Json::commentAfter))
            return false;
        switch (value.type()) {
        case Json::intValue:
            appendNumber(value.asLargestInt());
            return true;
        case Json::uintValue:
            appendNumber(value.asLargestUInt());
            return true;
        case Json::booleanValue:
            text += value.asBool() ? "true" : "false";
            return true;
        case Json::stringValue:
            appendString(value);
            return true;
        case Json::arrayValue:
            return appendArray(value);
        case Json::objectValue:
            return appendObject(value);
        case Json::realValue:
            text += Json::valueToString(value.asDouble());
            return true;
        case Json::nullValue:
            break;
        }
        text += "null";
        return true;
    }

private:
    template <typename Integer> void appendNumber(Integer number) {
        char digits[24];
        const auto result = std::to_chars(std::begin(digits), std::end(digits), number);
        text.append(digits, result.ptr);
    }

    void appendString(const Json::Value &value) {
        const char *begin = nullptr, *end = nullptr;
        if (value.getString(&begin, &end)) appendQuoted(begin, end);
    }

    void appendQuoted(const char *begin, const char *end) {
        // Without an early way out the loop takes many bytes at a time.
        bool plain = true;
        for (const char *at = begin; at != end; ++at) {
            const auto byte = static_cast<unsigned char>(*at);
            plain &= byte >= ' ' && byte <= 0x7F && byte != '"' && byte != '\\';
        }
        if (plain) {
            text += '"';
            text.append(begin, end);
            text += '"';
            return;
        }
        std::ostringstream quoted;
        escaping->write(Json::Value(begin, end), &quoted);
        text += quoted.view();
    }

    bool appendArray(const Json::Value &array) {
        text += '[';
        Json::ArrayIndex next = 0;
        for (auto element = array.begin(), last = array.end(); element != last; ++element, ++next) {
            // An array that was filled out of order has gaps, which read as null.
            for (; next < element.index(); ++next) text += next == 0 ? "null" : ",null";
            if (next != 0) text += ',';
            if (!append(*element)) return false;
        }
        text += ']';
        return true;
    }

    bool appendObject(const Json::Value &object) {
        char separator = '{';
        for (auto member = object.begin(), last = object.end(); member != last; ++member) {
            text += separator;
            separator = ',';
            const char *end = nullptr;
            const char *const name = member.memberName(&end);
            appendQuoted(name, end);
            text += ':';
            if (!append(*member)) return false;
        }
        text += separator == '{' ? "{}" : "}";
        return true;
    }

    const std::unique_ptr<Json::StreamWriter> escaping{compact_settings().newStreamWriter()};
};
} // namespace

std::string compact_json(const Json::Value &value) {
    orbCompactWriter writer;
    if (writer.append(value)) return std::move(writer.text);
    std::string text = Json::writeString(compact_settings(), value);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}
