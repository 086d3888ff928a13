#include "hostaccess/orbHostIdentity.h"

#include <cstring>

#include <gtest/gtest.h>

TEST(HostIdentity, NamesTheSystemAsTheKernelDoes) {
    utsname wanted{};
    ASSERT_EQ(::uname(&wanted), 0);
    utsname found{};
    const ORB_SYSCALL_RESULT result = IorbHostIdentity::get().uname(&found);
    EXPECT_EQ(result.rc, 0);
    EXPECT_EQ(result.err, 0);
    EXPECT_STREQ(found.nodename, wanted.nodename);
    EXPECT_STREQ(found.release, wanted.release);
}
TEST(HostIdentity, UpTimeRuns) {
    struct sysinfo before = {};
    ASSERT_EQ(::sysinfo(&before), 0);
    struct sysinfo found = {};
    const ORB_SYSCALL_RESULT result = IorbHostIdentity::get().sysinfo(&found);
    EXPECT_EQ(result.rc, 0);
    EXPECT_EQ(result.err, 0);
    EXPECT_GE(found.uptime, before.uptime);
    EXPECT_EQ(found.totalram, before.totalram);
}
TEST(HostIdentity, AddressListIsGivenAndTakenBack) {
    ifaddrs *list = nullptr;
    const ORB_SYSCALL_RESULT result = IorbHostIdentity::get().getifaddrs(&list);
    EXPECT_EQ(result.rc, 0);
    EXPECT_EQ(result.err, 0);
    for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next)
        EXPECT_GT(std::strlen(entry->ifa_name), 0u);
    IorbHostIdentity::get().freeifaddrs(list);
}
