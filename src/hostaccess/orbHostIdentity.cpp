#include "hostaccess/orbHostIdentity.h"

#include <cerrno>

namespace {
ORB_SYSCALL_RESULT result_of(int rc) {
    return {rc, rc < 0 ? errno : 0};
}

class HostIdentity final : public IorbHostIdentity {
public:
    ORB_SYSCALL_RESULT uname(utsname *out) override { return result_of(::uname(out)); }
    ORB_SYSCALL_RESULT sysinfo(struct sysinfo *out) override { return result_of(::sysinfo(out)); }
    ORB_SYSCALL_RESULT getifaddrs(ifaddrs **out) override { return result_of(::getifaddrs(out)); }
    void freeifaddrs(ifaddrs *list) override { ::freeifaddrs(list); }
};
constinit orbImmortal<HostIdentity> host;
constinit orbSeam<IorbHostIdentity> seam{host.value};
} // namespace

IorbHostIdentity &IorbHostIdentity::get() {
    return seam.get();
}
IorbHostIdentity *IorbHostIdentity::replace(IorbHostIdentity *next) {
    return seam.replace(next);
}
