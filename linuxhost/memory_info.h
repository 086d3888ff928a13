#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Memory of the machine in MiB; machine is the sum of the other three.
struct ORB_MEMORY_INFO {
    std::uint64_t machineMiB = 0;
    std::uint64_t kernelMiB = 0; ///< what the kernel holds for itself and can't give back
    std::uint64_t nonKernelMiB = 0;
    std::uint64_t freeMiB = 0; ///< can be had without swapping, cache included
    bool overcommitKnown = false;
    double overcommit = 0.0; ///< promised memory beyond the machine's, as a share of it
};

/// Reads the text of /proc/meminfo. Nothing where it doesn't tell the total, or neither what is
/// available nor what is free. Figures that contradict the total are cut to it. Pure.
std::optional<ORB_MEMORY_INFO> parse_memory_info(std::string_view text);
