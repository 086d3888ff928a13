#pragma once

#include <map>

/// Resource ids. The daemon runs 0 to 3; the others are the RMC's vocabulary.
enum MODULE_NAME : int {
    ORB_FIBRE_CHANNEL = 0,
    ORB_HOST = 1,
    ORB_STORAGE = 2,
    ORB_ETHERNET = 3,
    ORB_NVME = 4,
    ORB_GPU = 5,
    ORB_INFINIBAND = 6,
    ORB_PROCESSOR_TELEMETRY = 100,
    ORB_MEMORY_TELEMETRY = 101,
    ORB_NETWORK_TELEMETRY = 102,
    ORB_STORAGE_TELEMETRY = 103,
    ORB_FILE_SERVICE_TELEMETRY = 104,
    ORB_NUMASTAT_TELEMETRY = 105,
};

/// Names of the resources. Each file that includes this has its own copy, built while that file's
/// statics are: not to be used before `main`. `at` throws for an id that isn't there.
static const std::map<MODULE_NAME, const char *> ORB_MODULE_NAME_MAP = {
    {ORB_FIBRE_CHANNEL, "FibreChannelDevices"},
    {ORB_HOST, "HostOSInfo"},
    {ORB_STORAGE, "StorageControllers"},
    {ORB_ETHERNET, "EthernetDevices"},
    {ORB_NVME, "NVMeControllers"},
    {ORB_GPU, "GPUDevices"},
    {ORB_INFINIBAND, "InfiniBandDevices"},
    {ORB_PROCESSOR_TELEMETRY, "ProcessorTelemetry"},
    {ORB_MEMORY_TELEMETRY, "MemoryTelemetry"},
    {ORB_NETWORK_TELEMETRY, "NetworkTelemetry"},
    {ORB_STORAGE_TELEMETRY, "StorageTelemetry"},
    {ORB_FILE_SERVICE_TELEMETRY, "FileServiceTelemetry"},
    {ORB_NUMASTAT_TELEMETRY, "NumastatTelemetry"},
};
