#include "VmQmp.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include "core/json_text.h"

namespace {
constexpr std::size_t LINE_LIMIT = 4u << 20;
} // namespace

void VmQmp::use(int descriptor) {
    if (fd >= 0) ::close(fd);
    fd = descriptor;
    pending.clear();
}

bool VmQmp::greet(std::string &error) {
    Json::Value greeting, nothing;
    return next(greeting, error) && execute("qmp_capabilities", Json::Value(), nothing, error);
}

bool VmQmp::execute(const std::string &command, const Json::Value &arguments, Json::Value &answer,
                    std::string &error) {
    Json::Value request;
    request["execute"] = command;
    if (!arguments.isNull()) request["arguments"] = arguments;
    const std::string line = compact_json(request) + "\n";
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t count = ::send(fd, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
        if (count < 0) {
            error = command + ": " + std::strerror(errno);
            return false;
        }
        sent += static_cast<std::size_t>(count);
    }
    Json::Value reply;
    if (!next(reply, error)) {
        error = command + ": " + error;
        return false;
    }
    if (reply.isMember("error")) {
        error = command + ": " + reply["error"]["desc"].asString();
        return false;
    }
    answer = reply["return"];
    return true;
}

bool VmQmp::next(Json::Value &object, std::string &error) {
    const auto deadline = std::chrono::steady_clock::now() + LIMIT;
    for (;;) {
        if (const std::size_t end = pending.find('\n'); end != std::string::npos) {
            const std::string line = pending.substr(0, end);
            pending.erase(0, end + 1);
            if (!parse_json(line, object) || !object.isObject()) {
                error = "no JSON object: " + line;
                return false;
            }
            if (!object.isMember("event")) return true;
            continue;
        }
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        pollfd readable{fd, POLLIN, 0};
        const int found =
            ::poll(&readable, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
        char bytes[4096];
        const ssize_t count = found <= 0 ? -1 : ::recv(fd, bytes, sizeof bytes, 0);
        if (count <= 0 || pending.size() > LINE_LIMIT) {
            error = found == 0   ? "no answer"
                    : count == 0 ? "the machine has ended"
                                 : std::strerror(errno);
            return false;
        }
        pending.append(bytes, static_cast<std::size_t>(count));
    }
}
