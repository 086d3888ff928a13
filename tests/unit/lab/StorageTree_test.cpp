#include "world/StorageTree.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/TemporaryRoot.h"

namespace fs = std::filesystem;

namespace {
constexpr std::int64_t NOW = 1'800'000'000;

SCENARIO_STORAGE_CONTROLLER controller(const std::string &name, const std::string &address) {
    SCENARIO_STORAGE_CONTROLLER its;
    its.name = name;
    its.address = address;
    its.driver = "mpt3sas";
    its.vendor = 0x1000;
    its.device = 0x0097;
    its.subVendor = 0x15d9;
    its.subDevice = 0x0808;
    return its;
}
/// An adapter of two hosts behind a bridge, and one on the board whose host is an ATA port.
SCENARIO_STORAGE server() {
    SCENARIO_STORAGE storage;
    storage.controllers = {controller("vmhba1", "0000:65:00.0"),
                           controller("vmhba0", "0000:00:17.0")};
    storage.controllers[0].bridge = "0000:64:00.0";
    storage.controllers[0].tracer = "EX00000001";
    storage.controllers[0].hosts = {{8, std::nullopt, "running", true},
                                    {9, std::nullopt, "recovery", true}};
    storage.controllers[1].driver = "ahci";
    storage.controllers[1].hosts = {{0, 1, "running", true}};
    return storage;
}

class LabStorageTree : public ::testing::Test {
protected:
    void make() {
        std::string error;
        ASSERT_TRUE(tree.make(storage, NOW, error)) << error;
    }
    void change(std::int64_t now = NOW + 10) {
        std::string error;
        ASSERT_TRUE(tree.change(storage, now, error)) << error;
    }
    std::string at(const std::string &path) const { return root.path() + "/sys" + path; }
    std::string text(const std::string &path) const {
        std::ifstream file(at(path));
        return file.is_open() ? std::string(std::istreambuf_iterator<char>(file), {}) : "none";
    }
    std::string link(const std::string &path) const {
        std::error_code failure;
        return fs::read_symlink(at(path), failure);
    }
    /// Where a path below the tree ends when all its links are followed.
    std::string resolved(const std::string &path) const {
        std::error_code failure;
        const std::string whole = fs::canonical(at(path), failure);
        return failure ? failure.message() : whole.substr(fs::canonical(at("")).string().size());
    }
    std::vector<std::string> hosts() const {
        std::vector<std::string> names;
        for (const fs::directory_entry &each : fs::directory_iterator(at("/class/scsi_host/")))
            names.push_back(each.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }
    std::int64_t changeTime() const {
        struct stat found {};
        EXPECT_EQ(::lstat(at("/class/scsi_host").c_str(), &found), 0);
        return found.st_mtime;
    }
    TemporaryRoot root;
    SCENARIO_STORAGE storage = server();
    StorageTree tree{root.path()};
};
using Names = std::vector<std::string>;
} // namespace

TEST_F(LabStorageTree, EveryKindOfLinkEndsAtTheSameHost) {
    const std::string below = "/devices/pci0000:64/0000:64:00.0/0000:65:00.0/host8",
                      ata = "/devices/pci0000:00/0000:00:17.0/ata1/host0";
    for (const std::string kind : {"long", "short", "folder"}) {
        storage.links = kind;
        make();
        EXPECT_EQ(hosts(), (Names{"host0", "host8", "host9"})) << kind;
        EXPECT_EQ(resolved("/class/scsi_host/host8/device"), below) << kind;
        EXPECT_EQ(resolved("/class/scsi_host/host0/device"), ata) << kind;
        EXPECT_EQ(text("/class/scsi_host/host8/device/../device"), "0x0097\n") << kind;
        EXPECT_EQ(text("/class/scsi_host/host0/device/../device"), "none") << kind;
        EXPECT_EQ(text("/class/scsi_host/host0/device/../../vendor"), "0x1000\n") << kind;
        EXPECT_EQ(text("/class/scsi_host/host0/device/../../subsystem_device"), "0x0808\n") << kind;
        EXPECT_EQ(text("/class/scsi_host/host0/device/../../subsystem_vendor"), "0x15d9\n") << kind;
    }
}

TEST_F(LabStorageTree, LinksReadAsTheirKernelsTellThem) {
    make();
    EXPECT_EQ(link("/class/scsi_host/host0"),
              "../../devices/pci0000:00/0000:00:17.0/ata1/host0/scsi_host/host0");
    EXPECT_EQ(link("/class/scsi_host/host0/device"),
              "../../../../../../pci0000:00/0000:00:17.0/ata1/host0");
    EXPECT_EQ(link("/class/scsi_host/host8/device"),
              "../../../../../../pci0000:64/0000:64:00.0/0000:65:00.0/host8");
    storage.links = "short";
    make();
    EXPECT_EQ(link("/class/scsi_host/host8"),
              "../../devices/pci0000:64/0000:64:00.0/0000:65:00.0/host8/scsi_host/host8");
    EXPECT_EQ(link("/class/scsi_host/host8/device"), "../../../host8");
    storage.links = "folder";
    make();
    EXPECT_EQ(link("/class/scsi_host/host8"), "") << "a folder of its own";
    EXPECT_EQ(link("/class/scsi_host/host0/device"),
              "../../../devices/pci0000:00/0000:00:17.0/ata1/host0");
}

TEST_F(LabStorageTree, AttributesAreThereWhereTheDriverHasThem) {
    make();
    EXPECT_EQ(text("/class/scsi_host/host8/state"), "running\n");
    EXPECT_EQ(text("/class/scsi_host/host9/state"), "recovery\n");
    EXPECT_EQ(text("/class/scsi_host/host8/proc_name"), "mpt3sas\n");
    EXPECT_EQ(text("/class/scsi_host/host0/proc_name"), "ahci\n");
    EXPECT_EQ(text("/class/scsi_host/host8/board_tracer"), "EX00000001\n");
    EXPECT_EQ(text("/class/scsi_host/host8/firmware_revision"), "none");
    EXPECT_EQ(text("/class/scsi_host/host0/board_tracer"), "none");
    EXPECT_EQ(text("/class/scsi_host/host9/unique_id"), "9\n");
}

TEST_F(LabStorageTree, StatesChangeAndMoveNoClassFolder) {
    make();
    storage.controllers[0].hosts[0].state = "cancel";
    storage.controllers[0].hosts[1].state = "unreadable";
    change();
    EXPECT_EQ(text("/class/scsi_host/host8/state"), "cancel\n");
    EXPECT_EQ(text("/class/scsi_host/host9/state"), "none");
    EXPECT_EQ(changeTime(), NOW);
    storage.controllers[0].hosts[1].state = "running";
    change();
    EXPECT_EQ(text("/class/scsi_host/host9/state"), "running\n");
}

TEST_F(LabStorageTree, HostsAndControllersGoAndComeBack) {
    for (const std::string kind : {"long", "short", "folder"}) {
        storage = server();
        storage.links = kind;
        make();
        storage.controllers[0].hosts[1].present = false;
        change(NOW + 1);
        EXPECT_EQ(hosts(), (Names{"host0", "host8"})) << kind;
        EXPECT_EQ(changeTime(), NOW + 1) << kind;
        EXPECT_EQ(resolved("/devices/pci0000:64/0000:64:00.0/0000:65:00.0/host9"),
                  "No such file or directory");
        storage.controllers[0].present = false;
        change(NOW + 2);
        EXPECT_EQ(hosts(), (Names{"host0"})) << kind;
        EXPECT_EQ(text("/devices/pci0000:64/0000:64:00.0/0000:65:00.0/vendor"), "none");
        storage.controllers[0].present = storage.controllers[0].hosts[1].present = true;
        change(NOW + 3);
        EXPECT_EQ(hosts(), (Names{"host0", "host8", "host9"})) << kind;
        EXPECT_EQ(text("/class/scsi_host/host9/device/../vendor"), "0x1000\n") << kind;
        EXPECT_EQ(changeTime(), NOW + 3) << kind;
    }
}

TEST_F(LabStorageTree, FoldersThatKeepTheirTimesShowNoComingAndGoing) {
    storage.foldersKeepTimes = true;
    storage.links = "short";
    make();
    struct stat before {
    }, after{};
    ASSERT_EQ(::lstat(at("/class/scsi_host").c_str(), &before), 0);
    storage.controllers[0].present = false;
    change();
    ASSERT_EQ(::lstat(at("/class/scsi_host").c_str(), &after), 0);
    EXPECT_EQ(hosts(), (Names{"host0"}));
    EXPECT_EQ(resolved("/class/scsi_host/host0/device"),
              "/devices/pci0000:00/0000:00:17.0/ata1/host0");
    EXPECT_EQ(before.st_mtim.tv_nsec, after.st_mtim.tv_nsec);
    EXPECT_EQ(before.st_ctim.tv_nsec, after.st_ctim.tv_nsec);
}

TEST_F(LabStorageTree, MakingItAnewLeavesNothingOfTheFormerServer) {
    make();
    storage.controllers.pop_back();
    storage.controllers[0].hosts.pop_back();
    make();
    EXPECT_EQ(hosts(), (Names{"host8"}));
    storage.controllers.clear();
    make();
    EXPECT_EQ(hosts(), Names{}) << "the class is there without hosts";
}

TEST_F(LabStorageTree, WhatCantBeMadeIsTold) {
    std::ofstream(root.path() + "/file") << "x";
    std::string error;
    EXPECT_FALSE(StorageTree(root.path() + "/file").make(storage, NOW, error));
    EXPECT_NE(error.find(root.path() + "/file/sys/class"), std::string::npos) << error;
}
