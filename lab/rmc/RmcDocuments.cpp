#include "rmc/RmcDocuments.h"

#include <exception>
#include <fstream>

#include <valijson/adapters/jsoncpp_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include "core/json_text.h"

struct RmcDocuments::SCHEMAS {
    valijson::Schema inventory, event;
};

namespace {
constexpr std::size_t REPORTED_FAULTS = 10; // of one document

bool load_schema(const std::string &path, valijson::Schema &schema, std::string &error) {
    std::ifstream file(path);
    if (!file) {
        error = path + ": can't be read";
        return false;
    }
    Json::Value root;
    std::string why;
    if (!parse_json(file, root, &why)) {
        error = path + ": " + why;
        return false;
    }
    try {
        valijson::SchemaParser(valijson::SchemaParser::kDraft7)
            .populateSchema(valijson::adapters::JsonCppAdapter(root), schema);
    } catch (const std::exception &fault) {
        error = path + ": " + fault.what();
        return false;
    }
    return true;
}
} // namespace

RmcDocuments::RmcDocuments() = default;
RmcDocuments::~RmcDocuments() = default;

bool RmcDocuments::load(const std::string &schemaFolder, std::string &error) {
    auto loaded = std::make_unique<SCHEMAS>();
    if (!load_schema(schemaFolder + "/inventory.schema.json", loaded->inventory, error) ||
        !load_schema(schemaFolder + "/event.schema.json", loaded->event, error))
        return false;
    schemas = std::move(loaded);
    return true;
}

void RmcDocuments::check(const RMC_COMMAND &command, Json::Value &document,
                         std::vector<std::string> &violations) const {
    std::string why;
    if (!parse_json(command.argument, document, &why)) {
        violations.push_back(command.name + ": not JSON: " + why);
        return;
    }
    if (command.argument.find('\n') != std::string::npos)
        violations.push_back(command.name + ": line breaks in the text");
    if (!schemas) return;

    const valijson::Schema &schema =
        command.name == "WriteInventory" ? schemas->inventory : schemas->event;
    valijson::ValidationResults results;
    valijson::Validator validator;
    if (validator.validate(schema, valijson::adapters::JsonCppAdapter(document), &results)) return;
    valijson::ValidationResults::Error fault;
    for (std::size_t i = 0; i < REPORTED_FAULTS && results.popError(fault); ++i) {
        std::string where;
        for (const std::string &step : fault.context) where += step;
        violations.push_back(command.name + ": " + where + ": " + fault.description);
    }
}
