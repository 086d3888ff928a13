#include "platform/platformCheck.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/TemporaryRoot.h"

namespace {
/// Counts how often the SMBIOS device is looked for.
class CountingFiles final : public IorbHostFiles {
public:
    CountingFiles() : outer(replace(this)) {}
    ~CountingFiles() override { replace(outer); }
    CountingFiles(const CountingFiles &) = delete;
    CountingFiles &operator=(const CountingFiles &) = delete;

    std::string map(const std::string &hostPath) override {
        ++lookups;
        return outer->map(hostPath);
    }
    std::atomic<int> lookups{0};

private:
    IorbHostFiles *outer;
};

TEST(PlatformCheckThreads, GettersAtOnceReadSmbiosOnce) {
    TemporaryRoot root;
    CapturedSyslog syslog;
    CountingFiles files;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([i] {
            if (i % 2 == 0)
                EXPECT_EQ(platformCheck::getDirectoryPath(), "/opt/vantor/orb");
            else
                EXPECT_EQ(platformCheck::getStartupFilePath(), "/var/tmp/vantor");
        });
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(files.lookups, 1);
    EXPECT_EQ(syslog.lines().size(), 1u); // no table there
}
} // namespace
