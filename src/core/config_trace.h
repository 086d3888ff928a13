#pragma once

#include <istream>
#include <string>
#include <vector>

#include <json/json.h>

#include "core/config_settings.h"

/// What became of one key of the configuration file.
enum ORB_CONFIG_VERDICT {
    ORB_CONFIG_TAKEN,         ///< the daemon uses what is written
    ORB_CONFIG_TAKEN_IN_PART, ///< a part of the text counts, the rest does not
    ORB_CONFIG_REPLACED,      ///< what is written is not accepted, a default stands for it
    ORB_CONFIG_ABSENT,        ///< not in the file, a default stands for it
    ORB_CONFIG_IGNORED,       ///< a known key that has no effect here
    ORB_CONFIG_UNKNOWN,       ///< not a key of this file
    ORB_CONFIG_ENDS_PROCESS,  ///< the daemon does not start with this value
};

struct ORB_CONFIG_FINDING {
    std::string key;        ///< members as "CacheRefreshInSeconds.Global"
    std::string textInFile; ///< strings without quotes, other values as JSON; "" when absent
    std::string valueUsed;  ///< "" where there is none
    ORB_CONFIG_VERDICT verdict;
    std::string reason; ///< "" for a value that is simply taken
};

/// What became of the file as a whole.
enum ORB_CONFIG_FILE_VERDICT {
    ORB_CONFIG_FILE_USED,
    ORB_CONFIG_FILE_MISSING,     ///< can't be opened; all defaults
    ORB_CONFIG_FILE_UNPARSABLE,  ///< no JSON; all defaults
    ORB_CONFIG_FILE_TOO_FEW,     ///< fewer than 2 members; all defaults
    ORB_CONFIG_FILE_ENDS_PROCESS ///< the daemon does not start with this file
};

/// Where each value of the configuration comes from. The keys that exist come first, in the order
/// in which they are read, then those of the file that don't.
struct ORB_CONFIG_TRACE {
    ORB_CONFIG_FILE_VERDICT fileVerdict = ORB_CONFIG_FILE_USED;
    std::string fileReason; ///< "" for a file that is used
    std::vector<ORB_CONFIG_FINDING> findings;

    /// No value, key or part of the file has another effect than it says.
    bool isTakenAsWritten() const;
};

/// "taken", "replaced", ... : one or two words for a table.
const char *verdict_text(ORB_CONFIG_VERDICT verdict);

/// Reads a configuration as the daemon does and tells what it makes of it. Nothing throws: a file
/// that would end the daemon is a verdict here.
/// @param in  the file; one that could not be opened is missing
ORB_CONFIG_TRACE check_config(std::istream &in);

/// A setting's value as a person reads it: numbers in base 10, true or false, lists with ", ".
std::string setting_text(bool value);
std::string setting_text(long value);
std::string setting_text(const std::vector<std::string> &value);

/// A value as it stands in the file: strings without quotes, others as compact JSON.
std::string text_in_file(const Json::Value &value);

/// Findings on one key. @param inFile  null when the key is absent
ORB_CONFIG_FINDING judge_flag(const std::string &key, const Json::Value *inFile, bool used);
ORB_CONFIG_FINDING judge_number(const std::string &key, const Json::Value *inFile, long used);
/// A number beyond 64 bits.
ORB_CONFIG_FINDING judge_out_of_range(const std::string &key, const Json::Value *inFile);
/// A text of a few words (or any, where it only must not be empty) that are told in `wanted`.
ORB_CONFIG_FINDING judge_text(const std::string &key, const Json::Value *inFile,
                              const std::string &used, const char *wanted);
ORB_CONFIG_FINDING judge_resources(const std::string &key, const Json::Value *inFile,
                                   const std::vector<std::string> &used);

/// A key that is in the file but is not read.
/// @param known  the names that exist at this place; one that differs in letters alone is hinted at
ORB_CONFIG_FINDING judge_unread(const std::string &key, const std::string &name,
                                const Json::Value &inFile, const std::vector<std::string> &known);
