#include "core/json_text.h"

#include <sstream>

bool parse_json(std::istream &in, Json::Value &root, std::string *error) {
    std::string message;
    bool parsed = false;
    try {
        parsed = Json::parseFromStream(Json::CharReaderBuilder(), in, &root, &message);
    } catch (const Json::Exception &fault) { // the nesting limit is reported by an exception
        message = fault.what();
    }
    if (!parsed) {
        root = Json::Value();
        if (error != nullptr) *error = message;
    }
    return parsed;
}

bool parse_json(const std::string &text, Json::Value &root, std::string *error) {
    std::istringstream in(text);
    return parse_json(in, root, error);
}

std::string compact_json(const Json::Value &value) {
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    std::string text = Json::writeString(builder, value);
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}
