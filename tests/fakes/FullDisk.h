#pragma once

#include <signal.h>
#include <sys/resource.h>

#include <gtest/gtest.h>

/// While it lives no file of the process can grow beyond some bytes, as on a full disk.
class FullDisk {
public:
    explicit FullDisk(rlim_t bytes) : formerAction(::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &former), 0);
        rlimit tight = former;
        tight.rlim_cur = bytes;
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
    }
    ~FullDisk() {
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &former), 0);
        ::signal(SIGXFSZ, formerAction);
    }
    FullDisk(const FullDisk &) = delete;
    FullDisk &operator=(const FullDisk &) = delete;

private:
    void (*formerAction)(int);
    rlimit former{};
};
