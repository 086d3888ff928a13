#include "daemon/orbReadiness.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace {
constexpr char VARIABLE[] = "NOTIFY_SOCKET";
}

orbReadiness::orbReadiness() {
    if (const char *const name = std::getenv(VARIABLE)) socketName = name;
    ::unsetenv(VARIABLE);
}

bool orbReadiness::send(const std::string &state) const {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (socketName.size() < 2 || socketName.size() >= sizeof address.sun_path) return false;
    if (socketName[0] != '/' && socketName[0] != '@') return false;
    std::memcpy(address.sun_path, socketName.data(), socketName.size());
    if (socketName[0] == '@') address.sun_path[0] = '\0'; // an abstract name has no file
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socketName.size());

    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) return false;
    const ssize_t sent = ::sendto(fd, state.data(), state.size(), MSG_NOSIGNAL,
                                  reinterpret_cast<const sockaddr *>(&address), length);
    ::close(fd);
    return sent == static_cast<ssize_t>(state.size());
}
