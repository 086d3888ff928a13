#include "fc/orbFCDeviceInfo.h"

#include <string>

#include <gtest/gtest.h>

namespace {
struct Field {
    const char *name;
    void (orbFCDeviceInfo::*set)(std::string);
    const std::string &(orbFCDeviceInfo::*get)() const;
    const char *atFirst;
};
constexpr Field FIELDS[] = {
    {"Slot", &orbFCDeviceInfo::setorbFCSlot, &orbFCDeviceInfo::getorbFCSlot, "Not Available"},
    {"Model", &orbFCDeviceInfo::setorbFCModel, &orbFCDeviceInfo::getorbFCModel, "Not Available"},
    {"SerialNumber", &orbFCDeviceInfo::setorbFCSerialNumber, &orbFCDeviceInfo::getorbFCSerialNumber,
     "Not Available"},
    {"PartNumber", &orbFCDeviceInfo::setorbFCPartNumber, &orbFCDeviceInfo::getorbFCPartNumber,
     "Not Available"},
    {"FirmwareVersion", &orbFCDeviceInfo::setorbFCFirmwareVersion,
     &orbFCDeviceInfo::getorbFCFirmwareVersion, "Not Available"},
    {"RomVersion", &orbFCDeviceInfo::setorbFCRomVersion, &orbFCDeviceInfo::getorbFCRomVersion,
     "Not Available"},
    {"WWPN", &orbFCDeviceInfo::setorbFCWWPN, &orbFCDeviceInfo::getorbFCWWPN, "Not Available"},
    {"WWNN", &orbFCDeviceInfo::setorbFCWWNN, &orbFCDeviceInfo::getorbFCWWNN, "Not Available"},
    {"Description", &orbFCDeviceInfo::setorbFCDescription, &orbFCDeviceInfo::getorbFCDescription,
     ""},
    {"Manufacturer", &orbFCDeviceInfo::setorbFCManufacturer, &orbFCDeviceInfo::getorbFCManufacturer,
     "Not Available"},
};

TEST(FcRecord, SaysOfNothingThatItIsAvailable) {
    const orbFCDeviceInfo info;
    for (const Field &field : FIELDS) EXPECT_EQ((info.*field.get)(), field.atFirst) << field.name;
    EXPECT_EQ(info.getorbFCOemPhyLoc().getFCPhysicalLocation(), "Not Available");
    EXPECT_EQ(info.getorbFCStatus().getFCDeviceState(), ORB_STATE_UNKNOWN);
    EXPECT_EQ(info.getorbFCStatus().getFCDeviceHealth(), ORB_HEALTH_UNKNOWN);
    EXPECT_EQ(info.portCount, 0);
    EXPECT_EQ(info.adapterIndex, 0);
    EXPECT_EQ(info.handle, 0u);
    EXPECT_EQ(info.adapterName, "");
}

TEST(FcRecord, EachFieldIsItsOwn) {
    orbFCDeviceInfo info;
    for (const Field &field : FIELDS) (info.*field.set)(field.name);
    orbFCDevicePhyLoc place;
    place.setFCPhysicalLocation("0123456789ABCDEF");
    info.setorbOemPhyLoc(place);
    orbFCDeviceStatusInfo status;
    status.setFCDeviceState(ORB_STATE_LINKDOWN);
    status.setFCDeviceHealth(ORB_HEALTH_CRITICAL);
    info.setorbFCStatus(status);
    const orbFCDeviceInfo copy = info;
    for (const Field &field : FIELDS) (info.*field.set)("other");
    info.setorbOemPhyLoc({});
    info.setorbFCStatus({});
    for (const Field &field : FIELDS) EXPECT_EQ((copy.*field.get)(), field.name);
    EXPECT_EQ(copy.getorbFCOemPhyLoc().getFCPhysicalLocation(), "0123456789ABCDEF");
    EXPECT_EQ(copy.getorbFCStatus().getFCDeviceState(), ORB_STATE_LINKDOWN);
    EXPECT_EQ(copy.getorbFCStatus().getFCDeviceHealth(), ORB_HEALTH_CRITICAL);
}

TEST(FcRecord, StatusIsTwoBytes) {
    EXPECT_EQ(sizeof(orbFCDeviceStatusInfo), 2u);
}
} // namespace
