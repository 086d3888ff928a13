#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/ScriptedHostDevices.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "network/NICPhysicalAdapter.h"

namespace {
constexpr char TAG[] = "NIC_CTRL";
constexpr char PRODUCT_LINE[] = "lspci -D -vv -s 0000:c3:00.0 | grep \"Product Name\"";
constexpr char SERIAL_LINE[] = "lspci -D -vv -s 0000:c3:00.0 | grep \"Serial number\"";

class NicProbes : public ::testing::Test {
protected:
    std::string cableLine() const {
        return "grep \"Cable \" " + shell_path("/opt/vantor/orb/data/orb_nicAddDetails.txt");
    }
    std::uint32_t speed(const std::string &file) {
        root.write("/sys/class/net/eth0/speed", file);
        return NICPhysicalAdapter::getSpeedMbps("eth0");
    }

    TemporaryRoot root;
    LogFile log{root};
    VirtualClock clock;
    ScriptedCommands commands;
};

TEST_F(NicProbes, SpeedByTheKernel) {
    EXPECT_EQ(speed("25000\n"), 25000u);
    EXPECT_EQ(speed("0\n"), 0u);
    EXPECT_EQ(speed("-1\n"), 0u) << "no link";
    EXPECT_EQ(speed("4294967295\n"), 0u);
    EXPECT_EQ(speed("65535\n"), 0u);
    EXPECT_EQ(speed("131071\n"), 0u) << "the low 16 bits";
    EXPECT_EQ(speed("word\n"), 0u);
    EXPECT_EQ(NICPhysicalAdapter::getSpeedMbps("eth1"), 0u);
    EXPECT_EQ(NICPhysicalAdapter::getSpeedMbps("../net/eth0"), 0u) << "no interface's name";
    EXPECT_EQ(NICPhysicalAdapter::getSpeedMbps(nullptr), 0u);
}

TEST_F(NicProbes, MacAddress) {
    ScriptedHostDevices devices{{SIOCGIFHWADDR, {0, 0}, [](void *arg) {
                                     auto *request = static_cast<ifreq *>(arg);
                                     EXPECT_STREQ(request->ifr_name, "fifteenletters0");
                                     const unsigned char mac[] = {2, 0, 0x5e, 0x10, 0xab, 0xff};
                                     std::memcpy(request->ifr_hwaddr.sa_data, mac, sizeof mac);
                                 }}};
    EXPECT_EQ(NICPhysicalAdapter::getMACAddress("fifteenletters0andmore"), "02:00:5E:10:AB:FF");
    EXPECT_EQ(devices.stillOpen(), 0);
}
TEST_F(NicProbes, MacAddressWithoutASocket) {
    ScriptedHostDevices devices{};
    devices.failOpen(1, EMFILE);
    EXPECT_EQ(NICPhysicalAdapter::getMACAddress("eth0"), "");
    EXPECT_LOGGED(log, "DEBUG", TAG,
                  "Socket call to obtain MAC address of the ethernet device failed: Too many open "
                  "files");
}
TEST_F(NicProbes, MacAddressThatIsRefused) {
    ScriptedHostDevices devices{{SIOCGIFHWADDR, {-1, ENODEV}}};
    EXPECT_EQ(NICPhysicalAdapter::getMACAddress("eth0"), "");
    EXPECT_EQ(devices.stillOpen(), 0);
    EXPECT_LOGGED(log, "DEBUG", TAG,
                  "ioctl call failed while obtaining MAC address of the ethernet device: No such "
                  "device");
}

TEST_F(NicProbes, DriverInformation) {
    commands.onPopen(cableLine(), "");
    const auto answer = [](void *arg) {
        auto *request = static_cast<ifreq *>(arg);
        EXPECT_STREQ(request->ifr_name, "up");
        ethtool_drvinfo driver{};
        std::memcpy(&driver, request->ifr_data, sizeof driver);
        EXPECT_EQ(driver.cmd, static_cast<unsigned>(ETHTOOL_GDRVINFO));
        std::memset(driver.fw_version, 'f', sizeof driver.fw_version); // without a NUL
        std::memcpy(driver.bus_info, "0000:c3:00.0", 13);
        std::memcpy(request->ifr_data, &driver, sizeof driver);
    };
    ScriptedHostDevices devices{{SIOCETHTOOL, {0, 0}, answer}, {SIOCETHTOOL, {0, 0}, answer}};
    for (int i = 0; i < 2; ++i) {
        const NICPhysicalAdapter::ETHTOOL_INFO info = NICPhysicalAdapter::get_ethtool_info("up");
        EXPECT_EQ(info.firmwareVersion, std::string(32, 'f'));
        EXPECT_EQ(info.busInfo, "0000:c3:00.0");
        EXPECT_EQ(info.state, "Running") << "the interface's name is its link word";
        EXPECT_EQ(info.health, "OK");
    }
    EXPECT_EQ(devices.opened().size(), 1u) << "one socket for the life of the process";
}
TEST_F(NicProbes, DriverInformationWithoutAName) {
    ScriptedHostDevices devices{{SIOCETHTOOL, {-1, ENODEV}, [](void *arg) {
                                     EXPECT_STREQ(static_cast<ifreq *>(arg)->ifr_name, "");
                                 }}};
    EXPECT_EQ(NICPhysicalAdapter::get_ethtool_info(nullptr).state, "");
}
TEST_F(NicProbes, DriverInformationWithoutASocket) {
    ScriptedHostDevices devices{{SIOCETHTOOL, {-1, EOPNOTSUPP}}};
    devices.failOpen(1, EMFILE);
    EXPECT_EQ(NICPhysicalAdapter::get_ethtool_info("eth0").state, "");
    EXPECT_LOGGED(log, "DEBUG", TAG,
                  "Socket call to obtain ethtool information failed : Too many open files");
    const NICPhysicalAdapter::ETHTOOL_INFO info = NICPhysicalAdapter::get_ethtool_info("eth0");
    EXPECT_EQ(info.firmwareVersion + info.state + info.health + info.busInfo, "");
    EXPECT_LOGGED(log, "DEBUG", TAG,
                  "ioctl call failed while obtaining firmware_version and bus_info : Operation not "
                  "supported");
    EXPECT_EQ(devices.stillOpen(), 1) << "kept";
}

TEST_F(NicProbes, ProductAndSerialNumber) {
    commands.onPopen(PRODUCT_LINE, "\t\tProduct Name: Example 2-port card with a long name\n");
    commands.onPopen(SERIAL_LINE, "\t\t\t[SN] Serial number: EX1A2B3C\n");
    EXPECT_EQ(NICPhysicalAdapter::get_lspci_info("0000:c3:00.0"),
              std::make_pair(std::string("Example 2-port card with a long name"),
                             std::string("EX1A2B3C")));
    EXPECT_EQ(log.countHolding("DEBUG", TAG, "Unable"), 0);
}
TEST_F(NicProbes, LastCharacterIsTakenForTheNewline) {
    commands.onPopen(PRODUCT_LINE, "Product Name: abc");
    commands.onPopen(SERIAL_LINE, "Serial number:");
    EXPECT_EQ(NICPhysicalAdapter::get_lspci_info("0000:c3:00.0"),
              std::make_pair(std::string("ab"), std::string()));
    EXPECT_LOGGED(log, "DEBUG", TAG, "Unable to obtain the Serial Number");
}
TEST_F(NicProbes, ProductThatIsNotTold) {
    commands.onPopen(PRODUCT_LINE, "");
    commands.onPopen(SERIAL_LINE, "Serial number\n");
    EXPECT_EQ(NICPhysicalAdapter::get_lspci_info("0000:c3:00.0"),
              std::make_pair(std::string(), std::string()));
    EXPECT_LOGGED(log, "DEBUG", TAG, "Unable to obtain the Product Name");
    EXPECT_LOGGED(log, "DEBUG", TAG, "Unable to obtain the Serial Number");
}
TEST_F(NicProbes, ProductThatCannotBeAsked) {
    commands.failPopen(PRODUCT_LINE, ENOMEM);
    commands.failPopen(SERIAL_LINE, ENOMEM);
    EXPECT_EQ(NICPhysicalAdapter::get_lspci_info("0000:c3:00.0"),
              std::make_pair(std::string(), std::string()));
    EXPECT_LOGGED(log, "DEBUG", TAG,
                  "File pointer returns null value while obtaining Product Name");
    EXPECT_LOGGED(log, "DEBUG", TAG,
                  "File pointer returns null value while obtaining Serial Number");
}
TEST_F(NicProbes, AddressThatIsNoneIsNotAsked) {
    EXPECT_EQ(NICPhysicalAdapter::get_lspci_info("0000:c3:00.0; reboot").first, "");
    EXPECT_TRUE(commands.calls().empty());
    EXPECT_LOGGED(log, "DEBUG", TAG, "Unable to obtain the Product Name");
}
} // namespace
