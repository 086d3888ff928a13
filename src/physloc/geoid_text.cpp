#include "physloc/geoid_text.h"

#include <array>

const char GEOID_IN_DESIGNATION[] = "\\b(r[0-9]{3}u[0-9]{2}p[0-9]i[0-9]{2})\\b";

std::string expression_error(int code, const regex_t &expression) {
    char text[256] = "";
    (void)::regerror(code, &expression, text, sizeof text); // a longer text is cut
    return text;
}

const char *geoid_split_expression(PLATFORM_GENERATION generation) {
    switch (generation) {
    case PLATFORM_GENERATION_FIRST:
        return "^r([0-9]{3})u([0-9]{2})p([0-9])i([0-9]{2})$";
    case PLATFORM_GENERATION_SECOND:
        return "^r([0-9]{3})i([0-9]{2})s([0-9]{2})$";
    case PLATFORM_GENERATION_UNKNOWN:
        break;
    }
    return nullptr;
}

std::string geoid_behind_blank(const std::string &designation, std::size_t longest) {
    const std::size_t blank = designation.find(' ');
    return designation.substr(blank == std::string::npos ? 0 : blank + 1, longest);
}

GEOID_SPLIT split_geoid(const regex_t &expression, const std::string &geoID) {
    GEOID_SPLIT split;
    std::array<regmatch_t, 5> matches{};
    split.code = ::regexec(&expression, geoID.c_str(), matches.size(), matches.data(), 0);
    if (split.code != 0) return split;
    for (std::size_t group = 1; group < matches.size(); ++group) {
        const auto [start, end] = matches[group];
        if (start < 0) break; // the second generation has three elements
        if (start == end) {
            split.elements.clear();
            split.emptyGroup = group;
            split.start = static_cast<int>(start);
            split.end = static_cast<int>(end);
            break;
        }
        split.elements.push_back(
            geoID.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
    }
    return split;
}
