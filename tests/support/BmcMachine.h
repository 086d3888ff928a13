#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

/// Head and data of a message as they go over the wire of an emulator's controller: with checksum,
/// escapes and end byte.
inline std::vector<std::uint8_t> bmc_frame(std::vector<std::uint8_t> bytes) {
    bytes.push_back(static_cast<std::uint8_t>(0 - std::accumulate(bytes.begin(), bytes.end(), 0u)));
    std::vector<std::uint8_t> sent;
    for (const std::uint8_t byte : bytes) {
        const bool special = byte == 0xA0 || byte == 0xA1 || byte == 0xAA;
        if (special) sent.push_back(0xAA);
        sent.push_back(static_cast<std::uint8_t>(special ? byte + 0x10 : byte));
    }
    sent.push_back(0xA0);
    return sent;
}

inline std::vector<std::uint8_t> bmc_request(std::uint8_t sequence, std::uint8_t netfn,
                                             std::uint8_t cmd,
                                             const std::vector<std::uint8_t> &data = {},
                                             std::uint8_t lun = 0) {
    std::vector<std::uint8_t> bytes{sequence, static_cast<std::uint8_t>(netfn << 2 | lun), cmd};
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bmc_frame(bytes);
}

/// @param netfn  the request's
inline std::vector<std::uint8_t> bmc_answer(std::uint8_t sequence, std::uint8_t netfn,
                                            std::uint8_t cmd, std::uint8_t completionCode,
                                            std::vector<std::uint8_t> data = {},
                                            std::uint8_t lun = 0) {
    data.insert(data.begin(), completionCode);
    return bmc_request(sequence, static_cast<std::uint8_t>(netfn | 1), cmd, data, lun);
}

/// The machine's end of a controller's wire, on the loopback interface.
class BmcMachine {
public:
    /// @param bufferBytes  of the kernel for each way, roughly; 0: as the kernel likes
    explicit BmcMachine(std::uint16_t port, int bufferBytes = 0)
        : fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        for (const int option : {SO_SNDBUF, SO_RCVBUF}) {
            if (bufferBytes == 0) break;
            EXPECT_EQ(::setsockopt(fd, SOL_SOCKET, option, &bufferBytes, sizeof bufferBytes), 0);
        }
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    }
    ~BmcMachine() { ::close(fd); }
    BmcMachine(const BmcMachine &) = delete;
    BmcMachine &operator=(const BmcMachine &) = delete;

    void send(const std::vector<std::uint8_t> &bytes) const {
        EXPECT_EQ(::send(fd, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    /// Sends as much of the bytes from `from` on as there is room for. @return how much that was
    std::size_t sendSome(const std::vector<std::uint8_t> &bytes, std::size_t from) const {
        const ssize_t sent =
            ::send(fd, bytes.data() + from, bytes.size() - from, MSG_NOSIGNAL | MSG_DONTWAIT);
        return sent > 0 ? static_cast<std::size_t>(sent) : 0;
    }
    /// @return what has come so far; empty where nothing has
    std::vector<std::uint8_t> receiveSome() const {
        std::vector<std::uint8_t> bytes(65536);
        const ssize_t got = ::recv(fd, bytes.data(), bytes.size(), MSG_DONTWAIT);
        bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return bytes;
    }
    /// @return as many bytes as are wanted; fewer where the connection ends
    std::vector<std::uint8_t> receive(std::size_t count) const {
        std::vector<std::uint8_t> bytes(count);
        std::size_t got = 0;
        while (got < count && isReadable(PATIENCE_MS)) {
            const ssize_t piece = ::recv(fd, bytes.data() + got, count - got, 0);
            if (piece <= 0) break;
            got += static_cast<std::size_t>(piece);
        }
        bytes.resize(got);
        return bytes;
    }
    /// Sends a request and takes an answer up to its end byte.
    std::vector<std::uint8_t> ask(const std::vector<std::uint8_t> &request) const {
        send(request);
        std::vector<std::uint8_t> answer;
        while (answer.empty() || answer.back() != 0xA0) {
            const auto byte = receive(1);
            if (byte.empty()) break;
            answer.push_back(byte[0]);
        }
        return answer;
    }
    bool isEnded() const {
        char byte = 0;
        return isReadable(PATIENCE_MS) && ::recv(fd, &byte, 1, 0) <= 0;
    }
    bool isReadable(int timeoutMs) const {
        pollfd wanted{fd, POLLIN, 0};
        return ::poll(&wanted, 1, timeoutMs) == 1;
    }

private:
    static constexpr int PATIENCE_MS = 20'000; // a test that works never waits so long
    int fd;
};
