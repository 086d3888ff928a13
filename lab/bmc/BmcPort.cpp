#include "bmc/BmcPort.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "life/LabTime.h"

namespace {
constexpr int BACKLOG = 4;
constexpr std::size_t READ_BYTES = 1024;
constexpr std::size_t UNSENT_LIMIT = 4096; // then nothing more is read until some has gone out
constexpr std::int64_t NS_PER_MS = 1'000'000;

bool has_come(const std::vector<pollfd> &found, int fd) {
    return std::any_of(found.begin(), found.end(), [fd](const pollfd &each) {
        return each.fd == fd && (each.revents & ~POLLOUT) != 0;
    });
}
} // namespace

bool BmcPort::open(std::uint16_t wanted, std::string &error) {
    close();
    listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(wanted);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto *const generic = reinterpret_cast<sockaddr *>(&address);
    socklen_t length = sizeof address;
    const int on = 1;
    if (listener < 0 || ::setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        ::bind(listener, generic, length) != 0 || ::listen(listener, BACKLOG) != 0 ||
        ::getsockname(listener, generic, &length) != 0) {
        error = "127.0.0.1:" + std::to_string(wanted) + ": " + std::strerror(errno);
        close();
        return false;
    }
    number = ntohs(address.sin_port);
    return true;
}

void BmcPort::close() {
    drop();
    if (listener >= 0) ::close(listener);
    listener = -1;
    number = 0;
}

void BmcPort::drop() {
    if (connection >= 0) ::close(connection);
    connection = -1;
    unsent.clear();
}

void BmcPort::addTo(std::vector<pollfd> &wanted) const {
    if (listener >= 0) wanted.push_back({listener, POLLIN, 0});
    if (connection < 0) return;
    int events = unsent.size() < UNSENT_LIMIT ? POLLIN : 0;
    if (!unsent.empty()) events |= POLLOUT;
    wanted.push_back({connection, static_cast<short>(events), 0});
}

int BmcPort::timeoutMs() const {
    const auto due = bmc.dueNs();
    if (!due || connection < 0) return -1;
    const std::int64_t ns = std::max<std::int64_t>(*due - monotonic_ns(), 0);
    return static_cast<int>((ns + NS_PER_MS - 1) / NS_PER_MS);
}

void BmcPort::serve(const std::vector<pollfd> &found) {
    if (connection >= 0 && has_come(found, connection)) read();
    if (listener >= 0 && has_come(found, listener)) accept();
    if (connection < 0) return;
    bmc.sendDue(monotonic_ns());
    write();
}

void BmcPort::accept() {
    const int fd = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
    if (fd < 0) return; // gone again
    drop();
    const int on = 1;
    static_cast<void>(::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on)); // only slower
    connection = fd;
    bmc.connect();
}

void BmcPort::read() {
    std::uint8_t bytes[READ_BYTES];
    const ssize_t got = ::recv(connection, bytes, sizeof bytes, 0);
    if (got > 0) return bmc.take({bytes, static_cast<std::size_t>(got)}, monotonic_ns());
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
    drop();
}

void BmcPort::write() {
    const std::vector<std::uint8_t> fresh = bmc.takeOutput();
    unsent.insert(unsent.end(), fresh.begin(), fresh.end());
    if (unsent.empty()) return;
    const ssize_t sent = ::send(connection, unsent.data(), unsent.size(), MSG_NOSIGNAL);
    if (sent > 0) {
        unsent.erase(unsent.begin(), unsent.begin() + sent);
    } else if (errno != EAGAIN && errno != EINTR) {
        drop();
    }
}
