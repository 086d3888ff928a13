#pragma once

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "VmDaemon.h"
#include "VmFailure.h"
#include "VmMachine.h"
#include "VmRmc.h"

/// What all cases share: one RMC, and one machine at a time, booted when a case first asks for its
/// shape and used on as long as it works. One thread.
class VmWorld {
public:
    static void configure(const VM_PLACES &places); ///< before the first case
    static VmWorld &get();

    const VM_PLACES &places() const;
    VmRmc &rmc() { return controller; }
    /// A machine of that shape that is up; a fresh one only where there is none.
    VmMachine &machine(const VM_SHAPE &shape);
    /// The same, but booted for this call.
    VmMachine &freshMachine(const VM_SHAPE &shape);
    void end();
    /// What the present machine and its emulator said last; empty without a machine.
    std::string lastWords() const { return present ? present->lastWords() : std::string(); }

private:
    VmWorld();

    VmRmc controller;
    std::optional<VmMachine> present;
    int failedBoots = 0; // in a row
};

/// A case in the machine. It begins with an RMC that behaves and has received nothing, and fails
/// where the daemon broke a rule of a transfer or sent a document that its schema refuses.
class VmTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    /// The server that most cases need: first generation.
    static VM_SHAPE usualShape();
    /// That server with an adapter in a slot that the kernel serves, and a SAS adapter at
    /// SAS_ADDRESS in a slot that the firmware tells. Their drivers are not loaded.
    static VM_SHAPE slottedShape();
    static constexpr const char *SAS_ADDRESS = "0000:00:10.0", *SAS_PLACE = "r001u01p0i11";
    VmMachine &usual(); ///< that machine, up
    /// That machine with a daemon that runs for the first time and has yet to deliver.
    VmMachine &starting();
    /// That machine with a daemon that has delivered its first inventory and waits for what comes.
    VmMachine &reporting();

    /// Rings the door bell and waits for the inventory. @return its text
    std::string freshInventory();

    static constexpr VmRmc::SECONDS FIRST_INVENTORY{60}, NEXT_INVENTORY{20};
    static constexpr const char *DELIVERED = "Success in delivering inventory string to RMC!";

    VmRmc &rmc = VmWorld::get().rmc();
    std::optional<VmDaemon> daemon; ///< of the machine that the case asked for

    VmMachine &take(VmMachine &machine) {
        daemon.emplace(machine);
        return machine;
    }
};
