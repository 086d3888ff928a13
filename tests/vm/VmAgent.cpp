#include "VmAgent.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {
constexpr std::size_t OUTPUT_LIMIT = 16u << 20, LINE_LIMIT = 4096;
constexpr std::chrono::seconds POST_LIMIT{60};

std::string base64(const std::string &text) {
    static constexpr char DIGITS[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t at = 0; at < text.size(); at += 3) {
        std::uint32_t three = 0;
        for (std::size_t i = 0; i < 3; ++i)
            three = three << 8 | (at + i < text.size() ? static_cast<unsigned char>(text[at + i])
                                                       : std::uint32_t{0});
        for (std::size_t i = 0; i < 4; ++i)
            out += at + i <= text.size() ? DIGITS[three >> (18 - 6 * i) & 0x3F] : '=';
    }
    return out;
}
} // namespace

void VmAgent::use(int descriptor) {
    if (fd >= 0) ::close(fd);
    fd = descriptor;
    pending.clear();
    boot.clear();
}

bool VmAgent::awaitBoot(std::chrono::milliseconds limit, std::string &error) {
    static constexpr char READY[] = "ready ";
    const DEADLINE deadline = std::chrono::steady_clock::now() + limit;
    for (std::string line;;) {
        // The boot before may have left half an answer, which has no end of line.
        if (!takeLine(deadline, line, error)) return false;
        const std::size_t at = line.rfind(READY);
        if (at == std::string::npos) continue;
        const std::string name = line.substr(at + sizeof READY - 1);
        if (name == boot) continue;
        boot = name;
        return true;
    }
}

bool VmAgent::run(const std::string &command, SECONDS limit, VM_OUTPUT &output,
                  std::string &error) {
    output = {};
    if (!send(command, limit, error)) return false;
    const DEADLINE deadline = std::chrono::steady_clock::now() + limit + GRACE;
    std::string line;
    if (!takeLine(deadline, line, error)) return false;
    unsigned answered = 0;
    std::size_t bytes = 0;
    if (std::sscanf(line.c_str(), "%u %d %zu", &answered, &output.status, &bytes) != 3 ||
        answered != number || bytes > OUTPUT_LIMIT) {
        error = "the machine's agent answers \"" + line + "\"";
        return false;
    }
    while (pending.size() < bytes)
        if (!fill(deadline, error)) return false;
    output.text = pending.substr(0, bytes);
    pending.erase(0, bytes);
    return true;
}

bool VmAgent::post(const std::string &command, std::string &error) {
    return send(command, POST_LIMIT, error);
}

bool VmAgent::send(const std::string &command, SECONDS limit, std::string &error) {
    const std::string line = std::to_string(++number) + " " + std::to_string(limit.count()) + " " +
                             base64(command) + "\n";
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t count = ::send(fd, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count < 0) {
            error = std::string("the machine's agent: ") + std::strerror(errno);
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

bool VmAgent::fill(DEADLINE deadline, std::string &error) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd readable{fd, POLLIN, 0};
    const int found =
        ::poll(&readable, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (found == 0) {
        error = "the machine's agent gives no answer";
        return false;
    }
    char bytes[65536];
    const ssize_t count = found < 0 ? -1 : ::recv(fd, bytes, sizeof bytes, 0);
    if (count <= 0) {
        error = std::string("the machine's agent: ") +
                (count == 0 ? "the machine has ended" : std::strerror(errno));
        return false;
    }
    pending.append(bytes, static_cast<std::size_t>(count));
    return true;
}

bool VmAgent::takeLine(DEADLINE deadline, std::string &line, std::string &error) {
    for (;;) {
        if (const std::size_t end = pending.find('\n'); end != std::string::npos) {
            line = pending.substr(0, end);
            pending.erase(0, end + 1);
            return true;
        }
        // What is longer is the cut output of a boot that has ended.
        if (pending.size() > LINE_LIMIT) pending.erase(0, pending.size() - LINE_LIMIT);
        if (!fill(deadline, error)) return false;
    }
}
