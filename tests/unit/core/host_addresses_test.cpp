#include "core/host_addresses.h"

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "fakes/FakeIdentity.h"

namespace {
std::string listed() {
    std::string text;
    for (const ORB_HOST_ADDRESS &each : host_ipv4_addresses())
        text += each.interfaceName + " " + each.address + ";";
    return text;
}
} // namespace

TEST(InterfaceAddresses, OfEveryInterfaceButLo) {
    FakeIdentity identity;
    identity.addresses = {{"vmk1", "198.51.100.4"}, {"lo", "10.0.0.1"},     {"vmnic0", ""},
                          {"vmk0", "192.0.2.17"},   {"vmk0", "192.0.2.18"}, {"lo0", "127.0.0.1"}};
    EXPECT_EQ(listed(), "vmk1 198.51.100.4;vmk0 192.0.2.17;vmk0 192.0.2.18;lo0 127.0.0.1;");
    EXPECT_EQ(identity.listsOut(), 0);
}

TEST(InterfaceAddresses, NoneWhereTheHostCannotTell) {
    FakeIdentity identity;
    identity.getifaddrsError = ENOMEM;
    EXPECT_EQ(listed(), "");
    EXPECT_EQ(identity.listsOut(), 0);
}
