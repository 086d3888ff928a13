#include "life/LabDevices.h"

#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "life/wire.h"

namespace {
constexpr unsigned char ANSWER_NETFN_BIT = 1;

ORB_SYSCALL_RESULT failed(int err) {
    return {-1, err};
}

ORB_SYSCALL_RESULT send_command(int fd, const ipmi_req *request) {
    WIRE_REQUEST packet{};
    if (request->msg.data_len > sizeof packet.data) return failed(EMSGSIZE);
    if (request->addr == nullptr || request->addr_len < sizeof(ipmi_system_interface_addr))
        return failed(EINVAL);
    ipmi_system_interface_addr address{};
    std::memcpy(&address, request->addr, sizeof address);
    packet.messageId = request->msgid;
    packet.addressType = address.addr_type;
    packet.addressLength = request->addr_len;
    packet.channel = address.channel;
    packet.lun = address.lun;
    packet.netfn = request->msg.netfn;
    packet.cmd = request->msg.cmd;
    packet.dataLength = request->msg.data_len;
    if (packet.dataLength != 0) std::memcpy(packet.data, request->msg.data, packet.dataLength);
    if (::send(fd, &packet, sizeof packet, MSG_NOSIGNAL) != sizeof packet) return failed(errno);
    return {0, 0};
}

ORB_SYSCALL_RESULT receive_message(int fd, ipmi_recv *received) {
    WIRE_ANSWER packet{};
    const ssize_t got = ::recv(fd, &packet, sizeof packet, MSG_DONTWAIT);
    if (got < 0) return failed(errno);
    if (got != sizeof packet) return failed(EIO);
    if (received->addr_len < sizeof(ipmi_system_interface_addr)) return failed(EINVAL);

    ipmi_system_interface_addr address{};
    address.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    address.channel = IPMI_BMC_CHANNEL;
    std::memcpy(received->addr, &address, sizeof address);
    received->addr_len = sizeof address;
    received->recv_type = IPMI_RESPONSE_RECV_TYPE;
    received->msgid = static_cast<long>(packet.messageId);
    received->msg.netfn = packet.netfn | ANSWER_NETFN_BIT;
    received->msg.cmd = packet.cmd;
    const unsigned short room = received->msg.data_len;
    received->msg.data_len = std::min<unsigned short>(room, packet.length);
    std::memcpy(received->msg.data, packet.data, received->msg.data_len);
    return packet.length > room ? failed(EMSGSIZE) : ORB_SYSCALL_RESULT{0, 0};
}
} // namespace

ORB_SYSCALL_RESULT LabDevices::open(const char *path, int) {
    if (std::strcmp(path, "/dev/ipmi0") != 0 || ::access((root + path).c_str(), F_OK) != 0)
        return failed(ENOENT);
    int ends[2];
    if (!make_wire(ends)) return failed(errno);
    if (!send_descriptor(control, ends[1])) {
        const int err = errno;
        ::close(ends[0]);
        ::close(ends[1]);
        return failed(err);
    }
    ::close(ends[1]);
    return {ends[0], 0};
}

ORB_SYSCALL_RESULT LabDevices::datagramSocket() {
    return failed(EAFNOSUPPORT);
}

ORB_SYSCALL_RESULT LabDevices::close(int fd) {
    return ::close(fd) == 0 ? ORB_SYSCALL_RESULT{0, 0} : failed(errno);
}

ORB_SYSCALL_RESULT LabDevices::ioctl(int fd, unsigned long request, void *arg) {
    if (request == IPMICTL_SEND_COMMAND) return send_command(fd, static_cast<ipmi_req *>(arg));
    if (request == IPMICTL_RECEIVE_MSG_TRUNC)
        return receive_message(fd, static_cast<ipmi_recv *>(arg));
    return failed(ENOTTY);
}

ORB_SYSCALL_RESULT LabDevices::waitReadable(int fd) {
    pollfd wanted{fd, POLLIN, 0};
    const int rc = ::poll(&wanted, 1, -1);
    if (rc < 0) return failed(errno);
    return {(wanted.revents & POLLIN) != 0 ? 1 : 0, 0};
}
