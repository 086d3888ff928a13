#include "network/nic_details.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <limits>

#include "core/number_readers.h"
#include "core/status_words.h"

namespace {
bool is_letter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
bool same_word(std::string_view text, std::string_view word) {
    return text.size() == word.size() && ::strncasecmp(text.data(), word.data(), word.size()) == 0;
}

struct LINK_WORDS {
    ORB_RESOURCE_STATE state;
    ORB_RESOURCE_HEALTH health;
};
LINK_WORDS words_for(int linkResult) {
    switch (linkResult) {
    case NIC_LINK_UP:
        return {ORB_STATE_RUNNING, ORB_HEALTH_OK};
    case NIC_LINK_UNKNOWN:
        return {ORB_STATE_FAILED, ORB_HEALTH_CRITICAL};
    case NIC_LINK_DOWN:
        return {ORB_STATE_DOWN, ORB_HEALTH_UNKNOWN};
    default:
        return {ORB_STATE_OTHER, ORB_HEALTH_UNKNOWN};
    }
}
} // namespace

bool is_interface_name(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return is_letter(c) || is_digit(c) || c == '.' || c == '_' || c == ':' || c == '-';
    });
}

bool read_labelled_value(std::string_view text, std::string &value) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return false;
    value = text_behind(text, colon + 2);
    return true;
}

bool read_firmware_version(std::string_view lines, std::string &version) {
    std::string value;
    if (!read_labelled_value(lines, value)) return false;
    version = value.substr(0, value.find('\n'));
    return true;
}

NIC_LINK_RESULT judge_link(std::string_view cableType, std::string_view linkWord) {
    if (same_word(linkWord, "down")) return NIC_LINK_DOWN;
    if (same_word(linkWord, "unknown")) return NIC_LINK_UNKNOWN;
    if (cableType.find_first_not_of(" \n") != std::string_view::npos) return NIC_LINK_UP;
    return same_word(linkWord, "up") ? NIC_LINK_UP : NIC_LINK_NOT_TOLD;
}

const char *nic_state_word(int linkResult) {
    return state_text(words_for(linkResult).state);
}

const char *nic_health_word(int linkResult) {
    return health_text(words_for(linkResult).health);
}

bool take_sub_id(std::string_view line, ORB_NIC_SUB_IDS &ids) {
    std::string *id = nullptr;
    if (line.find("SubVendor ID") != std::string_view::npos)
        id = &ids.subVendor;
    else if (line.find("SubDevice ID") != std::string_view::npos)
        id = &ids.subDevice;
    if (id == nullptr) return false;
    const std::size_t colon = line.find(':');
    *id = colon == std::string_view::npos ? std::string_view() : line.substr(colon + 1);
    return true;
}

bool read_sub_id(const std::string &text, std::uint32_t &value) {
    char *end = nullptr;
    const unsigned long number = std::strtoul(text.c_str(), &end, 16);
    if (end == text.c_str()) return false;
    value = static_cast<std::uint32_t>(number);
    return true;
}

bool read_speed(const std::string &text, std::int32_t &mbps) {
    mbps = 0;
    char *end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE) return false;
    if (number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::int32_t>::max())
        return false;
    mbps = static_cast<std::int32_t>(std::max(number, 0L));
    return true;
}
