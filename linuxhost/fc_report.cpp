#include "fc_report.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string_view>
#include <system_error>

#include "plain_text.h"

namespace {
constexpr std::uint32_t HIGHEST_PORT_ID = 0xFFFFFF;

/// A number as the kernel writes it: "0x10600".
std::optional<std::uint64_t> number_of(std::string_view text) {
    if (!text.starts_with("0x")) return std::nullopt;
    std::uint64_t number = 0;
    const char *const end = text.data() + text.size();
    const auto read = std::from_chars(text.data() + 2, end, number, 16);
    if (read.ec != std::errc() || read.ptr != end) return std::nullopt;
    return number;
}

/// A world wide name in pairs of digits. All zeros and all ones stand for a name not set.
std::string world_wide_name(std::string_view text) {
    const std::uint64_t name = number_of(text).value_or(0);
    if (name == 0 || name == UINT64_MAX) return {};
    std::string pairs;
    for (int shift = 56; shift >= 0; shift -= 8) {
        std::array<char, 4> pair{};
        std::snprintf(pair.data(), pair.size(), "%02x",
                      static_cast<unsigned>(name >> shift & 0xFF));
        if (!pairs.empty()) pairs += ':';
        pairs += pair.data();
    }
    return pairs;
}

/// The address in the fabric, 000000 for none.
std::string port_id(std::string_view text) {
    const std::uint64_t id = number_of(text).value_or(0);
    std::array<char, 8> digits{};
    std::snprintf(digits.data(), digits.size(), "%06x",
                  id > HIGHEST_PORT_ID ? 0 : static_cast<unsigned>(id));
    return digits.data();
}

/// "16 Gbps" for "16 Gbit", 0 where no speed is told. The kernel lists several bits of a mask with
/// commas; the first counts.
std::string speed(std::string_view text) {
    unsigned long long gigabits = 0;
    const std::size_t unit = std::min(text.find_first_not_of("0123456789"), text.size());
    const bool isTold = leading_number(text, gigabits) && text.substr(unit).starts_with(" Gbit");
    return std::to_string(isTold ? gigabits : 0) + " Gbps";
}

/// A value of one line. Marks by which the daemon finds adapters and nodes lose their colons.
std::string value_of(std::string_view text) {
    std::string value = one_line(text);
    for (const std::string_view mark : {"Adapter: ", "Node Name:"})
        for (std::size_t at; (at = value.find(mark)) != std::string::npos;)
            value.erase(at + mark.find(':'), 1);
    return value;
}

/// "NPort" for "NPort (fabric via point-to-point)".
std::string port_type(std::string_view text) {
    std::string type = value_of(text.substr(0, text.find(" (")));
    return type.empty() ? "Unknown" : type;
}

/// The host's words for the kernel's are the same in capitals, but for one.
std::string port_state(std::string_view text) {
    if (text == "Linkdown") return "LINK DOWN";
    std::string state = value_of(text);
    for (char &letter : state)
        if (letter >= 'a' && letter <= 'z') letter = static_cast<char>(letter - 'a' + 'A');
    return state.empty() ? "UNKNOWN" : state;
}

void add_block(std::string &text, const ORB_FC_PORT &port) {
    const auto add = [&](std::string_view label, std::string_view value) {
        text.append("   ").append(label).append(": ").append(value).append("\n");
    };
    text += "FcDevice:\n";
    add("Adapter", value_of(port.adapter));
    add("Port ID", port_id(port.portId));
    add("Node Name", world_wide_name(port.nodeName));
    add("Port Name", world_wide_name(port.portName));
    add("Speed", speed(port.speed));
    add("Port Type", port_type(port.portType));
    add("Port State", port_state(port.portState));
    add("Model Description", value_of(port.modelDescription));
    add("Hardware Version", value_of(port.hardwareVersion));
    add("OptionROM Version", value_of(port.optionRomVersion));
    add("Firmware Version", value_of(port.firmwareVersion));
    add("Driver Name", value_of(port.driver));
    add("DriverVersion", value_of(port.driverVersion));
}
} // namespace

std::string format_fc_list(const std::vector<ORB_FC_PORT> &ports) {
    std::string text;
    for (const ORB_FC_PORT &port : ports) add_block(text, port);
    return text;
}
