#include "physloc/smbios_reader.h"

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/TemporaryRoot.h"
#include "support/SmbiosImage.h"

namespace {
/// Fetches the slots `times` times. @return how often they came, each time whole
int fetch_slots(int times) {
    int fetched = 0;
    for (int i = 0; i < times; ++i) {
        void *records = nullptr;
        int count = 0;
        if (getSmbiosRecordsByType(9, &records, &count) != 0) continue;
        if (count == 2 && std::string(static_cast<DmiSystemSlot *>(records)[1].designation) ==
                              "tab.and.high byte.")
            ++fetched;
        std::free(records);
    }
    return fetched;
}

class SmbiosReaderThreads : public ::testing::Test {
protected:
    void SetUp() override {
        root.write(SMBIOS_DEVICE, SmbiosImage()
                                      .add(9, Bytes(13, 1), {"first"})
                                      .add(9, Bytes(13, 1), {"tab\tand\x1Fhigh byte\xFF"})
                                      .text());
    }

    TemporaryRoot root;
    CapturedSyslog syslog;
};

TEST_F(SmbiosReaderThreads, DecodeAtOnce) {
    ASSERT_EQ(SmBiosInit(), 0);
    std::atomic<int> fetched{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { fetched += fetch_slots(200); });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(fetched, 800);
}

TEST_F(SmbiosReaderThreads, StartAndStopWhileOthersFetch) {
    std::atomic<bool> done{false};
    std::thread switcher([&] {
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(SmBiosInit(), 0);
            SmBiosDeinit();
        }
        EXPECT_EQ(SmBiosInit(), 0);
        done = true;
    });
    std::thread reader([&] {
        while (!done) (void)fetch_slots(10);
        EXPECT_EQ(fetch_slots(10), 10);
    });
    switcher.join();
    reader.join();
}
} // namespace
