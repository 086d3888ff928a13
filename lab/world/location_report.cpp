#include "world/location_report.h"

#include "core/format_text.h"
#include "core/json_text.h"

std::string location_report(const PHYSICAL_LOCATION &location, bool asJson) {
    const bool isFirst = location.generation == 1;
    if (!asJson) {
        const auto row = [](const char *label, const std::string &value) {
            return format_text("%-11s ", label) + value + "\n";
        };
        return row("Generation", isFirst ? "first" : "second") +
               row("Unit", location_kind(location)) + row("Place", location_place(location)) +
               row("GeoID", location_geo_id(location));
    }
    Json::Value root;
    root["generation"] = location.generation;
    root["type"] = location.type;
    root["unitKind"] = location_kind(location);
    root["place"] = location_place(location);
    root["geoId"] = location_geo_id(location);
    root["rack"] = location.rack;
    root[isFirst ? "unit" : "ioElement"] = location.unit;
    if (isFirst) root["partition"] = location.partition;
    root["slot"] = location.slot;
    root["extra"] = location.extra;
    return compact_json(root) + "\n";
}
