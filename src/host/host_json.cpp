#include "host/host_json.h"

namespace {
Json::Value address_list(const std::vector<std::string> &addresses) {
    Json::Value list(Json::arrayValue);
    const auto add = [&list](const std::string &address) {
        Json::Value entry;
        entry["Address"] = address;
        list.append(std::move(entry));
    };
    for (const std::string &address : addresses) add(address);
    if (addresses.empty()) add("127.0.0.1");
    return list;
}
} // namespace

Json::Value host_object(const orbHostOSInfo &host, const orbCollectionInfo &collection) {
    Json::Value memory;
    memory["TotalSystemMemoryGiB"] = host.getOSMemorySummary().getTotalSystemMemGiB();
    memory["TotalFreeSystemMemoryGiB"] = host.getOSMemorySummary().getTotalFreeSystemMemGiB();

    Json::Value object;
    Json::Value &info = object["HostOSInfo"];
    info["HostName"] = host.getHostName();
    info["OSName"] = host.getOSName();
    info["OSVersion"] = host.getOSVersion();
    info["OSDescription"] = host.getOSDescription();
    info["OSType"] = host.getOSType();
    info["OSMemorySummary"] = std::move(memory);
    info["IPv4Addresses"] = address_list(host.getIPv4Addresses().getIPv4Address());

    if (collection.getCollectionType() == "RemoteSupport") {
        Json::Value &how = object["CollectionInfo"];
        how["CollectionType"] = collection.getCollectionType();
        how["CollectionFrequencyMin"] = collection.getCollectionFrequencyMin();
        how["LastCollection"] = collection.getLastCollection();
    }
    return object;
}
