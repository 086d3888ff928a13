#include "world/nic_facts.h"

#include <algorithm>
#include <span>

#include "core/format_text.h"

namespace {
constexpr const char *LINK_WORDS[] = {"Up", "Down", "Unknown"};
constexpr const char *LIST_MODES[] = {"works", "fails", "empty",  "headless", "cut",  "short",
                                      "blank", "old",   "binary", "huge",     "hangs"};
constexpr const char *ENCODERS[] = {"works", "refuses", "missing", "incomplete"};
constexpr std::size_t HUGE_TEXT = 1'000'000;

template <std::size_t N> bool is_one_of(const std::string &text, const char *const (&words)[N]) {
    return std::find(std::begin(words), std::end(words), text) != std::end(words);
}

using ROW = std::vector<std::string>;

struct COLUMN {
    const char *head;
    bool flushRight;
};
constexpr COLUMN NEW_COLUMNS[] = {
    {"Name", false},        {"PCI Device", false}, {"Driver", false}, {"Admin Status", false},
    {"Link Status", false}, {"Speed", true},       {"Duplex", false}, {"MAC Address", false},
    {"MTU", true},          {"Description", false}};
constexpr COLUMN OLD_COLUMNS[] = {
    {"Name", false},        {"PCI Device", false}, {"Driver", false},
    {"Link", false},        {"Speed", true},       {"Duplex", false},
    {"MAC Address", false}, {"MTU", true},         {"Description", false}};

/// An address as an old host tells it: its bus has three decimal digits.
std::string old_address(const std::string &address) {
    std::uint16_t segment = 0;
    std::uint8_t bus = 0, deviceFunction = 0;
    if (!read_pci_address(address, segment, bus, deviceFunction)) return address;
    return format_text("%04x:%03u:%02x.%x", unsigned{segment}, unsigned{bus}, deviceFunction >> 3u,
                       deviceFunction & 7u);
}

ROW row_of(const SCENARIO_NIC &nic, bool isOld) {
    const bool isUp = nic.link == "Up";
    ROW row{nic.name, isOld ? old_address(nic.address) : nic.address, nic.driver};
    if (!isOld) row.emplace_back(nic.adminUp ? "Up" : "Down");
    row.insert(row.end(),
               {nic.link, std::to_string(isUp ? nic.speedMbps : 0), isUp ? "Full" : "Half", nic.mac,
                std::to_string(nic.mtu), nic.description});
    return row;
}

/// The formatter of the real command: columns as wide as their widest cell, two blanks between.
std::string table_text(std::span<const COLUMN> columns, const std::vector<ROW> &rows) {
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns.size(); ++i) {
        widths.push_back(std::string(columns[i].head).size());
        for (const ROW &row : rows) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    const auto add = [&](const auto &cell) {
        std::string line;
        for (std::size_t i = 0; i < columns.size(); ++i) {
            const std::string value = cell(i);
            const std::string pad(widths[i] - value.size(), ' ');
            if (i != 0) line += "  ";
            line += columns[i].flushRight ? pad + value : value + pad;
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    };
    add([&](std::size_t i) { return std::string(columns[i].head); });
    add([&](std::size_t i) { return std::string(widths[i], '-'); });
    for (const ROW &row : rows) add([&](std::size_t i) { return row[i]; });
    return text;
}
} // namespace

bool is_link_word(const std::string &text) {
    return is_one_of(text, LINK_WORDS);
}

bool is_nic_list_mode(const std::string &text) {
    return is_one_of(text, LIST_MODES);
}

bool is_encoder_mode(const std::string &text) {
    return is_one_of(text, ENCODERS);
}

COMMAND_ANSWER nic_list_answer(const std::vector<SCENARIO_NIC> &nics, const std::string &mode) {
    const bool isOld = mode == "old";
    std::vector<ROW> rows;
    for (const SCENARIO_NIC &each : nics)
        if (each.present) rows.push_back(row_of(each, isOld));
    if (!rows.empty() && mode == "short") rows.back()[2] = rows.back().back() = "";
    if (!rows.empty() && mode == "binary")
        rows.back() = ROW(rows.back().size(), std::string("\x01\x80\xFF\x1B[2J"));
    if (!rows.empty() && mode == "huge") rows.back().back() = std::string(HUGE_TEXT, 'x');

    COMMAND_ANSWER answer;
    if (mode == "fails") {
        answer.status = 1;
        return answer;
    }
    if (mode == "empty") return answer;
    if (mode == "headless") {
        answer.output = "Errors: \nUnable to reach the network service.\n";
        return answer;
    }
    if (isOld) {
        answer.output = table_text(OLD_COLUMNS, rows);
    } else {
        answer.output = table_text(NEW_COLUMNS, rows);
    }
    if (mode == "cut") // within the last row's first cells
        answer.output.resize(answer.output.rfind('\n', answer.output.size() - 2) + 1 + 20);
    if (mode == "blank") answer.output += '\n';
    if (mode == "hangs") answer.delaySeconds = NIC_LIST_DELAY_SECONDS;
    return answer;
}

std::string nic_details_text(const SCENARIO_NIC &nic, const std::string &mode) {
    const bool isUp = nic.link == "Up", isCopper = nic.cable == "Twisted Pair";
    const std::string copper = isCopper ? "true" : "false";
    const auto line = [](const char *label, const std::string &value, int indent = 3) {
        return std::string(static_cast<std::size_t>(indent), ' ') + label + ": " + value + "\n";
    };
    std::string bus = mode == "old" ? old_address(nic.address) : nic.address;
    // Newer hosts tell a colon in front of the function.
    if (const std::size_t dot = bus.rfind('.'); dot != std::string::npos && mode != "old")
        bus[dot] = ':';
    return line("Advertised Auto Negotiation", copper) +
           line("Advertised Link Modes",
                format_text(isCopper ? "Auto, %dBaseT/Full" : "%dNone/Full", nic.speedMbps)) +
           line("Auto Negotiation", copper) + line("Cable Type", nic.cable) +
           line("Current Message Level", isCopper ? "-1" : "0") + line("Driver Info", "") +
           line("Bus Info", bus, 9) + line("Driver", nic.driver, 9) +
           line("Firmware Version", nic.firmware, 9) + line("Version", nic.driverVersion, 9) +
           line("Link Detected", isUp ? "true" : "false") + line("Link Status", nic.link + " ") +
           line("Name", nic.name) + line("PHYAddress", "0") + line("Pause Autonegotiate", copper) +
           line("Pause RX", "false") + line("Pause TX", "false") +
           line("Supported Ports", isCopper ? "TP" : "FIBRE") +
           line("Supports Auto Negotiation", copper) + line("Supports Pause", "true") +
           line("Supports Wakeon", copper) + line("Transceiver", isCopper ? "internal" : "") +
           line("Virtual Address", nic.mac) + line("Wakeon", isCopper ? "MagicPacket(tm)" : "None");
}
