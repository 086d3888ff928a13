#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "physloc/fc_names.h"

namespace {
void require(bool holds) {
    if (!holds) std::abort();
}
} // namespace

/// Any bytes as what the two commands print: no line makes more than one pair, a pair has two
/// halves of bounded size that stand in the text, and only the first line can be foreign.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    const auto newlines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    for (const FC_LINES which : {FC_LINES_TOPOLOGY, FC_LINES_NODES}) {
        std::istringstream in(text);
        orbFcPairReader reader(which);
        std::size_t lines = 0;
        for (std::string line; read_fc_line(in, line);) {
            require(line.size() <= 4096 && line.find('\n') == std::string::npos);
            const orbFcPairReader::STEP step = reader.read(line);
            require(step != orbFcPairReader::FOREIGN || lines == 0);
            ++lines;
            if (step == orbFcPairReader::FOREIGN) break;
            if (step != orbFcPairReader::PAIR) continue;
            require(!reader.first().empty() && !reader.second().empty());
            require(text.find(reader.first()) != std::string::npos);
            require(text.find(reader.second()) != std::string::npos);
        }
        require(lines <= newlines + 1);
    }
    return 0;
}
