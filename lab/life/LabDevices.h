#pragma once

#include <string>

#include "hostaccess/orbHostDevices.h"

/// The device seam of the simulated server: an IPMI device whose far end is the world. The device
/// is there while the file `dev/ipmi0` is below the root. Any other device is absent, and no
/// network interface can be asked. Any thread; a descriptor is one thread's at a time.
class LabDevices final : public IorbHostDevices {
public:
    /// @param controlSocket  to the world; stays the caller's
    LabDevices(std::string hostRoot, int controlSocket)
        : root(std::move(hostRoot)), control(controlSocket) {}
    ORB_SYSCALL_RESULT open(const char *path, int flags) override;
    ORB_SYSCALL_RESULT datagramSocket() override;
    ORB_SYSCALL_RESULT close(int fd) override;
    ORB_SYSCALL_RESULT ioctl(int fd, unsigned long request, void *arg) override;
    ORB_SYSCALL_RESULT waitReadable(int fd) override;

private:
    const std::string root;
    const int control;
};
