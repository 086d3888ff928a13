#include "core/host_addresses.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>

#include "hostaccess/orbHostIdentity.h"

std::vector<ORB_HOST_ADDRESS> host_ipv4_addresses() {
    std::vector<ORB_HOST_ADDRESS> addresses;
    IorbHostIdentity &identity = IorbHostIdentity::get();
    ifaddrs *list = nullptr;
    if (identity.getifaddrs(&list).rc != 0) return addresses;
    for (const ifaddrs *entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) continue;
        const char *const name = entry->ifa_name != nullptr ? entry->ifa_name : "";
        if (std::strcmp(name, "lo") == 0) continue;
        sockaddr_in address;
        std::memcpy(&address, entry->ifa_addr, sizeof address);
        char text[INET_ADDRSTRLEN] = "";
        if (::inet_ntop(AF_INET, &address.sin_addr, text, sizeof text) != nullptr)
            addresses.push_back({name, text});
    }
    identity.freeifaddrs(list);
    return addresses;
}
