#include "nic_report.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "plain_text.h"

namespace {
constexpr std::string_view PSEUDO = "Pseudo", NO_MAC = "00:00:00:00:00:00";
constexpr std::size_t COLUMNS = 10;
using ROW = std::array<std::string, COLUMNS>;
constexpr std::array<std::string_view, COLUMNS> HEAD = {
    "Name",  "PCI Device", "Driver",      "Admin Status", "Link Status",
    "Speed", "Duplex",     "MAC Address", "MTU",          "Description"};
constexpr std::array<bool, COLUMNS> FLUSH_RIGHT = {false, false, false, false, false,
                                                   true,  false, false, true,  false};

/// A cell that stays one word whatever a driver calls itself. @param otherwise  for an empty one
std::string one_word(std::string_view text, std::string_view otherwise) {
    std::string word = one_line(text);
    std::replace(word.begin(), word.end(), ' ', '_');
    return word.empty() ? std::string(otherwise) : word;
}

std::string_view link_word(ORB_LINK link) {
    return link == ORB_LINK::UP ? "Up" : link == ORB_LINK::DOWN ? "Down" : "Unknown";
}

std::string_view duplex_word(bool full) {
    return full ? "Full" : "Half";
}

/// Characters of a text that is UTF-8, as one_line() leaves it.
std::size_t width(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    }));
}

ROW row_of(const ORB_NIC &nic) {
    const std::string driver = one_word(nic.driver, "None");
    std::string description = one_line(nic.description);
    if (description.empty()) description = driver + " network adapter";
    return {one_word(nic.name, "None"),
            one_word(nic.pciAddress, PSEUDO),
            driver,
            nic.adminUp ? "Up" : "Down",
            std::string(link_word(nic.link)),
            std::to_string(nic.speedMbps),
            std::string(duplex_word(nic.fullDuplex)),
            one_word(nic.macAddress, NO_MAC),
            std::to_string(nic.mtuBytes),
            description};
}

/// A value of the details; empty where it would pass for another line's label.
std::string value_of(std::string_view text) {
    std::string value = one_line(text);
    for (const std::string_view mark : {"Firmware Version", "Cable "})
        if (value.find(mark) != std::string::npos) return {};
    // A line's end may complete the mark.
    return value.ends_with("Cable") ? std::string() : value;
}

std::string_view truth(bool value) {
    return value ? "true" : "false";
}

/// "0000:c3:00:0" for "0000:c3:00.0".
std::string bus_info(const ORB_NIC &nic, const ORB_ETHTOOL_FACTS &facts) {
    if (nic.pciAddress.empty()) {
        std::string told = value_of(facts.busInfo);
        return told.empty() ? std::string(PSEUDO) : told;
    }
    std::string address = nic.pciAddress;
    std::replace(address.begin(), address.end(), '.', ':');
    return address;
}

std::string joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words) text.append(text.empty() ? "" : ", ").append(word);
    return text;
}

/// The advertised modes; where there is none, the one that was set by hand.
std::string advertised_modes(const ORB_NIC &nic, const ORB_LINK_SETTINGS &settings) {
    std::vector<std::string> modes = link_mode_names(settings.advertised);
    if (modes.empty() && settings.speedMbps != 0)
        modes.push_back(std::to_string(settings.speedMbps) + "None/" +
                        std::string(duplex_word(nic.fullDuplex)));
    if (has_link_mode(settings.advertised, LINK_MODE_AUTONEG)) modes.insert(modes.begin(), "Auto");
    return joined(modes);
}

/// Takes a run of digits off a text. @return it without leading zeros
std::string_view take_digits(std::string_view &text) {
    const std::size_t end = std::min(text.find_first_not_of("0123456789"), text.size());
    std::string_view digits = text.substr(0, end);
    text.remove_prefix(end);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

bool begins_with_digit(std::string_view text) {
    return !text.empty() && text.front() >= '0' && text.front() <= '9';
}
} // namespace

std::string format_nic_list(const std::vector<ORB_NIC> &nics) {
    std::array<std::size_t, COLUMNS> widths{};
    for (std::size_t i = 0; i < COLUMNS; ++i) widths[i] = HEAD[i].size();
    std::vector<ROW> rows;
    rows.reserve(nics.size());
    for (const ORB_NIC &nic : nics) rows.push_back(row_of(nic));
    for (const ROW &row : rows)
        for (std::size_t i = 0; i < COLUMNS; ++i) widths[i] = std::max(widths[i], width(row[i]));

    std::string text;
    const auto add_cell = [&](std::size_t column, std::string_view cell) {
        const std::string blanks(widths[column] - width(cell), ' ');
        if (column != 0) text += "  ";
        if (FLUSH_RIGHT[column]) text += blanks;
        text += cell;
        if (column + 1 == COLUMNS)
            text += '\n';
        else if (!FLUSH_RIGHT[column])
            text += blanks;
    };
    for (std::size_t i = 0; i < COLUMNS; ++i) add_cell(i, HEAD[i]);
    for (std::size_t i = 0; i < COLUMNS; ++i) add_cell(i, std::string(widths[i], '-'));
    for (const ROW &row : rows)
        for (std::size_t i = 0; i < COLUMNS; ++i) add_cell(i, row[i]);
    return text;
}

std::string format_nic_details(const ORB_NIC &nic, const ORB_ETHTOOL_FACTS &facts) {
    const ORB_LINK_SETTINGS &settings = facts.settings;
    const auto supports = [&](unsigned mode) { return has_link_mode(settings.supported, mode); };
    std::string text;
    const auto add = [&](std::string_view label, std::string_view value) {
        text.append("   ").append(label).append(": ").append(value).append("\n");
    };
    const auto add_driver = [&](std::string_view label, std::string_view value) {
        text += "      ";
        add(label, value);
    };
    const std::string driver = value_of(facts.driver.empty() ? nic.driver : facts.driver);
    add("Advertised Auto Negotiation",
        truth(has_link_mode(settings.advertised, LINK_MODE_AUTONEG)));
    add("Advertised Link Modes", advertised_modes(nic, settings));
    add("Auto Negotiation", truth(settings.autoNegotiation));
    add("Cable Type", cable_type(settings));
    add("Current Message Level", std::to_string(facts.messageLevel));
    add("Driver Info", "");
    add_driver("Bus Info", bus_info(nic, facts));
    add_driver("Driver", driver.empty() ? "None" : driver);
    add_driver("Firmware Version", value_of(facts.firmwareVersion));
    add_driver("Version", value_of(facts.driverVersion));
    add("Link Detected", truth(facts.linkDetected.value_or(nic.link == ORB_LINK::UP)));
    add("Link Status", std::string(link_word(nic.link)) + " ");
    add("Name", value_of(nic.name));
    add("PHYAddress", std::to_string(settings.phyAddress));
    add("Pause Autonegotiate", truth(facts.pauseAutonegotiate));
    add("Pause RX", truth(facts.pauseRx));
    add("Pause TX", truth(facts.pauseTx));
    add("Supported Ports", joined(supported_ports(settings.supported)));
    add("Supports Auto Negotiation", truth(supports(LINK_MODE_AUTONEG)));
    add("Supports Pause", truth(supports(LINK_MODE_PAUSE)));
    add("Supports Wakeon", truth(facts.wakeSupported != 0));
    add("Transceiver", transceiver_word(settings));
    add("Virtual Address", one_word(nic.virtualAddress, NO_MAC));
    add("Wakeon", joined(wake_words(facts.wakeActive)));
    return text;
}

bool natural_less(std::string_view left, std::string_view right) {
    const std::string_view wholeLeft = left, wholeRight = right;
    while (!left.empty() && !right.empty()) {
        if (begins_with_digit(left) && begins_with_digit(right)) {
            const std::string_view one = take_digits(left), other = take_digits(right);
            if (one.size() != other.size()) return one.size() < other.size();
            if (one != other) return one < other;
        } else {
            if (left.front() != right.front()) return left.front() < right.front();
            left.remove_prefix(1);
            right.remove_prefix(1);
        }
    }
    if (left.empty() != right.empty()) return left.empty();
    return wholeLeft < wholeRight; // such as "eth01" and "eth1"
}
