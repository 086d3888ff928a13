#include "core/orbFactory.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "fakes/CapturedSyslog.h"
#include "fakes/FakeProcess.h"
#include "fakes/ScriptedCommands.h"
#include "fakes/TemporaryRoot.h"
#include "fakes/VirtualClock.h"
#include "fc/FCResourceManager.h"
#include "host/HostResourceManager.h"
#include "network/NICResourceManager.h"
#include "storage/SASResourceManager.h"

TEST(Factory, ManagersAreSetBeforeMain) {
    // Read before anything of this case asks for a manager: only static initialisation can have
    // set them.
    orbResourceManager *const seen[] = {FCClassObj, HostClassObj, SASClassObj, NICClassObj};
    for (const orbResourceManager *manager : seen) ASSERT_NE(manager, nullptr);
    EXPECT_EQ(seen[0], &FCResourceManager::getInstance());
    EXPECT_EQ(seen[1], &HostResourceManager::getInstance());
    EXPECT_EQ(seen[2], &SASResourceManager::getInstance());
    EXPECT_EQ(seen[3], &NICResourceManager::getInstance());
}

TEST(Factory, GivesTheManagersOfIds0To3) {
    orbFactory factory;
    EXPECT_EQ(factory.createInstance(0), FCClassObj);
    EXPECT_EQ(factory.createInstance(1), HostClassObj);
    EXPECT_EQ(factory.createInstance(2), SASClassObj);
    EXPECT_EQ(factory.createInstance(3), NICClassObj);
}

TEST(Factory, GivesNullForAnyOtherId) {
    orbFactory factory;
    for (const int id : {-1, 4, 5, 6, 7, 100, 101, 102, 103, 104, 105, 1 << 30})
        EXPECT_EQ(factory.createInstance(id), nullptr) << id;
}

TEST(Factory, FurtherManagersComeAndGoWithoutATrace) {
    const TemporaryRoot root;
    const CapturedSyslog syslog;
    const VirtualClock clock;
    const FakeProcess process;
    const ScriptedCommands commands;
    {
        const FCResourceManager fc;
        const HostResourceManager host;
        const SASResourceManager storage;
        const NICResourceManager nic;
    }
    EXPECT_TRUE(std::filesystem::is_empty(root.path())) << "no log, no configuration";
    EXPECT_TRUE(syslog.lines().empty());
    EXPECT_EQ(process.created(), 0);
    EXPECT_TRUE(commands.calls().empty());
    EXPECT_FALSE(HostResourceManager::getInstance().isInventoryReady(0));
}
