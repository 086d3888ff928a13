#include "network/PhyAdapterInventory.h"

#include <string>

#include <gtest/gtest.h>

namespace {
struct Field {
    const char *name;
    void (PhyAdapterInventory::*set)(std::string);
    const std::string &(PhyAdapterInventory::*get)() const;
};
constexpr Field FIELDS[] = {
    {"NICModel", &PhyAdapterInventory::setNICModel, &PhyAdapterInventory::getNICModel},
    {"SerialNumber", &PhyAdapterInventory::setSerialNumber, &PhyAdapterInventory::getSerialNumber},
    {"PartNumber", &PhyAdapterInventory::setPartNumber, &PhyAdapterInventory::getPartNumber},
    {"FirmVersion", &PhyAdapterInventory::setFirmVersion, &PhyAdapterInventory::getFirmVersion},
    {"DeviceName", &PhyAdapterInventory::setDeviceName, &PhyAdapterInventory::getDeviceName},
    {"MACAddress", &PhyAdapterInventory::setMACAddress, &PhyAdapterInventory::getMACAddress},
    {"PCIDescription", &PhyAdapterInventory::setPCIDescription,
     &PhyAdapterInventory::getPCIDescription},
    {"PhyLocation", &PhyAdapterInventory::setPhyLocation, &PhyAdapterInventory::getPhyLocation},
    {"State", &PhyAdapterInventory::setState, &PhyAdapterInventory::getState},
    {"Health", &PhyAdapterInventory::setHealth, &PhyAdapterInventory::getHealth},
    {"LinkStatus", &PhyAdapterInventory::setLinkStatus, &PhyAdapterInventory::getLinkStatus},
    {"IntfName", &PhyAdapterInventory::setIntfName, &PhyAdapterInventory::getIntfName},
    {"Manufacturer", &PhyAdapterInventory::setManufacturer, &PhyAdapterInventory::getManufacturer},
};

TEST(AdapterRecord, StartsEmpty) {
    const PhyAdapterInventory adapter;
    for (const Field &field : FIELDS) EXPECT_EQ((adapter.*field.get)(), "") << field.name;
    EXPECT_EQ(adapter.getSpeed(), 0);
}

TEST(AdapterRecord, EachFieldIsItsOwn) {
    PhyAdapterInventory adapter;
    for (const Field &field : FIELDS) (adapter.*field.set)(field.name);
    adapter.setSpeed(-1);
    const PhyAdapterInventory copy = adapter;
    for (const Field &field : FIELDS) (adapter.*field.set)("other");
    for (const Field &field : FIELDS) EXPECT_EQ((copy.*field.get)(), field.name);
    EXPECT_EQ(copy.getSpeed(), -1);
}
} // namespace
