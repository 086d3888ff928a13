#include "linuxhost/fc_report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "physloc/fc_names.h"

namespace {
void require(bool holds) {
    if (!holds) std::abort();
}

/// Takes a text up to the next "|" off the input.
std::string take(std::string_view &rest) {
    const std::size_t end = std::min(rest.find('|'), rest.size());
    const std::string text(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return text;
}

bool is_world_wide_name(std::string_view name) {
    if (name.size() != 23) return false;
    for (std::size_t at = 0; at < name.size(); ++at)
        if (at % 3 == 2 ? name[at] != ':'
                        : std::string_view("0123456789abcdef").find(name[at]) == name.npos)
            return false;
    return true;
}
} // namespace

/// Any texts as what a port's attributes hold: what is printed of two ports keeps its form, and the
/// daemon's reader finds the adapter's name for each of their node names, and nothing else.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    ORB_FC_PORT port;
    port.adapter = "vmhba3";
    port.nodeName = take(rest);
    port.portName = take(rest);
    port.portId = take(rest);
    port.speed = take(rest);
    port.portType = take(rest);
    port.portState = take(rest);
    port.modelDescription = take(rest);
    port.hardwareVersion = port.optionRomVersion = take(rest);
    port.firmwareVersion = port.driverVersion = take(rest);
    port.driver = take(rest);
    ORB_FC_PORT other = port;
    other.adapter = "vmhba4";
    other.nodeName = "0x200002005e0000a2";
    const std::string text = format_fc_list({port, other});
    require(std::count(text.begin(), text.end(), '\n') == 28 && text.ends_with('\n'));

    std::istringstream in(text);
    orbFcPairReader reader(FC_LINES_NODES);
    std::string pairs;
    std::size_t kept = 0;
    for (std::string line; std::getline(in, line);) {
        if (line.find("Adapter: ") == line.npos && line.find("Node Name:") == line.npos) continue;
        ++kept;
        if (reader.read(line) != orbFcPairReader::PAIR) continue;
        require(is_world_wide_name(reader.second()));
        pairs += reader.first() + (reader.second() == "20:00:02:00:5e:00:00:a2" ? "=2 " : "=1 ");
    }
    require(kept == 4);
    require(pairs == "vmhba4=2 " || pairs == "vmhba3=1 vmhba4=2 " || pairs == "vmhba3=2 vmhba4=2 ");
    return 0;
}
