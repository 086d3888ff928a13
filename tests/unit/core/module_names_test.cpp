#include "core/module_names.h"

#include <iterator>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {
struct NameRow {
    int id;
    const char *name;
};
const NameRow NAME_ROWS[] = {
    {0, "FibreChannelDevices"}, {1, "HostOSInfo"},           {2, "StorageControllers"},
    {3, "EthernetDevices"},     {4, "NVMeControllers"},      {5, "GPUDevices"},
    {6, "InfiniBandDevices"},   {100, "ProcessorTelemetry"}, {101, "MemoryTelemetry"},
    {102, "NetworkTelemetry"},  {103, "StorageTelemetry"},   {104, "FileServiceTelemetry"},
    {105, "NumastatTelemetry"},
};
} // namespace

TEST(ModuleNames, AreThirteenRowsInOrder) {
    ASSERT_EQ(ORB_MODULE_NAME_MAP.size(), std::size(NAME_ROWS));
    auto row = std::begin(NAME_ROWS);
    for (const auto &[id, name] : ORB_MODULE_NAME_MAP) {
        EXPECT_EQ(id, row->id);
        EXPECT_STREQ(name, row->name);
        ++row;
    }
}

TEST(ModuleNames, AtThrowsForAnIdThatIsNotThere) {
    try {
        (void)ORB_MODULE_NAME_MAP.at(static_cast<MODULE_NAME>(7));
        ADD_FAILURE() << "nothing thrown";
    } catch (const std::out_of_range &thrown) {
        EXPECT_STREQ(thrown.what(), "map::at");
    }
}
