#include "platform/orbVmwareOSInterface.h"

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "platform/orbSystemInterfaceFactory.h"

namespace {
constexpr char LIST[] = "/opt/vantor/orb/data/orb_hwlist.txt";

class OsInterface : public ::testing::Test {
protected:
    std::string line() const { return "localcli hardware pci list > " + shell_path(LIST); }

    TemporaryRoot root;
    ScriptedCommands commands;
    orbOSInterface *system = orbSystemInterfaceFactory::getSystemInterface();
};

TEST_F(OsInterface, IsTheOneVmwareInterface) {
    ASSERT_NE(system, nullptr);
    EXPECT_EQ(system, orbVmwareOSInterface::getInstance());
    EXPECT_EQ(orbSystemInterfaceFactory::getSystemInterface(), system);
}

TEST_F(OsInterface, SavesThePciList) {
    commands.onPopen(line(), "");
    EXPECT_EQ(system->populateHardwarePCIDetails(), 0);
    EXPECT_EQ(commands.calls(), std::vector<std::string>{line()});
}

TEST_F(OsInterface, CommandThatCannotStartIsAFailure) {
    commands.failPopen(line(), EAGAIN);
    EXPECT_EQ(system->populateHardwarePCIDetails(), -1);
    EXPECT_FALSE(root.exists(LIST));
}

TEST_F(OsInterface, CommandThatFailsIsNoFailure) {
    commands.onPopen(line(), "", 127 << 8);
    EXPECT_EQ(system->populateHardwarePCIDetails(), 0);
}

TEST_F(OsInterface, InitializeDoesNothing) {
    system->Initialize();
    EXPECT_TRUE(commands.calls().empty());
}

TEST_F(OsInterface, UnInitializeRemovesTheList) {
    root.write(LIST, "0000:24:00.0:\n");
    system->UnInitialize();
    EXPECT_FALSE(root.exists(LIST));
    EXPECT_TRUE(commands.calls().empty());
}

TEST_F(OsInterface, UnInitializeLeavesWhatCannotBeOpened) {
    root.makeDirectory("/opt/vantor/orb/data");
    const std::string path = root.path() + LIST;
    std::filesystem::create_symlink("nowhere", path);
    system->UnInitialize();
    EXPECT_TRUE(std::filesystem::is_symlink(path));
}

TEST_F(OsInterface, UnInitializeWithoutAListIsHarmless) {
    system->UnInitialize();
    system->UnInitialize();
    EXPECT_FALSE(root.exists(LIST));
}
} // namespace
