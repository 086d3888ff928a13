#include "fc/fc_attributes.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace {
TEST(FcField, EndsAtItsNul) {
    const char field[8] = {'F', 'C', '\0', 'x', 'x', 'x', 'x', 'x'};
    EXPECT_EQ(fc_field_text(field), "FC");
}
TEST(FcField, EndsWithTheFieldWithoutANul) {
    struct {
        char field[4] = {'F', 'U', 'L', 'L'};
        char next[4] = {'x', 'x', 'x', 'x'};
    } record;
    EXPECT_EQ(fc_field_text(record.field), "FULL");
}
TEST(FcField, MayBeEmpty) {
    const char field[4] = {};
    EXPECT_EQ(fc_field_text(field), "");
    EXPECT_EQ(fc_field_text({}), "");
}
TEST(FcField, KeepsItsBytes) {
    const char field[4] = {'\xFF', '\n', '%', 's'};
    EXPECT_EQ(fc_field_text(field), "\xFF\n%s");
}

TEST(FcName, IsEightBytesInLowerCase) {
    EXPECT_EQ(WWNtoString({{0x20, 0x00, 0x02, 0x00, 0x5E, 0x00, 0x00, 0xA1}}),
              "20:00:02:00:5e:00:00:a1");
    EXPECT_EQ(WWNtoString({}), "00:00:00:00:00:00:00:00");
    EXPECT_EQ(WWNtoString({{0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}),
              "ff:ff:ff:ff:ff:ff:ff:ff");
}

TEST(FcAttributes, GoIntoTheirFields) {
    HBA_ADAPTERATTRIBUTES attributes{};
    std::strcpy(attributes.Manufacturer, "nobody reads it");
    std::strcpy(attributes.Model, "FC900X");
    std::strcpy(attributes.ModelDescription, "Vantor Fabric 900X");
    std::strcpy(attributes.SerialNumber, "FC0000001");
    std::strcpy(attributes.FirmwareVersion, "8.05.61");
    std::strcpy(attributes.OptionROMVersion, "3.54");
    attributes.NodeWWN.wwn[7] = 0xA1;
    orbFCDeviceInfo info;
    store_adapter_attributes(attributes, info);
    EXPECT_EQ(info.getorbFCModel(), "Vantor Fabric 900X");
    EXPECT_EQ(info.getorbFCSerialNumber(), "FC0000001");
    EXPECT_EQ(info.getorbFCFirmwareVersion(), "8.05.61");
    EXPECT_EQ(info.getorbFCRomVersion(), "3.54");
    EXPECT_EQ(info.getorbFCWWNN(), "00:00:00:00:00:00:00:a1");
    EXPECT_EQ(info.getorbFCWWPN(), "Not Available");
    EXPECT_EQ(info.getorbFCManufacturer(), "Not Available");
}
TEST(FcAttributes, WithoutATerminatorAreAsLongAsTheirFields) {
    HBA_ADAPTERATTRIBUTES attributes;
    std::memset(&attributes, 'A', sizeof attributes);
    orbFCDeviceInfo info;
    store_adapter_attributes(attributes, info);
    EXPECT_EQ(info.getorbFCModel(), std::string(256, 'A'));
    EXPECT_EQ(info.getorbFCSerialNumber(), std::string(64, 'A'));
    EXPECT_EQ(info.getorbFCFirmwareVersion(), std::string(256, 'A'));
    EXPECT_EQ(info.getorbFCRomVersion(), std::string(256, 'A'));
    EXPECT_EQ(info.getorbFCWWNN(), "41:41:41:41:41:41:41:41");
}

TEST(FcPorts, AreAskedUpTo256) {
    HBA_ADAPTERATTRIBUTES attributes{};
    for (const auto &[claimed, asked] : {std::pair{0u, 0u},
                                         {1u, 1u},
                                         {2u, 2u},
                                         {255u, 255u},
                                         {256u, 256u},
                                         {257u, 256u},
                                         {0x80000000u, 256u},
                                         {0xFFFFFFFFu, 256u}}) {
        attributes.NumberOfPorts = claimed;
        EXPECT_EQ(fc_ports_to_ask(attributes), asked) << claimed;
    }
}
} // namespace
