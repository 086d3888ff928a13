#include "support/json_schema.h"

#include <exception>
#include <fstream>

#include <valijson/adapters/jsoncpp_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include "core/json_text.h"

std::string schema_faults(const std::string &schema, const Json::Value &document) {
    const std::string path = std::string(ORB_SOURCE_DIR) + "/schema/" + schema + ".schema.json";
    std::ifstream file(path);
    Json::Value root;
    std::string faults;
    if (!file || !parse_json(file, root, &faults)) return path + " can't be read: " + faults;

    valijson::Schema rules;
    try {
        valijson::SchemaParser(valijson::SchemaParser::kDraft7)
            .populateSchema(valijson::adapters::JsonCppAdapter(root), rules);
    } catch (const std::exception &fault) {
        return path + ": " + fault.what();
    }
    valijson::ValidationResults results;
    if (valijson::Validator().validate(rules, valijson::adapters::JsonCppAdapter(document),
                                       &results))
        return "";
    for (valijson::ValidationResults::Error fault; results.popError(fault);) {
        for (const std::string &step : fault.context) faults += step;
        faults += ": " + fault.description + "\n";
    }
    return faults.empty() ? "not accepted" : faults;
}
