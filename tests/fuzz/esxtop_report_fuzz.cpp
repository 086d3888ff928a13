#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "linuxhost/esxtop_report.h"

/// Any bytes as /proc/meminfo, /proc/stat, /proc/loadavg and the host's name. The parts of the
/// memory sum up, and the sample stays two lines with as many names as values.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    ORB_ESXTOP_SAMPLE sample;
    sample.hostName = text;
    if (const auto memory = parse_memory_info(text)) {
        if (memory->kernelMiB + memory->nonKernelMiB + memory->freeMiB != memory->machineMiB)
            std::abort();
        if (!(memory->overcommit >= 0)) std::abort();
        sample.memory = *memory;
    }
    const ORB_PROCESSOR_TIMES times = parse_processor_times(text);
    if (times.busyPercent && !(*times.busyPercent >= 0 && *times.busyPercent <= 100.001))
        std::abort();
    sample.cpuBusyPercent = times.busyPercent;
    sample.cpuLoad = parse_load_average(text);

    const std::string printed = format_esxtop_sample(sample);
    if (std::count(printed.begin(), printed.end(), '\n') != 2 || !printed.ends_with(",\n"))
        std::abort();
    const std::size_t names = printed.find('\n');
    const auto commas = [](std::string_view line) {
        return std::count(line.begin(), line.end(), ',');
    };
    const std::string_view whole = printed;
    if (commas(whole.substr(0, names)) != commas(whole.substr(names))) std::abort();
    return 0;
}
