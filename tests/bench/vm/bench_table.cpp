#include "bench/vm/bench_table.h"

#include <algorithm>

#include "core/format_text.h"

namespace {
// Beyond this the rounds of one tool differ for reasons of their own.
constexpr double QUIET_SPREAD = 2;

bool is_quiet(const BENCH_TOOL &tool) {
    const auto [least, most] =
        std::minmax_element(tool.messagesPerSecond.begin(), tool.messagesPerSecond.end());
    return tool.messagesPerSecond.empty() || *most <= *least * QUIET_SPREAD;
}
} // namespace

double bench_rate(std::size_t messages, std::chrono::nanoseconds firstToLast) {
    if (messages < 2 || firstToLast.count() <= 0) return 0;
    return static_cast<double>(messages - 1) / std::chrono::duration<double>(firstToLast).count();
}

double bench_median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

std::string bench_table(const std::vector<BENCH_TOOL> &tools) {
    std::string table = format_text("  %-18s", "messages/s");
    const std::size_t rounds = tools.empty() ? 0 : tools.front().messagesPerSecond.size();
    for (std::size_t round = 1; round <= rounds; ++round)
        table += format_text("  round %zu", round);
    table += "   median\n";
    const BENCH_TOOL *fastest = nullptr;
    for (const BENCH_TOOL &tool : tools) {
        table += format_text("  %-18s", tool.name.c_str());
        for (const double rate : tool.messagesPerSecond) table += format_text(" %8.1f", rate);
        const double median = bench_median(tool.messagesPerSecond);
        table += format_text(" %8.1f\n", median);
        if (&tool == &tools.front()) continue;
        if (fastest == nullptr || median > bench_median(fastest->messagesPerSecond))
            fastest = &tool;
    }
    if (fastest == nullptr) return table;
    const double reference = bench_median(fastest->messagesPerSecond);
    if (reference > 0)
        table += format_text("  ratio to the faster reference, %s: %.2f\n", fastest->name.c_str(),
                             bench_median(tools.front().messagesPerSecond) / reference);
    if (!std::all_of(tools.begin(), tools.end(), is_quiet))
        table += "  The rounds differ by more than twice: this host was busy, measure again.\n";
    return table;
}
