#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"
#include "world/host_root.h"
#include "world/nic_facts.h"

namespace {
/// The lab's localcli over the files of a server with two adapters.
class LabLocalcli : public ::testing::Test {
protected:
    LabLocalcli() : root(folder.path() + "/root") {
        for (const char *name : {"vmnic0", "vmnic1"}) {
            SCENARIO_NIC nic;
            nic.name = name;
            nic.address = "0000:c3:00." + std::string(1, name[5]);
            nic.firmware = "7";
            scenario.host.nics.push_back(nic);
        }
        std::string error;
        EXPECT_TRUE(root.prepare(false, error)) << error;
        write();
    }
    void write() {
        std::string error;
        EXPECT_TRUE(root.writeFacts(scenario, error)) << error;
    }
    int run(const std::string &arguments) {
        const std::string line = "ORB_LAB_HOST='" + root.factsFolder() +
                                 "' " ORB_SOURCE_DIR "/lab/commands/localcli " + arguments + " 2>" +
                                 folder.path() + "/stderr";
        std::FILE *stream = ::popen(line.c_str(), "re");
        EXPECT_NE(stream, nullptr);
        if (stream == nullptr) return -1;
        out.clear();
        char piece[4096];
        for (std::size_t got = 0; (got = std::fread(piece, 1, sizeof piece, stream)) > 0;)
            out.append(piece, got);
        return WEXITSTATUS(::pclose(stream));
    }

    const TemporaryRoot folder;
    HostRoot root;
    SCENARIO scenario;
    std::string out;
};
} // namespace

TEST_F(LabLocalcli, PrintsListAndDetails) {
    EXPECT_EQ(run("network nic list"), 0);
    EXPECT_EQ(out, nic_list_answer(scenario.host.nics, "works").output);
    EXPECT_EQ(run("network nic get -n vmnic1"), 0);
    EXPECT_EQ(out, nic_details_text(scenario.host.nics[1], "works"));
}

TEST_F(LabLocalcli, FailsWhileItIsToldTo) {
    scenario.nicList = "fails";
    write();
    EXPECT_EQ(run("network nic list"), 1);
    EXPECT_EQ(out, "");
    EXPECT_EQ(run("network nic list.way"), 1);
    EXPECT_EQ(out, "") << "the way of answering is no answer";
    scenario.nicList = "works";
    write();
    EXPECT_EQ(run("network nic list"), 0);
    EXPECT_NE(out, "");
}

TEST_F(LabLocalcli, KnowsNoAdapterThatIsGone) {
    scenario.host.nics[0].present = false;
    write();
    EXPECT_EQ(run("network nic get -n vmnic0"), 1);
    EXPECT_EQ(out, "");
    scenario.host.nics[0].present = true;
    write();
    EXPECT_EQ(run("network nic get -n vmnic0"), 0);
    EXPECT_NE(out, "");
}

TEST_F(LabLocalcli, IsLateByTheLabsTime) {
    const HostRoot fast(folder.path() + "/root", 10'000);
    scenario.nicList = "hangs";
    std::string error;
    ASSERT_TRUE(fast.writeFacts(scenario, error)) << error;
    std::string way;
    std::getline(std::ifstream(root.factsFolder() + "/localcli-network-nic-list.way"), way);
    EXPECT_EQ(way, "0 0.018");
    EXPECT_EQ(run("network nic list"), 0);
    EXPECT_EQ(out, nic_list_answer(scenario.host.nics, "works").output);
    EXPECT_EQ(std::filesystem::file_size(folder.path() + "/stderr"), 0u);
    // Both at once: later than others and without success.
    std::ofstream(root.factsFolder() + "/localcli-network-nic-list.way") << "3 0.001\n";
    EXPECT_EQ(run("network nic list"), 3);
    EXPECT_NE(out, "");
}

TEST_F(LabLocalcli, AnswersNothingElse) {
    for (const char *arguments : {"network nic", "network nic get -n vmnic9", "", "../x",
                                  "network nic list.way", "network nic list.new"}) {
        EXPECT_EQ(run(arguments), 1) << arguments;
        EXPECT_EQ(out, "") << arguments;
    }
}
