#include "physloc/fc_names.h"

#include <streambuf>

#include "core/number_readers.h"

namespace {
constexpr std::size_t LINE_LIMIT_BYTES = 4096;

bool holds(std::string_view line, std::string_view part) {
    return line.find(part) != std::string_view::npos;
}

/// What follows the first ":" and one more character.
std::string value_of(std::string_view line) {
    return std::string(text_behind(line, line.find(':') + 2));
}
} // namespace

orbFcPairReader::STEP orbFcPairReader::read(std::string_view line) {
    const bool isTopology = lines == FC_LINES_TOPOLOGY;
    const bool isFirst = holds(line, isTopology ? "Address: " : "Adapter: ");
    if (atStart && !isFirst) return FOREIGN;
    atStart = false;

    if (complete) {
        firstHalf.clear();
        secondHalf.clear();
    }
    if (isFirst) firstHalf = value_of(line);
    if (!isTopology) {
        if (holds(line, "Node Name:")) secondHalf = value_of(line);
    } else if (holds(line, "VMkernel Name:") && holds(line, " v")) {
        secondHalf = line.substr(line.find(" v") + 1);
    }
    complete = !firstHalf.empty() && !secondHalf.empty();
    return complete ? PAIR : PART;
}

bool read_fc_line(std::istream &in, std::string &line) {
    line.clear();
    std::streambuf *const bytes = in.rdbuf();
    int next = bytes->sbumpc();
    if (next == std::char_traits<char>::eof()) return false;
    for (; next != std::char_traits<char>::eof() && next != '\n'; next = bytes->sbumpc())
        if (line.size() < LINE_LIMIT_BYTES) line += static_cast<char>(next);
    return true;
}
