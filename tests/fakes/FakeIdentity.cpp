#include "fakes/FakeIdentity.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {
/// One entry of an address list with all that it points at.
struct Entry {
    ifaddrs head;
    sockaddr_in address;
    char name[64];
};
} // namespace

ORB_SYSCALL_RESULT FakeIdentity::uname(utsname *out) {
    if (unameError != 0) return {-1, unameError};
    std::snprintf(out->sysname, sizeof out->sysname, "%s", system.c_str());
    std::snprintf(out->nodename, sizeof out->nodename, "%s", node.c_str());
    std::snprintf(out->release, sizeof out->release, "%s", release.c_str());
    std::snprintf(out->version, sizeof out->version, "%s", version.c_str());
    std::snprintf(out->machine, sizeof out->machine, "%s", machine.c_str());
    return {0, 0};
}

ORB_SYSCALL_RESULT FakeIdentity::sysinfo(struct sysinfo *out) {
    if (sysinfoError != 0) return {-1, sysinfoError};
    *out = {};
    out->uptime = uptimeSeconds;
    return {0, 0};
}

ORB_SYSCALL_RESULT FakeIdentity::getifaddrs(ifaddrs **out) {
    if (getifaddrsError != 0) return {-1, getifaddrsError};
    ifaddrs *first = nullptr;
    for (auto row = addresses.rbegin(); row != addresses.rend(); ++row) {
        auto *entry = new Entry{};
        std::snprintf(entry->name, sizeof entry->name, "%s", row->first.c_str());
        entry->head.ifa_name = entry->name;
        entry->address.sin_family = AF_INET;
        if (!row->second.empty()) {
            ::inet_pton(AF_INET, row->second.c_str(), &entry->address.sin_addr);
            entry->head.ifa_addr = reinterpret_cast<sockaddr *>(&entry->address);
        }
        entry->head.ifa_next = first;
        first = &entry->head;
    }
    ++handedOut;
    *out = first;
    return {0, 0};
}

void FakeIdentity::freeifaddrs(ifaddrs *list) {
    --handedOut;
    while (list != nullptr) {
        ifaddrs *next = list->ifa_next;
        delete reinterpret_cast<Entry *>(list); // the head is its first member
        list = next;
    }
}
