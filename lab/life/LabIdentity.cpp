#include "life/LabIdentity.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

#include <json/json.h>

#include "core/json_text.h"

namespace {
/// One entry of the list that getifaddrs() gives; freed as a whole.
struct NODE {
    ifaddrs entry{};
    sockaddr_in address{};
    std::string name;
};

template <std::size_t N> void set_text(char (&field)[N], const Json::Value &value) {
    const std::string text = value.asString();
    const std::size_t length = std::min(text.size(), N - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}
} // namespace

bool LabIdentity::refreshLocked() {
    struct stat now {};
    if (::stat(path.c_str(), &now) != 0) return known;
    if (known && now.st_ino == readInode && now.st_mtim.tv_sec == readAt.tv_sec &&
        now.st_mtim.tv_nsec == readAt.tv_nsec)
        return true;
    std::ifstream file(path);
    Json::Value root;
    if (!parse_json(file, root) || !root.isObject()) return known;
    readInode = now.st_ino;
    readAt = now.st_mtim;
    known = true;
    real = root["real"].asBool();
    bootTime = root["bootTime"].asInt64();
    const Json::Value &uname = root["uname"];
    set_text(names.sysname, uname["sysname"]);
    set_text(names.nodename, uname["nodename"]);
    set_text(names.release, uname["release"]);
    set_text(names.version, uname["version"]);
    set_text(names.machine, uname["machine"]);
    addresses.clear();
    for (const Json::Value &each : root["addresses"])
        addresses.push_back({each["interface"].asString(), each["address"].asString()});
    return true;
}

ORB_SYSCALL_RESULT LabIdentity::uname(utsname *out) {
    const std::lock_guard<std::mutex> guard(lock);
    if (!refreshLocked()) return {-1, EFAULT};
    if (real) {
        const int rc = ::uname(out);
        return {rc, rc < 0 ? errno : 0};
    }
    *out = names;
    return {0, 0};
}

ORB_SYSCALL_RESULT LabIdentity::sysinfo(struct sysinfo *out) {
    const std::lock_guard<std::mutex> guard(lock);
    if (!refreshLocked()) return {-1, EFAULT};
    if (::sysinfo(out) != 0) return {-1, errno};
    out->uptime = std::max<long>(time.nowNs() / 1'000'000'000 - bootTime, 0);
    return {0, 0};
}

ORB_SYSCALL_RESULT LabIdentity::getifaddrs(ifaddrs **out) {
    const std::lock_guard<std::mutex> guard(lock);
    if (!refreshLocked()) return {-1, EIO};
    if (real) {
        const int rc = ::getifaddrs(out);
        return {rc, rc < 0 ? errno : 0};
    }
    ifaddrs *head = nullptr;
    for (auto each = addresses.rbegin(); each != addresses.rend(); ++each) {
        auto node = std::make_unique<NODE>();
        node->name = each->interface;
        node->address.sin_family = AF_INET;
        ::inet_pton(AF_INET, each->address.c_str(), &node->address.sin_addr);
        node->entry.ifa_name = node->name.data();
        node->entry.ifa_flags = IFF_UP | IFF_RUNNING;
        node->entry.ifa_addr = reinterpret_cast<sockaddr *>(&node->address);
        node->entry.ifa_data = node.get(); // leads freeifaddrs() back
        node->entry.ifa_next = head;
        head = &node.release()->entry;
    }
    *out = head;
    return {0, 0};
}

void LabIdentity::freeifaddrs(ifaddrs *list) {
    bool isReal = false;
    {
        const std::lock_guard<std::mutex> guard(lock);
        isReal = real;
    }
    if (isReal) {
        ::freeifaddrs(list);
        return;
    }
    while (list != nullptr) {
        const std::unique_ptr<NODE> node(static_cast<NODE *>(list->ifa_data));
        list = list->ifa_next;
    }
}
