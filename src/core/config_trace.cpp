#include "core/config_trace.h"

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <utility>

#include "core/json_text.h"

namespace {
// Words of the file format for other programs of the machine.
constexpr const char *RESERVED_KEYS[] = {
    "EnableTelemetryLogging",         "EnableTelemetryDataCollection",
    "EnableTelemetryDoorBell",        "ProcessorSamplingRateInSeconds",
    "MemorySamplingRateInSeconds",    "NetworkSamplingRateInSeconds",
    "StorageSamplingRateInSeconds",   "NumastatSamplingRateInSeconds",
    "TelemetrySendIntervalInSeconds", "TelemetrySchemaOption",
    "TelemetryDBIntervalInSeconds",   "FileServiceSendIntervalInSeconds",
};
// The resources that have a manager.
constexpr const char *MANAGED_RESOURCES[] = {"FibreChannelDevices", "HostOSInfo",
                                             "StorageControllers", "EthernetDevices"};

ORB_CONFIG_FINDING absent(const std::string &key, std::string used) {
    return {key, "", std::move(used), ORB_CONFIG_ABSENT, "not in the file"};
}

bool is_scalar(const Json::Value &value) {
    return !value.isArray() && !value.isObject();
}

/// Whether what stands behind the digits of a number says nothing: blanks, or a fraction of zeros.
bool says_nothing(std::string_view rest) {
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        rest.remove_prefix(std::min(rest.find_first_not_of('0'), rest.size()));
    }
    return rest.find_first_not_of(" \t\r\n") == std::string_view::npos;
}
} // namespace

std::string text_in_file(const Json::Value &value) {
    return value.isString() ? value.asString() : compact_json(value);
}

bool ORB_CONFIG_TRACE::isTakenAsWritten() const {
    return fileVerdict == ORB_CONFIG_FILE_USED &&
           std::all_of(findings.begin(), findings.end(), [](const ORB_CONFIG_FINDING &finding) {
               return finding.verdict == ORB_CONFIG_TAKEN || finding.verdict == ORB_CONFIG_ABSENT;
           });
}

const char *verdict_text(ORB_CONFIG_VERDICT verdict) {
    switch (verdict) {
    case ORB_CONFIG_TAKEN:
        return "taken";
    case ORB_CONFIG_TAKEN_IN_PART:
        return "taken in part";
    case ORB_CONFIG_REPLACED:
        return "replaced";
    case ORB_CONFIG_ABSENT:
        return "absent";
    case ORB_CONFIG_IGNORED:
        return "ignored";
    case ORB_CONFIG_UNKNOWN:
        return "unknown";
    case ORB_CONFIG_ENDS_PROCESS:
        return "fatal";
    }
    return "";
}

ORB_CONFIG_TRACE check_config(std::istream &in) {
    ORB_CONFIG_TRACE trace;
    ORB_CONFIG_SETTINGS settings;
    try {
        initConfigSettings(in, settings, &trace);
    } catch (const std::exception &fault) {
        // An array has no keys to tell about; else the findings name the number.
        trace.fileVerdict = ORB_CONFIG_FILE_ENDS_PROCESS;
        trace.fileReason = trace.findings.empty() ? std::string("is a list: ") + fault.what()
                                                  : "holds a number that is out of range";
    }
    return trace;
}

std::string setting_text(bool value) {
    return value ? "true" : "false";
}

std::string setting_text(long value) {
    return std::to_string(value);
}

std::string setting_text(const std::vector<std::string> &value) {
    std::string text;
    for (const std::string &entry : value) {
        if (!text.empty()) text += ", ";
        text += entry;
    }
    return text;
}

ORB_CONFIG_FINDING judge_flag(const std::string &key, const Json::Value *inFile, bool used) {
    if (inFile == nullptr) return absent(key, setting_text(used));
    const std::string text = text_in_file(*inFile);
    const bool asWritten = is_scalar(*inFile) && (used || isEquals(text, "false"));
    return {key, text, setting_text(used), asWritten ? ORB_CONFIG_TAKEN : ORB_CONFIG_REPLACED,
            asWritten ? "" : "is neither \"true\" nor \"false\""};
}

ORB_CONFIG_FINDING judge_number(const std::string &key, const Json::Value *inFile, long used) {
    if (inFile == nullptr) return absent(key, setting_text(used));
    ORB_CONFIG_FINDING finding{key, text_in_file(*inFile), setting_text(used), ORB_CONFIG_REPLACED,
                               "is not a number"};
    if (!is_scalar(*inFile)) return finding;
    const std::string text = inFile->asString(); // a number as the daemon sees it: 1e3 is 1000.0
    char *end = nullptr;
    const long written = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str()) return finding;
    if (written != used) {
        finding.reason = "is not above 0";
        return finding;
    }
    // A value that equals its default is as good as taken, though the validator rejects it.
    const auto rest = std::string_view(text).substr(static_cast<std::size_t>(end - text.c_str()));
    finding.verdict = says_nothing(rest) ? ORB_CONFIG_TAKEN : ORB_CONFIG_TAKEN_IN_PART;
    finding.reason = says_nothing(rest) ? "" : "only the number at its beginning counts";
    return finding;
}

ORB_CONFIG_FINDING judge_out_of_range(const std::string &key, const Json::Value *inFile) {
    return {key, inFile == nullptr ? "" : text_in_file(*inFile), "", ORB_CONFIG_ENDS_PROCESS,
            "is a number out of range, with which the daemon does not start"};
}

ORB_CONFIG_FINDING judge_text(const std::string &key, const Json::Value *inFile,
                              const std::string &used, const char *wanted) {
    if (inFile == nullptr) return absent(key, used);
    const std::string text = text_in_file(*inFile);
    const bool asWritten = is_scalar(*inFile) && inFile->asString() == used;
    return {key, text, used, asWritten ? ORB_CONFIG_TAKEN : ORB_CONFIG_REPLACED,
            asWritten ? "" : std::string("is not ") + wanted};
}

ORB_CONFIG_FINDING judge_resources(const std::string &key, const Json::Value *inFile,
                                   const std::vector<std::string> &used) {
    if (inFile == nullptr) return absent(key, setting_text(used));
    ORB_CONFIG_FINDING finding{key, text_in_file(*inFile), setting_text(used), ORB_CONFIG_TAKEN,
                               ""};
    const auto first = [&]() -> const Json::Value & { return (*inFile)[0]; };
    if (!inFile->isArray()) {
        finding.verdict = ORB_CONFIG_REPLACED;
        finding.reason = "is not a list";
    } else if (inFile->empty() || !is_scalar(first()) || first().asString().empty()) {
        finding.verdict = ORB_CONFIG_REPLACED;
        finding.reason = "begins with no name";
    } else if (used.size() < inFile->size()) {
        finding.verdict = ORB_CONFIG_TAKEN_IN_PART;
        finding.reason = "only the entries up to \"" + used.back() + "\" count";
    } else {
        for (const std::string &name : used) {
            if (isEquals(name, "All") ||
                std::any_of(std::begin(MANAGED_RESOURCES), std::end(MANAGED_RESOURCES),
                            [&](const char *managed) { return isEquals(name, managed); }))
                continue;
            finding.verdict = ORB_CONFIG_TAKEN_IN_PART;
            finding.reason = "\"" + name + "\" has no effect";
            break;
        }
    }
    return finding;
}

ORB_CONFIG_FINDING judge_unread(const std::string &key, const std::string &name,
                                const Json::Value &inFile, const std::vector<std::string> &known) {
    if (std::find(std::begin(RESERVED_KEYS), std::end(RESERVED_KEYS), key) !=
        std::end(RESERVED_KEYS))
        return {key, text_in_file(inFile), "", ORB_CONFIG_IGNORED,
                "reserved, but not read by the daemon"};
    const auto meant = std::find_if(known.begin(), known.end(), [&](const std::string &other) {
        return isEquals(name, other);
    });
    return {key, text_in_file(inFile), "", ORB_CONFIG_UNKNOWN,
            meant == known.end() ? "not a key of this file"
                                 : "not a key of this file; \"" + *meant + "\" is"};
}
