#include "linuxhost/nic_report.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

namespace {
/// Takes a text up to the next "|" off the input.
std::string take(std::string_view &rest) {
    const std::size_t end = std::min(rest.find('|'), rest.size());
    const std::string text(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    return text;
}

/// The daemon reads words from the third line on and takes the whole list for broken when a line
/// has fewer than ten.
void check_list(const std::string &text) {
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream in(line);
        int words = 0;
        std::string link;
        for (std::string word; in >> word;)
            if (++words == 5) link = word;
        if (++number <= 2) continue;
        if (words < 10) std::abort();
        if (link != "Up" && link != "Down" && link != "Unknown") std::abort();
    }
    if (number != 4 || !text.ends_with('\n')) std::abort();
}

int lines_with(const std::string &text, std::string_view mark) {
    std::istringstream lines(text);
    int found = 0;
    for (std::string line; std::getline(lines, line);)
        found += line.find(mark) != std::string::npos;
    return found;
}
} // namespace

/// Any texts as what drivers say of their adapters, and any bytes as the kernel's link settings:
/// what is printed of them keeps the form that its readers rely on.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::string_view rest(reinterpret_cast<const char *>(data), size);
    ORB_ETHTOOL_FACTS facts;
    const bool decoded = decode_link_settings({data, size}, facts.settings);
    if (decoded != facts.settings.known) std::abort();
    if (facts.settings.supported.size() > 127) std::abort();

    ORB_NIC nic;
    nic.name = take(rest);
    nic.driver = facts.driver = take(rest);
    nic.macAddress = nic.virtualAddress = take(rest);
    facts.firmwareVersion = take(rest);
    facts.driverVersion = take(rest);
    facts.busInfo = take(rest);
    nic.description = take(rest);
    nic.link = static_cast<ORB_LINK>(size % 3);
    nic.speedMbps = static_cast<std::uint32_t>(size * 1000);
    facts.wakeActive = static_cast<std::uint32_t>(size);
    check_list(format_nic_list({nic, nic}));
    const std::string details = format_nic_details(nic, facts);
    if (lines_with(details, "Firmware Version") != 1 || lines_with(details, "Cable ") != 1)
        std::abort();
    if (std::count(details.begin(), details.end(), '\n') != 24) std::abort();
    if (natural_less(nic.name, nic.driver) && natural_less(nic.driver, nic.name)) std::abort();
    return 0;
}
