#include "platform/platformCheck.h"

#include <syslog.h>

#include <string>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "fakes/CapturedSyslog.h"
#include "fakes/LogFile.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "support/SmbiosImage.h"

namespace {
class PlatformCheck : public ::testing::Test {
protected:
    void put(const Bytes &image) { root.write(SMBIOS_DEVICE, SmbiosImage::as_text(image)); }

    TemporaryRoot root;
    CapturedSyslog syslog;
};

TEST_F(PlatformCheck, MakerAndPaths) {
    put(SmbiosImage::exampleServer());
    EXPECT_EQ(platformCheck::getCardManufacturer(), "Vantor");
    EXPECT_EQ(platformCheck::getDirectoryPath(), "/opt/vantor/orb");
    EXPECT_EQ(platformCheck::getStartupFilePath(), "/var/tmp/vantor");
    EXPECT_TRUE(syslog.lines().empty());
}

TEST_F(PlatformCheck, SetDirectoryPathReadsAll) {
    put(SmbiosImage::exampleServer());
    platformCheck::setDirectoryPath();
    put({});
    EXPECT_EQ(platformCheck::getCardManufacturer(), "Vantor");
}

TEST_F(PlatformCheck, UnreadableSmbiosStillGivesBothPaths) {
    EXPECT_EQ(platformCheck::getStartupFilePath(), "/var/tmp/vantor");
    EXPECT_EQ(platformCheck::getDirectoryPath(), "/opt/vantor/orb");
    const auto lines = syslog.lines();
    ASSERT_EQ(lines.size(), 1u); // the second path was there already
    EXPECT_EQ(lines[0].ident, "orb");
    EXPECT_EQ(lines[0].facility, LOG_USER);
    EXPECT_EQ(lines[0].priority, LOG_INFO);
    EXPECT_EQ(lines[0].text,
              "Error starting SMBIOS table, Error : 2 , Reason : No such file or directory");
}

TEST_F(PlatformCheck, MissingMakerIsReadAgainAtEachCall) {
    EXPECT_EQ(platformCheck::getCardManufacturer(), "");
    EXPECT_EQ(platformCheck::getCardManufacturer(), "");
    EXPECT_EQ(syslog.count(LOG_INFO, "Error starting SMBIOS table"), 2);
    put(SmbiosImage::exampleServer());
    EXPECT_EQ(platformCheck::getCardManufacturer(), "Vantor");
}

TEST_F(PlatformCheck, TableWithoutSystemRecordIsReported) {
    put(SmbiosImage().add(9, Bytes(13)).image());
    EXPECT_EQ(platformCheck::getCardManufacturer(), "");
    const auto lines = syslog.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].ident, "orb");
    EXPECT_EQ(lines[0].facility, LOG_USER);
    EXPECT_EQ(lines[0].priority, LOG_WARNING);
    EXPECT_EQ(lines[0].text, "Unable to fetch smbios type 1 record");
}

TEST_F(PlatformCheck, RecordWithoutMakerStringIsUndefined) {
    put(SmbiosImage().add(1, Bytes(23)).image());
    EXPECT_EQ(platformCheck::getCardManufacturer(), "Undefined");
}

TEST_F(PlatformCheck, FirstSystemRecordCounts) {
    put(SmbiosImage().add(1, {1, 0, 0, 0}, {"First"}).add(1, {1, 0, 0, 0}, {"Second"}).image());
    EXPECT_EQ(platformCheck::getCardManufacturer(), "First");
}

TEST_F(PlatformCheck, LeavesTheReaderRunningForALateFamily) {
    const VirtualClock clock;
    const LogFile log(root);
    Bytes formatted(23, 0);
    formatted[22] = 1;
    put(SmbiosImage().add(1, formatted, {"PLATFORM-ID-B02"}).image());
    orbUtils::initializeSMBIOS();
    orbUtils::initGeoIDMap(); // no slots: stops the reader before anybody wanted the family
    EXPECT_EQ(platformCheck::getStartupFilePath(), "/var/tmp/vantor");
    EXPECT_EQ(orbUtils::getPlatformFamily(), "PLATFORM-ID-B02");
}
} // namespace
