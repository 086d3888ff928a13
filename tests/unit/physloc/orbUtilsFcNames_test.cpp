#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "core/orbUtils.h"
#include "fakes/ScriptedCommands.h"
#include "support/LocationWorld.h"

namespace {
constexpr char TAG[] = "ORB_UTILS";
constexpr char TOPOLOGY_FILE[] = "/opt/vantor/orb/data/fc_topology.txt";
constexpr char NAME_FILE[] = "/opt/vantor/orb/data/fc_name.txt";
constexpr char TOPOLOGY_FAILED[] = "Error occurred in gathering FC topology information.";
constexpr char NAMES_FAILED[] = "Error occurred in gathering localcli storage SAN information";
constexpr char NO_TOPOLOGY[] = "Unable to find FC topology information.";
constexpr char NO_NAMES[] = "Unable to find localcli storage SAN information.";
constexpr char TOPOLOGY_HEAD[] = "-----Printing FcGEoID PCIe location map-----";
constexpr char NAMES_HEAD[] = "-----Printing FcNameMap-----";

constexpr char TWO_ADAPTERS[] = "   Address: 0000:24:00.0\n   VMkernel Name: vmhba3\n"
                                "   Device Layer Bus Address: s00000003.00\n"
                                "   Address: 0000:24:00.1\n   VMkernel Name: vmhba4\n";
using PLACE = std::pair<std::string, std::string>;
const PLACE NOWHERE{"NotAvailable", "NotAvailable"};

class FcNames : public ::testing::Test, protected LocationWorld {
protected:
    FcNames() { root.makeDirectory("/opt/vantor/orb/data"); }
    std::string topologyLine() const {
        return "localcli hardware pci list | grep -e 'Address: ' -e 'VMkernel Name:'>> " +
               root.path() + TOPOLOGY_FILE;
    }
    std::string nameLine() const {
        return "localcli storage san fc list | grep -e 'Adapter: ' -e 'Node Name:'>> " +
               root.path() + NAME_FILE;
    }
    /// What a line adds to its file, as the shell's ">>" does.
    void answer(const std::string &line, const char *file, const std::string &output,
                int status = 0) {
        commands.onSystem(line, {status, 0},
                          [this, file, output] { root.write(file, root.read(file) + output); });
    }
    void readTopology(const std::string &output) {
        answer(topologyLine(), TOPOLOGY_FILE, output);
        orbUtils::initFcInfoMap();
    }
    void readNames(const std::string &output) {
        answer(nameLine(), NAME_FILE, output);
        orbUtils::initFcNameMap();
    }

    ScriptedCommands commands;
};

// -- Adapters -----------------------------------------------------------------------------------

TEST_F(FcNames, TopologyGivesAddressesByName) {
    readTopology(TWO_ADAPTERS);
    EXPECT_EQ(commands.calls(), std::vector<std::string>{topologyLine()});
    EXPECT_EQ(orbUtils::getFcGeoIDPciStr("vmhba3"), (PLACE{"0000:24:00.0", "vmhba3"}));
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba4"), "0000:24:00.1");
    EXPECT_TRUE(orbUtils::OsNameInHardwarePciList("vmhba3"));
    EXPECT_FALSE(orbUtils::OsNameInHardwarePciList("vmhba5"));
    EXPECT_EQ(orbUtils::getFcGeoIDPciStr("vmhba5"), NOWHERE);
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba5"), "NotAvailable");
    EXPECT_FALSE(root.exists(TOPOLOGY_FILE));
}

TEST_F(FcNames, TopologyIsDumpedAndItsPartsAreTold) {
    readTopology(TWO_ADAPTERS);
    EXPECT_EQ(log.count("DEBUG", TAG, TOPOLOGY_HEAD), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, "vmhba3       0000:24:00.0        vmhba3"), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, "vmhba4       0000:24:00.1        vmhba4"), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, NO_TOPOLOGY), 3); // after the lines that leave a half open
    EXPECT_EQ(log.countHolding("ERROR", TAG, ""), 0);
}

TEST_F(FcNames, LaterEntryOfANameReplacesTheEarlier) {
    readTopology("Address: a\nVMkernel Name: vmhba3\nAddress: b\nVMkernel Name: vmhba3\n");
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba3"), "b");
}

TEST_F(FcNames, TopologyCommandThatFailsIsAnError) {
    answer(topologyLine(), TOPOLOGY_FILE, TWO_ADAPTERS, 256);
    orbUtils::initFcInfoMap();
    EXPECT_EQ(log.count("ERROR", TAG, TOPOLOGY_FAILED), 1);
    EXPECT_FALSE(orbUtils::OsNameInHardwarePciList("vmhba3"));
    EXPECT_FALSE(root.exists(TOPOLOGY_FILE)); // half written or not
    EXPECT_EQ(log.count("DEBUG", TAG, TOPOLOGY_HEAD), 0);
}

TEST_F(FcNames, TopologyFileThatIsNotThereIsAnError) {
    commands.onSystem(topologyLine(), {0, 0});
    orbUtils::initFcInfoMap();
    EXPECT_EQ(log.count("ERROR", TAG, TOPOLOGY_FAILED), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, TOPOLOGY_HEAD), 0);
}

TEST_F(FcNames, TopologyWithForeignFirstLineIsEmptyWithoutAWord) {
    readTopology("VMkernel Name: vmhba3\nAddress: 0000:24:00.0\nVMkernel Name: vmhba3\n");
    EXPECT_FALSE(orbUtils::OsNameInHardwarePciList("vmhba3"));
    EXPECT_EQ(log.count("DEBUG", TAG, NO_TOPOLOGY), 0);
    EXPECT_EQ(log.countHolding("ERROR", TAG, ""), 0);
    EXPECT_EQ(log.count("DEBUG", TAG, TOPOLOGY_HEAD), 1);
    EXPECT_FALSE(root.exists(TOPOLOGY_FILE));
}

TEST_F(FcNames, FileOfAnEarlierRunIsReadAgain) {
    root.write(TOPOLOGY_FILE, "Address: old\nVMkernel Name: vmhba9\n");
    readTopology(TWO_ADAPTERS);
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba9"), "old");
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba3"), "0000:24:00.0");
    EXPECT_FALSE(root.exists(TOPOLOGY_FILE));
}

TEST_F(FcNames, EmptyAndHugeAndBinaryOutputIsSurvived) {
    readTopology("");
    EXPECT_EQ(log.count("DEBUG", TAG, TOPOLOGY_HEAD), 1);
    readTopology("Address: " + std::string(100000, 'x') + "\nVMkernel Name: vmhba1\n" +
                 std::string("\0\xFF\n", 3) + "Address: a\nVMkernel Name: vmhba2");
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba1"), std::string(4096 - 9, 'x'));
    EXPECT_EQ(orbUtils::getFcPciStr("vmhba2"), "a");
}

// -- Node names ---------------------------------------------------------------------------------

TEST_F(FcNames, NodeNamesLeadToAdapters) {
    readTopology(TWO_ADAPTERS);
    readNames("   Adapter: vmhba3\n   Node Name: 20:00:a1\n"
              "   Adapter: vmhba4\n   Node Name: 20:00:a2\n");
    EXPECT_EQ(commands.calls(), (std::vector<std::string>{topologyLine(), nameLine()}));
    EXPECT_EQ(orbUtils::getFcOsDevicename("20:00:a1"), "vmhba3");
    EXPECT_EQ(orbUtils::getFcOsDevicename("20:00:a2"), "vmhba4");
    EXPECT_EQ(orbUtils::getFcOsDevicename("20:00:A1"), "NotAvailable");
    EXPECT_EQ(log.count("DEBUG", TAG, NAMES_HEAD), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, "20:00:a1       vmhba3"), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, "20:00:a2       vmhba4"), 1);
    EXPECT_FALSE(root.exists(NAME_FILE));
}

TEST_F(FcNames, OneNodeNameOfTwoPortsLeadsToTheLater) {
    readTopology(TWO_ADAPTERS);
    readNames("Adapter: vmhba3\nNode Name: n\nAdapter: vmhba4\nNode Name: n\n");
    EXPECT_EQ(orbUtils::getFcOsDevicename("n"), "vmhba4");
}

TEST_F(FcNames, AdapterThatThePciListLacksIsLeftOut) {
    readTopology(TWO_ADAPTERS);
    readNames("Adapter: vmhba9\nNode Name: n9\nAdapter: vmhba4\nNode Name: n4\n");
    EXPECT_EQ(orbUtils::getFcOsDevicename("n9"), "NotAvailable");
    EXPECT_EQ(orbUtils::getFcOsDevicename("n4"), "vmhba4");
}

TEST_F(FcNames, WithoutTopologyNoNodeNameIsKnown) {
    readNames("Adapter: vmhba3\nNode Name: n\n");
    EXPECT_EQ(orbUtils::getFcOsDevicename("n"), "NotAvailable");
}

TEST_F(FcNames, NameCommandThatFailsIsAnError) {
    commands.onSystem(nameLine(), {256, 0});
    orbUtils::initFcNameMap();
    EXPECT_EQ(log.count("ERROR", TAG, NAMES_FAILED), 1);
    EXPECT_EQ(log.count("DEBUG", TAG, NAMES_HEAD), 0);
}

TEST_F(FcNames, NameFileThatIsNotThereIsAnError) {
    commands.onSystem(nameLine(), {0, 0});
    orbUtils::initFcNameMap();
    EXPECT_EQ(log.count("ERROR", TAG, NAMES_FAILED), 1);
}

TEST_F(FcNames, NamesWithForeignFirstLineAreToldAndLeft) {
    readTopology(TWO_ADAPTERS);
    readNames("Node Name: n\nAdapter: vmhba3\nNode Name: n\n");
    EXPECT_EQ(log.count("DEBUG", TAG, NO_NAMES), 1);
    EXPECT_EQ(orbUtils::getFcOsDevicename("n"), "NotAvailable");
    EXPECT_FALSE(root.exists(NAME_FILE));
}

TEST_F(FcNames, HostWithoutAdaptersHasTwoErrorsAndNoFiles) {
    answer(topologyLine(), TOPOLOGY_FILE, "", 256);
    answer(nameLine(), NAME_FILE, "", 256);
    orbUtils::initFcInfoMap();
    orbUtils::initFcNameMap();
    EXPECT_EQ(log.count("ERROR", TAG, TOPOLOGY_FAILED), 1);
    EXPECT_EQ(log.count("ERROR", TAG, NAMES_FAILED), 1);
    EXPECT_FALSE(root.exists(TOPOLOGY_FILE));
    EXPECT_FALSE(root.exists(NAME_FILE));
    EXPECT_FALSE(orbUtils::OsNameInHardwarePciList(""));
    EXPECT_EQ(orbUtils::getFcOsDevicename(""), "NotAvailable");
}

TEST_F(FcNames, NamesAreCutAsGeoIDs) {
    readTopology("Address: a\nVMkernel Name: vmhba3\nAddress: b\nVMkernel Name: v r001i02s03\n"
                 "Address: c\nVMkernel Name: vs\n");
    using ELEMENTS = std::vector<std::string>;
    EXPECT_EQ(orbUtils::getFcGeoIDInfo("vmhba3"), (ELEMENTS{"vmhba3", "vmhba3", "vmhba3"}));
    EXPECT_EQ(orbUtils::getFcGeoIDInfo("v r001i02s03"), (ELEMENTS{"001", "02", "03"}));
    EXPECT_EQ(orbUtils::getFcGeoIDInfo("vs"), (ELEMENTS{"vs", "v", ""}));
    EXPECT_EQ(orbUtils::getFcGeoIDInfo("vmhba9"), ELEMENTS{});
}
} // namespace
