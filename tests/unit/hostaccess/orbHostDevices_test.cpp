#include "hostaccess/orbHostDevices.h"

#include <fcntl.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>

#include <gtest/gtest.h>

namespace {
/// A pipe stands for a device: it can be asked by ioctl and waited for.
class Devices : public ::testing::Test {
protected:
    Devices() { EXPECT_EQ(::pipe(ends), 0); }
    ~Devices() override {
        for (const int end : ends)
            if (end >= 0) ::close(end);
    }
    void closeEnd(int index) {
        ::close(ends[index]);
        ends[index] = -1;
    }
    int ends[2] = {-1, -1};
    IorbHostDevices &devices = IorbHostDevices::get();
};
} // namespace

TEST_F(Devices, OpenIsCloseOnExec) {
    const ORB_SYSCALL_RESULT opened = devices.open("/dev/null", O_RDWR);
    ASSERT_GE(opened.rc, 0);
    EXPECT_EQ(opened.err, 0);
    const int fd = static_cast<int>(opened.rc);
    EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    EXPECT_EQ(::fcntl(fd, F_GETFL) & O_ACCMODE, O_RDWR);
    EXPECT_EQ(devices.close(fd).rc, 0);
    const ORB_SYSCALL_RESULT again = devices.close(fd);
    EXPECT_EQ(again.rc, -1);
    EXPECT_EQ(again.err, EBADF);
}
TEST_F(Devices, MissingDeviceComesWithItsErrno) {
    const ORB_SYSCALL_RESULT opened = devices.open("/dev/orb-no-such-device", O_RDWR);
    EXPECT_EQ(opened.rc, -1);
    EXPECT_EQ(opened.err, ENOENT);
}
TEST_F(Devices, DatagramSocketAnswersForAnInterface) {
    const ORB_SYSCALL_RESULT opened = devices.datagramSocket();
    ASSERT_GE(opened.rc, 0);
    EXPECT_EQ(opened.err, 0);
    const int fd = static_cast<int>(opened.rc);
    EXPECT_NE(::fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
    ifreq request = {};
    request.ifr_name[0] = 'l';
    request.ifr_name[1] = 'o';
    EXPECT_EQ(devices.ioctl(fd, SIOCGIFHWADDR, &request).rc, 0);
    EXPECT_EQ(devices.close(fd).rc, 0);
}
TEST_F(Devices, IoctlReachesTheDescriptor) {
    ASSERT_EQ(::write(ends[1], "abc", 3), 3);
    int pending = 0;
    const ORB_SYSCALL_RESULT asked = devices.ioctl(ends[0], FIONREAD, &pending);
    EXPECT_EQ(asked.rc, 0);
    EXPECT_EQ(asked.err, 0);
    EXPECT_EQ(pending, 3);
}
TEST_F(Devices, FailedIoctlComesWithItsErrno) {
    int unused = 0;
    const ORB_SYSCALL_RESULT asked = devices.ioctl(-1, FIONREAD, &unused);
    EXPECT_EQ(asked.rc, -1);
    EXPECT_EQ(asked.err, EBADF);
}
TEST_F(Devices, WaitEndsWhenSomethingCanBeRead) {
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    const ORB_SYSCALL_RESULT waited = devices.waitReadable(ends[0]);
    EXPECT_EQ(waited.rc, 1);
    EXPECT_EQ(waited.err, 0);
}
TEST_F(Devices, WaitEndsWithoutDataWhenTheOtherSideIsGone) {
    closeEnd(1);
    EXPECT_EQ(devices.waitReadable(ends[0]).rc, 0);
}
TEST_F(Devices, WaitWorksAboveDescriptor1023) {
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_GT(limit.rlim_max, 1100u);
    limit.rlim_cur = limit.rlim_max;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &limit), 0);
    const int high = ::fcntl(ends[0], F_DUPFD_CLOEXEC, 1100);
    ASSERT_GE(high, 1100);
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    EXPECT_EQ(devices.waitReadable(high).rc, 1);
    ::close(high);
}
