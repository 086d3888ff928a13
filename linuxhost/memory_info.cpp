#include "memory_info.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace {
/// The kilobytes behind a label at the start of a line; the first such line counts.
std::optional<std::uint64_t> kilobytes(std::string_view text, std::string_view label) {
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (!line.starts_with(label) || line.substr(label.size(), 1) != ":") continue;

        line.remove_prefix(label.size() + 1);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        std::uint64_t number = 0;
        const auto read = std::from_chars(line.data(), line.data() + line.size(), number);
        if (read.ec != std::errc()) return std::nullopt;
        return number;
    }
    return std::nullopt;
}

/// a + b, at most the type's limit.
std::uint64_t saturating_sum(std::uint64_t a, std::uint64_t b) {
    return a > std::numeric_limits<std::uint64_t>::max() - b
               ? std::numeric_limits<std::uint64_t>::max()
               : a + b;
}
} // namespace

std::optional<ORB_MEMORY_INFO> parse_memory_info(std::string_view text) {
    const auto total = kilobytes(text, "MemTotal");
    auto free = kilobytes(text, "MemAvailable"); // since Linux 3.14
    if (!free) free = kilobytes(text, "MemFree");
    if (!total || *total == 0 || !free) return std::nullopt;

    std::uint64_t kernel = 0;
    for (const std::string_view label : {"SUnreclaim", "KernelStack", "PageTables", "Percpu"})
        kernel = saturating_sum(kernel, kilobytes(text, label).value_or(0));

    ORB_MEMORY_INFO memory;
    memory.machineMiB = *total / 1024;
    memory.freeMiB = std::min(*free, *total) / 1024;
    memory.kernelMiB = std::min(kernel / 1024, memory.machineMiB - memory.freeMiB);
    memory.nonKernelMiB = memory.machineMiB - memory.freeMiB - memory.kernelMiB;
    if (const auto committed = kilobytes(text, "Committed_AS")) {
        memory.overcommitKnown = true;
        if (*committed > *total)
            memory.overcommit =
                static_cast<double>(*committed - *total) / static_cast<double>(*total);
    }
    return memory;
}
