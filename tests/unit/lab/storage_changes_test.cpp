#include "world/storage_changes.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "world/host_facts.h"

namespace {
SCENARIO_STORAGE two_controllers() {
    SCENARIO_STORAGE storage;
    SCENARIO_STORAGE_CONTROLLER first, second;
    first.name = "vmhba1";
    first.address = "0000:51:00.0";
    first.driver = "mpt3sas";
    first.vendor = 0x1000;
    first.hosts = {{4, std::nullopt, "running", true}, {5, std::nullopt, "running", true}};
    second.name = "vmhba2";
    second.address = "0000:52:00.0";
    second.hosts = {{6, std::nullopt, "created", true}};
    storage.controllers = {first, second};
    return storage;
}
LAB_COMMAND parsed(const std::string &line) {
    LAB_COMMAND command;
    std::string error;
    EXPECT_TRUE(parse_lab_command(line, command, error)) << error;
    return command;
}
void change(SCENARIO_STORAGE &storage, const std::string &line) {
    std::string error;
    EXPECT_TRUE(change_storage(storage, parsed(line), error)) << error;
}
std::string refusal(SCENARIO_STORAGE storage, const std::string &line) {
    std::string error;
    EXPECT_FALSE(change_storage(storage, parsed(line), error)) << line;
    return error;
}
/// The states of the hosts that are there, in order.
std::vector<std::string> states(const SCENARIO_STORAGE &storage) {
    std::vector<std::string> all;
    for (const SCENARIO_STORAGE_CONTROLLER &controller : storage.controllers)
        for (const SCENARIO_STORAGE_HOST &host : controller.hosts)
            all.push_back(controller.present && host.present ? host.state : "none");
    return all;
}
using States = std::vector<std::string>;
} // namespace

TEST(StorageChanges, StateGoesToEachHostOrToOne) {
    SCENARIO_STORAGE storage = two_controllers();
    change(storage, "storage vmhba1 recovery");
    EXPECT_EQ(states(storage), (States{"recovery", "recovery", "created"}));
    change(storage, "storage vmhba1 1 blocked");
    EXPECT_EQ(states(storage), (States{"recovery", "blocked", "created"}));
    change(storage, "storage 0000:51:00.0 host4 cancel/recovery");
    EXPECT_EQ(states(storage), (States{"cancel/recovery", "blocked", "created"}));
    change(storage, "storage 0000:52:00.0 unreadable");
    EXPECT_EQ(states(storage), (States{"cancel/recovery", "blocked", "unreadable"}));
}

TEST(StorageChanges, HostsAndControllersGoAndComeBackRunning) {
    SCENARIO_STORAGE storage = two_controllers();
    change(storage, "storage vmhba2 deleted");
    change(storage, "storage vmhba1 host5 remove");
    EXPECT_EQ(states(storage), (States{"running", "none", "deleted"}));
    change(storage, "storage vmhba1 remove");
    EXPECT_FALSE(storage.controllers[0].present);
    change(storage, "storage vmhba2 0 remove");
    EXPECT_EQ(states(storage), (States{"none", "none", "none"}));
    change(storage, "storage vmhba1 add");
    change(storage, "storage vmhba2 0 add");
    EXPECT_EQ(states(storage), (States{"running", "running", "running"}));
}

TEST(StorageChanges, ResetTakesTheHostsAndLeavesTheDevice) {
    SCENARIO_STORAGE storage = two_controllers();
    change(storage, "storage vmhba1 reset 20");
    EXPECT_EQ(states(storage), (States{"none", "none", "created"}));
    EXPECT_TRUE(storage.controllers[0].present);
    change(storage, "storage vmhba1 remove");
    EXPECT_EQ(refusal(storage, "storage vmhba1 reset"), "storage vmhba1: is not there");
}

TEST(StorageChanges, NobodyIsMistakenForAnother) {
    EXPECT_EQ(refusal(two_controllers(), "storage vmhba3 offline"),
              "storage vmhba3: no such controller");
    for (const char *line :
         {"storage vmhba1 2 offline", "storage vmhba1 host6 offline", "storage vmhba2 4 remove"})
        EXPECT_TRUE(refusal(two_controllers(), line).ends_with(": has no such port")) << line;
}

TEST(StorageChanges, ListOfPciDevicesHasTheControllersThatAreThere) {
    SCENARIO scenario;
    scenario.host.storage = two_controllers();
    std::string text = pci_list_text(scenario);
    EXPECT_NE(text.find("0000:51:00.0:\n"), std::string::npos);
    EXPECT_NE(text.find("   VMkernel Name: vmhba1\n"), std::string::npos);
    EXPECT_NE(text.find("   Vendor ID: 0x1000\n"), std::string::npos);
    EXPECT_NE(text.find("   Device Class: 0x0107\n"), std::string::npos);
    EXPECT_NE(text.find("   Device Class Name: Serial Attached SCSI controller\n"),
              std::string::npos);
    EXPECT_NE(text.find("   Module Name: mpt3sas\n"), std::string::npos);
    EXPECT_NE(text.find("   Module Name: None\n"), std::string::npos);
    change(scenario.host.storage, "storage vmhba1 remove");
    text = pci_list_text(scenario);
    EXPECT_EQ(text.find("0000:51:00.0"), std::string::npos);
    EXPECT_NE(text.find("0000:52:00.0"), std::string::npos);
}
