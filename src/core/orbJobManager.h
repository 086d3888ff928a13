#pragma once

#include <cstdint>
#include <fstream>
#include <memory>

#include "core/orbThread.h"

class ORBServer;

/// Starts and stops the resource managers' threads and the control server, and records start and
/// stop in the run-state file. Driven by the entry program's thread alone; needs no lock.
class orbJobManager {
public:
    static constexpr int RESOURCE_COUNT = 7, TELEMETRY_COUNT = 6;

    static orbJobManager &getInstance();

    /// Writes the start record and starts one thread for each of the ids 0 to 3.
    /// @return 1, or 0 where a thread could not be created; those started before keep running
    int startResourceManagers();
    /// Asks the enabled managers to stop, joins all four threads, writes the stop record.
    void stopResourceManagers();
    int startORBServer(); ///< always 1
    void stopORBServer();
    /// @param mode  0 writes the start record, any other value the stop record
    void orbStartFileOperations(int mode);

    static orbThread threads[RESOURCE_COUNT]; ///< by resource id
    static std::int32_t
        retval[RESOURCE_COUNT]; ///< result of each creation; -1 where none was tried
    static orbThread TelemetryThreads[TELEMETRY_COUNT]; ///< reserved
    static std::int32_t trm_retval[TELEMETRY_COUNT];    ///< reserved

private:
    orbJobManager();
    ~orbJobManager();

    void createRunState(); // for a host that has none yet
    void writeStopRecord();

    std::ofstream startupFile; // reused for every write of the run-state file
    std::unique_ptr<ORBServer> server;
    std::int64_t startTime = 0; // seconds since the epoch
};

/// Thread entry of every manager. @param resourceId the id itself, as an integer in the pointer
void *initializeResourceManager(void *resourceId);

/// Fault injection by the key `SimulateUnhandledException`: 11 dies by SIGSEGV, 6 throws what
/// nobody catches, anything else does nothing.
void simulateUnhandledExceptions();
