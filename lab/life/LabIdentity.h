#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "hostaccess/orbHostIdentity.h"
#include "life/LabTime.h"

/// Who the simulated host is, as the world last wrote it down; or this machine, whose up time then
/// follows the lab's boots. Read again whenever the file changes. Any thread.
class LabIdentity final : public IorbHostIdentity {
public:
    /// @param file  JSON: "bootTime" in seconds since the epoch; "real" true for this machine, else
    ///              "uname" with its five texts and "addresses" of "interface" and "address"
    LabIdentity(std::string file, const LabTime &labTime) : path(std::move(file)), time(labTime) {}
    ORB_SYSCALL_RESULT uname(utsname *out) override;
    ORB_SYSCALL_RESULT sysinfo(struct sysinfo *out) override;
    ORB_SYSCALL_RESULT getifaddrs(ifaddrs **out) override;
    void freeifaddrs(ifaddrs *list) override;

private:
    struct ADDRESS {
        std::string interface, address;
    };
    bool refreshLocked(); // caller holds `lock`

    const std::string path;
    const LabTime time;
    std::mutex lock; // guards all below
    struct timespec readAt {};
    ino_t readInode = 0;
    bool known = false, real = false;
    std::int64_t bootTime = 0;
    utsname names{};
    std::vector<ADDRESS> addresses;
};
