#pragma once

/// What the start and the end of the daemon ask of the host's operating system. Main thread only.
class orbOSInterface {
public:
    /// Saves the host's PCI device list in a data file. @return 0, -1 where no command could start
    virtual int populateHardwarePCIDetails() = 0;
    virtual void Initialize() = 0;
    virtual void UnInitialize() = 0; ///< removes the data file

protected:
    ~orbOSInterface() = default; // nobody frees the one interface
};
