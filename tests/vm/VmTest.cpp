#include "VmTest.h"

#include <iostream>

#include "VmSmbios.h"

namespace {
// A machine that failed twice is not worth a third wait in each further case.
constexpr int BOOT_TRIES = 2;

std::optional<VM_PLACES> chosen;
} // namespace

void VmWorld::configure(const VM_PLACES &places) {
    chosen = places;
}

VmWorld &VmWorld::get() {
    static VmWorld world;
    return world;
}

VmWorld::VmWorld() : controller(std::string(ORB_SOURCE_DIR) + "/schema") {}

const VM_PLACES &VmWorld::places() const {
    return *chosen;
}

VmMachine &VmWorld::machine(const VM_SHAPE &shape) {
    if (present && present->isUp() && present->shape() == shape) return *present;
    return freshMachine(shape);
}

VmMachine &VmWorld::freshMachine(const VM_SHAPE &shape) {
    if (failedBoots >= BOOT_TRIES) throw VmFailure("no machine boots here");
    end();
    ++failedBoots;
    present.emplace(*chosen, shape, controller.port());
    present->boot();
    failedBoots = 0;
    return *present;
}

void VmWorld::end() {
    present.reset();
}

void VmTest::SetUp() {
    rmc.behave({});
    rmc.forget();
}

void VmTest::TearDown() {
    if (HasFatalFailure() || HasNonfatalFailure()) std::cerr << VmWorld::get().lastWords();
    rmc.behave({});
    std::string rules;
    for (const std::string &each : rmc.violations()) rules += each + "\n";
    EXPECT_EQ(rules, "") << "the daemon broke rules of its exchange with the RMC";
}

VM_SHAPE VmTest::usualShape() {
    VM_SHAPE shape = smbios_shape("first-generation", 64, VmWorld::get().places().folder);
    shape.name = "usual";
    return shape;
}

VM_SHAPE VmTest::slottedShape() {
    SCENARIO_DEVICE slot;
    slot.designation = std::string("PCI ") + SAS_ADDRESS + " " + SAS_PLACE;
    slot.address = SAS_ADDRESS;
    VM_SHAPE shape = smbios_shape("first-generation", 64, VmWorld::get().places().folder, {slot});
    shape.name = "slotted";
    shape.devices.insert(shape.devices.end(),
                         {"-global", "ICH9-LPC.acpi-pci-hotplug-with-bridge-support=off", "-device",
                          "pcie-root-port,id=port5,chassis=5,slot=5,addr=1c.0", "-device",
                          "virtio-scsi-pci,bus=port5,id=hba0", "-device",
                          "mptsas1068,id=sas0,addr=10.0"});
    return shape;
}

VmMachine &VmTest::usual() {
    return take(VmWorld::get().machine(usualShape()));
}

VmMachine &VmTest::starting() {
    VmMachine &machine = usual();
    const Json::Value state =
        daemon->runsWith(VmDaemon::talkative()) ? daemon->runState() : Json::Value();
    if (state["last_start"] == 0 && !daemon->logHolds(DELIVERED)) return machine;
    daemon->makeSure();
    daemon->start();
    return machine;
}

VmMachine &VmTest::reporting() {
    VmMachine &machine = usual();
    if (!daemon->runsWith(VmDaemon::talkative())) {
        daemon->makeSure();
        daemon->start();
    }
    if (!daemon->awaitLog(DELIVERED, 0, FIRST_INVENTORY))
        throw VmFailure("no first inventory came:\n" + daemon->toldSince(0));
    rmc.forget();
    return machine;
}

std::string VmTest::freshInventory() {
    const std::size_t before = rmc.inventories().size();
    rmc.ring();
    if (!rmc.awaitInventories(before + 1, NEXT_INVENTORY))
        throw VmFailure("the door bell brings no inventory:\n" + daemon->toldSince(0));
    return rmc.inventories().back().text;
}
