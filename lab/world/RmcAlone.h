#pragma once

#include <cstdint>
#include <string>

#include "bmc/BmcPort.h"
#include "life/LabTime.h"
#include "rmc/Rmc.h"
#include "world/CommandInputs.h"
#include "world/LabOutputs.h"
#include "world/LabSignals.h"
#include "world/OutputFolder.h"
#include "world/ReceivedSoFar.h"

struct RMC_ALONE_SETTINGS {
    std::uint16_t port = 0;               ///< on 127.0.0.1; 0: any free one
    std::string schemas;                  ///< folder
    std::string outputFolder = "lab-out"; ///< made where it is missing
    std::string commandFifo;              ///< made where it is missing; empty: none
    LabOutputs::STYLE style;
};

/// The lab's RMC without a simulated server, as the controller of a machine that an emulator runs:
/// tells what it receives, and does what commands ask. Time is real. One thread.
class RmcAlone {
public:
    explicit RmcAlone(RMC_ALONE_SETTINGS wanted);

    int run(); ///< @return the program's exit status: 0 asked to end, 1 something failed

private:
    bool prepare(std::string &error);
    void runCommand(const std::string &line);
    void tellConnections();
    void receive();
    double now() const { return time.sinceOriginSeconds(); }

    RMC_ALONE_SETTINGS settings;
    LabSignals signals;
    OutputFolder folder;
    LabOutputs outputs;
    CommandInputs inputs;
    LabTime time;
    Rmc rmc;
    BmcPort wire;
    ReceivedSoFar received;
    std::size_t inventories = 0, events = 0, connections = 0;
    bool finishing = false;
};
