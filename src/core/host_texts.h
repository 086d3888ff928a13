#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

/// The value of a line such as "   Product: VMware ESXi": everything behind the first ":" with all
/// white space taken out, inside too ("VMwareESXi"). "" where there is no ":". Pure; any thread.
std::string decode_version_answer(std::string_view text);

/// The times of a log's stamps, one a line ("2016-01-12T08:04:09Z"), read as local time, in the
/// order of the lines. What follows a stamp's 19 characters is ignored, shorter lines are skipped.
/// @return seconds since the epoch; empty where no line holds a stamp
std::vector<long> decode_stamp_lines(std::istream &in);
