#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>

#include <json/json.h>

bool is_line(const std::string &text); ///< it has no control characters

/// Reads members of one JSON object with a type each, and remembers the first thing that is wrong.
/// Whoever reads an object names all its members, so a misspelt one is told.
class Members {
public:
    /// @param objectPlace  of the object in the file, for the messages; empty: the root
    Members(const Json::Value &object, std::string objectPlace, std::string &firstError);

    void only(std::initializer_list<const char *> names);
    bool has(const char *name) const { return value.isObject() && value.isMember(name); }
    const Json::Value &at(const char *name) const {
        return has(name) ? value[name] : Json::Value::nullSingleton();
    }
    // Each leaves `out` as it is where the member is missing or wrong.
    void text(const char *name, std::string &out, std::size_t limit = 1000);
    void flag(const char *name, bool &out);
    template <typename Number>
    void number(const char *name, Number &out, std::int64_t from, std::int64_t to) {
        if (has(name) && isNumberFrom(name, from, to))
            out = static_cast<Number>(at(name).asInt64());
    }
    void id(const char *name, std::uint16_t &out); ///< a PCI id: a number, or a text like "0x8086"
    void seconds(const char *name, double &out);
    void list(const char *name, const std::function<void(const Json::Value &, std::string)> &each);

    /// Whether a text, the value of that member, is a PCI address.
    void address(const char *name, const std::string &text);
    /// Whether a text, the value of that member, is a file name's worth: small letters and digits.
    void fileWord(const char *name, const std::string &text);
    /// Whether a text, the value of that member, can stand in one line of a command's output.
    void oneLine(const char *name, const std::string &text);
    std::string path(const std::string &name) const;
    void fail(const std::string &name, const std::string &what);

private:
    bool isNumberFrom(const char *name, std::int64_t from, std::int64_t to);

    const Json::Value &value;
    const std::string place;
    std::string &error;
};
