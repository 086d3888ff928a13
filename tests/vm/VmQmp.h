#pragma once

#include <chrono>
#include <string>

#include <json/json.h>

/// The emulator's own command channel, in its machine protocol: one JSON object a line. One thread.
class VmQmp {
public:
    static constexpr std::chrono::seconds LIMIT{20}; ///< for one answer

    VmQmp() = default;
    ~VmQmp() { use(-1); }
    VmQmp(const VmQmp &) = delete;
    VmQmp &operator=(const VmQmp &) = delete;

    void use(int descriptor);       ///< a stream socket, this object's from now on; -1: none
    bool greet(std::string &error); ///< once, before the first command

    /// @param answer  takes what the command returns
    /// @param error   takes the emulator's words, on failure
    bool execute(const std::string &command, const Json::Value &arguments, Json::Value &answer,
                 std::string &error);

private:
    bool next(Json::Value &object, std::string &error); // the next that is no event

    int fd = -1;
    std::string pending;
};
