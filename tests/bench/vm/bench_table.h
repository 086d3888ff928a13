#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

/// One way to send the messages, and how fast it was in each round.
struct BENCH_TOOL {
    std::string name;
    std::vector<double> messagesPerSecond;
};

/// The rate between the first and the last of `messages`, in messages per second; 0 where it can't
/// be told.
double bench_rate(std::size_t messages, std::chrono::nanoseconds firstToLast);

/// The middle one, or the mean of the two in the middle; 0 of none.
double bench_median(std::vector<double> values);

/// A line for each tool with its rounds and their median, then the ratio of the first tool's median
/// to the faster of the others, and a warning where a tool's own rounds differ much.
std::string bench_table(const std::vector<BENCH_TOOL> &tools);
