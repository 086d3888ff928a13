#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "core/orbUtils.h"
#include "physloc/geoid_text.h"
#include "physloc/pci_address.h"
#include "support/quiet_world.h"

namespace {
void require(bool holds) {
    if (!holds) std::abort();
}

bool is_digits(const std::string &text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}
} // namespace

/// Any text as a designation of either generation, as a GeoID and as a PCI address: what is found
/// stands in the text, and elements are digits, as many as the generation has.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    [[maybe_unused]] static QuietWorld world; // a designation without a GeoID is logged
    static const orbExpression first(geoid_split_expression(PLATFORM_GENERATION_FIRST));
    static const orbExpression second(geoid_split_expression(PLATFORM_GENERATION_SECOND));
    const std::string text(reinterpret_cast<const char *>(data), std::min<std::size_t>(size, 4096));

    const std::string found = orbUtils::getGeoIDFromDesignation(text);
    require(found.empty() || (found.size() == 12 && text.find(found) != std::string::npos));
    if (!found.empty()) require(split_geoid(first.expression(), found).elements.size() == 4);

    const std::string behind = geoid_behind_blank(text, std::string::npos);
    require(text.ends_with(behind));
    require(geoid_behind_blank(text, SECOND_GEOID_SIZE) == behind.substr(0, SECOND_GEOID_SIZE));

    for (const orbExpression *expression : {&first, &second}) {
        const GEOID_SPLIT split = split_geoid(expression->expression(), text);
        require(split.emptyGroup == 0);
        require(split.elements.size() == (split.code != 0 ? 0u : (expression == &first ? 4u : 3u)));
        for (const std::string &element : split.elements) require(is_digits(element));
    }
    require(!is_pci_address_text(text) || text.size() == 12);
    return 0;
}
