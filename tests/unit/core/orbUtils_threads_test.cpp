#include "core/orbUtils.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FakeIdentity.h"
#include "fakes/LogFile.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
class UtilsThreads : public ::testing::Test {
protected:
    template <typename Work> void onFourThreads(Work work) {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) threads.emplace_back(work);
        for (std::thread &thread : threads) thread.join();
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    LogFile log{root};
    FakeIdentity identity;
    ScriptedCommands commands;
};
} // namespace

TEST_F(UtilsThreads, VersionCommandRunsOnceForAll) {
    commands.onPopen("localcli system version get | grep -i Product", "Product: VMware ESXi\n");
    onFourThreads([] { EXPECT_EQ(orbUtils::readHostOSName(), "VMwareESXi"); });
    EXPECT_EQ(commands.calls().size(), 1u);
}

TEST_F(UtilsThreads, AddressesAreReadAndUpdatedAtOnce) {
    onFourThreads([] {
        for (int i = 0; i < 50; ++i) {
            orbUtils::setPrimaryIPAddress({"192.0.2.17"});
            EXPECT_EQ(orbUtils::getPrimaryIPAddress(), "192.0.2.17");
        }
    });
}

TEST_F(UtilsThreads, KeptTimesAreReadAndSetAtOnce) {
    onFourThreads([] {
        for (long i = 0; i < 1000; ++i) {
            orbUtils::setSystemCurrentBootTime(5);
            EXPECT_EQ(orbUtils::getSystemCurrentBootTime(), 5);
        }
    });
}
