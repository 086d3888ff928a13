#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

#include "memory_info.h"

/// What one batch sample tells. Figures that the machine doesn't tell have no column.
struct ORB_ESXTOP_SAMPLE {
    std::string hostName;
    std::tm utc{};
    ORB_MEMORY_INFO memory;
    std::optional<double> cpuLoad;        ///< 1 minute average; 1.00 is all processors busy
    std::optional<double> cpuBusyPercent; ///< of all processors, since the machine's start
};

/// Shares of processor time in the text of /proc/stat, and how many processors it counts.
struct ORB_PROCESSOR_TIMES {
    unsigned processors = 0;
    std::optional<double> busyPercent;
};
ORB_PROCESSOR_TIMES parse_processor_times(std::string_view text);

/// The first average of /proc/loadavg.
std::optional<double> parse_load_average(std::string_view text);

/// Two lines, names and values. Every field is in quotes, and every line ends in a comma and a
/// newline: a reader that takes pieces up to each comma then sees the second line begin with a
/// newline.
std::string format_esxtop_sample(const ORB_ESXTOP_SAMPLE &sample);
