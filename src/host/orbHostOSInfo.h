#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// One field of a plain record with its getter and setter.
#define ORB_RECORD_FIELD(type, name)                                                               \
public:                                                                                            \
    type get##name() const {                                                                       \
        return field##name;                                                                        \
    }                                                                                              \
    void set##name(type value) {                                                                   \
        field##name = std::move(value);                                                            \
    }                                                                                              \
                                                                                                   \
private:                                                                                           \
    type field##name {}

/// Memory of the host in GiB.
class orbHostMemorySummary {
    ORB_RECORD_FIELD(double, TotalSystemMemGiB);
    ORB_RECORD_FIELD(double, TotalFreeSystemMemGiB);
};

/// IPv4 addresses of the host, dotted.
class orbHostIPv4Addresses {
    ORB_RECORD_FIELD(std::vector<std::string>, IPv4Address);
};

/// How and when the inventory is collected.
class orbCollectionInfo {
    ORB_RECORD_FIELD(std::string, CollectionType);
    ORB_RECORD_FIELD(std::int32_t, CollectionFrequencyMin); ///< minutes
    ORB_RECORD_FIELD(std::string, LastCollection);
};

/// The host's operating system. The fields from KernelCmdLine on are never filled or sent.
class orbHostOSInfo {
    ORB_RECORD_FIELD(std::string, HostName);
    ORB_RECORD_FIELD(std::string, OSName);
    ORB_RECORD_FIELD(std::string, OSVersion);
    ORB_RECORD_FIELD(std::string, OSDescription);
    ORB_RECORD_FIELD(std::int32_t, OSType);
    ORB_RECORD_FIELD(orbHostMemorySummary, OSMemorySummary);
    ORB_RECORD_FIELD(orbHostIPv4Addresses, IPv4Addresses);
    ORB_RECORD_FIELD(std::string, KernelCmdLine);
    ORB_RECORD_FIELD(std::string, CrashKernelCmd);
    ORB_RECORD_FIELD(std::int64_t, CrashKernelMemBytes);
    ORB_RECORD_FIELD(std::string, CrashkernelLoaded);
    ORB_RECORD_FIELD(std::string, KDumpSvcsEnabled);
    ORB_RECORD_FIELD(std::string, KDumpSvcsStatus);
    ORB_RECORD_FIELD(std::string, ListOfSoftwaresInstalled);
    ORB_RECORD_FIELD(std::string, OrbSwVersion);
    ORB_RECORD_FIELD(std::string, TelemetrySchemaVersion);
};
