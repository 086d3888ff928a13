#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "integration/linuxhost/run_program.h"

namespace {
using Fields = std::map<std::string, std::string>;

/// Blocks of "label: value" lines with an empty line between them; a line without a value behind
/// its colon is the block's address. @param separator  what stands between label and value
std::vector<Fields> blocks(const std::string &text, const std::string &separator) {
    std::vector<Fields> all(1);
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
    all.erase(std::remove_if(all.begin(), all.end(), [](const Fields &f) { return f.empty(); }),
              all.end());
    return all;
}

/// "Name [1af4]" into name and "0x1af4".
std::pair<std::string, std::string> name_and_number(const std::string &text) {
    const std::size_t bracket = text.rfind(" [");
    if (bracket == std::string::npos) return {text, ""};
    return {text.substr(0, bracket), "0x" + text.substr(bracket + 2, text.size() - bracket - 3)};
}

std::string first_line(const std::string &path) {
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

/// How many functions the kernel shows. A machine without PCI has none, and then the list fails.
std::size_t functions_in_sysfs() {
    std::size_t count = 0;
    if (DIR *folder = ::opendir("/sys/bus/pci/devices")) {
        while (const dirent *entry = ::readdir(folder))
            if (entry->d_name[0] != '.') ++count;
        ::closedir(folder);
    }
    return count;
}

TEST(ThisMachine, PciListAgreesWithLspci) {
    const PROGRAM_RESULT reference = run_line("lspci -vmm -nn -D -k 2>/dev/null");
    const PROGRAM_RESULT result = run_line("localcli hardware pci list");
    const auto expected = blocks(reference.text, ":\t"), found = blocks(result.text, ": ");
    ASSERT_EQ(found.size(), expected.size());
    ASSERT_EQ(found.size(), functions_in_sysfs());
    for (std::size_t i = 0; i < found.size(); ++i) {
        const Fields &theirs = expected[i];
        Fields ours = found[i];
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
        if (at("PhySlot").empty()) {
            EXPECT_EQ(ours["Physical Slot"], "4294967295");
        }
    }
}

TEST(ThisMachine, PciListAgreesWithSysfs) {
    const auto found = blocks(run_line("localcli hardware pci list").text, ": ");
    ASSERT_EQ(found.size(), functions_in_sysfs());
    for (Fields ours : found) {
        const std::string folder = "/sys/bus/pci/devices/" + ours["Address"] + "/";
        SCOPED_TRACE(folder);
        EXPECT_EQ(ours["Vendor ID"], first_line(folder + "vendor"));
        EXPECT_EQ(ours["Device ID"], first_line(folder + "device"));
        EXPECT_EQ(ours["SubVendor ID"], first_line(folder + "subsystem_vendor"));
        EXPECT_EQ(ours["SubDevice ID"], first_line(folder + "subsystem_device"));
        EXPECT_EQ(ours["Device Class"] + ours["Programming Interface"].substr(2),
                  first_line(folder + "class"));
        EXPECT_EQ(ours["Revision ID"], first_line(folder + "revision"));
        EXPECT_EQ(ours["IRQ"], first_line(folder + "irq"));
        if (!ours["VMkernel Name"].empty() && ours["Device Class"] == "0x0200") {
            EXPECT_NE(first_line("/sys/class/net/" + ours["VMkernel Name"] + "/address"), "");
        }
    }
}

TEST(ThisMachine, VersionAndMemoryAreTold) {
    for (const char *search : {"Product", "Version:"}) {
        const PROGRAM_RESULT found =
            run_line(std::string("localcli system version get | grep -i ") + search);
        EXPECT_EQ(std::count(found.text.begin(), found.text.end(), '\n'), 1) << search;
    }
    const PROGRAM_RESULT sample = run_line("esxtop -c /dev/null -b -n 1");
    EXPECT_EQ(sample.status, 0);
    std::istringstream line(first_line("/proc/meminfo"));
    std::string label;
    unsigned long long kilobytes = 0;
    line >> label >> kilobytes;
    ASSERT_GT(kilobytes, 0u);
    EXPECT_NE(sample.text.find(",\"" + std::to_string(kilobytes / 1024) + "\","),
              std::string::npos);
}
} // namespace
