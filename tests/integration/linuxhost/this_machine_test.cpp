#include <dirent.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "integration/linuxhost/run_program.h"
#include "support/pci_lists.h"

namespace {
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
    EXPECT_EQ(expect_same_functions(result.text, reference.text), functions_in_sysfs());
}

TEST(ThisMachine, PciListAgreesWithSysfs) {
    const auto found = field_blocks(run_line("localcli hardware pci list").text, ": ");
    ASSERT_EQ(found.size(), functions_in_sysfs());
    for (TEXT_FIELDS ours : found) {
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

/// The rows of the list of adapters, in words.
std::vector<std::vector<std::string>> nic_rows() {
    const PROGRAM_RESULT list = run_line("localcli network nic list");
    EXPECT_EQ(list.status, 0);
    std::istringstream lines(list.text);
    std::vector<std::vector<std::string>> rows;
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream in(line);
        std::vector<std::string> words;
        for (std::string word; in >> word;) words.push_back(word);
        if (++number > 2) rows.push_back(words);
    }
    EXPECT_GE(number, 2);
    return rows;
}

TEST(ThisMachine, NicListAgreesWithSysfs) {
    std::size_t adapters = 0;
    for (const auto &words : nic_rows()) {
        ASSERT_GE(words.size(), 10u);
        const std::string folder = "/sys/class/net/" + words[0] + "/";
        SCOPED_TRACE(folder);
        EXPECT_EQ(words[3] == "Up",
                  (std::stoul(first_line(folder + "flags"), nullptr, 16) & 1) != 0);
        EXPECT_EQ(words[4] == "Up", first_line(folder + "carrier") == "1");
        const std::string speed = first_line(folder + "speed");
        EXPECT_EQ(words[5], speed.empty() || speed[0] == '-' || words[4] != "Up" ? "0" : speed);
        EXPECT_EQ(words[7], first_line(folder + "address"));
        EXPECT_EQ(words[8], first_line(folder + "mtu"));
        if (words[1] != "Pseudo") {
            EXPECT_NE(first_line("/sys/bus/pci/devices/" + words[1] + "/vendor"), "");
        }
        ++adapters;
    }
    const std::string counted =
        run_line("for i in /sys/class/net/*/device; do "
                 "[ -e $i ] && [ ! -e $i/physfn ] && case $(cat ${i%device}type) in "
                 "1|32) echo x;; esac; done | wc -l")
            .text;
    EXPECT_EQ(adapters, std::stoul(counted));
}

TEST(ThisMachine, EachAdapterTellsItsDetails) {
    for (const auto &words : nic_rows()) {
        ASSERT_GE(words.size(), 10u);
        SCOPED_TRACE(words[0]);
        const PROGRAM_RESULT details = run_line("localcli network nic get -n " + words[0]);
        EXPECT_EQ(details.status, 0);
        EXPECT_EQ(std::count(details.text.begin(), details.text.end(), '\n'), 24);
        for (const char *search : {"Firmware Version", "Cable "})
            EXPECT_EQ(
                run_line("localcli network nic get -n " + words[0] + " | grep -c '" + search + "'")
                    .text,
                "1\n");
        EXPECT_NE(
            details.text.find("   Link Status: " + words[4] + " \n   Name: " + words[0] + "\n"),
            std::string::npos);
        EXPECT_NE(details.text.find("         Driver: "), std::string::npos);
        if (words[1] != "Pseudo") {
            std::string address = words[1];
            address[address.rfind('.')] = ':';
            EXPECT_NE(details.text.find("Bus Info: " + address + "\n"), std::string::npos);
        }
    }
}

TEST(ThisMachine, FibreChannelPortsAgreeWithSysfs) {
    const PROGRAM_RESULT list = run_line("localcli storage san fc list");
    EXPECT_EQ(list.status, 0);
    const std::string nodes = run_line("localcli storage san fc list | grep 'Node Name: .' | "
                                       "cut -c15- | tr -d : | sort")
                                  .text;
    const std::string counted =
        run_line("for i in /sys/class/fc_host/host*; do [ -e $i ] && case $(readlink $i) in "
                 "*/vport-*) ;; *) printf '%016x\\n' $(cat $i/node_name);; esac; done | "
                 "grep -v -e '^0*$' -e '^f*$' | sort")
            .text;
    EXPECT_EQ(nodes, counted);
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
