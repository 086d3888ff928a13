#include "LabRecords.h"

#include <sstream>

#include <gtest/gtest.h>

#include "core/json_text.h"

bool await_first(LabRun &lab) {
    return lab.await("\"text\":\"inventory delivered\"") && lab.await("\"kind\":\"inventory\"");
}

std::vector<Json::Value> records(const LabRun &lab, const std::string &kind) {
    std::vector<Json::Value> found;
    std::istringstream text(lab.out());
    for (std::string line; std::getline(text, line);) {
        Json::Value value;
        if (parse_json(line, value) && value["kind"].asString() == kind) found.push_back(value);
    }
    return found;
}

std::string progress_of(const LabRun &lab) {
    std::string told;
    for (const Json::Value &each : records(lab, "progress")) told += each["text"].asString() + "\n";
    return told;
}

std::string state_of(const Json::Value &adapter) {
    return adapter["Status"]["State"].asString() + " " + adapter["Status"]["Health"].asString();
}

std::string geo_id_of(const Json::Value &adapter) {
    const std::string text = adapter["Oem"]["Description"].asString();
    return text.substr(text.rfind(' ') + 1);
}

Json::Value decoded(const std::string &code) {
    LabRun lab;
    EXPECT_EQ(lab.run({"--json", "--decode-location", code}), 0) << code << lab.err();
    Json::Value value;
    EXPECT_TRUE(parse_json(lab.out(), value)) << lab.out();
    return value;
}
