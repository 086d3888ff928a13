#include "tools/tablegen/pci_vendors.h"

namespace {
constexpr std::size_t ID_DIGITS = 4;

constexpr char HEAD[] = R"(// Made by tablegen from the vendors of pci.ids.
#pragma once

#include <string_view>

struct PCI_VENDORS_ROW {
    std::string_view id; // four lower-case hexadecimal digits
    std::string_view name;
};

// By rising id, none twice.
inline constexpr PCI_VENDORS_ROW PCI_VENDORS[] = {
)";

/// Splits "8086  Intel Corporation". @return why it is no vendor's line; empty where it is one
std::string split_vendor(std::string_view line, std::string_view &id, std::string_view &name) {
    id = line.substr(0, line.find(' '));
    if (!is_hexadecimal(id, ID_DIGITS)) return "a vendor's id is not four lower-case digits";
    name = line.substr(id.size());
    if (!name.starts_with("  ") || name.size() < 3 || name[2] == ' ')
        return "a vendor's name does not stand two blanks behind its id";
    name.remove_prefix(2);
    if (!is_plain_text(name)) return "a vendor's name is no plain UTF-8 text";
    if (name.back() == ' ') return "a vendor's name ends in a blank";
    return {};
}
} // namespace

TABLE_FAULT make_pci_vendors(std::string_view text, std::string &header) {
    std::string rows;
    std::string_view last; // the id before
    TableLines lines(text);
    for (std::string_view line; lines.next(line);) {
        if (line.empty() || line.front() == '#') continue;
        if (line.starts_with("C ")) break; // the classes follow the vendors
        if (line.front() == '\t') {
            if (last.empty()) return {lines.number(), "a device stands before the first vendor"};
            continue;
        }
        std::string_view id;
        std::string_view name;
        if (std::string why = split_vendor(line, id, name); !why.empty())
            return {lines.number(), std::move(why)};
        if (id == last) return {lines.number(), "the vendor " + std::string(id) + " comes twice"};
        if (id < last)
            return {lines.number(), "the vendor " + std::string(id) + " comes behind " +
                                        std::string(last) + ", out of order"};
        last = id;
        if (id != "0000" && id != "ffff")
            rows += "    {" + string_literal(id) + ", " + string_literal(name) + "},\n";
    }
    if (rows.empty()) return {0, "no vendors"};
    header = HEAD + rows + "};\n";
    return {};
}
