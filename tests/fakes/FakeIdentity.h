#pragma once

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "hostaccess/orbHostIdentity.h"

/// A host by name, release, up time and addresses. Any threads may ask it, several at once: the
/// facts stay what the test made them before threads ran, and what counts is atomic.
class FakeIdentity final : public IorbHostIdentity {
public:
    FakeIdentity() : outer(replace(this)) {}
    ~FakeIdentity() override { replace(outer); }
    FakeIdentity(const FakeIdentity &) = delete;
    FakeIdentity &operator=(const FakeIdentity &) = delete;

    // The host's facts; set them before threads run.
    std::string system = "Linux", node = "orb-host-01", release = "6.1.0",
                version = "#1 SMP 2026-01-01", machine = "x86_64";
    long uptimeSeconds = 86400;
    /// Interface name and dotted IPv4 address; an empty address gives an entry without any.
    std::vector<std::pair<std::string, std::string>> addresses = {{"lo", "127.0.0.1"},
                                                                  {"vmk0", "192.0.2.17"}};
    int unameError = 0; ///< errno of a failing call, 0 for none; so below
    int sysinfoError = 0;
    int getifaddrsError = 0;

    ORB_SYSCALL_RESULT uname(utsname *out) override;
    ORB_SYSCALL_RESULT sysinfo(struct sysinfo *out) override;
    ORB_SYSCALL_RESULT getifaddrs(ifaddrs **out) override;
    void freeifaddrs(ifaddrs *list) override;
    int listsOut() const { return handedOut; } ///< address lists not yet released

private:
    std::atomic<int> handedOut{0};
    IorbHostIdentity *outer;
};
