#pragma once

#include <ifaddrs.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>

#include "hostaccess/orbSeam.h"

/// Who the host is: names, up time, network addresses.
class IorbHostIdentity {
public:
    virtual ~IorbHostIdentity() = default;
    virtual ORB_SYSCALL_RESULT uname(utsname *out) = 0;          ///< rc 0, or -1 with errno
    virtual ORB_SYSCALL_RESULT sysinfo(struct sysinfo *out) = 0; ///< rc 0, or -1 with errno
    /// @param out  takes the head of a list that freeifaddrs() releases
    virtual ORB_SYSCALL_RESULT getifaddrs(ifaddrs **out) = 0;
    virtual void freeifaddrs(ifaddrs *list) = 0;

    static IorbHostIdentity &get(); ///< the host's own, or the one put in by replace()
    static IorbHostIdentity *
    replace(IorbHostIdentity *next); ///< gives the former; null: the host's
};
