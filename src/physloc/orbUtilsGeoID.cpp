#include <utility>

#include "core/Logger.h"
#include "core/orbMutexLocker.h"
#include "core/orbUtils.h"
#include "physloc/geoid_text.h"
#include "physloc/platform_family.h"

namespace {
constexpr char NOT_AVAILABLE[] = "NotAvailable";
}

constinit regex_t orbUtils::geoIDSplitExp{};
std::string orbUtils::geoIDSplitExpression;
constinit std::atomic<bool> orbUtils::geoIDSplitRegexCompiled{false};
constinit std::mutex orbUtils::geoIDSplitMutex;

std::string orbUtils::getGeoIDStr(const std::string &address) {
    const auto found = geoIDMap.find(address);
    return found != geoIDMap.end() ? found->second : NOT_AVAILABLE;
}

std::string orbUtils::getGeoIDFromDesignation(const std::string &designation) {
    return findGeoID(designation, orbExpression(GEOID_IN_DESIGNATION));
}

std::string orbUtils::findGeoID(const std::string &designation, const orbExpression &geoID) {
    if (geoID.error() != 0) {
        ORB_LOG_WARNING(ORB_UTILS,
                        format_text("Error Compiling Regex, Return Value: %d, Error Info: %s",
                                    geoID.error(),
                                    expression_error(geoID.error(), geoID.expression()).c_str()));
        return {};
    }
    regmatch_t match{};
    const int code = ::regexec(&geoID.expression(), designation.c_str(), 1, &match, 0);
    if (code != 0) {
        ORB_LOG_DEBUG(ORB_UTILS, format_text("Error detecting GeoId : %s",
                                             expression_error(code, geoID.expression()).c_str()));
        return {};
    }
    std::string text = designation.substr(static_cast<std::size_t>(match.rm_so),
                                          static_cast<std::size_t>(match.rm_eo - match.rm_so));
    if (text.empty())
        ORB_LOG_WARNING(ORB_UTILS,
                        format_text("Issue in identifying GeoId from PCI Designation : : %s",
                                    designation.c_str()));
    return text;
}

std::vector<std::string> orbUtils::getGeoIDInfo(const std::string &address) {
    const std::string geoID = getGeoIDStr(address);
    if (geoID == NOT_AVAILABLE) {
        ORB_LOG_DEBUG(ORB_UTILS,
                      format_text("GeoID not available for PCI address [%s].", address.c_str()));
        return {};
    }
    if (!geoIDSplitRegexCompiled.load()) {
        const orbMutexLocker<std::mutex> lock(geoIDSplitMutex);
        if (!geoIDSplitRegexCompiled.load())
            geoIDSplitRegexCompiled = compileGeoIDSplitLocked(geoID);
    }
    if (!geoIDSplitRegexCompiled.load()) return {};

    GEOID_SPLIT split = split_geoid(geoIDSplitExp, geoID);
    if (split.code != 0)
        ORB_LOG_DEBUG(ORB_UTILS,
                      format_text("Error decoding GeoID [%s]: [%d] - [%s]", geoID.c_str(),
                                  split.code, expression_error(split.code, geoIDSplitExp).c_str()));
    if (split.emptyGroup != 0)
        ORB_LOG_WARNING(ORB_UTILS,
                        format_text("Failed to extract element # %zu from GeoID [%s]: "
                                    "Internal error (%d, %d)",
                                    split.emptyGroup, geoID.c_str(), split.start, split.end));
    return std::move(split.elements);
}

bool orbUtils::compileGeoIDSplitLocked(const std::string &geoID) {
    const char *const expression = geoid_split_expression(platform_generation(getPlatformFamily()));
    if (expression == nullptr) {
        ORB_LOG_WARNING(ORB_UTILS, format_text("Failed to decode GeoID [%s]: Unknown or "
                                               "unsupported platform type.",
                                               geoID.c_str()));
        return false;
    }
    geoIDSplitExpression = expression;
    const int code = ::regcomp(&geoIDSplitExp, geoIDSplitExpression.c_str(), REG_EXTENDED);
    if (code == 0) return true;
    ORB_LOG_WARNING(ORB_UTILS, format_text("Error compiling regex [%s]: [%d] - [%s]",
                                           geoIDSplitExpression.c_str(), code,
                                           expression_error(code, geoIDSplitExp).c_str()));
    return false; // nothing is kept, and the next caller tries again
}
