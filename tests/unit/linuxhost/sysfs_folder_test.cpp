#include "linuxhost/sysfs_folder.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <set>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "support/linux_machine.h"

namespace {
TEST(SysfsFolder, TellsTextsAndLinks) {
    TemporaryRoot root;
    root.write("/device/label", "  Onboard\tLAN 1\n\n");
    make_link(root, "/device/driver", "../../bus/pci/drivers/igb");
    make_link(root, "/device/bare", "igb");
    const SYSFS_FOLDER folder(root.path() + "/device");
    ASSERT_TRUE(folder.isOpen());
    EXPECT_EQ(folder.error(), 0);
    EXPECT_EQ(folder.text("label"), "Onboard LAN 1");
    EXPECT_EQ(folder.linkTarget("driver"), "../../bus/pci/drivers/igb");
    EXPECT_EQ(folder.linkedName("driver"), "igb");
    EXPECT_EQ(folder.linkedName("bare"), "igb");
    EXPECT_EQ(folder.linkTarget("label"), "") << "no link";
    EXPECT_EQ(folder.text("none"), "");
    EXPECT_EQ(folder.linkedName("none"), "");
}

TEST(SysfsFolder, OfAFolderWithinAnother) {
    TemporaryRoot root;
    root.write("/device/net/eth0/address", "02:00:5e:10:20:30\n");
    make_link(root, "/class", "device/net");
    const SYSFS_FOLDER above(root.path());
    EXPECT_EQ(SYSFS_FOLDER(above, "device/net/eth0").text("address"), "02:00:5e:10:20:30");
    EXPECT_EQ(SYSFS_FOLDER(above, "class").firstOfAll(), "eth0") << "through a link";
    const SYSFS_FOLDER missing(above, "device/other");
    EXPECT_FALSE(missing.isOpen());
    EXPECT_EQ(missing.error(), ENOENT);
    EXPECT_EQ(SYSFS_FOLDER(missing, "net").error(), ENOENT);
    EXPECT_EQ(SYSFS_FOLDER(above, "device/net/eth0/address").error(), ENOTDIR);
}

TEST(SysfsFolder, AMissingOneHoldsNothing) {
    const SYSFS_FOLDER folder("/nonexistent/folder");
    std::array<char, 8> room{};
    std::size_t read = 1;
    EXPECT_EQ(folder.bytes("file", room, read), ENOENT);
    EXPECT_EQ(read, 0u);
    EXPECT_EQ(folder.text("file"), "");
    EXPECT_EQ(folder.firstOfAll(), "");
    EXPECT_EQ(folder.list([](const char *) { FAIL(); }), ENOENT);
}

TEST(SysfsFolder, ReadsNoMoreThanThereIsRoomFor) {
    TemporaryRoot root;
    root.write("/big", std::string(100000, 'a'));
    const SYSFS_FOLDER folder(root.path());
    std::array<char, 64> room{};
    std::size_t read = 0;
    EXPECT_EQ(folder.bytes("big", room, read), 0);
    EXPECT_EQ(read, room.size());
    EXPECT_EQ(folder.text("big").size(), SYSFS_FOLDER::TEXT_LIMIT);
}

TEST(SysfsFolder, APipeDoesNotHoldItUp) {
    TemporaryRoot root;
    ASSERT_EQ(::mkfifo((root.path() + "/pipe").c_str(), 0600), 0);
    EXPECT_EQ(SYSFS_FOLDER(root.path()).text("pipe"), "");
}

TEST(SysfsFolder, ListsItsEntries) {
    TemporaryRoot root;
    root.makeDirectory("/f/host10");
    root.makeDirectory("/f/host9");
    root.makeDirectory("/f/host");
    root.makeDirectory("/f/host1x");
    const SYSFS_FOLDER folder(root.path() + "/f");
    std::set<std::string> names;
    EXPECT_EQ(folder.list([&](const char *name) { names.insert(name); }), 0);
    EXPECT_EQ(names, (std::set<std::string>{"host", "host10", "host1x", "host9"}));
    EXPECT_EQ(folder.firstNumbered("host"), "host9");
    EXPECT_EQ(folder.firstOfAll(), "host");
    EXPECT_EQ(folder.firstNumbered("ata"), "");
}

TEST(NumberBehind, IsAllDigits) {
    EXPECT_EQ(number_behind("host12", "host"), "12");
    for (const char *name : {"host", "host1x", "hostile", "nost1", "host-1", ""})
        EXPECT_EQ(number_behind(name, "host"), "") << name;
}
} // namespace
