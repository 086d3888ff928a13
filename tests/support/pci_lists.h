#pragma once

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using TEXT_FIELDS = std::map<std::string, std::string>;

/// Blocks of "label: value" lines with an empty line between them; a line without a value behind
/// its colon is the block's address. @param separator  what stands between label and value
inline std::vector<TEXT_FIELDS> field_blocks(const std::string &text,
                                             const std::string &separator) {
    std::vector<TEXT_FIELDS> all(1);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) {
            all.emplace_back();
            continue;
        }
        line.erase(0, line.find_first_not_of(' '));
        const std::size_t at = line.find(separator);
        if (at != std::string::npos)
            all.back()[line.substr(0, at)] = line.substr(at + separator.size());
    }
    all.erase(
        std::remove_if(all.begin(), all.end(), [](const TEXT_FIELDS &f) { return f.empty(); }),
        all.end());
    return all;
}

/// "Name [1af4]" into name and "0x1af4".
inline std::pair<std::string, std::string> name_and_number(const std::string &text) {
    const std::size_t bracket = text.rfind(" [");
    if (bracket == std::string::npos) return {text, ""};
    return {text.substr(0, bracket), "0x" + text.substr(bracket + 2, text.size() - bracket - 3)};
}

/// Expects that the PCI list of the host command tells the same functions as lspci on that machine.
/// @param reference  of "lspci -vmm -nn -D -k"  @return how many there are
inline std::size_t expect_same_functions(const std::string &list, const std::string &reference) {
    const auto expected = field_blocks(reference, ":\t"), found = field_blocks(list, ": ");
    EXPECT_EQ(found.size(), expected.size());
    if (found.size() != expected.size()) return 0;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const TEXT_FIELDS &theirs = expected[i];
        TEXT_FIELDS ours = found[i];
        const auto at = [&](const char *label) {
            const auto value = theirs.find(label);
            return value == theirs.end() ? std::string() : value->second;
        };
        SCOPED_TRACE(at("Slot"));
        EXPECT_EQ(ours["Address"], at("Slot"));
        const auto [vendor, vendorId] = name_and_number(at("Vendor"));
        const auto [device, deviceId] = name_and_number(at("Device"));
        const auto [classText, classId] = name_and_number(at("Class"));
        EXPECT_EQ(ours["Vendor ID"], vendorId);
        EXPECT_EQ(ours["Device ID"], deviceId);
        EXPECT_EQ(ours["Device Class"], classId);
        // Where pci.ids has no name, each adds the number in its own way.
        const auto same = [](const std::string &mine, const std::string &name,
                             const std::string &number) {
            return mine == name || mine == name + " " + number.substr(2) ||
                   mine == name + " [" + number.substr(2) + "]";
        };
        EXPECT_PRED3(same, ours["Vendor Name"], vendor, vendorId);
        EXPECT_PRED3(same, ours["Device Name"], device, deviceId);
        EXPECT_PRED3(same, ours["Device Class Name"], classText, classId);
        if (!at("SVendor").empty()) {
            EXPECT_EQ(ours["SubVendor ID"], name_and_number(at("SVendor")).second);
            EXPECT_EQ(ours["SubDevice ID"], name_and_number(at("SDevice")).second);
        }
        EXPECT_EQ(ours["Revision ID"], at("Rev").empty() ? "0x00" : "0x" + at("Rev"));
        EXPECT_EQ(ours["Programming Interface"],
                  at("ProgIf").empty() ? "0x00" : "0x" + at("ProgIf"));
        EXPECT_EQ(ours["Module Name"], at("Driver").empty() ? "None" : at("Driver"));
        const std::string slot = at("PhySlot");
        if (slot.find_first_not_of("0123456789") == std::string::npos) {
            EXPECT_EQ(ours["Physical Slot"], slot.empty() ? "4294967295" : slot);
        }
    }
    return found.size();
}
