#include "network/NICEventMonitor.h"

#include <gtest/gtest.h>

#include "fakes/FakeProcess.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"

namespace {
TEST(NicEventMonitor, StartsAndStopsNothing) {
    TemporaryRoot root;
    const LogFile log(root);
    const VirtualClock clock;
    const FakeProcess process;
    NICEventMonitor monitor;
    EXPECT_EQ(monitor.startMonitoring(), 0);
    EXPECT_EQ(log.count("DEBUG", "NIC_EVENT", "Creating a producer thread"), 1);
    EXPECT_EQ(monitor.stopMonitoring(), 0);
    EXPECT_EQ(log.count("DEBUG", "NIC_EVENT", "Stopping event monitoring for Ethernet"), 1);
    EXPECT_EQ(log.count("DEBUG", "NIC_EVENT", "Signalled for stop"), 1);
    EXPECT_EQ(process.created(), 0);
}
} // namespace
