#include "core/host_texts.h"

#include <cctype>

#include "core/orbUtils.h"

namespace {
constexpr std::size_t STAMP_CHARACTERS = 19;
}

std::string decode_version_answer(std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos) return {};
    std::string value;
    for (const char character : text.substr(colon + 1))
        if (std::isspace(static_cast<unsigned char>(character)) == 0) value += character;
    return value;
}

std::vector<long> decode_stamp_lines(std::istream &in) {
    std::vector<long> times;
    std::string stamp;
    const auto endLine = [&times, &stamp] {
        if (stamp.size() == STAMP_CHARACTERS) times.push_back(orbUtils::toEpoc(stamp));
        stamp.clear();
    };
    // Character by character, so that a line of any length costs no more than its stamp.
    for (char character; in.get(character);) {
        if (character == '\n')
            endLine();
        else if (stamp.size() < STAMP_CHARACTERS)
            stamp += character;
    }
    endLine();
    return times;
}
