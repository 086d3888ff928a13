#include <signal.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/json.h>

#include "core/json_text.h"
#include "integration/DaemonRun.h"
#include "storage/orbStorageControllerFactory.h"
#include "support/ScsiTree.h"

namespace {
constexpr char CARD[] = "pci0000:00/0000:00:01.0/0000:24:00.0";
constexpr char SEARCH[] = "Searching for storage controllers.";
constexpr char SHUTDOWN[] = "Initiating shutdown sequence.";

/// A host with one controller of the product table that has two SCSI hosts.
class StorageOption : public ::testing::Test {
protected:
    StorageOption() {
        ScsiTree tree(host.root);
        tree.addCard(CARD, 0x00971000, 0x30e01000);
        for (const char *name : {"host0", "host1"}) {
            tree.addHost(name, CARD);
            host.root.write(ScsiTree::hostPath(name) + "/state", "running\n");
        }
    }
    /// The controllers of the document that is printed.
    Json::Value printed(std::vector<std::string> arguments) {
        arguments.push_back("--print-inventory");
        EXPECT_EQ(host.run(arguments), 0) << host.errors();
        Json::Value document;
        EXPECT_TRUE(parse_json(host.output(), document)) << host.output();
        return document["HostDataCollection"]["StorageControllers"];
    }
    /// A whole run of the daemon, ended once it is ready.
    void live(std::vector<std::string> arguments) {
        arguments.push_back("--foreground");
        const pid_t daemon = host.start(arguments);
        ASSERT_TRUE(host.awaitState("READY=1"));
        ::kill(daemon, SIGTERM);
        EXPECT_EQ(DaemonRun::end(daemon), 0) << host.errors();
    }

    DaemonRun host;
};

TEST_F(StorageOption, PrintsControllersOfTheTable) {
    const Json::Value controllers = printed({});
    ASSERT_EQ(controllers.size(), 1u);
    EXPECT_EQ(controllers[0]["Model"], "SAS9300-8i");
    EXPECT_EQ(controllers[0]["PartNumber"], "VX80003-001");
    EXPECT_EQ(controllers[0]["Status"]["State"], "Running");
    EXPECT_EQ(controllers[0]["Oem"]["Description"], "PCI 0000:24:00.0");
}

TEST_F(StorageOption, LetsControllersGoBehindThePrint) {
    host.afterwards = [this] {
        std::vector<IorbStorageController *> left;
        orbStorageControllerFactory::getInstance()->getControllers(255, left);
        host.root.write("/left", std::to_string(left.size()));
    };
    EXPECT_EQ(printed({}).size(), 1u);
    EXPECT_EQ(host.root.read("/left"), "0");
}

TEST_F(StorageOption, PrintsNoneWhereTheyAreLeftOut) {
    EXPECT_TRUE(printed({"--no-generic-storage"}).isNull());
    EXPECT_EQ(host.errors(), "");
}

TEST_F(StorageOption, DaemonSearchesForThemAndLetsThemGo) {
    live({});
    EXPECT_TRUE(holds_in_order(host.log(), {"Resource manager stop called.",
                                            "Resource manager stop in progress.", SHUTDOWN,
                                            "Resource manager stopped."}));
}

TEST_F(StorageOption, DaemonWithoutThemSearchesForNone) {
    live({"--no-generic-storage"});
    EXPECT_FALSE(host.logHolds(SEARCH));
    EXPECT_FALSE(host.logHolds(SHUTDOWN));
    EXPECT_TRUE(host.logHolds("Resource manager stopped."));
}
} // namespace
