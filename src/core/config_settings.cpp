#include "core/config_settings.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <json/json.h>

#include "core/config_trace.h"
#include "core/json_text.h"

static_assert(sizeof(long) == 8, "intervals are 64-bit numbers");

namespace {
constexpr char DEFAULT_LOG_FILE_LOC[] = "syslog";
constexpr char DEFAULT_DEBUG_LOG_FILE_LOC[] = "syslog";
constexpr char ALL_RESOURCES[] = "All";
constexpr std::string_view RESOURCES_KEY = "EnableResources";
constexpr std::string_view INTERVALS_KEY = "CacheRefreshInSeconds";
constexpr char INTERVAL_VALIDATOR[] = "CacheRefreshInterval";
constexpr char COMMON_INTERVAL[] = "Global";

constexpr const char *RESOURCE_NAMES[] = {
    "FibreChannelDevices", "StorageControllers", "NVMeControllers",   "HostOSInfo",
    "EthernetDevices",     "GPUDevices",         "InfiniBandDevices",
};

// The telemetry names below and among the numbers are reserved words of the file; nothing reads
// such a key.
constexpr std::string_view SWITCH_NAMES[] = {
    "EnableDebugLog",
    "CaptureUnhandledExceptionStack",
    "ForwardAllMegaRAIDCriticalOrHigherEvents",
    "ForwardAllSmartRAIDDegradedOrHigherEvents",
    "EnableTelemetryLogging",
    "EnableTelemetryDataCollection",
    "LogResourceManagerStatistics",
    "EnableTelemetryDoorBell",
};

struct NUMBER_NAME {
    std::string_view name;
    long rejected; // what stands for a value that isn't accepted
};
constexpr NUMBER_NAME NUMBER_NAMES[] = {
    {INTERVAL_VALIDATOR, 3600},
    {"RMCCacheSendInterval", 1440},
    {"IPMIDBSleepInterval", 10},
    {"SimulateUnhandledException", -1},
    {"InventoryQueryIntervalInSeconds", 10},
    {"ProcessorSamplingRateInSeconds", -1},
    {"MemorySamplingRateInSeconds", -1},
    {"NetworkSamplingRateInSeconds", -1},
    {"StorageSamplingRateInSeconds", -1},
    {"NumastatSamplingRateInSeconds", -1},
    {"TelemetrySendIntervalInSeconds", -1},
    {"TelemetrySchemaOption", -1},
    {"TelemetryDBIntervalInSeconds", -1},
    {"MicrochipEventQueueIndex", 0},
    {"HealthMonitorFlags", 0},
    {"FileServiceSendIntervalInSeconds", -1},
};

constexpr char LEVEL_WORDS[] = "\"Info\", \"Warning\" or \"Error\"";
constexpr char MODE_WORDS[] = "\"test\" or \"inject\"";
constexpr char LOCATION_WORDS[] = "a path or \"syslog\"";

/// One key of the file with the field it fills. Exactly one of the three is set; the list of
/// resources and the refresh intervals, which have shapes of their own, have none.
struct SETTING {
    std::string_view key;
    const char *validator = nullptr; // null for a location, which only must not be empty
    bool ORB_CONFIG_SETTINGS::*flag = nullptr;
    long ORB_CONFIG_SETTINGS::*number = nullptr;
    std::string ORB_CONFIG_SETTINGS::*text = nullptr;
    const char *words = nullptr;
};
using S = ORB_CONFIG_SETTINGS;

// In the order in which they are read, so that of two numbers out of range the first is reported.
constexpr SETTING SETTINGS[] = {
    {.key = RESOURCES_KEY},
    {.key = "LoggingLevel",
     .validator = "LoggingLevel",
     .text = &S::loggingLevel,
     .words = LEVEL_WORDS},
    {.key = "EnableDebugLog", .validator = "EnableDebugLog", .flag = &S::debugLogEnabled},
    {.key = "CliMode", .validator = "CliMode", .text = &S::cliMode, .words = MODE_WORDS},
    {.key = INTERVALS_KEY},
    {.key = "PushInventoryFrequencyInMinutes",
     .validator = "RMCCacheSendInterval",
     .number = &S::inventoryPushIntervalMin},
    {.key = "ORBLogLocation", .text = &S::logLocation, .words = LOCATION_WORDS},
    {.key = "DebugLogLocation", .text = &S::debugLogLocation, .words = LOCATION_WORDS},
    {.key = "IPMIDoorBellMonitorInterval",
     .validator = "IPMIDBSleepInterval",
     .number = &S::doorBellIntervalS},
    {.key = "InventoryQueryIntervalInSeconds",
     .validator = "InventoryQueryIntervalInSeconds",
     .number = &S::inventoryQueryIntervalS},
    {.key = "CaptureUnhandledExceptionStack",
     .validator = "CaptureUnhandledExceptionStack",
     .flag = &S::captureExceptionStack},
    {.key = "SimulateUnhandledException",
     .validator = "SimulateUnhandledException",
     .number = &S::simulatedException},
    {.key = "ForwardAllMegaRAIDCriticalOrHigherEvents",
     .validator = "ForwardAllMegaRAIDCriticalOrHigherEvents",
     .flag = &S::forwardMegaRAIDEvents},
    {.key = "ForwardAllSmartRAIDDegradedOrHigherEvents",
     .validator = "ForwardAllSmartRAIDDegradedOrHigherEvents",
     .flag = &S::forwardSmartRAIDEvents},
    {.key = "LogResourceManagerStatistics",
     .validator = "LogResourceManagerStatistics",
     .flag = &S::logStatistics},
    {.key = "MicrochipEventQueueIndex",
     .validator = "MicrochipEventQueueIndex",
     .number = &S::microchipEventQueueIndex},
    {.key = "HealthMonitorFlags",
     .validator = "HealthMonitorFlags",
     .number = &S::healthMonitorFlags},
};

/// A member of an object; null when it is absent or `holder` is none.
const Json::Value *member_of(const Json::Value *holder, std::string_view name) {
    if (holder == nullptr || !holder->isObject()) return nullptr;
    return holder->find(name.data(), name.data() + name.size());
}

/// A value as text; "" for an absent one and for one that is a list or an object.
std::string text_of(const Json::Value *value) {
    if (value == nullptr || value->isArray() || value->isObject()) return {};
    return value->asString();
}

std::vector<std::string> read_resources(const Json::Value *list) {
    if (list == nullptr || !list->isArray() || list->empty()) return {ALL_RESOURCES};
    const std::string first = text_of(&(*list)[0]);
    if (first.empty() || isEquals(first, ALL_RESOURCES)) return {ALL_RESOURCES};
    std::vector<std::string> names;
    for (const Json::Value &element : *list) {
        std::string name = text_of(&element);
        if (name.empty()) break;
        names.push_back(std::move(name));
    }
    return names;
}

/// Fills the settings from a root that is usable or, for the trace alone, from one that is not.
class SettingsReader {
public:
    SettingsReader(const Json::Value &rootOfFile, ORB_CONFIG_SETTINGS &out, ORB_CONFIG_TRACE *takes)
        : root(rootOfFile), settings(out), trace(takes) {}

    void read() {
        for (const SETTING &row : SETTINGS) {
            const Json::Value *value = member_of(&root, row.key);
            if (row.key == RESOURCES_KEY) {
                settings.enabledResources = read_resources(value);
                if (trace != nullptr)
                    note(judge_resources(std::string(row.key), value, settings.enabledResources));
            } else if (row.key == INTERVALS_KEY) {
                readIntervals(value);
            } else if (row.flag != nullptr) {
                settings.*row.flag = validateBool(text_of(value), row.validator);
                if (trace != nullptr)
                    note(judge_flag(std::string(row.key), value, settings.*row.flag));
            } else if (row.number != nullptr) {
                settings.*row.number = number(std::string(row.key), value, row.validator);
            } else {
                readText(row, value);
            }
        }
        if (trace != nullptr) noteUnread();
        if (fault) std::rethrow_exception(fault);
    }

private:
    void readText(const SETTING &row, const Json::Value *value) {
        std::string text = text_of(value);
        if (row.validator != nullptr) {
            text = validateString(text, row.validator);
        } else if (text.empty()) {
            text = row.text == &S::logLocation ? DEFAULT_LOG_FILE_LOC : DEFAULT_DEBUG_LOG_FILE_LOC;
        }
        if (trace != nullptr) note(judge_text(std::string(row.key), value, text, row.words));
        settings.*row.text = std::move(text);
    }

    void readIntervals(const Json::Value *intervals) {
        const Json::Value *common = member_of(intervals, COMMON_INTERVAL);
        const std::string commonText = text_of(common);
        if (trace != nullptr && intervals != nullptr && !intervals->isObject())
            note({std::string(INTERVALS_KEY), compact_json(*intervals), "", ORB_CONFIG_REPLACED,
                  "is not an object with one member for each resource"});
        if (!commonText.empty()) {
            const long used = number(memberKey(COMMON_INTERVAL), common, INTERVAL_VALIDATOR);
            if (!fault) setCommonCacheRefreshInterval(settings, commonText);
            for (const char *name : RESOURCE_NAMES)
                if (trace != nullptr) noteHidden(name, member_of(intervals, name), used);
            return;
        }
        if (trace != nullptr) noteNoCommon(common);
        for (const char *name : RESOURCE_NAMES)
            settings.refreshIntervalsS[name] =
                number(memberKey(name), member_of(intervals, name), INTERVAL_VALIDATOR);
    }

    long number(const std::string &key, const Json::Value *value, const char *validator) {
        try {
            const long used = validateNumerical(text_of(value), validator);
            if (trace != nullptr) note(judge_number(key, value, used));
            return used;
        } catch (const std::out_of_range &) {
            if (trace == nullptr) throw;
            if (!fault) fault = std::current_exception();
            note(judge_out_of_range(key, value));
            return 0;
        }
    }

    static std::string memberKey(const char *name) {
        return std::string(INTERVALS_KEY) + '.' + name;
    }
    void note(ORB_CONFIG_FINDING finding) { trace->findings.push_back(std::move(finding)); }
    void noteHidden(const char *name, const Json::Value *value, long used) {
        const bool absent = value == nullptr;
        note({memberKey(name), absent ? "" : text_in_file(*value), setting_text(used),
              absent ? ORB_CONFIG_ABSENT : ORB_CONFIG_IGNORED,
              "\"Global\" holds for every resource"});
    }
    void noteNoCommon(const Json::Value *common) {
        const bool absent = common == nullptr;
        note({memberKey(COMMON_INTERVAL), absent ? "" : text_in_file(*common), "",
              absent ? ORB_CONFIG_ABSENT : ORB_CONFIG_REPLACED, "each resource has its own"});
    }
    void noteUnread() {
        std::vector<std::string> known;
        for (const SETTING &row : SETTINGS) known.emplace_back(row.key);
        noteUnreadMembers(&root, "", known);
        known.assign(std::begin(RESOURCE_NAMES), std::end(RESOURCE_NAMES));
        known.emplace_back(COMMON_INTERVAL);
        noteUnreadMembers(member_of(&root, INTERVALS_KEY), std::string(INTERVALS_KEY) + '.', known);
    }
    void noteUnreadMembers(const Json::Value *holder, const std::string &prefix,
                           const std::vector<std::string> &known) {
        if (holder == nullptr || !holder->isObject()) return;
        for (const std::string &name : holder->getMemberNames())
            if (std::find(known.begin(), known.end(), name) == known.end())
                note(judge_unread(prefix + name, name, (*holder)[name], known));
    }

    const Json::Value &root;
    ORB_CONFIG_SETTINGS &settings;
    ORB_CONFIG_TRACE *trace;
    std::exception_ptr fault; // the first number out of range, held back for the trace
};

/// The findings on a file of which nothing is used.
void trace_defaults(const Json::Value &root, const ORB_CONFIG_SETTINGS &settings,
                    ORB_CONFIG_TRACE &trace) {
    const auto note = [&](const std::string &key, const Json::Value *value, std::string used) {
        const bool absent = value == nullptr;
        trace.findings.push_back({key, absent ? "" : text_in_file(*value), std::move(used),
                                  absent ? ORB_CONFIG_ABSENT : ORB_CONFIG_IGNORED,
                                  "the file is not used"});
    };
    for (const SETTING &row : SETTINGS) {
        const Json::Value *value = member_of(&root, row.key);
        if (row.flag != nullptr) {
            note(std::string(row.key), value, setting_text(settings.*row.flag));
        } else if (row.number != nullptr) {
            note(std::string(row.key), value, setting_text(settings.*row.number));
        } else if (row.text != nullptr) {
            note(std::string(row.key), value, settings.*row.text);
        } else if (row.key == RESOURCES_KEY) {
            note(std::string(row.key), value, setting_text(settings.enabledResources));
        } else {
            for (const char *name : RESOURCE_NAMES)
                note(std::string(row.key) + '.' + name, member_of(value, name),
                     setting_text(settings.refreshIntervalsS.at(name)));
        }
    }
}
} // namespace

bool isEquals(const std::string &one, const std::string &other) {
    const auto lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

std::string validateString(const std::string &value, const std::string &name) {
    const auto isOneOf = [&](std::initializer_list<const char *> words) {
        return std::any_of(words.begin(), words.end(),
                           [&](const char *word) { return isEquals(value, word); });
    };
    if (name == "LoggingLevel") return isOneOf({"Info", "Error", "Warning"}) ? value : "Warning";
    if (name == "CliMode") return isOneOf({"test", "inject"}) ? value : "test";
    return {};
}

bool validateBool(const std::string &value, const std::string &name) {
    return std::find(std::begin(SWITCH_NAMES), std::end(SWITCH_NAMES), name) !=
               std::end(SWITCH_NAMES) &&
           isEquals(value, "true");
}

long validateNumerical(const std::string &value, const std::string &name) {
    const NUMBER_NAME *known =
        std::find_if(std::begin(NUMBER_NAMES), std::end(NUMBER_NAMES),
                     [&](const NUMBER_NAME &row) { return row.name == name; });
    if (known == std::end(NUMBER_NAMES)) return -1;
    if (value.empty()) return known->rejected;
    try {
        const long number = std::stol(value, nullptr, 10);
        if (number > 0) return number;
    } catch (const std::invalid_argument &) { // no number at all
    }
    return known->rejected;
}

void setDefaultValues(ORB_CONFIG_SETTINGS &settings) {
    settings.debugLogEnabled = false;
    setCommonCacheRefreshInterval(settings, "30");
    settings.loggingLevel = "Warning";
    settings.logLocation = DEFAULT_LOG_FILE_LOC;
    settings.debugLogLocation = DEFAULT_DEBUG_LOG_FILE_LOC;
    settings.enabledResources.emplace_back(ALL_RESOURCES);
    settings.doorBellIntervalS = 10;
    settings.inventoryQueryIntervalS = 10;
    settings.inventoryPushIntervalMin = 1440;
    settings.forwardMegaRAIDEvents = false;
    settings.forwardSmartRAIDEvents = false;
    settings.logStatistics = false;
    settings.captureExceptionStack = false;
    settings.simulatedException = 0;
    settings.microchipEventQueueIndex = 0;
    settings.healthMonitorFlags = 0;
    settings.cliMode = "test";
    settings.defaultSettingsApplied = true;
}

void setCommonCacheRefreshInterval(ORB_CONFIG_SETTINGS &settings, const std::string &text) {
    const long interval = validateNumerical(text, INTERVAL_VALIDATOR);
    for (const char *name : RESOURCE_NAMES) settings.refreshIntervalsS[name] = interval;
}

void initConfigSettings(std::istream &in, ORB_CONFIG_SETTINGS &settings, ORB_CONFIG_TRACE *trace) {
    settings = {};
    Json::Value root;
    std::string fault;
    ORB_CONFIG_FILE_VERDICT verdict = ORB_CONFIG_FILE_USED;
    if (!in.good()) {
        verdict = ORB_CONFIG_FILE_MISSING;
        fault = "can't be opened";
    } else if (!parse_json(in, root, &fault)) {
        verdict = ORB_CONFIG_FILE_UNPARSABLE;
    } else if (root.size() < 2) {
        verdict = ORB_CONFIG_FILE_TOO_FEW;
        fault = "has fewer than 2 members";
    }
    if (trace != nullptr) {
        trace->fileVerdict = verdict;
        trace->fileReason = fault;
    }
    if (verdict != ORB_CONFIG_FILE_USED) {
        setDefaultValues(settings);
        if (trace != nullptr) trace_defaults(root, settings, *trace);
        return;
    }
    if (root.isArray())
        static_cast<void>(std::as_const(root)[std::string(RESOURCES_KEY)]); // throws
    SettingsReader(root, settings, trace).read();
}
