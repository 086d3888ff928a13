#pragma once

#include <regex.h>

#include <cstddef>
#include <string>
#include <vector>

#include "physloc/platform_family.h"

/// GeoIDs as text. Pure: no log, no lock; any thread.

/// How long a GeoID of the second generation is.
constexpr std::size_t SECOND_GEOID_SIZE = 10;

/// A POSIX extended expression. Not to be copied: it owns what the compilation allocated.
class orbExpression {
public:
    explicit orbExpression(const char *text) : code(::regcomp(&compiled, text, REG_EXTENDED)) {}
    ~orbExpression() {
        if (code == 0) ::regfree(&compiled);
    }
    orbExpression(const orbExpression &) = delete;
    orbExpression &operator=(const orbExpression &) = delete;

    int error() const { return code; } ///< 0 where it compiled, else the code of regcomp(3)
    const regex_t &expression() const { return compiled; }

private:
    regex_t compiled{};
    int code;
};

/// What regerror(3) says about a code.
std::string expression_error(int code, const regex_t &expression);

/// Finds a GeoID of the first generation that stands in a designation as a word.
extern const char GEOID_IN_DESIGNATION[];

/// What splits a generation's GeoID; null where its form isn't known.
const char *geoid_split_expression(PLATFORM_GENERATION generation);

/// A designation of the second generation from behind its first blank, or whole without a blank.
/// @param longest  characters at most
std::string geoid_behind_blank(const std::string &designation, std::size_t longest);

struct GEOID_SPLIT {
    int code = 0;                      ///< of regexec(3): 0 for a match
    std::vector<std::string> elements; ///< of a match, in order; empty where one has no text
    std::size_t emptyGroup = 0;        ///< the group without text, from 1; 0 for none
    int start = 0, end = 0;            ///< where it lies
};

/// Splits a GeoID into at most four elements, by the groups of an expression that compiled.
GEOID_SPLIT split_geoid(const regex_t &expression, const std::string &geoID);
