#include "linuxhost/nic_access.h"

#include <linux/ethtool.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "support/linux_machine.h"

namespace {
std::vector<ORB_NIC> nicsOf(const TemporaryRoot &root) {
    std::vector<ORB_NIC> nics;
    EXPECT_EQ(read_nics(root.path(), nics), 0);
    return nics;
}

/// The one adapter of a machine.
ORB_NIC nicOf(const TemporaryRoot &root) {
    const auto nics = nicsOf(root);
    EXPECT_EQ(nics.size(), 1u);
    return nics.empty() ? ORB_NIC() : nics.front();
}

TEST(Nics, CarryWhatSysfsTells) {
    TemporaryRoot root;
    make_linux_machine(root);
    const auto nics = nicsOf(root);
    ASSERT_EQ(nics.size(), 2u);
    const ORB_NIC &nic = nics[0];
    EXPECT_EQ(nic.name, "ens0");
    EXPECT_EQ(nic.pciAddress, "0000:c3:00.0");
    EXPECT_EQ(nic.vendor, 0x8086);
    EXPECT_EQ(nic.device, 0x1521);
    EXPECT_EQ(nic.driver, "igb");
    EXPECT_TRUE(nic.adminUp);
    EXPECT_EQ(nic.link, ORB_LINK::UP);
    EXPECT_EQ(nic.speedMbps, 1000u);
    EXPECT_TRUE(nic.fullDuplex);
    EXPECT_EQ(nic.macAddress, "02:00:5e:10:20:30");
    EXPECT_EQ(nic.mtuBytes, 1500u);
    EXPECT_EQ(nics[1].name, "ens1");
    EXPECT_EQ(nics[1].link, ORB_LINK::DOWN);
    EXPECT_EQ(nics[1].speedMbps, 0u);
    EXPECT_FALSE(nics[1].fullDuplex);
}

struct StateCase {
    const char *name;
    LINUX_INTERFACE interface;
    bool adminUp;
    ORB_LINK link;
    std::uint32_t speedMbps;
    bool fullDuplex;
};
void PrintTo(const StateCase &row, std::ostream *os) {
    *os << row.name;
}
const StateCase STATE_CASES[] = {
    {"Up", {}, true, ORB_LINK::UP, 1000, true},
    {"HalfDuplex", {.duplex = "half"}, true, ORB_LINK::UP, 1000, false},
    {"SpeedUnknown", {.speed = "-1", .duplex = "unknown"}, true, ORB_LINK::UP, 0, false},
    {"SpeedUnknownUnsigned", {.speed = "4294967295"}, true, ORB_LINK::UP, 0, true},
    {"SpeedGarbled", {.speed = "fast"}, true, ORB_LINK::UP, 0, true},
    {"NoCarrierKeepsNoSpeed", {.carrier = "0"}, true, ORB_LINK::DOWN, 0, false},
    {"SwitchedOff", {.carrier = "", .flags = "0x1002"}, false, ORB_LINK::DOWN, 0, false},
    {"CarrierNotTold", {.carrier = ""}, true, ORB_LINK::UNKNOWN, 0, false},
    {"CarrierGarbled", {.carrier = "maybe"}, true, ORB_LINK::UNKNOWN, 0, false},
    {"FlagsGarbled", {.carrier = "", .flags = "up"}, false, ORB_LINK::DOWN, 0, false},
};
class NicState : public ::testing::TestWithParam<StateCase> {};
TEST_P(NicState, FollowsTheKernel) {
    TemporaryRoot root;
    add_network_interface(root, GetParam().interface);
    const ORB_NIC nic = nicOf(root);
    EXPECT_EQ(nic.adminUp, GetParam().adminUp);
    EXPECT_EQ(nic.link, GetParam().link);
    EXPECT_EQ(nic.speedMbps, GetParam().speedMbps);
    EXPECT_EQ(nic.fullDuplex, GetParam().fullDuplex);
}
INSTANTIATE_TEST_SUITE_P(Interfaces, NicState, ::testing::ValuesIn(STATE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

struct PlaceCase {
    const char *name, *device, *pciAddress;
};
void PrintTo(const PlaceCase &row, std::ostream *os) {
    *os << row.name;
}
const PlaceCase PLACE_CASES[] = {
    {"Pci", "pci0000:c0/0000:c0:01.0/0000:c3:00.0", "0000:c3:00.0"},
    {"LongSegment", "pci10000:c0/10000:c3:00.0", "10000:c3:00.0"},
    {"Virtio", "pci0000:00/0000:00:03.0/virtio2", "0000:00:03.0"},
    {"VirtioOnAnotherBus", "platform/a000000.virtio_mmio/virtio2", ""},
    {"Usb", "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0", ""},
    {"Hypervisor", "vif-0", ""},
};
class NicPlace : public ::testing::TestWithParam<PlaceCase> {};
TEST_P(NicPlace, IsThePciFunctionThatCarriesIt) {
    TemporaryRoot root;
    add_network_interface(root, {.device = GetParam().device});
    EXPECT_EQ(nicOf(root).pciAddress, GetParam().pciAddress);
}
INSTANTIATE_TEST_SUITE_P(Devices, NicPlace, ::testing::ValuesIn(PLACE_CASES),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(Nics, WhatIsNoAdapterIsLeftOut) {
    TemporaryRoot root;
    root.write("/sys/devices/virtual/net/br0/type", "1\n"); // made up by software alone
    root.makeDirectory("/sys/class/net");
    make_link(root, "/sys/class/net/br0", "../../devices/virtual/net/br0");
    root.write("/sys/class/net/bonding_masters", "bond0\n");
    make_link(root, "/sys/class/net/gone", "../../devices/gone/net/gone");
    add_network_interface(root, {.name = "wwan0", .type = "65534"});
    add_network_interface(root, {.name = "garbled", .type = "ethernet"});
    add_network_interface(root, {.name = "vf0", .device = "pci0000:c0/0000:c3:10.0"});
    make_link(root, "/sys/devices/pci0000:c0/0000:c3:10.0/physfn", "../0000:c3:00.0");
    EXPECT_TRUE(nicsOf(root).empty());
    add_network_interface(root, {.name = "ib0", .device = "pci0000:c0/0000:c4:00.0", .type = "32"});
    EXPECT_EQ(nicOf(root).name, "ib0");
}

TEST(Nics, ComeInTheNaturalOrderOfTheirNames) {
    TemporaryRoot root;
    for (const char *name : {"eth10", "eth9", "ens1", "eth1"})
        add_network_interface(root, {.name = name, .device = std::string("vif-") + name});
    std::string names;
    for (const ORB_NIC &nic : nicsOf(root)) names += nic.name + " ";
    EXPECT_EQ(names, "ens1 eth1 eth9 eth10 ");
}

TEST(Nics, ABondLeavesEachItsOwnAddress) {
    TemporaryRoot root;
    const std::string folder = add_network_interface(root, {});
    root.write(folder + "/bonding_slave/perm_hwaddr", "02:00:5e:10:20:99\n");
    EXPECT_EQ(nicOf(root).macAddress, "02:00:5e:10:20:99");
    EXPECT_EQ(nicOf(root).virtualAddress, "02:00:5e:10:20:30");
}

TEST(Nics, AUsbAdapterDescribesItself) {
    TemporaryRoot root;
    const std::string device = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-1";
    add_network_interface(root, {.device = "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0"});
    EXPECT_EQ(nicOf(root).description, "");
    root.write(device + "/product", "Virtual NIC\n");
    make_link(root, device + "/1-1:1.0/subsystem", "../../../../../../bus/usb");
    EXPECT_EQ(nicOf(root).description, "Virtual NIC");
    root.write(device + "/manufacturer", "Example Systems\n");
    EXPECT_EQ(nicOf(root).description, "Example Systems Virtual NIC");
}

TEST(Nics, AMachineWithoutInterfacesIsToldOf) {
    TemporaryRoot root;
    std::vector<ORB_NIC> nics;
    EXPECT_EQ(read_nics(root.path(), nics), ENOENT);
    root.makeDirectory("/sys/class/net");
    EXPECT_EQ(read_nics(root.path(), nics), 0);
    EXPECT_TRUE(nics.empty());
}

TEST(OneNic, IsFoundByItsNameOnly) {
    TemporaryRoot root;
    make_linux_machine(root);
    ORB_NIC nic;
    ASSERT_EQ(read_nic(root.path(), "ens1", nic), 0);
    EXPECT_EQ(nic.pciAddress, "0000:c3:00.1");
    for (const std::string &name :
         {std::string(), std::string("."), std::string(".."), std::string("../net/ens1"),
          std::string("ens2"), std::string("ens1/"), std::string(5000, 'e')})
        EXPECT_EQ(read_nic(root.path(), name, nic), ENODEV) << name;
}

/// A driver that answers each command as real ones do.
struct Driver {
    int words = 3;        ///< of each set of link modes; 0: no link settings
    bool tellsAll = true; ///< else nothing but the settings
    int settingsAsked = 0;
    ETHTOOL_CALL call = [this](void *command) { return answer(command); };

    int answer(void *command) {
        std::uint32_t number = 0;
        std::memcpy(&number, command, sizeof number);
        if (number == ETHTOOL_GLINKSETTINGS) return settings(command);
        if (!tellsAll) return EOPNOTSUPP;
        switch (number) {
        case ETHTOOL_GDRVINFO: {
            auto *info = static_cast<ethtool_drvinfo *>(command);
            std::strcpy(info->driver, "igb");
            std::strcpy(info->version, "6.1.0");
            std::memset(info->fw_version, 'f', sizeof info->fw_version); // no end
            std::strcpy(info->bus_info, "0000:c3:00.0");
            return 0;
        }
        case ETHTOOL_GMSGLVL:
            static_cast<ethtool_value *>(command)->data = 7;
            return 0;
        case ETHTOOL_GLINK:
            static_cast<ethtool_value *>(command)->data = 1;
            return 0;
        case ETHTOOL_GPAUSEPARAM: {
            auto *pause = static_cast<ethtool_pauseparam *>(command);
            pause->autoneg = pause->tx_pause = 1;
            return 0;
        }
        case ETHTOOL_GWOL: {
            auto *wake = static_cast<ethtool_wolinfo *>(command);
            wake->supported = WAKE_MAGIC | WAKE_PHY;
            wake->wolopts = WAKE_MAGIC;
            return 0;
        }
        default:
            return EOPNOTSUPP;
        }
    }
    int settings(void *command) {
        auto *bytes = static_cast<std::uint8_t *>(command);
        ethtool_link_settings fixed{};
        std::memcpy(&fixed, bytes, sizeof fixed);
        ++settingsAsked;
        if (words == 0) return EOPNOTSUPP;
        if (fixed.link_mode_masks_nwords != words) {
            fixed.link_mode_masks_nwords = static_cast<std::int8_t>(-words);
            std::memcpy(bytes, &fixed, sizeof fixed);
            return 0;
        }
        fixed.speed = 1000;
        fixed.port = PORT_FIBRE;
        fixed.autoneg = AUTONEG_ENABLE;
        std::memcpy(bytes, &fixed, sizeof fixed);
        bytes[sizeof fixed] = 1U << ETHTOOL_LINK_MODE_1000baseT_Full_BIT;
        return 0;
    }
};

TEST(EthtoolFacts, AreAskedOfTheDriver) {
    Driver driver;
    const ORB_ETHTOOL_FACTS facts = read_ethtool_facts(driver.call);
    EXPECT_EQ(driver.settingsAsked, 2) << "first for the length";
    EXPECT_EQ(facts.driver, "igb");
    EXPECT_EQ(facts.driverVersion, "6.1.0");
    EXPECT_EQ(facts.firmwareVersion, std::string(sizeof(ethtool_drvinfo::fw_version), 'f'));
    EXPECT_EQ(facts.busInfo, "0000:c3:00.0");
    EXPECT_TRUE(facts.settings.known);
    EXPECT_EQ(facts.settings.speedMbps, 1000u);
    EXPECT_EQ(facts.settings.port, PORT_FIBRE);
    EXPECT_TRUE(has_link_mode(facts.settings.supported, ETHTOOL_LINK_MODE_1000baseT_Full_BIT));
    EXPECT_EQ(facts.settings.supported.size(), 3u);
    EXPECT_EQ(facts.messageLevel, 7);
    EXPECT_EQ(facts.linkDetected, true);
    EXPECT_TRUE(facts.pauseAutonegotiate);
    EXPECT_FALSE(facts.pauseRx);
    EXPECT_TRUE(facts.pauseTx);
    EXPECT_EQ(facts.wakeSupported, std::uint32_t{WAKE_MAGIC | WAKE_PHY});
    EXPECT_EQ(facts.wakeActive, std::uint32_t{WAKE_MAGIC});
}

TEST(EthtoolFacts, CommandsThatADriverLacksCostTheirFactsOnly) {
    Driver driver;
    driver.tellsAll = false;
    ORB_ETHTOOL_FACTS facts = read_ethtool_facts(driver.call);
    EXPECT_TRUE(facts.settings.known);
    EXPECT_EQ(facts.driver, "");
    EXPECT_EQ(facts.messageLevel, -1);
    EXPECT_FALSE(facts.linkDetected.has_value());
    driver.tellsAll = true;
    driver.words = 0;
    facts = read_ethtool_facts(driver.call);
    EXPECT_FALSE(facts.settings.known);
    EXPECT_EQ(facts.driver, "igb");
}

TEST(EthtoolFacts, LengthsThatNoKernelTellsAreNoSettings) {
    for (const int words : {127, 128, -1}) {
        Driver driver;
        driver.words = words;
        EXPECT_EQ(read_ethtool_facts(driver.call).settings.known, words == 127) << words;
        EXPECT_LE(driver.settingsAsked, 2);
    }
}
} // namespace
