#include "hostaccess/orbHostDevices.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace {
ORB_SYSCALL_RESULT result_of(long rc) {
    return {rc, rc < 0 ? errno : 0};
}

class HostDevices final : public IorbHostDevices {
public:
    ORB_SYSCALL_RESULT open(const char *path, int flags) override {
        return result_of(::open(path, flags | O_CLOEXEC));
    }
    ORB_SYSCALL_RESULT datagramSocket() override {
        return result_of(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    }
    ORB_SYSCALL_RESULT close(int fd) override { return result_of(::close(fd)); }
    ORB_SYSCALL_RESULT ioctl(int fd, unsigned long request, void *arg) override {
        return result_of(::ioctl(fd, request, arg));
    }
    ORB_SYSCALL_RESULT waitReadable(int fd) override {
        pollfd wanted{fd, POLLIN, 0};
        const int rc = ::poll(&wanted, 1, -1);
        if (rc < 0) return result_of(rc);
        return {(wanted.revents & POLLIN) != 0 ? 1 : 0, 0};
    }
};
constinit orbImmortal<HostDevices> host;
constinit orbSeam<IorbHostDevices> seam{host.value};
} // namespace

IorbHostDevices &IorbHostDevices::get() {
    return seam.get();
}
IorbHostDevices *IorbHostDevices::replace(IorbHostDevices *next) {
    return seam.replace(next);
}
