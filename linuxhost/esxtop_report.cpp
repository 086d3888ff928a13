#include "esxtop_report.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "plain_text.h"

namespace {
constexpr std::size_t IDLE = 3, IO_WAIT = 4, TIMES_COUNTED = 8; // user to steal; guests are in user

std::string two_decimals(double value) {
    std::array<char, 400> buffer{}; // the longest double has 309 digits before the point
    std::snprintf(buffer.data(), buffer.size(), "%.2f", value);
    return buffer.data();
}

/// A host name as part of a column's name: what would end the field or the name becomes "_".
std::string column_host(std::string_view name) {
    std::string host = one_line(name);
    for (char &letter : host)
        if (std::string_view("\\\",() ").find(letter) != std::string_view::npos) letter = '_';
    return host.empty() ? "localhost" : host;
}

/// Busy share of the counters behind "cpu ".
std::optional<double> busy_percent(std::string_view line) {
    double total = 0, idle = 0;
    std::size_t index = 0;
    for (; index < TIMES_COUNTED; ++index) {
        const std::size_t blanks = line.find_first_not_of(' ');
        if (blanks == std::string_view::npos) break;
        line.remove_prefix(blanks);
        std::uint64_t ticks = 0;
        const auto read = std::from_chars(line.data(), line.data() + line.size(), ticks);
        if (read.ec != std::errc()) break;
        line.remove_prefix(static_cast<std::size_t>(read.ptr - line.data()));
        total += static_cast<double>(ticks);
        if (index == IDLE || index == IO_WAIT) idle += static_cast<double>(ticks);
    }
    if (index <= IDLE || total <= 0) return std::nullopt;
    return (total - idle) * 100.0 / total;
}
} // namespace

ORB_PROCESSOR_TIMES parse_processor_times(std::string_view text) {
    ORB_PROCESSOR_TIMES times;
    while (text.starts_with("cpu")) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.starts_with("cpu "))
            times.busyPercent = busy_percent(line.substr(4));
        else if (line.size() > 3 && line[3] >= '0' && line[3] <= '9')
            ++times.processors;
    }
    return times;
}

std::optional<double> parse_load_average(std::string_view text) {
    double load = 0;
    const auto read =
        std::from_chars(text.data(), text.data() + text.size(), load, std::chars_format::fixed);
    if (read.ec != std::errc() || !std::isfinite(load) || load < 0) return std::nullopt;
    return load;
}

std::string format_esxtop_sample(const ORB_ESXTOP_SAMPLE &sample) {
    std::array<char, 80> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%02d/%02d/%04d %02d:%02d:%02d",
                  sample.utc.tm_mon + 1, sample.utc.tm_mday, sample.utc.tm_year + 1900,
                  sample.utc.tm_hour, sample.utc.tm_min, sample.utc.tm_sec);

    std::string heads = "\"(PDH-CSV 4.0) (UTC)(0)\",";
    std::string values = "\"";
    values.append(stamp.data()).append("\",");
    std::string host = "\"\\\\";
    host.append(column_host(sample.hostName)).append("\\");
    const auto add = [&](std::string_view name, const std::string &value) {
        heads.append(host).append(name).append("\",");
        values.append("\"").append(value).append("\",");
    };
    if (sample.memory.overcommitKnown)
        add("Memory\\Memory Overcommit (1 Minute Avg)", two_decimals(sample.memory.overcommit));
    if (sample.cpuLoad)
        add("Physical Cpu Load\\Cpu Load (1 Minute Avg)", two_decimals(*sample.cpuLoad));
    if (sample.cpuBusyPercent)
        add("Physical Cpu(_Total)\\% Processor Time", two_decimals(*sample.cpuBusyPercent));
    add("Memory\\Machine MBytes", std::to_string(sample.memory.machineMiB));
    add("Memory\\Kernel MBytes", std::to_string(sample.memory.kernelMiB));
    add("Memory\\NonKernel MBytes", std::to_string(sample.memory.nonKernelMiB));
    add("Memory\\Free MBytes", std::to_string(sample.memory.freeMiB));
    return heads + "\n" + values + "\n";
}
