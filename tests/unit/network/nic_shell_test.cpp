#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/json_text.h"
#include "network/NICPhysicalAdapter.h"
#include "network/NICResourceManager.h"
#include "support/LocationWorld.h"

namespace {
using Texts = std::vector<std::string>;
constexpr char TAG[] = "NIC_RM";
constexpr char DATA_FOLDER[] = "/opt/vantor/orb/data";
constexpr char LIST_FILE[] = "/opt/vantor/orb/data/orb_niclist.txt";
constexpr char DETAILS_FILE[] = "/opt/vantor/orb/data/orb_nicAddDetails.txt";
constexpr char LIST_FAILURE[] = "Error occurred in gathering network interface information.";

/// The manager with a shell, grep, awk and data files that are real, and a `localcli` of the test.
class NicShell : public ::testing::Test {
protected:
    void SetUp() override {
        world.boot("Example", {});
        world.root.makeDirectory("/bin");
        ::setenv("PATH", (world.root.path() + "/bin:/usr/bin:/bin").c_str(), 1);
        ::setenv("LC_ALL", "C", 1); // grep takes a file for text or not by it
    }
    /// A data directory, and a localcli that prints a table, and details that name the adapter.
    void prepare(const std::string &table) {
        world.root.makeDirectory(DATA_FOLDER);
        world.root.write("/table", table);
        localcli("case \"$3\" in\n"
                 "list) cat '" +
                 world.root.path() +
                 "/table' ;;\n"
                 "get) printf '   Cable Type: \\n   Driver Info: \\n'\n"
                 "     printf '         Firmware Version: 1.%s\\n' \"$5\" ;;\n"
                 "esac\n");
    }
    void localcli(const std::string &body) {
        world.root.write("/bin/localcli", "#!/bin/sh\n" + body);
        ASSERT_EQ(::chmod((world.root.path() + "/bin/localcli").c_str(), 0755), 0);
    }
    static std::string table(const Texts &rows) {
        std::string text =
            "Name    PCI Device    Driver  Admin Status  Link Status  Speed  Duplex  MAC Address"
            "        MTU   Description\n"
            "------  ------------  ------  ------------  -----------  -----  ------  "
            "-----------------  ----  -----------\n";
        for (const std::string &row : rows) text += row + "\n";
        return text;
    }
    static std::string row(const std::string &name, const std::string &link = "Up") {
        return name + "  0000:c3:00.0  igbn    Up            " + link +
               "           1000  Full    02:00:5e:10:20:30  1500  Intel I350";
    }
    std::vector<Json::Value> objects() {
        std::vector<Json::Value> all;
        EXPECT_EQ(manager.getInventoryJsonObject(all), 0);
        return all;
    }
    /// "name version" of each adapter in the inventory.
    Texts versions() {
        Texts all;
        for (const Json::Value &adapter : objects())
            all.push_back(adapter["Oem"]["DeviceName"].asString() + " " +
                          adapter["FirmwareVersion"].asString());
        return all;
    }
    int errors(const std::string &text) const { return world.log.count("ERROR", TAG, text); }
    void expectNoDataFiles() const {
        EXPECT_FALSE(world.root.exists(LIST_FILE));
        EXPECT_FALSE(world.root.exists(DETAILS_FILE));
    }

    LocationWorld world;
    NICResourceManager &manager = NICResourceManager::getInstance();
};

TEST_F(NicShell, EachAdapterHasItsOwnDetails) {
    prepare(table({row("vmnic0"), row("vmnic1", "Down")}));
    manager.cacheBuild();
    EXPECT_EQ(versions(), (Texts{"vmnic0 1.vmnic0", "vmnic1 1.vmnic1"}));
    EXPECT_EQ(manager.getHealthOfIntf("vmnic0"), (Texts{"Running", "OK"}));
    EXPECT_EQ(manager.getHealthOfIntf("vmnic1"), (Texts{"Down", "Unknown"}));
    EXPECT_FALSE(manager.checkLinkState());
    prepare(table({row("vmnic0"), row("vmnic1")}));
    EXPECT_TRUE(manager.checkLinkState());
    expectNoDataFiles();
}

TEST_F(NicShell, CommandThatPrintsNothing) {
    prepare("");
    manager.cacheBuild();
    EXPECT_EQ(world.log.count("DEBUG", TAG, "No NIC found!"), 1);
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, ""), 0);
    expectNoDataFiles();
}

TEST_F(NicShell, CommandThatIsMissing) {
    world.root.makeDirectory(DATA_FOLDER);
    manager.cacheBuild();
    EXPECT_EQ(errors(LIST_FAILURE), 1);
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(world.log.count("DEBUG", TAG, "No status change"), 1) << "awk had nothing to read";
    std::string version;
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "");
    EXPECT_EQ(NICPhysicalAdapter::get_adapter_status("Up"), 1);
    expectNoDataFiles();
}

TEST_F(NicShell, CommandThatFailsHalfWay) {
    prepare(table({row("vmnic0")}));
    manager.cacheBuild();
    prepare(table({row("vmnic0", "Down")}));
    localcli("cat '" + world.root.path() + "/table'; exit 1\n");
    EXPECT_TRUE(manager.checkLinkState()) << "the status is the filter's, the rows count";
    manager.cacheBuild();
    EXPECT_EQ(errors(LIST_FAILURE), 1);
    EXPECT_FALSE(world.root.exists(LIST_FILE));
}

TEST_F(NicShell, CommandThatIsKilled) {
    prepare("");
    localcli("echo Name; kill -9 $$\n");
    manager.cacheBuild();
    EXPECT_EQ(errors(LIST_FAILURE), 1);
    expectNoDataFiles();
}

/// Neither directory takes a file, not even from root.
class NicShellWithoutData : public NicShell, public ::testing::WithParamInterface<const char *> {};
TEST_P(NicShellWithoutData, HasNoAdaptersAndNoChange) {
    prepare(table({row("vmnic0")}));
    const std::string folder = world.root.path() + DATA_FOLDER;
    ASSERT_EQ(::rmdir(folder.c_str()), 0);
    if (*GetParam() != '\0') {
        ASSERT_EQ(::symlink(GetParam(), folder.c_str()), 0);
    }
    manager.cacheBuild();
    EXPECT_EQ(errors(LIST_FAILURE), 1);
    EXPECT_TRUE(objects().empty());
    EXPECT_FALSE(manager.checkLinkState());
    EXPECT_EQ(world.log.countHolding("ERROR", TAG, "Error occurred in checking link state "), 1);
    std::string version;
    NICPhysicalAdapter::getFWVersion("vmnic0", version);
    EXPECT_EQ(version, "");
    EXPECT_EQ(NICPhysicalAdapter::get_adapter_status("Up"), 1) << "by the link word alone";
}
INSTANTIATE_TEST_SUITE_P(Folders, NicShellWithoutData, ::testing::Values("", "/proc"),
                         [](const auto &row) {
                             return std::string(*row.param == '\0' ? "Missing" : "ReadOnly");
                         });

TEST_F(NicShell, DetailsOfAKilledRunGoToTheFirstAdapter) {
    prepare(table({row("vmnic0"), row("vmnic1")}));
    world.root.write(DETAILS_FILE, "         Firmware Version: 9\n");
    manager.cacheBuild();
    EXPECT_EQ(versions(), (Texts{"vmnic0 9", "vmnic1 1.vmnic1"}));
    manager.cacheBuild();
    EXPECT_EQ(versions(), (Texts{"vmnic0 1.vmnic0", "vmnic1 1.vmnic1"}));
}

TEST_F(NicShell, TableOfAKilledRunMakesRowsOfTheNextOnesHeads) {
    prepare(table({row("vmnic0")}));
    world.root.write(LIST_FILE, table({row("vmnic7")}));
    manager.cacheBuild();
    Texts names;
    for (const Json::Value &adapter : objects())
        names.push_back(adapter["Oem"]["DeviceName"].asString());
    EXPECT_EQ(names, (Texts{"vmnic7", "Name", "------", "vmnic0"}));
    manager.cacheBuild();
    EXPECT_EQ(versions(), Texts{"vmnic0 1.vmnic0"}) << "once";
}

TEST_F(NicShell, TableOfAKilledRunIsPartOfThePoll) {
    prepare(table({row("vmnic0")}));
    manager.cacheBuild();
    world.root.write(LIST_FILE, "Name Admin\n------ -----\nvmnic0 Down\n");
    EXPECT_TRUE(manager.checkLinkState());
    EXPECT_FALSE(manager.checkLinkState()) << "once";
}

TEST_F(NicShell, BytesThatAreNoTextAndHugeLinesStayADocument) {
    const std::string huge(700000, 'x');
    prepare(table({row("vmnic0\xff") + " \xfe\x01 " + huge, row("vmnic1", "\xc3")}));
    localcli("case \"$3\" in\n"
             "list) cat '" +
             world.root.path() +
             "/table' ;;\n"
             "get) printf 'Firmware Version: \\377\\001'; head -c 300000 /dev/zero | tr '\\0' y\n"
             "     printf '\\nCable Type: \\377\\n' ;;\n"
             "esac\n");
    manager.cacheBuild();
    const std::vector<Json::Value> all = objects();
    ASSERT_EQ(all.size(), 2u);
    for (const Json::Value &adapter : all) {
        Json::Value again;
        EXPECT_TRUE(parse_json(compact_json(adapter), again));
        EXPECT_EQ(adapter["Status"]["State"], Json::Value("Running")) << "it has a cable";
    }
    EXPECT_EQ(all[0]["FirmwareVersion"], Json::Value("")) << "no interface's name, no details";
    const std::size_t versionBytes = all[1]["FirmwareVersion"].asString().size();
    EXPECT_GT(versionBytes, 1000u);
    EXPECT_LT(versionBytes, 100000u) << "bounded";
    EXPECT_FALSE(manager.checkLinkState());
}

TEST_F(NicShell, NulInTheDetailsTellsNothing) {
    prepare(table({row("vmnic0")}));
    localcli("case \"$3\" in\n"
             "list) cat '" +
             world.root.path() +
             "/table' ;;\n"
             "get) printf 'Firmware Version: 1\\000\\nCable Type: DA\\n' ;;\n"
             "esac\n");
    manager.cacheBuild();
    EXPECT_EQ(versions(), Texts{"vmnic0 "}) << "no text for grep";
    EXPECT_EQ(manager.getHealthOfIntf("vmnic0"), (Texts{"Running", "OK"}));
    expectNoDataFiles();
}
} // namespace
