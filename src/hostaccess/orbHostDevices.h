#pragma once

#include "hostaccess/orbSeam.h"

/// Character devices and ioctl sockets: open, close, ioctl, wait for readable.
class IorbHostDevices {
public:
    virtual ~IorbHostDevices() = default;
    /// @param path   device path on the host, such as "/dev/ipmi0"; not mapped by the caller
    /// @param flags  as of open(2); close-on-exec is added
    /// @return rc the descriptor, or -1
    virtual ORB_SYSCALL_RESULT open(const char *path, int flags) = 0;
    /// A datagram socket of the IPv4 family, over which network interfaces are asked by ioctl;
    /// close-on-exec. @return rc the descriptor, or -1
    virtual ORB_SYSCALL_RESULT datagramSocket() = 0;
    virtual ORB_SYSCALL_RESULT close(int fd) = 0;
    virtual ORB_SYSCALL_RESULT ioctl(int fd, unsigned long request, void *arg) = 0;
    /// Waits without limit until `fd` can be read.
    /// @return rc 1 readable, 0 woken without it, -1 failed
    virtual ORB_SYSCALL_RESULT waitReadable(int fd) = 0;

    static IorbHostDevices &get(); ///< the host's own, or those put in by replace()
    static IorbHostDevices *replace(IorbHostDevices *next); ///< gives the former; null: the host's
};
