#include "core/orbUtils.h"

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbModuleTags.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
using Texts = std::vector<std::string>;

constexpr char NAME_LINE[] = "localcli system version get | grep -i Product";
constexpr char VERSION_LINE[] = "localcli system version get | grep -i Version:";

class Utils : public ::testing::Test {
protected:
    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    LogFile log{root};
    FakeIdentity identity;
    ScriptedCommands commands;
};
} // namespace

// -- Host identity ------------------------------------------------------------------------------

using HostIdentity = Utils;

TEST_F(HostIdentity, HostNameIsTheNodeName) {
    EXPECT_EQ(orbUtils::readHostName(), "orb-host-01");
}

TEST_F(HostIdentity, FailedUnameGivesABlankAndAnErrorLine) {
    identity.unameError = EFAULT;
    EXPECT_EQ(orbUtils::readHostName(), " ");
    EXPECT_LOGGED(log, "ERROR", ORB_UTILS, "uname failed with error = 14");
}

TEST_F(HostIdentity, DescriptionJoinsFiveFields) {
    EXPECT_EQ(orbUtils::readHostOSDescription(),
              "Linux orb-host-01 6.1.0 #1 SMP 2026-01-01 x86_64");
}

TEST_F(HostIdentity, DescriptionOfAFailedUnameIsFourBlanks) {
    identity.unameError = EFAULT;
    EXPECT_EQ(orbUtils::readHostOSDescription(), "    ");
}

TEST_F(HostIdentity, OSTypeIs104) {
    int type = 0;
    EXPECT_EQ(orbUtils::getOSType(&type), 1);
    EXPECT_EQ(type, 104);
}

TEST_F(HostIdentity, OSNameLosesItsInnerBlankToo) {
    commands.onPopen(NAME_LINE, "   Product: VMware ESXi\n");
    EXPECT_EQ(orbUtils::readHostOSName(), "VMwareESXi");
}

TEST_F(HostIdentity, OSVersionIsBehindTheColon) {
    commands.onPopen(VERSION_LINE, "   Version: 7.0.3\n");
    EXPECT_EQ(orbUtils::readHostOSVersion(), "7.0.3");
}

TEST_F(HostIdentity, NameAndVersionAreKeptApart) {
    commands.onPopen(NAME_LINE, "Product: A\n");
    commands.onPopen(VERSION_LINE, "Version: 1\n");
    EXPECT_EQ(orbUtils::readHostOSName(), "A");
    EXPECT_EQ(orbUtils::readHostOSVersion(), "1");
    EXPECT_EQ(orbUtils::readHostOSName(), "A");
    EXPECT_EQ(orbUtils::readHostOSVersion(), "1");
    EXPECT_EQ(commands.calls(), (Texts{NAME_LINE, VERSION_LINE})) << "each command runs once";
}

TEST_F(HostIdentity, EmptyNameIsFetchedAgain) {
    commands.onPopen(NAME_LINE, "");
    EXPECT_EQ(orbUtils::readHostOSName(), "");
    commands.onPopen(NAME_LINE, "Product: A\n");
    EXPECT_EQ(orbUtils::readHostOSName(), "A");
    EXPECT_EQ(commands.calls().size(), 2u);
}

TEST_F(HostIdentity, LongNameIsJoinedFromItsPieces) {
    const std::string name(1000, 'n');
    commands.onPopen(NAME_LINE, "Product: " + name + " end\n");
    EXPECT_EQ(orbUtils::readHostOSName(), name + "end");
}

TEST_F(HostIdentity, EndlessOutputIsCut) {
    commands.onPopen(NAME_LINE, "Product: " + std::string(1'000'000, 'n'));
    const std::string name = orbUtils::readHostOSName();
    EXPECT_GE(name.size(), 60'000u);
    EXPECT_LE(name.size(), 66'000u);
}

TEST_F(HostIdentity, FailedNameCommandIsLoggedAndTriedAgain) {
    commands.failPopen(NAME_LINE, ENOMEM);
    EXPECT_EQ(orbUtils::readHostOSName(), "");
    EXPECT_LOGGED(log, "ERROR", ORB_UTILS, "Error occurred in identifying OS Name.");
    commands.onPopen(NAME_LINE, "Product: A\n");
    EXPECT_EQ(orbUtils::readHostOSName(), "A");
}

TEST_F(HostIdentity, FailedVersionCommandIsLogged) {
    commands.failPopen(VERSION_LINE, ENOMEM);
    EXPECT_EQ(orbUtils::readHostOSVersion(), "");
    EXPECT_LOGGED(log, "ERROR", ORB_UTILS, "Error occurred in identifying OS version.");
}

// -- Addresses ----------------------------------------------------------------------------------

using HostAddresses = Utils;

TEST_F(HostAddresses, AreThoseOfAllInterfacesButLo) {
    identity.addresses = {{"lo", "10.0.0.1"}, {"vmk0", "192.0.2.17"}, {"vmk1", "198.51.100.4"}};
    EXPECT_EQ(orbUtils::getIPAddresses(), (Texts{"192.0.2.17", "198.51.100.4"}));
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS, "vmk0 IP Address 192.0.2.17\n");
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS, "vmk1 IP Address 198.51.100.4\n");
    EXPECT_EQ(log.countHolding("DEBUG", ORB_UTILS, "lo IP Address"), 0);
    EXPECT_EQ(identity.listsOut(), 0);
}

TEST_F(HostAddresses, LeaveOutTheLoopbackAddressOfAnyInterface) {
    identity.addresses = {{"vmk0", "127.0.0.1"}, {"lo0", "127.0.0.2"}};
    EXPECT_EQ(orbUtils::getIPAddresses(), Texts{"127.0.0.2"});
}

TEST_F(HostAddresses, SkipInterfacesWithoutAny) {
    identity.addresses = {{"vmnic0", ""}, {"vmk0", "192.0.2.17"}};
    EXPECT_EQ(orbUtils::getIPAddresses(), Texts{"192.0.2.17"});
}

TEST_F(HostAddresses, FailedListIsEmpty) {
    identity.getifaddrsError = ENOMEM;
    EXPECT_TRUE(orbUtils::getIPAddresses().empty());
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "127.0.0.1");
}

TEST_F(HostAddresses, OnlyLoopbackReportsItAsPrimary) {
    identity.addresses = {{"lo", "127.0.0.1"}};
    EXPECT_TRUE(orbUtils::updateAndFetchIPAddresses().empty());
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "127.0.0.1");
}

TEST_F(HostAddresses, PrimaryIsTheFirstOfTheUpdate) {
    identity.addresses = {{"vmk0", "192.0.2.17"}, {"vmk1", "198.51.100.4"}};
    EXPECT_EQ(orbUtils::updateAndFetchIPAddresses(), (Texts{"192.0.2.17", "198.51.100.4"}));
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "192.0.2.17");
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS,
                  "primaryIPv4Address= 192.0.2.17 auxIPv4Address=192.0.2.17 tempIP=192.0.2.17");
    EXPECT_NOT_LOGGED(log, "DEBUG", ORB_UTILS, "Get aux IPv4 address populated");
}

TEST_F(HostAddresses, SetPrimaryTakesTheFirst) {
    EXPECT_EQ(orbUtils::setPrimaryIPAddress({"203.0.113.9", "203.0.113.8"}), 1);
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "203.0.113.9");
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS,
                  "primaryIPv4Address= 203.0.113.9 auxIPv4Address= tempIP=203.0.113.9");
    EXPECT_EQ(orbUtils::setPrimaryIPAddress({}), 1);
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "127.0.0.1");
}

TEST_F(HostAddresses, PrimaryComesFromTheAuxiliaryBeforeAnyUpdate) {
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "192.0.2.17");
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS, "Get aux IPv4 address populated");
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS,
                  "primaryIPv4Address= 192.0.2.17 auxIPv4Address=192.0.2.17 tempIP=192.0.2.17");
    identity.addresses = {{"vmk0", "198.51.100.4"}};
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "192.0.2.17") << "stored as primary";
}

TEST_F(HostAddresses, AuxiliaryIsKeptWhileTheHostHasIt) {
    identity.addresses = {{"vmk0", "192.0.2.17"}, {"vmk1", "198.51.100.4"}};
    orbUtils::getIPAddresses();
    identity.addresses = {{"vmk1", "198.51.100.4"}, {"vmk0", "192.0.2.17"}};
    orbUtils::getIPAddresses();
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "192.0.2.17");
    EXPECT_NOT_LOGGED(log, "DEBUG", ORB_UTILS, "Get aux IPv4 address populated");
}

TEST_F(HostAddresses, AuxiliaryFollowsWhenTheHostLosesIt) {
    orbUtils::getIPAddresses();
    identity.addresses = {{"vmk1", "198.51.100.4"}, {"vmk2", "203.0.113.9"}};
    orbUtils::getIPAddresses();
    EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "198.51.100.4");
}

TEST(Ipv4Address, IsWhatThePlatformParses) {
    for (const char *good : {"192.0.2.17", "0.0.0.0", "255.255.255.255", "127.0.0.1"})
        EXPECT_TRUE(orbUtils::is_ipv4_address(good)) << good;
    for (const char *bad :
         {"", "192.0.2", "192.0.2.256", "::1", "192.0.2.17 ", "host", "1.2.3.4.5"})
        EXPECT_FALSE(orbUtils::is_ipv4_address(bad)) << bad;
}

// -- Boot and shutdown times --------------------------------------------------------------------

namespace {
constexpr char BOOT_LOG[] = "/tmp/orbboot.log";
constexpr char BOOT_FAILURE[] = "Error occurred in gathering system boot time information.";
constexpr char SHUTDOWN_FAILURE[] =
    "Error occurred in gathering system last shutdown time information.";
constexpr long FIRST = 1452585849, SECOND = FIRST + 1; // 2016-01-12T08:04:09Z

class SummaryLog : public Utils {
protected:
    SummaryLog() {
        ::setenv("TZ", "UTC0", 1);
        ::tzset();
        root.makeDirectory("/tmp");
    }
    std::string line(const std::string &pattern, int count) {
        return "grep \"" + pattern + "\" " + root.path() + "/var/log/vmksummary.log | tail -" +
               std::to_string(count) + " | awk '{print $1}' >> " + root.path() + BOOT_LOG;
    }
    /// The line appends this to the file and ends with this status.
    void answer(const std::string &shellLine, const std::string &lines, int status = 0) {
        commands.onSystem(shellLine, {status, 0},
                          [this, lines] { root.write(BOOT_LOG, root.read(BOOT_LOG) + lines); });
    }
    void answerBoot(const std::string &lines, int status = 0) {
        answer(line("Host has booted", 2), lines, status);
    }
    void fetchBoot() { orbUtils::fetchSystemBootTime(boot, previous); }
    int bootFailures() { return log.count("ERROR", ORB_UTILS, BOOT_FAILURE); }

    long boot = -1, previous = -1, shutdown = -1;
};
} // namespace

TEST_F(SummaryLog, TwoBootsAreTheLastAndTheOneBefore) {
    answerBoot("2016-01-12T08:04:09Z\n2016-01-12T08:04:10Z\n");
    fetchBoot();
    EXPECT_EQ(previous, FIRST);
    EXPECT_EQ(boot, SECOND);
    EXPECT_EQ(bootFailures(), 0);
    EXPECT_FALSE(root.exists(BOOT_LOG));
}
TEST_F(SummaryLog, OneBootHasNoneBefore) {
    answerBoot("2016-01-12T08:04:09Z\n");
    fetchBoot();
    EXPECT_EQ(boot, FIRST);
    EXPECT_EQ(previous, 0);
    EXPECT_FALSE(root.exists(BOOT_LOG));
}
TEST_F(SummaryLog, NoBootIsAnErrorAndZero) {
    answerBoot("");
    fetchBoot();
    EXPECT_EQ(boot, 0);
    EXPECT_EQ(previous, 0);
    EXPECT_EQ(bootFailures(), 1);
    EXPECT_FALSE(root.exists(BOOT_LOG));
}
TEST_F(SummaryLog, FailedBootLineIsAnErrorAndZero) {
    answerBoot("2016-01-12T08:04:09Z\n", 256);
    fetchBoot();
    EXPECT_EQ(boot, 0);
    EXPECT_EQ(previous, 0);
    EXPECT_EQ(bootFailures(), 1);
    EXPECT_FALSE(root.exists(BOOT_LOG)) << "removed all the same";
}
TEST_F(SummaryLog, FileThatNeverCameIsAnError) {
    commands.onSystem(line("Host has booted", 2), {0, 0});
    fetchBoot();
    EXPECT_EQ(bootFailures(), 1);
}
TEST_F(SummaryLog, ShortLinesAreSkippedNotThrown) {
    answerBoot("2016-01-12T08\n2016-01-12T08:04:09Z\n");
    fetchBoot();
    EXPECT_EQ(boot, FIRST);
    EXPECT_EQ(previous, 0);
}
TEST_F(SummaryLog, StaleLinesAreReadAgain) {
    root.write(BOOT_LOG, "2016-01-12T08:04:09Z\n");
    answerBoot("2016-01-12T08:04:10Z\n");
    fetchBoot();
    EXPECT_EQ(previous, FIRST);
    EXPECT_EQ(boot, SECOND);
}
TEST_F(SummaryLog, StaleLinesStandBehindThoseOfBothBoots) {
    root.write(BOOT_LOG, "2015-01-12T08:04:09Z\n");
    answerBoot("2016-01-12T08:04:09Z\n2016-01-12T08:04:10Z\n");
    fetchBoot();
    EXPECT_EQ(previous, FIRST);
    EXPECT_EQ(boot, SECOND);
}
TEST_F(SummaryLog, ShutdownIsTheLastRequest) {
    answer(line("Host is rebooting", 1), "2016-01-12T08:04:10Z\n");
    orbUtils::fetchSystemShutdownTime(shutdown);
    EXPECT_EQ(shutdown, SECOND);
    EXPECT_NOT_LOGGED(log, "ERROR", ORB_UTILS, SHUTDOWN_FAILURE);
    EXPECT_FALSE(root.exists(BOOT_LOG));
}
TEST_F(SummaryLog, NoShutdownIsAnErrorAndZero) {
    answer(line("Host is rebooting", 1), "");
    orbUtils::fetchSystemShutdownTime(shutdown);
    EXPECT_EQ(shutdown, 0);
    EXPECT_LOGGED(log, "ERROR", ORB_UTILS, SHUTDOWN_FAILURE);
    EXPECT_FALSE(root.exists(BOOT_LOG));
}
TEST_F(SummaryLog, FailedShutdownLineIsAnErrorAndZero) {
    answer(line("Host is rebooting", 1), "2016-01-12T08:04:10Z\n", -1);
    orbUtils::fetchSystemShutdownTime(shutdown);
    EXPECT_EQ(shutdown, 0);
    EXPECT_LOGGED(log, "ERROR", ORB_UTILS, SHUTDOWN_FAILURE);
}

TEST_F(Utils, EmptyStampIsLoggedAndZero) {
    EXPECT_EQ(orbUtils::toEpoc(""), 0);
    EXPECT_LOGGED(log, "DEBUG", ORB_UTILS, "Invalid time stamp format.");
}
