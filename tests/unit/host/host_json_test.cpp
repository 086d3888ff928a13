#include "host/host_json.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"

namespace {
orbCollectionInfo remote_support() {
    orbCollectionInfo collection;
    collection.setCollectionType("RemoteSupport");
    collection.setCollectionFrequencyMin(1440);
    collection.setLastCollection("Jan 3 08:04:09");
    return collection;
}

orbHostOSInfo host_at(const std::vector<std::string> &addresses) {
    orbHostMemorySummary memory;
    memory.setTotalSystemMemGiB(1023);
    memory.setTotalFreeSystemMemGiB(961);
    orbHostIPv4Addresses list;
    list.setIPv4Address(addresses);
    orbHostOSInfo host;
    host.setHostName("orb-host-01");
    host.setOSName("VMwareESXi");
    host.setOSVersion("8.0.2");
    host.setOSDescription("Linux orb-host-01 6.1.0 #1 x86_64");
    host.setOSType(104);
    host.setOSMemorySummary(memory);
    host.setIPv4Addresses(list);
    host.setKernelCmdLine("never sent");
    host.setOrbSwVersion("never sent");
    return host;
}

TEST(HostObject, HasAllKeysInTheirTypes) {
    EXPECT_EQ(
        compact_json(host_object(host_at({"192.0.2.17", "198.51.100.4"}), remote_support())),
        R"({"CollectionInfo":{"CollectionFrequencyMin":1440,"CollectionType":"RemoteSupport",)"
        R"("LastCollection":"Jan 3 08:04:09"},"HostOSInfo":{"HostName":"orb-host-01",)"
        R"("IPv4Addresses":[{"Address":"192.0.2.17"},{"Address":"198.51.100.4"}],)"
        R"("OSDescription":"Linux orb-host-01 6.1.0 #1 x86_64",)"
        R"("OSMemorySummary":{"TotalFreeSystemMemoryGiB":961.0,"TotalSystemMemoryGiB":1023.0},)"
        R"("OSName":"VMwareESXi","OSType":104,"OSVersion":"8.0.2"}})");
}

TEST(HostObject, HostWithoutAddressIsReportedAtLoopback) {
    const Json::Value object = host_object(host_at({}), remote_support());
    EXPECT_EQ(compact_json(object["HostOSInfo"]["IPv4Addresses"]), R"([{"Address":"127.0.0.1"}])");
}

TEST(HostObject, OtherCollectionTypeLeavesTheInfoOut) {
    EXPECT_FALSE(host_object(host_at({}), orbCollectionInfo()).isMember("CollectionInfo"));
}

TEST(HostObject, EmptyRecordHasEveryKey) {
    const Json::Value info = host_object(orbHostOSInfo(), remote_support())["HostOSInfo"];
    EXPECT_EQ(info["HostName"], Json::Value(""));
    EXPECT_EQ(info["OSType"], Json::Value(0));
    EXPECT_EQ(info["OSMemorySummary"]["TotalSystemMemoryGiB"], Json::Value(0.0));
    EXPECT_TRUE(info["OSMemorySummary"]["TotalFreeSystemMemoryGiB"].isDouble());
    EXPECT_EQ(info.size(), 7u);
}
} // namespace
