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
