#pragma once

#include <string>

#include "vendor/location_code.h"

/// What `orblab --decode-location` prints: rows for a person, or one JSON object on a line. Pure.
std::string location_report(const PHYSICAL_LOCATION &location, bool asJson);
