#include <sstream>
#include <string>
#include <vector>

#include "VmTest.h"
#include "support/pci_lists.h"

namespace {
constexpr const char *LOCALCLI = "/opt/vantor/orb/libexec/localcli ";

std::vector<std::string> words_of(const std::string &line) {
    std::istringstream in(line);
    std::vector<std::string> words;
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}
} // namespace

class HostCommandsTest : public VmTest {
protected:
    std::string localcli(const std::string &arguments) {
        return VmWorld::get().machine(usualShape()).ask(LOCALCLI + arguments);
    }
    /// The words on the machine's one adapter.
    std::vector<std::string> adapterRow() {
        const std::string list = localcli("network nic list");
        std::istringstream lines(list);
        std::vector<std::string> rows;
        for (std::string line; std::getline(lines, line);) rows.push_back(line);
        EXPECT_EQ(rows.size(), 3u) << list;
        return words_of(rows.empty() ? std::string() : rows.back());
    }
};

TEST_F(HostCommandsTest, NicListIsTrueToTheAdapter) {
    VmMachine &machine = usual();
    machine.awaitLink(true);
    const std::vector<std::string> words = adapterRow();
    ASSERT_GE(words.size(), 10u);
    EXPECT_EQ(words[0], "eth0");
    EXPECT_EQ(words[1], machine.ask("basename $(readlink -f /sys/class/net/eth0/device)"));
    EXPECT_EQ(words[2], "e1000");
    EXPECT_EQ(words[3], "Up");
    EXPECT_EQ(words[4], "Up");
    EXPECT_EQ(words[5], "1000");
    EXPECT_EQ(words[6], "Full");
    EXPECT_EQ(words[7], "52:54:00:00:02:11");
    EXPECT_EQ(words[8], "1500");
    EXPECT_EQ(words[9], "Intel");
}

TEST_F(HostCommandsTest, NicGetTellsWhatTheDriverTells) {
    VmMachine &machine = usual();
    machine.awaitLink(true);
    const auto blocks = field_blocks(localcli("network nic get -n eth0"), ": ");
    ASSERT_EQ(blocks.size(), 1u);
    TEXT_FIELDS fields = blocks.front();
    EXPECT_EQ(fields["Name"], "eth0");
    EXPECT_EQ(fields["Driver"], "e1000");
    EXPECT_EQ(fields["Cable Type"], "Twisted Pair");
    EXPECT_EQ(fields["Supported Ports"], "TP");
    EXPECT_EQ(fields["Link Detected"], "true");
    EXPECT_EQ(fields["Link Status"], "Up ");
    EXPECT_EQ(fields["Auto Negotiation"], "true");
    EXPECT_EQ(fields["Advertised Link Modes"],
              "Auto, 1000BaseT/Full, 100BaseT/Half, 100BaseT/Full, 10BaseT/Half, 10BaseT/Full");
    EXPECT_EQ(fields["Transceiver"], "internal");
    EXPECT_EQ(fields["Current Message Level"], "7");
    EXPECT_EQ(fields["Virtual Address"], "52:54:00:00:02:11");
    EXPECT_EQ(fields.count("Firmware Version"), 1u);
    std::string address = machine.ask("basename $(readlink -f /sys/class/net/eth0/device)");
    address[address.rfind('.')] = ':';
    EXPECT_EQ(fields["Bus Info"], address);
}

TEST_F(HostCommandsTest, ALinkThatGoesAndComesShows) {
    VmMachine &machine = usual();
    machine.awaitLink(true);
    machine.setLink(false);
    std::vector<std::string> words = adapterRow();
    const std::string details = localcli("network nic get -n eth0");
    machine.setLink(true);
    ASSERT_GE(words.size(), 10u);
    EXPECT_EQ(words[3], "Up") << "it is switched on all the same";
    EXPECT_EQ(words[4], "Down");
    EXPECT_EQ(words[5], "0");
    EXPECT_EQ(words[6], "Half");
    EXPECT_NE(details.find("   Link Status: Down \n"), std::string::npos) << details;
    EXPECT_NE(details.find("   Link Detected: false\n"), std::string::npos);
    EXPECT_EQ(adapterRow()[4], "Up");
}

TEST_F(HostCommandsTest, WhatIsNoDeviceIsNoAdapter) {
    VmMachine &machine = usual();
    EXPECT_EQ(machine.ask("cat /sys/class/net/lo/address"), "00:00:00:00:00:00");
    EXPECT_EQ(adapterRow()[0], "eth0") << "and no other row";
    const VM_OUTPUT output = machine.run(std::string(LOCALCLI) + "network nic get -n lo 2>&1");
    EXPECT_EQ(output.status, 1);
    EXPECT_EQ(output.text, "localcli: lo: No such device\n");
}

TEST_F(HostCommandsTest, PciListAgreesWithLspci) {
    VmMachine &machine = take(VmWorld::get().machine(slottedShape()));
    machine.ask("modprobe virtio_scsi");
    ASSERT_TRUE(machine.waitFor("ls -d /sys/class/scsi_host/host*", VmMachine::SECONDS(30)));
    const std::string list = machine.ask(std::string(LOCALCLI) + "hardware pci list");
    const std::size_t functions =
        expect_same_functions(list, machine.ask("/usr/local/bin/lspci -vmm -nn -D -k"));
    EXPECT_EQ(std::to_string(functions), machine.ask("ls /sys/bus/pci/devices | wc -l"));

    int bridges = 0, slots = 0, adapters = 0;
    for (TEXT_FIELDS fields : field_blocks(list, ": ")) {
        SCOPED_TRACE(fields["Address"]);
        bridges += fields["Device Class"] == "0x0604" && fields["Spawned Bus"] != "0x00";
        if (fields["Physical Slot"] == "5") {
            ++slots;
            EXPECT_EQ(fields["Parent Device"], "PCI 0:0:28:0");
            EXPECT_EQ(fields["Module Name"], "virtio-pci");
            EXPECT_EQ(fields["VMkernel Name"].substr(0, 5), "vmhba");
        }
        if (fields["Device Class"] == "0x0200") {
            ++adapters;
            EXPECT_EQ(fields["VMkernel Name"], "eth0");
        }
    }
    EXPECT_EQ(bridges, 1);
    EXPECT_EQ(slots, 1) << list;
    EXPECT_EQ(adapters, 1);
}
