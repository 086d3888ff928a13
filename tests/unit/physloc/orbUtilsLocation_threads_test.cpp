#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "support/SmbiosImage.h"

TEST(LocationThreads, FamilyIsReadOnceByMany) {
    TemporaryRoot root;
    CapturedSyslog syslog;
    VirtualClock clock;
    LogFile log(root);
    root.write(SMBIOS_DEVICE, SmbiosImage::as_text(SmbiosImage::exampleServer()));
    orbUtils::initializeSMBIOS();

    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] { EXPECT_EQ(orbUtils::getPlatformFamily(), "PLATFORM-ID-A01"); });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(log.count("DEBUG", "ORB_UTILS", "platformFamily is PLATFORM-ID-A01"), 1);
}
