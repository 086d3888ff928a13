#pragma once

#include <cstdint>
#include <istream>

/// The host's memory by esxtop, in MBytes; 0 where the output doesn't tell.
struct ORB_ESXTOP_MEMORY {
    std::int64_t totalMBytes = 0;
    std::int64_t freeMBytes = 0;
};

/// Reads the batch output of esxtop: pieces ended by commas, a line of heads, then lines of values.
/// The heads tell which piece of a line counts; the last of several heads or lines of values
/// stands. A line is known by the newline in front of its first piece, so heads whose line doesn't
/// end in a comma hide the values behind them. Pure, of bounded memory: a piece is cut at 4096
/// bytes.
ORB_ESXTOP_MEMORY read_esxtop_memory(std::istream &in);
